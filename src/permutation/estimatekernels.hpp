// Products of columns for estimates (see numeric/estimate), compiled for every vector path. Sums
// run in any order, so the paths differ in their last bits: nothing of it is printed or stored.
#pragma once

#include <cstddef>

/// Columns and rows start `stride` apart, a multiple of this, with zeros behind their ends.
constexpr int estimateBlock = 16;
/// Columns come in multiples of this, with columns of zeros at the end.
constexpr int estimateColumns = 4;

struct EstimateKernels {
    /// out[c] = K times column c of Z; K is n x n and symmetric, `columns` columns.
    void (*symmetricTimes)(int n, std::size_t stride, const double* K, int columns, const double* Z,
                           double* out);
    /// out[i * b + j] = column i of A times column j of B, a and b columns.
    void (*crossProducts)(std::size_t stride, int a, const double* A, int b, const double* B,
                          double* out);
};

/// Those of the active path (numeric/vectorpath).
const EstimateKernels& ActiveEstimateKernels();
