// SPDX-License-Identifier: GPL-3.0-or-later
#include "numeric/ordination.hpp"

#include <doctest/doctest.h>

#include <cmath>

#include "numeric/adjust.hpp"
#include "numeric/resemblance.hpp"
#include "unit/numeric/matrices.hpp"

TEST_CASE("eigenvalues: order, vectors in rows and the test for negative values")
{
    // Diagonal matrices: the values are known. A tenth of one per cent of the sum is rounding.
    for (const double last : {0.5, -0.009, -0.02}) {
        CAPTURE(last);
        Rows m = {{last, 0, 0}, {0, 7, 0}, {0, 0, 3}};
        OwnedRows vectors(3, 3);
        OwnedVector values(3);
        CHECK(EigenHouseholderQL_GSL_D(3, m, vectors, values) == (last > -0.01));
        CHECK((values[0] == doctest::Approx(7.0) && values[2] == doctest::Approx(last)));
        CHECK(std::fabs(vectors[2][0]) == doctest::Approx(1.0));
    }
}

TEST_CASE("principal coordinates of similarities and of distances agree")
{
    // s = 1 - d2 / 2 keeps the squared distances 2 (1 - s)
    Rows similarities = {{1, 0.5, 0}, {0.5, 1, 0.25}, {0, 0.25, 1}};
    OwnedRows distances(3, 3);
    CorrToSqDist(3, similarities, distances);
    for (int i = 0; i < 3; i++)
        for (int k = 0; k < 3; k++) distances[i][k] = std::sqrt(distances[i][k]);
    OwnedRows fromSimilarities(3, 3), fromDistances(3, 3);
    CHECK(OrdinationLib_Scores(3, 0, nullptr, similarities, fromSimilarities, principalCoordinates,
                               gowerMeasure, 1) == 2);
    CHECK(OrdinationLib_Scores(3, 0, nullptr, distances, fromDistances, principalCoordinates,
                               euclideanMeasure, 1) == 2);
    // Every measure whose result is a similarity, and no other, is taken for one.
    for (int measure = crossProductMeasure; measure <= covarianceMeasure; measure++) {
        CAPTURE(measure);
        const bool isDistance = measure == absoluteValueMeasure || measure == euclideanMeasure ||
                                measure == mutualInformationMeasure ||
                                measure == coherenceDistanceMeasure || measure == chordMeasure ||
                                measure == brayCurtisMeasure || measure == secondEigenvalueMeasure;
        double** const rese = isDistance ? distances : similarities.table;
        OrdinationLib_Scores(3, 0, nullptr, rese, fromSimilarities, principalCoordinates, measure,
                             1);
        for (int a = 0; a < 2; a++)
            for (int x = 0; x < 3; x++)
                CHECK(std::fabs(fromSimilarities[a][x]) ==
                      doctest::Approx(std::fabs(fromDistances[a][x])));
    }
    for (int i = 0; i < 3; i++) // the coordinates give the distances back
        for (int k = 0; k < i; k++)
            CHECK(std::hypot(fromDistances[0][i] - fromDistances[0][k],
                             fromDistances[1][i] - fromDistances[1][k]) ==
                  doctest::Approx(std::sqrt(2.0 * (1.0 - similarities[i][k]))));
}

TEST_CASE("principal component scores")
{
    // two variables by three objects, in the rows of X; products of the rows as they are
    Rows X = {{1, 2, NA}, {0, 0, 3}};
    Rows transposed = {{1, 0}, {2, 0}, {NA, 3}};
    Rows G = {{5, 0}, {0, 9}};
    OwnedRows scores(2, 3);
    for (const int orientation : {1, 2}) {
        CAPTURE(orientation);
        double** data = orientation == 1 ? X : transposed;
        CHECK(OrdinationLib_Scores(2, 3, data, G, scores, principalComponents, crossProductMeasure,
                                   orientation) == 2);
        // the first axis is the second variable; the missing cell adds nothing
        CHECK(std::fabs(scores[0][2]) == doctest::Approx(3.0));
        CHECK(std::fabs(scores[1][1]) == doctest::Approx(2.0));
        CHECK(scores[1][2] == doctest::Approx(0.0));
    }
    Rows complete = {{1, 3, 5}, {5, 5, 5}};
    Rows one = {{1, 0}, {0, 0}};
    // By hand: deviations -2, 0, 2, over the root of m - 1 = 2, or of their squares, 8.
    for (const int measure : {covarianceMeasure, correlationMeasure}) {
        CHECK(OrdinationLib_Scores(2, 3, complete, one, scores, principalComponents, measure, 1) ==
              1);
        CHECK(std::fabs(scores[0][0]) ==
              doctest::Approx(2.0 / std::sqrt(measure == covarianceMeasure ? 2.0 : 8.0)));
    }
}

TEST_CASE("conversions between resemblances, in place and not")
{
    Rows r = {{1, 0.25}, {9, 0.5}};
    ProbToDissim(2, r, r);
    CHECK((r[0][0] == 0.0 && r[1][0] == 0.75 && r[1][1] == 0.5));

    OwnedRows out(3, 3);
    Rows d = {{0, 2, 4}, {9, 0, 2}, {9, 9, 0}}; // points 0, 2, 4 on a line: centred -2, 0, 2
    Rows squared = {{0, 4, 16}, {9, 0, 4}, {9, 9, 0}};
    Fill(3, 3, out, 4.25);
    DissToCenterProdMatrix(3, d, out, false);
    DissToCenterProdMatrix(3, squared, squared, true);
    for (int k = 0; k < 3; k++) CHECK(out[0][k] == doctest::Approx(4 - 4 * k));
    CHECK((squared[0][2] == out[0][2] && out[2][0] == 4.25)); // the upper triangle alone
}
