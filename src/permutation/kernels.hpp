// SPDX-License-Identifier: GPL-3.0-or-later
// The inner loops of the quick permutation test, compiled for every vector path. All do the same
// operations in the same order for every output, side by side over outputs and never along a sum,
// so their bytes are equal.
#pragma once

#include <cstddef>

/// Cells that a kernel may read behind a column, and write behind a triangle.
constexpr int kernelBlock = 16;
/// Columns of a row of traits are taken this many at a time.
constexpr int columnBlock = 8;

struct PermutationKernels {
    /// out[0..width) = sum over m, ascending, of weight[m] * rows[row[m] - 1][0..width), where row
    /// m is list[present[m]]; rows lie `width` apart; width is a multiple of columnBlock.
    void (*weightedRows)(const double* rows, std::size_t width, int nPresent, const int* present,
                         const double* weight, const int* list, double* out);

    /// Distances between n objects over p variables, which stand as columns `stride` apart:
    /// squared differences summed over variables ascending; root of the sum. Packed
    /// upper triangle without diagonal, row by row. Columns must be readable, and the triangle
    /// writable, kernelBlock cells beyond their ends; the cells are finite.
    void (*euclidean)(int n, int p, const double* columns, std::size_t stride, double* packed);
    /// The same with absolute differences and no root.
    void (*cityBlock)(int n, int p, const double* columns, std::size_t stride, double* packed);
};

/// Those of the active path (numeric/vectorpath).
const PermutationKernels& ActiveKernels();
