// SPDX-License-Identifier: GPL-3.0-or-later
// The files that the dialogue of a simulation named, read into the record.
#pragma once

struct Simulation;

/// Makes every matrix of the record and reads the files named in the dialogue, in the order that
/// the settings of old runs rely on. Data from files are standardised here: the generator is not
/// used.
void ReadSimulationInputs(Simulation& run);
