// SPDX-License-Identifier: GPL-3.0-or-later
#include "session/transform.hpp"

#include <cmath>

#include "unit/session/session_fixture.hpp"

namespace {

/// NaN equals NaN.
void CheckRows(double** table, const Rows& expected)
{
    for (std::size_t i = 0; i < expected.size(); i++)
        for (std::size_t k = 0; k < expected[i].size(); k++) {
            const double cell = table[i][k];
            CHECK((cell == doctest::Approx(expected[i][k]).epsilon(1e-15) ||
                   (std::isnan(cell) && std::isnan(expected[i][k]))));
        }
}

} // namespace

// What no derived session shows; means, change and windows on whole sessions are in derive_test.
TEST_CASE("pooling by groups and change within pairs, on plain matrices")
{
    const double nan = std::nan("");
    double row[] = {1, 3, -999, 8}, other[] = {0, 5, 4, 2};
    double* in[] = {row, other};
    const OwnedRows out(2, 3);
    struct Case {
        std::string fact;
        Ints columnGroups;
        int nColumnGroups, mode;
        Rows pooled, changed; // changed: the groups taken for pairs
    };
    const Case cases[] = {
        {"-999 is a number; a group without members; a third member", {1, 2, 1, 2}, 3, 2,
         {{-499, 5.5, nan}, {2, 3.5, nan}}, {{-1000, 5, 0}, {4, -3, 0}}},
        {"numbers outside the groups count nowhere", {0, 1, -3, 3}, 2, 2, {{3, nan}, {5, nan}},
         {{3, 0}, {5, 0}}},
        {"a third member: third minus second plus first", {1, 1, 9, 1}, 1, 2, {{4}, {7 / 3.0}},
         {{6}, {-3}}},
        // By hand: sums 4, 8, 5, 2, total 19; means 2, 8, 2.5, 2, total 14.5.
        {"mode 1 keeps the total", {1, 1, 9, 2}, 2, 1, {{38 / 14.5, 152 / 14.5},
         {47.5 / 14.5, 38 / 14.5}}, {{2, 8}, {5, 2}}},
    };
    const int rowGroups[] = {1, 2};
    for (const Case& c : cases) {
        CAPTURE(c.fact);
        out[0][0] = 77; // what stood there is of no effect
        ConcentrateGroups(2, 4, in, out, 2, rowGroups, c.nColumnGroups, c.columnGroups.data(),
                          c.mode);
        CheckRows(out, c.pooled);
        const OwnedRows change(2, 3);
        ReleveChange(4, in, change, 2, c.nColumnGroups, c.columnGroups.data());
        CheckRows(change, c.changed);
    }
    // Rows in one group: blocks are divided by the product of sizes.
    const int oneGroup[] = {1, 1}, columns[] = {1, 1, 2, 2};
    ConcentrateGroups(2, 4, in, out, 1, oneGroup, 2, columns, 2);
    CheckRows(out, {{2.25, -246.25}});
    out[1][0] = 77; // the second row is of no group
    ConcentrateGroups(2, 4, in, out, 1, rowGroups, 2, columns, 2);
    CheckRows(out, {{2, -495.5}, {77}});
}
