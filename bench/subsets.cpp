// SPDX-License-Identifier: GPL-3.0-or-later
// S1 to S3: the search for the best trait subset, against the plain form of each matrix.
#include <omp.h>

#include <cmath>
#include <cstring>
#include <fstream>
#include <memory>
#include <vector>

#include "lines.hpp"
#include "numeric/congruence.hpp"
#include "numeric/random.hpp"
#include "plain_ranking.hpp"
#include "ranking/criteria.hpp"
#include "ranking/estimates.hpp"
#include "ranking/matrices.hpp"
#include "ranking/search.hpp"
#include "session/checks.hpp"
#include "session/session.hpp"
#include "unit/ranking/ranking_data.hpp"

namespace {

using namespace ranking_test;

const int nPlainSubsets = 500; // the plain form does the first of the search only

/// 75 communities, 82 OTUs of 10 types, a fifth of the cells of W filled, 6 variables.
RankingData SmallData(int nTraits)
{
    Numbers numbers(42);
    RankingData data;
    for (int i = 0; i < 82; i++) {
        data.B.emplace_back();
        for (int j = 0; j < nTraits; j++) data.B.back().push_back(numbers.Next());
        data.types.push_back(1 + i % 10);
    }
    for (int c = 0; c < 75; c++) {
        data.W.emplace_back();
        for (int i = 0; i < 82; i++) {
            const bool isThere = numbers.Next() < 0.21;
            data.W.back().push_back(isThere ? 1.0 + static_cast<int>(5.0 * numbers.Next()) : 0.0);
        }
        data.E.emplace_back();
        for (int v = 0; v < 6; v++) data.E.back().push_back(numbers.Next());
    }
    return data;
}

struct Subset {
    std::vector<int> traits, select;
};

/// All subsets in the order of the search.
std::vector<Subset> AllSubsets(int t)
{
    std::vector<Subset> all;
    OwnedInts list(t);
    for (int k = 1; k <= t; k++) {
        const long n = static_cast<long>(Factorial(t) / (Factorial(t - k) * Factorial(k)));
        for (long c = 0; c < n; c++) {
            PermuteArray(t, k, list, c == 0);
            Subset one = {{list.values, list.values + k}, std::vector<int>(static_cast<std::size_t>(t))};
            for (const int trait : one.traits) one.select[static_cast<std::size_t>(trait) - 1] = 1;
            all.push_back(one);
        }
    }
    return all;
}

/// The session of the data while this lives.
struct Loaded {
    explicit Loaded(int nTraits, bool holes = false)
    {
        RankingData data = SmallData(nTraits);
        Numbers numbers(7);
        for (std::vector<double>& row : data.B)
            for (double& cell : row)
                if (holes && numbers.Next() < 0.02) cell = -999.0;
        LoadRanking(data);
        session.nKeepTrack = 100;
        session.printRankIntermedResults = 'n';
        std::snprintf(session.whichChorder, sizeof session.whichChorder, "%s",
                      (folder.path / "ranking.txt").c_str());
        RangeStates(session.nch, session.tcst, session.csm_Float, session.chtype, session.chrange);
    }
    ~Loaded()
    {
        FreeGlobals2();
        session = Session();
    }
    const Scratch folder;
    Loaded(const Loaded&) = delete;
    Loaded& operator=(const Loaded&) = delete;
};

/// What is ranked, and how.
struct Ranked {
    const char* id;
    int number;  // of the criterion
    int measure; // opt_ro
    bool holes;  // 2 % of the cells of B are missing
};

std::string NameOf(const Ranked& ranked)
{
    const char* const measures[] = {"Mantel", "Procrustes", "RV"};
    return "criterion " + std::to_string(ranked.number) + ", " + measures[ranked.measure - 1];
}

/// The report of the whole search without its elapsed time.
std::string SearchedReport(const Criterion& criterion, int threads)
{
    omp_set_num_threads(threads);
    RankTraitSubsets(criterion);
    std::ifstream file(session.whichChorder);
    std::string text, line;
    while (std::getline(file, line))
        if (line.rfind("Elapsed time", 0) != 0) text += line + "\n";
    return text.substr(text.find("Session:"));
}

/// Exact values of the first subsets against the plain form's; estimates within their errors.
bool AreSame(const Criterion& criterion, const std::vector<Subset>& subsets,
             const std::vector<double>& expected)
{
    SharedMatrices shared(criterion.needs);
    SubsetMatrices matrices(shared);
    const std::unique_ptr<SharedEstimates> all = EstimatesOf(criterion, shared);
    const std::unique_ptr<SubsetEstimates> estimates =
        all != nullptr ? all->Of(matrices, 1) : nullptr;
    for (std::size_t i = 0; i < expected.size(); i++) {
        const std::vector<int>& traits = subsets[i].traits;
        matrices.Select(traits.data(), static_cast<int>(traits.size()));
        const double value = ValueOf(criterion, matrices);
        if (std::memcmp(&value, &expected[i], sizeof value) != 0) return false;
        if (estimates == nullptr) continue;
        const Estimate estimate = estimates->Value();
        if (std::fabs(estimate.value - value) > estimate.error) return false;
    }
    return true;
}

/// The whole search, reports and exact values of those that enter the record included, on one and
/// two threads; the plain form is that of the first subsets without any search.
void SearchLine(const Options& options, Report& report, const Ranked& ranked, int nTraits)
{
    const Loaded loaded(nTraits, ranked.holes);
    session.opt_struct = ranked.number;
    session.opt_ro = ranked.measure;
    const Criterion& criterion = *FindCriterion(ranked.number);
    const std::vector<Subset> subsets = AllSubsets(nTraits);
    const std::size_t nPlain = std::min<std::size_t>(subsets.size(), nPlainSubsets);
    plain::Ranking plainly(false);
    std::vector<double> expected(nPlain);
    std::size_t next = 0;
    const Work plain = [&](long count) {
        for (; count > 0; count--, next = (next + 1) % nPlain)
            expected[next] = plainly.Value(ranked.number, subsets[next].select.data());
    };
    Timed timed = TimeInTurn(options, plain, Work());
    next = 0;
    plain(static_cast<long>(nPlain));

    const std::string data = std::string(ranked.holes ? "missing" : "small") +
                             ", t=" + std::to_string(nTraits);
    std::string reports[2];
    for (const int threads : {1, 2}) {
        const DrainedOutput drained;
        timed.fast = TimeWhole(options, [&] {
            reports[threads - 1] = SearchedReport(criterion, threads);
        });
        const Timed whole = {-1.0, timed.fast};
        timed.fast /= static_cast<double>(subsets.size());
        report.Line(ranked.id, data, NameOf(ranked), "us/subset", 1e6, threads, timed);
        report.Line(ranked.id, data, "all subsets, " + NameOf(ranked), "s", 1.0, threads, whole);
    }
    report.Same(ranked.id, data,
                reports[0] == reports[1] && AreSame(criterion, subsets, expected));
}

/// The average over all traits but one, so that nothing of it is at hand, and belonging to types.
void SimilarityLines(const Options& options, Report& report)
{
    const int nTraits = 8;
    const Loaded loaded(nTraits);
    const int s = session.tcst;
    plain::Ranking plainly(false);
    PartialSimilarity partial(nTraits, s);
    const auto layers = [&](long count) {
        while (count-- > 0)
            gower_similarityPartial(nTraits, session.csm_Float, s, partial, session.chtype,
                                    session.chrange, session.weight, 1);
    };
    layers(1);
    report.Line("S3", "small, t=8", "Gower layers of all traits", "us", 1e6, 1,
                TimeInTurn(options, Work(), layers));

    const long nPairs = static_cast<long>(s) * (s + 1L) / 2;
    PrefixSums<float> sums(nPairs, nTraits);
    const OwnedRows S(s, s), U(s, session.nMinCSTGroupsChRank);
    const int traits[2][4] = {{0, 2, 4, 6}, {1, 3, 5, 7}};
    const int select[2][8] = {{1, 0, 1, 0, 1, 0, 1, 0}, {0, 1, 0, 1, 0, 1, 0, 1}};
    const Timed average = TimeInTurn(
        options, [&](long count) { while (count-- > 0) plainly.Average(select[count % 2]); },
        [&](long count) {
            while (count-- > 0)
                AverageSimilarity(s, sums.Sum(partial.layer, traits[count % 2], 4), 4, S);
        });
    report.Line("S3", "small, t=8", "similarity on 4 new traits", "us", 1e6, 1, average);

    TypeBelonging belonging(s, session.nMinCSTGroupsChRank, session.partition_OTUs);
    const Timed fuzzy = TimeInTurn(
        options, [&](long count) { while (count-- > 0) plainly.Fuzzy(false); },
        [&](long count) { while (count-- > 0) belonging.Fill(S, U); });
    report.Line("S3", "small, t=8", "fuzzy belonging", "us", 1e6, 1, fuzzy);
}

} // namespace

void SubsetLines(const Options& options, Report& report)
{
    const Ranked lines[] = {
        {"S1", convergence, mantel, false},   {"S2", divergence, mantel, false},
        {"S4", convergence, procrustes, false}, {"S4", convergence, rvCoefficient, false},
        {"S4", divergence, procrustes, false}, {"S4", divergence, rvCoefficient, false},
        {"S4", divergence, mantel, true},
    };
    for (const int nTraits : {8, 15})
        for (const Ranked& ranked : lines)
            if (options.Wants(ranked.id)) SearchLine(options, report, ranked, nTraits);
    if (options.Wants("S3")) SimilarityLines(options, report);
}
