// SPDX-License-Identifier: GPL-3.0-or-later
#include "numeric/congruence.hpp"

#include <algorithm>
#include <cmath>

#include "numeric/adjust.hpp"
#include "numeric/matrix.hpp"
#include "numeric/statistics.hpp"
#include "numeric/triangle.hpp"

namespace {

/// W = XX' (n x n) of the column-centred data X (n x p).
void CentredCrossProducts(int n, int p, double** data, double** W, CongruenceRoom& room)
{
    double** const X = room.A;
    double** const transposed = room.B;
    CenterColsMV(n, p, data, X);
    TransposeMatrix(n, p, X, transposed);
    MatrixProd(n, p, p, n, X, transposed, W);
}

bool IsChosen(const ControlBlock& block, int j)
{
    return block.select == nullptr || block.select[j] == 1;
}

/// All chosen control columns side by side in C (n rows).
void GatherControl(int n, int nControl, const ControlBlock* control, double** C)
{
    int c = 0;
    for (int block = 0; block < nControl; block++) {
        const ControlBlock& from = control[block];
        for (int j = 0; j < from.columns; j++) {
            if (!IsChosen(from, j)) continue;
            for (int i = 0; i < n; i++) C[i][c] = from.matrix[i][j];
            c++;
        }
    }
}

/// Pearson correlation of the cells of A above the diagonal with cellOfB(i, k).
template <typename Cell>
double CorrOfCells(int n, double** A, Cell cellOfB)
{
    if (n < 2) return 0.0;
    double sumA = 0.0;
    double sumB = 0.0;
    int m = 0; // pairs with both cells present
    for (int i = 0; i < n; i++)
        for (int k = i + 1; k < n; k++) {
            const double b = cellOfB(i, k);
            if (IsMissing(A[i][k]) || IsMissing(b)) continue;
            sumA += A[i][k];
            sumB += b;
            m++;
        }
    const double meanA = sumA / m;
    const double meanB = sumB / m;

    double Saa = 0.0;
    double Sbb = 0.0;
    double Sab = 0.0;
    for (int i = 0; i < n; i++)
        for (int k = i + 1; k < n; k++) {
            const double b = cellOfB(i, k);
            if (IsMissing(A[i][k]) || IsMissing(b)) continue;
            const double da = A[i][k] - meanA;
            const double db = b - meanB;
            Saa += da * da;
            Sbb += db * db;
            Sab += db * da;
        }
    return CorrelationOfSums(Sab, Saa, Sbb);
}

} // namespace

double MatrixCorr(int n, double** A, double** B)
{
    return CorrOfCells(n, A, [B](int i, int k) { return B[i][k]; });
}

double MatrixCorr(int n, double** A, double** B, const int* order)
{
    return CorrOfCells(n, A, [B, order](int i, int k) {
        return order[i] > 0 && order[k] > 0 ? B[order[i] - 1][order[k] - 1] : 0.0;
    });
}

double CommunityCorr(int n, double** A, double** B)
{
    if (n >= 3) return MatrixCorr(n, A, B);
    const double a = n < 2 ? 0.0 : A[0][1];
    const double b = n < 2 ? 0.0 : B[0][1];
    return 1.0 - std::fabs(a - b) / Fmax(a, b);
}

void CongruenceRoom::Reserve(int measure, int n, int p1, int p2)
{
    const int narrow = std::min(p1, p2), wide = std::max(p1, p2);
    if (measure == rvCoefficient) {
        A.Reserve(n, wide);
        B.Reserve(wide, n);
        W1.Reserve(n, n);
        W2.Reserve(n, n);
    } else if (measure == procrustes) {
        A.Reserve(narrow, n);
        B.Reserve(n, wide);
        V.Reserve(wide, wide);
        singular.Reserve(wide);
        decomposition.Reserve(wide, wide);
    }
}

void CongruenceRoom::ReservePartial(int measure, int n, int p1, int p2, int columns)
{
    Reserve(measure, n, p1, p2);
    control.Reserve(n, columns);
    residuals1.Reserve(n, p1);
    residuals2.Reserve(n, p2);
    regression.Reserve(n, std::max(p1, p2), columns);
}

