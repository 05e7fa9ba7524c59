// SPDX-License-Identifier: GPL-3.0-or-later
// The quick form of the subset matrices against the general one: the same bits for every subset, in
// the order of the search and out of it.
#include <doctest/doctest.h>

#include <cmath>
#include <cstring>
#include <limits>

#include "numeric/random.hpp"
#include "numeric/vectorpath.hpp"
#include "ranking/estimates.hpp"
#include "unit/ranking/ranking_fixture.hpp"

using namespace ranking_test;

namespace {

/// Compares all subsets of the loaded session; with `shuffled` in a random order. Returns how many
/// differ; `form` is the one that the search would take.
int Differences(int number, bool shuffled, Form& form)
{
    const Criterion& criterion = *FindCriterion(number);
    SharedMatrices quick(criterion.needs), general(criterion.needs, Form::general);
    SubsetMatrices quickly(quick), generally(general);
    form = quick.form;
    const int nSubsets = (1 << session.nch) - 1;
    OwnedInts order(nSubsets);
    InitRndNumberGenerator(7);
    RndList(nSubsets, order);
    int nDifferent = 0;
    for (int c = 0; c < nSubsets; c++) {
        const int bits = shuffled ? order[c] : c + 1;
        if ((bits >> 3 & 1) == 1) continue; // excluded below
        std::vector<int> traits;
        for (int j = 0; j < session.nch; j++)
            if ((bits >> j & 1) == 1) traits.push_back(j + 1);
        quickly.Select(traits.data(), static_cast<int>(traits.size()));
        generally.Select(traits.data(), static_cast<int>(traits.size()));
        const double a = ValueOf(criterion, quickly), b = ValueOf(criterion, generally);
        if (std::memcmp(&a, &b, sizeof a) != 0) nDifferent++;
    }
    return nDifferent;
}

} // namespace

TEST_CASE("subset matrices have the bits of the general form")
{
    enum Change { none, hole, uncompared, emptyCommunity, infiniteTrait, crispTypes, rawTotals,
                  saved, holeInE, negativeW, euclideanOtus };
    struct Case { const char* fact; int n, s, resemblance; Change change; bool isQuick; };
    const Case cases[] = {
        {"every kind of trait, identical OTUs in single traits", 9, 14, 6, none, true},
        {"odd sizes, chord distance", 13, 17, 10, none, true},
        {"absolute differences", 9, 14, 8, none, true},
        {"measures called relative", 9, 14, 7, none, true},
        {"missing traits", 9, 14, 6, hole, true},
        {"a pair that no trait compares", 9, 14, 6, uncompared, false},
        {"a community without OTUs gives NaN averages", 9, 14, 6, emptyCommunity, true},
        {"an infinite trait", 9, 14, 6, infiniteTrait, false},
        {"crisp types", 9, 14, 6, crispTypes, true},
        {"W on its own scale", 9, 14, 6, rawTotals, true},
        {"two communities: one cell each", 2, 14, 6, none, false},
        {"three communities", 3, 14, 6, none, true},
        {"a missing variable", 9, 14, 6, holeInE, true},
        {"negative performances", 9, 14, 6, negativeW, false},
        {"saved structures", 9, 14, 6, saved, false},
        {"OTUs by distance", 9, 14, 6, euclideanOtus, false},
        {"a resemblance with oddities", 9, 14, 5, none, false},
    };
    for (const Case& c : cases) {
        CAPTURE(c.fact);
        RankingData data = MixedData(c.n, c.s, 42);
        if (c.change == hole) data.B[3][0] = data.B[5][1] = data.B[6][1] = -999.0;
        if (c.change == uncompared)
            for (std::size_t j = 0; j < 5; j++) data.B[j % 2 == 0 ? 3 : 4][j] = -999.0;
        if (c.change == emptyCommunity) std::fill(data.W[4].begin(), data.W[4].end(), 0.0);
        if (c.change == infiniteTrait) data.B[2][2] = std::numeric_limits<double>::infinity();
        if (c.change == holeInE) data.E[1][0] = -999.0;
        if (c.change == negativeW) data.W[2][5] = -3.0;
        SessionTest test;
        LoadRanking(data);
        session.rese_opt = c.resemblance;
        session.weight[3] = 0.0;
        session.weight_OTUs[2] = 0;
        if (c.change == crispTypes) session.fuzzy = 0;
        if (c.change == rawTotals) session.optUnitTotalAdjust2 = false;
        if (c.change == euclideanOtus) session.reseCSTopt = 2;
        preferences.saveStruct = c.change == saved ? 'y' : 'n';
        for (const char* path : {"avx2", "baseline", "avx512"}) {
            if (!ChoosePath(path)) continue;
            for (const int criterion : {9, 18}) {
                Form form = Form::general;
                CHECK(Differences(criterion, true, form) == 0);
            }
        }
        ChoosePath(nullptr);
        for (const int criterion : allCriteria) {
            CAPTURE(criterion);
            for (const bool shuffled : {false, true}) {
                Form form = Form::general;
                CHECK(Differences(criterion, shuffled, form) == 0);
                if (criterion == 9) CHECK((form == Form::quick) == c.isQuick);
            }
        }
        preferences.saveStruct = 'n';
    }
}

