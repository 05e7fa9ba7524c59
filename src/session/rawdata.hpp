// SPDX-License-Identifier: GPL-3.0-or-later
// The dialogue that reads raw matrices from text files and writes the formatted data file.
#pragma once

/// The questions about raw data: reads B and W, and if given F, E and species names, and writes
/// session.whichFormda. Uses the arrays of `session` meanwhile and releases them on every way out.
/// errors    code 1 for counts that no machine can hold, code 2 for an E that cannot be read,
///           codes 3 and 4 from WriteFormda
void IFFormat();
