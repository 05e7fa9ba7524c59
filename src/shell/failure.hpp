// SPDX-License-Identifier: GPL-3.0-or-later
// How a routine that cannot go on gives up: one exception type with one number in it.
#pragma once

#include <new>

/// The reasons to abandon the work. The number is all that travels: the routine that raises it
/// has already told the user what is wrong.
enum FailureCode {
    outOfMemory = 1, ///< an allocation gave nothing
    endOfFile,       ///< end of file, or an unreadable token, in a checked read
    failedPrint,     ///< a file cannot be written, or not be put in place
    cannotOpen,      ///< a result or session file cannot be opened
    quietReturn,     ///< leave the session without a word; reserved
    noFailure = 0
};

/// Thrown by Fail only; caught by FailureOf only.
struct Failure {
    FailureCode code;
};

/// Abandons the work with a code.
[[noreturn]] void Fail(FailureCode code);

/// Does the work, and returns what it failed of: for the frames where a failure ends, and for
/// parallel loops, which nothing may be thrown out of. An allocation of the C++ library that gives
/// nothing counts as one of ours.
template <typename Work>
FailureCode FailureOf(Work work)
{
    try {
        work();
    } catch (const Failure& failure) {
        return failure.code;
    } catch (const std::bad_alloc&) {
        return outOfMemory;
    }
    return noFailure;
}

/// The two lines of a failure and a BEL, on standard error; a code 5 has no lines.
void SayFailure(FailureCode code);

/// Reads standard input until a letter (codes 1 and 3) or a line end. Deliberate: no way out at end
/// of input, so that a terminal window stays open with the message.
void WaitAfter(FailureCode code);

/// Ends the process with status 1 after the message; for the sort and solver routines, whose
/// work space cannot be made.
[[noreturn]] void nrerror(const char* message);
