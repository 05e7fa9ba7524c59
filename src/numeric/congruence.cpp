// SPDX-License-Identifier: GPL-3.0-or-later
#include "numeric/congruence.hpp"

#include <cmath>

#include "numeric/adjust.hpp"
#include "numeric/matrix.hpp"
#include "numeric/ordination.hpp"
#include "numeric/regression.hpp"
#include "numeric/statistics.hpp"
#include "numeric/triangle.hpp"
#include "shell/arrays.hpp"

namespace {

/// W = XX' (n x n) of the column-centred data X (n x p).
void CentredCrossProducts(int n, int p, double** data, double** W)
{
    OwnedRows X(n, p);
    OwnedRows transposed(p, n);
    CenterColsMV(n, p, data, X);
    TransposeMatrix(n, p, X, transposed);
    MatrixProd(n, p, p, n, X, transposed, W);
}

/// All chosen control columns side by side in C (n rows); returns how many.
int GatherControl(int n, int nControl, const ControlBlock* control, double** C)
{
    int c = 0;
    for (int block = 0; block < nControl; block++) {
        const ControlBlock& from = control[block];
        for (int j = 0; j < from.columns; j++) {
            if (from.select != nullptr && from.select[j] != 1) continue;
            for (int i = 0; i < n; i++) C[i][c] = from.matrix[i][j];
            c++;
        }
    }
    return c;
}

} // namespace

double MatrixCorr(int n, double** A, double** B)
{
    if (n < 2) return 0.0;
    double sumA = 0.0;
    double sumB = 0.0;
    int m = 0; // pairs with both cells present
    for (int i = 0; i < n; i++)
        for (int k = i + 1; k < n; k++) {
            if (IsMissing(A[i][k]) || IsMissing(B[i][k])) continue;
            sumA += A[i][k];
            sumB += B[i][k];
            m++;
        }
    const double meanA = sumA / m;
    const double meanB = sumB / m;

    double Saa = 0.0;
    double Sbb = 0.0;
    double Sab = 0.0;
    for (int i = 0; i < n; i++)
        for (int k = i + 1; k < n; k++) {
            if (IsMissing(A[i][k]) || IsMissing(B[i][k])) continue;
            const double da = A[i][k] - meanA;
            const double db = B[i][k] - meanB;
            Saa += da * da;
            Sbb += db * db;
            Sab += db * da;
        }
    return CorrelationOfSums(Sab, Saa, Sbb);
}

double CommunityCorr(int n, double** A, double** B)
{
    if (n >= 3) return MatrixCorr(n, A, B);
    const double a = n < 2 ? 0.0 : A[0][1];
    const double b = n < 2 ? 0.0 : B[0][1];
    return 1.0 - std::fabs(a - b) / Fmax(a, b);
}

double RVcoeff(int n, int p1, int p2, double** A, double** B)
{
    OwnedRows W1(n, n);
    OwnedRows W2(n, n);
    CentredCrossProducts(n, p1, A, W1);
    CentredCrossProducts(n, p2, B, W2);
    const double S11 = vecProd(n, W1, W1);
    const double S22 = vecProd(n, W2, W2);
    const double S12 = vecProd(n, W1, W2);
    return S12 / std::sqrt(S22 * S11);
}

double ProcrustesCoeff(int n, int p1, int p2, double** A, double** B)
{
    if (p1 > p2) return ProcrustesCoeff(n, p2, p1, B, A);
    const int q = p1; // the smaller number of columns
    const int Q = p2;
    OwnedRows T(q, n);
    OwnedRows U(n, Q);
    TransposeMatrix(n, q, A, T);
    CenterRowsMV(q, n, T, T);
    CenterColsMV(n, Q, B, U);
    GowerStandardizationRows(q, n, T); // each matrix to a total variance of 1
    GowerStandardizationCols(n, Q, U);

    OwnedRows V(Q, Q); // rows from q on stay 0, to make it square
    MatrixProd(q, n, n, Q, T, U, V);
    ScalarMatrixProd(q, Q, 1.0 / (n - 1), V, V);
    OwnedRows left(Q, Q);
    OwnedRows right(Q, Q);
    OwnedVector singular(Q);
    if (!SingValueDecomp(Q, Q, V, left, singular, right)) return 0.0;
    double sum = 0.0;
    for (int c = 0; c < Q; c++) sum += singular[c];
    return sum;
}

double PartialCorrelation(double rxy, double rxz, double ryz)
{
    constexpr double tolerance = 1e-9;
    if (AlmostEqual_Tolerance(rxz, 1.0, tolerance)) return 0.0;
    if (AlmostEqual_Tolerance(ryz, 1.0, tolerance)) return 0.0;
    // Deliberate: a correlation of -1 divides by 0; users' earlier results depend on it.
    return (rxy - rxz * ryz) / (std::sqrt(1.0 - ryz * ryz) * std::sqrt(1.0 - rxz * rxz));
}

double PartialMatrixCorrelation(int n, int p1, int p2, double** A, double** B, int measure,
                                double overfitFactor, int nControl, const ControlBlock* control)
{
    int columns = 0;
    for (int block = 0; block < nControl; block++) columns += control[block].columns;
    OwnedRows C(n, columns);
    OwnedRows R1(n, p1);
    OwnedRows R2(n, p2);
    if (nControl > 0) {
        const int c = GatherControl(n, nControl, control, C);
        PCA_Regression_ResidualsSelect(n, p1, c, A, C, R1, nullptr, 2, overfitFactor);
        PCA_Regression_ResidualsSelect(n, p2, c, B, C, R2, nullptr, 2, overfitFactor);
    }
    switch (measure) {
    case procrustes: return ProcrustesCoeff(n, p1, p2, R1, R2);
    case rvCoefficient: return RVcoeff(n, p1, p2, R1, R2);
    default: return 0.0;
    }
}

double vecProd(int n, double** X, double** Y)
{
    double sum = 0.0;
    for (int i = 0; i < n; i++)
        for (int j = 0; j < n; j++) sum += X[i][j] * Y[i][j];
    return sum;
}
