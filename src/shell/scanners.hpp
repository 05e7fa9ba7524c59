// SPDX-License-Identifier: GPL-3.0-or-later
// Reading characters, numbers, words and lines from any stream, with the complaints that go with
// them. Input is a stream of characters and words, not of lines: answers may be typed ahead.
#pragma once

#include "shell/files.hpp"

// --- Checked readers: what cannot be read ends the work. They skip white space, read one item and
// --- on failure close the stream, print "\nfile %s " with the name on standard error and BEL, and
// --- raise code 2; a token of the wrong kind counts as end of file.

/// The strict integer reader: sign and digits; out of the range of int is clamped.
void freadck(InputStream& stream, int& value, const char* name);
/// The strict number reader: the longest prefix that strtod takes, nan and inf included.
void freadck(InputStream& stream, double& value, const char* name);
void freadck(InputStream& stream, float& value, const char* name);
/// A blank-delimited word, cut to size - 1 characters; the rest of the word is dropped.
void freadckWord(InputStream& stream, char* word, int size, const char* name);
/// At most `width` characters of a word (it holds one more); the rest stays in the stream as the
/// next word.
void freadckPart(InputStream& stream, char* word, int width, const char* name);

/// False, after "\nfile %s line %ld: " and what is wrong, if a NUL byte was read from the stream: the
/// file is no plain text but, as a rule, UTF-16, of which every number would be read wrongly.
bool IsPlainText(const InputStream& stream, const char* name);
/// The same; what is no plain text ends in code 2.
void CheckPlainText(InputStream& stream, const char* name);
/// True if a word of what is left of the stream begins with a number; reads up to it.
bool HasNumberLeft(InputStream& stream);

// --- The same without a complaint: false if nothing can be read; a wrong token stays unread.
bool TryRead(InputStream& stream, int& value);
bool TryRead(InputStream& stream, double& value);
bool TryReadWord(InputStream& stream, char* word, int size);

// --- Forgiving readers, for raw data and prompts: what is not a number is dropped character by
// --- character, without a word. A number is an optional sign, digits with an optional point, an
// --- optional exponent, and the longest such prefix is taken: "100ergs" is 100, "NA 35" is 35,
// --- "--4" is -4. At end of file: the stream is closed, "\nEnd of file %s\n" on standard error and
// --- BEL, both once per stream; returns false and leaves the value alone.
bool freadck1(InputStream& stream, double& value, const char* name);
/// Digits only: "1.5" gives 1 and then 5. Clamped to the range of int.
bool freadck1(InputStream& stream, int& value, const char* name);
bool freadck1Word(InputStream& stream, char* word, int size, const char* name);

/// One character, in lower case. With `accepted` (null or empty: any but blank, tab and line end)
/// only its characters, blank excepted, are good, in either case; blanks and control characters
/// are skipped, anything else gets BEL and the two-line complaint. End of file: the stream is
/// closed, "\nfile %s " on standard error, code 2.
int ScanChar(InputStream& stream, const char* accepted, const char* name);

/// One number. `accept` null: any, unchecked. Empty: any. "1 2 3": one of these. "-": lo to hi.
/// Anything else gets BEL and the complaint, and reading goes on. At end of file with an
/// `accept` it never returns (but pauses); without, it returns 0 or what was read before.
double ScanNumber(InputStream& stream, const char* name, const char* accept, double lo = 0.0,
                  double hi = 0.0);

/// One word, cut to maxLength characters (destination holds one more). `accepted`: null, or
/// alternatives separated by "/". Returns the destination, or null at end of file or when no
/// alternative matches (BEL, complaint, and the destination emptied). The whole word stays in
/// console.tempName until the next one is typed.
char* ScanString(InputStream& stream, int maxLength, char* destination, const char* accepted,
                 int caseSensitive, const char* name);

/// A name or the rest of a line, at most maxLength characters (destination holds one more):
/// leading white space is skipped, tab, newline or carriage return ends it and is taken; of a
/// longer line the rest, and of one of just that length the line end, stays in the stream. End of
/// file at its first character: complaint, BEL, code 2.
void freadlineck(InputStream& stream, int maxLength, char* destination, const char* name);
/// The same, but a tab inside is stored as a blank and does not end the line.
void freadlineckTEMP(InputStream& stream, int maxLength, char* destination, const char* name);

/// Compares ASCII-upper-cased copies, as strcmp.
int StrCmp(const char* a, const char* b);
/// Upper-cases ASCII letters in place.
void StrToUpper(char* text);

/// A double as int, truncated; clamped to the range of int, NaN gives the lowest int.
int ToInt(double value);
