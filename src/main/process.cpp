// SPDX-License-Identifier: GPL-3.0-or-later
#include "main/process.hpp"

#include <fcntl.h>
#include <gsl/gsl_errno.h>
#include <unistd.h>

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "main/mainmenu.hpp"
#include "session/session.hpp"
#include "shell/console.hpp"
#include "shell/failure.hpp"
#include "shell/files.hpp"
#include "shell/preferences.hpp"

namespace {

const char* const credits[] = {
    "Scales the traits of organisms up to the communities they live in,",
    "and tests how traits, environment and phylogeny go together.",
    "KELPRA is free software and comes without any warranty.",
};

/// Where the documentation lies: an installed program finds it from its own place, so that the
/// whole may be moved; in docs/ for one that is run from the sources.
const char* DocsFolder(char (&folder)[PATH_MAX])
{
    char program[PATH_MAX];
    const ssize_t length = readlink("/proc/self/exe", program, sizeof program);
    if (length <= 0 || length == sizeof program) return "docs"; // not every system tells
    program[length] = '\0';
    *std::strrchr(program, '/') = '\0';
    char beside[PATH_MAX + sizeof "/" KELPRA_DOCS];
    std::snprintf(beside, sizeof beside, "%s/" KELPRA_DOCS, program);
    return realpath(beside, folder) != nullptr ? folder : "docs";
}

void PrintBanner()
{
    std::fprintf(console.out, "%s\n", lineL);
    std::fprintf(console.out, "%s\n\n", version);
    for (const char* line : credits) std::fprintf(console.out, "%s\n", line);
    char folder[PATH_MAX];
    const char* const docs = DocsFolder(folder);
    std::fprintf(console.out, "A first session, question by question: %s/guide.md\n", docs);
    std::fprintf(console.out, "Every formula with its literature: %s/statistics.md\n", docs);
    std::fprintf(console.out, "%s\n", lineL);
}

/// Standard streams that were closed when the program was started take what is written nowhere:
/// otherwise the first files to be opened would get their numbers, and a report the dialogue.
void OpenStandardStreams()
{
    int opened = 0;
    while (opened >= 0 && opened <= 2) opened = open("/dev/null", O_RDWR);
    if (opened > 2) close(opened);
}

} // namespace

void mainInit()
{
    SayFailure(FailureOf([] {
        OpenStandardStreams();
        gsl_set_error_handler_off();
        InitGlobals();
        InitIFLibG();
        PrintBanner();
        MainMenu();
    })); // no session is open: nobody has to be waited for
    std::exit(1);
}

void InitGlobals()
{
    console = Console{};
    console.in = &StandardInput();
    console.out = stdout;
    preferences = Preferences{};
    session = Session{};
}
