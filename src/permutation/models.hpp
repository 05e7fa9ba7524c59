// SPDX-License-Identifier: GPL-3.0-or-later
// The permutation test's models in the general form: regression of trait averages and diversity on
// the variables, and analysis of variance with a variable as the factor. Values go to the places
// that ModelSizes tells.
#pragma once

struct PermutationInputs;
struct GeneralWorkspace;

/// Regression of the columns of T, Rf and Rp of an arrangement on E.
void EvaluateRegression(const PermutationInputs& in, GeneralWorkspace& w);

/// Pseudo-F of X, the entropies, P, T and each trait, by every factor; DT is overwritten.
void EvaluateAnova(const PermutationInputs& in, GeneralWorkspace& w);

/// Sum of squared dissimilarities within one group of objects, over their number: the sum of
/// D[i][j] squared (unsquared if `squared`: D holds squares already) over the pairs i < j with
/// mask 1, upper triangle; the empty sum if no object has mask 1.
/// Anderson 2001, Austral Ecology 26:32-46.
double WithinGrSqDissim(int n, double** D, int* mask, bool squared);

/// Sum of squares between groups of the objects with mask 1; *total gets the total sum of squares,
/// *between what is returned.
double BetweenGrSqDissim(int n, double** D, int* groups, double* between, double* total, int* mask,
                         bool squared);
