// SPDX-License-Identifier: GPL-3.0-or-later
#include "main/mainmenu.hpp"

#include <omp.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>

#include "main/sessionmenu.hpp"
#include "session/session.hpp"
#include "session/track.hpp"
#include "shell/console.hpp"
#include "shell/files.hpp"
#include "shell/macro.hpp"
#include "shell/preferences.hpp"
#include "shell/prompts.hpp"
#include "simulation/simulation.hpp"

namespace {

// A larger team than this costs time on any machine, and one that the machine cannot make at all
// would end the process.
const int largestTeam = 64;

void SetTeam()
{
    const int available = omp_get_num_procs();
    const int wanted = preferences.nProcessors > 0 ? preferences.nProcessors : available;
    omp_set_num_threads(std::min(wanted, std::max(available, largestTeam)));
}

void PrintMainMenu()
{
    if (!console.runMacro) std::fprintf(console.out, "\n\n\n\n");
    std::fprintf(console.out, "%s\n", version);
    std::fprintf(console.out, "%s\n", lineL);
    std::fprintf(console.out, "Main menu:\n");
    std::fprintf(console.out, "   N  start new session\n");
    std::fprintf(console.out, "   O  attach to old session\n");
    std::fprintf(console.out, "   S  set preferences\n");
    std::fprintf(console.out, "   X  exit \n");
    std::fprintf(console.out, "%s\n", lineL);
    std::fprintf(console.out, "Type option: ");
}

/// Names the session and opens its track file, emptied for a new session; false if it cannot be
/// opened.
bool NameSession(int answer)
{
    std::fprintf(console.out, "Enter session name: ");
    ReadStringIn("%s\n", console.tempName, sizeof console.tempName);
    std::snprintf(console.sessionShortName, sizeof console.sessionShortName, "%.51s",
                  console.tempName);
    console.volumeName[0] = '\0';
    std::snprintf(console.sessionName, sizeof console.sessionName, "%s",
                  console.sessionShortName);
    SessionFileName(session.whichTrack, trackExt);
    const char* const mode = answer == 'N' ? "w" : "r+";
    OutputFile track(fopenck(session.whichTrack, console.volumeName, mode), session.whichTrack);
    const bool canOpen = track.IsOpen();
    track.Close();
    if (!canOpen && !console.runMacro) Wait();
    return canOpen;
}

/// Carries out one answer to the main menu.
void FollowMainMenu(int answer)
{
    switch (answer) {
    case 'N':
    case 'O':
        if (NameSession(answer)) IFSession();
        break;
    case 'A': IFAssemblyRulesSimulation_EnvFeedback_TypeI_II_Error(); break;
    case 'S': SetPreferences(); break;
    case 'M': IFMacro(); break; // Deliberate: the menu accepts no M, so no user gets here
    default: std::exit(0);
    }
}

} // namespace

void MainMenu()
{
    ReadPreferences();
    ClearLine();
    for (;;) {
        PrintMainMenu();
        // Deliberate: A, the simulator, is accepted but not shown; M, the macros, is not accepted.
        const int answer = std::toupper(ReadCharIn("N O S A X"));
        std::fprintf(console.out, "\n\n");
        AdjustClocks_Event();
        SetTeam();
        FollowMainMenu(answer);
    }
}
