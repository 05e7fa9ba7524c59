// SPDX-License-Identifier: GPL-3.0-or-later
// Measures of information and association: contingency tables of two categorical vectors and
// their entropies, measures between rows of frequencies or states, and classes of a variable.
//
// Logarithms are natural. A contingency table is a matrix of counts with the numbers of its row
// and column states. Degenerate tables are not guarded: an empty row or column gives 0/0.
#pragma once

#include <cstdio>

// ---- Contingency tables -----------------------------------------------------------------------

/// Counts how often each state of x meets each state of y, over the positions present in both.
///
/// x, y   n cells; states are the present values truncated to int, in order of first appearance,
///        those met only beside a missing cell too. A value that is not whole meets no state, and
///        opens a new one each time it appears.
/// table  room for the states of x by those of y: CountStates of whole values from 0 on, at most n
/// dims   receives the numbers of row and column states
/// print  if not null: the states and the table in words
void ContingencyMV(int n, const double* x, const double* y, double** table, int* dims,
                   std::FILE* print);

/// Entropies of order alpha of a table, for alpha = from, from + by, ... up to `to`: Shannon's at
/// 1, otherwise log(sum of p^alpha) / (1 - alpha). Missing cells are left out.
///
/// joint, colsH, rowsH  of the cells, the column totals and the row totals: an entry for each
///                      alpha; nothing is written when `from` is above `to`
/// Renyi 1961, Proc. 4th Berkeley Symp. 1:547-561.
void EntropyMV(int rows, int cols, double** table, double* joint, double* colsH, double* rowsH,
               double from, double to, double by);

/// The same with mutual = colsH + rowsH - joint, ratio = 1 - mutual/joint (Rajski's metric) and
/// coherence, the root of 1 - ratio squared. A negative mutual counts as 0: ratio 1, coherence 0.
/// Orloci 1978, Multivariate Analysis in Vegetation Research, chapter 2.
void Entropy_MV(int rows, int cols, double** table, double* joint, double* colsH, double* rowsH,
                double* mutual, double* ratio, double* coherence, double from, double to,
                double by);

/// Coherence of order alpha, 0 (independent) to 1 (each state tells the other); alpha is rounded to
/// single precision. NaN for a table of joint entropy 0.
double CoheCoefMV(int rows, int cols, double** table, double alpha);

/// Divergence of order alpha of the table from the product of its margins.
double MutualEntropyMV(int rows, int cols, double** table, double alpha);

// ---- Measures between rows: data n x p, out n x n ---------------------------------------------
// Written: the upper triangle with the diagonal.

/// Information divergence of two rows from their mean; sums in single precision. A missing cell
/// adds nothing for its own row but is taken as a number in x + y of the other: mostly NaN.
/// Kullback 1959, Information Theory and Statistics.
void IDivergenceMV(int n, int p, double** data, double** out);

/// The same less the divergence of the row totals: that of the rows' proportions.
void MutualInformationMV(int n, int p, double** data, double** out);

/// Measures of the contingency table of two rows of states. With `print` 1 the tables go to
/// "Tables.txt", which is written anew; if it cannot be opened: failure code 4.

/// Minimum discrimination information statistic, 2 N times the mutual entropy of order 1 (the
/// likelihood ratio G).
void MDISMV(int n, int p, double** data, double** out, char print);
void MutualEntropyPairwiseMV(int n, int p, double** data, double** out, double alpha, char print);
void CoheCoefPairwiseMV(int n, int p, double** data, double** out, float alpha, char print);
/// Pearson's chi-square.
void QuiSquareMV(int n, int p, double** data, double** out, char print);

/// Half the summed differences of two profiles, each scaled to its own total: 0 for profiles of
/// equal shares, 1 for profiles without a common element (d = a/A - b/B; sum of |d| / 2, or with
/// `squared` of d squared / 2).
///
/// returns  0 if n < 1 or if a total is not above 0. Missing cells are not tested.
double SumAbsDeviations(int n, const double* a, const double* b, bool squared);

// ---- Classes of a variable --------------------------------------------------------------------

/// out[i] = the class, 1 to nClasses, of x[i] in classes of equal width from the smallest to the
/// largest present value, each closed above; a missing value stays -999. A constant variable is
/// all class 1. x and out may be the same.
void ClassesMV(int n, const double* x, double* out, int nClasses);
/// The same from `low` to `high`; a value outside gets a number below 1 or above nClasses.
void ClassesDefinitionMV(int n, const double* x, double* out, int nClasses, double low,
                         double high);
