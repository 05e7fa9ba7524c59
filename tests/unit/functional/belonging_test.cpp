// SPDX-License-Identifier: GPL-3.0-or-later
#include "functional/belonging.hpp"

#include <doctest/doctest.h>
#include <omp.h>

#include <algorithm>
#include <cmath>

#include "shell/failure.hpp"
#include "unit/functional/tables.hpp"

namespace {

/// Fills a layer of 3 OTUs from the pairs 11, 12, 13, 22, 23, 33.
void SetLayer(PartialSimilarity& partial, int trait, const std::vector<float>& cells)
{
    std::copy(cells.begin(), cells.end(), partial.layer[trait]);
}

} // namespace

TEST_CASE("averages over traits") {
    PartialSimilarity partial(3, 3);
    SetLayer(partial, 0, {2, 1, -999, 2, -999, 2}); // a trait of weight 2
    SetLayer(partial, 1, {1, 0.25F, 0.5F, 1, -999, 1});
    SetLayer(partial, 2, {-999, -999, 0.75F, 1, -999, 1});
    double weights[] = {2, 1, 0};
    int lastTwo[] = {0, 1, 1}, last[] = {0, 0, 1};
    Table S({{8, 8, 8}, {8, 8, 8}, {8, 8, 8}});
    // by hand; the pair 2-3 has no value on any trait
    gower_similarityAverage(3, 3, partial, S, weights);
    CheckCells(S, {{1, 1.25 / 3, 0.5}, {8, 1, -999}, {8, 8, 1}}, 1e-15);
    gower_similarityAverage(3, 3, partial, S, lastTwo);
    CheckCells(S, {{1, 0.25, 0.625}, {8, 1, -999}, {8, 8, 1}}, 1e-15);
    // the pair 1-2 has values, but none on the trait selected
    gower_similarityAverage(3, 3, partial, S, last);
    CheckCells(S, {{1, 0, 0.75}, {8, 1, -999}, {8, 8, 1}}, 1e-15);
}

TEST_CASE("partial similarities leave B as it is and give memory back when it runs out") {
    Table B({{30, 1}, {10, 0}, {20, 0}});
    int types[] = {4, 1};
    double ranges[] = {0, 1}, weights[] = {0.5, 1};
    PartialSimilarity partial(2, 3);
    gower_similarityPartial(2, B, 3, partial, types, ranges, weights, 0);
    // by hand: ranks 3, 1, 2 with weight 0.5; a joint absence on trait 2 says nothing
    const std::vector<float> ordinal = {0.5F, 0, 0.25F, 0.5F, 0.25F, 0.5F};
    const std::vector<float> dichotomous = {1, 0, 0, -999, -999, -999};
    CHECK(std::equal(ordinal.begin(), ordinal.end(), partial.layer[0]));
    CHECK(std::equal(dichotomous.begin(), dichotomous.end(), partial.layer[1]));
    CHECK(B[0][0] == 30);

    FailAllocation(3); // the table and one layer are made by then
    CHECK_THROWS_AS(PartialSimilarity(4, 50), Failure);
    FailAllocation(0);
}

TEST_CASE("crisp belonging follows the labels in ascending order") {
    int partition[] = {40, -2, 7, 40};
    Table C({{5, 5, 5}, {5, 5, 5}, {5, 5, 5}, {5, 5, 5}});
    CHECK(CrispBelonging(4, 3, partition, C) == 1);
    CheckCells(C, {{0, 0, 1}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}}, 1e-15);
    CrispBelonging(3, 3, nullptr, C);
    CheckCells(C, {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}, 1e-15);
}

