// SPDX-License-Identifier: GPL-3.0-or-later
// The process's one random stream, and what is drawn from it: random orders of objects, within
// and among groups. Also the enumeration of combinations, which draws nothing.
//
// Lists hold positions counted from 1. The same seed gives the same lists on every machine. All
// of it is single-threaded: lists are drawn outside parallel regions.
#pragma once

#include <gsl/gsl_rng.h>

/// The generator, a Mersenne Twister; null before the first InitRndNumberGenerator.
/// Matsumoto and Nishimura 1998, ACM Trans. Model. Comput. Simul. 8:3-30.
extern gsl_rng* r;

/// Makes a new generator from the seed; the former one is released. Also seeds std::rand with the
/// low 32 bits.
void InitRndNumberGenerator(unsigned long seed);

/// An integer from 0 to n - 1, n at least 1; one draw.
int UniformInt(int n);

/// list[0..n-1] = a random permutation of 1 to n; n - 1 draws, none when n < 2.
/// Durstenfeld 1964, Communications of the ACM 7:420.
void RndList(int n, int* list);

/// The same shuffle of the values that list[0..n-1] holds.
void RndListSpecified(int n, int* list);

/// Writes a random permutation of the positions with select[i] true to those places of the list;
/// other places are not touched.
void RndListSelect(int n, int* list, const bool* select);

enum NestedMode { withinGroups = 1, amongGroups, withinAndAmongGroups };

/// A random order of 1 to n that respects groups.
///
/// groups  n labels, any integers; taken in ascending order
/// mode    1 shuffles the members of each group; 2 exchanges whole groups, whose members keep
///         their order; 3 does both, in this order
/// Groups are exchanged only when all have the same size; else they stay, without a word.
void RndListNestedNew(int n, const int* groups, int mode, int* list);

/// The k-combinations of 1 to n in lexicographic order, one each call.
///
/// out      n values: the combination, then the others in ascending order
/// init     true for the first call of an enumeration
/// returns  how many combinations were given so far, this one included
///
/// The table between calls is one for the process, so two enumerations cannot interleave; it is
/// released with the last combination, and a later call without `init` is a mistake of the
/// caller: it writes nothing and returns the number of combinations. The number of combinations
/// is taken from factorials as doubles: exact as far as these hold it.
long PermuteArray(int n, int k, int* out, bool init);
