// SPDX-License-Identifier: GPL-3.0-or-later
// The permutation test in its plain form: every loop written out as the statistics are defined,
// nothing prepared, nothing shared, nothing skipped. Slow on purpose. The test of the program must
// give the same bytes, whatever it does to be fast; the benchmark measures against these routines.
//
// RV, Procrustes, their partial forms and the regression come from the numeric library, which has
// checks of its own. All else here is independent of the program's sources.
#pragma once

#include <vector>

#include "permutation/permtest.hpp"

/// One random arrangement: the list as drawn (1-based; of OTUs, of occurrences or of communities)
/// and the statistics it gave. Statistics that were not computed are 0.
struct PlainIteration {
    std::vector<int> list;
    double statistics[nStatistics] = {};
};

/// The whole test on a generator of its own, seeded like the program's.
///
/// input       as for PermTest_FunctionalPhyl_Correl; no intermediate results are written
/// iterations  null, or gets one record for each of the nIter - 1 arrangements
void PlainPermTest(PermTest_FunctionalPhyl_Correl_Input* input, unsigned long seed,
                   std::vector<PlainIteration>* iterations = nullptr);

// Steps of one iteration, for the benchmark and the numeric checks

/// Community weighted means of the selected traits, before the normalising; W n x s, B s x t.
void PlainTraitAverages(int n, int s, int t, double** W, double** B, double** T,
                        const int* selected, const int* weights, bool keepScale);
/// Columns to unit length; -999 is a number like any other.
void PlainNormalizeColumns(int n, int p, double** M);
/// Composition by types: W (n x s) times U (s x g).
void PlainComposition(int n, int s, int g, double** W, double** U, double** X, const int* weights,
                      bool keepScale);
/// Resemblance of the rows by the option of the dialogues (rese_opt); both triangles.
void PlainResemblance(int option, int n, int p, double** data, double** out);
/// Mantel's matrix correlation of the upper triangles.
double PlainMatrixCorr(int n, double** A, double** B);
/// First-order partial correlation.
double PlainPartial(double rxy, double rxz, double ryz);
/// Rao entropy of one community, scaled form; mirrors the upper triangle of M into the lower.
double PlainRao(int s, const double* x, double** M, bool isDissimilarity, bool sqrtDissim,
                const int* weights, bool restrictWithin, bool keepScale);
/// out[i][j] = M[list[i] - 1][list[j] - 1]; 0 where an entry lies beyond the list.
void PlainPermuteResemblance(int s, double** M, const std::vector<int>& list, double** out);
/// a >= b at the grain of single precision, of absolute values if `absolute`.
bool PlainReaches(double a, double b, bool absolute);
