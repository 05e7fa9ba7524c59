// SPDX-License-Identifier: GPL-3.0-or-later
// The settings dialogue that the functional analysis, the trait ranking and the simulator share,
// and the texts by which reports name the options chosen.
//
// Answers are read from `console.in`, prompts go to `console.out`, settings are left in `session`.
// The order of the questions is a contract: scripts and recorded answers rely on it.
#pragma once

// --- Names of options, as reports print them; those of resemblance functions are in
// --- numeric/resemblance.hpp.

extern const char* const opt_roInfo[5];        ///< index opt_ro - 1
extern const char* const partInfo[3];          ///< kinds of traits
extern const char* const clusMethInfo[6];      ///< index clusMethPoolCSTs
extern const char* const poolCSToptInfo[2];    ///< index poolCSTopt - 1
extern const char* const traitBasedOptInfo[2]; ///< index traitBasedOpt - 1
extern const char* const fuzzyInfo[4];         ///< index fuzzy
extern const char* const YesNotInfo[2];        ///< index 0 or 1

/// All questions of an analysis. `session.optmain` tells who asks: 'H' the functional analysis,
/// 'K' the ranking (whose criterion stands in `opt_struct` by then), 'A' the simulator; the data
/// and their sizes must be in place, and `whichPrinda` named. Leaves `nestingMembershipOTUs`
/// (optRestrictPermutNullModel 1) and `partition_OTUs_Phyl` (includePhylogeny) for the caller to
/// release.
void SettingsHierarchy();

/// The resemblance between the objects of `whichObj`: 'r' communities (rese_opt), 'c' OTUs
/// (reseCstOpt and the level whichLevelCst).
void SettingsRese();

/// Shows `label` and the menu of resemblance functions; 6 to 10 go to *target.
void SettingReseFunction(int* target, const char* label);

/// The hierarchical level of OTUs: 1, asked only for monothetic hierarchies of several traits.
void SettingWhichLevel(int* target);

/// Sets `prindaMode`: "w" for a new report, "a" to append to the one that is there. The user is
/// asked only when volumeName + fileName exists; a macro run always appends.
void GetPrindaMode(const char* fileName);
