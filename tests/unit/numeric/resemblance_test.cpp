#include "numeric/resemblance.hpp"

#include <doctest/doctest.h>
#include <omp.h>

#include <cmath>

#include "unit/numeric/matrices.hpp"

namespace {

void Resemblance(int n, int p, double** data, double** out, int option, int power = 0,
                 int objectsAre = 1)
{
    CHECK(ResemblanceLib(n, p, data, out, objectsAre, option, power, nullptr, 0.0, 0.0, 0, false));
}

/// The distance as the definition words it: one pair, one sum.
double PlainDistance(int p, const double* x, const double* y, bool missing, const int* select)
{
    double sum = 0.0;
    for (int j = 0; j < p; j++) {
        if (select != nullptr && select[j] == 0) continue;
        if (missing && (x[j] == NA || y[j] == NA)) continue;
        sum += (x[j] - y[j]) * (x[j] - y[j]);
    }
    return sum > 0.0 ? std::sqrt(sum) : 0.0;
}

} // namespace

TEST_CASE("Euclidean distances: the bits of the plain sum for any team")
{
    const int n = 75, p = 9;
    OwnedRows data(n, p), all(n, n), present(n, n), selected(n, n);
    FillAtRandom(n, p, data, 11, 5);
    OwnedInts select(p);
    for (int j = 0; j < p; j++) select[j] = j % 3; // 0, 1 and 2: not 0 counts
    for (const int threads : {1, 2, 8}) {
        CAPTURE(threads);
        omp_set_num_threads(threads);
        for (double** out : {all.table, present.table, selected.table}) Fill(n, n, out, 4.25);
        EucliDist(n, p, data, all);
        EucliDistMV(n, p, data, present);
        EucliDistMVSelect(n, p, data, selected, select);
        int different = 0;
        for (int i = 0; i < n; i++) {
            for (int k = i; k < n; k++)
                different += all[i][k] != PlainDistance(p, data[i], data[k], false, nullptr) ||
                             present[i][k] != PlainDistance(p, data[i], data[k], true, nullptr) ||
                             selected[i][k] != PlainDistance(p, data[i], data[k], true, select);
            for (int k = 0; k < i; k++) // the lower triangle is the caller's
                different += all[i][k] != 4.25 || present[i][k] != 4.25 || selected[i][k] != 4.25;
        }
        CHECK(different == 0);
    }
    omp_set_num_threads(omp_get_num_procs());
}

TEST_CASE("Euclidean distances: edges")
{
    Rows data = {{1, NA}, {NA, 2}, {4, 6}};
    OwnedRows out(3, 3);
    EucliDistMV(3, 2, data, out);
    CHECK(out[0][1] == 0.0); // no variable in common
    CHECK(out[0][2] == 3.0); // not rescaled by the share of variables
    EucliDistMVSelectOne(3, 2, data, out, 2);
    CHECK(out[1][2] == 4.0);
    CHECK(out[0][2] == 0.0);
    data[0][0] = std::nan("");
    EucliDistMV(3, 2, data, out);
    CHECK(out[0][2] == 0.0); // a NaN is no sum above 0
}

TEST_CASE("ResemblanceLib: objects, powers and unknown numbers")
{
    Rows data = {{3, 0}, {0, 4}, {1, 1}};
    SUBCASE("powers of a distance")
    {
        const double expected[] = {5.0, 25.0, std::sqrt(5.0), 5.0};
        for (int power = 0; power < 4; power++) {
            OwnedRows out(3, 3);
            Resemblance(3, 2, data, out, euclideanMeasure, power);
            CHECK((out[0][1] == expected[power] && out[1][0] == expected[power]));
        }
    }
    SUBCASE("objects in columns; ranks of ordinal traits come back")
    {
        Rows traits = {{10, 40, 30}, {5, 5, 9}};
        int types[] = {4, 3};
        OwnedRows out(3, 3);
        ResemblanceLib(2, 3, traits, out, 2, gowerMeasure, 0, types, 0.0, 0.0, 0, false);
        CHECK(traits[0][1] == 3.0);
        CHECK(traits[1][2] == 9.0);
        CHECK(out[0][1] == 0.5); // by hand: (1 - 2/2 + 1 - 0/4) / 2
        CHECK(out[2][0] == doctest::Approx(0.25)); // (1 - 1/2 + 1 - 4/4) / 2
    }
    SUBCASE("a number without a measure only mirrors")
    {
        Rows out = {{1, 2, 3}, {9, 4, 5}, {9, 9, 6}};
        Resemblance(3, 2, data, out, 29);
        CHECK((out[1][0] == 2.0 && out[2][1] == 5.0 && out[0][1] == 2.0));
    }
    SUBCASE("options of the dialogues")
    {
        const int numbers[] = {1, 0, 0, 1, 0, 17, 3, 0, 2, 0, 18, 1}; // of 0 to 11
        for (int option = 0; option <= 11; option++)
            CHECK(TranslateReseOpt_KELPRA_DORNEL(option) == numbers[option]);
    }
}

