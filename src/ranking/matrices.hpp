// SPDX-License-Identifier: GPL-3.0-or-later
// The matrices of the subset at hand, made when first asked for. A search on several threads has
// one of these for each.
#pragma once

#include <memory>
#include <vector>

#include "numeric/congruence.hpp"
#include "ranking/shared.hpp"

/// Structures that criteria compare. wideX: X with as many columns as there are OTUs.
enum class Part { E, T, X, wideX, Rao, Dark, Z, P };

/// Columns of n rows.
struct Columns {
    int number;
    double** rows;
};

/// Sizes and letters as in SharedMatrices. In the quick form nothing is allocated after
/// construction.
class SubsetMatrices
{
public:
    /// One of nSearchers, which share the memory for partial sums.
    explicit SubsetMatrices(SharedMatrices& all, int nSearchers = 1);
    SubsetMatrices(const SubsetMatrices&) = delete;
    SubsetMatrices& operator=(const SubsetMatrices&) = delete;

    SharedMatrices& all;
    const OwnedInts select; // t: 1 for the traits of the subset
    CongruenceRoom room;    // work space of coefficients

    /// Goes to the next subset: k numbers from 1, ascending.
    void Select(const int* traits, int k);

    const int* Traits() const { return traits.data(); } // from 0
    int Size() const { return k; }

    // Of the subset; each is made at the first call after Select.
    double** RawT(); // n x t community averages; 0 in columns of other traits
    double** T();    // the same, columns scaled to unit length
    /// Squared distances by T, a triangle; in the quick form, and valid until the next Select.
    const double* SquaresOfT();
    Structure& DT();
    double** S(); // s x s similarity between OTUs
    double** Q(); // s x g belonging to types
    double** X(); // n x s; columns from g on are 0
    Structure& DX();
    Structure& LastDX(); // as it was left, 0 if no subset ever had it made
    double** Rao();      // n x 1 entropy of each community
    Structure& DR();
    double** Dark(); // n x 1 distance of W and X in each community
    Structure& DS();

    Columns Of(Part part);
    int WidthOf(Part part) const;
    Structure& Resemblance(Part part);

private:
    bool IsQuick() const { return all.form == Form::quick; }
    void AverageQuickly();
    void ComposeQuickly();
    void CompareQuickly();
    double EntropyQuickly(int community);

    void TransposeInto(int p, double* const* rows);

    const OwnedRows rawT, subsetT, similarity, Xrows, rao, dark;
    const std::size_t width;    // g, rounded up to blocks of columns
    const OwnedVector Qcells;   // s x width, cells behind the types 0
    std::vector<double*> Qrows; // of Qcells
    const OwnedVector composed; // width: a row of X
    const OwnedVector columns;  // g x n and kernelBlock to spare, work space
    const OwnedRows unitRows;   // n x g, rows of unit length
    Structure dt, dx, dr, ds;
    std::vector<int> traits; // of the subset, from 0
    int k = 0;               // traits in the subset
    std::unique_ptr<PrefixSums<float>> similaritySums, countSums;
    std::unique_ptr<PrefixSums<double>> squareSums;
    std::unique_ptr<TypeBelonging> belonging;

    struct Made {
        bool RawT, T, DT, S, Q, X, DX, Rao, DR, Dark, DS;
    };
    Made made = {};
};
