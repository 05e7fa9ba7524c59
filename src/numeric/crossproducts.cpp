// SPDX-License-Identifier: GPL-3.0-or-later
#include "numeric/crossproducts.hpp"

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>

#include "shell/arrays.hpp"

namespace {

constexpr int procrustesCoefficient = 2;
constexpr Estimate unknown = {0.0, std::numeric_limits<double>::infinity()};

// How far an estimate may be off. A sum of k products is known to k rounding units of the product
// of the lengths (Higham 2002, Accuracy and Stability of Numerical Algorithms, 3.1); Z'KZ chains
// two of length n and one of length p, the exact form about as many; eigenvalues and singular
// values move by no more than the matrix does (Weyl). The factor leaves room for lower order terms.
double UnitOf(int n, int p, int m)
{
    constexpr double factor = 4.0;
    return factor * std::numeric_limits<double>::epsilon() * (2.0 * n + p + 2.0 * m);
}

/// What centring costs: deviations inherit the rounding of the values they come from.
double Centring(double rawSumSquares, double sumSquares)
{
    return std::sqrt(rawSumSquares / sumSquares);
}

/// Estimates whose parts are not known to this are not used.
constexpr double tolerable = 1e-3;

std::size_t Size(int n)
{
    return static_cast<std::size_t>(n);
}

double TraceOf(const SmallMatrix& M, const ColumnBlock& block)
{
    double trace = 0.0;
    for (int j = block.first; j < block.first + block.count; j++) trace += M(j, j);
    return trace;
}

double RawSumSquares(const MovingProducts& moving, const ColumnBlock& block)
{
    double sum = 0.0;
    for (int j = block.first; j < block.first + block.count; j++)
        sum += moving.rawSumSquares[Size(j)];
    return sum;
}

/// out (m x m) = A[., block] B[block, .], known to be symmetric.
void BlockProduct(int m, const SmallMatrix& A, const SmallMatrix& B, const ColumnBlock& block,
                  SmallMatrix& out)
{
    for (int i = 0; i < m; i++)
        for (int j = 0; j <= i; j++) {
            double sum = 0.0;
            for (int b = block.first; b < block.first + block.count; b++) sum += A(i, b) * B(b, j);
            out(i, j) = out(j, i) = sum;
        }
}

} // namespace

void ReferToBlock(const MovingProducts& moving, const ColumnBlock& block, ReferenceProducts& out)
{
    out.rank = block.rank;
    out.trace = TraceOf(moving.ZZ, block);
    out.rawTrace = RawSumSquares(moving, block);
    BlockProduct(moving.m, moving.ZZ, moving.ZZ, block, out.ZKZ);
    out.squaredNorm = TraceOf(out.ZKZ, block);
    BlockProduct(moving.m, out.ZKZ, moving.ZZ, block, out.ZKKZ);
}

CongruenceEstimator::CongruenceEstimator(int nObjects, int p, const MovingProducts& products)
    : n(nObjects), unit(UnitOf(n, p, products.m)), moving(products),
      valueSpaces(Size(moving.m) + 1), vectorSpaces(Size(moving.m) + 1), values(Size(moving.m)),
      basis(moving.m, moving.m), QA(moving.m, moving.m), QKA(moving.m, moving.m),
      QK(moving.m, moving.m), QKQ(moving.m, moving.m), product(moving.m, moving.m),
      vectors(moving.m, moving.m)
{
    control.reserve(Size(moving.m));
    for (std::size_t order = 1; order <= Size(moving.m); order++) {
        valueSpaces[order].reset(gsl_eigen_symm_alloc(order));
        vectorSpaces[order].reset(gsl_eigen_symmv_alloc(order));
        if (!valueSpaces[order] || !vectorSpaces[order]) NoRoom();
    }
}

// --- Coefficients

/// The sum of the roots of the largest eigenvalues of A'KA. A root moves by the error of the
/// eigenvalue over the root, and by no more than the root of that error where it is nearly 0.
Estimate CongruenceEstimator::Procrustes(const Parts& parts)
{
    gsl_matrix_view matrix = gsl_matrix_view_array(product.Data(), Size(parts.p), Size(parts.p));
    gsl_vector_view into = gsl_vector_view_array(values.data(), Size(parts.p));
    gsl_eigen_symm(&matrix.matrix, &into.vector, valueSpaces[Size(parts.p)].get());
    std::sort(values.begin(), values.begin() + parts.p, std::greater<double>());

    const double error = parts.relative * parts.wholeA * parts.wholeK;
    double sum = 0.0, errorOfSum = 0.0;
    for (int a = 0; a < parts.rank; a++) {
        const double root = values[Size(a)] > 0.0 ? std::sqrt(values[Size(a)]) : 0.0;
        sum += root;
        errorOfSum += root > std::sqrt(error) ? error / root : 2.0 * std::sqrt(error);
    }
    const double scale = std::sqrt(parts.traceA * parts.traceK);
    const double errorOfScale =
        parts.relative * (parts.wholeA / parts.traceA + parts.wholeK / parts.traceK);
    // Directions beyond the rank hold no more than rounding of the exact form.
    const double beyond = parts.p * parts.relative * std::sqrt(parts.wholeA * parts.wholeK);
    return {sum / scale, (errorOfSum + beyond + sum * errorOfScale) / scale};
}

