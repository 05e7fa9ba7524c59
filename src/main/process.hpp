// SPDX-License-Identifier: GPL-3.0-or-later
// The process: defaults, banner, and what a failure outside a session comes to.
#pragma once

/// GSL's error handler off, defaults, clocks, banner, main menu. Does not return.
void mainInit();
/// Defaults of all three records; answers come from standard input, prompts go to standard output.
void InitGlobals();
