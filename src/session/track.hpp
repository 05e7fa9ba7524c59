// SPDX-License-Identifier: GPL-3.0-or-later
// The track file: a session's memory between runs, namely the name of its formatted data file and
// the settings and partitions of its last analysis.
#pragma once

/// The version word of the track file; the settings in a file with another one are ignored.
extern const char* const versionTrack;

/// Rewrites session.whichTrack. With `full` 0 only the name of the formatted data file and the
/// version; otherwise all settings and partitions too. Writes are not tested.
/// errors    code 4 if the file cannot be opened
void WriteTrack(char full);

/// Reads session.whichTrack into `session`; the arrays must stand as OpenFormda made them. A file
/// of two words leaves the settings as they are, and so does one of another program version, after
/// a complaint. Partitions beyond the tenth and group labels beyond the objects are dropped.
/// Returns 1.
/// errors    code 4 if the file cannot be opened; code 2 after "\nfile %s " with its name if it
///           ends early, holds a wrong token or an index that cannot be
int ReadTrack();
