#include "functional/belonging.hpp"

#include <doctest/doctest.h>
#include <omp.h>

#include <algorithm>
#include <cmath>

#include "numeric/adjust.hpp"
#include "numeric/statistics.hpp"
#include "shell/failure.hpp"
#include "unit/functional/tables.hpp"

namespace {

/// Fills a layer of 3 OTUs from the pairs 11, 12, 13, 22, 23, 33.
void SetLayer(PartialSimilarity& partial, int trait, const std::vector<float>& cells)
{
    std::copy(cells.begin(), cells.end(), partial.layer[trait]);
}

/// Identical OTUs of a type are settled one after the other, and the first of them stands for all.
void PlainFuzzyBelonging(int n, int nGroups, double** S, const int* typeOf, double** U)
{
    std::vector<int> rep, isDouble(static_cast<std::size_t>(n)), count(static_cast<std::size_t>(nGroups));
    for (int i = 0; i < n; i++) {
        rep.push_back(i);
        count.at(static_cast<std::size_t>(typeOf[i]))++;
    }
    for (std::size_t i = 0; i < rep.size(); i++)
        for (std::size_t j = i + 1; j < rep.size(); j++) {
            if (isDouble[i] || isDouble[j] || typeOf[i] != typeOf[j]) continue;
            if (!AlmostEqual2sComplement(S[i][j], 1.0, 1)) continue;
            isDouble[j] = 1;
            rep[j] = static_cast<int>(i);
            count.at(static_cast<std::size_t>(typeOf[j]))--;
        }
    for (std::size_t i = 0; i < rep.size(); i++) {
        std::fill_n(U[i], nGroups, -999.0);
        for (std::size_t j = 0; j < rep.size(); j++) {
            const double cell = S[std::min(i, j)][std::max(i, j)];
            if ((j != i && (isDouble[j] || rep[i] == rep[j])) || IsMissing(cell)) continue;
            double& u = U[i][typeOf[j]];
            u = (IsMissing(u) ? 0.0 : u) + cell / count.at(static_cast<std::size_t>(typeOf[j]));
        }
    }
    UnitSumRowsAdjMV(n, nGroups, U, U);
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
    for (const bool isTransitive : {true, false}) {
        CAPTURE(isTransitive);
        Numbers numbers(19);
        OwnedRows S(n, n), plain(n, nGroups), U(n, nGroups);
        OwnedInts typeOf(n), partition(n), kind(n);
        for (int i = 0; i < n; i++) {
            typeOf[i] = i < nGroups ? i : numbers.Below(nGroups);
            partition[i] = 10 * typeOf[i] - 15;
            kind[i] = numbers.Below(20); // OTUs of a kind are identical
        }
        for (int i = 0; i < n; i++)
            for (int j = i; j < n; j++) {
                const bool drawn = numbers.Below(5) == 0; // a chain: 1 is 2, 2 is 3, 1 is not 3
                const bool identical = i == j || (isTransitive ? kind[i] == kind[j] : drawn);
                S[i][j] = identical ? 1.0 : 0.9 * numbers.Uniform();
                if (!identical && numbers.Below(15) == 0) S[i][j] = -999.0;
            }
        PlainFuzzyBelonging(n, nGroups, S, typeOf, plain);
        for (const int team : {1, 2, 8}) {
            CAPTURE(team);
            omp_set_num_threads(team);
            FuzzyBelonging(n, nGroups, S, partition, U, false);
            CHECK(SameBytes(n, nGroups, plain, U));
        }
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
