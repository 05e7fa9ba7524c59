// SPDX-License-Identifier: GPL-3.0-or-later
// Procrustes and RV coefficients of trait subsets, estimated with a bound on the error. A subset
// whose value cannot enter the record needs no last bit; one that may is worked out by
// numeric/congruence.
#pragma once

#include <vector>

#include "numeric/crossproducts.hpp"
#include "ranking/criteria.hpp"

/// What the estimates of all subsets share: the structure M that does not change (E, P or the
/// smoothed composition), and the products of all traits with it.
class SharedEstimates
{
public:
    SharedEstimates(const Criterion& criterion, const SharedMatrices& all);

    /// Whether there are estimates at all: for these two measures, in the quick form, with numbers
    /// that the exact form takes for numbers throughout.
    bool AreUsable() const { return usable; }

private:
    friend class SubsetEstimates;
    bool IsWanted(const SharedMatrices& all) const;
    void CentreReference(const SharedMatrices& all);
    void CentreTraits(const SharedMatrices& all);

    const Criterion& criterion;
    const int n, t, g, p;  // p columns of M
    bool usable;
    int rankX;                          // of X
    const OwnedRows M, T;               // p x n, t x n: centred columns
    const OwnedRows MM;                 // p x p: M'M
    const OwnedRows MT;                 // t x p: M'T
    const OwnedRows TT, TKT, TKKT;      // t x t, K = MM'
    std::vector<double> rawSumSquares;  // t: of the traits before they were centred
    ReferenceProducts reference;        // of M alone
};

/// Estimates of one subset after another; a search on several threads has one of these for each.
/// Nothing is allocated after construction.
class SubsetEstimates
{
public:
    SubsetEstimates(const SharedEstimates& all, SubsetMatrices& matrices);

    /// The value of the subset at hand.
    Estimate Value();

private:
    void TakeTraits();
    void TakeColumn(int place, double* const* rows, int column);
    void AddProducts(int place);

    const SharedEstimates& all;
    SubsetMatrices& matrices;
    MovingProducts moving;  // traits of the subset first, X from t on, then the entropy or distance
    ReferenceProducts reference;
    CongruenceEstimator estimator;
    const OwnedRows columns;   // g + 1 x n: X and the vector, centred
    const OwnedRows products;  // g + 1 x p: M'X and M' of the vector
    std::vector<int> traits;   // of the subset, from 0
    std::vector<int> control;
    bool isBounded = true;  // no cell can turn out as the code of a missing one
};
