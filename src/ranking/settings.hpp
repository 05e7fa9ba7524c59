// SPDX-License-Identifier: GPL-3.0-or-later
// The settings of a trait ranking: its criterion, the questions it shares with the functional
// analysis, and the sizes of the trait subsets to search.
#pragma once

/// What reports call a criterion; index opt_struct - 1.
///
/// Deliberate: the texts of 20 and 21 run together in one entry, 21 and 22 have none ("(null)") and
/// 23 and 24 show names of congruence measures; users' earlier reports hold these words.
extern const char* const opt_structInfo[24];
extern const char* const rankingAlgorithmInfo[2]; ///< index rankingAlgorithm - 1

/// All questions of the ranking, answered from `console.in`; leaves the settings in `session`.
/// Several criteria are accepted though no line offers them.
void SettingsChRank();
