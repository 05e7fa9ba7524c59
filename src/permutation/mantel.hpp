// The quick form of an arrangement under matrix correlation, an exact one: the same sums in the
// same order, and so the same bits, as the general form, without the terms that are exactly zero
// and with all that a permutation leaves alone worked out before.
#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "permutation/arrangement.hpp"
#include "permutation/form.hpp"

/// A resemblance matrix between n objects as the deviations of its n(n-1)/2 upper cells from their
/// mean, row by row, with their sum of squares: all that a matrix correlation asks of it.
struct Deviations {
    explicit Deviations(std::size_t nPairs);
    Lanes cell;
    double sumSquares = 0.0;
};

/// What the quick form prepares once per test.
struct QuickMantel : Form {
    /// Null unless the measure is Mantel's, there are 3 communities or more, all OTUs are in use,
    /// the resemblance between communities is one the quick form knows, and no cell is missing,
    /// infinite, NaN or so large that a product with W might be. Under site shuffle the observed
    /// resemblances are copied.
    static std::unique_ptr<QuickMantel> Make(const PermutationInputs& in,
                                             const ObservedResemblances& observed);

    QuickMantel(const PermutationInputs& in, const ObservedResemblances& observed);
    std::unique_ptr<Evaluator> NewEvaluator() const override;

    const PermutationInputs& in;  // borrowed
    const QuickArrangement arrangement;
    const int n, s;
    const std::size_t nPairs;
    Deviations DE, DY, DZ;
    std::size_t nOtuPairs;
    Deviations Sb;  // of OTU pairs; with phylogeny
    OwnedRows observedDT, observedDX, observedDP, observedDR, observedDRp;  // n x n; site shuffle
};

/// One thread's storage for the quick form.
struct QuickMantelWorkspace : Evaluator {
    explicit QuickMantelWorkspace(const QuickMantel& quick);
    void Evaluate(const int* orders, int count, double* counts) override;

    const QuickMantel& quick;  // borrowed
    ArrangementColumns columns;
    Lanes length;  // n, scratch
    Deviations DT, DX, DP, DR, DRp;
    Deviations Sf;  // permuted phylogenetic resemblance of OTU pairs
    ArrangementStatistics statistics;
};

// The steps of an arrangement under taxa shuffle after QuickProducts and QuickEntropies, in order;
// public for the benchmark.

/// Distances of T, X and P.
void QuickDistances(const QuickMantel& quick, QuickMantelWorkspace& w);
/// Differences of the entropies between communities.
void QuickDifferences(const QuickMantel& quick, QuickMantelWorkspace& w);
/// All correlations between resemblances of communities, and the partials.
void QuickCorrelations(const QuickMantel& quick, QuickMantelWorkspace& w,
                       ArrangementStatistics& result);
/// Correlation of OTU pairs on traits with those on phylogeny.
double QuickSignal(const QuickMantel& quick, QuickMantelWorkspace& w, const int* list);

/// A whole arrangement under site shuffle: the observed resemblances in another order.
void QuickSiteShuffle(const QuickMantel& quick, QuickMantelWorkspace& w, const int* list,
                      ArrangementStatistics& result);

/// A whole arrangement under taxa shuffle.
void QuickTaxaShuffle(const QuickMantel& quick, QuickMantelWorkspace& w, const int* list,
                      ArrangementStatistics& result);
