// SPDX-License-Identifier: GPL-3.0-or-later
// The formatted data file: a session's data set as one text file of blank-delimited items.
#pragma once

class DataFile;

/// The word before the ecosystem variables; files without it have no types of variables.
extern const char* const versionFormda;

/// Writes the data set as a formatted data file.
///
/// nOTUs     OTUs to store
/// B         nOTUs x nch, written with 6 significant digits
/// W         nOTUs x ncsm, stored OTUs by communities, written with 6 significant digits
/// from `session`: nch, ncsm, nenv, nSpp, hasPhylogeny, hasTraitGroups and what belongs to them;
///           all of it must stand as it is to be stored
/// not kept  trait ranges, OTU counts of communities and the reserved numbers: zeros are written
/// errors    code 4 if the file cannot be opened, code 3 if it cannot be written to the end
void WriteFormda(int nOTUs, const char* fileName, const char* description, double** B, double** W);

/// Reads session.whichFormda into `session`, over whatever it held: everything is released first
/// and allocated anew, settings and partition tables zero-filled. Older layouts of the file are
/// understood. Labels longer than 10 characters are cut. Sets dirtyOrig to 0.
///
/// mode      of no effect
/// errors    code 4 if the file cannot be opened; code 2 after "\nfile %s " with its name if it
///           ends early, holds a wrong token or a count that cannot be; what was allocated stays
///           with the session for FreeGlobals2
void OpenFormda(int mode);

/// Reads B and W in the layout of old: a line for each OTU, a word of two characters a trait and
/// then its performances. Words that end early leave the traits behind as they are.
///
/// word          the first OTU's word, which has been read; used for the others
/// wordSize      of `word`; see OldWordSize
/// B             nOTUs x session.nch, written with the single precision of that layout
/// W             nOTUs x session.ncsm, written
void ReadOldMatrices(DataFile& file, char* word, int wordSize, int nOTUs, double** B, double** W);

/// Room for a word of two characters a trait, and for any version word.
int OldWordSize();
