// SPDX-License-Identifier: GPL-3.0-or-later
// Belonging, diversity and smoothing against other statistics packages (R 4.2.2).
//
// W <- matrix(c(2.5,0,1,0,4, 0,3,1.5,0,2, 1,1,0,0.5,0, 0,0,2,0,7), 4, byrow=TRUE)
// B <- data.frame(sla=c(12.5,18,NA,7.25,30), fam=factor(c(1,2,1,3,2)), leg=c(1,0,0,1,0),
//                 ht=ordered(c(3,1,4,2,5)))
// A <- W/rowSums(W)
#include <doctest/doctest.h>

#include "functional/belonging.hpp"
#include "numeric/diversity.hpp"
#include "functional/smoothing.hpp"
#include "numeric/adjust.hpp"
#include "numeric/matrix.hpp"
#include "unit/functional/tables.hpp"

namespace {

const int n = 4, s = 5, t = 4;

// clang-format off
const Cells compositions = {{2.5, 0, 1, 0, 4}, {0, 3, 1.5, 0, 2}, {1, 1, 0, 0.5, 0}, {0, 0, 2, 0, 7}};
const Cells traits = {{12.5, 1, 1, 3}, {18, 2, 0, 1}, {-999, 1, 0, 4}, {7.25, 3, 1, 2}, {30, 2, 0, 5}};
// clang-format on

// Similarities on a trait are kept in single precision.
const double singlePrecision = 1e-7;

/// Gower similarities of the OTUs, upper triangle.
void Similarities(double** S, std::vector<double> weights, int countDoubleAbsence)
{
    Table B(traits);
    int types[] = {3, 2, 1, 4};
    double ranges[] = {22.75, 0, 0, 0};
    PartialSimilarity partial(t, s);
    gower_similarityPartial(t, B, s, partial, types, ranges, weights.data(), countDoubleAbsence);
    gower_similarityAverage(t, s, partial, S, weights.data());
}

} // namespace

TEST_CASE("fuzzy belonging and composition, base R") {
    OwnedRows S(s, s), U(s, 2), X(n, 2), A(n, s);
    Table W(compositions);
    Similarities(S, {1, 1, 1, 1}, 1);
    int types[] = {7, -3, 7, -3, -3};
    FuzzyBelonging(s, 2, S, types, U, false);
    // S <- 1 - as.matrix(daisy(B, "gower", type=list(symm="leg")))
    // C <- outer(c(7,-3,7,-3,-3), c(-3,7), "==") * 1
    // U <- sweep(S %*% C, 2, colSums(C), "/"); U <- U/rowSums(U)
    CheckCells(U,
               {{0.321827809374387, 0.678172190625613},
                {0.638524219103667, 0.361475780896333},
                {0.329411764705882, 0.670588235294118},
                {0.536318805811009, 0.463681194188991},
                {0.593932038834951, 0.406067961165049}},
               singlePrecision);
    UnitSumRowsAdjMV(n, s, A, W);
    MatrixProdMV(n, s, s, 2, A, U, X);
    // A %*% U
    CheckCells(X,
               {{0.467961259130887, 0.532038740869113}, {0.553469904929189, 0.446530095070811}},
               singlePrecision);
}

