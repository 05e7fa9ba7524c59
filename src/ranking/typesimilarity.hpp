// SPDX-License-Identifier: GPL-3.0-or-later
// The composition by types of a trait subset, estimated without comparing any two OTUs: the mean
// similarity of an OTU to the members of a type is the sum of what the traits add to it.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "ranking/matrices.hpp"

/// What all subsets share.
class TypeSimilarity
{
public:
    /// Null where the sums do not hold: crisp types, traits that do not compare all OTUs,
    /// similarities that are not 0 to 1, chord distances, more traits than a mask has bits, or
    /// layers that take too much memory.
    static std::unique_ptr<TypeSimilarity> Of(const SharedMatrices& all);

    /// True if two OTUs of a type may be identical by these traits, k numbers from 0: then they
    /// count as one, which no sum over traits tells.
    bool MayPool(const int* traits, int k) const;

    const std::size_t width; // g similarities, their sum, zeros up to whole blocks of columns
    const long nCells;       // s x width
    double cellError = 0.0;  // of a distance of X, at most; see the source

private:
    friend class TypeComposition;
    explicit TypeSimilarity(const SharedMatrices& all);
    bool FillLayers();
    void FillRow(int trait, int i);
    void NotePools();
    void BoundError();

    const SharedMatrices& all;        // borrowed
    const OwnedRows layers;           // t x nCells
    std::vector<int> types;           // of the OTUs, columns from 0
    std::vector<int> members;         // of each type
    std::vector<std::uint64_t> alike; // traits by which two OTUs of a type are nearly identical
};

/// X of one subset after another, in columns; a search on several threads has one of these for
/// each. Nothing is allocated after construction.
class TypeComposition
{
public:
    TypeComposition(const TypeSimilarity& shared, int nSearchers);

    /// g columns of n communities, `Stride` apart with kernelBlock cells to spare behind the last;
    /// valid until the next call.
    const double* Columns(const int* traits, int k);
    std::size_t Stride() const { return static_cast<std::size_t>(shared.all.n); }

private:
    const TypeSimilarity& shared; // borrowed
    PrefixSums<double> sums;
    const Lanes belonging; // s x width
    const Lanes row;       // width
    const Lanes columns;   // g x n
};