Estimate CongruenceEstimator::RV(const Parts& parts) const
{
    double sum = 0.0;
    for (int j = 0; j < parts.p; j++) sum += product(j, j);
    const double scale = std::sqrt(parts.squaredNormA * parts.squaredNormK);
    const double errorOfSum = parts.p * parts.relative * parts.wholeA * parts.wholeK;
    const double errorOfScale = parts.relative * (parts.wholeA / std::sqrt(parts.squaredNormA) +
                                                  parts.wholeNormK / parts.squaredNormK);
    return {sum / scale, (errorOfSum + sum * errorOfScale) / scale};
}

Estimate CongruenceEstimator::Coefficient(int coefficient, const Parts& parts)
{
    const bool isKnown = parts.relative * parts.wholeA < tolerable * parts.traceA &&
                         parts.relative * parts.wholeK < tolerable * parts.traceK;
    if (!isKnown) return unknown;
    return coefficient == procrustesCoefficient ? Procrustes(parts) : RV(parts);
}

double CongruenceEstimator::RelativeError(const ColumnBlock& A,
                                          const ReferenceProducts& reference) const
{
    return unit * (Centring(RawSumSquares(moving, A), TraceOf(moving.ZZ, A)) +
                   Centring(reference.rawTrace, reference.trace));
}

Estimate CongruenceEstimator::Whole(int coefficient, const ColumnBlock& A,
                                    const ReferenceProducts& reference)
{
    Parts parts = {A.count, std::min(A.rank, reference.rank)};
    parts.traceA = parts.wholeA = TraceOf(moving.ZZ, A);
    parts.traceK = parts.wholeK = reference.trace;
    parts.squaredNormK = parts.wholeNormK = reference.squaredNorm;
    parts.relative = RelativeError(A, reference);
    product.Reshape(A.count);
    for (int i = 0; i < A.count; i++)
        for (int j = 0; j < A.count; j++) {
            const double cell = moving.ZZ(A.first + i, A.first + j);
            parts.squaredNormA += cell * cell;
            product(i, j) = reference.ZKZ(A.first + i, A.first + j);
        }
    return Coefficient(coefficient, parts);
}

// --- Control

/// Correlations of the control's columns into `product`; what centring costs into controlError.
void CongruenceEstimator::Correlate(const std::vector<int>& columns)
{
    const int c = static_cast<int>(columns.size());
    product.Reshape(c);
    controlError = unit;
    for (int i = 0; i < c; i++) {
        const int own = columns[Size(i)];
        const double variance = moving.ZZ(own, own);
        controlError =
            std::max(controlError, unit * Centring(moving.rawSumSquares[Size(own)], variance));
        for (int j = 0; j <= i; j++) {
            const int other = columns[Size(j)];
            product(i, j) = product(j, i) =
                moving.ZZ(own, other) / std::sqrt(variance * moving.ZZ(other, other));
        }
    }
}

void CongruenceEstimator::FindAxes(int c)
{
    vectors.Reshape(c);
    gsl_matrix_view matrix = gsl_matrix_view_array(product.Data(), Size(c), Size(c));
    gsl_vector_view into = gsl_vector_view_array(values.data(), Size(c));
    gsl_matrix_view axes = gsl_matrix_view_array(vectors.Data(), Size(c), Size(c));
    gsl_eigen_symmv(&matrix.matrix, &into.vector, &axes.matrix, vectorSpaces[Size(c)].get());
    gsl_eigen_symmv_sort(&into.vector, &axes.matrix, GSL_EIGEN_SORT_VAL_DESC);
}

/// The exact form keeps the axes with more than 1e-8 of the total. The axes kept are known to the
/// error of the correlations over the distance to the first eigenvalue that is left out
/// (Davis and Kahan 1970, SIAM J. Numer. Anal. 7:1-46).
void CongruenceEstimator::CountAxes(int c, double overfitFactor)
{
    const auto share = [&](int a) { return a < c ? values[Size(a)] / c : 0.0; };
    nAxes = 0;
    while (share(nAxes) > 1e-8) nAxes++;
    const bool isClear = nAxes > 0 && share(nAxes - 1) > 1e-7 && share(nAxes) < 1e-9;
    const double limit = (n - 2) / overfitFactor;
    if (limit < nAxes) nAxes = static_cast<int>(std::max(limit, 0.0));
    if (nAxes == 0 || !isClear)
        controlError = unknown.error;
    else
        controlError /= share(nAxes - 1) - (share(nAxes) > 1e-9 ? share(nAxes) : 0.0);
}

