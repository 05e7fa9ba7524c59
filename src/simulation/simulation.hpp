// SPDX-License-Identifier: GPL-3.0-or-later
// The simulation of community assembly as the main menu offers it (letter A): inputs, model and
// evaluation run one after the other.
#pragma once

/// Asks for all settings, simulates one data set or many, tests each, and writes the results to the
/// current directory. Needs no open session, and leaves the session as it found it, also on a
/// failure. A result that cannot be opened is failure code 4; a correlation matrix that is not
/// positive definite ends the process with status 1.
void IFAssemblyRulesSimulation_EnvFeedback_TypeI_II_Error();
