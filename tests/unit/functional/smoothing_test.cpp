// SPDX-License-Identifier: GPL-3.0-or-later
#include "functional/smoothing.hpp"

#include <doctest/doctest.h>

#include <cmath>

#include "unit/functional/tables.hpp"

TEST_CASE("a community with nothing but a hole adds to no smoothing") {
    const int n = 13, s = 29;
    Numbers numbers(77);
    OwnedRows W(n + 1, s), without(s, s), with(s, s), outWithout(n, s), outWith(n + 1, s);
    for (int k = 0; k < n; k++)
        for (int i = 0; i < s; i++) W[k][i] = numbers.Performance(0.3);
    W[n][7] = -999.0;
    for (int mode = 0; mode <= 2; mode++)
        for (const bool includeTarget : {true, false}) {
            CAPTURE(mode);
            ConditionalProb(n, s, W, without, mode);
            ConditionalProb(n + 1, s, W, with, mode);
            CHECK(SameBytes(s, s, without, with));
            BealsSmoothing(n, s, W, W, outWithout, includeTarget, mode);
            BealsSmoothing(n + 1, s, W, W, outWith, includeTarget, mode);
            CHECK(SameBytes(n, s, outWithout, outWith));
        }
}

TEST_CASE("conditional probabilities at the edges") {
    // The first community holds OTUs 1 and 2, the second OTU 1 with a hole at OTU 2; OTU 3 is
    // nowhere. All by hand.
    Table W({{2, 5, 0}, {6, -999, 0}});
    OwnedRows C(3, 3);
    ConditionalProb(2, 3, W, C, 1);
    CheckCells(C, {{1, 2.0 / 8, 0}, {1, 1, 0}, {0, 0, 1}}, 1e-15);
    ConditionalProb(2, 3, W, C, 0);
    CheckCells(C, {{1, 1.0 / 2, 0}, {1, 1, 0}, {0, 0, 1}}, 1e-15);
    ConditionalProb(2, 3, W, C, 2, true); // mode 2 keeps its diagonal
    CheckCells(C, {{0.8, 0.2, 0}, {10.0 / 35, 25.0 / 35, 0}, {0, 0, 0}}, 1e-15);
    Table infinite({{HUGE_VAL, 0, 1}});
    ConditionalProb(1, 3, infinite, C, 2);
    CHECK((std::isnan(C[1][0]) && C[1][2] == 0.0)); // 0 times infinity
    ConditionalProb(2, 3, W, C, 7);
    CheckCells(C, {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}, 1e-15);
}

TEST_CASE("smoothing a community of one OTU") {
    // by hand: C is (1 1/4 1/4; 1 1 1; 1 1 1)
    Table W({{3, 0, 0}, {1, 1, 2}, {0, 0, 0}});
    OwnedRows out(3, 3);
    BealsSmoothing(3, 3, W, W, out, true, 1, false);
    CheckCells(out, {{1, 0.25, 0.25}, {1, 0.8125, 0.8125}, {0, 0, 0}}, 1e-15);
    BealsSmoothing(3, 3, W, W, out, false, 1, false);
    // OTU 1 alone leaves nothing to estimate itself from
    CheckCells(out, {{0, 0.25, 0.25}, {1, 0.75, 0.625}, {0, 0, 0}}, 1e-15);
}