void CongruenceEstimator::SetControl(const std::vector<int>& columns, double overfitFactor)
{
    const int c = static_cast<int>(columns.size());
    control.assign(columns.begin(), columns.end());
    nAxes = 0;
    Correlate(columns);
    // A constant column has no correlations.
    if (c == 0 || !(controlError < tolerable)) {
        controlError = unknown.error;
        return;
    }
    FindAxes(c);
    CountAxes(c, overfitFactor);
    basis.Reshape(nAxes);
    for (int i = 0; i < c; i++) {
        const double variance = moving.ZZ(control[Size(i)], control[Size(i)]);
        for (int a = 0; a < nAxes; a++)
            basis(i, a) = vectors(i, a) / std::sqrt(values[Size(a)] * variance);
    }
}

// --- Partial coefficients

/// Q'A and Q'KA.
void CongruenceEstimator::ProjectBlock(const ColumnBlock& A, const ReferenceProducts& reference)
{
    QA.Reshape(A.count);
    QKA.Reshape(A.count);
    for (int a = 0; a < nAxes; a++)
        for (int j = 0; j < A.count; j++) {
            double sum = 0.0, sumK = 0.0;
            for (std::size_t i = 0; i < control.size(); i++) {
                const double weight = basis(static_cast<int>(i), a);
                sum += weight * moving.ZZ(control[i], A.first + j);
                sumK += weight * reference.ZKZ(control[i], A.first + j);
            }
            QA(a, j) = sum;
            QKA(a, j) = sumK;
        }
}

/// Q'KQ, and what remains of the trace and the norm of K:
/// |(I - QQ')K(I - QQ')|^2 = |K|^2 - 2 trace(Q'KKQ) + |Q'KQ|^2.
void CongruenceEstimator::ProjectReference(const ReferenceProducts& reference, Parts& parts)
{
    const int c = static_cast<int>(control.size());
    QK.Reshape(c);
    QKQ.Reshape(nAxes);
    double traceQKKQ = 0.0;
    for (int a = 0; a < nAxes; a++)
        for (int j = 0; j < c; j++) {
            const int column = control[Size(j)];
            double sumK = 0.0, sumKK = 0.0;
            for (int i = 0; i < c; i++) {
                sumK += basis(i, a) * reference.ZKZ(control[Size(i)], column);
                sumKK += basis(i, a) * reference.ZKKZ(control[Size(i)], column);
            }
            QK(a, j) = sumK;
            traceQKKQ += sumKK * basis(j, a);
        }
    parts.traceK = reference.trace;
    parts.squaredNormK = reference.squaredNorm - 2.0 * traceQKKQ;
    for (int a = 0; a < nAxes; a++)
        for (int b = 0; b < nAxes; b++) {
            double sum = 0.0;
            for (int j = 0; j < c; j++) sum += QK(a, j) * basis(j, b);
            QKQ(a, b) = sum;
            parts.squaredNormK += sum * sum;
            if (a == b) parts.traceK -= sum;
        }
}

/// A'KA of the residuals into `product`, with the trace and the norm of A'A.
void CongruenceEstimator::TakeOut(const ColumnBlock& A, const ReferenceProducts& reference,
                                  Parts& parts)
{
    for (int j = 0; j < A.count; j++)
        for (int a = 0; a < nAxes; a++) { // Q'K(I - QQ')A
            double sum = QKA(a, j);
            for (int b = 0; b < nAxes; b++) sum -= QKQ(a, b) * QA(b, j);
            vectors(a, j) = sum;
        }
    product.Reshape(A.count);
    for (int i = 0; i < A.count; i++)
        for (int j = 0; j < A.count; j++) {
            double own = moving.ZZ(A.first + i, A.first + j);
            double withK = reference.ZKZ(A.first + i, A.first + j);
            for (int a = 0; a < nAxes; a++) {
                own -= QA(a, i) * QA(a, j);
                withK -= QA(a, i) * vectors(a, j) + QKA(a, i) * QA(a, j);
            }
            product(i, j) = withK;
            parts.squaredNormA += own * own;
            if (i == j) parts.traceA += own;
        }
}

Estimate CongruenceEstimator::Partial(int coefficient, const ColumnBlock& A,
                                      const ReferenceProducts& reference)
{
    if (!(controlError < tolerable)) return unknown;
    Parts parts = {A.count, std::min(A.rank, reference.rank)};
    parts.wholeA = TraceOf(moving.ZZ, A);
    parts.wholeK = reference.trace;
    parts.wholeNormK = reference.squaredNorm;
    parts.relative = controlError + RelativeError(A, reference);
    ProjectBlock(A, reference);
    ProjectReference(reference, parts);
    vectors.Reshape(A.count);
    TakeOut(A, reference, parts);
    return Coefficient(coefficient, parts);
}
