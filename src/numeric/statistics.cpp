// SPDX-License-Identifier: GPL-3.0-or-later
#include "numeric/statistics.hpp"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "numeric/sort.hpp"
#include "shell/arrays.hpp"

namespace {

/// The bit pattern of x as a float, mapped so that integers and floats have the same order:
/// consecutive floats differ by 1 across zero, and both zeros are 0.
std::uint32_t OrderedPattern(double x)
{
    const float single = static_cast<float>(x);
    std::uint32_t pattern;
    std::memcpy(&pattern, &single, sizeof pattern);
    return pattern >= 0x80000000u ? 0x80000000u - pattern : pattern;
}

/// A cell as a state: truncated, clamped to int; a NaN is the lowest state.
int StateOf(double x)
{
    if (!(x > std::numeric_limits<int>::min())) return std::numeric_limits<int>::min();
    if (x >= std::numeric_limits<int>::max()) return std::numeric_limits<int>::max();
    return static_cast<int>(x);
}

/// Sorts the values and moves the distinct ones to the front; returns their number.
int SortDistinct(int n, int* values)
{
    std::sort(values, values + n);
    return static_cast<int>(std::unique(values, values + n) - values);
}

void SortOrder(int n, double* values1, double* order)
{
    OwnedVector positions1(static_cast<long>(n) + 1);
    for (int i = 1; i <= n; i++) positions1[i] = i;
    sort2(static_cast<unsigned long>(n), values1, positions1);
    for (int i = 0; i < n; i++) order[i] = positions1[i + 1];
}

} // namespace

bool AlmostEqual2sComplement(double A, double B, int maxUlps)
{
    // Not assert(): the check must also stop a build that defines NDEBUG.
    if (!(maxUlps > 0 && maxUlps < 4 * 1024 * 1024)) {
        std::fprintf(stderr, "%s:%d: Assertion `%s' failed.\n", __FILE__, __LINE__,
                     "maxUlps > 0 && maxUlps < 4 * 1024 * 1024");
        std::abort();
    }
    // Deliberate: the subtraction wraps in 32 bits, and the one difference without an absolute
    // value, 0x80000000, counts as equal.
    const std::uint32_t difference = OrderedPattern(A) - OrderedPattern(B);
    const std::uint32_t distance = difference >= 0x80000000u ? 0u - difference : difference;
    return distance == 0x80000000u || distance <= static_cast<std::uint32_t>(maxUlps);
}

bool IsLargerThanOrEqual(double A, double B, int maxUlps, bool absolute)
{
    if (absolute) {
        A = std::fabs(A);
        B = std::fabs(B);
    }
    return A > B || AlmostEqual2sComplement(A, B, maxUlps);
}

bool AlmostEqual_Tolerance(double A, double B, double tolerance)
{
    return tolerance > std::fabs(A - B);
}

double Fmax(double a, double b)
{
    return a > b ? a : b;
}

double Fmin(double a, double b)
{
    return a < b ? a : b;
}

double SumOfSquares(int n, const double* x)
{
    double sumSquares = 0.0;
    for (int i = 0; i < n; i++)
        if (!IsMissing(x[i])) sumSquares += x[i] * x[i];
    return sumSquares;
}

double SumOfSquaresDev(int n, const double* x)
{
    double sum = 0.0;
    double sumSquares = 0.0;
    int nPresent = 0;
    for (int i = 0; i < n; i++) {
        if (IsMissing(x[i])) continue;
        sum += x[i];
        sumSquares += x[i] * x[i];
        nPresent++;
    }
    return sumSquares - sum * sum / nPresent; // no guard: 0/0 when nothing is present
}

void MeanStDev(int n, const double* x, double* mean, double* sd)
{
    double sum = 0.0;
    double sumSquares = 0.0;
    for (int i = 0; i < n; i++) {
        sum += x[i];
        sumSquares += x[i] * x[i];
    }
    *mean = sum / n;
    *sd = std::sqrt((sumSquares - sum * sum / n) / (n - 1.0));
}

void RowTotalsMV(int rows, int cols, double** M, double* totals)
{
    for (int i = 0; i < rows; i++) {
        double total = 0.0;
        for (int j = 0; j < cols; j++)
            if (!IsMissing(M[i][j])) total += M[i][j];
        totals[i] = total;
    }
}

