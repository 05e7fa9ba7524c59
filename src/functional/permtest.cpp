#include "functional/permtest.hpp"

#include <omp.h>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <vector>

#include "functional/permtest_file.hpp"
#include "functional/permtest_iteration.hpp"
#include "numeric/congruence.hpp"
#include "numeric/random.hpp"
#include "numeric/statistics.hpp"
#include "shell/console.hpp"
#include "shell/failure.hpp"

namespace {

using Input = PermTest_FunctionalPhyl_Correl_Input;

/// How a statistic is counted.
struct Counting {
    bool alwaysTwoTailed; // partials are; the others follow the preference
    bool needsPhylogeny;
};

// Indexed by Statistic.
const Counting counting[nStatistics] = {
    // rXE          rTE             rXE_T          rRE             rXE_TR
    {false, false}, {false, false}, {true, false}, {false, false}, {true, false},
    // rTY          rTZ             rXY             rXZ             rXY_T          rXZ_T
    {false, false}, {false, false}, {false, false}, {false, false}, {true, false}, {true, false},
    // roBF        rFE            roPE           roPT           roPX           roPX_T
    {false, true}, {false, true}, {false, true}, {false, true}, {false, true}, {true, true},
    // roTE_P     roXE_P        roXE_TP       roPE_T        roPE_X
    {true, true}, {true, true}, {true, true}, {true, true}, {true, true}};

bool IsCounted(const PermutationInputs& in, int statistic)
{
    if (!in.areCorrelations) return false;
    // Under site shuffle no OTU moves, so ro(BF) keeps its starting count.
    if (statistic == roBF && !in.moveTaxa) return false;
    return in.withPhylogeny || !counting[statistic].needsPhylogeny;
}

void CountStatistics(const PermutationInputs& in, const double* observed,
                     const IterationStatistics& random, double* counts)
{
    for (int j = 0; j < nStatistics; j++) {
        if (!IsCounted(in, j)) continue;
        const bool absolute = counting[j].alwaysTwoTailed || in.record.twoTailed;
        if (IsLargerThanOrEqual(random.value[j], observed[j], 1, absolute)) counts[j] += 1.0;
    }
}

/// The random orders of a test, drawn from the generator one arrangement after another.
class ListDrawer
{
public:
    explicit ListDrawer(const PermutationInputs& inputs) : in(inputs)
    {
        const Input& record = in.record;
        if (in.moveTaxa && record.weightedNull) {
            // One entry an occurrence: a frequent OTU is drawn more often, and maybe twice.
            for (int k = 0; k < in.n; k++)
                for (int i = 0; i < in.s; i++)
                    if (record.W[k][i] > 0.0) list.push_back(i + 1);
        } else {
            list.resize(static_cast<std::size_t>(Length()));
            for (std::size_t i = 0; i < list.size(); i++) list[i] = static_cast<int>(i) + 1;
        }
        list.reserve(1); // a pool without occurrences still has an address
    }

    /// Entries of an order that the evaluation reads.
    int Length() const { return in.moveTaxa ? in.s : in.n; }

    /// Draws the next order; entries beyond a short pool become 0, no OTU.
    void Draw(int* order)
    {
        const Input& record = in.record;
        const bool nested = in.moveTaxa && !record.weightedNull && record.restrictKind == 1;
        if (nested)
            RndListNestedNew(in.s, record.nestingGroups, 1, list.data());
        else
            RndListSpecified(static_cast<int>(list.size()), list.data());
        const int known = std::min(Length(), static_cast<int>(list.size()));
        std::copy(list.begin(), list.begin() + known, order);
        std::fill(order + known, order + Length(), 0);
    }

private:
    const PermutationInputs& in;
    std::vector<int> list; // shuffled further at each draw, never reset
};

/// Orders and statistics of the arrangements that are evaluated side by side.
struct Batch {
    Batch(const PermutationInputs& in, int nThreads, int perThread)
        : nPerThread(perThread), capacity(nThreads * perThread),
          length(in.moveTaxa ? in.s : in.n),
          orders(static_cast<std::size_t>(capacity) * static_cast<std::size_t>(length)),
          statistics(static_cast<std::size_t>(capacity))
    {
        const WorkspaceUse use =
            in.record.saveIntermediate ? WorkspaceUse::printed : WorkspaceUse::evaluated;
        for (int thread = 0; thread < nThreads; thread++)
            workspaces.push_back(std::make_unique<PermutationWorkspace>(in, use));
    }
    int* Order(int m)
    {
        return orders.data() + static_cast<std::size_t>(m) * static_cast<std::size_t>(length);
    }

