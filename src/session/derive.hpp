// SPDX-License-Identifier: GPL-3.0-or-later
// Deriving a session from another: chosen traits, OTUs, communities and variables of its data set,
// with communities as they are, pooled, as change between pairs, or as moving-window means.
#pragma once

/// The dialogue. Loads session.whichFormda and, if it is not empty, the track file of
/// session.tempSession; asks what to take; writes the current session's formatted data file, whose
/// description is the name of the source's file, and leaves its name in whichFormda.
/// errors    code 2 at the end of the answers or for source files that cannot be read, codes 3
///           and 4 from WriteFormda; nothing has been written then
void PickSomeFormda();
