// The permutation test's models: regression of trait averages and diversity on the variables, and
// analysis of variance with a variable as the factor.
#pragma once

#include "functional/permtest.hpp"

struct PermutationInputs;
struct PermutationWorkspace;

/// RegressionResults with memory of its own, for e variables and t traits.
struct OwnedRegression : RegressionResults {
    OwnedRegression(int e, int t);
    ~OwnedRegression();
    OwnedRegression(const OwnedRegression&) = delete;
    OwnedRegression& operator=(const OwnedRegression&) = delete;

private:
    const int nVariables;
};

/// AnovaResults with memory of its own, for e factors and t traits.
struct OwnedAnova : AnovaResults {
    OwnedAnova(int e, int t);
    ~OwnedAnova();
    OwnedAnova(const OwnedAnova&) = delete;
    OwnedAnova& operator=(const OwnedAnova&) = delete;

private:
    const int nFactors;
};

/// Regression of the columns of T, Rf and Rp of an arrangement on E.
void EvaluateRegression(const PermutationInputs& in, PermutationWorkspace& w);

/// Pseudo-F of T and of each trait; DT is overwritten.
void EvaluateAnovaOfTraits(const PermutationInputs& in, PermutationWorkspace& w);
/// Pseudo-F of X and P.
void EvaluateAnovaOfComposition(const PermutationInputs& in, PermutationWorkspace& w);
/// Pseudo-F of the two entropies.
void EvaluateAnovaOfEntropy(const PermutationInputs& in, PermutationWorkspace& w);

/// Copies the observed results to the record and starts all counts at 1.
void StoreObservedModels(PermTest_FunctionalPhyl_Correl_Input& record, const PermutationInputs& in,
                         const PermutationWorkspace& w);
/// Adds one arrangement to the counts, which stand in the record's arrays of P.
void CountModels(PermTest_FunctionalPhyl_Correl_Input& record, const PermutationInputs& in,
                 const PermutationWorkspace& w);
/// Counts become probabilities.
void FinishModels(PermTest_FunctionalPhyl_Correl_Input& record, const PermutationInputs& in);
