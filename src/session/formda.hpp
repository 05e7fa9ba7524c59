// The formatted data file: a session's data set as one text file of blank-delimited items.
#pragma once

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
