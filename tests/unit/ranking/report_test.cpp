#include <doctest/doctest.h>

#include <cmath>

#include "numeric/congruence.hpp"
#include "unit/ranking/ranking_fixture.hpp"

using namespace ranking_test;

namespace {

const int allCriteria[] = {1, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20, 21, 22, 23, 24};

bool UsesPhylogeny(int criterion)
{
    return criterion >= 11 && criterion <= 15;
}

/// The report without the matrices DR that saving intermediate results puts there.
std::string WithoutEntropies(const std::string& report)
{
    std::istringstream lines(report);
    std::string kept, line;
    int skip = 0;
    while (std::getline(lines, line)) {
        if (line.rfind("Resemblance matrix DR", 0) == 0) {
            kept.pop_back(); // the line end in front of the heading
            skip = session.ncsm + 1;
        }
        if (skip > 0) skip--;
        else kept += line + "\n";
    }
    return kept;
}

/// The report from the lines that differ from run to run on.
std::string BodyOf(const std::string& report)
{
    return report.substr(report.find("Formatted data: "));
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

/// Correlation of the distances that two traits make between communities.
double CorrelationOfAverages(const RankingData& data)
{
    const int n = static_cast<int>(data.W.size());
    const OwnedRows first(n, n), second(n, n);
    double** const D[2] = {first, second};
    for (std::size_t trait = 0; trait < 2; trait++) {
        std::vector<double> averages;
        for (const std::vector<double>& W : data.W) {
            double sum = 0.0, total = 0.0;
            for (std::size_t i = 0; i < W.size(); i++) {
                sum += W[i] * data.B[i][trait];
                total += W[i];
            }
            averages.push_back(sum / total);
        }
        for (std::size_t c = 0; c < averages.size(); c++)
            for (std::size_t d = 0; d < averages.size(); d++)
                D[trait][c][d] = std::fabs(averages[c] - averages[d]);
    }
    return MatrixCorr(n, first, second);
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
    REQUIRE(plainly.size() == 2);
    REQUIRE(saved.size() == 2);
    CHECK(saved[0] == plainly[0]);
    // The second one is the semipartial correlation of DP and DT given DT of the first trait:
    // (r12 - r13 r23) / root(1 - r13^2). The residuals are fitted in single precision.
    const double expected = (plainly[1] - plainly[0] * CorrelationOfAverages(data)) /
                            std::sqrt(1.0 - plainly[0] * plainly[0]);
    CHECK(saved[1] == doctest::Approx(expected).epsilon(1e-4));
    CHECK(std::fabs(expected - plainly[1]) > 0.01);
}

TEST_CASE("every criterion under every measure, resemblance and kind of data")
{
    // Saving the matrices makes the search take the plain form of all resemblances: the report has
    // to be the same, byte for byte. (With a phylogeny it is not meant to be.)
    for (const int fuzzy : {0, 3})
        for (const bool holes : {false, true})
            for (int measure = 1; measure <= 5; measure++)
                for (const int resemblance : {6, 7, 8, 9, 10, 5}) {
                    if (measure > 1 && resemblance != 6 && resemblance != 5) continue;
                    RankingData data = MixedData(8, 12, 11);
                    for (std::vector<double>& row : data.B) row.resize(4);
                    if (holes) data.B[3][0] = data.B[5][1] = -999.0;
                    SessionTest test;
                    LoadRanking(data);
                    session.fuzzy = fuzzy;
                    session.opt_ro = measure;
                    session.rese_opt = resemblance;
                    session.printRankIntermedResults = 'y';
                    for (const int criterion : allCriteria) {
                        CAPTURE(criterion);
                        CAPTURE(measure);
                        CAPTURE(resemblance);
                        const std::string report = RankingReport(criterion);
                        CHECK(TimesIn(report, "optimal subset with ") == 4);
                        CHECK(report.find("Elapsed\n") != std::string::npos);
                        preferences.saveStruct = 'y';
                        const std::string saved = RankingReport(criterion);
                        preferences.saveStruct = 'n';
                        if (!UsesPhylogeny(criterion)) {
                            const bool same = BodyOf(WithoutEntropies(saved)) == BodyOf(report);
                            CHECK(same);
                        }
                    }
                }
}

TEST_CASE("measures that rank nothing show the title of the phylogeny criteria only")
{
    SessionTest test;
    LoadRanking(MixedData(8, 12, 11));
    session.nMaxTraitsChRank = 1;
    const std::string title =
        "\n\nTrait subsets with maximum matrix correlation:\nTRC\toptimal subset of traits\n";
    for (const int measure : {2, 4, 5}) {
        session.opt_ro = measure;
        for (const int criterion : {11, 12, 13}) CHECK(TimesIn(RankingReport(criterion), title) == 1);
        CHECK(TimesIn(RankingReport(9), "TRC\toptimal subset of traits\n") == (measure == 2 ? 1 : 0));
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

TEST_CASE("heads of the reports")
{
    const std::string partition =
        "Pooling of OTUs: 2 (polythetic)\n"
        "Partition of OTUs into types specified by the user:\n"
        "1\t2\t3\t1\t2\t3\t1\t2\t3\t1\t2\t3\t\n";
    const std::string approach =
        "Trait-based approach: 1 (composition of types)\n"
        "Community data matrix W adjusted to unit totals prior to trait convergence evaluation.\n"
        "Community data matrix W NOT adjusted to unit totals prior to evaluation.\n";
    const std::string gower = "Resemblance function between OTUs: 1 (Gower index)\n";
    const std::string diversity =
        partition + gower + "Gower similarity modified to count matching absences in binary traits? yes\n"
        "Rao entropy based on traits computed on square root transformed dissimilarities? yes\n";
    const std::string algorithm = "Ranking algorithm: 2 (all trait combinations)\n";
    const std::string fuzzy =
        "Fuzzy transformation: fuzzy (fuzzy belonging of OTUs to types)\n";
    const std::string mantel = "Correlation measure: matrix correlation (Mantel)\n";
    const std::string rv = "Correlation measure: RV coefficient (Escoufier 1973)\n";
    const std::string chord = "Resemblance option between communities: 10 (chord distance)\n";
    const std::string overfit =
        "For partial matrix correlations, the factor (f) for limiting the number of predictors in PCA regression in relation to sample size n (number of predictors = n/f): 2\n";
    const std::string used = "Traits that were considered:\n1  2  3  5  \n";
    const std::string rows = "\nTRC         \tTrait subset used:\n";
    const std::string rowsWithGroups = "\nTRC         \tGroups\tTrait subset used:\n";
    struct Case { int criterion, measure; std::string head; };
    const Case cases[] = {
        {1, 3, "Trait ranking criterion (TRC): 1 (both trait-divergence and trait-convergence assembly patterns)\n" + rv + partition +
             "Gower similarity index modified to count matching absences in binary traits? yes\n" + algorithm + fuzzy + used + rows},
        {10, 1, "\nTrait-based approach: 1 (composition of types)\nTrait ranking criterion (TRC): 10 (Trait-convergence assembly patterns, TCAP)\n" + mantel +
             algorithm + used + chord + rows},
        {20, 1, approach + "Trait ranking criterion (TRC): 20 (trait divergence: r(XZ.T))21 (correlation between 'dark diversity' (for each community, sum of absolute differences between matrices X and W) and E: r(SE))\tmatrix correlation (Mantel)\n" + mantel + diversity + algorithm + fuzzy + chord + rowsWithGroups},
        {21, 1, approach + "Trait ranking criterion (TRC): (null)\tmatrix correlation (Mantel)\n" + mantel + diversity + algorithm + fuzzy + chord + rowsWithGroups},
        {24, 3, approach + "Trait ranking criterion (TRC): Procrustes (traceW)\tRV coefficient (Escoufier 1973)\n" + rv + diversity + algorithm + fuzzy + overfit + rowsWithGroups},
    };
    SessionTest test;
    LoadRanking(MixedData(8, 12, 11));
    session.rese_opt = 10;
    session.optUnitTotalAdjust2 = false;
    session.weight[3] = 0.0;
    session.nMaxTraitsChRank = 1;
    session.printRankIntermedResults = 'y';
    for (const Case& c : cases) {
        CAPTURE(c.criterion);
        session.opt_ro = c.measure;
        const std::string body = BodyOf(RankingReport(c.criterion));
        const std::string head = "Formatted data: NULL \n" + c.head;
        CHECK(body.substr(0, head.size()) == head);
    }
}

TEST_CASE("no line is wider than a number can be, however many digits are asked for")
{
    SessionTest test;
    LoadRanking(MixedData(8, 12, 11));
    session.nMaxTraitsChRank = 1;
    session.printRankIntermedResults = 'y';
    preferences.sDigits = 2147483647;
    preferences.saveStruct = 'y';
    for (const int criterion : {9, 14, 16}) {
        CHECK(RankingReport(criterion).size() < 200000);
        CHECK(TextOfFile("structures.txt").size() < 200000);
    }
    preferences = Preferences{};
}

TEST_CASE("the report of niche conservation")
{
    SessionTest test;
    LoadRanking(MixedData(8, 12, 11));
    session.nMaxTraitsChRank = 2;
    session.weight[3] = 0.0;
    const std::string report = RankingReport(14);

    // The best subsets stand over the first lines of the head: their traits, types and values.
    std::string block, values;
    for (const int size : {1, 2}) {
        const BestOfSize best = BestOf(report, size);
        std::istringstream traits(best.traits);
        for (std::string trait; traits >> trait;) block += trait + " \t";
        block += "\n";
        char value[40];
        std::snprintf(value, sizeof value, "%-13g\t", best.value);
        values += value;
    }
    block += "\n3    \t3    \t\n" + values + "\n";
    CHECK(report.substr(0, block.size()) == block);

    // What stood behind the block is still there.
    CHECK(report.find("Pooling of OTUs") != std::string::npos);
    CHECK(report.find("Traits considered in the computation of Gower similarity index between populations:\t1  2  3  5  \n") != std::string::npos);
    CHECK(report.find("Correlation measure") == std::string::npos);

    // The table of evaluations never shows the one it holds; the other one shows empty slots.
    CHECK(TimesIn(report, "-1.79769e+308\t0 groups\t\n") == 100);
    CHECK(TimesIn(report, "\n0           \t0 groups\t\n") >= 90);
}
