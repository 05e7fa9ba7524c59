// SPDX-License-Identifier: GPL-3.0-or-later
#include "numeric/random.hpp"

#include <doctest/doctest.h>

#include <algorithm>
#include <numeric>
#include <random>
#include <vector>

namespace {

using List = std::vector<int>;

/// The same stream from the C++ library's Mersenne Twister, with the library's rule for integers
/// below n: divide by the whole part of (2^32 - 1) / n and draw again at n or above.
class Stream {
public:
    explicit Stream(unsigned seed) : engine(seed) {}
    int Below(int n)
    {
        const unsigned long width = 0xffffffffUL / static_cast<unsigned long>(n);
        unsigned long k = 0;
        do k = engine() / width;
        while (k >= static_cast<unsigned long>(n));
        return static_cast<int>(k);
    }
    /// The permutation of n values: place i takes one of those not yet placed.
    List Permuted(List list)
    {
        const int n = static_cast<int>(list.size());
        for (int i = 0; i < n - 1; i++) {
            const auto at = static_cast<std::size_t>(i);
            std::swap(list[at], list[at + static_cast<std::size_t>(Below(n - i))]);
        }
        return list;
    }
    List Permutation(int n) { return Permuted(Ascending(n)); }
    static List Ascending(int n)
    {
        List list(static_cast<std::size_t>(n));
        std::iota(list.begin(), list.end(), 1);
        return list;
    }

private:
    std::mt19937 engine;
};

bool StreamsAgree(Stream& stream)
{
    return static_cast<int>(gsl_rng_uniform_int(r, 1000000)) == stream.Below(1000000);
}

List Nested(const List& groups, int mode)
{
    List list(groups.size(), -1);
    RndListNestedNew(static_cast<int>(groups.size()), groups.data(), mode, list.data());
    return list;
}

} // namespace

TEST_CASE("random lists follow the Mersenne Twister")
{
    for (const unsigned seed : {1u, 4294967295u})
        for (const int n : {1, 2, 100}) {
            CAPTURE(seed);
            CAPTURE(n);
            InitRndNumberGenerator(seed);
            Stream stream(seed);
            List list(static_cast<std::size_t>(n));
            RndList(n, list.data());
            CHECK(list == stream.Permutation(n));

            List values(static_cast<std::size_t>(n), 7); // drawn again, and with equal values
            for (std::size_t i = 0; i < values.size(); i += 2) values[i] = -static_cast<int>(i);
            const List expected = stream.Permuted(values);
            RndListSpecified(n, values.data());
            CHECK(values == expected);
            CHECK(StreamsAgree(stream)); // n - 1 draws each, not one more
        }
}

TEST_CASE("RndListNestedNew within groups")
{
    InitRndNumberGenerator(8);
    const List list = Nested({9, 4, 9, 4, 9, 4, 4}, withinGroups);
    Stream stream(8); // label 4 draws first
    for (const List& places : {List{2, 4, 6, 7}, List{1, 3, 5}}) {
        const List order = stream.Permuted(places);
        for (std::size_t k = 0; k < places.size(); k++)
            CHECK(list[static_cast<std::size_t>(places[k]) - 1] == order[k]);
    }
}

TEST_CASE("RndListNestedNew among groups")
{
    // Three groups of two: 5 at places 1, 4; 7 at 2, 3; 8 at 5, 6.
    const List groups{5, 7, 7, 5, 8, 8};
    const int places[3][2] = {{1, 4}, {2, 3}, {5, 6}};
    for (const unsigned seed : {1u, 2u, 3u, 4u}) {
        CAPTURE(seed);
        InitRndNumberGenerator(seed);
        const List among = Nested(groups, amongGroups);
        const List order = Stream(seed).Permutation(3);
        // Both: such an exchange, of the values that the shuffles within groups left.
        InitRndNumberGenerator(seed);
        const List within = Nested(groups, withinGroups);
        List exchange(3);
        RndList(3, exchange.data());
        InitRndNumberGenerator(seed);
        const List both = Nested(groups, withinAndAmongGroups);
        for (std::size_t g = 0; g < 3; g++)
            for (std::size_t k = 0; k < 2; k++) {
                const std::size_t place = static_cast<std::size_t>(places[g][k]) - 1;
                CHECK(among[place] == places[order[g] - 1][k]);
                CHECK(both[place] ==
                      within[static_cast<std::size_t>(places[exchange[g] - 1][k]) - 1]);
            }
    }
    CHECK(Nested({1, 1, 2, 2, 2}, amongGroups) == List{1, 2, 3, 4, 5}); // unequal sizes stay
}

TEST_CASE("PermuteArray gives all combinations in order, the rest behind each")
{
    int out[3];
    PermuteArray(3, 1, out, true); // an enumeration that is given up
    for (const int k : {0, 1, 3, 7}) { // against the order of masks of the C++ library
        CAPTURE(k);
        std::vector<bool> mask(7, false);
        std::fill_n(mask.begin(), k, true);
        long count = 0;
        do {
            List combination, list(7);
            for (const bool chosen : {true, false})
                for (int i = 0; i < 7; i++)
                    if (mask[static_cast<std::size_t>(i)] == chosen) combination.push_back(i + 1);
            CHECK(PermuteArray(7, k, list.data(), count == 0) == count + 1);
            count++;
            CHECK(list == combination);
        } while (std::prev_permutation(mask.begin(), mask.end()));
        List untouched(7, 9); // after the last one nothing is written
        CHECK(PermuteArray(7, k, untouched.data(), false) == count);
        CHECK(untouched == List(7, 9));
    }
}
