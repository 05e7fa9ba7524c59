// SPDX-License-Identifier: GPL-3.0-or-later
#include "numeric/regression.hpp"

#include <doctest/doctest.h>

#include "unit/numeric/matrices.hpp"
#include "unit/shell/shell_fixture.hpp"

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

TEST_CASE("the report of a fit, in two languages")
{
    Rows x = {{0}, {1}, {2}}, y = {{1}, {2}, {6}};
    OwnedRows B(1, 1), P(3, 1);
    double b0 = 0, r2 = 0, ssTotal = 0;
    const auto report = [&](int language, bool printAll) {
        const OutputFile file(std::tmpfile());
        regression(3, 1, 1, y, x, B, &b0, P, &r2, &ssTotal, true, file, language, printAll);
        return TextOf(file);
    };
    // by hand: slope 5/2, mean 3, r squared 12.5/14
    CHECK(report(0, true) ==
          "\nFactor matrix:\n0\t\n1\t\n2\t\n\nResponse matrix:\n1\t\n2\t\n6\t\n\nRegression "
          "coefficients for each factor (rows), one model for each response variable (coluns):\n"
          "Factor 1:\t2.5\t\n\nIntersection (bo for each response variable):\n0.5\t\n\nPredicted model "
          "responses (for each response variable in columns, and sampling unit in rows):\n0.5\t\n3\t"
          "\n5.5\t\n\nResiduals not explained by the model (for each response variable in columns, "
          "and sampling unit in rows):\n0.5\t\n-1\t\n0.5\t\n\nResponse variables with values adjusted "
          "by removing the effects of the predictor variable(s) (this is simply the residuals plus "
          "the mean of the response variable) (for each response variable in columns, and sampling "
          "unit in rows):\n3.5\t\n2\t\n3.5\t\n\nCoefficient of determination (r squared) for 1 response "
          "variables:\n0.892857\t\n");
    CHECK(report(1, false) ==
          "\nCoeficientes de regressao para cada fator (linhas), um modelo para cada variavel "
          "resposta (colunas):\nFator 1:\t2.5\t\n\nInterseccao (bo para cada variavel resposta):\n0.5\t"
          "\nCoeficiente de determinacao (r ao quadrado) para 1 variaveis resposta:\n0.892857\t\n");
    CHECK(ssTotal == doctest::Approx(14));
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