TEST_CASE("estimates are as near to the exact values as they say")
{
    // Both ways of W's totals, which decide on the rank of X; with trait 5 the same as trait 1 no
    // estimate of a partial coefficient holds for subsets of both.
    struct Case { bool adjusted; int resemblance, fuzzy, largestMeasure; };
    for (const Case& c : {Case{true, 6, 3, 3}, Case{false, 8, 3, 3}, Case{true, 10, 0, 1}})
        for (int measure = 1; measure <= c.largestMeasure; measure++)
            for (const int number : allCriteria) {
                CAPTURE(c.resemblance);
                CAPTURE(measure);
                CAPTURE(number);
                SessionTest test;
                LoadRanking(MixedData(15, 14, 42));
                const Criterion& criterion = *FindCriterion(number);
                const bool isAsked = measure == mantel || criterion.needs.resemblance;
                session.opt_ro = measure;
                session.rese_opt = isAsked ? c.resemblance : 0;
                session.fuzzy = c.fuzzy;
                session.optUnitTotalAdjust2 = c.adjusted;
                SharedMatrices shared(criterion.needs);
                SubsetMatrices matrices(shared);
                const auto all = EstimatesOf(criterion, shared);
                REQUIRE(all != nullptr);
                const auto estimates = all->Of(matrices, 1);
                int nUseful = 0;
                for (int bits = 1; bits < 32; bits++) {
                    std::vector<int> traits;
                    for (int j = 0; j < 5; j++)
                        if ((bits >> j & 1) == 1) traits.push_back(j + 1);
                    matrices.Select(traits.data(), static_cast<int>(traits.size()));
                    const Estimate estimate = estimates->Value();
                    const double value = ValueOf(criterion, matrices);
                    if (std::isinf(estimate.error)) continue;
                    CHECK(std::fabs(estimate.value - value) <= estimate.error);
                    if (estimate.error < 1e-7) nUseful++;
                }
                CHECK(nUseful >= 20);
            }
}

TEST_CASE("sums over growing lists of layers")
{
    // By hand. With two levels kept the third trait of a list shares the last one.
    const float a[] = {1.0F}, b[] = {10.0F}, c[] = {100.0F}, d[] = {1000.0F};
    const float* const layers[] = {a, b, c, d};
    struct Case { std::vector<int> traits; double sum; };
    const Case cases[] = {
        {{0}, 1}, {{0, 1}, 11}, {{0, 1, 2}, 111}, {{0, 1, 3}, 1011}, {{0, 2, 3}, 1101},
        {{0, 1, 2, 3}, 1111}, {{0, 1}, 11}, {{1, 2}, 110}, {{1}, 10}, {{1, 3}, 1010}, {{1, 3}, 1010},
        {{0, 2, 3}, 1101}, {{1}, 10}, {{1, 2}, 110}, // a shorter list outdates what stood behind it
    };
    for (const int nLevels : {2, 4}) {
        PrefixSums<float> sums(1, nLevels);
        for (const Case& one : cases)
            CHECK(*sums.Sum(layers, one.traits.data(), static_cast<int>(one.traits.size())) == one.sum);
    }
}
