#include <doctest/doctest.h>

#include <cmath>
#include <limits>

#include "unit/ranking/ranking_fixture.hpp"

using namespace ranking_test;

namespace {

const double notANumber = std::numeric_limits<double>::quiet_NaN();

/// The values of all slots, weakest first, without those at the start value.
std::vector<double> Filled(const KeepTable& table, double start)
{
    std::vector<double> values;
    for (int slot = 0; slot <= table.Last(); slot++)
        if (table[slot].value != start) values.push_back(table[slot].value);
    return values;
}

} // namespace

TEST_CASE("the table of the best subsets")
{
    struct Case {
        const char* fact;
        RankingOrder order;
        double start;
        std::vector<double> entered, filled;
    };
    const RankingOrder plain = {false, RankVector};
    const RankingOrder byMagnitude = {false, RankVectorAbs};
    const RankingOrder absolute = {true, RankVectorAbs};
    const double lowest = -1.7976931348623157e308;
    const Case cases[] = {
        {"ascending, the weakest drops out", plain, 0.0, {0.3, 0.1, 0.5, 0.2, 0.4}, {0.2, 0.3, 0.4, 0.5}},
        {"nothing below the start enters", plain, 0.0, {-0.3, 0.0, notANumber, 0.25}, {0.25}},
        {"either sign by magnitude", absolute, 0.0, {0.3, -0.5, 0.1}, {0.1, 0.3, -0.5}},
        {"an equal value does not enter a full table", plain, 0.0, {0.5, 0.5, 0.5, 0.5, 0.5}, {0.5, 0.5, 0.5, 0.5}},
        {"signed comparison sorted by magnitude: only slot 0 of a table that starts at the lowest value is ever filled",
         byMagnitude, lowest, {-0.2, -0.9, 0.4, 0.1, 0.6}, {0.6}},
    };
    for (const Case& c : cases) {
        CAPTURE(c.fact);
        KeepTable table(3, 2, c.start, c.order);
        const int traits[] = {1, 2};
        for (const double value : c.entered) table.Enter(value, 3, 2, traits);
        CHECK(Filled(table, c.start) == c.filled);
    }
}

TEST_CASE("vectors follow the order of the subset")
{
    // By hand: the subset (2, 5) of five traits, then the others.
    int list[] = {2, 5, 1, 3, 4};
    int a[] = {1, 2, 3, 4, 5}, b[] = {10, 20, 30, 40, 50};
    double c[] = {.1, .2, .3, .4, .5}, d[] = {-1, -2, -3, -4, -5};
    ReorderVectors(5, list, a, b, c, d);
    CHECK(std::vector<int>(a, a + 5) == std::vector<int>{2, 5, 1, 3, 4});
    CHECK(std::vector<int>(b, b + 5) == std::vector<int>{20, 50, 10, 30, 40});
    CHECK((c[0] == .2 && c[1] == .5 && c[2] == .1 && d[0] == -2 && d[1] == -5 && d[2] == -1));
}

TEST_CASE("the first of equal subsets wins")
{
    SUBCASE("signed: traits 1 and 5 are the same, and so are their subsets")
    {
        SessionTest test;
        LoadRanking(MixedData(9, 14, 42));
        const std::string report = RankingReport(10);
        for (int size = 1; size <= 5; size++) {
            const std::string traits = BestOf(report, size).traits;
            CAPTURE(traits);
            // 5 without 1 ties with 1 without 5, which comes first.
            CHECK((traits.find("5") == std::string::npos || traits.find("1") == 0));
        }
    }
    SUBCASE("absolute")
    {
        RankingData data = MixedData(9, 14, 42);
        for (std::vector<double>& row : data.B) row = {row[0], row[0]};
        data.traitTypes = {3, 3};
        SessionTest test;
        LoadRanking(data);
        const std::string report = RankingReport(9);
        CHECK(BestOf(report, 1).traits == "1 ");
        CHECK(BestOf(report, 2).traits == "1 2 ");
    }
}

TEST_CASE("excluded traits and limits of size")
{
    SessionTest test;
    LoadRanking(MixedData(9, 14, 42));
    const std::string all = RankingReport(9);
    session.weight[1] = 0.0;
    session.nMaxTraitsChRank = 4;
    session.printRankIntermedResults = 'y';
    const std::string report = RankingReport(9);
    CHECK(TimesIn(report, "ro(TE)=\t") == 15); // subsets of the 4 traits left
    CHECK(report.find("Traits that were considered:\n1  3  4  5  \n") != std::string::npos);
    CHECK(all.find("All traits were considered.\n") != std::string::npos);
    CHECK(BestOf(report, 4).traits == "1 3 4 5 ");

    session.nMinTraitsChRank = session.nMaxTraitsChRank = 2;
    const std::string one = RankingReport(9);
    CHECK(TimesIn(one, "Ranking criterion value") == 1);
    CHECK(BestOf(one, 2).traits == BestOf(report, 2).traits);
}

TEST_CASE("nothing to store")
{
    RankingData data = MixedData(9, 14, 42);
    std::fill(data.types.begin(), data.types.end(), 4);
    SessionTest test;
    LoadRanking(data);
    session.nMaxTraitsChRank = 2;
    SUBCASE("a single type: 0 and no subset, with the line end that follows")
    {
        const std::string report = RankingReport(9);
        CHECK(report.find("with 1 traits: \t0           \tnone\n\n") != std::string::npos);
        CHECK(report.find("\tSubset of traits\n0            \tnone\n0            \tnone\n\nElapsed")
              != std::string::npos);
        CHECK(report.find("(XE.T):\nTRC\toptimal subset of traits\n\n\nTrait subsets") != std::string::npos);
    }
    SUBCASE("signed criteria show the start value, no types and no traits")
    {
        const std::string report = RankingReport(16);
        CHECK(report.find("with 2 traits: \t-1.79769e+308\t0 groups\t\n") != std::string::npos);
    }
    SUBCASE("averages need no types, but more than one community")
    {
        CHECK(BestOf(RankingReport(10), 1).value > 0.0);
        session.ncsm = 1;
        CHECK(RankingReport(10).find("with 1 traits: \t-1.79769e+308\t\n") != std::string::npos);
        session.ncsm = 9;
    }
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

TEST_CASE("a ranking that runs out of memory gives back what it has")
{
    // Under the address sanitizer an allocation that fails on the way must leave no leak. A single
    // type stores no subset, for the sort of the table ends the process when it has no room.
    RankingData data = MixedData(4, 5, 3);
    data.traitTypes = {3, 3, 3, 3, 3};
    std::fill(data.types.begin(), data.types.end(), 1);
    for (const int criterion : {1, 9, 14, 20}) {
        int nFailed = 0;
        int code = outOfMemory;
        for (long k = 1; code != 0; k++) {
            SessionTest test;
            LoadRanking(data);
            session.nMaxTraitsChRank = 1;
            FailAllocation(k);
            code = CodeOf([criterion] { RankingReport(criterion); });
            FailAllocation(0);
            if (code != 0) nFailed++;
            if (code != 0 && code != outOfMemory) break;
        }
        CAPTURE(criterion);
        CHECK(code == 0);
        CHECK(nFailed > 50);
    }
}
