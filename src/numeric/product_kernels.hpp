// SPDX-License-Identifier: GPL-3.0-or-later
// The inner loops of matrix products (numeric/matrix), compiled for every vector path.
#pragma once

/// How the three factors of a term are multiplied; the orders differ in the last bit.
enum TermOrder {
    weightTimesA, ///< (weight A) B
    weightTimesB, ///< (weight B) A
    weightLast,   ///< (A B) weight
    nTermOrders
};

namespace { // compiled anew for each path

template <TermOrder order>
inline double Term(double a, double b, double weight)
{
    if (order == weightTimesA) return weight * a * b;
    if (order == weightTimesB) return weight * b * a;
    return a * b * weight;
}

} // namespace

/// What one OTU present in a community contributes to a stretch of columns.
struct ProductFactor {
    double a;           // its cell of A
    double weight;      // of its k
    double weightedA;   // weight times a
    const double* b;    // its row of B, from the block's first column on; holes hold 0
    const double* hasB; // the same cells: 1 where B is present, 0 in a hole; only if B is holed
};

/// Sums of neighbouring cells side by side, each of which grows in order of the factors.
struct ProductKernels {
    /// Adds the terms of one factor after the other to each of `width` cells.
    using Whole = void (*)(int width, const ProductFactor* factors, int nFactors, double* terms);
    /// The same where B has holes, together with `weighted` and `present` of each column.
    using Holed = void (*)(int width, const ProductFactor* factors, int nFactors, double* terms,
                           double* weighted, double* present);
    // By the order of the factors, and by whether the product of weight and A may be taken once
    // for all columns: if the weight comes before A anyway, or if all weights are 0 or 1 (a mask's
    // factor of 1 leaves every bit as it is, one of 0 gives a zero in any order).
    Whole addWhole[nTermOrders][2];
    Holed addHoled[nTermOrders][2];
};

/// Those of the active path.
const ProductKernels& ActiveProductKernels();
