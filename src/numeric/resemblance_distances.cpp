// SPDX-License-Identifier: GPL-3.0-or-later
#include <cfloat>
#include <cmath>

#include "numeric/adjust.hpp"
#include "numeric/resemblance.hpp"
#include "numeric/resemblance_pairs.hpp"
#include "shell/arrays.hpp"

namespace {

double RootOfSum(double sumSquares)
{
    return sumSquares > 0.0 ? std::sqrt(sumSquares) : 0.0;
}

/// x - y where the variable counts, else 0, which leaves a sum of squares as it is.
template <typename Counts>
inline double Difference(Counts counts, int j, double x, double y)
{
    return counts(j, x, y) ? x - y : 0.0;
}

template <typename Counts>
double Distance(int p, const double* x, const double* y, Counts counts)
{
    double sumSquares = 0.0;
    for (int j = 0; j < p; j++) {
        const double d = Difference(counts, j, x[j], y[j]);
        sumSquares += d * d;
    }
    return RootOfSum(sumSquares);
}

/// Distances from x to four rows. Each sum runs alone, j ascending; side by side they need not wait
/// for one another.
template <typename Counts>
void FourDistances(int p, const double* x, double* const* rows, double* out, Counts counts)
{
    const double* y0 = rows[0];
    const double* y1 = rows[1];
    const double* y2 = rows[2];
    const double* y3 = rows[3];
    double s0 = 0.0;
    double s1 = 0.0;
    double s2 = 0.0;
    double s3 = 0.0;
    for (int j = 0; j < p; j++) {
        const double d0 = Difference(counts, j, x[j], y0[j]);
        const double d1 = Difference(counts, j, x[j], y1[j]);
        const double d2 = Difference(counts, j, x[j], y2[j]);
        const double d3 = Difference(counts, j, x[j], y3[j]);
        s0 += d0 * d0;
        s1 += d1 * d1;
        s2 += d2 * d2;
        s3 += d3 * d3;
    }
    out[0] = RootOfSum(s0);
    out[1] = RootOfSum(s1);
    out[2] = RootOfSum(s2);
    out[3] = RootOfSum(s3);
}

template <typename Counts>
void EuclideanDistances(int n, int p, double** data, double** out, Counts counts)
{
    for (int i = 0; i < n; i++) out[i][i] = 0.0;

    // A thread owns whole rows and adds up each sum alone, so the bits are the same for any team.
    // Nothing here may allocate, draw or fail. Below some thousand differences, waking a team takes
    // longer than the work.
    const bool isWorthATeam = static_cast<double>(n) * n * p > 5000.0;
#pragma omp parallel for schedule(static) if (isWorthATeam)
    for (int i = 0; i < n; i++) {
        int k = i + 1;
        for (; k + 4 <= n; k += 4) FourDistances(p, data[i], data + k, out[i] + k, counts);
        for (; k < n; k++) out[i][k] = Distance(p, data[i], data[k], counts);
    }
}

/// Partial similarity of two values d apart: 1 if equal, falling to 0 beyond k.
double PartialAgreement(double d, double k)
{
    return 2.0 * (k + 1.0 - d) / (d * k + 2.0 * k + 2.0);
}

} // namespace

void EucliDist(int n, int p, double** data, double** out)
{
    EuclideanDistances(n, p, data, out, [](int, double, double) { return true; });
}

void EucliDistMV(int n, int p, double** data, double** out)
{
    if (!AnyMissing(n, p, data)) { // without the test in the inner loop, three times as fast
        EucliDist(n, p, data, out);
        return;
    }
    EuclideanDistances(n, p, data, out, [](int, double x, double y) { return BothPresent(x, y); });
}

void EucliDistMVSelect(int n, int p, double** data, double** out, int* select)
{
    if (!AnyMissing(n, p, data)) {
        EuclideanDistances(n, p, data, out,
                           [select](int j, double, double) { return select[j] != 0; });
        return;
    }
    EuclideanDistances(n, p, data, out, [select](int j, double x, double y) {
        return select[j] != 0 && BothPresent(x, y);
    });
}

void EucliDistMVSelectOne(int n, int /*p*/, double** data, double** out, int which)
{
    const int j = which - 1;
    for (int i = 0; i < n; i++) {
        out[i][i] = 0.0;
        for (int k = i + 1; k < n; k++) {
            const double x = data[i][j];
            const double y = data[k][j];
            out[i][k] = BothPresent(x, y) ? std::fabs(x - y) : 0.0;
        }
    }
}

void AbsValFunctionMV(int n, int p, double** data, double** out)
{
    for (int i = 0; i < n; i++) {
        out[i][i] = 0.0;
        for (int k = i + 1; k < n; k++) {
            double sum = 0.0;
            for (int j = 0; j < p; j++)
                if (BothPresent(data[i][j], data[k][j])) sum += std::fabs(data[i][j] - data[k][j]);
            out[i][k] = sum;
        }
    }
}

void BrayCurtisMV(int n, int p, double** data, double** out)
{
    double smallest = DBL_MAX;
    for (int i = 0; i < n; i++)
        for (int j = 0; j < p; j++)
            if (!IsMissing(data[i][j]) && data[i][j] < smallest) smallest = data[i][j];
    const double s = smallest <= 0.0 ? smallest : 0.0; // shifts negative data up to 0

    for (int i = 0; i < n; i++) {
        out[i][i] = 0.0;
        for (int k = i + 1; k < n; k++) {
            double num = 0.0;
            double den = 0.0;
            for (int j = 0; j < p; j++) {
                const double x = data[i][j];
                const double y = data[k][j];
                if (!BothPresent(x, y)) continue;
                num += std::fabs(x - y);
                den += (x - s) + y - s;
            }
            if (den > 0.0) out[i][k] = num / den;
        }
    }
}

void ChordDistMV(int n, int p, double** data, double** out)
{
    KeptRows unitRows;
    ChordDistMV(n, p, data, out, unitRows);
}

void ChordDistMV(int n, int p, double** data, double** out, KeptRows& unitRows)
{
    // Deliberate: the square of the distance if a cell is missing, else the distance itself; users'
    // earlier results depend on it (test "chord distance").
    if (AnyMissing(n, p, data)) {
        EachPairOfRows(n, data, out,
                       [p](double* x, double* y) { return ChordDistSq2VecMV(p, x, y); });
        return;
    }
    unitRows.Reserve(n, p);
    NormalizeRowsMV(n, p, data, unitRows);
    EucliDistMV(n, p, unitRows, out);
}

void LegendreChodorowski(int n, int p, double** data, double** out, double* weights, float k)
{
    const double largestPartial = static_cast<double>(k);
    for (int i = 0; i < n; i++) {
        out[i][i] = 1.0;
        for (int h = i + 1; h < n; h++) {
            double num = 0.0;
            double den = 0.0;
            for (int j = 0; j < p; j++) {
                const double w = weights == nullptr ? 1.0 : weights[j];
                // Deliberate: the comparison ends here, later variables are not looked at; users'
                // earlier results depend on it.
                if (!(w > 0.0)) break;
                const double x = data[i][j];
                const double y = data[h][j];
                if (!BothPresent(x, y) || !(x + y > 0.0)) continue;
                const double d = std::fabs(x - y);
                if (d <= largestPartial && x * y > 0.0)
                    num += w * PartialAgreement(d, largestPartial);
                den += w;
            }
            if (den > 0.0) out[i][h] = SinglePrecision(num / den);
            out[h][i] = out[i][h];
        }
    }
}
