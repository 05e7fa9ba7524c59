// SPDX-License-Identifier: GPL-3.0-or-later
// Estimates of all statistics of an arrangement under Procrustes and RV.
#pragma once

#include <memory>

#include "permutation/estimating.hpp"

/// Null if E, Y, Z, the phylogeny's scores or the traits of OTUs hold a cell that is missing or not
/// finite, or that centring would turn into the missing value.
std::unique_ptr<Estimation> EstimateCoefficients(const PermutationInputs& in);
