// SPDX-License-Identifier: GPL-3.0-or-later
// Trait ranking: the search for the subset of traits by which a criterion is largest.
#pragma once

/// The ranking as the analysis menu calls it: asks the settings, runs the search, leaves
/// `dirtyOrig` set and waits for a key.
void IFChOrderSearch();
