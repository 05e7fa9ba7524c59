// SPDX-License-Identifier: GPL-3.0-or-later
// Estimates of all statistics of an arrangement under matrix correlation.
#pragma once

#include <memory>
#include <vector>

#include "numeric/mantelestimate.hpp"
#include "permutation/estimating.hpp"

/// Cells above the diagonal of a resemblance matrix, with room for kernels to write and read a
/// block beyond the last one, which stays open.
struct PackedTriangle {
    explicit PackedTriangle(int nObjects);
    const long nCells;
    Lanes cell;
};

/// What the estimates of matrix correlations need of a test.
class MantelEstimation : public Estimation
{
public:
    MantelEstimation(const PermutationInputs& in, const ObservedResemblances& observed);
    std::unique_ptr<StatisticEstimator> NewEstimator() const override;

    const PermutationInputs& in; // borrowed
    FixedTriangle E, Y, Z;
    FixedTriangle Sb;              // of OTUs; with phylogeny
    OwnedRows DT, DX, DP, DR, DRp; // n x n, observed; site shuffle
};

/// Distances and statistics of one arrangement after another.
class MantelEstimator : public StatisticEstimator
{
public:
    explicit MantelEstimator(const MantelEstimation& prepared);
    void Evaluate(const ArrangementColumns& columns, const int* list, Estimate* out) override;

    // The steps, public for the benchmark.
    void TakeDistances(const ArrangementColumns& columns);
    void TakeDifferences(const ArrangementColumns& columns);
    void Correlate(Estimate* out);
    Estimate Signal(const int* list) const;

    PackedTriangle DT, DX, DP, DR, DRp;

private:
    void LookUp(const int* list);
    void Compare(const double* composition, int p, std::size_t stride, PackedTriangle& out);
    void CorrelateTraits(Estimate* out);
    void CorrelatePhylogeny(const Spread& T, const Spread& X, Estimate* out);
    void TakeOut(Estimate* out) const;

    const MantelEstimation& test; // borrowed
    const PermutationInputs& in;
    std::vector<double> scaled, length; // chord distances: columns over the lengths of their rows
    Estimate XT, XR, TR;
};

/// Null unless there are 3 communities or more, X and P are compared by a distance that the quick
/// form knows (Euclidean, chord, absolute differences), and DE, DY and DZ hold finite numbers only.
std::unique_ptr<Estimation> EstimateMantel(const PermutationInputs& in,
                                           const ObservedResemblances& observed);
