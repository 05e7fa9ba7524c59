// SPDX-License-Identifier: GPL-3.0-or-later
#include "permutation/estimating.hpp"

#include <algorithm>
#include <cstddef>
#include <utility>

#include "numeric/congruence.hpp"
#include "permutation/estimatedcoefficients.hpp"
#include "permutation/estimatedmantel.hpp"
#include "permutation/estimatedmodels.hpp"

namespace {

std::unique_ptr<Estimation> EstimationOf(const PermutationInputs& in,
                                         const ObservedResemblances& observed)
{
    switch (in.record.measure) {
    case mantel: return EstimateMantel(in, observed);
    case procrustes:
    case rvCoefficient: return EstimateCoefficients(in);
    case linearRegression: return EstimateRegression(in);
    case varianceAnalysis: return EstimateAnova(in);
    default: return nullptr;
    }
}

/// Statistics that are worked out one by one, each by itself.
bool HasCoefficients(const PermutationInputs& in)
{
    return in.record.measure == procrustes || in.record.measure == rvCoefficient;
}

void CopyBlock(int n, int count, const double* columns, std::size_t stride, double** out)
{
    for (int j = 0; j < count; j++)
        for (int k = 0; k < n; k++)
            out[k][j] = columns[static_cast<std::size_t>(j) * stride + static_cast<std::size_t>(k)];
}

} // namespace

std::unique_ptr<EstimatingForm> EstimatingForm::Make(const PermutationInputs& in,
                                                     const ObservedResemblances& observed)
{
    if (in.n < 3 || in.s < 2 || !QuickArrangement::Covers(in)) return nullptr;
    std::unique_ptr<Estimation> estimation = EstimationOf(in, observed);
    if (!estimation) return nullptr;
    return std::make_unique<EstimatingForm>(in, std::move(estimation));
}

EstimatingForm::EstimatingForm(const PermutationInputs& inputs,
                               std::unique_ptr<Estimation> prepared)
    : in(inputs), arrangement(inputs), estimation(std::move(prepared))
{
}

std::unique_ptr<Evaluator> EstimatingForm::NewEvaluator() const
{
    return std::make_unique<EstimatingEvaluator>(*this);
}

DoubtRoom& EstimatingForm::RoomOfNext() const
{
    constexpr int fewObjects = 1000;
    if (rooms.empty() || std::max(in.n, in.s) <= fewObjects)
        rooms.push_back(std::make_unique<DoubtRoom>(in));
    return *rooms.back();
}

EstimatingEvaluator::EstimatingEvaluator(const EstimatingForm& prepared)
    : form(prepared), in(prepared.in), columns(prepared.arrangement),
      estimator(prepared.estimation->NewEstimator()), estimates(in.comparisons.size()),
      room(prepared.RoomOfNext()), exact(room.w)
{
}

void EstimatingEvaluator::Evaluate(const int* orders, int count, double* counts)
{
    for (int m = 0; m < count; m++) {
        const int* order = orders + static_cast<std::ptrdiff_t>(m) * in.orderLength;
        Arrange(order);
        estimator->Evaluate(columns, order, estimates.data());
        Count(order, counts);
    }
}

void EstimatingEvaluator::Arrange(const int* order)
{
    nEvaluated++;
    if (in.moveTaxa) {
        QuickProducts(form.arrangement, columns, order);
        EstimateEntropies(form.arrangement, columns, order);
    } else {
        TakeObserved(form.arrangement, columns, order);
    }
}

Decision EstimatingEvaluator::Decided(std::size_t c, const Estimate& estimate) const
{
    const Comparison& comparison = in.comparisons[c];
    return Decide(estimate, *comparison.observed, comparison.absolute);
}

void EstimatingEvaluator::Count(const int* order, double* counts)
{
    bool someInDoubt = false;
    for (std::size_t c = 0; c < in.comparisons.size(); c++) {
        if (!in.comparisons[c].isCounted) continue;
        const Decision decision = Decided(c, estimates[c]);
        if (decision == Decision::reached) counts[c] += 1.0;
        if (decision == Decision::inDoubt) someInDoubt = true;
    }
    if (someInDoubt) CountDoubtful(order, counts);
}

/// Those that the estimates leave open, by their exact values.
void EstimatingEvaluator::CountDoubtful(const int* order, double* counts)
{
    const std::lock_guard<std::mutex> turn(room.turn);
    CopyColumns(order);
    if (!HasCoefficients(in)) EvaluateStatistics(in, exact);
    for (std::size_t c = 0; c < in.comparisons.size(); c++)
        if (in.comparisons[c].isCounted && Decided(c, estimates[c]) == Decision::inDoubt &&
            Decided(c, {Exactly(c), 0.0}) == Decision::reached)
            counts[c] += 1.0;
}

/// The arrangement as the general form holds it, cell for cell the same.
void EstimatingEvaluator::CopyColumns(const int* order)
{
    if (in.moveTaxa) QuickEntropies(form.arrangement, columns, order);
    const double* from = columns.columns;
    CopyBlock(in.n, in.t, from, columns.stride, exact.T);
    from += static_cast<std::size_t>(in.t) * columns.stride;
    CopyBlock(in.n, in.g, from, columns.stride, exact.X);
    from += static_cast<std::size_t>(in.g) * columns.stride;
    CopyBlock(in.n, in.f, from, columns.stride, exact.P);
    CopyBlock(in.n, 1, columns.R, columns.stride, exact.R);
    if (in.withPhylogeny) CopyBlock(in.n, 1, columns.Rp, columns.stride, exact.Rp);
    if (in.moveTaxa && in.withPhylogeny) ReorderPhylogeny(order, in, exact);
    nInDoubt++;
}

double EstimatingEvaluator::Exactly(std::size_t comparison)
{
    if (HasCoefficients(in)) return ExactCoefficient(static_cast<Statistic>(comparison), in, exact);
    return exact.statistics.value[comparison];
}
