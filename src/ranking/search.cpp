// SPDX-License-Identifier: GPL-3.0-or-later
#include "ranking/search.hpp"

#include <omp.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <functional>
#include <limits>
#include <memory>
#include <utility>
#include <vector>

#include "numeric/random.hpp"
#include "numeric/statistics.hpp"
#include "ranking/estimates.hpp"
#include "ranking/intermediate.hpp"
#include "ranking/matrices.hpp"
#include "ranking/record.hpp"
#include "ranking/report.hpp"
#include "session/session.hpp"
#include "shell/arrays.hpp"
#include "shell/console.hpp"
#include "shell/failure.hpp"
#include "shell/files.hpp"
#include "shell/preferences.hpp"
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

/// What evaluates subsets on a thread of its own.
struct Searcher {
    Searcher(const Criterion& criterion, SharedMatrices& all, const SharedEstimates* shared,
             int nSearchers)
        : matrices(all, nSearchers)
    {
        if (shared != nullptr)
            estimates = shared->Of(matrices, nSearchers);
        else
            ReserveRoom(criterion, matrices);
    }
    SubsetMatrices matrices;
    std::unique_ptr<SubsetEstimates> estimates;
};

/// Subsets of one size that follow each other.
struct Block {
    Block(int largest, int nTraits)
        : stride(nTraits), traits(static_cast<long>(largest) * nTraits),
          values(static_cast<std::size_t>(largest))
    {
    }
    int* Subset(int i) const { return traits.values + static_cast<long>(i) * stride; }

    int k = 0; // traits of a subset; 0: the search is over, or has not begun
    int nSubsets = 0;
    bool isLast = false; // of its size
    int stride;
    OwnedInts traits;             // k a subset; 0 in front: has excluded traits
    std::vector<Estimate> values; // of the subsets
};

/// One search: the files, the matrices, the subsets at hand and the record so far.
class Search
{
public:
    explicit Search(const Criterion& criterion);
    void Run();

private:
    void Step();
    void EvaluateOnThreads(const std::function<void()>& aside);
    void Draw(Block& block);
    void DrawSubset(int* traits);
    void Evaluate(Searcher& searcher, int i);
    void Record(const Block& block);
    void CloseSize(int k);
    void SetBlockSize();
    void ShowProgress(const Block& block);
    void TakeResult(int k, const int* traits, const Estimate& value);
    void EvaluateInDetail();
    void SettleForPrint(RankedSubset& subset);
    bool HasEvaluation() const;

    const Criterion& criterion;
    const double timeStart;
    IntermediateFile intermediate;
    OutputFile report;
    SharedMatrices shared;
    const std::vector<int> typeSizes; // empty for the criterion without types
    const bool printsRows;
    const bool inDetail; // statistics and matrices are printed as they come

    const std::unique_ptr<SharedEstimates> estimates; // null: values are exact
    std::vector<std::unique_ptr<Searcher>> searchers;
    const ExactValue exactly;

    const OwnedInts subset; // the subset drawn last, then the other traits
    int size;               // of what is drawn
    int nDrawn = 0;         // subsets of this size so far
    Block current, other;   // evaluated now; recorded, and then filled with what is next
    int blockSize;
    double lastSeconds = 0.0; // of the last step

    SubsetStatistics statistics;
    RankedSubset candidate;
    std::vector<RankedSubset> best; // by size, from nMinTraitsChRank
    KeepTable kept;                 // the best subsets
    KeepTable evaluations;          // the best evaluations; printed for the niche criteria only
    int iteration = 0;
    const int nIterations;
};

/// Blocks are long enough to keep the threads at work and short enough to show progress.
const int largestBlock = 1024;

RankedSubset NoSubset(double value)
{
    RankedSubset none;
    none.value = {value, 0.0};
    none.traits.resize(static_cast<std::size_t>(session.nch));
    return none;
}

