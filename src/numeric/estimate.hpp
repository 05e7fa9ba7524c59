// Decisions by estimates: a statistic that is only compared needs no last bit.
//
// A random statistic is compared with the observed one and counted. Any algebra may estimate it,
// if the decision is the one that the exact value would give: it stands where the estimate lies
// farther from the observed value than its error bound and the grain of the comparison together;
// in doubt the caller works out the exact value.
#pragma once

/// A value and a bound on its distance from the exact form's value. An error of infinity, or a
/// value that is not finite, never decides anything.
struct Estimate {
    double value = 0.0;
    double error = 0.0;
};

enum class Decision { below, reached, inDoubt };

/// Whether the exact value would be larger than or equal to the observed one, by
/// IsLargerThanOrEqual with one unit in the last place of single precision.
///
/// absolute   compares absolute values
/// The comparison calls values equal that lie within 1.2e-7 of each other, relatively; estimates
/// nearer than 1e-6 are in doubt whatever their error, as are numbers so small that single
/// precision thins out.
Decision Decide(Estimate random, double observed, bool absolute);
