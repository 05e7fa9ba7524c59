// SPDX-License-Identifier: GPL-3.0-or-later
#include "numeric/congruence.hpp"

#include <doctest/doctest.h>

#include <cmath>

#include "unit/numeric/matrices.hpp"

TEST_CASE("matrix correlation: edges")
{
    Rows a = {{0, 1, 2, 7}, {0, 0, 4, 3}, {0, 0, 0, 5}, {0, 0, 0, 0}};
    Rows b = {{0, 2, 1, 8}, {0, 0, 3, 3}, {0, 0, 0, 9}, {0, 0, 0, 0}};
    Rows constant = {{1, 7, 7, 7}, {2, 3, 7, 7}, {4, 5, 6, 7}, {8, 9, 1, 2}};
    CHECK((MatrixCorr(4, a, constant) == 0.0 && MatrixCorr(4, constant, a) == 0.0));
    CHECK((MatrixCorr(1, a, b) == 0.0 && MatrixCorr(2, a, b) == 0.0)); // one pair is constant
    CHECK(CommunityCorr(2, a, b) == 0.5);                               // by hand: 1 - |1 - 2| / 2
    CHECK(CommunityCorr(3, a, b) == MatrixCorr(3, a, b));

    // The pairs 1,3 and 2,4 drop out, one of them missing in both:
    // by hand, 1 7 4 5 against 2 8 3 9: Sab = 77/4, Saa = 75/4, Sbb = 37
    a[0][2] = NA;
    a[1][3] = b[1][3] = NA;
    const double Saa = 1 + 49 + 16 + 25 - 17.0 * 17.0 / 4;
    const double Sbb = 4 + 64 + 9 + 81 - 22.0 * 22.0 / 4;
    const double Sab = 2 + 56 + 12 + 45 - 17.0 * 22.0 / 4;
    CHECK(MatrixCorr(4, a, b) == doctest::Approx(Sab / std::sqrt(Saa * Sbb)).epsilon(1e-14));
}

TEST_CASE("partial correlation: guards")
{
    CHECK(PartialCorrelation(0.5, 0.2, 0.9999999999) == 0.0);
    CHECK(PartialCorrelation(0.5, 1.00000000001, 0.2) == 0.0); // rounding above 1 is caught, too
    CHECK(std::isinf(PartialCorrelation(0.5, -1.0, 0.2)));     // -1 is not
}

TEST_CASE("RV and Procrustes coefficients: edges")
{
    Rows a = {{2.3, 0.4, 1.7}, {0.9, 3.1, 2.2}, {4.5, 1.2, 0.3}, {1.1, 2.8, 3.6}, {3.9, 0.7, 2.9}};
    Rows b = {{1.2, 5.1}, {3.4, 2.2}, {0.7, 6.3}, {2.9, 1.8}, {2.5, 4.4}};
    Rows constant = {{3, 1}, {3, 1}, {3, 1}, {3, 1}, {3, 1}};
    CHECK(ProcrustesCoeff(5, 3, 2, a, b) == ProcrustesCoeff(5, 2, 3, b, a));
    CHECK(std::isnan(RVcoeff(5, 3, 2, a, constant)));
    Rows hole = {{1, NA}, {3, 2}, {NA, 4}};
    Rows other = {{1}, {2}, {6}};
    // by hand: centred columns (-1, 1, -) and (-, -1, 1); (-2, -1, 3)
    // W1 = {1, -1, 0; -1, 2, -1; 0, -1, 1}, W2 = {4, 2, -6; 2, 1, -3; -6, -3, 9}
    CHECK(RVcoeff(3, 2, 1, hole, other) ==
          doctest::Approx(17.0 / std::sqrt(10.0 * 196.0)).epsilon(1e-14));
}

TEST_CASE("partial matrix correlation: choice of control variables")
{
    Rows a = {{2.3, 0.4}, {0.9, 3.1}, {4.5, 1.2}, {1.1, 2.8}, {3.9, 0.7}, {0.2, 1.9}};
    Rows b = {{1.2, 5.1}, {3.4, 2.2}, {0.7, 6.3}, {2.9, 1.8}, {2.5, 4.4}, {3.3, 0.6}};
    Rows z1 = {{0.5, 9, 1.5}, {2.5, 8, 0.3}, {1.1, 1, 2.7}, {3.2, 4, 1.9}, {0.8, 2, 0.1},
               {2.2, 6, 3.3}};
    Rows z2 = {{4}, {1}, {0}, {2}, {2}, {5}};
    Rows together = {{0.5, 1.5, 4}, {2.5, 0.3, 1}, {1.1, 2.7, 0}, {3.2, 1.9, 2}, {0.8, 0.1, 2},
                     {2.2, 3.3, 5}};
    int firstAndThird[] = {1, 0, 1};
    const ControlBlock apart[] = {{3, firstAndThird, z1}, {1, nullptr, z2}};
    const ControlBlock joined[] = {{3, nullptr, together}};
    for (const int type : {procrustes, rvCoefficient}) {
        CHECK(PartialMatrixCorrelation(6, 2, 2, a, b, type, 2.0, 2, apart) ==
              PartialMatrixCorrelation(6, 2, 2, a, b, type, 2.0, 1, joined));
    }
}
