// SPDX-License-Identifier: GPL-3.0-or-later
// The lines of the benchmark, by family.
#pragma once

#include "timing.hpp"

/// C1 arithmetic of this machine on the chosen vector path, C2 read bandwidth; fills report.rates.
void CalibrationLines(const Options& options, Report& report);
/// O1 a progress line to a pipe.
void TerminalLines(const Options& options, Report& report);
/// K1 to K5: steps of one permutation.
void KernelLines(const Options& options, Report& report);
/// P1 to P5: whole permutations through the permutation test.
void PermutationLines(const Options& options, Report& report);
/// R1, R2: whole tests for several numbers of threads.
void WholeTestLines(const Options& options, Report& report);
/// L1: time and memory of a test on 5,000 OTUs; not if it has to be quick. With 999 permutations,
/// too, if only this line is asked for.
void ScaleLines(const Options& options, Report& report);
/// S1 to S3: the search for the best subset of traits.
void SubsetLines(const Options& options, Report& report);
/// M1, M2: a step of the simulation and its percentile.
void SimulationLines(const Options& options, Report& report);
/// R3: a whole analysis through the dialogue, with the threads that the program takes by itself.
void DialogueLines(const Options& options, Report& report);
