// SPDX-License-Identifier: GPL-3.0-or-later
// The cells above the diagonal of n objects, row by row, packed in one vector ("triangle"), and
// what a matrix correlation asks of them: deviations from the mean, sums of squares, the quotient.
//
// No cell is missing here; MatrixCorr (numeric/congruence) is the form that skips pairs. All sums
// run over the cells in ascending order, as they do there, and so have the same bits.
#pragma once

/// Cells above the diagonal of n objects.
inline long TriangleSize(int n)
{
    return static_cast<long>(n) * (n - 1L) / 2;
}

/// The upper triangle of `rows` (n x n).
void PackTriangle(int n, const double* const* rows, double* cells);

/// The triangle of `rows` (n x n, both triangles) with its objects in the order of a list, which
/// counts from 1.
void PackReordered(int n, const double* const* rows, const int* list, double* cells);

/// Mean of the cells; NaN if there are none.
double TriangleMean(long nCells, const double* cells);

/// Replaces the cells by their deviations from the mean; returns the sum of squared deviations.
double CenterTriangle(long nCells, double* cells);

/// Correlation from the sum of products of deviations and the two sums of squares; 0 if one of
/// these is 0, which a constant triangle gives.
double CorrelationOfSums(double products, double squaresA, double squaresB);
