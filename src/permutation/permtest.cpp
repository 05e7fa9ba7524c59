// SPDX-License-Identifier: GPL-3.0-or-later
#include "permutation/permtest.hpp"

#include <omp.h>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <vector>

#include "numeric/congruence.hpp"
#include "permutation/estimating.hpp"
#include "permutation/general.hpp"
#include "permutation/intermediate.hpp"
#include "permutation/lists.hpp"
#include "shell/console.hpp"
#include "shell/failure.hpp"

namespace {

using Input = PermTest_FunctionalPhyl_Correl_Input;

/// The quickest form that covers the measure, the options and the data.
std::unique_ptr<Form> ChooseForm(const PermutationInputs& in, const GeneralWorkspace& observed)
{
    const ObservedResemblances resemblances = {observed.DT, observed.DX, observed.DP, observed.DR,
                                               observed.DRp};
    if (auto estimating = EstimatingForm::Make(in, resemblances)) return estimating;
    return std::make_unique<GeneralForm>(in);
}

void PrintProgress(long iteration, int nIter)
{
    char text[80];
    std::snprintf(text, sizeof text, "Permutation test: %ld of %d", iteration, nIter);
    HandleEventInfoWhere2(text);
}

/// Orders that are drawn one after the other and evaluated by a team of threads. Each is worked
/// out by one thread alone, so its bits do not depend on their number.
class Batch
{
public:
    Batch(const PermutationInputs& inputs, const Form& form, int nThreads)
        : in(inputs), drawer(inputs), failures(static_cast<std::size_t>(nThreads), noFailure)
    {
        for (int thread = 0; thread < nThreads; thread++) {
            evaluators.push_back(form.NewEvaluator());
            counts.emplace_back(in.comparisons.size(), 0.0);
        }
    }

    /// Takes the next `count` orders from the generator, which no thread of the team touches.
    void Draw(int count)
    {
        const std::size_t length = static_cast<std::size_t>(in.orderLength);
        orders.resize(std::max(orders.size(), static_cast<std::size_t>(count) * length));
        for (int m = 0; m < count; m++) drawer.Draw(Order(m));
    }

    /// Evaluates them. Who is free takes the next one, and the first thread prints the lines of
    /// those taken so far. A failure waits for the loop's end, which nothing may leave before.
    void Evaluate(int count, bool byTeam)
    {
        const int nThreads = byTeam ? static_cast<int>(evaluators.size()) : 1;
#pragma omp parallel for schedule(dynamic, 1) num_threads(nThreads) if (nThreads > 1)
        for (int m = 0; m < count; m++) {
            const int thread = omp_get_thread_num();
            if (thread == 0 && omp_get_wtime() - shown > secondsOfBurst) ShowUpTo(nEvaluated + m);
            EvaluateBy(static_cast<std::size_t>(thread), m);
        }
        nEvaluated += count;
        ShowUpTo(nEvaluated - 1);
        for (const FailureCode code : failures)
            if (code != noFailure) Fail(code);
    }

    void AddCounts(std::vector<double>& total) const
    {
        for (const std::vector<double>& own : counts)
            for (std::size_t c = 0; c < own.size(); c++) total[c] += own[c];
    }

    /// Iterations so far, the observed arrangement among them.
    long Evaluated() const
    {
        return nEvaluated;
    }

private:
    static constexpr double secondsOfBurst = 0.01;

    int* Order(int m)
    {
        return orders.data() + static_cast<std::ptrdiff_t>(m) * in.orderLength;
    }

    void EvaluateBy(std::size_t thread, int m)
    {
        if (failures[thread] != noFailure) return;
        const FailureCode code =
            FailureOf([&] { evaluators[thread]->Evaluate(Order(m), 1, counts[thread].data()); });
        if (code != noFailure) failures[thread] = code;
    }

    /// In bursts, of which the rule of five ticks lets some lines through: flushing each of them
    /// would cost as much as the sums of a small arrangement.
    void ShowUpTo(long iteration)
    {
        shown = omp_get_wtime();
        for (; nShown <= iteration; nShown++) PrintProgress(nShown, in.record.nIter);
    }