double RVcoeff(int n, int p1, int p2, double** A, double** B)
{
    CongruenceRoom room;
    return RVcoeff(n, p1, p2, A, B, room);
}

double RVcoeff(int n, int p1, int p2, double** A, double** B, CongruenceRoom& room)
{
    room.Reserve(rvCoefficient, n, p1, p2);
    KeptRows& W1 = room.W1;
    KeptRows& W2 = room.W2;
    CentredCrossProducts(n, p1, A, W1, room);
    CentredCrossProducts(n, p2, B, W2, room);
    const double S11 = vecProd(n, W1, W1);
    const double S22 = vecProd(n, W2, W2);
    const double S12 = vecProd(n, W1, W2);
    return S12 / std::sqrt(S22 * S11);
}

double ProcrustesCoeff(int n, int p1, int p2, double** A, double** B)
{
    CongruenceRoom room;
    return ProcrustesCoeff(n, p1, p2, A, B, room);
}

double ProcrustesCoeff(int n, int p1, int p2, double** A, double** B, CongruenceRoom& room)
{
    if (p1 > p2) return ProcrustesCoeff(n, p2, p1, B, A, room);
    const int q = p1; // the smaller number of columns
    const int Q = p2;
    room.Reserve(procrustes, n, q, Q);
    KeptRows& T = room.A;
    KeptRows& U = room.B;
    TransposeMatrix(n, q, A, T);
    CenterRowsMV(q, n, T, T);
    CenterColsMV(n, Q, B, U);
    GowerStandardizationRows(q, n, T); // each matrix to a total variance of 1
    GowerStandardizationCols(n, Q, U);

    KeptRows& V = room.V;
    MatrixProd(q, n, n, Q, T, U, V);
    ScalarMatrixProd(q, Q, 1.0 / (n - 1), V, V);
    for (int c = q; c < Q; c++) std::fill(V[c], V[c] + Q, 0.0); // to make it square
    KeptVector& singular = room.singular;
    if (!SingValueDecomp(Q, Q, V, nullptr, singular, nullptr, room.decomposition)) return 0.0;
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

int CountControl(int nControl, const ControlBlock* control)
{
    int count = 0;
    for (int block = 0; block < nControl; block++)
        for (int j = 0; j < control[block].columns; j++)
            if (IsChosen(control[block], j)) count++;
    return count;
}

double PartialMatrixCorrelation(int n, int p1, int p2, double** A, double** B, int measure,
                                double overfitFactor, int nControl, const ControlBlock* control)
{
    CongruenceRoom room;
    return PartialMatrixCorrelation(n, p1, p2, A, B, measure, overfitFactor, nControl, control,
                                    room);
}

double PartialMatrixCorrelation(int n, int p1, int p2, double** A, double** B, int measure,
                                double overfitFactor, int nControl, const ControlBlock* control,
                                CongruenceRoom& room)
{
    const int columns = CountControl(nControl, control);
    room.ReservePartial(measure, n, p1, p2, columns);
    KeptRows& C = room.control;
    KeptRows& R1 = room.residuals1;
    KeptRows& R2 = room.residuals2;
    if (nControl > 0) {
        GatherControl(n, nControl, control, C);
        PCA_Regression_ResidualsSelect(n, p1, columns, A, C, R1, nullptr, 2, overfitFactor,
                                       room.regression);
        PCA_Regression_ResidualsSelect(n, p2, columns, B, C, R2, nullptr, 2, overfitFactor,
                                       room.regression);
    } else {
        for (int i = 0; i < n; i++) {
            std::fill(R1[i], R1[i] + p1, 0.0);
            std::fill(R2[i], R2[i] + p2, 0.0);
        }
    }
    switch (measure) {
    case procrustes: return ProcrustesCoeff(n, p1, p2, R1, R2, room);
    case rvCoefficient: return RVcoeff(n, p1, p2, R1, R2, room);
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
