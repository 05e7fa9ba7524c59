// SPDX-License-Identifier: GPL-3.0-or-later
#include "permutation/estimatedmodels.hpp"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

#include "numeric/modelestimates.hpp"
#include "numeric/resemblance.hpp"
#include "permutation/inputs.hpp"

namespace {

std::size_t Size(int n)
{
    return static_cast<std::size_t>(n);
}

/// A column as deviations from its mean, in storage of its own.
class Centring
{
public:
    explicit Centring(int nObjects) : n(nObjects), cells(Size(n)) {}
    CentredColumn Of(const double* column);

private:
    const int n;
    std::vector<double> cells;
};

CentredColumn Centring::Of(const double* column)
{
    double sum = 0.0;
    CentredColumn centred;
    for (int k = 0; k < n; k++) {
        sum += column[k];
        centred.rawSumSquares += column[k] * column[k];
        // Larger cells may become the missing value: nothing is known of the column then.
        if (!(std::fabs(column[k]) < 400.0)) centred.rawSumSquares = HUGE_VAL;
    }
    const double mean = sum / n;
    for (int k = 0; k < n; k++) {
        cells[Size(k)] = column[k] - mean;
        centred.sumSquares += cells[Size(k)] * cells[Size(k)];
    }
    centred.cell = cells.data();
    return centred;
}

// --- Regression

class RegressionEstimation : public Estimation
{
public:
    explicit RegressionEstimation(const PermutationInputs& inputs)
        : in(inputs), model(in.n, in.e, in.record.E)
    {
    }
    std::unique_ptr<StatisticEstimator> NewEstimator() const override;
    const PermutationInputs& in; // borrowed
    const RegressionEstimator model;
};

class RegressionOfArrangement : public StatisticEstimator
{
public:
    explicit RegressionOfArrangement(const RegressionEstimation& prepared)
        : test(prepared), in(prepared.in), centring(in.n), work(Size(in.e))
    {
    }
    void Evaluate(const ArrangementColumns& columns, const int*, Estimate* out) override
    {
        for (int j = 0; j < in.t; j++)
            if (in.record.selectedTraits[j] == 1)
                Explain(j, columns.Traits() + Size(j) * columns.stride, out);
            else
                LeaveAsObserved(j, out);
        Explain(in.t, columns.R, out);
        if (in.withPhylogeny) Explain(in.t + 1, columns.Rp, out);
    }

private:
    void Explain(int response, const double* column, Estimate* out)
    {
        test.model.Estimate(centring.Of(column), work.data(), out + in.model.RSquare(response),
                            out + in.model.Coefficient(0, response), in.model.nResponses);
    }
    /// A trait that is not in use is 0 everywhere, and its model the same in every arrangement.
    void LeaveAsObserved(int response, Estimate* out)
    {
        const auto settle = [this, out](int c) {
            out[c] = {*in.comparisons[Size(c)].observed, 0.0};
        };
        settle(in.model.RSquare(response));
        for (int j = 0; j < in.e; j++) settle(in.model.Coefficient(j, response));
    }
    const RegressionEstimation& test; // borrowed
    const PermutationInputs& in;
    Centring centring;
    std::vector<double> work; // e
};

std::unique_ptr<StatisticEstimator> RegressionEstimation::NewEstimator() const
{
    return std::make_unique<RegressionOfArrangement>(*this);
}

// --- Analysis of variance

class AnovaEstimation : public Estimation
{
public:
    explicit AnovaEstimation(const PermutationInputs& inputs) : in(inputs)
    {
        for (const OwnedInts& states : in.factors)
            factors.emplace_back(in.n, states, in.record.relSelect);
        for (const FactorGroups& factor : factors) nGroups = std::max(nGroups, factor.size.size());
    }
    std::unique_ptr<StatisticEstimator> NewEstimator() const override;

