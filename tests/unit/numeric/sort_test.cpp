#include "numeric/sort.hpp"

#include <doctest/doctest.h>

#include <algorithm>
#include <limits>
#include <random>

#include "shell/arrays.hpp"
#include "unit/numeric/tables.hpp"

namespace {

using Values = std::vector<double>; // cell 0 unused: the routines count from 1
using Pairs = std::vector<std::pair<double, double>>;

/// The published steps as a recursion, with stable sorting for the insertion: the order of ties
/// must agree with them.
void PlainSort(Pairs& x, long l, long ir)
{
    const auto at = [&](long i) -> std::pair<double, double>& { return x.at(std::size_t(i)); };
    const auto order = [&](long i, long j) {
        if (at(i).first > at(j).first) std::swap(at(i), at(j));
    };
    if (ir - l < 7) {
        std::stable_sort(x.begin() + l, x.begin() + ir + 1,
                         [](const auto& a, const auto& b) { return a.first < b.first; });
        return;
    }
    std::swap(at((l + ir) / 2), at(l + 1));
    order(l + 1, ir);
    order(l, ir);
    order(l + 1, l);
    long i = l + 1, j = ir;
    while (true) {
        for (i++; at(i).first < at(l).first; i++) {}
        for (j--; at(j).first > at(l).first; j--) {}
        if (j < i) break;
        std::swap(at(i), at(j));
    }
    std::swap(at(l), at(j));
    PlainSort(x, l, j - 1);
    PlainSort(x, i, ir);
}

Values Positions(std::size_t n)
{
    Values positions(n + 1);
    for (std::size_t i = 0; i <= n; i++) positions[i] = static_cast<double>(i);
    return positions;
}

} // namespace

TEST_CASE("sort2 leaves ties where its steps leave them")
{
    std::mt19937 engine(7);
    for (const std::size_t n : {1u, 7u, 8u, 9u, 20u, 200u, 5000u})
        for (const unsigned nValues : {1u, 2u, 5u, 1000000u}) {
            CAPTURE(n);
            CAPTURE(nValues);
            Values a(n + 1), b = Positions(n);
            Pairs plain;
            for (std::size_t i = 0; i <= n; i++) {
                a[i] = static_cast<double>(engine() % nValues);
                plain.emplace_back(a[i], b[i]);
            }
            sort2(n, a.data(), b.data());
            PlainSort(plain, 1, static_cast<long>(n));
            bool same = true;
            for (std::size_t i = 1; i <= n; i++) same = same && plain[i] == std::pair(a[i], b[i]);
            CHECK(same);
        }
    // By hand, 8 equal values: cells 4 and 2 change places, then 3 and 7, 4 and 6, and the pivot
    // goes to cell 4.
    Values equal(9, 2.385), positions = Positions(8);
    sort2(8, equal.data(), positions.data());
    CHECK(positions == Values{0, 6, 4, 7, 1, 5, 2, 3, 8});
}

TEST_CASE("sort2 ends with NaN among the values")
{
    std::mt19937 engine(11);
    for (std::size_t n = 8; n < 200; n++) {
        Values a(n + 1);
        for (double& x : a)
            x = engine() % 3 == 0 ? std::numeric_limits<double>::quiet_NaN()
                                  : static_cast<double>(engine() % 9);
        Values b = Positions(n);
        sort2(n, a.data(), b.data());
        std::sort(b.begin(), b.end()); // nothing is lost or doubled
        REQUIRE(b == Positions(n));
    }
}

TEST_CASE("sort2 without room for its stack ends the process")
{
    const tables::Ending ending = tables::EndingOf([] {
        Values a{0, 2, 1};
        Values b{0, 1, 2};
        FailAllocation(1);
        sort2(2, a.data(), b.data());
    });
    REQUIRE(WIFEXITED(ending.status));
    CHECK(WEXITSTATUS(ending.status) == 1);
    // First of all: a sanitizer may add words of its own when the child ends.
    CHECK(ending.complaint.find("allocation failure in ivector()\n"
                                "Sorry, you have to quit and restart the program.\n") == 0);
}

TEST_CASE("crank")
{
    struct Case {
        Values sorted, ranks;
        double ties; // by hand: sum of t^3 - t
    };
    const Case cases[] = {
        {{0, 1, 4, 4, 4}, {0, 1, 3, 3, 3}, 24},
        {{0, 2, 2, 5, 7, 7, 7, 7}, {0, 1.5, 1.5, 3, 5.5, 5.5, 5.5, 5.5}, 66},
        {{0, -1, 0, 9}, {0, 1, 2, 3}, 0},
    };
    for (const Case& c : cases) {
        Values w = c.sorted;
        double s = -1;
        crank(w.size() - 1, w.data(), &s);
        CHECK(w == c.ranks);
        CHECK(s == c.ties);
    }
}

TEST_CASE("compareInt and swap")
{
    const int lowest = std::numeric_limits<int>::min(), highest = std::numeric_limits<int>::max();
    const int three = 3, five = 5;
    CHECK(compareInt(&three, &five) == -2);
    CHECK(compareInt(&highest, &lowest) > 0); // the difference doesn't fit an int
    CHECK(compareInt(&lowest, &highest) < 0);

    int first = 1, second = 2, third = 3;
    void* pointers[] = {&first, &second, &third};
    swap(pointers, 0, 2);
    CHECK((pointers[0] == &third && pointers[1] == &second && pointers[2] == &first));
}
