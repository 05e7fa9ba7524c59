// SPDX-License-Identifier: GPL-3.0-or-later
// The questions that a simulation of community assembly asks, in their fixed order.
#pragma once

struct Simulation;

/// The whole dialogue; the settings of the analysis are left in `session`, whose arrays the caller
/// releases. Files that are named are open afterwards.
void AskSimulation(Simulation& run);