    const PermutationInputs& in;
    ListDrawer drawer;
    long nEvaluated = 1, nShown = 1;
    double shown = omp_get_wtime(); // the last burst's time
    std::vector<int> orders;        // count x orderLength
    // One a thread:
    std::vector<std::unique_ptr<Evaluator>> evaluators;
    std::vector<std::vector<double>> counts;
    std::vector<FailureCode> failures;
};

/// Batches grow until one is worth the while of drawing it, and no more: their orders take room. The
/// team is woken for those that last: on a machine with other work a thread may come late, and the
/// others wait for it longer than a short batch takes.
void Permute(const PermutationInputs& in, const Form& form, std::vector<double>& counts)
{
    constexpr double secondsOfBatch = 0.1, secondsWorthATeam = 0.0005;
    constexpr int ordersPerThread = 4096;
    const int nThreads = std::max(1, omp_get_max_threads());
    Batch batch(in, form, nThreads);
    double seconds = 0.0; // of the last batch
    for (int size = nThreads; batch.Evaluated() < in.record.nIter;) {
        const double start = omp_get_wtime();
        const int count =
            static_cast<int>(std::min<long>(size, in.record.nIter - batch.Evaluated()));
        batch.Draw(count);
        batch.Evaluate(count, seconds > secondsWorthATeam);
        seconds = omp_get_wtime() - start;
        if (seconds < secondsOfBatch / 2 && size < nThreads * ordersPerThread) size *= 2;
    }
    batch.AddCounts(counts);
}

/// One arrangement at a time, each with its matrices written to the file.
void PermuteAndWrite(const PermutationInputs& in, GeneralWorkspace& w, std::vector<double>& counts)
{
    ListDrawer drawer(in);
    OwnedInts order(in.orderLength);
    for (int iteration = 1; iteration < in.record.nIter; iteration++) {
        PrintProgress(iteration, in.record.nIter);
        drawer.Draw(order);
        EvaluateOrder(order, in, w);
        CountReached(in.comparisons, w.statistics, counts.data());
        WriteArrangement(iteration, order, counts.data(), in, w);
    }
}

/// Leaves the observed matrices and statistics in the record.
void StoreObserved(Input& record, const PermutationInputs& in, const GeneralWorkspace& w)
{
    for (int k = 0; k < in.n; k++) {
        std::copy(w.T[k], w.T[k] + in.t, record.T[k]);
        std::copy(w.X[k], w.X[k] + in.g, record.X[k]);
        record.Rf[k] = w.R[k][0];
        if (!in.withPhylogeny) continue;
        std::copy(w.P[k], w.P[k] + in.f, record.P[k]);
        record.Rp[k] = w.Rp[k][0];
    }
    for (std::size_t c = 0; c < in.comparisons.size(); c++)
        *in.comparisons[c].observed = w.statistics.value[c];
    if (record.measure == linearRegression)
        std::copy(w.intercept.values, w.intercept + in.model.nResponses,
                  record.regression.intercept);
    // Deliberate: a dissimilarity is turned round so that a positive value reads as a signal, in
    // the observed value only; the random ones are compared as they are. Users' earlier P values
    // depend on it.
    if (record.measure == mantel && in.withPhylogeny && record.phylIsDissimilarity)
        record.results[roBF] = -record.results[roBF];
}

} // namespace

bool PermTest_FunctionalPhyl_Correl(PermTest_FunctionalPhyl_Correl_Input* input)
{
    Input& record = *input;
    const PermutationInputs in(record);
    // The observed arrangement counts as one.
    std::vector<double> counts(in.comparisons.size(), 1.0);
    auto observed = std::make_unique<GeneralWorkspace>(in, record.saveIntermediate);
    EvaluateObserved(in, *observed);
    StoreObserved(record, in, *observed);
    if (record.saveIntermediate) {
        WriteObserved(in, *observed);
        PermuteAndWrite(in, *observed, counts);
    } else if (record.nIter > 1) {
        const std::unique_ptr<Form> form = ChooseForm(in, *observed);
        observed.reset(); // before the threads get their own
        Permute(in, *form, counts);
    }
    for (std::size_t c = 0; c < counts.size(); c++)
        *in.comparisons[c].probability = counts[c] / record.nIter;
    return true;
}
