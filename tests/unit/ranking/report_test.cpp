// SPDX-License-Identifier: GPL-3.0-or-later
#include <doctest/doctest.h>
#include <omp.h>

#include <cmath>

#include "numeric/congruence.hpp"
#include "unit/ranking/ranking_fixture.hpp"

using namespace ranking_test;

namespace {

/// A report with intermediate results, behind the lines that differ from run to run, and without
/// the matrices DR that saving structures puts there.
std::string BodyOf(int criterion, char saved)
{
    preferences.saveStruct = saved;
    std::istringstream lines(RankingReport(criterion));
    preferences.saveStruct = 'n';
    std::string body, line;
    while (std::getline(lines, line) && line.rfind("Formatted data: ", 0) != 0) {}
    for (int skip = 0; std::getline(lines, line); skip--) {
        if (line.rfind("Resemblance matrix DR", 0) == 0) {
            body.pop_back(); // the line end in front of the heading
            skip = session.ncsm + 1;
        }
        if (skip <= 0) body += line + "\n";
    }
    return body;
}

/// The lines of the sizes and the tables: all but what intermediate results add.
std::string ResultOf(const std::string& body)
{
    std::istringstream lines(body.substr(0, body.find("\n\nTrait subsets")));
    std::string sizes, line;
    while (std::getline(lines, line))
        if (line.rfind("Ranking criterion value", 0) == 0) sizes += line + "\n";
    return sizes + body.substr(body.find("\n\nTrait subsets"));
}

/// ro(PT) of the two traits, from the rows of a report.
std::vector<double> PhylogenyAndAverages(const std::string& report)
{
    std::vector<double> values;
    for (std::size_t at = report.find("ro(PT)=\t"); at != std::string::npos;
         at = report.find("ro(PT)=\t", at + 1))
        values.push_back(std::stod(report.substr(at + 8)));
    return values;
}

} // namespace

TEST_CASE("saving structures leaves DP without the effect of the subsets before")
{
    RankingData data = MixedData(8, 12, 11);
    for (std::vector<double>& row : data.B) row = {row[0], row[2]};
    data.traitTypes = {3, 3};
    SessionTest test;
    LoadRanking(data);
    session.nMaxTraitsChRank = 1;
    session.printRankIntermedResults = 'y';
    const std::vector<double> plainly = PhylogenyAndAverages(RankingReport(13));
    preferences.saveStruct = 'y';
    const std::vector<double> saved = PhylogenyAndAverages(RankingReport(13));
    preferences.saveStruct = 'n';
    REQUIRE((plainly.size() == 2 && saved.size() == 2));
    CHECK(saved[0] == plainly[0]);
    // The second one is the semipartial correlation of DP and DT given DT of the first trait:
    // (r12 - r13 r23) / root(1 - r13^2). The residuals are fitted in single precision.
    SharedMatrices shared(FindCriterion(13)->needs, Form::general);
    SubsetMatrices first(shared), second(shared);
    const int traits[] = {1, 2};
    first.Select(traits, 1);
    second.Select(traits + 1, 1);
    const double expected = (plainly[1] - plainly[0] * MatrixCorr(8, first.DT().rows, second.DT().rows)) /
                            std::sqrt(1.0 - plainly[0] * plainly[0]);
    CHECK(saved[1] == doctest::Approx(expected).epsilon(1e-4));
    CHECK(std::fabs(expected - plainly[1]) > 0.01);
}

TEST_CASE("every criterion under every measure")
{
    // Saving structures takes the general form: the same bytes. (With a phylogeny it is not meant
    // to be.) Measures 4 and 5 rank nothing; phylogeny criteria have a title all the same.
    const std::string title =
        "\n\nTrait subsets with maximum matrix correlation:\nTRC\toptimal subset of traits\n";
    SessionTest test;
    LoadRanking(MixedData(8, 12, 11));
    session.nMaxTraitsChRank = 2;
    session.printRankIntermedResults = 'y';
    for (session.opt_ro = 1; session.opt_ro <= 5; session.opt_ro++)
        for (const int criterion : allCriteria) {
            CAPTURE(session.opt_ro);
            CAPTURE(criterion);
            const std::string report = BodyOf(criterion, 'n');
            CHECK(TimesIn(report, "optimal subset with ") == 2);
            const bool sameTitle = criterion >= 11 && criterion <= 13;
            CHECK(TimesIn(report, title) == (sameTitle ? 1 : 0));
            if (criterion < 11 || criterion > 15) CHECK((BodyOf(criterion, 'y') == report));
        }
}

TEST_CASE("threads and estimates leave the report of exact values one by one")
{
    // Traits 1 and 5 are the same, so values tie.
    const int team = omp_get_max_threads();
    SessionTest test;
    LoadRanking(MixedData(11, 13, 5));
    for (session.opt_ro = 1; session.opt_ro <= 3; session.opt_ro++)
        for (const int criterion : allCriteria) {
            CAPTURE(session.opt_ro);
            CAPTURE(criterion);
            session.printRankIntermedResults = 'y';
            const std::string detailed = BodyOf(criterion, 'n');
            session.printRankIntermedResults = 'n';
            for (const int threads : {1, 2, 3, 7}) {
                omp_set_num_threads(threads);
                CHECK((ResultOf(BodyOf(criterion, 'n')) == ResultOf(detailed)));
            }
            omp_set_num_threads(team);
        }
}

TEST_CASE("criteria that do not compare X show residuals of a DX of 0")
{
    SessionTest test;
    LoadRanking(MixedData(4, 12, 11));
    session.nMaxTraitsChRank = 1;
    preferences.saveStruct = 'y';
    for (const int criterion : {16, 24, 18}) {
        CAPTURE(criterion);
        RankingReport(criterion);
        std::string cells;
        std::istringstream matrix(TextOfFile("structures.txt"));
        for (std::string line; std::getline(matrix, line);)
            if (line.find("(residuals after") != std::string::npos) cells.clear();
            else cells += line;
        CHECK((cells.find_first_not_of("0 \t") == std::string::npos) == (criterion != 18));
    }
    preferences.saveStruct = 'n';
}
