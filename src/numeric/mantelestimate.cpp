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
/// are taken off; the exact form's as well. A spread that is little more than rounding leaves the
/// doubt: the exact form correlates its noise.
Estimate CorrelationEstimate(double nCells, double products, double squaresA, double growthA,
                             double squaresB, double growthB)
{
    const double unit = 4.0 * std::numeric_limits<double>::epsilon() * nCells;
    const double r = products / std::sqrt(squaresA * squaresB);
    const double error = unit * (std::sqrt(growthA * growthB) + std::fabs(r) * (growthA + growthB));
    const bool isSpread = unit * (growthA + growthB) < 1e-3;
    return squaresA > 0.0 && squaresB > 0.0 && isSpread ? Estimate{r, error} : Unknown();
}

}  // namespace

Estimate Unknown()
{
    return {0.0, std::numeric_limits<double>::infinity()};
}

FixedTriangle::FixedTriangle(int nObjects, const double* const* rows)
    : nCells(TriangleSize(nObjects)), cell(static_cast<std::size_t>(nCells))
{
    PackTriangle(nObjects, rows, cell);
    double squares = 0.0;
    for (long p = 0; p < nCells; p++) squares += cell[p] * cell[p];
    sumSquares = CenterTriangle(nCells, cell);
    growth = squares / sumSquares;
}

Estimate WithFixed(const FixedTriangle& fixed, double products, const Spread& moving)
{
    return CorrelationEstimate(static_cast<double>(fixed.nCells), products, fixed.sumSquares,
                               fixed.growth, moving.deviations, moving.growth);
}

Estimate OfMoving(double nCells, double products, const Spread& a, const Spread& b)
{
    return CorrelationEstimate(nCells, products - nCells * a.mean * b.mean, a.deviations, a.growth,
                               b.deviations, b.growth);
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
