// Setting up a session's data: the choice between the ways, and the dialogue that reads raw
// matrices from text files and writes the formatted data file.
#pragma once

#include <cstdio>

/// The menu of ways to set up the data of the open session; repeats until one was taken. Writes
/// the formatted data file where the way makes one, and the short track file.
/// Returns 0 if a data set is now set up, 1 if the user went back.
int SetFormda();

/// The questions about raw data: reads B and W, and if given F, E and species names, and writes
/// session.whichFormda. Uses the arrays of `session` meanwhile and releases them on every way out.
/// errors    code 1 for counts that no machine can hold, code 2 for an E that cannot be read,
///           codes 3 and 4 from WriteFormda
void IFFormat();

/// Asks for a file name until the file opens. name has room for 52 characters. Returns the open
/// file, which is the caller's.
std::FILE* ReadDataFileName(char* name);