TEST_CASE("Rao entropy and Gini-Simpson index, ade4 and vegan") {
    struct Case {
        const char* fact;
        bool onTraits, sqrtDissim, restrictWithin, keepScale;
        std::vector<int> weights;
        std::vector<double> expected;
    };
    const std::vector<int> all = {1, 1, 1, 1, 1}, some = {1, 0, 0, 1, 0};
    const Case cases[] = {
        // vegan 2.6: diversity(W, "simpson")
        {"Gini-Simpson", false, false, false, false, all,
         {0.586666666666667, 0.63905325443787, 0.64, 0.345679012345679}},
        // ade4 1.7, d <- daisy(B[,2:4], "gower", type=list(symm="leg")):
        // divc(as.data.frame(t(A)), sqrt(2*d))
        {"entropy", true, false, false, false, all,
         {0.392592592592593, 0.27810650887574, 0.453333333333333, 0.1440329218107}},
        // divc(as.data.frame(t(A)), sqrt(2*sqrt(d)))
        {"entropy of square-rooted dissimilarities", true, true, false, false, all,
         {0.473757911116236, 0.418344381512821, 0.533962317840463, 0.223134842991374}},
        // base R, w <- c(1,0,0,1,0), P <- (outer(w,w,"+")>0)*1, D <- sqrt(as.matrix(d)):
        // diag(A %*% (D*P) %*% t(A))
        {"pairs with a selected OTU", true, true, false, false, some,
         {0.381953861428357, 0, 0.533962317840463, 0}},
        // the same divided by diag(A %*% P %*% t(A)); communities 2 and 4 hold no selected OTU
        {"the same, rescaled", true, true, false, true, some,
         {0.687516950571042, 0, 0.635669426000551, 0}},
        // P <- outer(w,w)
        {"pairs of selected OTUs, rescaled", true, true, true, true, some,
         {0, 0, 0.286887655274623, 0}},
    };
    OwnedRows S(s, s), identity(s, s);
    Similarities(S, {0, 1, 1, 1}, 1);
    for (int i = 0; i < s; i++) identity[i][i] = 1.0;
    Table W(compositions);
    for (const Case& c : cases) {
        CAPTURE(c.fact);
        double** const M = c.onTraits ? S : identity;
        const RaoDissimilarity prepared(s, M, false, c.sqrtDissim);
        std::vector<int> weights = c.weights;
        for (int k = 0; k < n; k++) {
            const auto expected = doctest::Approx(c.expected[static_cast<std::size_t>(k)])
                                      .epsilon(singlePrecision);
            CHECK(RaoIndex_Weight(prepared, W[k], weights.data(), c.restrictWithin, c.keepScale) ==
                  expected);
        }
    }
}

TEST_CASE("Beals smoothing, vegan") {
    struct Case {
        const char* fact;
        bool includeTarget;
        int mode;
        bool weighted;
        Cells out;
    };
    // clang-format off
    const Case cases[] = {
        // vegan 2.6: beals(W, type=3, include=TRUE)
        {"performances", true, 1, false,
         {{0.5270655270655271, 0.2217338217338217, 0.9047619047619048, 0.0952380952380952, 0.9047619047619048}}},
        // beals(W, type=3, include=FALSE)
        {"performances, without the target", false, 1, false,
         {{0.2905982905982906, 0.2217338217338217, 0.8901098901098901, 0.0952380952380952, 0.7959183673469388},
          {0.2613412228796844, 0.2307692307692308, 0.85, 0.1153846153846154, 0.8333333333333334},
          {0.5, 0.5238095238095238, 0.5857142857142857, 0.2678571428571428, 0.5857142857142857},
          {0.2886989553656221, 0.1937321937321937, 1, 0, 1}}},
        // beals(W, type=2, include=TRUE): joint occurrences by presence; the first community
        {"presences", true, 0, false,
         {{0.555555555555556, 0.388888888888889, 0.833333333333333, 0.166666666666667, 0.833333333333333}}},
        // base R: C <- crossprod(W, 1*(W>0)); C <- C/diag(C); diag(C) <- 1; U <- C/rowSums(C); A %*% U
        {"weighted", true, 1, true,
         {{0.1893719806763285, 0.0824706694271912, 0.3482056590752243, 0.0317460317460317, 0.3482056590752243}}},
        // diag(U) <- 0; O <- U/(1-U); cell k, j: sum(A[k,]/(1-A[k,j]) * O[,j])
        {"weighted, without the target", false, 1, true,
         {{0.1333333333333333, 0.0906432748538012, 0.5412449392712551, 0.0350877192982456, 0.4068877551020408},
          {0.1078921078921079, 0.1023809523809524, 0.4736842105263159, 0.0419580419580420, 0.4365079365079365}}},
    };
    const Cells products = { // base R: A %*% crossprod(W)
        {8.083333333333332, 4.133333333333334, 13, 0.166666666666667, 42.93333333333333}};
    // clang-format on
    Table W(compositions);
    OwnedRows out(n, s);
    for (const Case& c : cases) {
        CAPTURE(c.fact);
        BealsSmoothing(n, s, W, W, out, c.includeTarget, c.mode, c.weighted);
        CheckCells(out, c.out, 1e-13);
    }
    BealsSmoothing(n, s, W, W, out, true, 2);
    CheckCells(out, products, 1e-13);
}
