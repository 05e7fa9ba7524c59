// The rankings of the examples against ranking_reference_test.txt, which
// scripts/verify/ranking_reference.R computed from the published formulas, in double precision
// throughout: hence the tolerance, for similarities and standardised variables here are rounded to
// single precision.
#include <doctest/doctest.h>

#include <fstream>
#include <sstream>

#include "unit/ranking/ranking_fixture.hpp"

using namespace ranking_test;

namespace {

ranking_test::Rows ReadRows(const std::string& path, std::size_t nRows)
{
    std::ifstream file(path);
    REQUIRE(file.good());
    ranking_test::Rows rows;
    std::string line;
    while (rows.size() < nRows && std::getline(file, line)) {
        std::istringstream cells(line);
        rows.emplace_back();
        for (double x = 0.0; cells >> x;) rows.back().push_back(x);
    }
    return rows;
}

RankingData ReadExample(const std::string& name)
{
    const bool isDune = name == "dune";
    const std::string folder = KELPRA_TEST_DIR "/../examples/" + name + "/";
    const std::size_t nOTUs = isDune ? 30 : 82;
    const std::size_t nCommunities = isDune ? 20 : 75;
    RankingData data;
    data.B = ReadRows(folder + "B.txt", nOTUs);
    data.W = ReadRows(folder + "W.txt", nCommunities);
    data.E = ReadRows(folder + "E.txt", nCommunities);
    for (const std::vector<double>& row : ReadRows(folder + "types.txt", nOTUs))
        data.types.push_back(static_cast<int>(row[0]));
    if (isDune) {
        data.traitTypes = {3, 3, 3, 3, 3, 1, 1};
        data.F = ReadRows(folder + "F.txt", nOTUs);
        for (std::vector<double>& row : data.F)
            for (double& age : row) age /= 410.853;
    }
    return data;
}

struct Expected {
    std::string data;
    int criterion = 0, measure = 0, resemblance = 0, size = 0;
    double value = 0.0;
    std::string traits;
};

std::vector<Expected> ReadExpected()
{
    std::ifstream file(KELPRA_TEST_DIR "/reference/ranking_reference_test.txt");
    std::vector<Expected> all;
    std::string line;
    while (std::getline(file, line)) {
        std::istringstream words(line);
        Expected one;
        words >> one.data >> one.criterion >> one.measure >> one.resemblance >> one.size >>
            one.value;
        for (std::string trait; words >> trait;) one.traits += trait + " ";
        all.push_back(one);
    }
    return all;
}

} // namespace

TEST_CASE("best subsets of the examples by every criterion and measure")
{
    const std::vector<Expected> all = ReadExpected();
    REQUIRE(all.size() == 193);
    const int digits = preferences.sDigits;
    preferences.sDigits = 14;
    RankingData aravo = ReadExample("aravo");
    RankingData dune = ReadExample("dune");
    std::string ranked; // what the report at hand is of
    std::string report;
    for (const Expected& one : all) {
        const std::string wanted = one.data + std::to_string(one.criterion) + "/" +
                                   std::to_string(one.measure) + "/" +
                                   std::to_string(one.resemblance);
        if (wanted != ranked) {
            SessionTest test;
            LoadRanking(one.data == "dune" ? dune : aravo);
            session.opt_ro = one.measure;
            session.rese_opt = one.resemblance;
            report = RankingReport(one.criterion);
            ranked = wanted;
        }
        CAPTURE(ranked);
        CAPTURE(one.size);
        const BestOfSize best = BestOf(report, one.size);
        CHECK(best.value == doctest::Approx(one.value).epsilon(1e-6));
        CHECK(best.traits == one.traits);
    }
    preferences.sDigits = digits;
}