void ColTotalsMV(int rows, int cols, double** M, double* totals)
{
    for (int j = 0; j < cols; j++) totals[j] = 0.0;
    for (int i = 0; i < rows; i++)
        for (int j = 0; j < cols; j++)
            if (!IsMissing(M[i][j])) totals[j] += M[i][j];
}

double MatrixTotalMV(int rows, int cols, double** M)
{
    double total = 0.0;
    for (int i = 0; i < rows; i++)
        for (int j = 0; j < cols; j++)
            if (!IsMissing(M[i][j])) total += M[i][j];
    return total;
}

double maxVector(int n, const double* x)
{
    double largest = -std::numeric_limits<double>::max();
    for (int i = 0; i < n; i++)
        if (x[i] > largest) largest = x[i];
    return largest;
}

double minVector(int n, const double* x)
{
    double smallest = std::numeric_limits<double>::max();
    for (int i = 0; i < n; i++)
        if (x[i] < smallest) smallest = x[i];
    return smallest;
}

double Factorial(double x)
{
    if (x == 0.0) return 1.0;
    // Once infinite, further factors change nothing.
    for (int k = StateOf(x - 1.0); k >= 2 && !std::isinf(x); k--) x *= k;
    return x;
}

int CountStates(int n, const double* x)
{
    // States may be any number up to the largest int, so they are sorted and not tallied.
    OwnedInts states(n);
    int nStates = 0;
    for (int i = 0; i < n; i++) {
        const int state = StateOf(x[i]);
        if (!IsMissing(x[i]) && state >= 0) states[nStates++] = state;
    }
    return SortDistinct(nStates, states);
}

void CountGroups(int n, const int* labels, int* nGroups, int* groups)
{
    CountGroupsSelect(n, labels, nullptr, nGroups, groups);
}

void CountGroupsSelect(int n, const int* labels, const int* selected, int* nGroups, int* groups)
{
    OwnedInts found(n); // `groups` may be absent or hold no more than the labels it receives
    int nFound = 0;
    for (int i = 0; i < n; i++)
        if (selected == nullptr || selected[i] == 1) found[nFound++] = labels[i];
    *nGroups = SortDistinct(nFound, found);
    if (groups != nullptr) std::copy_n(static_cast<int*>(found), *nGroups, groups);
}

void CountGroupsNew(int n, const int* partition, int* nGroups, int* labels)
{
    CountGroupsSelect(n, partition, nullptr, nGroups, labels);
}

void RankVector(int n, const double* x, double* order)
{
    if (n < 1) return; // sort2 needs at least one value
    OwnedVector values1(static_cast<long>(n) + 1);
    for (int i = 0; i < n; i++) values1[i + 1] = x[i];
    SortOrder(n, values1, order);
}

void RankVectorAbs(int n, const double* x, double* order)
{
    if (n < 1) return;
    OwnedVector values1(static_cast<long>(n) + 1);
    for (int i = 0; i < n; i++) values1[i + 1] = std::fabs(x[i]);
    SortOrder(n, values1, order);
}

void RankVectorAdjMV(int n, const double* x, double* ranks)
{
    if (n < 1) return;
    OwnedVector values1(static_cast<long>(n) + 1);
    OwnedVector positions1(static_cast<long>(n) + 1);
    int nMissing = 0;
    for (int i = 0; i < n; i++) {
        if (IsMissing(x[i])) nMissing++;
        values1[i + 1] = x[i];
        positions1[i + 1] = i + 1;
    }
    const unsigned long count = static_cast<unsigned long>(n);
    double sumOfTies; // not wanted here
    sort2(count, values1, positions1);
    crank(count, values1, &sumOfTies);
    sort2(count, positions1, values1);
    // Deliberate: missing cells sort as -999, so a present value below that ranks at 0 or less.
    for (int i = 0; i < n; i++)
        ranks[i] = IsMissing(x[i]) ? missingValue : values1[i + 1] - nMissing;
}

double MatrixPercentile(int rows, int cols, double** M, double fraction)
{
    const int nCells = rows * cols;
    OwnedVector values(nCells);
    OwnedVector ranks(nCells);
    for (int i = 0; i < rows; i++)
        for (int j = 0; j < cols; j++) values[i * cols + j] = M[i][j];
    RankVectorAdjMV(nCells, values, ranks);

    double best = std::numeric_limits<float>::max();
    for (int c = 0; c < nCells; c++)
        if (ranks[c] / nCells > fraction && values[c] < best) best = values[c];
    return best;
}
