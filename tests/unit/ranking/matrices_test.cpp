// The search's own forms of the subset matrices against the plain ones: the same bits for every
// subset, in the order of the search and out of it.
#include <doctest/doctest.h>

#include <cmath>
#include <cstring>
#include <limits>

#include "numeric/random.hpp"
#include "session/checks.hpp"
#include "unit/ranking/plain_ranking.hpp"
#include "unit/ranking/ranking_fixture.hpp"

using namespace ranking_test;

namespace {

bool SameBits(double a, double b)
{
    return std::memcmp(&a, &b, sizeof a) == 0;
}

/// Compares all subsets of the loaded session; with `shuffled` in a random order.
void CompareAll(int criterion, bool shuffled)
{
    const int t = session.nch;
    RangeStates(t, session.tcst, session.csm_Float, session.chtype, session.chrange);
    plain::Ranking plainly(criterion == 11);
    const Criterion& ranked = *FindCriterion(criterion);
    session.opt_struct = criterion;
    RankingMatrices matrices(ranked.needs);
    SubsetStatistics statistics;
    const int nSubsets = (1 << t) - 1;
    OwnedInts order(nSubsets);
    InitRndNumberGenerator(7);
    RndList(nSubsets, order);
    OwnedInts select(t);
    std::vector<int> traits;
    int nDifferent = 0;
    for (int c = 0; c < nSubsets; c++) {
        const int bits = shuffled ? order[c] : c + 1;
        traits.clear();
        for (int j = 0; j < t; j++) {
            select[j] = bits >> j & 1;
            if (select[j] == 1) traits.push_back(j + 1);
        }
        matrices.Select(traits.data(), static_cast<int>(traits.size()));
        const double value = ranked.value(matrices, statistics);
        if (!SameBits(value, plainly.Value(criterion, select))) nDifferent++;
    }
    CAPTURE(criterion);
    CAPTURE(shuffled);
    CHECK(nDifferent == 0);
}

} // namespace

TEST_CASE("subset matrices have the bits of the plain form")
{
    enum Change { none, hole, emptyCommunity, infiniteTrait, crispTypes, rawTotals, twoCommunities,
                  holeInE, negativeW };
    struct Case { const char* fact; int n, s, resemblance; Change change; };
    const Case cases[] = {
        {"every kind of trait, identical OTUs in single traits", 9, 14, 6, none},
        {"chord distance", 9, 14, 10, none},
        {"absolute differences", 9, 14, 8, none},
        {"measures called relative", 9, 14, 7, none},
        {"a missing trait", 9, 14, 6, hole},
        {"a community without OTUs gives NaN averages", 9, 14, 6, emptyCommunity},
        {"an infinite trait", 9, 14, 6, infiniteTrait},
        {"crisp types", 9, 14, 6, crispTypes},
        {"W on its own scale", 9, 14, 6, rawTotals},
        {"two communities: one cell each", 2, 14, 6, twoCommunities},
        {"a missing variable", 9, 14, 6, holeInE},
        {"negative performances", 9, 14, 6, negativeW},
        {"odd sizes", 13, 17, 6, none},
    };
    for (const Case& c : cases) {
        CAPTURE(c.fact);
        RankingData data = MixedData(c.n, c.s, 42);
        if (c.change == hole) data.B[3][0] = data.B[5][1] = -999.0;
        if (c.change == emptyCommunity) std::fill(data.W[4].begin(), data.W[4].end(), 0.0);
        if (c.change == infiniteTrait) data.B[2][2] = std::numeric_limits<double>::infinity();
        if (c.change == holeInE) data.E[1][0] = -999.0;
        if (c.change == negativeW) data.W[2][5] = -3.0;
        SessionTest test;
        LoadRanking(data);
        session.rese_opt = c.resemblance;
        if (c.change == crispTypes) session.fuzzy = 0;
        if (c.change == rawTotals) session.optUnitTotalAdjust2 = false;
        for (const int criterion : {1, 9, 10, 11, 16, 17})
            for (const bool shuffled : {false, true}) CompareAll(criterion, shuffled);
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
