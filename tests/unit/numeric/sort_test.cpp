// SPDX-License-Identifier: GPL-3.0-or-later
#include "numeric/sort.hpp"

#include <doctest/doctest.h>

#include <algorithm>
#include <limits>
#include <random>

#include "unit/numeric/tables.hpp"

namespace {

using Values = std::vector<double>; // cell 0 unused: the routines count from 1

Values Positions(std::size_t n)
{
    Values positions(n + 1);
    for (std::size_t i = 0; i <= n; i++) positions[i] = static_cast<double>(i);
    return positions;
}

} // namespace

TEST_CASE("sort2: ascending, each companion with its value, ties where the steps leave them")
{
    std::mt19937 engine(7);
    for (const std::size_t n : {1u, 7u, 8u, 9u, 20u, 5000u})
        for (const unsigned nValues : {1u, 5u, 1000000u}) {
            CAPTURE(n);
            CAPTURE(nValues);
            Values a(n + 1), b = Positions(n);
            for (double& x : a) x = static_cast<double>(engine() % nValues);
            const Values before = a;
            sort2(n, a.data(), b.data());
            CHECK(std::is_sorted(a.begin() + 1, a.end()));
            std::size_t astray = 0;
            for (std::size_t i = 1; i <= n; i++)
                astray += before[static_cast<std::size_t>(b[i])] != a[i];
            CHECK(astray == 0);
        }
    // By hand, 7 values: insertion leaves ties alone. 8 equal values: cells 4 and 2 change places,
    // then 3 and 7, 4 and 6, and the pivot goes to cell 4.
    Values few = {0, 2, 1, 2, 1, 1, 2, 1}, equal(9, 2.385), order = Positions(7);
    sort2(7, few.data(), order.data());
    CHECK(order == Values{0, 2, 4, 5, 7, 1, 3, 6});
    order = Positions(8);
    sort2(8, equal.data(), order.data());
    CHECK(order == Values{0, 6, 4, 7, 1, 5, 2, 3, 8});
}

TEST_CASE("whole numbers are compared without overflow, pointers change places")
{
    const int low = std::numeric_limits<int>::min(), high = std::numeric_limits<int>::max();
    int three = 3, five = 5;
    CHECK((compareInt(&three, &five) == -2 && compareInt(&high, &low) == high));
    CHECK(compareInt(&low, &high) == low);
    void* pointers[] = {&three, nullptr, &five};
    swap(pointers, 0, 2);
    CHECK((pointers[0] == &five && pointers[2] == &three));
}

TEST_CASE("sort2 ends with NaN among the values")
{
    std::mt19937 engine(11);
    for (std::size_t n = 8; n < 200; n++) {
        Values a(n + 1), b = Positions(n);
        for (double& x : a)
            x = engine() % 3 == 0 ? std::nan("") : static_cast<double>(engine() % 9);
        sort2(n, a.data(), b.data());
        std::sort(b.begin(), b.end()); // nothing is lost or doubled
        REQUIRE(b == Positions(n));
    }
}