    const PermutationInputs& in; // borrowed
    std::vector<FactorGroups> factors;
    std::size_t nGroups = 1; // of the factor with most
};

class AnovaOfArrangement : public StatisticEstimator
{
public:
    explicit AnovaOfArrangement(const AnovaEstimation& prepared)
        : test(prepared), in(prepared.in), centring(in.n), work(test.nGroups),
          sums(test.factors.size()), ofTraits(test.factors.size()), length(Size(in.n)),
          scaled(Size(in.n))
    {
    }
    void Evaluate(const ArrangementColumns& columns, const int* list, Estimate* out) override;

private:
    void Clear(std::vector<GroupSums>& all) { std::fill(all.begin(), all.end(), GroupSums{}); }
    void Add(const double* column, std::vector<GroupSums>& all);
    void CompareTraits(const ArrangementColumns& columns, Estimate* out);
    void Compare(ModelSizes::Response response, const double* columns, std::size_t stride,
                 int count, bool asChords, Estimate* out);

    const AnovaEstimation& test; // borrowed
    const PermutationInputs& in;
    Centring centring;
    std::vector<double> work;              // groups
    std::vector<GroupSums> sums, ofTraits; // by factor
    std::vector<double> length, scaled;    // n: lengths of rows, a column over them
};

void AnovaOfArrangement::Evaluate(const ArrangementColumns& columns, const int*, Estimate* out)
{
    const bool asChords = in.resemblanceOption == chordMeasure;
    CompareTraits(columns, out);
    Compare(ModelSizes::X, columns.Types(), columns.stride, in.g, asChords, out);
    Compare(ModelSizes::Rf, columns.R, columns.stride, 1, false, out);
    if (!in.withPhylogeny) return;
    Compare(ModelSizes::P, columns.Taxa(), columns.stride, in.f, asChords, out);
    Compare(ModelSizes::Rp, columns.Rp, columns.stride, 1, false, out);
}

void AnovaOfArrangement::Add(const double* column, std::vector<GroupSums>& all)
{
    const CentredColumn centred = centring.Of(column);
    for (std::size_t factor = 0; factor < test.factors.size(); factor++)
        AddColumn(test.factors[factor], centred, work.data(), all[factor]);
}

/// Each trait by itself, and all of them together.
void AnovaOfArrangement::CompareTraits(const ArrangementColumns& columns, Estimate* out)
{
    Clear(ofTraits);
    for (int j = 0; j < in.t; j++) {
        if (in.record.selectedTraits[j] != 1) continue;
        Clear(sums);
        Add(columns.Traits() + Size(j) * columns.stride, sums);
        for (int factor = 0; factor < in.e; factor++) {
            const GroupSums& one = sums[Size(factor)];
            out[in.model.TraitF(factor, j)] = PseudoFEstimate(test.factors[Size(factor)], one);
            ofTraits[Size(factor)] += one;
        }
    }
    for (int factor = 0; factor < in.e; factor++)
        out[in.model.F(ModelSizes::T, factor)] =
            PseudoFEstimate(test.factors[Size(factor)], ofTraits[Size(factor)]);
}

void AnovaOfArrangement::Compare(ModelSizes::Response response, const double* columns,
                                 std::size_t stride, int count, bool asChords, Estimate* out)
{
    Clear(sums);
    if (asChords) MeasureRows(in.n, count, columns, stride, length.data());
    for (int j = 0; j < count; j++) {
        const double* column = columns + Size(j) * stride;
        if (asChords) {
            for (std::size_t k = 0; k < scaled.size(); k++) scaled[k] = column[k] / length[k];
            column = scaled.data();
        }
        Add(column, sums);
    }
    for (int factor = 0; factor < in.e; factor++)
        out[in.model.F(response, factor)] =
            PseudoFEstimate(test.factors[Size(factor)], sums[Size(factor)]);
}

std::unique_ptr<StatisticEstimator> AnovaEstimation::NewEstimator() const
{
    return std::make_unique<AnovaOfArrangement>(*this);
}

} // namespace

std::unique_ptr<Estimation> EstimateRegression(const PermutationInputs& in)
{
    if (!HasWholeVariables(in)) return nullptr;
    auto estimation = std::make_unique<RegressionEstimation>(in);
    if (!estimation->model.IsUsable()) return nullptr;
    return estimation;
}

std::unique_ptr<Estimation> EstimateAnova(const PermutationInputs& in)
{
    if (in.resemblanceOption != euclideanMeasure && in.resemblanceOption != chordMeasure)
        return nullptr;
    return std::make_unique<AnovaEstimation>(in);
}
