// SPDX-License-Identifier: GPL-3.0-or-later
// Products of columns for estimates (see numeric/estimate), compiled for every vector path. Sums
// run in any order, so the paths differ in their last bits: nothing of it is printed or stored.
#pragma once

#include <cstddef>

/// Columns and rows start `stride` apart, a multiple of this, with zeros behind their ends.
constexpr int estimateBlock = 16;
/// Columns come in multiples of this, with columns of zeros at the end.
constexpr int estimateColumns = 4;

/// Triangles of n(n-1)/2 cells: E, Y and Z as deviations from their means, the others as they are.
struct TraitTriangles {
    const double *E, *Y, *Z, *T, *X, *R;
};
struct PhylogenyTriangles {
    const double *E, *T, *X, *P, *F;
};
/// Sums of cells and of products of cells.
struct TraitMoments {
    double T, TT, TE, TY, TZ, X, XX, XE, XY, XZ, R, RR, RE, XT, XR, TR;
};
struct PhylogenyMoments {
    double P, PP, PE, PT, PX, F, FF, FE;
};

struct EstimateKernels {
    /// out[c] = K times column c of Z; K is n x n and symmetric, `columns` columns.
    void (*symmetricTimes)(int n, std::size_t stride, const double* K, int columns, const double* Z,
                           double* out);
    /// out[i * b + j] = column i of A times column j of B, a and b columns.
    void (*crossProducts)(std::size_t stride, int a, const double* A, int b, const double* B,
                          double* out);

    void (*traitMoments)(std::size_t nCells, const TraitTriangles& cells, TraitMoments& sums);
    void (*phylogenyMoments)(std::size_t nCells, const PhylogenyTriangles& cells,
                             PhylogenyMoments& sums);
};

/// Those of the active path (numeric/vectorpath).
const EstimateKernels& ActiveEstimateKernels();