Search::Search(const Criterion& ranked)
    : criterion(ranked), timeStart(omp_get_wtime()), intermediate(ranked),
      report(session.whichChorder, console.volumeName, "w"), shared(ranked.needs),
      typeSizes(ranked.needs.types ? CountOtusOfTypes() : std::vector<int>()),
      printsRows(session.printRankIntermedResults == 'y'),
      inDetail(printsRows || intermediate.IsOpen()), estimates(EstimatesOf(ranked, shared)),
      exactly([this](int k, const int* traits) {
          SubsetMatrices& matrices = searchers[0]->matrices;
          matrices.Select(traits, k);
          return ValueOf(criterion, matrices);
      }),
      subset(session.nch), size(session.nMinTraitsChRank), current(largestBlock, session.nch),
      other(largestBlock, session.nch), statistics(SharedStatistics(ranked, shared)),
      candidate(NoSubset(0.0)),
      best(static_cast<std::size_t>(session.nMaxTraitsChRank - session.nMinTraitsChRank + 1),
           NoSubset(ranked.start)),
      kept(session.nKeepTrack, session.nch, 0.0, ranked.order),
      evaluations(session.nKeepTrack, session.nch, lowest, ranked.order),
      nIterations(TotalOfSubsets())
{
    const bool canShare = shared.form == Form::quick && !inDetail;
    const int nSearchers = canShare ? std::min(omp_get_max_threads(), shared.MostSearchers()) : 1;
    for (int i = 0; i < nSearchers; i++)
        searchers.push_back(
            std::make_unique<Searcher>(ranked, shared, estimates.get(), nSearchers));
    blockSize = canShare ? 16 * nSearchers : 1;
}

void Search::Run()
{
    PrintRankingHead(report, criterion);
    intermediate.PrintShared(shared);
    Draw(current);
    while (current.k > 0 || other.k > 0) {
        Step();
        std::swap(current, other);
    }
    for (int slot = 1; slot <= kept.Last(); slot++) SettleForPrint(kept[slot]);
    PrintRankingTail(report, criterion, kept, evaluations, best, timeStart);
    intermediate.Close();
    report.Close();
}

/// Records the block before and evaluates the one at hand. What needs neither values nor memory
/// goes on meanwhile: the progress lines, and drawing, unless a new size begins.
void Search::Step()
{
    constexpr double secondsWorthATeam = 0.0005; // a thread may come late on a busy machine
    const double start = omp_get_wtime();
    Record(other);
    const bool drawsAside = nDrawn > 0;
    const auto goOn = [this, drawsAside] {
        ShowProgress(other);
        if (drawsAside) Draw(other);
    };
    if (searchers.size() > 1 && lastSeconds > secondsWorthATeam) {
        EvaluateOnThreads(goOn);
    } else {
        goOn();
        for (int i = 0; i < current.nSubsets; i++) Evaluate(*searchers[0], i);
    }
    if (!drawsAside) Draw(other);
    lastSeconds = omp_get_wtime() - start;
    SetBlockSize();
}

/// The block at hand. A thread does `aside` first and then joins the others. Values have places in
/// the block, whoever is done first; a failure waits for the end.
void Search::EvaluateOnThreads(const std::function<void()>& aside)
{
    const int nSearchers = static_cast<int>(searchers.size());
    std::vector<FailureCode> failures(searchers.size(), noFailure);
#pragma omp parallel num_threads(nSearchers)
    {
#pragma omp single nowait
        aside();
        // Neighbours share sums: long runs first, short ones where threads wait for the last.
#pragma omp for schedule(guided, 4)
        for (int i = 0; i < current.nSubsets; i++) {
            const std::size_t thread = static_cast<std::size_t>(omp_get_thread_num());
            const FailureCode code = FailureOf([&] { Evaluate(*searchers[thread], i); });
            if (code != noFailure) failures[thread] = code;
        }
    }
    for (const FailureCode code : failures)
        if (code != noFailure) Fail(code);
}

void Search::SetBlockSize()
{
    const double blockSeconds = 0.1;
    if (blockSize > 1 && lastSeconds < blockSeconds / 2.0)
        blockSize = std::min(2 * blockSize, largestBlock);
}

/// The next subsets in order; none when the search is over.
void Search::Draw(Block& block)
{
    block.k = block.nSubsets = 0;
    if (size > session.nMaxTraitsChRank) return;
    if (nDrawn == 0)
        for (int i = 0; i < session.nch; i++) subset[i] = i + 1;
    block.k = size;
    const int nOfSize = NumberOfSubsets(session.nch, size);
    for (; block.nSubsets < blockSize && nDrawn < nOfSize; block.nSubsets++, nDrawn++)
        DrawSubset(block.Subset(block.nSubsets));
    block.isLast = nDrawn >= nOfSize;
    if (!block.isLast) return;
    size++;
    nDrawn = 0;
}

