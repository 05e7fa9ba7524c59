// SPDX-License-Identifier: GPL-3.0-or-later
// The file of intermediate results of a permutation test: the observed matrices, and the matrices,
// statistics and counts of every arrangement. Printing leaves every matrix as it was.
#pragma once

struct PermutationInputs;
struct GeneralWorkspace;

/// The head of the file and the observed arrangement.
void WriteObserved(const PermutationInputs& in, GeneralWorkspace& w);

/// One arrangement.
///
/// list     as given to the evaluation: OTUs under taxa shuffle, communities under site shuffle
/// counts   the frequency of each statistic, this arrangement included
void WriteArrangement(int iteration, const int* list, const double* counts,
                      const PermutationInputs& in, GeneralWorkspace& w);
