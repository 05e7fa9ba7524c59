// SPDX-License-Identifier: GPL-3.0-or-later
// How far two data structures agree: Mantel's matrix correlation, the Procrustes coefficient, the
// RV coefficient, and their partial forms.
#pragma once

#include "numeric/ordination.hpp"
#include "numeric/regression.hpp"
#include "shell/arrays.hpp"

/// Measures of congruence by the numbers of the dialogues (opt_ro). The last two are no
/// coefficients between matrices: models of single variables, with tests of their own.
enum CongruenceMeasure {
    mantel = 1,
    procrustes,
    rvCoefficient,
    linearRegression,
    varianceAnalysis
};

/// Mantel's matrix correlation: Pearson correlation of the cells above the diagonal.
///
/// A, B     n x n, symmetric; only cells [i][k] with i < k are read
/// missing  a pair counts only if both its cells are present
/// returns  -1..1; 0 if n < 2 or if one triangle is constant
/// cost     n * n, two passes, no allocation: runs once per permutation
/// Mantel 1967, Cancer Research 27:209-220.
double MatrixCorr(int n, double** A, double** B);

/// MatrixCorr of two n x n resemblance matrices between communities (upper triangles), as all
/// analyses use it. With fewer than 3 communities there is one value in each and no correlation:
/// then 1 - |a - b| / max(a, b), the relative closeness of the two single values a and b (0..1 for
/// distances; NaN if both are 0 or if n is 1).
double CommunityCorr(int n, double** A, double** B);

/// MatrixCorr of A with B when its rows and columns stand in the order of a list: the object in
/// place i is order[i], from 1; where that is 0 there is none, and the cells are 0. No copy is
/// made; B is read on both sides of the diagonal.
double MatrixCorr(int n, double** A, double** B, const int* order);

/// Work space of the coefficients below, for any of them in turn.
struct CongruenceRoom {
    /// For coefficients by this measure of matrices with up to p1 and p2 columns, either way round.
    void Reserve(int measure, int n, int p1, int p2);
    /// Their partial forms, with `columns` control columns.
    void ReservePartial(int measure, int n, int p1, int p2, int columns);
    KeptRows A, B;   // both matrices, centred; of the first, RV: rows, Procrustes: columns
    KeptRows W1, W2; // RV: n x n
    KeptRows V;      // Procrustes: products, square
    KeptVector singular;
    SingularRoom decomposition;
    KeptRows control, residuals1, residuals2; // partial forms
    ResidualsRoom regression;
};

/// Escoufier's RV coefficient, tr(W1 W2) / root(tr(W1 W1) tr(W2 W2)) with W = XX' of the column
/// centred matrices. No guard: a matrix of constant columns gives NaN.
///
/// A, B     n x p1, n x p2; missing cells drop out of the centring and the products
/// Escoufier 1973, Biometrics 29:751-760.
double RVcoeff(int n, int p1, int p2, double** A, double** B);
double RVcoeff(int n, int p1, int p2, double** A, double** B, CongruenceRoom& room);

/// Procrustes coefficient: the sum of the singular values of the cross-products of the two
/// matrices, each centred by column and scaled to a total variance of 1. It is the correlation in a
/// symmetric Procrustes rotation, 0..1; 0 if the decomposition fails.
///
/// A, B     n x p1, n x p2; the order of the two does not matter
/// Gower 1971 in Hodson et al., Mathematics in the Archaeological and Historical Sciences; Peres-
/// Neto & Jackson 2001, Oecologia 129:169-178.
double ProcrustesCoeff(int n, int p1, int p2, double** A, double** B);
double ProcrustesCoeff(int n, int p1, int p2, double** A, double** B, CongruenceRoom& room);

/// First-order partial correlation of x and y given z; 0 if rxz or ryz is within 1e-9 of +1.
/// Deliberate: -1 is not guarded and gives an infinity or NaN.
double PartialCorrelation(double rxy, double rxz, double ryz);

/// Variables whose effect is to be taken out: the columns of an n-row matrix with select[j] 1, or
/// all of them if select is null.
struct ControlBlock {
    int columns;
    int* select;
    double** matrix;
};

/// How many columns that is in all.
int CountControl(int nControl, const ControlBlock* control);

/// Procrustes or RV coefficient between the residuals of A and B regressed on the principal axes of
/// all control variables together (axes of their correlation matrix).
///
/// A, B     n x p1, n x p2
/// measure  procrustes or rvCoefficient
/// overfitFactor  at most (n - 2) / overfitFactor axes are used
/// control  nControl blocks of n rows. Without a block the residuals are 0 and the result is
///          NaN or 0.
/// returns  0 for another measure
double PartialMatrixCorrelation(int n, int p1, int p2, double** A, double** B, int measure,
                                double overfitFactor, int nControl, const ControlBlock* control);
double PartialMatrixCorrelation(int n, int p1, int p2, double** A, double** B, int measure,
                                double overfitFactor, int nControl, const ControlBlock* control,
                                CongruenceRoom& room);

/// Sum over all cells of X[i][j] Y[i][j], both n x n; row by row.
double vecProd(int n, double** X, double** Y);
