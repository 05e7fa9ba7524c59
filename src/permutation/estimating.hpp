// SPDX-License-Identifier: GPL-3.0-or-later
// The quick form of every measure: an estimating one. T, X and P of an arrangement are exact; its
// statistics are estimated with a bound, and those that come too near the observed value are worked
// out as the general form does, on the same matrices.
#pragma once

#include <cstddef>
#include <memory>
#include <mutex>
#include <vector>

#include "numeric/estimate.hpp"
#include "permutation/arrangement.hpp"
#include "permutation/form.hpp"
#include "permutation/general.hpp"

/// Estimates the compared statistics of one arrangement after another; one per thread.
class StatisticEstimator
{
public:
    virtual ~StatisticEstimator() = default;
    /// columns    the arrangement's matrices
    /// list       OTUs in their places under taxa shuffle, communities under site shuffle
    /// out        by comparison (PermutationInputs::comparisons); what is not counted stays open
    virtual void Evaluate(const ArrangementColumns& columns, const int* list, Estimate* out) = 0;
};

/// What the estimates of a measure need of a test, worked out once.
class Estimation
{
public:
    virtual ~Estimation() = default;
    virtual std::unique_ptr<StatisticEstimator> NewEstimator() const = 0;
};

/// Where arrangements in doubt are worked out, one at a time.
struct DoubtRoom {
    explicit DoubtRoom(const PermutationInputs& in) : w(in, false) {}
    std::mutex turn;
    GeneralWorkspace w;
};

class EstimatingForm : public Form
{
public:
    /// Null where the algebra does not cover the measure, the options or the data.
    static std::unique_ptr<EstimatingForm> Make(const PermutationInputs& in,
                                                const ObservedResemblances& observed);
    EstimatingForm(const PermutationInputs& in, std::unique_ptr<Estimation> estimation);
    std::unique_ptr<Evaluator> NewEvaluator() const override;
    /// Doubts are few: where matrices are large, all evaluators take turns in one room.
    DoubtRoom& RoomOfNext() const;

    const PermutationInputs& in; // borrowed
    const QuickArrangement arrangement;
    const std::unique_ptr<Estimation> estimation;

private:
    mutable std::vector<std::unique_ptr<DoubtRoom>> rooms;
};

class EstimatingEvaluator : public Evaluator
{
public:
    explicit EstimatingEvaluator(const EstimatingForm& form);
    void Evaluate(const int* orders, int count, double* counts) override;

    /// Arrangements evaluated so far, and how many of them had a statistic in doubt.
    long Evaluated() const { return nEvaluated; }
    long InDoubt() const { return nInDoubt; }

private:
    void Arrange(const int* order);
    Decision Decided(std::size_t comparison, const Estimate& estimate) const;
    void Count(const int* order, double* counts);
    void CountDoubtful(const int* order, double* counts);
    void CopyColumns(const int* order);
    double Exactly(std::size_t comparison);

    const EstimatingForm& form; // borrowed
    const PermutationInputs& in;
    ArrangementColumns columns;
    const std::unique_ptr<StatisticEstimator> estimator;
    std::vector<Estimate> estimates;
    DoubtRoom& room; // borrowed: perhaps others' as well
    GeneralWorkspace& exact;
    long nEvaluated = 0, nInDoubt = 0;
};
