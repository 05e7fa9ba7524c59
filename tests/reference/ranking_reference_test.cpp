// SPDX-License-Identifier: GPL-3.0-or-later
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

/// The data and settings that a line of the table calls for.
void Load(const std::string& name, const std::string& variant)
{
    RankingData data = ReadExample(name);
    if (variant == "holesB") data.B[3][0] = data.B[5][1] = -999.0;
    if (variant == "holesE") data.E[1][0] = -999.0;
    LoadRanking(data);
    if (variant == "gowerE") session.optEnvVarType = 3; // qualitative, though all are numbers
    if (variant == "crispTypes") session.fuzzy = 0;
    if (variant == "crispTaxa") session.fuzzyPhyl = 0;
    if (variant == "euclid") session.reseCSTopt = 2;
}

/// The numbers behind "=" in the line of traits 2, 3 and 5, of the report or, for criteria whose
/// rows show the value alone, of the file of structures; 0 where it shows none.
std::vector<double> RowOf(int criterion, std::size_t nNumbers)
{
    session.nMinTraitsChRank = session.nMaxTraitsChRank = 3;
    session.printRankIntermedResults = 'y';
    const bool inStructures = criterion >= 16;
    preferences.saveStruct = inStructures ? 'y' : 'n';
    std::string text = RankingReport(criterion);
    if (inStructures) text = TextOfFile("structures.txt");
    preferences.saveStruct = 'n';
    const std::size_t end = text.find(inStructures ? "groups\tTraits:\t2 \t3 \t5 \t" : "Traits:\t2 \t3 \t5 \t");
    std::istringstream words(text.substr(text.rfind('\n', end), end - text.rfind('\n', end)));
    std::vector<double> numbers;
    for (std::string word; std::getline(words, word, '\t');)
        if (word.back() == '=' && std::getline(words, word, '\t')) numbers.push_back(std::stod(word));
    numbers.resize(nNumbers);
    return numbers;
}

} // namespace

TEST_CASE("best subsets of the examples, and the statistics beside a value")
{
    std::ifstream file(KELPRA_TEST_DIR "/reference/ranking_reference_test.txt");
    const int digits = preferences.sDigits;
    preferences.sDigits = 14;
    int nLines = 0;
    for (std::string line; std::getline(file, line); nLines++) {
        CAPTURE(line);
        std::istringstream words(line);
        std::string name, variant, bar, number;
        int criterion = 0;
        words >> name >> variant >> criterion;
        SessionTest test;
        Load(name, variant);
        words >> session.opt_ro >> session.rese_opt >> bar;
        std::vector<double> numbers;
        if (variant == "beside") {
            for (double x = 0.0; words >> x;) numbers.push_back(x);
            const std::vector<double> row = RowOf(criterion, numbers.size());
            for (std::size_t i = 0; i < numbers.size(); i++)
                CHECK(row[i] == doctest::Approx(numbers[i]).epsilon(2e-5)); // by "%g"
            continue;
        }
        const std::string report = RankingReport(criterion);
        for (double value = 0.0; words >> value;) {
            std::string traits;
            int size = 0;
            for (; words >> number && number != "|"; size++) traits += number + " ";
            CHECK(BestOf(report, size).value == doctest::Approx(value).epsilon(1e-6));
            CHECK(BestOf(report, size).traits == traits);
        }
    }
    CHECK(nLines == 79);
    preferences.sDigits = digits;
}