TEST_CASE("chord distance")
{
    for (const double cell : {2.385, NA}) {
        Rows data = {{1, 0, 0}, {0, 1, 0}, {5, 2, cell}};
        OwnedRows out(3, 3);
        ChordDistMV(3, 3, data, out);
        // orthogonal rows: root of 2; deliberate: with a missing cell in another row the square
        CHECK(out[0][1] == doctest::Approx(cell == NA ? 2.0 : std::sqrt(2.0)).epsilon(1e-15));
        CHECK(out[0][0] == 0.0);
    }
    double x[] = {3, 4, NA};
    double y[] = {4, 3, 7};
    // by hand: (3/5 - 4/5)^2 + (4/5 - 3/5)^2, norms without the third position
    CHECK(ChordDistSq2VecMV(3, x, y) == doctest::Approx(0.08));
}

TEST_CASE("correlation and covariance with degenerate rows")
{
    Rows data = {{2, 2, 2, 2}, {1, 2, 4, 9}, {8, 1, 0, 3}};
    OwnedRows out(3, 3);
    CorrelationMV(3, 4, data, out);
    CHECK(out[0][1] == 0.0);
    CHECK(out[0][0] == 0.0); // a constant row correlates 0 with itself, too

    data[2][0] = NA;
    Fill(3, 3, out, 4.25);
    CorrelationMV(3, 4, data, out);
    CHECK(std::isnan(out[0][1]));
    CHECK(out[1][0] == 4.25); // this way the lower triangle is the caller's
    // R 4.2: cor(c(2, 4, 9), c(1, 0, 3)), cov(...); by hand 9 / root(26 * 42/9) and 9 / 2
    CHECK(out[1][2] == doctest::Approx(9.0 / std::sqrt(26.0 * 42.0 / 9.0)).epsilon(1e-14));
    CovarianceMV(3, 4, data, out);
    CHECK(out[1][2] == doctest::Approx(4.5).epsilon(1e-14));
    CHECK(out[0][1] == 0.0);
}

TEST_CASE("Bray-Curtis: shift and empty denominators")
{
    OwnedRows out(3, 3);
    Fill(3, 3, out, 4.25);
    Rows negative = {{-2, 3}, {1, 0}, {NA, NA}};
    BrayCurtisMV(3, 2, negative, out);
    // by hand: (3 + 3) / ((-2 + 2) + (1 + 2) + (3 + 2) + (0 + 2)), the shift only below the line,
    // where it is added to x and to y
    CHECK(out[0][1] == doctest::Approx(6.0 / 10.0));
    CHECK(out[0][2] == 4.25); // nothing in common
}

TEST_CASE("presence and absence: empty rows and other values")
{
    Rows data = {{0, 0, 0}, {1, 0, 1}, {NA, 2, 0.5}};
    struct Case {
        int first, last; // measures
        double emptyWithItself, emptyWithOther, otherValues;
    };
    const Case cases[] = {
        {simpleMatchingMeasure, simpleMatchingMeasure, 1, 1.0 / 3.0, 0},
        {sokalMichenerMeasure, meanSquareContingencyMeasure, 0, 0, 0},
        {jaccardDissimilarityMeasure, jaccardDissimilarityMeasure, 1, 1, 1},
        {jaccardTurnoverMeasure, jaccardNestednessMeasure, NA, NA, NA},
        {sorensenDissimilarityMeasure, sorensenDissimilarityMeasure, 1, 1, 1},
        {sorensenTurnoverMeasure, sorensenNestednessMeasure, NA, NA, NA},
    };
    for (const Case& c : cases)
        for (int measure = c.first; measure <= c.last; measure++) {
            CAPTURE(measure);
            OwnedRows out(3, 3);
            Resemblance(3, 3, data, out, measure);
            CHECK(out[0][0] == c.emptyWithItself);
            CHECK(out[0][1] == doctest::Approx(c.emptyWithOther));
            CHECK(out[1][2] == c.otherValues);
        }
}

TEST_CASE("presence and absence: 32-bit products")
{
    // Equal rows, half of them presences: 1. With 512 variables 256^4 = 2^32 wraps around to 0.
    for (const int p : {256, 512}) {
        OwnedRows data(2, p), out(2, 2);
        for (int j = 0; j < p; j++) data[0][j] = data[1][j] = j % 2;
        MeanSquareContingency(2, p, data, out);
        CHECK(out[0][1] == (p == 256 ? 1.0 : 0.0));
    }
}

TEST_CASE("Legendre-Chodorowski")
{
    Rows data = {{1, 4, 0, NA}, {2, 4, 3, 7}, {0, 0, 0, 1}};
    OwnedRows out(3, 3);
    LegendreChodorowski(3, 4, data, out, nullptr, 1.0F);
    // by hand, k = 1: |1 - 2| = 1 gives 2 (1 + 1 - 1) / (1 + 2 + 2) = 2/5, equal 4s give 1,
    // 0 against 3 gives 0: (2/5 + 1 + 0) / 3
    CHECK(out[0][1] == static_cast<double>(static_cast<float>(1.4 / 3.0)));
    CHECK(out[1][0] == out[0][1]);
    CHECK(out[0][0] == 1.0);
    double weights[] = {1, 0, 5, 5}; // ends after the first variable
    LegendreChodorowski(3, 4, data, out, weights, 1.0F);
    CHECK(out[0][1] == static_cast<double>(0.4F));
}
