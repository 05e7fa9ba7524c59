// SPDX-License-Identifier: GPL-3.0-or-later
// The matrices of an arrangement under taxa shuffle: T, X and P as columns, and the entropies, with
// the bits of the general form. Terms that are exactly zero are left out, and all that a
// permutation leaves alone is worked out before. Every quick form begins with them.
#pragma once

#include <cstddef>
#include <vector>

#include "permutation/inputs.hpp"

/// Room from column to column of n communities: kernels may read a block beyond the last one.
std::size_t ColumnStride(int n);

/// Four communities of similar richness, served together: their OTUs and shares side by side, the
/// poorer ones filled up with shares of 0.
struct RichnessGroup {
    int richness = 0;          // OTUs of the richest
    int community[4] = {};     // -1: an empty place
    std::vector<int> otu;      // [richness][4]
    std::vector<double> share; // [richness][4]
};

/// What is prepared once per test.
struct QuickArrangement {
    /// Whether all OTUs are in use and no cell of W, U or Q is missing, and none of them or of B
    /// infinite, NaN or so large that a product with W might be.
    static bool Covers(const PermutationInputs& in)
    {
        return HasOrdinaryOtus(in) && HasFiniteTraits(in) && HasOrdinaryComposition(in);
    }
    explicit QuickArrangement(const PermutationInputs& in);

    const PermutationInputs& in; // borrowed
    const int n, s, t, g, f;
    const int nColumns;      // t + g + f
    const bool hasHoles;     // cells of B are missing
    const std::size_t width; // columns of a row of traits, a multiple of columnBlock
    Lanes otus;              // s x width: B, U and Q side by side; with holes t columns more,
                             // 1 where the trait is known, and 0 for holes in B
    // Non-zero cells of W, community by community.
    std::vector<int> firstPresent, present;
    std::vector<double> performance;
    std::vector<double> total; // n: of the rows of W
    std::vector<RichnessGroup> groups;

private:
    void LayOutOtus();
    void ListPresent();
    void GroupByRichness();
    RichnessGroup GroupOf(const int* communities, std::size_t count) const;
    int Richness(int community) const;
};

/// One thread's storage.
struct ArrangementColumns {
    explicit ArrangementColumns(const QuickArrangement& arrangement);
    const int t, g;
    const std::size_t stride; // from column to column
    Lanes row;                // width: a community's T, X and P side by side
    Lanes sumSquares;         // t: of the columns of T
    Lanes columns;            // nColumns x stride: the same of all communities
    Lanes R, Rp;              // n
    std::vector<int> otu;     // scratch: the OTUs of a group of communities after the shuffle

    double* Traits() const { return columns; }
    double* Types() const { return columns + static_cast<std::size_t>(t) * stride; }
    double* Taxa() const { return columns + static_cast<std::size_t>(t + g) * stride; }
};

/// T, X and P: products of W with the rows of B, U and Q in the order of the list; T's columns
/// brought to unit length.
void QuickProducts(const QuickArrangement& arrangement, ArrangementColumns& w, const int* list);

/// Rao entropies, on traits and on phylogeny.
void QuickEntropies(const QuickArrangement& arrangement, ArrangementColumns& w, const int* list);

/// The same to the last bits but a few, in half the time: for estimates.
void EstimateEntropies(const QuickArrangement& arrangement, ArrangementColumns& w, const int* list);

/// Site shuffle: all of them as observed, with community list[k] in the place of community k.
void TakeObserved(const QuickArrangement& arrangement, ArrangementColumns& w, const int* list);

/// Lengths of the rows of p columns, for chord distances; 1 for an empty row.
void MeasureRows(int n, int p, const double* columns, std::size_t stride, double* length);
