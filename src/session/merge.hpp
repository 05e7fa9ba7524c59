// SPDX-License-Identifier: GPL-3.0-or-later
// Merging the data sets of two sessions that describe the same traits and ecosystem variables.
#pragma once

/// Adds the OTUs and communities of a second formatted data file to the data set in memory, whose
/// file's name is in session.dataName, and writes the current session's formatted data file, with
/// its name in whichFormda. F, the phylogeny variables and the trait groups are those of the first.
///
/// Returns 1 when merged and written; 0, after telling the user why, when traits, the reserved
/// numbers, ecosystem variables or the presence of species names differ or when both have a
/// community of the same label. `session` is then as it was.
/// limits    only second files of the layout 18Jan2008 are read as they are meant; see the source
/// errors    code 4 if the file cannot be opened; code 2 after "\nfile %s " with its name if it
///           falls out of step; codes 3 and 4 from WriteFormda
int MergeFormda(const char* second);
