// SPDX-License-Identifier: GPL-3.0-or-later
// The seam between the driver of a permutation test and the ways to evaluate an arrangement.
//
// The driver draws orders, hands them out to one Evaluator a thread, and adds up counts. It knows
// neither how a form works nor how many orders it takes abreast, and a form knows neither threads
// nor progress nor files. Counts are whole numbers, so their sum is the same however the orders
// were shared out.
//
// To add a quick form:
//   - a pair of sources of its own: a Form with what is prepared once per test (borrowing the
//     PermutationInputs), and its Evaluator with the matrices of an arrangement;
//   - a routine that makes the Form, or none where inputs or data are not its own (inputs.hpp tells
//     what the data are like), named in ChooseForm of permtest.cpp;
//   - an *exact* form gives the bytes of the general form: it fills an ArrangementStatistics and
//     calls CountReached;
//   - an *estimating* form need not: it decides each comparison by an estimate with a bound
//     (numeric/estimate) and hands the order to a general Evaluator of its own (GeneralForm,
//     general.hpp) where one is in doubt. It must then count all comparisons of that order once.
// Both give the counts of the general form for every order, and the tests hold them to it: the
// same data with and without saved intermediate results, which only the general form writes.
#pragma once

#include <memory>

/// One thread's place to evaluate arrangements.
class Evaluator
{
public:
    virtual ~Evaluator() = default;
    /// Evaluates `count` orders and adds to counts[c] how many of them reach the observed value of
    /// comparison c (PermutationInputs::comparisons). Draws nothing, allocates nothing, and writes
    /// to nothing that another thread's evaluator reads.
    ///
    /// orders   count x PermutationInputs::orderLength, one behind the other, as drawn
    virtual void Evaluate(const int* orders, int count, double* counts) = 0;
};

/// A way to evaluate the arrangements of one test.
class Form
{
public:
    virtual ~Form() = default;
    /// Called once for each thread, from the driver's own.
    virtual std::unique_ptr<Evaluator> NewEvaluator() const = 0;
};

/// Resemblances between communities in the observed arrangement: n x n, upper triangles, borrowed.
struct ObservedResemblances {
    double **DT, **DX, **DP, **DR, **DRp;
};
