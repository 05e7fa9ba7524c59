// SPDX-License-Identifier: GPL-3.0-or-later
// The kernels of a subset search: sums over traits that a search extends by one trait at a time,
// and resemblances between communities kept ready for correlation.
//
// A triangle is the cells above the diagonal of n objects, row by row, packed in one vector. All
// sums run in the order of the plain routines (functional/belonging, numeric/congruence) and give
// the same bits; only independent sums are computed side by side.
#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

#include "numeric/triangle.hpp"
#include "numeric/vectors.hpp"
#include "permutation/kernels.hpp"
#include "shell/arrays.hpp"

/// Sums of layers over growing lists of traits. Lists come in lexicographic order, so the next list
/// mostly differs in its last trait and costs one addition a cell.
template <typename Cell>
class PrefixSums
{
public:
    /// nCells  of a layer
    /// nLevels list lengths kept, at least 2; longer lists share the last level
    PrefixSums(long nCells, int nLevels)
        : cells(nCells), last(nLevels - 1), levels(nLevels, nCells),
          previous(static_cast<std::size_t>(nLevels), -1)
    {
    }

    /// The sum of layers[traits[0]] to layers[traits[k - 1]], k > 0, added in this order; valid
    /// until the next call.
    const double* Sum(const Cell* const* layers, const int* traits, int k)
    {
        int depth = 0; // levels that the list before left right
        while (depth < std::min(k, last) && previous[Index(depth)] == traits[depth]) depth++;
        for (int d = depth; d < k; d++) {
            double* const to = levels[std::min(d, last)];
            if (d == 0)
                Start(to, layers[traits[d]]);
            else
                Add(to, levels[std::min(d - 1, last)], layers[traits[d]]);
            if (d < last) previous[Index(d)] = traits[d];
        }
        // Deeper levels were built on what has just been replaced.
        if (depth < k)
            for (int d = k; d < last; d++) previous[Index(d)] = -1;
        return levels[std::min(k - 1, last)];
    }

private:
    static std::size_t Index(int d) { return static_cast<std::size_t>(d); }

    void Start(double* to, const Cell* layer) const
    {
        for (long c = 0; c < cells; c++) to[c] = 0.0 + static_cast<double>(layer[c]);
    }
    void Add(double* to, const double* from, const float* layer) const
    {
        ActiveVectors().addSingles(cells, from, layer, to);
    }
    void Add(double* to, const double* from, const double* layer) const
    {
        ActiveVectors().add(cells, from, layer, to);
    }

    const long cells;
    const int last;
    const OwnedRows levels;
    std::vector<int> previous; // the trait that each level but the last ends with
};

/// A resemblance between n communities, kept ready for correlation.
class Structure
{
public:
    explicit Structure(int n);

    const int n;
    /// n x n, upper triangle and diagonal; only TakeRows reads them.
    const OwnedRows rows;

    /// The rows were written and hold no missing cell: packs them.
    void TakeRows();
    /// Roots of these sums of squares, a triangle; a sum not above 0 gives 0.
    void TakeSquares(const double* sums);
    /// Euclidean distances of the communities by p columns of finite cells, which lie `stride`
    /// apart with kernelBlock cells to spare behind the last; sums of absolute differences.
    void TakeDistances(int p, const double* columns, std::size_t stride);
    void TakeDifferences(int p, const double* columns, std::size_t stride);

    /// The triangle as it was last taken, until a correlation or a resemblance is asked for.
    const double* Cells() const { return cells; }

    /// Leaves a packed structure as deviations from its mean, as any correlation does: what several
    /// threads correlate with has to be centred before.
    void Centre();

    /// Mantel's matrix correlation (MatrixCorr) of two structures; from their rows unless both are
    /// packed.
    friend double MantelCorr(Structure& a, Structure& b);
    /// The three correlations of two structures that were just made with each other and with a
    /// third one, by the rule of Congruence, in a single pass.
    friend void CongruenceOfThree(Structure& third, Structure& x, Structure& y, double* withX,
                                  double* withY, double* ofXY);

private:
    enum class Form { rows, packed, centred };

    double CorrelateWithCentred(const Structure& other);

    const long nCells;
    Form form = Form::rows;
    OwnedVector cells; // the triangle, with kernelBlock cells to spare: distances, once centred
                       // less their mean
    double sumSquares = 0.0; // of the centred cells
};

double MantelCorr(Structure& a, Structure& b);
/// The same with the rule for fewer than 3 communities (CommunityCorr); these are never packed.
double Congruence(Structure& a, Structure& b);
void CongruenceOfThree(Structure& third, Structure& x, Structure& y, double* withX, double* withY,
                       double* ofXY);

/// Similarities of n OTUs averaged over k traits.
///
/// sums     packed upper triangle with the diagonal: similarities summed over the traits
/// S        n x n, both triangles and the diagonal (1.0) are written
void AverageSimilarity(int n, const double* sums, int k, double** S);
/// The same where traits leave pairs out: `counts` says how many compare a pair; none gives 0.
void AverageSimilarity(int n, const double* sums, const double* counts, double** S);
