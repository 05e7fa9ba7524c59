// SPDX-License-Identifier: GPL-3.0-or-later
#include "numeric/modelestimates.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

#include "numeric/ordination.hpp"
#include "shell/arrays.hpp"

namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();

std::size_t Size(int n)
{
    return static_cast<std::size_t>(n);
}

/// Relative error of a sum of n products, with room for the exact form's (Higham 2002, Accuracy
/// and Stability of Numerical Algorithms, 3.1).
double UnitOf(int n)
{
    return 16.0 * std::numeric_limits<double>::epsilon() * n;
}

double Dot(int n, const double* a, const double* b)
{
    double sum = 0.0;
    for (int i = 0; i < n; i++) sum += a[i] * b[i];
    return sum;
}

/// Largest over smallest eigenvalue of M, n x n; infinite if one is not above 0.
double ConditionNumber(int n, double** M, double** vectors, double* values)
{
    EigenHouseholderQL_GSL_D(n, M, vectors, values);
    return values[n - 1] > 0.0 ? values[0] / values[n - 1] : infinity;
}

} // namespace

RegressionEstimator::RegressionEstimator(int nObjects, int nVariables, double** E)
    : n(nObjects), e(nVariables), centred(Size(e) * Size(n)), sumSquares(Size(e)),
      rawSumSquares(Size(e)), inverse(Size(e) * Size(e))
{
    std::vector<double> S(Size(e) * Size(e));
    for (int j = 0; j < e; j++) {
        double* column = centred.data() + Size(j) * Size(n);
        for (int i = 0; i < n; i++) column[i] = E[i][j];
        rawSumSquares[Size(j)] = Dot(n, column, column);
        double sum = 0.0;
        for (int i = 0; i < n; i++) sum += column[i];
        for (int i = 0; i < n; i++) column[i] -= sum / n;
        for (int k = 0; k <= j; k++)
            S[Size(j) * Size(e) + Size(k)] = S[Size(k) * Size(e) + Size(j)] =
                Dot(n, column, centred.data() + Size(k) * Size(n));
        sumSquares[Size(j)] = S[Size(j) * Size(e) + Size(j)];
        if (sumSquares[Size(j)] > 0.0)
            centring = std::max(centring, std::sqrt(rawSumSquares[Size(j)] / sumSquares[Size(j)]));
        else
            centring = infinity;
    }
    Invert(S);
    conditioning *= centring;
    if (!(conditioning >= 0.0)) conditioning = infinity;
}

double& RegressionEstimator::Inverse(int i, int j)
{
    return inverse[Size(i) * Size(e) + Size(j)];
}

double RegressionEstimator::Inverse(int i, int j) const
{
    return inverse[Size(i) * Size(e) + Size(j)];
}

/// The inverse of S by way of correlations, which do not depend on the variables' units; the
/// conditioning is the worse of the two, for the exact form solves in the units as they are.
void RegressionEstimator::Invert(const std::vector<double>& S)
{
    OwnedRows M(e, e), vectors(e, e);
    OwnedVector values(e);
    for (int i = 0; i < e; i++)
        for (int j = 0; j < e; j++) M[i][j] = S[Size(i) * Size(e) + Size(j)];
    conditioning = ConditionNumber(e, M, vectors, values);
    for (int i = 0; i < e; i++)
        for (int j = 0; j < e; j++)
            M[i][j] = S[Size(i) * Size(e) + Size(j)] /
                      std::sqrt(sumSquares[Size(i)] * sumSquares[Size(j)]);
    conditioning = e * std::max(conditioning, ConditionNumber(e, M, vectors, values));
    for (int i = 0; i < e; i++)
        for (int j = 0; j < e; j++) {
            double sum = 0.0;
            for (int a = 0; a < e; a++) sum += vectors[a][i] * vectors[a][j] / values[a];
            Inverse(i, j) = sum / std::sqrt(sumSquares[Size(i)] * sumSquares[Size(j)]);
        }
}

void RegressionEstimator::Estimate(const CentredColumn& response, double* work, ::Estimate* rSquare,
                                   ::Estimate* coefficient, int stride) const
{
    const double length = std::sqrt(response.sumSquares);
    const double relative =
        UnitOf(n) * conditioning * std::sqrt(response.rawSumSquares / response.sumSquares);
    for (int j = 0; j < e; j++) work[j] = Dot(n, centred.data() + Size(j) * Size(n), response.cell);
    double explained = 0.0;
    double fitted = 0.0; // length of the fitted values before their mean is taken off again
    for (int j = 0; j < e; j++) {
        double slope = 0.0;
        for (int k = 0; k < e; k++) slope += Inverse(j, k) * work[k];
        coefficient[j * stride] = {slope, relative * length / std::sqrt(sumSquares[Size(j)])};
        explained += slope * work[j];
        fitted += std::fabs(slope) * std::sqrt(rawSumSquares[Size(j)]);
    }
    const double rounding = UnitOf(n) * fitted / length;
    *rSquare = {explained / response.sumSquares, relative + (2.0 + rounding) * rounding};
}

FactorGroups::FactorGroups(int n, const int* states, const int* mask) : group(Size(n), -1)
{
    for (int i = 0; i < n; i++) {
        if (mask[i] != 1) continue;
        nMembers++;
        for (int k = 0; k < i && group[Size(i)] < 0; k++)
            if (mask[k] == 1 && states[k] == states[i]) group[Size(i)] = group[Size(k)];
        if (group[Size(i)] < 0) {
            group[Size(i)] = static_cast<int>(size.size());
            size.push_back(0);
        }
        size[Size(group[Size(i)])]++;
    }
}

void AddColumn(const FactorGroups& factor, const CentredColumn& column, double* work,
               GroupSums& sums)
{
    std::fill(work, work + factor.size.size(), 0.0);
    double all = 0.0, squares = 0.0;
    for (std::size_t i = 0; i < factor.group.size(); i++) {
        if (factor.group[i] < 0) continue;
        const double x = column.cell[i];
        work[factor.group[i]] += x;
        all += x;
        squares += x * x;
    }
    double between = 0.0;
    for (std::size_t h = 0; h < factor.size.size(); h++)
        between += work[h] * work[h] / factor.size[h];
    sums.total += squares - all * all / factor.nMembers;
    sums.within += squares - between;
    sums.raw += column.rawSumSquares;
}

Estimate PseudoFEstimate(const FactorGroups& factor, const GroupSums& sums)
{
    const double error = UnitOf(static_cast<int>(factor.group.size())) * sums.raw;
    if (!(sums.within > 1e3 * error)) return {0.0, infinity};
    if (factor.size.size() == 1) return {0.0, 0.0}; // the same sum twice: nothing between
    const double F = (sums.total - sums.within) / sums.within;
    return {F, 4.0 * error * (1.0 + std::fabs(F)) / sums.within};
}
