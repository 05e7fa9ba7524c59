// SPDX-License-Identifier: GPL-3.0-or-later
// Diversity of communities: Rao's quadratic entropy, of which the Gini-Simpson index is a case,
// and the dissimilarity of communities to their nearest neighbours.
#pragma once

#include <vector>

#include "shell/arrays.hpp"

/// An OTU that takes part in the sums of one community.
struct RaoMember {
    int otu;
    double share; // p = x / total; of a missing x its code over the total
    bool present; // x is not missing
    int weight;   // of the selection
};

/// Work space of the entropies; with room for all OTUs they allocate nothing.
struct RaoRoom {
    void Reserve(int s);
    std::vector<RaoMember> members;
    std::vector<int> rows; // of the members, in the dissimilarities
};

/// Rao's quadratic entropy of one community: the expected dissimilarity of two individuals.
///
/// s, x     s OTUs with their performances, on any scale; -999 missing
/// M        s x s resemblance, -999 missing; read from the upper triangle, which is copied into
///          the lower one (so no two threads on one M)
/// isDissimilarity  d is the cell itself; otherwise 1 minus the cell
/// sqrtDissim       d is its square root; a similarity that rounding left above 1 counts as 1
/// weights  s, 1 selected, 0 not: a pair counts if either OTU is selected, with restrictWithin by
///          the product of both weights
/// keepScale  false: divided by the share of pairs known; true: by the share of pairs counted, so
///          that the subset of OTUs is on the scale of a whole community
/// returns  0 if the total of the present cells is not above 0
/// cost     s*s for the copy. For many communities on one matrix take the prepared form.
/// Rao 1982, Theoretical Population Biology 21:24-43; Botta-Dukat 2005, Journal of Vegetation
/// Science 16:533-540.
double RaoIndex_Weight(int s, double* x, double** M, bool isDissimilarity, bool sqrtDissim,
                       int* weights, bool restrictWithin, bool keepScale);
double RaoIndex_Weight(int s, double* x, double** M, bool isDissimilarity, bool sqrtDissim,
                       int* weights, bool restrictWithin, bool keepScale, RaoRoom& room);
/// The plain form: no division.
double RaoIndex_Weight(int s, double* x, double** M, bool isDissimilarity, bool sqrtDissim,
                       int* weights, bool restrictWithin);

// What the entropies above are made of, for those that sum up pairs by themselves.

/// d of a pair, from a cell of M that is not missing.
double Dissimilarity(double resemblance, bool isDissimilarity, bool sqrtDissim);
/// 1 if a pair of OTUs of these weights counts, otherwise 0; with restrictWithin their product.
int PairWeight(int a, int b, bool restrictWithin);

/// The dissimilarity d of every pair of OTUs, with its square root, computed once for all the
/// communities and permutations that need it. A copy: M is read (upper triangle) and not kept.
struct RaoDissimilarity {
    RaoDissimilarity(int s, double** M, bool isDissimilarity, bool sqrtDissim);

    const int nOTUs;
    OwnedRows d;           ///< nOTUs x nOTUs, symmetric; -999 where M has no value
    bool hasMissing;       ///< some pair has no value
    bool hasNonFinite;     ///< some d is infinite or NaN: absent OTUs must then be visited too
};

/// RaoIndex_Weight, scaled form, on prepared dissimilarities: the same bits, in a time that grows
/// with the square of the OTUs present in the community. Reads d only, so threads may share it.
///
/// order    null, or a permutation of 1..nOTUs: OTU i then has the dissimilarities of OTU
///          order[i] - 1, as in a taxon shuffle
double RaoIndex_Weight(const RaoDissimilarity& prepared, const double* x, const int* weights,
                       bool restrictWithin, bool keepScale, const int* order = nullptr);
double RaoIndex_Weight(const RaoDissimilarity& prepared, const double* x, const int* weights,
                       bool restrictWithin, bool keepScale, const int* order, RaoRoom& room);

/// For each community the mean DX to its nearest neighbours in DE, all those tied for nearest.
///
/// DE, DX   n x n, read from the upper triangle, which is copied into the lower one
/// out      n; NaN for n = 1
/// returns  true
bool BetaDivergence(int n, double** DE, double** DX, double* out);
