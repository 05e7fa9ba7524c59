// SPDX-License-Identifier: GPL-3.0-or-later
#include "numeric/crossproducts.hpp"

#include <doctest/doctest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <vector>

#include "numeric/congruence.hpp"
#include "unit/numeric/matrices.hpp"

namespace {

/// Moving data of n objects: two blocks and a vector side by side; rows of the second block are
/// shares that sum up to 1. `kin`: how alike the columns of the first block are.
struct Moving {
    Moving(int nObjects, int firstCount, int secondCount, double kin, unsigned seed)
        : n(nObjects), t(firstCount), g(secondCount), m(t + g + 1), T(n, t), X(n, g), R(n, 1),
          centred(n, m), products(m)
    {
        FillAtRandom(n, t, T, seed, 0);
        FillAtRandom(n, g, X, seed + 1, 0);
        FillAtRandom(n, 1, R, seed + 2, 0);
        for (int i = 0; i < n; i++) {
            const double total = std::accumulate(X[i], X[i] + g, 0.0);
            for (int j = 0; j < g; j++) X[i][j] /= total;
            for (int j = 1; j < t; j++) T[i][j] = kin * T[i][0] + (1.0 - kin) * T[i][j];
        }
        Centre();
    }
    double** Block(int column) { return column < t ? T : column < t + g ? X : R; }
    void Centre()
    {
        for (int c = 0; c < m; c++) {
            double** from = Block(c);
            const int j = c < t ? c : c < t + g ? c - t : 0;
            double mean = 0.0;
            for (int i = 0; i < n; i++) mean += from[i][j] / n;
            for (int i = 0; i < n; i++) {
                centred[i][c] = from[i][j] - mean;
                products.rawSumSquares[static_cast<std::size_t>(c)] += from[i][j] * from[i][j];
            }
        }
        for (int a = 0; a < m; a++)
            for (int b = 0; b < m; b++) {
                products.ZZ(a, b) = 0.0;
                for (int i = 0; i < n; i++) products.ZZ(a, b) += centred[i][a] * centred[i][b];
            }
    }
    const int n, t, g, m;
    OwnedRows T, X, R, centred;
    MovingProducts products;
};

/// A reference of p columns, its products formed the plain way.
struct Fixed : ReferenceProducts {
    Fixed(Moving& moving, int columns, unsigned seed)
        : ReferenceProducts(moving.m), p(columns), M(moving.n, p)
    {
        const int n = moving.n;
        FillAtRandom(n, p, M, seed, 0);
        OwnedRows K(n, n), KZ(n, moving.m);
        for (int j = 0; j < p; j++) {
            double mean = 0.0;
            for (int i = 0; i < n; i++) mean += M[i][j] / n;
            for (int i = 0; i < n; i++) {
                rawTrace += M[i][j] * M[i][j];
                for (int k = 0; k < n; k++) K[i][k] += (M[i][j] - mean) * (M[k][j] - mean);
            }
        }
        rank = std::min(p, n - 1);
        for (int i = 0; i < n; i++) {
            trace += K[i][i];
            for (int k = 0; k < n; k++) squaredNorm += K[i][k] * K[i][k];
            for (int c = 0; c < moving.m; c++)
                for (int k = 0; k < n; k++) KZ[i][c] += K[i][k] * moving.centred[k][c];
        }
        for (int a = 0; a < moving.m; a++)
            for (int b = 0; b < moving.m; b++)
                for (int i = 0; i < n; i++) {
                    ZKZ(a, b) += moving.centred[i][a] * KZ[i][b];
                    ZKKZ(a, b) += KZ[i][a] * KZ[i][b];
                }
    }
    const int p;
    OwnedRows M;
};

double Exact(int coefficient, int n, int p1, int p2, double** A, double** B)
{
    return coefficient == 2 ? ProcrustesCoeff(n, p1, p2, A, B) : RVcoeff(n, p1, p2, A, B);
}

/// The exact value lies within the bound, and the bound is of use.
void CheckEstimate(const Estimate& estimate, double exact)
{
    CHECK(std::fabs(estimate.value - exact) <= estimate.error);
    CHECK(estimate.error < 1e-4);
}

} // namespace

