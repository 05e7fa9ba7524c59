// SPDX-License-Identifier: GPL-3.0-or-later
// The general form of the permutation test: every measure, option and kind of data, worked out as
// the statistics are defined. It is the form of the observed arrangement and of saved intermediate
// results, and the one that quick forms are checked against.
#pragma once

#include <optional>
#include <vector>

#include "permutation/form.hpp"
#include "permutation/inputs.hpp"
#include "shell/arrays.hpp"

/// Matrices and results of one arrangement; one per thread. Nothing is allocated after it is made.
struct GeneralWorkspace {
    /// keepsMatrices: somebody prints them, so no short cut is taken
    GeneralWorkspace(const PermutationInputs& in, bool keepsMatrices);

    const bool keepsMatrices;
    bool hasPermutedOtus = false; // SfRnd and scores are of this arrangement
    ArrangementStatistics statistics;
    OwnedRows T;     // n x (t + 2), normalised columns; Rf and Rp behind for regression
    OwnedRows X, P;  // n x g, n x f
    OwnedRows R, Rp; // n x 1
    OwnedRows DT, DX, DP, DR, DRp;            // n x n
    std::optional<OwnedRows> Srnd, SfRnd;     // s x s
    std::optional<OwnedRows> scores;          // s x nPCoA
    std::vector<double*> rowsB, rowsU, rowsQ; // borrowed rows in the order of the list
    std::optional<OwnedRows> fitted;          // n x (t + 2), predicted responses; linear regression
    OwnedVector intercept;                    // t + 2
    std::vector<double*> coefficient;         // e rows of the statistics
};

/// Evaluates the observed arrangement: OTUs and communities in place.
void EvaluateObserved(const PermutationInputs& in, GeneralWorkspace& w);

/// Evaluates one order: under taxa shuffle T, X, P and the entropies with OTU order[i] in the place
/// of OTU i (0 is no OTU), composition and variables in place; under site shuffle those of the
/// record, as observed, with community order[k] in the place of community k.
void EvaluateOrder(const int* order, const PermutationInputs& in, GeneralWorkspace& w);

// Single steps, for estimating forms in doubt, whose workspace holds the arrangement's T, X, P, R
// and Rp already.

/// All statistics of the measure.
void EvaluateStatistics(const PermutationInputs& in, GeneralWorkspace& w);
/// One statistic under Procrustes or RV; ro(BF) needs the scores in order.
double ExactCoefficient(Statistic statistic, const PermutationInputs& in,
                        const GeneralWorkspace& w);
/// The phylogenetic resemblance of the OTUs, and their scores on it, in the order of the list.
void ReorderPhylogeny(const int* list, const PermutationInputs& in, GeneralWorkspace& w);

/// The general form as one that the driver, or an estimating form in doubt, can take.
struct GeneralForm : Form {
    explicit GeneralForm(const PermutationInputs& inputs) : in(inputs) {}
    std::unique_ptr<Evaluator> NewEvaluator() const override;
    const PermutationInputs& in; // borrowed
};
