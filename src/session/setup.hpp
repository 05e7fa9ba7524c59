// SPDX-License-Identifier: GPL-3.0-or-later
// Setting up a session's data: the choice between the ways.
#pragma once

/// The menu of ways to set up the data of the open session; repeats until one was taken. Writes
/// the formatted data file where the way makes one, and the short track file.
/// Returns 0 if a data set is now set up, 1 if the user went back.
int SetFormda();
