// SPDX-License-Identifier: GPL-3.0-or-later
// The general form of the permutation test: every measure, option and kind of data, worked out as
// the statistics are defined. It is the form of the observed arrangement and of saved intermediate
// results, and the one that quick forms are checked against.
#pragma once

#include <optional>
#include <vector>

#include "numeric/congruence.hpp"
#include "permutation/form.hpp"
#include "permutation/inputs.hpp"
#include "shell/arrays.hpp"

/// Matrices and results of one arrangement; one per thread. Nothing is allocated after it is made.
struct GeneralWorkspace {
    /// keepsMatrices: somebody prints them, so no short cut is taken
    GeneralWorkspace(const PermutationInputs& in, bool keepsMatrices);

    const bool keepsMatrices;
    const int* otus = nullptr; // borrowed: the list of the arrangement; null if no OTU moves
    ArrangementStatistics statistics;
    OwnedRows T;     // n x (t + 2), normalised columns; Rf and Rp behind for regression
    OwnedRows X, P;  // n x g, n x f
    OwnedRows R, Rp; // n x 1
    OwnedRows DT, DX, DP, DR, DRp;            // n x n
    std::optional<OwnedRows> Srnd, SfRnd;     // s x s, where somebody reads them
    std::vector<double*> rowsB, rowsU, rowsQ; // borrowed rows in the order of the list
    std::vector<double*> rowsScores;          // the same of the OTUs' phylogenetic scores
    std::optional<OwnedRows> fitted;          // n x (t + 2), predicted responses; linear regression
    OwnedVector intercept;                    // t + 2
    std::vector<double*> coefficient;         // e rows of the statistics
    RaoRoom entropies;                        // work space of the routines in numeric/
    KeptRows resembled;
    CongruenceRoom coefficients;
    RegressionRoom fit;

private:
    void ReserveCoefficients(const PermutationInputs& in);
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
/// One statistic under Procrustes or RV; ro(BF) needs the OTUs in order.
double ExactCoefficient(Statistic statistic, const PermutationInputs& in, GeneralWorkspace& w);
/// The OTUs, and their phylogenetic scores, in the order of the list, which is borrowed.
void ReorderPhylogeny(const int* list, const PermutationInputs& in, GeneralWorkspace& w);

/// The general form as one that the driver, or an estimating form in doubt, can take.
struct GeneralForm : Form {
    explicit GeneralForm(const PermutationInputs& inputs) : in(inputs) {}
    std::unique_ptr<Evaluator> NewEvaluator() const override;
    const PermutationInputs& in; // borrowed
};