void Search::DrawSubset(int* traits)
{
    PermuteArray(session.nch, size, subset, nDrawn == 0);
    std::copy_n(subset.values, size, traits);
    const bool isAllowed = std::all_of(traits, traits + size,
                                       [](int trait) { return session.weight[trait - 1] > 0.0; });
    if (!isAllowed) traits[0] = 0;
}

void Search::Evaluate(Searcher& searcher, int i)
{
    const int* const traits = current.Subset(i);
    if (traits[0] == 0 || inDetail || !HasEvaluation()) return;
    searcher.matrices.Select(traits, current.k);
    current.values[static_cast<std::size_t>(i)] =
        searcher.estimates != nullptr ? searcher.estimates->Value()
                                      : Estimate{ValueOf(criterion, searcher.matrices), 0.0};
}

void Search::Record(const Block& block)
{
    for (int i = 0; i < block.nSubsets; i++)
        if (block.Subset(i)[0] > 0)
            TakeResult(block.k, block.Subset(i), block.values[static_cast<std::size_t>(i)]);
    if (block.k > 0 && block.isLast) CloseSize(block.k);
}

void Search::CloseSize(int k)
{
    RankedSubset& ofSize = best[static_cast<std::size_t>(k - session.nMinTraitsChRank)];
    SettleForPrint(ofSize);
    PrintSizeLine(report, criterion, k, ofSize);
    report.Check(); // before the next size, which may take hours
    intermediate.Check();
}

void Search::ShowProgress(const Block& block)
{
    for (int i = 0; i < block.nSubsets; i++) {
        if (iteration < std::numeric_limits<int>::max()) iteration++;
        char progress[80];
        std::snprintf(progress, sizeof progress, "Iteration: %d of %d, Traits: %d", iteration,
                      nIterations, block.k);
        HandleEventInfoWhere2(progress);
    }
}

/// A single type says nothing of composition: then there is no evaluation, and the subset keeps
/// the start value.
bool Search::HasEvaluation() const
{
    return !criterion.needs.types || (shared.g >= 2 && shared.s >= 2);
}

void Search::TakeResult(int k, const int* traits, const Estimate& value)
{
    candidate.size = k;
    candidate.nTypes = shared.g;
    std::copy_n(traits, k, candidate.traits.begin());
    candidate.value = value;
    if (inDetail) EvaluateInDetail();
    if (!HasEvaluation()) return;
    if (criterion.family == Family::niche) evaluations.Enter(candidate, exactly);
    KeepBetter(best[static_cast<std::size_t>(k - session.nMinTraitsChRank)], candidate,
               criterion.order, exactly);
    kept.Enter(candidate, exactly);
}

void Search::EvaluateInDetail()
{
    const int k = candidate.size;
    const int* const traits = candidate.traits.data();
    SubsetMatrices& matrices = searchers[0]->matrices;
    matrices.Select(traits, k);
    intermediate.PrintSubsetMatrices(matrices, traits, k);
    if (!HasEvaluation()) return;
    intermediate.PrintTypesMatrices(matrices, typeSizes, report);
    Complete(criterion, matrices, statistics);
    if (printsRows) PrintRankingRow(report, criterion, statistics, traits, k, typeSizes);
    intermediate.PrintValueAndResiduals(matrices, statistics, traits, k, typeSizes);
    candidate.value = {statistics.value, 0.0};
}

/// Reports print some digits only: where the whole range of an estimate has them in common, they
/// are those of the exact value.
void Search::SettleForPrint(RankedSubset& ranked)
{
    char low[400], high[400];
    const Estimate& value = ranked.value;
    std::snprintf(low, sizeof low, "%.*g", preferences.sDigits, value.value - value.error);
    std::snprintf(high, sizeof high, "%.*g", preferences.sDigits, value.value + value.error);
    if (std::strcmp(low, high) != 0) Settle(ranked, exactly);
}

} // namespace

void RankTraitSubsets(const Criterion& criterion)
{
    InitRndNumberGenerator(static_cast<unsigned long>(std::time(nullptr)));
    session.nKeepTrack = 100;
    Search(criterion).Run();
}
