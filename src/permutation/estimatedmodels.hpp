// SPDX-License-Identifier: GPL-3.0-or-later
// Estimates of the models' values of an arrangement: regression and analysis of variance.
#pragma once

#include <memory>

#include "permutation/estimating.hpp"

/// Null if a cell of E is missing or not finite, or if the variables are nearly dependent.
std::unique_ptr<Estimation> EstimateRegression(const PermutationInputs& in);

/// Null if X and P are compared by other distances than the Euclidean and chord distance.
std::unique_ptr<Estimation> EstimateAnova(const PermutationInputs& in);
