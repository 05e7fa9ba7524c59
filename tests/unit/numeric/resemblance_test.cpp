// SPDX-License-Identifier: GPL-3.0-or-later
#include "numeric/resemblance.hpp"

#include <doctest/doctest.h>
#include <omp.h>

#include <cmath>

#include "unit/numeric/matrices.hpp"

namespace {

void Resemblance(int n, int p, double** data, double** out, int option, int power)
{
    CHECK(ResemblanceLib(n, p, data, out, 1, option, power, nullptr, 0.0, 0.0, 0, false));
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
    SUBCASE("options of the dialogues")
    {
        const int numbers[] = {1, 0, 0, 1, 0, 17, 3, 0, 2, 0, 18, 1}; // of 0 to 11
        for (int option = 0; option <= 11; option++)
            CHECK(TranslateReseOpt_KELPRA_DORNEL(option) == numbers[option]);
    }
}

TEST_CASE("measures between columns, beside one with a hole")
{
    struct Case {
        int option;
        double expected; // by hand
    };
    const Case cases[] = {
        {crossProductMeasure, 13.0}, {gowerMeasure, 1.0 / 9.0}, {covarianceMeasure, -0.5},
        {legendreChodorowskiMeasure, 1.0 / 6.5}, // 2 1.5 / (1.5 + 3 + 2) in one of three variables
        {secondEigenvalueMeasure, 1.0 - std::sqrt(3.0 / 28.0)}, {noMeasure, 0.0}}; // 1 - |r|
    for (const Case& c : cases) {
        CAPTURE(c.option);
        Rows data = {{1, 3, NA}, {2, 1, 1}, {4, 2, 1}};
        OwnedRows out(3, 3);
        int types[] = {3, 3, 3};
        ResemblanceLib(3, 3, data, out, 2, c.option, 0, types, 0.0, 1.5, 1, false);
        CHECK(out[1][0] == doctest::Approx(c.expected).epsilon(1e-7));
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