TEST_CASE("fuzzy belonging by hand") {
    struct Case {
        const char* fact;
        Cells S; // upper triangle
        bool isDissimilarity;
        Cells U;
    };
    const double almost = 1.0 - 3e-8; // 1 in single precision
    const Case cases[] = {
        // type 2 is one pooled OTU: OTU 1 has (1, 0.5), OTUs 2 and 3 have (0.5, 1)
        {"identical OTUs of a type count once", {{1, 0.5, 0.5}, {0, 1, almost}, {0, 0, 1}},
         false, {{2.0 / 3, 1.0 / 3}, {1.0 / 3, 2.0 / 3}, {1.0 / 3, 2.0 / 3}}},
        // OTU 1 has (1, (1 + 0.5) / 2), so has OTU 2; OTU 3 has (0.5, 0.75)
        {"identical OTUs of two types are not pooled", {{1, 1, 0.5}, {0, 1, 0.5}, {0, 0, 1}},
         false, {{4.0 / 7, 3.0 / 7}, {4.0 / 7, 3.0 / 7}, {0.4, 0.6}}},
        {"a type that no similarity reaches", {{1, -999, -999}, {0, 1, 0.5}, {0, 0, 1}},
         false, {{1, -999}, {-999, 1}, {-999, 1}}},
        // deliberate: 2 and 3 are pooled. With 1 - d: (1, 0.75), (0.75, 1), (0.5, 1)
        {"dissimilarities are pooled at 1 as well", {{0, 0.25, 0.5}, {0, 0, 1}, {0, 0, 0}},
         true, {{4.0 / 7, 3.0 / 7}, {3.0 / 7, 4.0 / 7}, {1.0 / 3, 2.0 / 3}}},
    };
    for (const Case& c : cases) {
        CAPTURE(c.fact);
        Table S(c.S);
        OwnedRows U(3, 2);
        int partition[] = {1, 2, 2};
        CHECK(FuzzyBelonging(3, 2, S, partition, U, c.isDissimilarity) == 1);
        CheckCells(U, c.U, 1e-7);
        CHECK(S[2][0] == S[0][2]);
    }
}

TEST_CASE("fuzzy belonging has the same bits for any number of threads") {
    const int n = 61, nGroups = 4;
    const int teamBefore = omp_get_max_threads();
    Numbers numbers(19);
    OwnedRows S(n, n), alone(n, nGroups), U(n, nGroups);
    OwnedInts partition(n);
    for (int i = 0; i < n; i++) {
        partition[i] = i < nGroups ? i : numbers.Below(nGroups);
        for (int j = i; j < n; j++) S[i][j] = numbers.Below(5) == 0 ? 1.0 : numbers.Uniform();
    }
    omp_set_num_threads(1);
    FuzzyBelonging(n, nGroups, S, partition, alone, false);
    for (const int team : {2, 8}) {
        omp_set_num_threads(team);
        FuzzyBelonging(n, nGroups, S, partition, U, false);
        CHECK(SameBytes(n, nGroups, alone, U));
    }
    omp_set_num_threads(teamBefore);
}

TEST_CASE("resemblance between communities by option") {
    struct Case { int option; double d12, d13, d22; };
    const Case cases[] = {
        // by hand: rows (3, 4), (0, 2), (0, 0); a chord to an empty row is the other's length, 1
        {6, std::sqrt(13.0), 5, 0}, {7, std::sqrt(13.0), 5, 0}, {8, 5, 7, 0}, {9, 5, 7, 0},
        {10, std::sqrt(0.4), 1, 0}, {3, -7, -7, -7},
    };
    for (const Case& c : cases) {
        CAPTURE(c.option);
        Table M({{3, 4}, {0, 2}, {0, 0}});
        Table D({{-7, -7, -7}, {-7, -7, -7}, {-7, -7, -7}});
        NominalReseNonHier(3, 2, M, D, c.option);
        CHECK(D[0][1] == doctest::Approx(c.d12));
        CHECK(D[0][2] == doctest::Approx(c.d13));
        CHECK(D[1][1] == c.d22);
        CHECK(M[0][0] == 3);
    }
}

TEST_CASE("dissimilarity between groups") {
    // objects 1, 2 of group 5, object 3 of group 2; object 4 of group 9 is masked out
    Table D({{0, 1, 4, 1}, {0, 0, 2, 1}, {0, 0, 0, 1}, {0, 0, 0, 0}});
    int groups[] = {5, 5, 2, 9}, mask[] = {1, 1, 1, 0}, oneGroup[] = {1, 1, 0, 0};
    CHECK(AverageDissim(4, D, groups, mask) == doctest::Approx(3.0)); // by hand: (4 + 2) / 2
    CHECK(NearNeighDist(4, D, groups, mask) == doctest::Approx(8.0 / 3)); // (4 + 2 + 2) / 3
    CHECK(std::isnan(AverageDissim(4, D, groups, oneGroup)));
    CHECK(std::isnan(NearNeighDist(4, D, groups, oneGroup)));
}
