#include "shell/mainmenu.hpp"

#include <gsl/gsl_errno.h>
#include <omp.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <new>

#include "functional/analysis.hpp"
#include "ranking/ranking.hpp"
#include "session/formda.hpp"
#include "session/session.hpp"
#include "session/setup.hpp"
#include "session/track.hpp"
#include "shell/complaint.hpp"
#include "shell/console.hpp"
#include "shell/failure.hpp"
#include "shell/files.hpp"
#include "shell/macro.hpp"
#include "shell/preferences.hpp"
#include "shell/prompts.hpp"
#include "shell/scanners.hpp"
#include "simulation/simulation.hpp"

namespace {

// A larger team than this costs time on any machine, and one that the machine cannot make at all
// would end the process.
const int largestTeam = 64;

const char* const credits[] = {
    "Scales the traits of organisms up to the communities they live in,",
    "and tests how traits, environment and phylogeny go together.",
    "KELPRA is free software and comes without any warranty.",
    "Read docs/guide.md for a first session, question by question, and",
    "docs/statistics.md for every formula with its literature.",
};

void PrintBanner()
{
    std::fprintf(console.out, "%s\n", lineL);
    std::fprintf(console.out, "%s\n\n", version);
    for (const char* line : credits) std::fprintf(console.out, "%s\n", line);
    std::fprintf(console.out, "%s\n", lineL);
}

void SetTeam()
{
    const int available = omp_get_num_procs();
    const int wanted = preferences.nProcessors > 0 ? preferences.nProcessors : available;
    omp_set_num_threads(std::min(wanted, std::max(available, largestTeam)));
}

void NameStructures()
{
    if (preferences.saveStruct == 'y') SessionFileName(session.whichStructures, structExt);
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
    const OutputFile track(
        fopenck(session.whichTrack, console.volumeName, answer == 'N' ? "w" : "r+"));
    if (track != nullptr) return true;
    if (!console.runMacro) Wait();
    return false;
}

/// Reads the name of the formatted data file; false if the track file is empty: a session that has
/// no data yet.
bool ReadFormdaName()
{
    InputStream track(fopenck(session.whichTrack, console.volumeName, "r"));
    if (!track.IsOpen()) Fail(cannotOpen);
    return TryReadWord(track, session.whichFormda, sizeof session.whichFormda);
}

void LoadSession()
{
    OpenFormda(1);
    ReadTrack();
}

void AnalysisMenu()
{
    for (;;) {
        if (session.dirtyOrig == 1) { // each analysis starts from the session as it is on disk
            FreeGlobals2();
            LoadSession();
        }
        Menu("ANALYSIS OF COMMUNITY STRUCTURES");
        std::fprintf(console.out, "Options:\n");
        std::fprintf(console.out, "   H  functional analysis \n");
        std::fprintf(console.out, "   K  ranking traits (find optimal trait subset) \n");
        std::fprintf(console.out, "   C  return to session menu \n");
        std::fprintf(console.out, "Type option: ");
        session.optmain = static_cast<char>(std::toupper(ReadCharIn("H K C")));
        std::fprintf(console.out, "\n");
        if (session.optmain == 'C') return;
        if (session.optmain == 'H') IFHierarchicalAccum();
        if (session.optmain == 'K') IFChOrderSearch();
    }
}

void SessionMenu()
{
    do {
        Menu("SESSION MENU");
        std::fprintf(console.out, "Options:\n");
        std::fprintf(console.out, "   V  analysis of community structures\n");
        std::fprintf(console.out, "   S  set preferences\n");
        std::fprintf(console.out, "   C  return to main menu \n");
        std::fprintf(console.out, "Type option: ");
        session.optmain1 = static_cast<char>(std::toupper(ReadCharIn("V S C")));
        std::fprintf(console.out, "\n\n");
        if (session.optmain1 == 'V') AnalysisMenu();
        if (session.optmain1 == 'S') SetPreferences();
        NameStructures();
    } while (session.optmain1 != 'C');
}

/// What a fatal failure says. A code 5 says nothing.
void SayFailure(FailureCode code)
{
    const char* reason = nullptr;
    switch (code) {
    case outOfMemory: reason = "\nOUT OF MEMORY !!!\n"; break;
    case endOfFile: reason = "\nEND OF FILE !!!\n"; break;
    case failedPrint: reason = "\nFAIL TO PRINT ON FILE !!!\n"; break;
    case cannotOpen: reason = "\nFAIL TO OPEN FILE !!!\n"; break;
    case quietReturn: break;
    }
    if (reason != nullptr) Complain("%s\nQuit and restart KELPRA.\n", reason);
    Complain("%c", 7);
}

/// Reads standard input until a letter, or until a line end. Deliberate: no way out at end of
/// input, so that a terminal window stays open with the message.
void WaitFor(bool letter)
{
    Patience patience;
    for (;;) {
        const int c = StandardInput().Get();
        if (c == EOF)
            patience.Pause();
        else if (letter ? c < 128 && std::isalpha(c) != 0 : c == '\n')
            return;
    }
}

void EndSession()
{
    FreeGlobals1();
    FreeGlobals2();
}

/// The end of an open session by a failure: back to the main menu after a quiet return, the end of
/// the process otherwise. Nothing is saved.
void FailSession(FailureCode code)
{
    SayFailure(code);
    if (code != quietReturn) {
        WaitFor(code == outOfMemory || code == failedPrint);
        std::exit(1);
    }
    if (!console.runMacro) Wait();
    EndSession();
}

void RunSession()
{
    NameStructures();
    if (!ReadFormdaName() && SetFormda() != 0) return;
    LoadSession();
    SessionMenu();
}

void OpenSession(int answer)
{
    if (NameSession(answer)) {
        IFSession();
        NameStructures();
    }
}

/// Carries out one answer to the main menu.
void FollowMainMenu(int answer)
{
    switch (answer) {
    case 'N':
    case 'O': OpenSession(answer); return;
    case 'A': IFAssemblyRulesSimulation_EnvFeedback_TypeI_II_Error(); break;
    case 'S': SetPreferences(); break;
    case 'M': IFMacro(); break; // Deliberate: the menu accepts no M, so no user gets here
    default: break;
    }
    NameStructures();
    if (answer == 'X') std::exit(0);
}

} // namespace

void mainInit()
{
    try {
        gsl_set_error_handler_off();
        InitGlobals();
        InitIFLibG();
        PrintBanner();
        MainMenu();
    } catch (const Failure& failure) { // no session is open: nobody has to be waited for
        SayFailure(failure.code);
    } catch (const std::bad_alloc&) {
        SayFailure(outOfMemory);
    }
    std::exit(1);
}

void InitGlobals()
{
    console.in = &StandardInput();
    console.out = stdout;
    console.outm = nullptr;
    console.runMacro = false;
    console.createMacro = false;
    preferences = Preferences{};
    session.nGroups = session.nPart = session.nCstGroups = session.nPartCst = 0;
    session.rndTestOpt = 0;
    session.whichLevelGrCST = 1;
    session.SMWSize = 1;
}

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

void IFSession()
{
    try {
        RunSession();
        EndSession();
    } catch (const Failure& failure) {
        FailSession(failure.code);
    } catch (const std::bad_alloc&) {
        FailSession(outOfMemory);
    }
}
