// SPDX-License-Identifier: GPL-3.0-or-later
// What no arrangement of a permutation test changes, worked out once and read by all threads.
#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "numeric/diversity.hpp"
#include "permutation/statistics.hpp"
#include "shell/arrays.hpp"

struct PermutationInputs {
    /// Mirrors Sb and Sf of the record, which must stay where it is.
    explicit PermutationInputs(PermTest_FunctionalPhyl_Correl_Input& record);

    const PermTest_FunctionalPhyl_Correl_Input& record; // borrowed
    const int n, s, t, g, f, e;
    const bool withPhylogeny;
    const bool usesResemblances; // Mantel or analysis of variance
    const bool moveTaxa;         // taxa shuffle; otherwise sites
    const int orderLength;       // s or n: OTUs or communities, from 1; 0 is no OTU
    const int resemblanceOption; // of X and P, by the numbers of ResemblanceLib
    const ModelSizes model;
    const std::vector<Comparison> comparisons; // how each value of an arrangement is counted
    RaoDissimilarity onTraits;                 // d of every OTU pair
    std::optional<RaoDissimilarity> onPhylogeny;
    OwnedVector noOtu;                    // a row of zeros for draws beyond the pool
    std::optional<OwnedRows> normalizedB; // s x t, Procrustes and RV with phylogeny
    std::vector<OwnedInts> factors;       // e x n, states; analysis of variance
};

// What the data are like: quick forms leave the special case to the general one.

/// Every OTU moves and weighs the same, and every draw finds one: no OTU is excluded or keeps
/// another scale, and a weighted draw's pool is no shorter than the list of OTUs.
bool HasOrdinaryOtus(const PermutationInputs& in);
/// Every cell of B is present and finite; every present one is finite.
bool HasWholeTraits(const PermutationInputs& in);
bool HasFiniteTraits(const PermutationInputs& in);
/// Composition, belonging and the dissimilarities between OTUs are finite and present, W, U and Q
/// not below 0, and no product of W with B, U or Q can overflow or equal the missing value,
/// whatever the order of rows; missing cells of B count as numbers.
bool HasOrdinaryComposition(const PermutationInputs& in);
/// The upper triangles of DE, DY and DZ are present and finite.
bool HasWholeResemblances(const PermutationInputs& in);
/// Every cell of E is present and finite, and none becomes the missing value when it is centred.
bool HasWholeVariables(const PermutationInputs& in);
