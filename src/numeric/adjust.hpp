// SPDX-License-Identifier: GPL-3.0-or-later
// Data adjustments: centring, unit norm, unit sum, unit range, standardisation, deviations from
// expectation. Each turns a rows x cols matrix into one of the same shape.
//
// All are safe in place. Sums run over the present cells (m of them) in ascending order, and a
// missing cell of the input is -999 in the output, unless the contract says otherwise.
// Mind the order of the matrices: most take in, out; CorrAdj, UnitSumRowsAdjMV and RangeColsAdjMV
// take the output first.
#pragma once

/// x minus the mean of the column's (of the row's) present cells.
void CenterColsMV(int rows, int cols, double** in, double** out);
void CenterRowsMV(int rows, int cols, double** in, double** out);

/// The same from single precision; each difference is rounded to single precision.
void CenterColsMV(int rows, int cols, float** in, double** out);

/// (x - mean) / sqrt(m - 1) per row: the cross-product of two rows is then their covariance.
/// No guard: m = 1 gives NaN.
void CenterRowsCovMV(int rows, int cols, double** in, double** out);

/// x / sqrt(sum of squares) per row or column. A sum of squares not above 0 leaves it as it is.
void NormalizeRowsMV(int rows, int cols, double** in, double** out);
void NormalizeColsMV(int rows, int cols, double** in, double** out);

/// The same over all cells of a column: -999 is a number here.
void NormalizeCols(int rows, int cols, double** in, double** out);

/// (x - mean) / sd with sd = sqrt(sum of squares / cols) per row, or / rows per column. A sum of
/// squares not above 0 leaves the row or column centred.
///
/// Deliberate: the divisor is the full number of cells even when some are missing.
void ZStandardizationRowsMV(int rows, int cols, double** in, double** out);
void ZStandardizationColsMV(int rows, int cols, double** in, double** out);

/// (x - mean[row]) / sd[row] with the caller's values; no guard for sd = 0.
///
/// missing  the output cell is not written
void ZStandardizationRowsMV(int rows, int cols, const double* mean, const double* sd, double** in,
                            double** out);

/// (x - mean) / sqrt(sum of squared deviations) per column, rounded to single precision: the
/// cross-product of two columns is then their correlation. A constant column becomes 0.
///
/// missing  the output cell is not written
void CorrAdj(int rows, int cols, double** out, double** in);

/// x / row total. A total of 0 leaves the row as it is; a negative one is used as it is.
void UnitSumRowsAdjMV(int rows, int cols, double** out, double** in);

/// (x - min) / (max - min) per column; a constant column becomes 0.
void RangeColsAdjMV(int rows, int cols, double** out, double** in);

/// (x N - R C) / (sqrt(R C) N) with row total R, column total C and grand total N. Cells of a row
/// or column whose total is not above 0 stay as they are.
///
/// Deliberate: with the expectation E = R C / N this is (x - E) / sqrt(R C), not (x - E) / sqrt(E).
void DeviationsExpectationsMV(int rows, int cols, double** in, double** out);

/// M / sqrt(T) in place, with T the sum over rows of (sum of squares of the row / (cols - 1)), or
/// over columns of (sum of squares of the column / (rows - 1)): one divisor for the whole matrix,
/// which must be centred. Missing cells stay. No guard: T = 0 or a single column (row) divides
/// by 0.
void GowerStandardizationRows(int rows, int cols, double** M);
void GowerStandardizationCols(int rows, int cols, double** M);

/// x / largest cell of the matrix. When no cell is above 0 the output is not written at all;
/// -999 is a number here.
void MatrixUnitMaxTransf(int rows, int cols, double** in, double** out);
