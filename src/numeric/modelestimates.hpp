// SPDX-License-Identifier: GPL-3.0-or-later
// Regression coefficients, r square and pseudo-F, estimated with a bound on the error from what an
// arrangement leaves alone and one pass over the columns that it moves. For values that are only
// compared; what is printed comes from numeric/regression and from the sums of squares of
// resemblances.
#pragma once

#include <vector>

#include "numeric/estimate.hpp"

/// A column of n values as deviations from their mean.
struct CentredColumn {
    const double* cell = nullptr; // n
    double sumSquares = 0.0;      // of the deviations
    double rawSumSquares = 0.0;   // of the values
};

/// Least squares on the same e variables again and again: (E'E)^-1 E' is worked out once.
class RegressionEstimator
{
public:
    /// E   n x e, every cell present and finite
    RegressionEstimator(int n, int e, double** E);

    /// False if the variables are so nearly dependent, or so far apart in scale, that nothing
    /// useful is known of the exact form's rounding.
    bool IsUsable() const { return conditioning < 1e7; }

    /// Slopes of the response on the e variables, coefficient[j * stride] for variable j, and the
    /// share of its variance that they explain. `work` holds e values. A constant response leaves
    /// everything in doubt.
    void Estimate(const CentredColumn& response, double* work, ::Estimate* rSquare,
                  ::Estimate* coefficient, int stride) const;

private:
    void Invert(const std::vector<double>& S);
    double& Inverse(int i, int j);
    double Inverse(int i, int j) const;
    const int n, e;
    std::vector<double> centred;       // e x n
    std::vector<double> sumSquares;    // e
    std::vector<double> rawSumSquares; // e
    std::vector<double> inverse;       // e x e, of the products of the centred variables
    double conditioning = 0.0;         // how much solving the equations enlarges rounding
    double centring = 1.0;             // what centring the variables costs
};

/// The states of a factor among the communities that count.
struct FactorGroups {
    /// states of n communities, those with mask 1 counting
    FactorGroups(int n, const int* states, const int* mask);
    std::vector<int> group; // n: 0, 1... in order of first appearance; -1: does not count
    std::vector<int> size;  // by group
    int nMembers = 0;       // communities that count
};

/// Sums of squares of a set of columns: within groups and in all, the columns added up.
struct GroupSums {
    double within = 0.0, total = 0.0;
    double raw = 0.0; // of the values before they were centred
    GroupSums& operator+=(const GroupSums& other)
    {
        within += other.within;
        total += other.total;
        raw += other.raw;
        return *this;
    }
};

/// Adds one column to the sums. Squared Euclidean distances of all pairs over the number of
/// objects are the squared deviations from their mean. `work` holds a value for each group.
void AddColumn(const FactorGroups& factor, const CentredColumn& column, double* work,
               GroupSums& sums);

/// Between over within sum of squares; of a factor with a single state exactly 0.
Estimate PseudoFEstimate(const FactorGroups& factor, const GroupSums& sums);
