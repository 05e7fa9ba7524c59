// SPDX-License-Identifier: GPL-3.0-or-later
// The functional analysis as the analysis menu offers it (option H).
#pragma once

/// Asks for all settings, scales traits up to communities, tests, reports; records the settings in
/// the track file and leaves `session.dirtyOrig` 1, so that the session is loaded anew before the
/// next analysis. A report or track file that cannot be opened is failure code 4.
void IFHierarchicalAccum();
