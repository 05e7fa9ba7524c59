// The quick form of an arrangement under matrix correlation, an exact one: the same sums in the same order, and
// so the same bits, as the general form, without the terms that are exactly zero and with all that
// a permutation leaves alone worked out before.
#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "permutation/form.hpp"
#include "permutation/inputs.hpp"

/// Aligned storage for doubles, zero-filled.
class Lanes
{
public:
    explicit Lanes(std::size_t n) : values(1, static_cast<long>(n)) {}
    operator double*() const { return values[0]; }

private:
    OwnedRows values; // one row of a table: rows start on a 64-byte boundary
};

/// A resemblance matrix between n objects as the deviations of its n(n-1)/2 upper cells from their
/// mean, row by row, with their sum of squares: all that a matrix correlation asks of it.
struct Deviations {
    explicit Deviations(std::size_t nPairs);
    Lanes cell;
    double sumSquares = 0.0;
};

/// Four communities of similar richness, served together: their OTUs and shares side by side, the
/// poorer ones filled up with shares of 0.
struct RichnessGroup {
    int richness = 0;            // OTUs of the richest
    int community[4] = {};       // -1: an empty place
    std::vector<int> otu;        // [richness][4]
    std::vector<double> share;   // [richness][4]
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

    const int n, s, t, g, f;
    const int nColumns;      // t + g + f
    const std::size_t width; // columns of a row of traits, a multiple of columnBlock
    const std::size_t nPairs;
    Lanes otus;              // s x width: B, U and Q side by side
    // Non-zero cells of W, community by community.
    std::vector<int> firstPresent, present;
    std::vector<double> performance;
    Deviations DE, DY, DZ;
    std::vector<RichnessGroup> groups;
    std::size_t nOtuPairs;
    Deviations Sb;                      // of OTU pairs; with phylogeny
    OwnedRows observedDT, observedDX, observedDP, observedDR, observedDRp; // n x n; site shuffle
    const PermutationInputs& in;        // borrowed
};

/// One thread's storage for the quick form.
struct QuickMantelWorkspace : Evaluator {
    explicit QuickMantelWorkspace(const QuickMantel& quick);
    void Evaluate(const int* orders, int count, double* counts) override;

    const QuickMantel& quick; // borrowed
    const std::size_t stride; // from column to column
    Lanes row;                // width: a community's T, X and P side by side
    Lanes columns;            // nColumns x stride: the same of all communities
    Lanes length;             // n, scratch
    Deviations DT, DX, DP, DR, DRp;
    Lanes R, Rp;   // n
    Deviations Sf; // permuted phylogenetic resemblance of OTU pairs
    std::vector<int> otu; // scratch: the OTUs of a group of communities after the shuffle
    ArrangementStatistics statistics;
};

// The steps of an arrangement under taxa shuffle, in order; public for the benchmark.

/// T, X and P: products of W with the rows of B, U and Q in the order of the list; T's columns
/// brought to unit length.
void QuickProducts(const QuickMantel& quick, QuickMantelWorkspace& w, const int* list);
/// Distances of T, X and P.
void QuickDistances(const QuickMantel& quick, QuickMantelWorkspace& w);
/// Rao entropies and their differences between communities.
void QuickEntropies(const QuickMantel& quick, QuickMantelWorkspace& w, const int* list);
/// All correlations between resemblances of communities, and the partials.
void QuickCorrelations(const QuickMantel& quick, QuickMantelWorkspace& w, ArrangementStatistics& result);
/// Correlation of OTU pairs on traits with those on phylogeny.
double QuickSignal(const QuickMantel& quick, QuickMantelWorkspace& w, const int* list);

/// A whole arrangement under site shuffle: the observed resemblances in another order.
void QuickSiteShuffle(const QuickMantel& quick, QuickMantelWorkspace& w, const int* list,
                     ArrangementStatistics& result);

/// A whole arrangement under taxa shuffle.
void QuickTaxaShuffle(const QuickMantel& quick, QuickMantelWorkspace& w, const int* list,
                     ArrangementStatistics& result);
