// The search for the best trait subset: all subsets of all sizes wanted, whatever the criterion.
#pragma once

#include "ranking/criteria.hpp"

/// Ranks the subsets of the session's traits by a criterion, sizes ascending, within a size in
/// lexicographic order, and writes the report `whichChorder` as it goes.
///
/// A subset that holds an excluded trait (weight 0) counts as an iteration and leaves no trace. Of
/// equal values the subset met first wins.
/// cost     up to 2 to the power of the number of traits evaluations
/// errors   a file that cannot be opened: failure code 4
void RankTraitSubsets(const Criterion& criterion);

/// Each of the four vectors of n entries takes the order of `list`, numbers from 1: the new a[i] is
/// the old a[list[i] - 1]. `list` is marked while it works and comes back as it was.
void ReorderVectors(int n, int* list, int* a, int* b, double* c, double* d);
