// SPDX-License-Identifier: GPL-3.0-or-later
// The terminal: where answers come from and prompts go, menu heads, pauses and progress lines.
#pragma once

#include <cstdio>
#include <ctime>

#include "shell/files.hpp"

/// State of the dialogue. One per process.
struct Console {
    InputStream* in = nullptr; // where answers are read from; borrowed
    std::FILE* out = nullptr;  // where prompts and menus go; borrowed
    std::FILE* outm = nullptr; // where accepted answers are copied while a macro is recorded
    bool runMacro = false;     // answers come from a macro file
    bool createMacro = false;  // answers are being recorded

    int is40CharLine = 0; // both 1: a progress line stands on the terminal
    int is80CharLine = 0;
    std::clock_t t1 = 0; // processor clock at the start
    std::clock_t t2 = 0; // processor clock at the last progress line
    double timeStart = 0.0;

    // Identity of the open session; every menu head shows it.
    char sessionShortName[52] = ""; // as typed, at most 51 characters
    char sessionName[52] = "";      // what file names are built from
    char volumeName[8] = "";        // prefix of file names; always empty: the current directory
    char tempName[320] = "";        // the shared buffer of typed words
};
extern Console console;

extern const char* const version; ///< banner line with program name and version
extern const char* const lineL;   ///< a rule of 70 hyphens

/// Prints a text of the dialogue as it stands.
void Say(const char* text);

/// Head of a menu: two empty lines, the title, the session's name, a rule.
void Menu(const char* title);

/// A rule of its own line.
void PrintRule();

/// Reads standard input until a control character (a line end, as a rule), which stays in the
/// stream: the line end left by the last answer therefore ends the pause at once. No way out at
/// end of input.
void Wait();

/// Ends a standing progress line.
void ClearLine();
/// One line end on standard output; the argument is not used.
void ClearLineLength(int length);

/// Prints a progress line: the text right-aligned in 40 columns, cut to 40.
void HandleEventInfoWhere2(const char* text);
/// Marks a place where progress could be reported; does nothing.
void HandleEventInfoWhere(const char* text);

/// Starts the clocks.
void InitIFLibG();
/// Keeps the clock state current; nothing reads what it computes.
void AdjustClocks_Event();
/// Date and time in ctime form, with its line end.
void TimeStamp(std::FILE* stream);
/// Seconds of wall clock since an earlier omp_get_wtime() reading.
double difftime_Clock(double earlier);
