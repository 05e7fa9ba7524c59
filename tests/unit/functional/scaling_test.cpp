// SPDX-License-Identifier: GPL-3.0-or-later
#include "functional/scaling.hpp"

#include <doctest/doctest.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "numeric/resemblance.hpp"
#include "shell/preferences.hpp"
#include "unit/ranking/ranking_data.hpp"
#include "unit/session/session_fixture.hpp"

namespace {

/// Three OTUs with a nominal and an interval trait in three communities, of which a nominal and an
/// interval variable are known; phylogeny by three dichotomous variables. As the dialogue leaves
/// it, without tests and with a detailed report.
void LoadSmall()
{
    ranking_test::LoadRanking({{{1, 0}, {2, 4}, {1, 1}},
                               {{1, 1, 0}, {0, 1, 3}, {2, 1, 1}},
                               {{1, 0}, {1, 5}, {2, 10}},
                               {{0, 0, 0}, {0, 0, 0}, {0, 0, 0}},
                               {1, 2, 2},
                               {2, 3},
                               phylogenyVariables});
    Session& s = session;
    s.envVarType[0] = 2;
    s.optEnvVarType = 5;
    s.temEnvQual = 1;
    s.nClados = 3;
    s.phylogenyData = ranking_test::TableOf({{1, 0, 0}, {1, 1, 0}, {0, 0, 0}}, 3);
    s.phylogenyVarType = dim1Dint(3);
    s.reLabel = dim2Dchar(3, labelSize);
    for (int j = 0; j < 3; j++) s.phylogenyVarType[j] = s.relSelect[j] = s.eVarSelect[j] = 1;
    s.nGrPoly[0] = 2;
    s.printDetail = 1;
    std::strcpy(s.whichPrinda, "report.txt");
    std::strcpy(s.prindaMode, "w");
}

std::string Report()
{
    PFTs_ScalingUp();
    return TextOfFile("report.txt");
}

/// The numbers that follow a heading.
std::vector<double> Below(const std::string& report, const std::string& heading)
{
    const std::size_t at = report.find(heading);
    REQUIRE(at != std::string::npos);
    const char* text = report.c_str() + report.find('\n', at);
    std::vector<double> numbers;
    for (char* end = nullptr;; text = end) {
        const double number = std::strtod(text, &end);
        if (end == text) return numbers;
        numbers.push_back(number);
    }
}

} // namespace

TEST_CASE("variables of several kinds, and a phylogeny of variables")
{
    const SessionTest test;
    LoadSmall();
    const std::string report = Report();
    using Values = std::vector<double>;
    // All by hand. Variables: the nominal one agrees or not, the other differs by 5 or 10 of 10.
    CHECK(Below(report, "Resemblance matrix (DE)") == Values{0, 0.25, 0, 1, 0.75, 0});
    CHECK(Below(report, "Variable types in the phylogeny") == Values{1, 1, 1});
    CHECK(Below(report, "Phylogeny matrix with") == Values{1, 0, 0, 1, 1, 0, 0, 0, 0});
    // Joint absences say nothing, whatever the preferences have for traits.
    CHECK(Below(report, "Similarity matrix (Gower index) between") ==
          Values{1, 0.5, 0, 0.5, 1, 0, 0, 0, 1});
    // Deliberate: these similarities count as dissimilarities. Shares 1/2 1/2 0, 0 1/4 3/4 and
    // 1/2 1/4 1/4: entropies 3/4, 5/8 and 1/2, of a diversity of 1/2, 3/8 and 5/8.
    CHECK(Below(report, "Rao quadratic entropy (Rp)") == Values{0.75, 0.625, 0.5});
    CHECK(Below(report, "Phylogenetic redundancy in each community (PR = D-Rp)") ==
          Values{0, 0, 0.125}); // never below 0
}

TEST_CASE("options that no question of the dialogue offers")
{
    const SessionTest test;
    LoadSmall();
    SUBCASE("crisp taxa")
    {
        session.fuzzyPhyl = 0;
        CHECK(Below(Report(), "Pooled performance matrix P") ==
              std::vector<double>{0.5, 0.5, 0, 1, 0.5, 0.5});
    }
    SUBCASE("Euclidean distance between OTUs")
    {
        session.reseCSTopt = otusByDistance;
        const std::string report = Report();
        CHECK(report.find("between OTUs: 2 (Euclidean distance)\n") != std::string::npos);
        CHECK(report.find("Gower index modified") == std::string::npos);
    }
    SUBCASE("distances of E pass over a hole")
    {
        session.optEnvVarType = 1;
        session.temEnvQual = 0;
        session.env[2][1] = missingValue;
        // by hand, of the pairs of known cells (1 0), (1 5) and (2 ?)
        CHECK(Below(Report(), "Resemblance matrix (DE)") == std::vector<double>{0, 5, 0, 1, 1, 0});
    }
    SUBCASE("types by clustering: of a single trait of states, one a state")
    {
        session.clusMethPoolCSTs = 4;
        session.nGrPoly[0] = 1;
        session.weight[1] = 0.0;
        CHECK(Below(Report(), "in 2 specified types:") == std::vector<double>{1, 2, 1});
    }
    SUBCASE("of a single interval trait, as many as asked for")
    {
        session.clusMethPoolCSTs = 4;
        session.weight[0] = 0.0;
        CHECK(Below(Report(), "in 2 specified types:") == std::vector<double>{1, 2, 1});
    }
}
