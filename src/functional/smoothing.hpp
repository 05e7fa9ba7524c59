// SPDX-License-Identifier: GPL-3.0-or-later
// Beals smoothing: the composition that the OTUs of a community predict for it.
#pragma once

/// Joint occurrence of OTUs over communities, as the probability of one OTU given another.
///
/// W        n communities x s OTUs, performances; C  s x s, row the given OTU, column its target
/// mode     0: communities that hold both; 1: the performance of i summed over the communities
///          that hold j; 2: sum of products W[k][i] W[k][j]; anything else: 0. "Hold" is above 0.
///          Modes 0 and 1 are divided by C[i][i] where that is above 0, and the diagonal becomes 1;
///          mode 2 stays as summed.
/// missing  a community counts for a pair only if it has both cells
/// unitRows scales every row of C to unit sum (a row of zeros stays)
/// cost     n times the square of the OTUs present per community
/// Beals 1984, Advances in Ecological Research 14:1-55; De Caceres & Legendre 2008, Oecologia
/// 156:657-669.
void ConditionalProb(int n, int s, double** W, double** C, int mode, bool unitRows);
/// The same without the scaling of rows.
void ConditionalProb(int n, int s, double** W, double** C, int mode);

/// Smoothed composition: every community's shares times the conditional probabilities.
///
/// target   n x s, the communities to smooth; source n x s, where the probabilities come from; both
///          may be one matrix
/// out      n x s
/// includeTarget  true: out = shares x C, -999 where nothing but missing cells entered. False: an
///          OTU's own share takes no part in its own estimate and the other shares are rescaled; 0
///          where a community is that OTU alone. No guard for missing cells there: a hole enters
///          as its code.
/// weighted rows of C have unit sum, and without the target each probability c enters as its odds
///          c / (1 - c): infinite for c = 1
void BealsSmoothing(int n, int s, double** target, double** source, double** out,
                    bool includeTarget, int mode, bool weighted);
/// The same on C as it is; without the target the odds are taken in mode 2 only.
void BealsSmoothing(int n, int s, double** target, double** source, double** out,
                    bool includeTarget, int mode);
