// SPDX-License-Identifier: GPL-3.0-or-later
// Scaling traits up to communities: the driver of the functional analysis and the matrices it
// derives from B, W, E and F.
#pragma once

#include <optional>

#include "functional/belonging.hpp"
#include "permutation/record.hpp"
#include "shell/arrays.hpp"

/// Sizes and matrices of one analysis, released on every way out. Sizes in the words of the
/// shapes: n communities, s OTUs, t traits, e ecosystem variables, g types, f taxa. Optional
/// matrices are empty until the step that makes them, and stay so when nothing reads them.
struct Scaling {
    Scaling();
    Scaling(const Scaling&) = delete;
    Scaling& operator=(const Scaling&) = delete;

    const int n, s, t, e;
    int g; // the user's types, or those that clustering finds
    const int f;
    const bool keepScale;     // OTUs are excluded and the original scale is kept
    const bool withPhylogeny; // F is used
    const bool wholeReport;   // detailed printout
    const bool withTests;     // permutation tests follow

    int nSelectedVariables = 0;    // columns of E in use
    int nSelectedTraits = 0;       // traits of positive weight
    OwnedInts selectedTraits;      // t, 0 or 1
    OwnedInts selectedTypes;       // variable types of the columns of E
    OwnedRows E;                   // n x e, the selected variables first, the rest 0
    OwnedRows DE;                  // n x n
    OwnedRows traitW;              // n x s, unit totals always: for T only
    OwnedRows W;                   // n x s, unit totals if asked for: for all else
    OwnedRows selectedB;           // s x t, unselected columns 0
    OwnedVector D, Rf, Rp, FR, PR; // n: diversity and redundancy
    OwnedRows T;                   // n x (t + 1)
    std::optional<OwnedRows> Y, Z;           // n x s: smoothed composition, plain and by odds
    std::optional<OwnedRows> DY, DZ;         // n x n
    std::optional<OwnedRows> DT;             // n x n
    std::optional<PartialSimilarity> perTrait; // Gower similarity of OTUs, trait by trait
    std::optional<OwnedRows> Sb;             // s x s: the same, averaged
    std::optional<OwnedRows> C, U;           // s x g: crisp and fuzzy belonging to types
    std::optional<OwnedRows> crispX, X;      // n x g
    std::optional<OwnedRows> pcoaScores;     // s x s, nPCoA columns in use
    std::optional<OwnedRows> Q, P;           // s x f, n x f: belonging by phylogeny
    std::optional<OwnedRows> DP;             // n x n
    std::optional<OwnedRows> averageTraits;  // g x t
    int nPCoA = 0;
    OwnedInts typeLabels, typeSizes; // s, g in use: labels ascending, number of OTUs

    // Statistics; r(TE) alone without tests
    double results[nStatistics] = {};
    double probabilities[nStatistics] = {};
    double testSeconds = 0.0;
    std::optional<OwnedRegression> regression;  // linear regression
    std::optional<OwnedAnova> anovaF, anovaP;   // analysis of variance, e factors
    std::optional<OwnedRows> factors;           // n x e: the states, selected variables first
};

/// The functional analysis on the open session with the settings in it: derives all matrices and
/// writes the report. Overwrites session matrices (F from phylogeny variables, ranks of ordinal
/// ones). A report that cannot be opened: failure code 4.
void PFTs_ScalingUp();
