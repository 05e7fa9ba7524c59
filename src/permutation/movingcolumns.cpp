// SPDX-License-Identifier: GPL-3.0-or-later
#include "permutation/movingcolumns.hpp"

#include <algorithm>
#include <cmath>

#include "numeric/statistics.hpp"
#include "permutation/estimatekernels.hpp"

namespace {

std::size_t Size(int n)
{
    return static_cast<std::size_t>(n);
}

int RoundUp(int n, int block)
{
    return (n + block - 1) / block * block;
}

/// With columns of zeros at the end.
int PaddedColumns(int p)
{
    return RoundUp(p, estimateColumns);
}

std::size_t PaddedRows(int n)
{
    return Size(RoundUp(n, estimateBlock));
}

/// The exact form's mean may differ in its last bits.
bool IsNearMissing(double x)
{
    return std::fabs(x - missingValue) < 1e-3;
}

/// Cells beyond this may meet the missing value when they are centred: the general form's matter.
constexpr double largestCell = 400.0;

} // namespace

// --- Matrices that no arrangement changes

FixedReference::FixedReference(int rows, int columns, double** M)
    : n(rows), p(columns), isNarrow(3 * p < n), stride(PaddedRows(n)),
      cells(Size(isNarrow ? PaddedColumns(p) : n) * stride), products(isNarrow ? p : 0, p)
{
    OwnedRows centred(p, n); // variables in rows
    Centre(M, centred);
    if (!isUsable) return;
    for (int j = 0; j < p; j++)
        for (int i = 0; i < n; i++) trace += centred[j][i] * centred[j][i];
    if (isNarrow)
        KeepColumns(centred);
    else
        KeepProducts(centred);
}

void FixedReference::Centre(double** M, OwnedRows& centred)
{
    for (int j = 0; j < p; j++) {
        double sum = 0.0;
        for (int i = 0; i < n; i++) {
            if (!std::isfinite(M[i][j]) || IsMissing(M[i][j])) isUsable = false;
            sum += M[i][j];
            rawTrace += M[i][j] * M[i][j];
        }
        for (int i = 0; i < n; i++) {
            centred[j][i] = M[i][j] - sum / n;
            if (IsNearMissing(centred[j][i])) isUsable = false;
        }
    }
}

void FixedReference::KeepColumns(const OwnedRows& centred)
{
    for (int j = 0; j < p; j++) {
        std::copy(centred[j], centred[j] + n, cells + Size(j) * stride);
        for (int k = 0; k < p; k++) {
            double sum = 0.0;
            for (int i = 0; i < n; i++) sum += centred[j][i] * centred[k][i];
            products(j, k) = sum;
            squaredNorm += sum * sum;
        }
    }
}

void FixedReference::KeepProducts(const OwnedRows& centred)
{
    for (int j = 0; j < p; j++)
        for (int i = 0; i < n; i++) {
            double* row = cells + Size(i) * stride;
            for (int k = 0; k < n; k++) row[k] += centred[j][i] * centred[j][k];
        }
    for (int i = 0; i < n; i++)
        for (int k = 0; k < n; k++)
            squaredNorm += cells[Size(i) * stride + Size(k)] * cells[Size(i) * stride + Size(k)];
}

// --- Columns that an arrangement moves

MovingColumns::MovingColumns(int rows, int columns)
    : n(rows), m(PaddedColumns(columns)), stride(PaddedRows(n)), cells(Size(m) * stride),
      timesK(Size(m) * stride), products(m), scratch(m, m)
{
}

bool MovingColumns::Take(int c, const double* column)
{
    double sum = 0.0, squares = 0.0, largest = 0.0;
    for (int k = 0; k < n; k++) {
        sum += column[k];
        squares += column[k] * column[k];
        largest = std::max(largest, std::fabs(column[k]));
    }
    const double mean = sum / n;
    double* to = cells + Size(c) * stride;
    for (int k = 0; k < n; k++) to[k] = column[k] - mean;
    products.rawSumSquares[Size(c)] = squares;
    return largest < largestCell;
}

void MovingColumns::MultiplyThemselves()
{
    ActiveEstimateKernels().crossProducts(stride, m, cells, m, cells, products.ZZ.Data());
}

void MovingColumns::Refer(const FixedReference& fixed, bool isRV, ReferenceProducts& out)
{
    out.rank = std::min(fixed.p, n - 1);
    out.trace = fixed.trace;
    out.rawTrace = fixed.rawTrace;
    out.squaredNorm = fixed.squaredNorm;
    if (fixed.isNarrow) {
        ReferNarrow(fixed, isRV, out);
        return;
    }
    const EstimateKernels& kernels = ActiveEstimateKernels();
    kernels.symmetricTimes(n, stride, fixed.cells, m, cells, timesK);
    kernels.crossProducts(stride, m, cells, m, timesK, out.ZKZ.Data());
    if (isRV) kernels.crossProducts(stride, m, timesK, m, timesK, out.ZKKZ.Data());
}

/// With F = M'Z, ZKZ is F'F and ZKKZ is F'(M'M)F.
void MovingColumns::ReferNarrow(const FixedReference& fixed, bool isRV, ReferenceProducts& out)
{
    double* F = timesK;
    ActiveEstimateKernels().crossProducts(stride, PaddedColumns(fixed.p), fixed.cells, m, cells, F);
    for (int a = 0; a < m; a++)
        for (int b = 0; b <= a; b++) {
            double sum = 0.0;
            for (int j = 0; j < fixed.p; j++) sum += F[j * m + a] * F[j * m + b];
            out.ZKZ(a, b) = out.ZKZ(b, a) = sum;
        }
    if (!isRV) return;
    for (int j = 0; j < fixed.p; j++)
        for (int a = 0; a < m; a++) {
            double sum = 0.0;
            for (int k = 0; k < fixed.p; k++) sum += fixed.products(j, k) * F[k * m + a];
            scratch(j, a) = sum;
        }
    for (int a = 0; a < m; a++)
        for (int b = 0; b <= a; b++) {
            double sum = 0.0;
            for (int j = 0; j < fixed.p; j++) sum += F[j * m + a] * scratch(j, b);
            out.ZKKZ(a, b) = out.ZKKZ(b, a) = sum;
        }
}
