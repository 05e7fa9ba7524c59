// SPDX-License-Identifier: GPL-3.0-or-later
// The permutation test: how traits, types, diversity and phylogeny of communities follow the
// ecosystem variables, and how often a null model does as well.
//
// The room, from the ground up:
//     record         what a test reads and returns; settings of the session
//     statistics     the statistics of an arrangement, and how random ones are counted
//     inputs         what no arrangement changes; lists: the random orders
//     form           how an arrangement is evaluated and counted: the seam between the driver and
//     general        the general form (with models and formulas), which covers everything, and
//     estimating     the quick form, which covers ordinary data: exact matrices of an arrangement
//                    (arrangement, kernels), statistics by estimates with a bound
//                    (estimatedmantel, estimatedcoefficients, estimatedmodels, estimatekernels)
//     intermediate   the file of intermediate results, always of the general form
//     permtest       the driver, which picks a form
#pragma once

#include "permutation/record.hpp"

/// Runs the test: observed statistics, then nIter - 1 random arrangements drawn from the
/// generator, which the caller has initialised; P = count / nIter, the observed one counting as
/// one. nIter below 2 permutes nothing (P is 1, or infinity for 0). Statistics that do not belong
/// to the measure stay 0.
/// returns true
bool PermTest_FunctionalPhyl_Correl(PermTest_FunctionalPhyl_Correl_Input* input);
