// SPDX-License-Identifier: GPL-3.0-or-later
// The record that a permutation test reads and fills: the matrices of one analysis, its settings,
// and the statistics that follow the ecosystem variables.
#pragma once

#include <cstdio>

#include "shell/arrays.hpp"

/// The statistics of the test, named by the matrices they relate: T community weighted means, X
/// composition by types, R and F Rao entropy on traits and on phylogeny, P composition by taxa, E
/// ecosystem variables, Y and Z smoothed composition, B traits and F phylogeny of OTUs in roBF.
/// What stands behind the last underscore is partialled out.
enum Statistic {
    rXE, rTE, rXE_T, rRE, rXE_TR, rTY, rTZ, rXY, rXZ, rXY_T, rXZ_T, roBF, rFE, roPE, roPT, roPX,
    roPX_T, roTE_P, roXE_P, roXE_TP, roPE_T, roPE_X,
    nStatistics
};

/// Regression of each trait average and diversity vector on the ecosystem variables. Vectors have
/// a place for each of the t traits, then Rf, then Rp; matrices a row for each variable.
struct RegressionResults {
    double* rSquare = nullptr;     // t + 2
    double* intercept = nullptr;   // t + 2
    double* pRSquare = nullptr;    // t + 2
    double** coefficient = nullptr;  // e' x (t + 2)
    double** pCoefficient = nullptr; // e' x (t + 2)
};

/// Room for the results of the regression, for e variables and t traits.
struct OwnedRegression {
    OwnedRegression(int e, int t);
    operator RegressionResults() const; // borrowed
    OwnedVector rSquare, intercept, pRSquare;
    OwnedRows coefficient, pCoefficient;
};

/// Pseudo-F, or its P, of each ecosystem variable taken as a factor, on each response.
struct AnovaResults {
    double* X = nullptr;       // e'
    double* T = nullptr;       // e'
    double** traits = nullptr; // e' x t
    double* P = nullptr;       // e'
    double* Rf = nullptr;      // e'
    double* Rp = nullptr;      // e'
};

/// Room for the results of the analysis of variance, for e factors and t traits.
struct OwnedAnova {
    OwnedAnova(int e, int t);
    operator AnovaResults() const; // borrowed
    OwnedVector X, T;
    OwnedRows traits;
    OwnedVector P, Rf, Rp;
};

/// Everything the test reads and returns. The caller allocates, fills the inputs and reads the
/// outputs; the test releases nothing of it. n communities, s OTUs, t traits, e' variables in use,
/// g types, f taxa. All inputs are left as they are (lower triangles of Sb and Sf may be filled
/// from the upper ones).
struct PermTest_FunctionalPhyl_Correl_Input {
    int nIter = 0;                   // iterations, the observed arrangement included
    int nTraits = 0;                 // t
    int* selectedTraits = nullptr;   // t, 1 for a trait in use
    int nOTUs = 0;                   // s
    int nTypes = 0;                  // g
    int nTaxa = 0;                   // f
    int nEnvSelected = 0;            // e'
    int* eVarSelect = nullptr;       // carried, not read
    int nCommunities = 0;            // n
    int* relSelect = nullptr;        // n, mask of the sums of squares
    int nPCoA = 0;                   // columns of pcoaScores in use
    double** B = nullptr;            // s x t, unselected columns 0
    double** Sb = nullptr;           // s x s, similarity on traits, upper triangle
    double** pcoaScores = nullptr;   // s x nPCoA; read under Procrustes and RV only
    double** Sf = nullptr;           // s x s, phylogenetic resemblance, upper triangle
    double** E = nullptr;            // n x e'
    double** U = nullptr;            // s x g, belonging by traits
    double** Q = nullptr;            // s x f, belonging by phylogeny
    double** W = nullptr;            // n x s
    double** DE = nullptr;           // n x n; DE, DY, DZ are read under Mantel only
    double** DY = nullptr;           // n x n
    double** DZ = nullptr;           // n x n
    double** Y = nullptr;            // n x s
    double** Z = nullptr;            // n x s

    double results[nStatistics] = {};       // out: observed statistics
    double probabilities[nStatistics] = {}; // out: P of each
    RegressionResults regression;           // out, measure 4
    AnovaResults anovaF, anovaP;            // out, measure 5

    int communityResemblance = 6; // rese_opt
    int measure = 1;              // opt_ro: 1 Mantel, 2 Procrustes, 3 RV, 4 regression, 5 anova
    double overfitFactor = 2.0;   // predictors of partial coefficients: at most (n - 2) / factor
    bool saveIntermediate = false;
    bool weightedNull = false;      // OTUs are drawn by their frequency in the communities
    bool keepScale = false;
    bool hasPhylogenyInput = false;
    bool phylIsDissimilarity = false;
    bool sqrtTraits = true;         // Rao entropy on square-rooted dissimilarities, traits
    bool sqrtPhyl = false;          // the same, phylogeny
    int restrictKind = 0;           // 1: permutations within nesting groups
    int* nestingGroups = nullptr;   // s
    int shuffleKind = 't';          // 't' OTUs move, 's' communities move
    bool resultsFlag = false;       // set by the caller, read by no one
    bool twoTailed = true;          // of the statistics that are no partials

    double** T = nullptr;  // out, n x t or wider: normalised T of the composition in W
    double** X = nullptr;  // out, n x g
    double** P = nullptr;  // out, n x f
    double* Rf = nullptr;  // out, n
    double* Rp = nullptr;  // out, n
    int* otuWeights = nullptr; // s, 1 or 0
    bool restrictRao = false;
    std::FILE* intermediateFile = nullptr; // open; written when saveIntermediate
};

/// Fills in what the session and the preferences decide, the same for every analysis: iterations,
/// null model, measure, tails, weights of OTUs and the masks, which stay the session's own.
/// Phylogeny is left to the caller.
void GiveSettings(PermTest_FunctionalPhyl_Correl_Input& test);

/// OTUs are excluded, and what is left keeps the scale of the whole community.
bool KeepsScale();
