#include "numeric/ordination.hpp"

#include <doctest/doctest.h>

#include <cmath>

#include "numeric/adjust.hpp"
#include "numeric/resemblance.hpp"
#include "unit/numeric/matrices.hpp"

TEST_CASE("eigenvalues: order, vectors in rows and the test for negative values")
{
    struct Case {
        const char* fact;
        double last;
        bool noNegative;
    };
    // diagonal matrices: the values are known
    const Case cases[] = {
        {"positive", 0.5, true},
        {"-0.09 per cent of the sum is rounding", -0.009, true},
        {"-0.2 per cent is not", -0.02, false},
    };
    for (const Case& c : cases) {
        CAPTURE(c.fact);
        Rows m = {{c.last, 0, 0}, {0, 7, 0}, {0, 0, 3}};
        OwnedRows vectors(3, 3);
        OwnedVector values(3);
        CHECK(EigenHouseholderQL_GSL_D(3, m, vectors, values) == c.noNegative);
        CHECK(values[0] == doctest::Approx(7.0));
        CHECK(values[2] == doctest::Approx(c.last));
        CHECK(std::fabs(vectors[0][1]) == doctest::Approx(1.0));
        CHECK(std::fabs(vectors[2][0]) == doctest::Approx(1.0));
    }
    CHECK(EigenHouseholderQL_GSL_D(0, nullptr, nullptr, nullptr));
}

TEST_CASE("singular values")
{
    Rows a = {{3, 0}, {4, 0}, {0, 2}}; // by hand: 5 and 2, left vector (0.6, 0.8, 0)
    OwnedRows U(3, 2);
    OwnedRows V(2, 2);
    OwnedVector s(2);
    CHECK(SingValueDecomp(3, 2, a, U, s, V));
    CHECK((s[0] == doctest::Approx(5.0) && s[1] == doctest::Approx(2.0)));
    for (int i = 0; i < 3; i++)
        for (int j = 0; j < 2; j++)
            CHECK(U[i][0] * s[0] * V[j][0] + U[i][1] * s[1] * V[j][1] ==
                  doctest::Approx(a[i][j]));
    CHECK(a[1][0] == 4.0);
    s[0] = 4.25;
    CHECK_FALSE(SingValueDecomp(1, 2, a, U, s, V)); // more columns than rows: refused
    CHECK(s[0] == 4.25);
}

TEST_CASE("ordination without a positive eigenvalue")
{
    Rows zero = {{0, 0}, {0, 0}};
    OwnedRows vectors(2, 2);
    OwnedRows scores(2, 2);
    Fill(2, 2, scores, 4.25);
    OwnedVector values(2);
    int nAxes = 9;
    bool noNegative = false;
    CHECK(OrdinationLib_D(2, 0, nullptr, zero, vectors, scores, &nAxes, values, &noNegative, 1, 3,
                          1) == 1);
    CHECK(nAxes == 0);
    CHECK(scores[0][0] == 4.25);
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
    CHECK(OrdinationLib_Scores(3, 0, nullptr, similarities, fromSimilarities, 1, 5, 1) == 2);
    CHECK(OrdinationLib_Scores(3, 0, nullptr, distances, fromDistances, 1, 3, 1) == 2);
    for (int a = 0; a < 2; a++)
        for (int x = 0; x < 3; x++)
            CHECK(std::fabs(fromSimilarities[a][x]) ==
                  doctest::Approx(std::fabs(fromDistances[a][x])));
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
    for (const int orientation : {1, 2}) {
        CAPTURE(orientation);
        OwnedRows scores(2, 3);
        double** data = orientation == 1 ? X : transposed;
        CHECK(OrdinationLib_Scores(2, 3, data, G, scores, 2, 1, orientation) == 2);
        // the first axis is the second variable; the missing cell adds nothing
        CHECK(std::fabs(scores[0][2]) == doctest::Approx(3.0));
        CHECK(std::fabs(scores[1][1]) == doctest::Approx(2.0));
        CHECK(scores[1][2] == doctest::Approx(0.0));
    }
    Rows complete = {{1, 3, 2}, {5, 5, 5}};
    for (const int reseOpt : {22, 17}) { // covariance and correlation: (1 - 2) over root 2
        CAPTURE(reseOpt);
        OwnedRows scores(2, 3);
        Rows one = {{1, 0}, {0, 0}};
        CHECK(OrdinationLib_Scores(2, 3, complete, one, scores, 2, reseOpt, 1) == 1);
        CHECK(std::fabs(scores[0][0]) == doctest::Approx(1.0 / std::sqrt(2.0)));
        CHECK(complete[0][0] == 1.0);
    }
}

TEST_CASE("conversions between resemblances")
{
    SUBCASE("products to squared distances, also in place")
    {
        Rows products = {{5, 2, 1}, {9, 4, 0}, {9, 9, 3}};
        OwnedRows out(3, 3);
        Fill(3, 3, out, 4.25);
        ProdToSqDist(3, products, out);
        ProdToSqDist(3, products, products);
        CHECK((out[0][1] == 5.0 && out[0][2] == 6.0)); // by hand: 5 + 4 - 2 * 2
        CHECK((out[1][0] == 4.25 && products[1][0] == 9.0));
        for (int i = 0; i < 3; i++)
            for (int k = i; k < 3; k++) CHECK(products[i][k] == out[i][k]);
    }
    SUBCASE("correlations and probabilities fill both triangles")
    {
        Rows r = {{1, 0.25}, {9, 0.5}};
        OwnedRows out(2, 2);
        CorrToSqDist(2, r, out);
        CHECK((out[0][1] == 1.5 && out[1][0] == 1.5 && out[1][1] == 0.0));
        ProbToDissim(2, r, r);
        CHECK((r[0][0] == 0.0 && r[1][0] == 0.75 && r[1][1] == 0.5));
    }
    SUBCASE("Gower centring")
    {
        Rows d = {{0, 2, 4}, {9, 0, 2}, {9, 9, 0}}; // points 0, 2, 4 on a line
        OwnedRows out(3, 3);
        DissToCenterProdMatrix(3, d, out, false);
        const double centred[] = {-2, 0, 2};
        for (int k = 0; k < 3; k++) CHECK(out[0][k] == doctest::Approx(-2 * centred[k]));
        CHECK(out[2][0] == 0.0); // the lower triangle is not written
        Rows squared = {{0, 4, 16}, {9, 0, 4}, {9, 9, 0}};
        DissToCenterProdMatrix(3, squared, squared, true);
        for (int i = 0; i < 3; i++)
            for (int k = i; k < 3; k++) CHECK(squared[i][k] == out[i][k]);
    }
}
