// SPDX-License-Identifier: GPL-3.0-or-later
// Procrustes and RV coefficients of trait subsets, estimated from products of columns.
#pragma once

#include <vector>

#include "numeric/crossproducts.hpp"
#include "ranking/estimates.hpp"

/// What the estimates of all subsets share: the structure M that does not change (E, P or the
/// smoothed composition), and the products of all traits with it.
class SharedCoefficients : public SharedEstimates
{
public:
    /// `all` in the quick form; one of these two measures, and no niche criterion
    SharedCoefficients(const Criterion& criterion, const SharedMatrices& all);
    std::unique_ptr<SubsetEstimates> Of(SubsetMatrices& matrices, int nSearchers) const override;

    /// Whether there is anything to compare with, in numbers that the exact form takes for numbers
    /// throughout.
    bool AreUsable() const { return usable; }

private:
    friend class SubsetCoefficients;
    void CentreReference(const SharedMatrices& all);
    void CentreTraits(const SharedMatrices& all);

    const Criterion& criterion;
    const int n, t, g, p; // p columns of M
    bool usable;
    int rankX;                         // of X
    const OwnedRows M, T;              // p x n, t x n: centred columns
    const OwnedRows MM;                // p x p: M'M
    const OwnedRows MT;                // t x p: M'T
    const OwnedRows TT, TKT, TKKT;     // t x t, K = MM'
    std::vector<double> rawSumSquares; // t: of the traits before they were centred
    ReferenceProducts reference;       // of M alone
};

class SubsetCoefficients : public SubsetEstimates
{
public:
    SubsetCoefficients(const SharedCoefficients& all, SubsetMatrices& matrices);

    Estimate Value() override;

private:
    void TakeTraits();
    void TakeColumn(int place, double* const* rows, int column);
    void AddProducts(int place);

    const SharedCoefficients& all;
    SubsetMatrices& matrices;
    MovingProducts moving; // traits of the subset first, X from t on, then the entropy or distance
    ReferenceProducts reference;
    CongruenceEstimator estimator;
    const OwnedRows columns;  // g + 1 x n: X and the vector, centred
    const OwnedRows products; // g + 1 x p: M'X and M' of the vector
    std::vector<int> traits;  // of the subset, from 0
    std::vector<int> control;
    bool isBounded = true; // no cell can turn out as the code of a missing one
};
