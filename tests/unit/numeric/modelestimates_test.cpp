// SPDX-License-Identifier: GPL-3.0-or-later
#include "numeric/modelestimates.hpp"

#include <doctest/doctest.h>

#include <cmath>
#include <random>
#include <vector>

#include "numeric/regression.hpp"
#include "unit/numeric/matrices.hpp"

namespace {

struct Column {
    Column(int n, double** M, int j) : cells(static_cast<std::size_t>(n))
    {
        double mean = 0.0;
        for (int i = 0; i < n; i++) mean += M[i][j] / n;
        for (int i = 0; i < n; i++) {
            cells[static_cast<std::size_t>(i)] = M[i][j] - mean;
            view.sumSquares += (M[i][j] - mean) * (M[i][j] - mean);
            view.rawSumSquares += M[i][j] * M[i][j];
        }
        view.cell = cells.data();
    }
    std::vector<double> cells;
    CentredColumn view;
};

void CheckEstimate(const Estimate& estimate, double exact)
{
    CHECK(std::fabs(estimate.value - exact) <= estimate.error);
    CHECK(estimate.error < 1e-6 * (1.0 + std::fabs(exact)));
}

} // namespace

TEST_CASE("estimated regressions hold the exact ones within their bound")
{
    struct Case {
        int n, e;
        double scale;
    }; // scale: the unit of the second variable
    for (const Case& c : {Case{30, 4, 1.0}, Case{75, 6, 40.0}, Case{8, 1, 1.0}}) {
        OwnedRows E(c.n, c.e), Y(c.n, 3), B(c.e, 3), fitted(c.n, 3);
        OwnedVector b0(3), r2(3);
        FillAtRandom(c.n, c.e, E, 3, 0);
        FillAtRandom(c.n, 3, Y, 4, 0);
        for (int i = 0; i < c.n; i++) {
            if (c.e > 1) E[i][1] *= c.scale;
            Y[i][2] = E[i][0] + 0.5; // a perfect fit
        }
        regression(c.n, 3, c.e, Y, E, B, b0, fitted, r2);
        const RegressionEstimator estimator(c.n, c.e, E);
        REQUIRE(estimator.IsUsable());
        std::vector<double> work(static_cast<std::size_t>(c.e));
        for (int k = 0; k < 3; k++) {
            Estimate rSquare, slopes[12];
            estimator.Estimate(Column(c.n, Y, k).view, work.data(), &rSquare, slopes, 2);
            CheckEstimate(rSquare, r2[k]);
            for (int j = 0; j < c.e; j++) CheckEstimate(slopes[2 * j], B[j][k]);
        }
    }
    OwnedRows twins(6, 2);
    FillAtRandom(6, 1, twins, 5, 0);
    for (int i = 0; i < 6; i++) twins[i][1] = 3.0 * twins[i][0];
    CHECK_FALSE(RegressionEstimator(6, 2, twins).IsUsable());
}

TEST_CASE("estimated pseudo-F: sums of squared distances from one pass")
{
    Rows data = {{2.5, 0.5}, {7.5, 1.0}, {1.0, 4.0}, {3.0, 8.0}, {9.0, 2.0}, {4.0, 6.5}};
    const int states[] = {3, 3, 7, 9, 7, 3};
    const int mask[] = {1, 1, 1, 1, 1, 0};
    const FactorGroups factor(6, states, mask);
    CHECK(factor.group == std::vector<int>{0, 0, 1, 2, 1, -1});
    double work[3];
    GroupSums sums;
    for (int j = 0; j < 2; j++) AddColumn(factor, Column(6, data, j).view, work, sums);
    // by hand: squared distances 25.25 within {1, 2} and 68 within {3, 5}, each over its 2 members;
    // 25.25, 14.5, 56.5, 44.5, 51.25, 69.25, 3.25, 20, 68 and 72 over all five
    const double within = (25.25 + 68.0) / 2;
    const double total =
        (25.25 + 14.5 + 56.5 + 44.5 + 51.25 + 69.25 + 3.25 + 20.0 + 68.0 + 72.0) / 5;
    CheckEstimate(PseudoFEstimate(factor, sums), (total - within) / within);

    const int own[] = {1, 2, 3, 4, 5, 6}; // a state for each: nothing lies within
    const int all[] = {1, 1, 1, 1, 1, 1};
    const FactorGroups alone(6, own, all);
    double room[6];
    GroupSums none;
    AddColumn(alone, Column(6, data, 0).view, room, none);
    CHECK(std::isinf(PseudoFEstimate(alone, none).error));
}
