// SPDX-License-Identifier: GPL-3.0-or-later
#include "numeric/regression.hpp"

#include <doctest/doctest.h>

#include "unit/numeric/matrices.hpp"

TEST_CASE("regression residuals: selection of factors")
{
    Rows y = {{1, 2}, {2, 0}, {4, 5}, {9, 1}};
    Rows x = {{1, 7}, {0, 7}, {5, 1}, {2, 3}};
    OwnedRows R(4, 2);
    int none[] = {0, 0};
    Regression_ResidualsSelect(4, 2, 2, y, x, R, none);
    for (int i = 0; i < 4; i++) // the prediction is the column mean
        CHECK((R[i][0] == y[i][0] - 4.0 && R[i][1] == y[i][1] - 2.0));
    int second[] = {0, 1};
    Rows xSecond = {{7}, {7}, {1}, {3}};
    OwnedRows expected(4, 2);
    Regression_ResidualsSelect(4, 2, 2, y, x, R, second);
    Regression_ResidualsSelect(4, 2, 1, y, xSecond, expected, nullptr);
    for (int i = 0; i < 4; i++)
        for (int k = 0; k < 2; k++) CHECK(R[i][k] == expected[i][k]);
}

TEST_CASE("residuals on principal axes: never more axes than the sample supports")
{
    // Three orthogonal factors with sums of squares 32, 8 and 2 in 8 objects; the response is
    // their sum. How many axes act can be read off the residual sum of squares.
    Rows x = {{2, 1, 0.5}, {2, 1, -0.5}, {2, -1, 0.5}, {2, -1, -0.5},
              {-2, 1, 0.5}, {-2, 1, -0.5}, {-2, -1, 0.5}, {-2, -1, -0.5}};
    OwnedRows y(8, 1);
    for (int i = 0; i < 8; i++) y[i][0] = x[i][0] + x[i][1] + x[i][2];
    struct Case {
        double factor;
        double sumSquares;
    };
    // by hand: limits 6/2 = 3, 6/2.5 = 2.4, 6/4 = 1.5 and 6/7, truncated
    const Case cases[] = {{2.0, 0.0}, {2.5, 2.0}, {4.0, 10.0}, {7.0, 42.0}};
    for (const Case& c : cases) {
        CAPTURE(c.factor);
        OwnedRows R(8, 1);
        PCA_Regression_ResidualsSelect(8, 1, 3, y, x, R, nullptr, 1, c.factor);
        double sum = 0.0;
        for (int i = 0; i < 8; i++) sum += R[i][0] * R[i][0];
        CHECK(sum == doctest::Approx(c.sumSquares));
    }
}

TEST_CASE("residuals of one matrix on another")
{
    Rows a = {{9, 0, 1}, {9, 9, 2}, {9, 9, 9}};
    Rows b = {{9, 1, 3}, {9, 9, 8}, {9, 9, 9}};
    OwnedRows R(3, 3);
    Fill(3, 3, R, 4.25);
    ResidualsMatrixRegression(3, a, b, R);
    // by hand: slope 7/2, intercept 1/2, predictions 0.5, 4, 7.5
    CHECK(R[0][1] == doctest::Approx(0.5));
    CHECK(R[0][2] == doctest::Approx(-1.0));
    CHECK(R[1][2] == doctest::Approx(0.5));
    CHECK((R[1][0] == 4.25 && R[1][1] == 4.25));

    // 2^24 + 1 rounds to 2^24 in single precision. By hand: slope 0, mean 2^25 / 3.
    Rows large = {{0, 16777217, 0}, {0, 0, 16777217}, {0, 0, 0}};
    ResidualsMatrixRegression(3, a, large, R);
    CHECK(R[0][1] == doctest::Approx(16777216.0 / 3.0).epsilon(1e-12));
    CHECK(R[0][2] == doctest::Approx(-33554432.0 / 3.0).epsilon(1e-12));
}
