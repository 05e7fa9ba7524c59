// SPDX-License-Identifier: GPL-3.0-or-later
// Decisions by estimates: a statistic that is only compared needs no last bit.
//
// A random statistic is compared with the observed one and counted. Any algebra may estimate it,
// if the decision is the one that the exact value would give: it stands where the estimate lies
// farther from the observed value than its error bound and the grain of the comparison together;
// in doubt the caller works out the exact value.
#pragma once

/// A value and a bound on its distance from the exact form's value. An error of 0 says that it is
/// that value, bit for bit; an error that is infinite or NaN never decides anything.
struct Estimate {
    double value = 0.0;
    double error = 0.0;
};

enum class Decision { below, reached, inDoubt };

/// Whether the exact value would be larger than or equal to the observed one, by
/// IsLargerThanOrEqual with one unit in the last place of single precision.
///
/// absolute   compares absolute values
/// The comparison takes values as equal, and so as reached, that are neighbours in single
/// precision: certainly those within 3e-8 of each other, relatively, and none beyond 2.4e-7.
/// Estimates that may lie between 3e-8 and 1e-6 are in doubt, as are numbers so small that single
/// precision thins out.
Decision Decide(Estimate random, double observed, bool absolute);
