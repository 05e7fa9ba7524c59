// SPDX-License-Identifier: GPL-3.0-or-later
#include "numeric/mantelestimate.hpp"

#include <cmath>
#include <cstddef>
#include <limits>

#include "numeric/triangle.hpp"

namespace
{

/// A correlation from its sums. Sums of N products are known to N rounding units of the product of
/// the lengths (Higham 2002, Accuracy and Stability of Numerical Algorithms, 3.1), before the means
/// are taken off; the exact form's as well. Noise of the cells turns the deviations by an angle of
/// that size. A spread that is little more than rounding or noise leaves the doubt: the exact form
/// may correlate what is left.
Estimate CorrelationEstimate(double nCells, double products, const Spread& a, const Spread& b)
{
    const double unit = 4.0 * std::numeric_limits<double>::epsilon() * nCells;
    const double rounding = unit * (a.growth + b.growth), noise = a.noise + b.noise;
    const double r = products / std::sqrt(a.deviations * b.deviations);
    const double error = unit * std::sqrt(a.growth * b.growth) + std::fabs(r) * rounding +
                         2.0 * (1.0 + std::fabs(r)) * noise;
    const bool isSpread = a.deviations > 0.0 && b.deviations > 0.0 && rounding + noise < 1e-3;
    return isSpread ? Estimate{r, error} : Unknown();
}

double SumOfSquares(long n, const double* x)
{
    double squares = 0.0;
    for (long i = 0; i < n; i++) squares += x[i] * x[i];
    return squares;
}

}  // namespace

Estimate Unknown()
{
    return {0.0, std::numeric_limits<double>::infinity()};
}

Spread::Spread(double nCells, double sum, double squares, double cellError)
    : mean(sum / nCells),
      deviations(squares - sum * mean),
      growth(squares / deviations),
      noise(cellError * std::sqrt(nCells / deviations))
{
}

FixedTriangle::FixedTriangle(int nObjects, const double* const* rows)
    : nCells(TriangleSize(nObjects)), cell(static_cast<std::size_t>(nCells))
{
    PackTriangle(nObjects, rows, cell);
    const double squares = SumOfSquares(nCells, cell);
    spread.deviations = CenterTriangle(nCells, cell);
    spread.growth = squares / spread.deviations;
}

Estimate WithFixed(const FixedTriangle& fixed, double products, const Spread& moving)
{
    return CorrelationEstimate(static_cast<double>(fixed.nCells), products, fixed.spread, moving);
}

Estimate OfMoving(double nCells, double products, const Spread& a, const Spread& b)
{
    return CorrelationEstimate(nCells, products - nCells * a.mean * b.mean, a, b);
}

/// The error follows the derivatives, doubled.
Estimate PartialEstimate(const Estimate& a, const Estimate& b, const Estimate& c)
{
    const double restB = 1.0 - b.value * b.value, restC = 1.0 - c.value * c.value;
    const bool isClear = restB > 1e-4 + 1e3 * b.error && restC > 1e-4 + 1e3 * c.error;
    if (!isClear) return Unknown();
    const double scale = std::sqrt(restB * restC);
    const double value = (a.value - b.value * c.value) / scale;
    const double ofTop = a.error + b.error + c.error;
    const double ofScale = b.error / restB + c.error / restC;
    return {value, 2.0 * (ofTop / scale + std::fabs(value) * ofScale) + 1e-14};
}
