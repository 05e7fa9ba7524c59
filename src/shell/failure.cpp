// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/failure.hpp"

#include <cctype>
#include <cstdio>
#include <cstdlib>

#include "shell/complaint.hpp"
#include "shell/files.hpp"

void Fail(FailureCode code)
{
    throw Failure{code};
}

void SayFailure(FailureCode code)
{
    const char* reason = nullptr;
    switch (code) {
    case outOfMemory: reason = "\nOUT OF MEMORY !!!\n"; break;
    case endOfFile: reason = "\nEND OF FILE !!!\n"; break;
    case failedPrint: reason = "\nFAIL TO PRINT ON FILE !!!\n"; break;
    case cannotOpen: reason = "\nFAIL TO OPEN FILE !!!\n"; break;
    case quietReturn:
    case noFailure: break;
    }
    if (reason != nullptr) Complain("%s\nQuit and restart KELPRA.\n", reason);
    Complain("%c", 7);
}

void WaitAfter(FailureCode code)
{
    const bool letter = code == outOfMemory || code == failedPrint;
    Patience patience;
    for (;;) {
        const int c = StandardInput().Get();
        if (c == EOF)
            patience.Pause();
        else if (letter ? c < 128 && std::isalpha(c) != 0 : c == '\n')
            return;
    }
}

void nrerror(const char* message)
{
    std::fprintf(stderr, "%s\n", message);
    std::fprintf(stderr, "Sorry, you have to quit and restart the program.\n");
    std::exit(1);
}
