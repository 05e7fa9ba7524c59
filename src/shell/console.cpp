// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/console.hpp"

#include <omp.h>

#include <cctype>
#include <cstring>

Console console;

const char* const version =
    "CHARACTER-BASED COMMUNITY ANALYSIS                    KELPRA v.2.11.23";
const char* const lineL = "----------------------------------------------------------------------";

void Menu(const char* title)
{
    ClearLine();
    std::fprintf(console.out, "\n\n");
    std::fprintf(console.out, "%-47s", title);
    // Deliberate: a session that a user names NULL shows no name.
    if (std::strcmp(console.sessionName, "NULL") != 0)
        std::fprintf(console.out, "%23s", console.sessionShortName);
    std::fprintf(console.out, "\n%s\n", lineL);
}

void Say(const char* text) { std::fputs(text, console.out); }

void PrintRule() { std::fprintf(console.out, "%s\n", lineL); }

void Wait()
{
    Patience patience;
    for (;;) {
        const int character = StandardInput().Get();
        if (character == EOF) {
            patience.Pause();
        } else if (std::iscntrl(character)) {
            StandardInput().Unget(character);
            return;
        }
    }
}

void ClearLine()
{
    if (console.is40CharLine == 1) {
        std::printf("\n");
        console.is40CharLine = 0;
    }
    if (console.is80CharLine == 1) {
        std::printf("\n");
        console.is80CharLine = 0;
    }
}

void ClearLineLength(int /*length*/)
{
    std::printf("\n");
}

void HandleEventInfoWhere2(const char* text)
{
    const std::clock_t now = std::clock();
    if (now - console.t2 < 5) return;
    if (console.is40CharLine == 1) std::printf("\n");
    std::printf("%*.*s", 40, 40, text);
    std::printf("%*.*s", 40, 40, " ");
    console.t2 = std::clock();
    console.is40CharLine = 1;
    console.is80CharLine = 1;
    std::fflush(stdout);
}

void HandleEventInfoWhere(const char* /*text*/) {}

void InitIFLibG()
{
    console.is40CharLine = 0;
    console.is80CharLine = 0;
    console.t1 = std::clock();
    console.t2 = console.t1;
    console.timeStart = omp_get_wtime();
    AdjustClocks_Event();
}

void AdjustClocks_Event()
{
    console.t1 = std::clock();
}

void TimeStamp(std::FILE* stream)
{
    const std::time_t now = std::time(nullptr);
    char text[64];
    if (ctime_r(&now, text) != nullptr) std::fprintf(stream, "%s", text);
}

double difftime_Clock(double earlier)
{
    return omp_get_wtime() - earlier;
}
