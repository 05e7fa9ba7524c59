// SPDX-License-Identifier: GPL-3.0-or-later
// Sums and quotients of long vectors, compiled for every vector path (numeric/vectorpath). Every
// output is computed alone, by the operations named here, so the bits do not depend on the path.
#pragma once

/// n cells each; `out` may be one of the others.
struct VectorKernels {
    /// out = a + b
    void (*add)(long n, const double* a, const double* b, double* out);
    void (*addSingles)(long n, const double* a, const float* b, double* out);
    /// out = a / divisor
    void (*divide)(long n, const double* a, double divisor, double* out);
    /// out = a / b, 0 where b is not above 0
    void (*quotients)(long n, const double* a, const double* b, double* out);
    /// sums += a / divisor
    void (*addQuotients)(long n, const double* a, double divisor, double* sums);
    /// out = root of a, 0 where a is not above 0
    void (*roots)(long n, const double* a, double* out);
};

/// Those of the active path.
const VectorKernels& ActiveVectors();
