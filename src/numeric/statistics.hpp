// SPDX-License-Identifier: GPL-3.0-or-later
// Ground rules of the numeric library: the missing value, the comparison of floating-point
// numbers that permutation counts rest on, and small statistics of vectors and matrices.
//
// Matrices are row pointers, M[i][j], row first, from 0; sizes travel ahead of them. Sums are
// accumulated in double, row by row, left to right. A routine with MV in its name skips missing
// cells; one without takes -999 as a number unless its contract says otherwise.
#pragma once

/// The code of a cell without a value. A NaN is not missing: it flows into the arithmetic.
constexpr double missingValue = -999.0;

inline bool IsMissing(double x) { return x == missingValue; }

/// x rounded to single precision, for the values that are told to be of that grain.
inline double SinglePrecision(double x)
{
    // volatile: where two such values are stored side by side, g++ 12 at -O2 joins the stores and
    // leaves out the rounding.
    const volatile float single = static_cast<float>(x);
    return static_cast<double>(single);
}

// ---- Comparison -------------------------------------------------------------------------------

/// True when A and B, each rounded to single precision, lie within maxUlps representable floats
/// of each other. The distance is taken between the bit patterns, so +0 and -0 are equal, and
/// infinities and NaNs are compared like any pattern.
///
/// maxUlps  1 to 4194303; anything else aborts the program, in every build
bool AlmostEqual2sComplement(double A, double B, int maxUlps);

/// True when A is above B as a double, or almost equal to it in the sense above. With `absolute`
/// both lose their sign first. A permuted statistic is counted as extreme by this test.
bool IsLargerThanOrEqual(double A, double B, int maxUlps, bool absolute);

/// True when |A - B| is strictly below the tolerance.
bool AlmostEqual_Tolerance(double A, double B, double tolerance);

/// a if a > b, else b; with a NaN the second one.
double Fmax(double a, double b);
/// a if a < b, else b; with a NaN the second one.
double Fmin(double a, double b);

// ---- Vectors and totals -----------------------------------------------------------------------

/// Sum of x squared over the present cells of x[0..n-1].
double SumOfSquares(int n, const double* x);

/// Sum of x squared minus (sum of x) squared / m over the m present cells; NaN when m is 0.
double SumOfSquaresDev(int n, const double* x);

/// Mean and sample standard deviation (divisor n - 1) of all n cells, in one pass. Missing cells
/// are not tested; no guard: n = 1 gives NaN for sd.
void MeanStDev(int n, const double* x, double* mean, double* sd);

/// Sums of the present cells of each row (totals: rows), of each column (totals: cols), of all.
/// A row or column without a present cell totals 0.
void RowTotalsMV(int rows, int cols, double** M, double* totals);
void ColTotalsMV(int rows, int cols, double** M, double* totals);
double MatrixTotalMV(int rows, int cols, double** M);

/// Largest and smallest element; minus or plus the largest finite double when n < 1. Missing
/// cells are not tested.
double maxVector(int n, const double* x);
double minVector(int n, const double* x);

/// x! as a double; infinity when too large. 0 gives 1; a negative x, or one between 0 and 1, is
/// returned as it is.
double Factorial(double x);

// ---- States and groups ------------------------------------------------------------------------

/// Number of distinct states among the present cells, a state being the cell truncated to int.
/// Negative states do not count.
int CountStates(int n, const double* x);

/// Distinct labels of labels[0..n-1]: how many, and which, ascending.
///
/// nGroups  receives the number
/// groups   room for that many (n at most)
void CountGroups(int n, const int* labels, int* nGroups, int* groups);

/// The same over the positions with selected[i] equal to 1; `groups` may be null.
void CountGroupsSelect(int n, const int* labels, const int* selected, int* nGroups, int* groups);

/// The same over all positions; `labels` receives the sorted labels and may be null.
void CountGroupsNew(int n, const int* partition, int* nGroups, int* labels);

// ---- Ranks ------------------------------------------------------------------------------------

/// Sort order of x[0..n-1], not its ranks: order[k] is the position, counted from 1, of the
/// (k+1)-th smallest value. Equal values come in the order in which sort2 leaves them. Missing
/// cells are not tested.
void RankVector(int n, const double* x, double* order);

/// The sort order of the absolute values.
void RankVectorAbs(int n, const double* x, double* order);

/// Ranks from 1, ties by the mean of their ranks; a missing cell gets -999. The number of missing
/// cells is taken off every rank, so a present value below -999 gets a rank of 0 or less.
void RankVectorAdjMV(int n, const double* x, double* ranks);

/// Smallest value whose rank divided by the number of all cells, missing ones included, is
/// strictly above `fraction`; 3.4028234663852886e38 if there is none.
double MatrixPercentile(int rows, int cols, double** M, double fraction);
