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

constexpr double secondsOfBatch = 0.1;

void PrintProgress(long iteration, int nIter)
{
    char text[80];
    std::snprintf(text, sizeof text, "Permutation test: %ld of %d", iteration, nIter);
    HandleEventInfoWhere2(text);
}

/// Orders that are evaluated side by side, shared out among threads. Each is worked out by one
/// thread alone, so its bits do not depend on their number.
class Batch
{
public:
    Batch(const PermutationInputs& inputs, const Form& form, int nThreads)
        : in(inputs), capacity(nThreads * ordersPerThread),
          orders(static_cast<std::size_t>(capacity) * static_cast<std::size_t>(in.orderLength))
    {
        for (int thread = 0; thread < nThreads; thread++) {
            evaluators.push_back(form.NewEvaluator());
            counts.emplace_back(in.comparisons.size(), 0.0);
        }
    }

    int* Order(int m) { return orders.data() + static_cast<std::ptrdiff_t>(m) * in.orderLength; }

    /// Evaluates the first `count` orders and adds up their counts. Nothing in the loop draws; a
    /// failure waits for its end, which nothing may leave before.
    void Evaluate(int count, std::vector<double>& total)
    {
        const int nThreads = static_cast<int>(evaluators.size());
        std::vector<FailureCode> failures(evaluators.size(), noFailure);
#pragma omp parallel for schedule(static, 1) num_threads(nThreads) if (nThreads > 1)
        for (int thread = 0; thread < nThreads; thread++)
            failures[static_cast<std::size_t>(thread)] = EvaluateShare(thread, count);
        for (const FailureCode code : failures)
            if (code != noFailure) Fail(code);
        for (std::vector<double>& own : counts)
            for (std::size_t c = 0; c < own.size(); c++) {
                total[c] += own[c];
                own[c] = 0.0;
            }
    }

private:
    FailureCode EvaluateShare(int thread, int count)
    {
        const int nThreads = static_cast<int>(evaluators.size());
        const int share = (count + nThreads - 1) / nThreads;
        const int first = std::min(count, thread * share);
        const int end = std::min(count, first + share);
        const std::size_t own = static_cast<std::size_t>(thread);
        return FailureOf(
            [&] { evaluators[own]->Evaluate(Order(first), end - first, counts[own].data()); });
    }

    static constexpr int ordersPerThread = 128;

    const PermutationInputs& in;

public:
    const int capacity;

private:
    std::vector<int> orders;                            // capacity x orderLength
    std::vector<std::unique_ptr<Evaluator>> evaluators; // one a thread
    std::vector<std::vector<double>> counts;            // the same
};

void Permute(const PermutationInputs& in, const Form& form, std::vector<double>& counts)
{
    const int nIter = in.record.nIter;
    ListDrawer drawer(in);
    const int nThreads = std::max(1, omp_get_max_threads());
    Batch batch(in, form, nThreads);
    int size = nThreads; // grows until a batch is worth waking the team, and no more: it is silent
    for (long iteration = 1; iteration < nIter;) {
        const double start = omp_get_wtime();
        const int count = static_cast<int>(std::min<long>(size, nIter - iteration));
        for (int m = 0; m < count; m++) {
            PrintProgress(iteration + m, nIter);
            drawer.Draw(batch.Order(m));
        }
        batch.Evaluate(count, counts);
        iteration += count;
        if (omp_get_wtime() - start < secondsOfBatch / 2) size = std::min(2 * size, batch.capacity);
    }
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
