// SPDX-License-Identifier: GPL-3.0-or-later
// The measures on small data sets against R 4.2.2 with vegan 2.6-4, ade4 1.7-22 and base stats.
#include <doctest/doctest.h>

#include <cmath>
#include <vector>

#include "numeric/adjust.hpp"
#include "numeric/congruence.hpp"
#include "numeric/ordination.hpp"
#include "numeric/regression.hpp"
#include "numeric/resemblance.hpp"
#include "unit/numeric/matrices.hpp"

namespace {

constexpr int n = 6;

// The A, B and Z of the R expressions below.
const std::initializer_list<std::initializer_list<double>> rowsOfA = {
    {2.3, 0.4, 1.7}, {0.9, 3.1, 2.2}, {4.5, 1.2, 0.3},
    {1.1, 2.8, 3.6}, {3.9, 0.7, 2.9}, {0.2, 1.9, 1.4}};
const std::initializer_list<std::initializer_list<double>> rowsOfB = {
    {1.2, 5.1}, {3.4, 2.2}, {0.7, 6.3}, {2.9, 1.8}, {2.5, 4.4}, {3.3, 0.6}};
const std::initializer_list<std::initializer_list<double>> rowsOfZ = {
    {0.5, 1.5}, {2.5, 0.3}, {1.1, 2.7}, {3.2, 1.9}, {0.8, 0.1}, {2.2, 3.3}};

doctest::Approx Near(double expected)
{
    return doctest::Approx(expected).epsilon(1e-11);
}

/// Largest difference of the first columns up to the sign of an axis.
double AxisDifference(double* scores, const std::vector<double>& expected)
{
    double same = 0.0;
    double reversed = 0.0;
    for (std::size_t i = 0; i < expected.size(); i++) {
        same = std::fmax(same, std::fabs(scores[i] - expected[i]));
        reversed = std::fmax(reversed, std::fabs(scores[i] + expected[i]));
    }
    return std::fmin(same, reversed);
}

} // namespace

TEST_CASE("congruence of distances and of data")
{
    Rows A = rowsOfA;
    Rows B = rowsOfB;
    Rows Z = rowsOfZ;
    OwnedRows DA(n, n), DB(n, n), DZ(n, n);
    EucliDistMV(n, 3, A, DA);
    EucliDistMV(n, 2, B, DB);
    EucliDistMV(n, 2, Z, DZ);
    const double rAB = MatrixCorr(n, DA, DB);
    CHECK(rAB == Near(0.7669262994155296)); // vegan: mantel(dist(A), dist(B))
    CHECK(PartialCorrelation(rAB, MatrixCorr(n, DA, DZ), MatrixCorr(n, DB, DZ)) ==
          Near(0.760418016277695)); // vegan: mantel.partial(dist(A), dist(B), dist(Z))
    CHECK(ProcrustesCoeff(n, 3, 2, A, B) == Near(0.8089676802744258)); // vegan: protest(A, B)$t0
    CHECK(RVcoeff(n, 3, 2, A, B) == Near(0.8217657361031592)); // ade4: RV.rtest(A, B)$obs

    const ControlBlock control[] = {{2, nullptr, Z}};
    // limit (6 - 2) / 2: both axes of Z. ade4: RV.rtest and vegan: protest of resid(lm(A ~ Z)) and
    // resid(lm(B ~ Z))
    CHECK(PartialMatrixCorrelation(n, 3, 2, A, B, rvCoefficient, 2.0, 1, control) == Near(0.5852281555967997));
    CHECK(PartialMatrixCorrelation(n, 3, 2, A, B, procrustes, 2.0, 1, control) == Near(0.6765569376898781));
    // limit (6 - 2) / 4: the same with lm(. ~ prcomp(Z, scale. = TRUE)$x[, 1])
    CHECK(PartialMatrixCorrelation(n, 3, 2, A, B, rvCoefficient, 4.0, 1, control) == Near(0.7467705793110674));
    CHECK(PartialMatrixCorrelation(n, 3, 2, A, B, procrustes, 4.0, 1, control) == Near(0.7662903026544586));
}

