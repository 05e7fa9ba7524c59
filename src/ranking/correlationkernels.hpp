// SPDX-License-Identifier: GPL-3.0-or-later
// Sums for estimated correlations (numeric/mantelestimate), compiled for every vector path. They
// run in any order, so the paths differ in their last bits: nothing of it is printed or stored.
#pragma once

#include <cstddef>

/// Of the cells of a triangle: sum, sum of squares, sum of products with a fixed triangle.
struct CellSums {
    double cells, squares, withFixed;
};

struct CorrelationKernels {
    void (*cellSums)(long nCells, const double* fixed, const double* a, CellSums* ofA);
    /// The same of two triangles at once; returns the sum of their products.
    double (*pairSums)(long nCells, const double* fixed, const double* a, const double* b,
                       CellSums* ofA, CellSums* ofB);
    /// Rows of `width` cells, each divided by its cell number `total`.
    void (*unitRows)(int nRows, std::size_t width, int total, const double* rows, double* out);
};

/// Those of the active path.
const CorrelationKernels& ActiveCorrelations();
