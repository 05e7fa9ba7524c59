#include "ranking/search.hpp"

#include <omp.h>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <limits>
#include <vector>

#include "numeric/random.hpp"
#include "numeric/statistics.hpp"
#include "ranking/intermediate.hpp"
#include "ranking/matrices.hpp"
#include "ranking/record.hpp"
#include "ranking/report.hpp"
#include "session/session.hpp"
#include "shell/arrays.hpp"
#include "shell/console.hpp"
#include "shell/failure.hpp"
#include "shell/files.hpp"
#include "shell/scanners.hpp"

namespace {

const double lowest = -1.7976931348623157e308;

/// Subsets of k of n traits; truncated where factorials as doubles are no longer exact.
int NumberOfSubsets(int n, int k)
{
    return ToInt(Factorial(n) / (Factorial(n - k) * Factorial(k)));
}

int TotalOfSubsets()
{
    double total = 0.0;
    for (int k = session.nMinTraitsChRank; k <= session.nMaxTraitsChRank; k++)
        total += NumberOfSubsets(session.nch, k);
    return ToInt(total);
}

/// OTUs of each type, types by ascending label.
std::vector<int> CountOtusOfTypes()
{
    const int nOTUs = session.tcst;
    const OwnedInts labels(nOTUs);
    int nTypes = 0;
    CountGroupsNew(nOTUs, session.partition_OTUs, &nTypes, labels);
    std::vector<int> sizes;
    for (int c = 0; c < nTypes; c++)
        sizes.push_back(static_cast<int>(
            std::count(session.partition_OTUs, session.partition_OTUs + nOTUs, labels[c])));
    return sizes;
}

/// One search: the files, the matrices, the subset at hand and the record so far.
class Search {
public:
    explicit Search(const Criterion& criterion);
    void Run();

private:
    void SearchSize(int k);
    bool TakeSubset(int k, bool first);
    void EvaluateSubset(int k);
    void Evaluate(int k);
    bool HasEvaluation() const;

    const Criterion& criterion;
    const double timeStart;
    IntermediateFile intermediate;
    OutputFile report;
    SharedMatrices shared;
    SubsetMatrices matrices;
    const std::vector<int> typeSizes; // empty for the criterion without types
    const bool printsRows;

    const OwnedInts subset; // the subset, then the other traits
    SubsetStatistics statistics;
    std::vector<RankedSubset> best; // by size, from nMinTraitsChRank
    KeepTable kept;        // the best subsets
    KeepTable evaluations; // the best evaluations; printed for the niche criteria only
    int iteration = 0;
    const int nIterations;
};

Search::Search(const Criterion& ranked)
    : criterion(ranked), timeStart(omp_get_wtime()), intermediate(ranked),
      report(session.whichChorder, console.volumeName, "w"), shared(ranked.needs), matrices(shared),
      typeSizes(ranked.needs.types ? CountOtusOfTypes() : std::vector<int>()),
      printsRows(session.printRankIntermedResults == 'y'), subset(session.nch),
      statistics(SharedStatistics(ranked, shared)),
      kept(session.nKeepTrack, session.nch, 0.0, ranked.order),
      evaluations(session.nKeepTrack, session.nch, lowest, ranked.order),
      nIterations(TotalOfSubsets())
{
    RankedSubset start;
    start.value = criterion.start;
    start.traits.resize(static_cast<std::size_t>(session.nch));
    best.assign(static_cast<std::size_t>(session.nMaxTraitsChRank - session.nMinTraitsChRank + 1),
                start);
}

void Search::Run()
{
    PrintRankingHead(report, criterion);
    intermediate.PrintShared(shared);
    for (int k = session.nMinTraitsChRank; k <= session.nMaxTraitsChRank; k++) SearchSize(k);
    PrintRankingTail(report, criterion, kept, evaluations, best, timeStart);
    intermediate.Close();
    report.Close();
}

void Search::SearchSize(int k)
{
    const int nSubsets = NumberOfSubsets(session.nch, k);
    for (int i = 0; i < session.nch; i++) subset[i] = i + 1;
    for (int c = 0; c < nSubsets; c++) {
        if (iteration < std::numeric_limits<int>::max()) iteration++;
        char progress[80];
        std::snprintf(progress, sizeof progress, "Iteration: %d of %d, Traits: %d", iteration,
                      nIterations, k);
        HandleEventInfoWhere2(progress);
        if (TakeSubset(k, c == 0)) EvaluateSubset(k);
    }
    PrintSizeLine(report, criterion, k,
                  best[static_cast<std::size_t>(k - session.nMinTraitsChRank)]);
    report.Check(); // before the next size, which may take hours
    intermediate.Check();
}

/// Goes to the next subset; false if it holds an excluded trait.
bool Search::TakeSubset(int k, bool first)
{
    PermuteArray(session.nch, k, subset, first);
    return std::all_of(subset.values, subset.values + k,
                       [](int trait) { return session.weight[trait - 1] > 0.0; });
}

/// A single type says nothing of composition: then there is no evaluation, and the subset keeps
/// the start value.
bool Search::HasEvaluation() const
{
    return !criterion.needs.types || (shared.g >= 2 && shared.s >= 2);
}

void Search::EvaluateSubset(int k)
{
    matrices.Select(subset, k);
    intermediate.PrintSubsetMatrices(matrices, subset, k);
    double value = criterion.start;
    int nTypes = 0;
    if (HasEvaluation()) {
        Evaluate(k);
        if (IsBetter(criterion.order, statistics.value, value)) {
            value = statistics.value;
            nTypes = shared.g;
        }
    }
    RankedSubset& ofSize = best[static_cast<std::size_t>(k - session.nMinTraitsChRank)];
    if (IsBetter(criterion.order, value, ofSize.value)) Store(ofSize, value, nTypes, k, subset);
    kept.Enter(value, nTypes, k, subset);
}

void Search::Evaluate(int k)
{
    intermediate.PrintTypesMatrices(matrices, typeSizes, report);
    if (printsRows || intermediate.IsOpen())
        Complete(criterion, matrices, statistics);
    else
        statistics.value = ValueOf(criterion, matrices);
    if (printsRows) PrintRankingRow(report, criterion, statistics, subset, k, typeSizes);
    intermediate.PrintValueAndResiduals(matrices, statistics, subset, k, typeSizes);
    if (criterion.family == Family::niche)
        evaluations.Enter(statistics.value, shared.g, k, subset);
}

} // namespace

void RankTraitSubsets(const Criterion& criterion)
{
    InitRndNumberGenerator(static_cast<unsigned long>(std::time(nullptr)));
    session.nKeepTrack = 100;
    Search(criterion).Run();
}
