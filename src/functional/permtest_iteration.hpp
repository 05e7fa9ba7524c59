// One arrangement of the permutation test: a function of a random list and of inputs prepared once,
// which leaves the statistics of that arrangement in a workspace. Drawing lists and counting stand
// outside, so arrangements can be evaluated side by side.
#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "functional/diversity.hpp"
#include "functional/permtest.hpp"
#include "functional/permtest_fast.hpp"
#include "functional/permtest_models.hpp"
#include "shell/arrays.hpp"

/// The statistics of one arrangement, and those that only serve the partials or the file of
/// intermediate results.
struct IterationStatistics {
    double value[nStatistics] = {};
    double rXT = 0.0, rXR = 0.0, rTR = 0.0;       // Mantel, Procrustes, RV
    double rXE_R = 0.0, rTE_R = 0.0, rXT_R = 0.0; // Mantel only
};

/// What no arrangement changes, worked out once per test and read by all threads.
struct PermutationInputs {
    /// Mirrors Sb and Sf of the record.
    explicit PermutationInputs(const PermTest_FunctionalPhyl_Correl_Input& record);

    const PermTest_FunctionalPhyl_Correl_Input& record; // borrowed
    const int n, s, t, g, f, e;
    const bool withPhylogeny;
    const bool areCorrelations;     // Mantel, Procrustes or RV
    const bool usesResemblances;    // Mantel or analysis of variance
    const bool moveTaxa;            // taxa shuffle; otherwise sites
    const int resemblanceOption;    // of X and P, by the numbers of ResemblanceLib
    RaoDissimilarity onTraits;      // d of every OTU pair
    std::optional<RaoDissimilarity> onPhylogeny;
    OwnedVector noOtu;              // a row of zeros for draws beyond the pool
    std::optional<OwnedRows> normalizedB; // s x t, Procrustes and RV with phylogeny
    std::vector<std::unique_ptr<OwnedInts>> factors; // e x n, states; analysis of variance
    std::unique_ptr<FastMantel> fast; // null: data or options ask for the general form
};

/// What a workspace is for: the observed arrangement, random ones, or random ones whose matrices
/// are printed, where no short cut is taken.
enum class WorkspaceUse { observed, evaluated, printed };

/// Matrices and results of one arrangement; one per thread. Nothing is allocated after it is made.
struct PermutationWorkspace {
    PermutationWorkspace(const PermutationInputs& in, WorkspaceUse use);
    PermutationWorkspace(const PermutationWorkspace&) = delete;
    PermutationWorkspace& operator=(const PermutationWorkspace&) = delete;

    const bool keepsMatrices;     // somebody prints them: no short cuts
    bool hasPermutedOtus = false; // SfRnd and scores are of this arrangement
    IterationStatistics statistics;
    OwnedRows T;                   // n x (t + 2), normalised columns; Rf and Rp behind for regression
    OwnedRows X, P;                // n x g, n x f
    OwnedRows R, Rp;               // n x 1
    OwnedRows DT, DX, DP, DR, DRp; // n x n
    std::optional<OwnedRows> Srnd, SfRnd; // s x s
    std::optional<OwnedRows> scores;      // s x nPCoA
    std::vector<double*> rowsB, rowsU, rowsQ; // borrowed rows in the order of the list
    std::optional<OwnedRegression> regression; // linear regression
    std::optional<OwnedRows> fitted;           // n x (t + 2), predicted responses
    std::optional<OwnedAnova> anova;           // analysis of variance
    std::unique_ptr<FastMantelWorkspace> fast;
};

/// The partial correlations of an arrangement from its plain ones, under Mantel.
void PartialMantel(IterationStatistics& statistics, bool withPhylogeny);

/// Evaluates T, X, P and the entropies with OTU list[i] in the place of OTU i (from 1; 0 is no
/// OTU), composition and variables in place, and all statistics of the measure.
void EvaluateTaxaShuffle(const int* list, const PermutationInputs& in, PermutationWorkspace& w);

/// Evaluates the observed arrangement: the taxa shuffle's matrices, general form, OTUs in place.
void EvaluateObserved(const PermutationInputs& in, PermutationWorkspace& w);

/// Evaluates the observed T, X, P and entropies with community list[k] in the place of community k.
void EvaluateSiteShuffle(const int* list, const PermutationInputs& in, PermutationWorkspace& w);
