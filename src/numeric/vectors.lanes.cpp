// SPDX-License-Identifier: GPL-3.0-or-later
// Plain loops: the compiler makes vectors of the path's width of them.
#include "numeric/vectors.hpp"

namespace
{

void Add(long n, const double* a, const double* b, double* out)
{
#pragma omp simd
    for (long i = 0; i < n; i++) out[i] = a[i] + b[i];
}

void AddSingles(long n, const double* a, const float* b, double* out)
{
#pragma omp simd
    for (long i = 0; i < n; i++) out[i] = a[i] + static_cast<double>(b[i]);
}

void Divide(long n, const double* a, double divisor, double* out)
{
#pragma omp simd
    for (long i = 0; i < n; i++) out[i] = a[i] / divisor;
}

void Quotients(long n, const double* a, const double* b, double* out)
{
#pragma omp simd
    for (long i = 0; i < n; i++) out[i] = b[i] > 0.0 ? a[i] / b[i] : 0.0;
}

void AddQuotients(long n, const double* a, double divisor, double* sums)
{
#pragma omp simd
    for (long i = 0; i < n; i++) sums[i] += a[i] / divisor;
}

void Roots(long n, const double* a, double* out)
{
#pragma omp simd
    for (long i = 0; i < n; i++) out[i] = a[i] > 0.0 ? __builtin_sqrt(a[i]) : 0.0;
}

}  // namespace

namespace KELPRA_PATH
{
extern const VectorKernels vectorKernels;
const VectorKernels vectorKernels = {Add, AddSingles, Divide, Quotients, AddQuotients, Roots};
}  // namespace KELPRA_PATH
