// SPDX-License-Identifier: GPL-3.0-or-later
#include "ranking/packed.hpp"

#include <cmath>

#include "numeric/congruence.hpp"

Structure::Structure(int communities)
    : n(communities),
      rows(communities, communities),
      nCells(TriangleSize(communities)),
      cells(nCells + kernelBlock)
{
}

void Structure::TakeRows()
{
    PackTriangle(n, rows, cells);
    form = Form::packed;
}

void Structure::TakeSquares(const double* sums)
{
    ActiveVectors().roots(nCells, sums, cells);
    form = Form::packed;
}

void Structure::TakeDistances(int p, const double* columns, std::size_t stride)
{
    ActiveKernels().euclidean(n, p, columns, stride, cells);
    form = Form::packed;
}

void Structure::TakeDifferences(int p, const double* columns, std::size_t stride)
{
    ActiveKernels().cityBlock(n, p, columns, stride, cells);
    form = Form::packed;
}

// Correlations take two passes, as in MatrixCorr: the means, then deviations, squares and products.
// A sum waits for its last addition, so sums that share a pass cost little more than one of them.

void Structure::Centre()
{
    if (form == Form::centred) return;
    sumSquares = CenterTriangle(nCells, cells);
    form = Form::centred;
}

/// The correlation with a centred structure; this one becomes centred, too.
double Structure::CorrelateWithCentred(const Structure& other)
{
    double* const a = cells;
    const double* const b = other.cells;
    const double mean = form == Form::packed ? TriangleMean(nCells, a) : 0.0;
    double squares = 0.0;
    double products = 0.0;
    for (long c = 0; c < nCells; c++) {
        a[c] -= mean;  // 0 if the cells are centred already
        squares += a[c] * a[c];
        products += b[c] * a[c];
    }
    sumSquares = squares;
    form = Form::centred;
    return CorrelationOfSums(products, sumSquares, other.sumSquares);
}

double MantelCorr(Structure& a, Structure& b)
{
    using Form = Structure::Form;
    if (a.form == Form::rows || b.form == Form::rows) return MatrixCorr(a.n, a.rows, b.rows);
    if (b.form != Form::centred) {
        a.Centre();
        return b.CorrelateWithCentred(a);
    }
    return a.CorrelateWithCentred(b);
}

double Congruence(Structure& a, Structure& b)
{
    return a.n < 3 ? CommunityCorr(a.n, a.rows, b.rows) : MantelCorr(a, b);
}

void CongruenceOfThree(Structure& third, Structure& x, Structure& y, double* withX, double* withY,
                       double* ofXY)
{
    using Form = Structure::Form;
    if (x.form != Form::packed || y.form != Form::packed || third.form == Form::rows) {
        *withX = Congruence(third, x);
        *withY = Congruence(third, y);
        *ofXY = Congruence(x, y);
        return;
    }
    third.Centre();
    double* const a = x.cells;
    double* const b = y.cells;
    const double* const f = third.cells;
    const long nCells = x.nCells;
    double sumA = 0.0, sumB = 0.0;
    for (long c = 0; c < nCells; c++) {
        sumA += a[c];
        sumB += b[c];
    }
    const double meanA = sumA / static_cast<double>(nCells);
    const double meanB = sumB / static_cast<double>(nCells);
    double aa = 0.0, bb = 0.0, af = 0.0, bf = 0.0, ab = 0.0;
    for (long c = 0; c < nCells; c++) {
        a[c] -= meanA;
        b[c] -= meanB;
        aa += a[c] * a[c];
        bb += b[c] * b[c];
        af += a[c] * f[c];
        bf += b[c] * f[c];
        ab += a[c] * b[c];
    }
    x.sumSquares = aa;
    y.sumSquares = bb;
    x.form = y.form = Form::centred;
    *withX = CorrelationOfSums(af, aa, third.sumSquares);
    *withY = CorrelationOfSums(bf, bb, third.sumSquares);
    *ofXY = CorrelationOfSums(ab, aa, bb);
}

namespace
{

/// The lower triangle and the diagonal of a similarity.
void Mirror(int n, double** S)
{
    for (int i = 0; i < n; i++) {
        const double* const row = S[i];
        S[i][i] = 1.0;
        for (int j = i + 1; j < n; j++) S[j][i] = row[j];
    }
}

}  // namespace

void AverageSimilarity(int n, const double* sums, int k, double** S)
{
    for (int i = 0; i < n; i++) {
        ActiveVectors().divide(n - i, sums, k, S[i] + i);
        sums += n - i;
    }
    Mirror(n, S);
}

void AverageSimilarity(int n, const double* sums, const double* counts, double** S)
{
    for (int i = 0; i < n; i++) {
        ActiveVectors().quotients(n - i, sums, counts, S[i] + i);
        sums += n - i;
        counts += n - i;
    }
    Mirror(n, S);
}
