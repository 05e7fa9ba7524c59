// SPDX-License-Identifier: GPL-3.0-or-later
#include <doctest/doctest.h>

#include <cmath>
#include <limits>

#include "unit/ranking/ranking_fixture.hpp"

using namespace ranking_test;

TEST_CASE("the table of the best subsets")
{
    const double notANumber = std::numeric_limits<double>::quiet_NaN();
    const double lowest = -1.7976931348623157e308;
    const RankingOrder plain = {false, RankVector};
    const RankingOrder byMagnitude = {false, RankVectorAbs};
    const RankingOrder absolute = {true, RankVectorAbs};
    struct Case {
        const char* fact;
        RankingOrder order;
        double start;
        std::vector<double> entered, filled; // weakest first, without those at the start
    };
    const Case cases[] = {
        {"ascending, the weakest drops out", plain, 0.0, {0.3, 0.1, 0.5, 0.2, 0.4}, {0.2, 0.3, 0.4, 0.5}},
        {"nothing below the start enters", plain, 0.0, {-0.3, 0.0, notANumber, 0.25}, {0.25}},
        {"either sign by magnitude", absolute, 0.0, {0.3, -0.5, 0.1}, {0.1, 0.3, -0.5}},
        {"signed comparison sorted by magnitude: only slot 0 of a table that starts at the lowest value is ever filled",
         byMagnitude, lowest, {-0.2, -0.9, 0.4, 0.1, 0.6}, {0.6}},
    };
    for (const Case& c : cases) {
        CAPTURE(c.fact);
        KeepTable table(3, 2, c.start, c.order);
        for (const double value : c.entered) {
            RankedSubset one = {{value, 0.0}, 3, 2, {1, 2}};
            table.Enter(one, [](int, const int*) { return 0.0; });
        }
        std::vector<double> filled;
        for (int slot = 0; slot <= table.Last(); slot++)
            if (table[slot].value.value != c.start) filled.push_back(table[slot].value.value);
        CHECK(filled == c.filled);
    }
}

TEST_CASE("estimates leave the record that exact values leave, order of ties included")
{
    struct Case { const char* fact; RankingOrder order; double grain; int mostSettled; };
    const Case cases[] = {
        {"apart: few are worked out", {true, RankVectorAbs}, 0.0, 50},
        {"many ties", {true, RankVectorAbs}, 0.05, 1000},
        {"signed, ties", {false, RankVector}, 0.05, 1000},
        {"signed, by magnitude", {false, RankVectorAbs}, 0.05, 1000},
    };
    for (const Case& c : cases) {
        CAPTURE(c.fact);
        Numbers numbers(3);
        std::vector<double> exact;
        int nSettled = 0;
        const ExactValue exactly = [&](int, const int* traits) {
            nSettled++;
            return exact[static_cast<std::size_t>(*traits)];
        };
        KeepTable byValues(20, 1, 0.0, c.order), byEstimates(20, 1, 0.0, c.order);
        RankedSubset best = {{0.0, 0.0}, 0, 0, {0}}, estimatedBest = best;
        for (int i = 0; i < 1000; i++) {
            const double x = 2.0 * numbers.Next() - 1.0;
            exact.push_back(c.grain > 0.0 ? c.grain * std::round(x / c.grain) : x);
            RankedSubset one = {{exact.back(), 0.0}, 1, 1, {i}}, estimated = one;
            estimated.value = {exact.back() + 1e-5 * (numbers.Next() - 0.5), 1e-5};
            if (i % 50 == 0) estimated.value.error = std::numeric_limits<double>::infinity();
            KeepBetter(best, one, c.order, exactly);
            KeepBetter(estimatedBest, estimated, c.order, exactly);
            byValues.Enter(one, exactly);
            byEstimates.Enter(estimated, exactly);
        }
        CHECK(best.traits == estimatedBest.traits);
        for (int slot = 0; slot <= 20; slot++) CHECK(byValues[slot].traits == byEstimates[slot].traits);
        CHECK(nSettled < c.mostSettled);
    }
}

TEST_CASE("the first of equal subsets wins")
{
    // Traits 1 and 5 are the same, and so are their subsets; with two traits alone, both are.
    for (const int criterion : {9, 10, 17}) {
        SessionTest test;
        LoadRanking(MixedData(9, 14, 42));
        const std::string report = RankingReport(criterion);
        for (int size = 1; size <= 5; size++) {
            const std::string traits = BestOf(report, size).traits;
            CAPTURE(traits);
            CHECK((traits.find("5") == std::string::npos || traits.find("1") == 0));
        }
    }
    RankingData data = MixedData(9, 14, 42);
    for (std::vector<double>& row : data.B) row = {row[0], row[0]};
    data.traitTypes = {3, 3};
    SessionTest test;
    LoadRanking(data);
    CHECK(BestOf(RankingReport(9), 1).traits == "1 ");
}

TEST_CASE("nothing to store")
{
    // A single type makes no evaluation. The line "none" has its further line end.
    RankingData data = MixedData(9, 14, 42);
    std::fill(data.types.begin(), data.types.end(), 4);
    SessionTest test;
    LoadRanking(data);
    session.nMaxTraitsChRank = 2;
    for (const int criterion : {9, 12, 17, 20, 23}) {
        CAPTURE(criterion);
        const std::string report = RankingReport(criterion);
        const std::string types = criterion < 16 ? "" : "0 groups\t";
        CHECK(report.find("with 1 traits: \t0           \t" + types + "none\n\n") != std::string::npos);
        CHECK(report.find("\tSubset of traits\n0            \tnone\n0            \tnone\n\nElapsed") != std::string::npos);
    }
    for (const int criterion : {16, 18, 24})
        CHECK(RankingReport(criterion).find("with 2 traits: \t-1.79769e+308\t0 groups\t\n") != std::string::npos);
    CHECK(BestOf(RankingReport(10), 1).value > 0.0); // averages need no types, but two communities
    session.ncsm = 1;
    CHECK(RankingReport(10).find("with 1 traits: \t-1.79769e+308\t\n") != std::string::npos);
    session.ncsm = 9;
}

TEST_CASE("fewer than three communities compare single cells")
{
    // By hand, for two communities at distances a and b: 1 - |a - b| / max(a, b). A single
    // standardised variable of two communities is 0.7071 and -0.7071: a = 1.41421. T of one trait,
    // averages 1 and 3 at unit length: b = 2 / sqrt(10).
    RankingData data;
    data.B = {{1.0}, {3.0}};
    data.W = {{5.0, 0.0}, {0.0, 2.0}};
    data.E = {{0.0}, {4.0}};
    data.types = {1, 2};
    SessionTest test;
    LoadRanking(data);
    CHECK(BestOf(RankingReport(10), 1).value ==
          doctest::Approx(2.0 / std::sqrt(10.0) / std::sqrt(2.0)).epsilon(1e-5));
}
