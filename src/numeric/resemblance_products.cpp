// SPDX-License-Identifier: GPL-3.0-or-later
#include <cmath>

#include "numeric/adjust.hpp"
#include "numeric/matrix.hpp"
#include "numeric/resemblance.hpp"
#include "numeric/resemblance_pairs.hpp"
#include "shell/arrays.hpp"

void CrossProductMV(int n, int p, double** data, double** out)
{
    if (AnyMissing(n, p, data)) {
        EachPairOfRows(n, data, out,
                       [p](double* x, double* y) { return CrossProduct2VecMV(p, x, y); });
    } else {
        EachPairOfRows(n, data, out, [p](const double* x, const double* y) {
            double sum = 0.0;
            for (int j = 0; j < p; j++) sum += x[j] * y[j];
            return sum;
        });
    }
    UpperToLowerMatrix(n, out);
}

void CorrelationMV(int n, int p, double** data, double** out)
{
    KeptRows standardised;
    CorrelationMV(n, p, data, out, standardised);
}

void CorrelationMV(int n, int p, double** data, double** out, KeptRows& standardised)
{
    if (AnyMissing(n, p, data)) {
        EachPairOfRows(n, data, out,
                       [p](double* x, double* y) { return Correlation2VecMV(p, x, y); });
        return;
    }
    standardised.Reserve(n, p);
    CenterRowsMV(n, p, data, standardised);
    NormalizeRowsMV(n, p, standardised, standardised);
    CrossProductMV(n, p, standardised, out);
}

void CovarianceMV(int n, int p, double** data, double** out)
{
    if (AnyMissing(n, p, data)) {
        EachPairOfRows(n, data, out,
                       [p](double* x, double* y) { return Covariance2VecMV(p, x, y); });
        return;
    }
    OwnedRows centred(n, p);
    CenterRowsCovMV(n, p, data, centred);
    CrossProductMV(n, p, centred, out);
}

double CrossProduct2VecMV(int n, double* x, double* y)
{
    double sum = 0.0;
    for (int j = 0; j < n; j++)
        if (BothPresent(x[j], y[j])) sum += x[j] * y[j];
    return sum;
}

namespace {

/// Means of two vectors over the m positions present in both.
struct CommonMeans {
    int m = 0;
    double x = 0.0;
    double y = 0.0;

    CommonMeans(int n, const double* xs, const double* ys)
    {
        double sumX = 0.0;
        double sumY = 0.0;
        for (int j = 0; j < n; j++) {
            if (!BothPresent(xs[j], ys[j])) continue;
            sumX += xs[j];
            sumY += ys[j];
            m++;
        }
        x = sumX / m;
        y = sumY / m;
    }
};

} // namespace

double Covariance2VecMV(int n, double* x, double* y)
{
    const CommonMeans mean(n, x, y);
    double sum = 0.0;
    for (int j = 0; j < n; j++)
        if (BothPresent(x[j], y[j])) sum += (y[j] - mean.y) * (x[j] - mean.x) / (mean.m - 1);
    return sum;
}

double Correlation2VecMV(int n, double* x, double* y)
{
    const CommonMeans mean(n, x, y);
    double Sxx = 0.0;
    double Syy = 0.0;
    for (int j = 0; j < n; j++) {
        if (!BothPresent(x[j], y[j])) continue;
        Sxx += (x[j] - mean.x) * (x[j] - mean.x);
        Syy += (y[j] - mean.y) * (y[j] - mean.y);
    }
    const double Sx = std::sqrt(Sxx);
    const double Sy = std::sqrt(Syy);
    double r = 0.0;
    for (int j = 0; j < n; j++)
        if (BothPresent(x[j], y[j])) r += ((x[j] - mean.x) / Sx) * ((y[j] - mean.y) / Sy);
    return r;
}

double ChordDistSq2VecMV(int n, double* x, double* y)
{
    double sumX = 0.0;
    double sumY = 0.0;
    for (int j = 0; j < n; j++) {
        if (!BothPresent(x[j], y[j])) continue;
        sumX += x[j] * x[j];
        sumY += y[j] * y[j];
    }
    const double lengthX = std::sqrt(sumX);
    const double lengthY = std::sqrt(sumY);
    double sum = 0.0;
    for (int j = 0; j < n; j++) {
        if (!BothPresent(x[j], y[j])) continue;
        const double difference = x[j] / lengthX - y[j] / lengthY;
        sum += difference * difference;
    }
    return sum;
}
