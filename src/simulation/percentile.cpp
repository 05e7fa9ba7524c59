// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulation/percentile.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

#include "numeric/statistics.hpp"

namespace {

const double noValue = std::numeric_limits<float>::max();
const double everything = -std::numeric_limits<double>::infinity();

/// Position, counted from 1, of the first of n sorted values whose rank without ties is above the
/// fraction; n + 1 if there is none.
std::size_t FirstAbove(std::size_t n, double fraction)
{
    const double count = static_cast<double>(n);
    const auto isAbove = [=](std::size_t k) { return static_cast<double>(k) / count > fraction; };
    const double guess = fraction > 0.0 ? std::min(fraction * count, count) : 0.0;
    auto k = static_cast<std::size_t>(guess);
    while (k > 1 && isAbove(k - 1)) k--;
    while (k < 1 || (k <= n && !isAbove(k))) k++;
    return k;
}

} // namespace

PercentileSelector::PercentileSelector(int rows, int cols)
    : nRows(rows), nCols(cols),
      nCells(static_cast<std::size_t>(rows) * static_cast<std::size_t>(cols)),
      gathered(static_cast<long>(nCells)), guess(everything)
{
}

/// Copies the cells not below `lowest`; returns how many.
std::size_t PercentileSelector::Gather(double** M, double lowest)
{
    double* const to = gathered;
    std::size_t n = 0;
    int nNaN = 0;
    for (int i = 0; i < nRows; i++) {
        const double* const row = M[i];
        for (int j = 0; j < nCols; j++) {
            to[n] = row[j]; // without a branch: a cell below is overwritten by the next
            n += row[j] >= lowest ? 1 : 0;
            nNaN += std::isnan(row[j]) ? 1 : 0;
        }
    }
    hasNaN = nNaN > 0;
    return n;
}

/// The value at a position among all sorted cells, or the next one above if ties pull the mean rank
/// of the value down to the fraction. Everything not gathered is smaller.
double PercentileSelector::ValueAt(std::size_t position, std::size_t nGathered, double fraction)
{
    double* const begin = gathered;
    double* const end = begin + nGathered;
    const std::size_t nBelow = nCells - nGathered;
    double* const at = begin + (position - 1 - nBelow);
    std::nth_element(begin, at, end);
    const double value = *at;

    const auto nLess = nBelow + static_cast<std::size_t>(std::count_if(
                                    begin, at, [value](double x) { return x < value; }));
    const auto nEqual = static_cast<std::size_t>(std::count(begin, end, value));
    const double first = static_cast<double>(nLess + 1);
    const double last = static_cast<double>(nLess + nEqual);
    if (0.5 * (first + last) / static_cast<double>(nCells) > fraction)
        return std::min(value, noValue);
    double next = noValue;
    for (const double* x = at; x < end; x++)
        if (*x > value && *x < next) next = *x;
    return next;
}

double PercentileSelector::Select(double** M, double fraction)
{
    const std::size_t position = FirstAbove(nCells, fraction);
    if (nCells == 0 || position > nCells) return noValue;
    std::size_t n = Gather(M, guess);
    if (!hasNaN && nCells - n >= position) n = Gather(M, everything); // the guess was too high
    if (hasNaN) return MatrixPercentile(nRows, nCols, M, fraction);
    const double value = ValueAt(position, n, fraction);
    guess = 0.97 * value; // a little below, so that the next value is above it as a rule
    return value;
}
