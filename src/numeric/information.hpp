// Measures of association between profiles of frequencies.
#pragma once

/// Half the summed differences of two profiles, each scaled to its own total: 0 for profiles of
/// equal shares, 1 for profiles without a common element (d = a/A - b/B; sum of |d| / 2, or with
/// `squared` of d squared / 2).
///
/// returns  0 if n < 1 or if a total is not above 0. Missing cells are not tested.
double SumAbsDeviations(int n, const double* a, const double* b, bool squared);
