// SPDX-License-Identifier: GPL-3.0-or-later
// The statistics of one arrangement, where each stands in the record, and how the random ones are
// counted against the observed one.
#pragma once

#include <vector>

#include "permutation/record.hpp"

/// Sizes of a test's responses and factors, from which the places of the models' values follow.
struct ModelSizes {
    explicit ModelSizes(const PermTest_FunctionalPhyl_Correl_Input& record);
    int nResponses; // of the regression: traits, Rf and, with phylogeny, Rp
    int nTraits;
    int nFactors;   // ecosystem variables
    int nValues;    // of the measure's model; 0 under Mantel, Procrustes and RV

    // Places in ArrangementStatistics::value
    int RSquare(int response) const { return nStatistics + response; }
    int Coefficient(int factor, int response) const
    {
        return nStatistics + nResponses * (1 + factor) + response;
    }
    enum Response { T, X, P, Rf, Rp, nResponseKinds };
    int F(Response response, int factor) const { return nStatistics + response * nFactors + factor; }
    int TraitF(int factor, int trait) const
    {
        return nStatistics + (nResponseKinds + trait) * nFactors + factor;
    }
};

/// The statistics of one arrangement, and those that only serve the partials or the file of
/// intermediate results.
struct ArrangementStatistics {
    explicit ArrangementStatistics(int nModelValues)
        : value(static_cast<std::size_t>(nStatistics + nModelValues))
    {
    }
    std::vector<double> value; // indexed by Statistic; behind them the model's, as ModelSizes tells
    double rXT = 0.0, rXR = 0.0, rTR = 0.0;       // Mantel, Procrustes, RV
    double rXE_R = 0.0, rTE_R = 0.0, rXT_R = 0.0; // Mantel only
};

/// The partial correlations of an arrangement from its plain ones, under Mantel.
void PartialMantel(ArrangementStatistics& statistics, bool withPhylogeny);

/// What becomes of one value of an arrangement.
struct Comparison {
    double* observed;    // place in the record
    double* probability; // place in the record
    bool isCounted;      // belongs to the measure, the null model and the data; otherwise P is 1 / nIter
    bool absolute;       // absolute values are compared
};

/// One comparison for each place of ArrangementStatistics::value.
std::vector<Comparison> Comparisons(PermTest_FunctionalPhyl_Correl_Input& record);

/// Adds 1 to counts[c] for each counted value that reaches the observed one.
void CountReached(const std::vector<Comparison>& comparisons, const ArrangementStatistics& random,
                  double* counts);
