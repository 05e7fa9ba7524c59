// SPDX-License-Identifier: GPL-3.0-or-later
// Estimates of matrix correlations (MatrixCorr) from sums that run in any order, with a bound on
// their distance from the exact form's value (numeric/estimate).
#pragma once

#include "numeric/estimate.hpp"
#include "shell/arrays.hpp"

/// What says nothing: an error that never decides.
Estimate Unknown();

/// A triangle as its sums tell it.
struct Spread {
    Spread() = default;
    /// cellError  bound on what the cells differ by from those of the exact form
    Spread(double nCells, double sum, double squares, double cellError = 0.0);
    double mean = 0.0;
    double deviations = 0.0;  // sum of squared deviations
    double growth = 0.0;      // how much of the squares the mean took away: rounding grows by it
    double noise = 0.0;       // length of the errors of the cells over that of the deviations
};

/// The cells above the diagonal of n objects that nothing changes, as deviations from their mean.
struct FixedTriangle {
    FixedTriangle(int nObjects, const double* const* rows);
    const long nCells;
    Lanes cell;
    Spread spread;
};

/// With a fixed triangle; products: of its cells with the moving ones as they are.
Estimate WithFixed(const FixedTriangle& fixed, double products, const Spread& moving);
/// Of two moving triangles; products: of their cells as they are.
Estimate OfMoving(double nCells, double products, const Spread& a, const Spread& b);

/// PartialCorrelation(a, b, c) = (a - bc) / sqrt((1 - b^2)(1 - c^2)); unknown near correlations of
/// 1 and -1, where the exact form branches or divides by 0.
Estimate PartialEstimate(const Estimate& a, const Estimate& b, const Estimate& c);
