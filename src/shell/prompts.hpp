// SPDX-License-Identifier: GPL-3.0-or-later
// Answers to the session's questions: the readers of the stream `console.in`. The caller writes
// the prompt; the reader insists until an accepted answer comes and copies it to a macro that is
// being recorded.
#pragma once

/// A letter, lower case; see ScanChar.
int ReadCharIn(const char* accepted);

/// A number; see ScanNumber. The macro format's first d, f, g, l or u tells how it is recorded.
double ReadNumberIn(const char* macroFormat, const char* accept, double lo = 0.0, double hi = 0.0);

/// One of the whole numbers of a list like "1 2 3".
int AskOption(const char* accepted);
/// n numbers 0 or 1 into a row; a macro has them in a line.
void ReadSelection(int n, int* selected);
/// A whole number from `lowest` to `highest`.
int AskNumber(const char* macroFormat, double lowest, double highest);
/// Prints the prompt and reads a whole number from 1 to `highest`.
int AskCount(const char* prompt, double highest = 2147483647.0);

/// A blank-delimited word, cut to size - 1 characters; end of file is code 2. A macro format with
/// a width, as "%4s ", takes that many characters at most and leaves the rest for the next word.
void ReadStringIn(const char* macroFormat, char* destination, int size);

/// A line of at most maxLength characters; see freadlineck.
void ReadLineIn(char* destination, int maxLength);

/// A row of n labels of at most maxLength characters (rows hold one more), from a file or by hand,
/// with confirmation. `what` names them in the questions. Returns 1.
int ReadLongInput(int n, int maxLength, char** labels, const char* what);
/// A row of n numbers, truncated to int; -1 gives up the row and starts it again. Returns 1.
int ReadLongInput(int n, int* numbers, const char* what, const char* accept);