TEST_CASE("regression of B on A and residuals")
{
    Rows A = rowsOfA;
    Rows B = rowsOfB;
    Rows Z = rowsOfZ;
    OwnedRows coefficients(3, 2), P(n, 2);
    OwnedVector b0(2), r2(2), ss(2);
    regression(n, 2, 3, B, A, coefficients, b0, P, r2, ss, false, nullptr, 0, false);
    // base: coef(lm(B ~ A)), summary(.)[[k]]$r.squared, fitted(.)
    const double found[] = {b0[0], coefficients[0][0], coefficients[2][1], r2[1], ss[1], P[0][1]};
    const double expected[] = {1.8933966983380977, -0.3132770754270682, -0.2754004832413229,
                               0.8743542306688065, 24.14, 4.003551437372706};
    for (int i = 0; i < 6; i++) CHECK(found[i] == Near(expected[i]));

    OwnedRows R(n, n);
    Regression_ResidualsSelect(n, 2, 3, B, A, R, nullptr);
    CHECK(R[4][1] == Near(-0.749264836152569447)); // base: resid(lm(B ~ A))
    PCA_Regression_ResidualsSelect(n, 2, 2, B, Z, R, nullptr, 1, 4.0);
    CHECK(R[2][1] == Near(3.389642150475906)); // base: resid(lm(B ~ prcomp(Z)$x[, 1]))
    PCA_Regression_ResidualsSelect(n, 2, 2, B, Z, R, nullptr, 2, 4.0);
    CHECK(R[2][1] == Near(3.1372020830619611)); // the same with prcomp(Z, scale. = TRUE)

    OwnedRows DA(n, n), DB(n, n);
    EucliDist(n, 3, A, DA);
    EucliDist(n, 2, B, DB);
    ResidualsMatrixRegression(n, DA, DB, R);
    // base: resid(lm(as.vector(dist(B)) ~ as.vector(dist(A)))), cells 1 and 15; to single
    // precision
    CHECK(R[0][1] == doctest::Approx(0.66732481270296962).epsilon(3e-6));
    CHECK(R[4][5] == doctest::Approx(-0.39272576985486746).epsilon(3e-6));
}

TEST_CASE("principal coordinates")
{
    Rows A = rowsOfA;
    OwnedRows D(n, n);
    EucliDistMV(n, 3, A, D);
    OwnedRows vectors(n, n);
    OwnedRows scores(n, n);
    OwnedVector values(n);
    int nAxes = 0;
    bool noNegative = false;
    OrdinationLib_D(n, 0, nullptr, D, vectors, scores, &nAxes, values, &noNegative,
                    principalCoordinates, euclideanMeasure, 1);
    // base: cmdscale(dist(A), k = 3, eig = TRUE)
    CHECK(nAxes == 3);
    CHECK(noNegative);
    CHECK(values[0] == Near(19.61375486595527));
    CHECK(values[2] == Near(2.711495849492724));
    CHECK(AxisDifference(scores[2], {1.0302333742743517, -0.7089155843261867, -0.8381681908680414,
                                     -0.2952026592979803, 0.2873502355525346,
                                     0.5247028246653216}) < 1e-11);

    Rows bent = {{0, 1, 1, 1}, {1, 0, 1.9, 1}, {1, 1.9, 0, 1}, {1, 1, 1, 0}};
    OrdinationLib_D(4, 0, nullptr, bent, vectors, scores, &nAxes, values, &noNegative,
                    principalCoordinates, euclideanMeasure, 1);
    // base: cmdscale(as.dist(bent), k = 2, eig = TRUE): not Euclidean
    CHECK_FALSE(noNegative);
    CHECK(nAxes == 2);
    CHECK(values[0] == Near(1.805));
    CHECK(values[3] == Near(-0.1525));
    CHECK(AxisDifference(scores[1], {-0.5, 0.0, 0.0, 0.5}) < 1e-11);
}

TEST_CASE("correspondence analysis")
{
    Rows W = {{3, 0, 1, 4}, {0, 2, 5, 1}, {1, 1, 0, 2}, {6, 0, 0, 3}, {2, 4, 1, 0}};
    OwnedRows deviations(5, 4);
    OwnedRows G(5, 5);
    DeviationsExpectationsMV(5, 4, W, deviations);
    CrossProductMV(5, 4, deviations, G);
    OwnedRows vectors(5, 5);
    OwnedRows scores(5, 4);
    OwnedVector values(5);
    int nAxes = 0;
    bool noNegative = false;
    OrdinationLib_D(5, 4, W, G, vectors, scores, &nAxes, values, &noNegative,
                    correspondence, crossProductMeasure, 1);
    // vegan: x <- cca(W); x$CA$eig; scores(x, display = "species", scaling = 1)
    CHECK(nAxes == 3);
    CHECK(values[0] == Near(0.54469330027675678));
    CHECK(values[2] == Near(0.05949623180287676));
    CHECK(AxisDifference(scores[2], {1.0702935277206336, -0.6508331313779389, 0.6444623459733160,
                                     -1.2798926834815239}) < 1e-10);
}

