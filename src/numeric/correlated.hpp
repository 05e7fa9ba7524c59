// SPDX-License-Identifier: GPL-3.0-or-later
// Random data whose columns, and if wanted rows, have a prescribed correlation.
//
// Deviates are drawn one a cell, row by row, from the one random stream: the same seed and
// arguments give the same matrix. A correlation matrix that is not positive definite ends the
// process with status 1 after the message of choldc.
#pragma once

/// Distributions of the independent deviates. Any other number draws as `normalDeviates`.
enum DeviateKind {
    uniformDeviates = 1,          ///< uniform in -0.5 to 0.5
    normalDeviates = 2,           ///< mean 0, variance 1
    lognormalDeviates = 5,        ///< of a normal of mean 0, variance 1
    exponentialDeviates = 7,      ///< mean 1
    cubedExponentialDeviates = 8, ///< third power of the former: a few very large values
};

/// n rows of p variables whose correlation matrix is R in expectation: independent deviates times
/// the Cholesky factor of R.
///
/// R    p x p, symmetric, positive definite; the diagonal and above are read
/// out  n x p
void CorrToData_New(int n, int p, double** R, double** out, int kind);

/// The same with a correlation between the rows too: first p rows of n variables correlated by
/// Rrows, then their transpose times the factor of Rcols.
///
/// Rcols    p x p, Rrows n x n, each as R above
/// out      n x p
/// returns  1
int CorrToData_BothRowsColumns(int n, int p, double** Rcols, double** Rrows, double** out,
                               int kind);