TEST_CASE("estimates from cross-products hold the exact coefficient within their bound")
{
    struct Case {
        int n, t, g, p;
        double kin, overfit;
    };
    const Case cases[] = {{75, 8, 8, 82, 0.5, 2.0}, {75, 8, 10, 4, 0.9, 2.0},
                          {10, 3, 3, 2, 0.0, 2.0},  {12, 6, 4, 30, 0.7, 3.0},
                          {20, 1, 2, 1, 0.0, 2.0},  {6, 2, 2, 40, 0.3, 1.0}};
    unsigned seed = 1;
    for (const Case& c : cases) {
        Moving moving(c.n, c.t, c.g, c.kin, seed++);
        Fixed fixed(moving, c.p, seed++);
        const ColumnBlock T = {0, c.t, c.t}, X = {c.t, c.g, c.g - 1};
        ReferenceProducts ofT(moving.m);
        ReferToBlock(moving.products, T, ofT);
        std::vector<int> columns;
        for (int j = 0; j < c.t; j++) columns.push_back(j);
        for (int coefficient = 2; coefficient <= 3; coefficient++) {
            CAPTURE(c.n);
            CAPTURE(coefficient);
            CongruenceEstimator estimator(c.n, c.p, moving.products);
            CheckEstimate(estimator.Whole(coefficient, T, fixed),
                          Exact(coefficient, c.n, c.t, c.p, moving.T, fixed.M));
            CheckEstimate(estimator.Whole(coefficient, X, ofT),
                          Exact(coefficient, c.n, c.g, c.t, moving.X, moving.T));
            const ControlBlock control[] = {{c.t, nullptr, moving.T}, {1, nullptr, moving.R}};
            estimator.SetControl(columns, c.overfit);
            CheckEstimate(estimator.Partial(coefficient, X, fixed),
                          PartialMatrixCorrelation(c.n, c.g, c.p, moving.X, fixed.M, coefficient,
                                                   c.overfit, 1, control));
            estimator.SetControl({c.t + c.g}, c.overfit);
            CheckEstimate(estimator.Partial(coefficient, X, ofT),
                          PartialMatrixCorrelation(c.n, c.g, c.t, moving.X, moving.T, coefficient,
                                                   c.overfit, 1, control + 1));
        }
    }
}

TEST_CASE("what cannot be estimated is unknown")
{
    Moving moving(20, 2, 2, 1.0, 7); // kin 1: the second trait repeats the first
    Fixed fixed(moving, 3, 8);
    CongruenceEstimator estimator(20, 3, moving.products);
    const ColumnBlock X = {2, 2, 1};
    estimator.SetControl({0, 1}, 2.0); // one axis of two: estimated all the same
    const ControlBlock twins = {2, nullptr, moving.T};
    CheckEstimate(estimator.Partial(3, X, fixed),
                  PartialMatrixCorrelation(20, 2, 3, moving.X, fixed.M, 3, 2.0, 1, &twins));
    estimator.SetControl({2}, 2.0); // a single share explains its complement: nothing remains
    CHECK(std::isinf(estimator.Partial(3, X, fixed).error));
    moving.products.ZZ(0, 0) = 0.0; // a constant column
    estimator.SetControl({0}, 2.0);
    CHECK(std::isinf(estimator.Partial(3, X, fixed).error));
}

TEST_CASE("a decision stands only outside the bound and the grain of the comparison")
{
    const double inf = std::numeric_limits<double>::infinity(), nan = std::nan("");
    struct Case {
        Estimate random;
        double observed;
        bool absolute;
        Decision expected;
    };
    constexpr double e = 1e-12;
    const Case cases[] = {{{0.5, e}, 0.4, false, Decision::reached},
                          {{0.3, e}, 0.4, false, Decision::below},
                          {{-0.5, e}, 0.4, true, Decision::reached},
                          {{-0.5, e}, 0.4, false, Decision::below},
                          {{0.3, e}, -0.4, true, Decision::below},
                          {{0.4, e}, 0.4, false, Decision::reached}, // a tie, well known
                          {{0.4 * (1 - 2e-8), e}, 0.4, false, Decision::reached},
                          {{0.4 * (1 - 5e-8), e}, 0.4, false, Decision::inDoubt},
                          {{0.4, 2e-8}, 0.4, false, Decision::inDoubt}, // a tie, less well known
                          {{0.4 * (1 + 5e-7), e}, 0.4, false, Decision::inDoubt},
                          {{0.4 * (1 + 2e-6), e}, 0.4, false, Decision::reached},
                          {{0.5, 0.2}, 0.4, false, Decision::inDoubt},
                          {{0.0, e}, 1e-31, false, Decision::inDoubt},
                          {{nan, e}, 0.4, false, Decision::inDoubt},
                          {{0.5, nan}, 0.4, false, Decision::inDoubt},
                          {{0.5, inf}, 0.4, false, Decision::inDoubt},
                          {{0.5, e}, nan, false, Decision::inDoubt},
                          {{inf, e}, 0.4, false, Decision::inDoubt},
                          {{0.5, e}, inf, false, Decision::inDoubt},
                          {{0.4, 0.0}, 0.4, false, Decision::reached}, // known to the last bit
                          {{0.4 * (1 - 5e-7), 0.0}, 0.4, false, Decision::below}};
    for (const Case& c : cases) {
        CAPTURE(c.random.value);
        CAPTURE(c.observed);
        CHECK(Decide(c.random, c.observed, c.absolute) == c.expected);
    }
}