    const int nPerThread, capacity, length;
    std::vector<int> orders; // capacity x length
    std::vector<IterationStatistics> statistics;
    std::vector<std::unique_ptr<PermutationWorkspace>> workspaces; // one a thread
};

/// Evaluates the orders of one thread, first to end, with its workspace.
void EvaluateShare(const PermutationInputs& in, Batch& batch, PermutationWorkspace& w, int first,
                   int end)
{
    for (int m = first; m < end; m++) {
        if (in.moveTaxa)
            EvaluateTaxaShuffle(batch.Order(m), in, w);
        else
            EvaluateSiteShuffle(batch.Order(m), in, w);
        batch.statistics[static_cast<std::size_t>(m)] = w.statistics;
    }
}

/// Evaluates the first `count` orders of the batch. Each arrangement is worked out by one thread
/// alone, so its bits do not depend on their number. Nothing in here draws; a failure waits for the
/// end of the parallel loop, which nothing may leave.
void EvaluateBatch(const PermutationInputs& in, Batch& batch, int count)
{
    const int nThreads = static_cast<int>(batch.workspaces.size());
    const int share = (count + nThreads - 1) / nThreads;
    std::vector<int> failures(static_cast<std::size_t>(nThreads), 0);
#pragma omp parallel for schedule(static, 1) num_threads(nThreads) if (nThreads > 1)
    for (int thread = 0; thread < nThreads; thread++) {
        const int first = thread * share;
        try {
            EvaluateShare(in, batch, *batch.workspaces[static_cast<std::size_t>(thread)], first,
                          std::min(count, first + share));
        } catch (const Failure& failure) {
            failures[static_cast<std::size_t>(thread)] = failure.code;
        }
    }
    for (const int code : failures)
        if (code != 0) Fail(static_cast<FailureCode>(code));
}

/// Arrangements that a thread evaluates before they are counted: enough of them that waking the
/// team is worth it. Models leave their results in the workspace, and printed arrangements their
/// matrices: one at a time then.
int ArrangementsPerThread(const PermutationInputs& in)
{
    return in.areCorrelations && !in.record.saveIntermediate ? 128 : 1;
}

void DrawBatch(int firstIteration, int nIter, int count, ListDrawer& drawer, Batch& batch)
{
    for (int m = 0; m < count; m++) {
        char text[80];
        std::snprintf(text, sizeof text, "Permutation test: %d of %d", firstIteration + m, nIter);
        HandleEventInfoWhere2(text);
        drawer.Draw(batch.Order(m));
    }
}

void Permute(Input& record, const PermutationInputs& in, double* counts)
{
    const int nThreads = record.saveIntermediate ? 1 : std::max(1, omp_get_max_threads());
    ListDrawer drawer(in);
    Batch batch(in, nThreads, ArrangementsPerThread(in));
    for (int iteration = 1; iteration < record.nIter; iteration += batch.capacity) {
        const int count = std::min(batch.capacity, record.nIter - iteration);
        DrawBatch(iteration, record.nIter, count, drawer, batch);
        EvaluateBatch(in, batch, count);
        for (int m = 0; m < count; m++) {
            PermutationWorkspace& w = *batch.workspaces[static_cast<std::size_t>(m / batch.nPerThread)];
            CountStatistics(in, record.results, batch.statistics[static_cast<std::size_t>(m)],
                            counts);
            CountModels(record, in, w);
            if (record.saveIntermediate)
                WriteArrangement(iteration + m, batch.Order(m), counts, in, w);
        }
    }
}

/// Leaves the observed matrices and statistics in the record.
void StoreObserved(Input& record, const PermutationInputs& in, const PermutationWorkspace& w)
{
    for (int k = 0; k < in.n; k++) {
        std::copy(w.T.table[k], w.T.table[k] + in.t, record.T[k]);
        std::copy(w.X.table[k], w.X.table[k] + in.g, record.X[k]);
        record.Rf[k] = w.R.table[k][0];
        if (!in.withPhylogeny) continue;
        std::copy(w.P.table[k], w.P.table[k] + in.f, record.P[k]);
        record.Rp[k] = w.Rp.table[k][0];
    }
    std::copy(w.statistics.value, w.statistics.value + nStatistics, record.results);
    // Deliberate: a dissimilarity is turned round so that a positive value reads as a signal, in
    // the observed value only; the random ones are compared as they are. Users' earlier P values
    // depend on it.
    if (record.measure == mantel && in.withPhylogeny && record.phylIsDissimilarity)
        record.results[roBF] = -record.results[roBF];
    StoreObservedModels(record, in, w);
}

} // namespace

bool PermTest_FunctionalPhyl_Correl(PermTest_FunctionalPhyl_Correl_Input* input)
{
    Input& record = *input;
    PermutationInputs in(record);
    double counts[nStatistics];
    std::fill(counts, counts + nStatistics, 1.0); // the observed arrangement counts as one
    {
        PermutationWorkspace observed(in, record.saveIntermediate ? WorkspaceUse::printed
                                                                  : WorkspaceUse::observed);
        EvaluateObserved(in, observed);
        StoreObserved(record, in, observed);
        if (in.fast != nullptr) in.fast->SetObserved(observed);
        if (record.saveIntermediate) WriteObserved(in, observed);
    }
    if (record.nIter > 1) Permute(record, in, counts);
    for (int j = 0; j < nStatistics; j++) record.probabilities[j] = counts[j] / record.nIter;
    FinishModels(record, in);
    return true;
}
