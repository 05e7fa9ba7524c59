// SPDX-License-Identifier: GPL-3.0-or-later
// Multiple linear regression by the normal equations, and residuals for partial statistics.
#pragma once

#include <cstdio>

#include "numeric/ordination.hpp"
#include "shell/arrays.hpp"

/// Work space of a fit.
struct RegressionRoom {
    void Reserve(int n, int pY, int pX);
    KeptVector meansY, meansX, column, sumSquares;
    KeptRows Yc, Xc, transposed, products;
    KeptRows products1, B1; // as the solver counts
    KeptInts used, pivotRows, pivotCols;
};

/// Least squares of each response on all factors, with intercepts.
///
/// Y, X     n x pY responses, n x pX factors
/// B        pX x pY coefficients; b0 pY intercepts
/// P        n x pY predicted values
/// r2       pY coefficients of determination; a constant response gives NaN
/// ssTotal  pY sums of squares of the responses; may be null
/// print    true: the fit goes to `out` as tab-separated text, in Portuguese unless language is 0;
///          with printAll also the matrices, predictions, residuals and adjusted responses
/// missing  skipped in centring and products, but the means that give the intercepts take -999 for
///          a number
/// errors   a singular system is reported on the error stream by the solver, the numbers become
///          infinite or NaN
void regression(int n, int pY, int pX, double** Y, double** X, double** B, double* b0, double** P,
                double* r2, double* ssTotal, bool print, std::FILE* out, int language,
                bool printAll);
/// The fit alone.
void regression(int n, int pY, int pX, double** Y, double** X, double** B, double* b0, double** P,
                double* r2);
void regression(int n, int pY, int pX, double** Y, double** X, double** B, double* b0, double** P,
                double* r2, RegressionRoom& room);

/// The same with data in single precision, which the centred values are rounded to as well.
void regression(int n, int pY, int pX, float** Y, float** X, double** B, double* b0, double** P,
                double* r2, double* ssTotal, bool print, std::FILE* out, int language,
                bool printAll);
void regression(int n, int pY, int pX, float** Y, float** X, double** B, double* b0, double** P,
                double* r2);

/// R = Y minus what the selected factors predict.
///
/// Y, R     n x pY; X n x pX
/// select   pX: 1 takes the column; null takes all. With none the prediction is the column mean.
void Regression_ResidualsSelect(int n, int pY, int pX, double** Y, double** X, double** R,
                                int* select);

/// R = residuals of Y on the leading principal axes of the selected columns of X.
///
/// mode     1: axes of the covariance matrix; 2: axes of the correlation matrix
/// overfitFactor  at most (n - 2) / overfitFactor axes, so that there are never more predictors
///          than the sample supports
void PCA_Regression_ResidualsSelect(int n, int pY, int pX, double** Y, double** X, double** R,
                                    int* select, int mode, double overfitFactor);

/// Work space of residuals.
struct ResidualsRoom {
    /// For pX selected columns.
    void Reserve(int n, int pY, int pX);
    void ReserveFit(int n, int pY, int pX);
    KeptRows D, G, T, scores, predictors;
    OrdinationRoom axes;
    KeptRows B, P;
    KeptVector b0, r2;
    RegressionRoom fit;
};
void PCA_Regression_ResidualsSelect(int n, int pY, int pX, double** Y, double** X, double** R,
                                    int* select, int mode, double overfitFactor,
                                    ResidualsRoom& room);

/// Residuals of the cells above the diagonal of B on those of A, fitted in single precision.
///
/// A, B, R  n x n; only cells [i][k] with i < k are read or written
void ResidualsMatrixRegression(int n, double** A, double** B, double** R);
