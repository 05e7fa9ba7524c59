// SPDX-License-Identifier: GPL-3.0-or-later
// The analysis of a simulated data set by the permutation test, and the count of null hypotheses
// rejected over many sets.
#pragma once

#include <cstdio>

#include "permutation/permtest.hpp"
#include "shell/arrays.hpp"
#include "simulation/model.hpp"
#include "simulation/settings.hpp"

/// Statistics of the test that rest on no phylogeny: the first of the record.
constexpr int nTested = 11;

/// Work space of the analysis of a set, with the results of the last one. S sites, N OTUs, K
/// traits, e' predictors in use.
struct SetAnalysis {
    explicit SetAnalysis(const Simulation& run);
    SetAnalysis(const SetAnalysis&) = delete;
    SetAnalysis& operator=(const SetAnalysis&) = delete;

    PermTest_FunctionalPhyl_Correl_Input test;

    OwnedInts selectedTraits;         // K
    OwnedRows relativeW;              // S x N, shares of communities
    OwnedRows Sb, U;                  // N x N: similarity of OTUs, belonging to types
    OwnedRows Y, Z;                   // S x N
    OwnedRows selectedE;              // S x e'
    OwnedRows DE, DY, DZ;             // S x S
    OwnedRows T, X;                   // S x (K + 2), S x N
    OwnedVector Rf;                   // S
    OwnedVector rSquare, intercept, pRSquare;     // K + 2
    OwnedRows coefficient, pCoefficient;          // e' x (K + 2)
    OwnedVector fX, fT, fRf, pX, pT, pRf, unused; // e'
    OwnedRows fTraits, pTraits;                   // e' x K
};

/// How many null hypotheses were rejected, or after Divide their share. Regression responses:
/// the K traits, then functional diversity.
struct Rejections {
    explicit Rejections(const Simulation& run);

    double statistics[nTested] = {};
    OwnedVector rSquare;     // K + 1
    OwnedRows coefficient;   // e' x (K + 1)
    OwnedVector X, T, Rf;    // e'
    OwnedRows traits;        // e' x K
};

/// Tests the set that the metacommunity holds. With the analysis of variance the selected
/// predictors of E become classes 1 to 5, in place. `intermediate` receives the randomised tables
/// if the preferences say so; may be null otherwise.
void AnalyseSet(const Simulation& run, Metacommunity& m, SetAnalysis& analysis,
                std::FILE* intermediate);

/// True if P is alpha, or within one unit in the last place of single precision of it, or below.
/// A P that is not a number rejects nothing.
bool IsRejected(double p, double alpha);

/// Adds 1 for each P of the last analysis that rejects; those of the measure in force.
void CountRejections(const Simulation& run, const SetAnalysis& analysis, Rejections& rejections);

/// Counts become rates.
void DivideRejections(const Simulation& run, Rejections& rejections);
