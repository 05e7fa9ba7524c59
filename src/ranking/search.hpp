// SPDX-License-Identifier: GPL-3.0-or-later
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
