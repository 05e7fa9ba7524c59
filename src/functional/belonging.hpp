// SPDX-License-Identifier: GPL-3.0-or-later
// How OTUs resemble each other, trait by trait, how they belong to types, crisply or by degree,
// and the resemblance between communities described by anything in columns.
#pragma once

#include <cstddef>
#include <vector>

#include "shell/arrays.hpp"

/// Where the pair i <= j stands in the packed upper triangle, diagonal included, of n objects: row
/// i follows row i - 1.
inline std::size_t PairIndex(int n, int i, int j)
{
    const std::size_t row = static_cast<std::size_t>(i);
    const std::size_t before = row * static_cast<std::size_t>(n) - row * (row + 1) / 2;
    return before + static_cast<std::size_t>(j);
}

/// Gower similarities of OTU pairs, one layer a trait, from which those of any subset of traits
/// are averaged without going back to the data. Single precision: each cell is rounded to it
/// anyway, and 2,000 OTUs by 30 traits take 240 MB.
struct PartialSimilarity {
    PartialSimilarity(int traits, int OTUs);

    const int nTraits;
    const int nOTUs;
    const OwnedTable<float> layer;  ///< nTraits packed upper triangles (PairIndex); -999 where a
                                    ///< trait says nothing, otherwise similarity times its weight
};

/// Fills the layers, one trait at a time.
///
/// B        nOTUs x nTraits trait values, not changed
/// types    1 dichotomous, 2 nominal, 3 interval or ratio, 4 ordinal (by ranks)
/// ranges   of the traits; 0 for an interval trait: computed from B
/// weights  of the traits, multiplied into the cells; 0 leaves the layer without values
/// countDoubleAbsence  1: two zeros of a dichotomous trait agree; 0: they say nothing
/// Gower 1971, Biometrics 27:857-871.
void gower_similarityPartial(int nTraits, double** B, int nOTUs, PartialSimilarity& out, int* types,
                             double* ranges, double* weights, int countDoubleAbsence);

/// Gower similarity over the traits of weight above 0: sum of their cells (weighted already) over
/// the sum of the weights of those present.
///
/// S        nOTUs x nOTUs; only the upper triangle and the diagonal (1.0) are written. A pair that
///          none of these traits can compare: -999 if no trait at all has a value for it, else 0.
/// cost     pairs times traits in use
void gower_similarityAverage(int nTraits, int nOTUs, const PartialSimilarity& partial, double** S,
                             double* weights);
/// The same over the traits with selected[trait] equal to 1, each counting 1.0 in the divisor.
void gower_similarityAverage(int nTraits, int nOTUs, const PartialSimilarity& partial, double** S,
                             int* selected);

/// The column of each OTU's type: the place of its label among the labels in ascending order.
/// partition  n labels, any integers, or null: every OTU is its own type
std::vector<int> TypeColumns(int n, const int* partition);

/// Crisp belonging of OTUs to types: C[i][type of i] = 1, all else 0.
///
/// partition  n labels, any integers, or null: every OTU is its own type. Columns follow the
///            labels in ascending order.
/// C          n x nGroups
/// returns    1
int CrispBelonging(int n, int nGroups, int* partition, double** C);

/// Fuzzy belonging: the mean similarity of an OTU to the members of each type, itself among those
/// of its own; then each row has unit sum.
///
/// S        n x n similarities, or dissimilarities if isDissimilarity (1 minus the cell counts);
///          upper triangle and diagonal are read, the lower triangle is overwritten from the upper.
///          -999: the pair is left out
/// partition  as for CrispBelonging
/// U        n x nGroups; -999 in a cell that no similarity reached
/// Members of a type with a resemblance of 1 count once, so that a species entered twice weighs no
/// more than another. Parallel over OTUs; the bits do not depend on the number of threads.
/// returns  1
/// Tolvane et al. 2009.
int FuzzyBelonging(int n, int nGroups, double** S, int* partition, double** U,
                   bool isDissimilarity);

/// Fuzzy belonging to types that stay the same while similarities change, as in a search. Nothing
/// is allocated after construction.
class TypeBelonging
{
public:
    /// As for FuzzyBelonging, which is made of this.
    TypeBelonging(int n, int nGroups, const int* partition);

    /// S        n x n similarities, both triangles and the diagonal, none missing
    void Fill(double** S, double** U);

    // The steps of it: finds the identical OTUs, fills the rows of U of one block of OTUs after the
    // other (no two touch the same data), not yet scaled to unit sums.
    void Pool(double** S);
    int Blocks() const;
    void FillBlock(int block, double** S, double** U, bool isDissimilarity);

private:
    void AddKnownMember(int j, const double* S);
    void AddMember(int j, int first, int last, const double* S, bool isDissimilarity);

    const int n;
    const int nGroups;
    std::vector<int> column;                // type of each OTU
    std::vector<int> representative;        // of each OTU: itself, unless it is a duplicate
    std::vector<int> count;                 // members of each type, duplicates counted once
    std::vector<std::vector<int>> members;  // OTUs of each type, ascending
    std::vector<char> hasDuplicates;        // of each OTU that represents others
    OwnedTable<char> reached;               // nGroups x n: some similarity was there
    OwnedRows sums;                         // nGroups x n
};

/// Resemblance between n communities described by p columns.
///
/// rese_opt a CommunityResemblance: Euclidean distance, absolute value function (also by the names
///          of their relative forms) or chord distance; any other leaves D alone
/// D        n x n; upper triangle and zero diagonal are written; a missing cell leaves its column
///          out of the pair
void NominalReseNonHier(int n, int p, double** M, double** D, int rese_opt);

/// Mean of D over the pairs of objects of different groups, of those with mask 1. D n x n, upper
/// triangle. No guard: without such a pair 0 / 0.
double AverageDissim(int n, double** D, int* groups, int* mask);

/// Mean, over ordered pairs of groups and the members of the first, of the dissimilarity to the
/// nearest member of the second; objects with mask 1 only. D n x n, upper triangle. No guard: with
/// a single group 0 / 0.
double NearNeighDist(int n, double** D, int* groups, int* mask);