TEST_CASE("resemblance of quantitative rows")
{
    struct Case {
        const char* fact;
        ResemblanceMeasure measure;
        double r12, r23, r24, r34;
    };
    const Case cases[] = {
        {"base: tcrossprod(W)", crossProductMeasure, 9, 4, 3, 12},
        {"vegan: vegdist(W, 'manhattan')", absoluteValueMeasure, 12, 8, 15, 7},
        {"base: dist(W)", euclideanMeasure, 6.164414002968976, 5.291502622129181, 8.306623862918075,
         5.196152422706632},
        {"base: cor(t(W))", correlationMeasure, -0.5916079783099616, -0.7559289460184543, -0.8058229640253802,
         0.4264014327112208},
        {"vegan: vegdist(W, 'chord')", chordMeasure, 1.1642579668460553, 1.1847848775199894,
         1.3552493068858049, 0.7344429952825181},
        {"vegan: vegdist(W, 'bray')", brayCurtisMeasure, 0.75, 2.0 / 3.0, 0.8823529411764706,
         0.5384615384615384},
        {"base: cov(t(W))", covarianceMeasure, -2.333333333333333, -1.3333333333333333, -5, 1},
    };
    Rows W = {{3, 0, 1, 4}, {0, 2, 5, 1}, {1, 1, 0, 2}, {6, 0, 0, 3}};
    for (const Case& c : cases) {
        CAPTURE(c.fact);
        OwnedRows out(4, 4);
        ResemblanceLib(4, 4, W, out, 1, c.measure, 0, nullptr, 0.0, 0.0, 0, false);
        CHECK(out[0][1] == Near(c.r12));
        CHECK(out[2][1] == Near(c.r23));
        CHECK(out[1][3] == Near(c.r24));
        CHECK(out[3][2] == Near(c.r34));
    }
}

TEST_CASE("resemblance of presences and absences")
{
    struct Case {
        const char* fact;
        ResemblanceMeasure measure;
        double r12, r13, r23;
    };
    // Joint frequencies: 1,2: a 2 b 2 c 1 d 2; 1,3: a 2 b 2 c 3 d 0; 2,3: a 1 b 2 c 4 d 0
    const Case cases[] = {
        {"vegan: 1 - vegdist(P, 'jaccard', binary = TRUE)", jaccardMeasure, 0.4, 2.0 / 7.0, 1.0 / 7.0},
        {"ade4: 1 - dist.binary(P, 2)^2", simpleMatchingMeasure, 0.5714285714285714, 0.2857142857142857,
         0.1428571428571427},
        {"by hand: a / 7", sokalMichenerMeasure, 2.0 / 7.0, 2.0 / 7.0, 1.0 / 7.0},
        {"ade4: 1 - dist.binary(P, 7)^2", ochiaiMeasure, 0.5773502691896260, 0.4472135954999579,
         0.2581988897471612},
        {"vegan: 1 - vegdist(P, 'bray', binary = TRUE)", sorensenMeasure, 0.5714285714285714,
         0.4444444444444444, 0.25},
        {"base: cor(t(P))^2", meanSquareContingencyMeasure, 0.02777777777777777, 0.3, 0.5333333333333331},
        {"vegan: vegdist(P, 'jaccard', binary = TRUE)", jaccardDissimilarityMeasure, 0.6, 5.0 / 7.0, 6.0 / 7.0},
        {"by hand, Baselga 2012: 2m / (a + 2m)", jaccardTurnoverMeasure, 2.0 / 4.0, 4.0 / 6.0, 4.0 / 5.0},
        {"by hand, Baselga 2012: dissimilarity less turnover", jaccardNestednessMeasure, 3.0 / 5.0 - 2.0 / 4.0,
         5.0 / 7.0 - 4.0 / 6.0, 6.0 / 7.0 - 4.0 / 5.0},
        {"vegan: vegdist(P, 'bray', binary = TRUE)", sorensenDissimilarityMeasure, 3.0 / 7.0, 5.0 / 9.0, 0.75},
        {"by hand, Baselga 2010: m / (a + m)", sorensenTurnoverMeasure, 1.0 / 3.0, 0.5, 2.0 / 3.0},
        {"by hand, Baselga 2010: dissimilarity less turnover", sorensenNestednessMeasure, 3.0 / 7.0 - 1.0 / 3.0,
         5.0 / 9.0 - 0.5, 0.75 - 2.0 / 3.0},
    };
    Rows P = {{1, 1, 0, 1, 0, 0, 1}, {1, 0, 0, 1, 1, 0, 0}, {0, 1, 1, 0, 1, 1, 1}};
    for (const Case& c : cases) {
        CAPTURE(c.fact);
        OwnedRows out(3, 3);
        ResemblanceLib(3, 7, P, out, 1, c.measure, 0, nullptr, 0.0, 0.0, 0, false);
        CHECK(out[0][1] == Near(c.r12));
        CHECK(out[0][2] == Near(c.r13));
        CHECK(out[2][1] == Near(c.r23));
    }
}
