// The correlation of two resemblance matrices between communities, as all analyses use it.
#pragma once

/// Measures of congruence, by the numbers of opt_ro.
enum Congruence { mantel = 1, procrustes, rvCoefficient, linearRegression, varianceAnalysis };

/// MatrixCorr of two n x n resemblance matrices between communities (upper triangles). With fewer
/// than 3 communities there is one value in each and no correlation: then 1 - |a - b| / max(a, b),
/// the relative closeness of the two single values a and b (0..1 for distances; NaN if both are 0
/// or if n is 1).
double CommunityCorr(int n, double** A, double** B);
