// SPDX-License-Identifier: GPL-3.0-or-later
// The report of a ranking: its head, the rows and lines that come while the search runs, and the
// tables at its end.
#pragma once

#include <cstdio>
#include <vector>

#include "ranking/criteria.hpp"
#include "ranking/record.hpp"

/// What the file holds before the search.
void PrintRankingHead(std::FILE* report, const Criterion& criterion);

/// Labels of a subset's traits, without a line end.
void PrintSubset(std::FILE* file, const int* traits, int size);

/// One evaluated subset, of `printRankIntermedResults`.
///
/// typeSizes  OTUs of each type
void PrintRankingRow(std::FILE* report, const Criterion& criterion, const SubsetStatistics& r,
                     const int* traits, int size, const std::vector<int>& typeSizes);

/// The statistics of the niche criteria, without an end of line.
void PrintNicheStatistics(std::FILE* file, const SubsetStatistics& r, int nTypes);

/// "Group sizes:", the sizes and a line end.
void PrintTypeSizes(std::FILE* file, const std::vector<int>& typeSizes);

/// The best subset of a size, written out at once.
void PrintSizeLine(std::FILE* report, const Criterion& criterion, int size,
                   const RankedSubset& best);

/// The tables at the end and the elapsed time.
///
/// best     by size - nMinTraitsChRank
/// evaluations  the table of all evaluations, of the niche criteria only
void PrintRankingTail(std::FILE* report, const Criterion& criterion, const KeepTable& kept,
                      const KeepTable& evaluations, const std::vector<RankedSubset>& best,
                      double timeStart);
