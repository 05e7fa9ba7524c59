// SPDX-License-Identifier: GPL-3.0-or-later
// Macros: recording accepted answers in a file, and taking answers from such a file with the
// screen output going to a report. No menu offers it.
#pragma once

/// The dialogue. Switches `console.in`, `console.out` and `console.outm` between the terminal, the
/// macro file and the report, and keeps `createMacro` and `runMacro`.
///
/// A macro file is the plain sequence of answers. The report of a replay is "MacroRunReport".
void IFMacro();
