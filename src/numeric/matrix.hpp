// SPDX-License-Identifier: GPL-3.0-or-later
// Matrix algebra: products that leave out missing cells, transposes and copies, and two solvers.
//
// Matrices are row pointers from 0, but for gaussj, which counts from 1. The caller allocates
// every output. In the products A is rowsA x colsA, B rowsB x colsB, out rowsA x colsB; a term
// with a missing cell of A or B is left out; terms are added over k ascending; out is another
// matrix than A and B. They return 0, or 1 with nothing written when colsA differs from rowsB.
#pragma once

// ---- Products ---------------------------------------------------------------------------------

/// out[i][j] = sum over k of A[i][k] B[k][j].
int MatrixProd(int rowsA, int colsA, int rowsB, int colsB, double** A, double** B, double** out);

/// The same; a sum of exactly 0 with at least one term left out gives -999.
int MatrixProdMV(int rowsA, int colsA, int rowsB, int colsB, double** A, double** B, double** out);

/// Terms (weight[k] A[i][k]) B[k][j]; a sum of 0 with a term left out gives -999.
///
/// weight  colsA integers
int MatrixProdMV_Weight(int rowsA, int colsA, int rowsB, int colsB, double** A, double** B,
                        double** out, const int* weight);

/// Terms (A[i][k] B[k][j]) weight[k]. With `adjust` the sum is divided by U/V, where U is the sum
/// of weight[k] A[i][k] and V that of A[i][k] over the terms used: the result is back on the scale
/// of the OTUs of weight 1. No guard: 0/0 gives NaN. Then 0 with a term left out gives -999.
int MatrixProdMV_Weight(int rowsA, int colsA, int rowsB, int colsB, double** A, double** B,
                        double** out, const int* weight, bool adjust);

/// Weighted means of the traits of select[j] 1, rescaled for the share of the row lost to missing
/// cells: S / (P/Tall), with S the sum of terms (weight[k] B[k][j]) A[i][k], P the sum of A[i][k]
/// over the terms used, and Tall that over all k. Columns of other traits are 0. No guard.
///
/// select  colsB integers
/// weight  colsA integers
/// Deliberate: a missing A[i][k] enters Tall as the number -999.
int MatrixProdSelectMV_Adjust_Weight(int rowsA, int colsA, int rowsB, int colsB, double** A,
                                     double** B, double** out, const int* select,
                                     const int* weight);

/// The same with terms (B[k][j] A[i][k]) weight[k] and guards: S is divided by P/Tall if P > 0, or
/// with `adjustByWeight` by U/Tall if U > 0, where U is the sum of weight[k] A[i][k] over the terms
/// used. So an OTU of weight 0 leaves its share out of the mean, or with `adjustByWeight` the mean
/// is that of the OTUs of weight 1.
int MatrixProdSelectMV_Adjust_Weight(int rowsA, int colsA, int rowsB, int colsB, double** A,
                                     double** B, double** out, const int* select,
                                     const int* weight, bool adjustByWeight);

/// out = A + sign B, cell by cell; -999 is a number here. Returns 1, with nothing written, when
/// the shapes differ.
int MatrixSum(int rowsA, int colsA, int rowsB, int colsB, double** A, double** B, double** out,
              int sign);

/// out = scalar in; a missing cell stays -999. Safe in place.
void ScalarMatrixProd(int rows, int cols, double scalar, double** in, double** out);

// ---- Shape and copies; -999 is a number here ---------------------------------------------------

/// out[j][i] = in[i][j]; out is cols x rows and another matrix.
void TransposeMatrix(int rows, int cols, double** in, double** out);

/// Transpose of an n x n matrix in place: in and out are meant to be the same. With two matrices
/// out receives in's lower triangle above the diagonal, and what it held there below it.
void TransposeSqMatrix(int n, double** in, double** out);

void CopyMatrix(int rows, int cols, double** in, double** out);

/// Copies the cells above the diagonal of M, n x n, to below it.
void UpperToLowerMatrix(int n, double** M);

/// From 0-based `in` to 1-based `out`: out[i + 1][j + 1] = in[i][j]. Row 0 and column 0 of out
/// exist and are not touched.
void Convertn_n1(int rows, int cols, double** in, double** out);

/// From 1-based `in` to 0-based `out`.
void Convertn1_n(int rows, int cols, double** in, double** out);

// ---- Solvers ----------------------------------------------------------------------------------

/// Gauss-Jordan elimination with full pivoting: solves a x = b for m right-hand sides.
///
/// a  1..n x 1..n, becomes its inverse
/// b  1..n x 1..m, becomes the solutions
/// A singular a is told on standard error, and the computation goes on to infinities or NaN.
/// Golub and Van Loan 1996, Matrix Computations, 3rd ed., section 3.4.
void gaussj(double** a, int n, double** b, int m);
/// The same in work space of the caller's: n + 1 cells each.
void gaussj(double** a, int n, double** b, int m, int* used, int* pivotRows, int* pivotCols);

/// Cholesky factorisation a = L L' of a symmetric matrix.
///
/// a  n x n; only the diagonal and above are read, L is left below the diagonal
/// p  n cells, receives the diagonal of L
/// returns 1; 0 after a message on standard output when a is not positive definite, with the
/// factors found so far left in place
int choldc(double** a, int n, double* p);
