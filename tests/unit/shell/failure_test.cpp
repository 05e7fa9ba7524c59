// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/failure.hpp"

#include <doctest/doctest.h>

#include "unit/shell/shell_fixture.hpp"

TEST_CASE("what a fatal code says, and which key ends the wait after it") {
    struct Case { FailureCode code; const char* said; const char* left; };
    const Case cases[] = {
        {outOfMemory, "\nOUT OF MEMORY !!!\n", "\n."},
        {endOfFile, "\nEND OF FILE !!!\n", "."},
        {failedPrint, "\nFAIL TO PRINT ON FILE !!!\n", "\n."},
        {cannotOpen, "\nFAIL TO OPEN FILE !!!\n", "."},
    };
    for (const Case& c : cases) {
        CAPTURE(c.said);
        Captured errors(stderr);
        SayFailure(c.code);
        CHECK(errors.Text() == std::string(c.said) + "\nQuit and restart KELPRA.\n\a");
        Type("1\xe9q\n.");
        WaitAfter(c.code);
        for (const char* left = c.left; *left != '\0'; left++)
            CHECK(StandardInput().Get() == *left);
    }
    Captured errors(stderr);
    SayFailure(quietReturn);
    CHECK(errors.Text() == "\a");
}
