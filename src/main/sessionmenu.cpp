// SPDX-License-Identifier: GPL-3.0-or-later
#include "main/sessionmenu.hpp"

#include <cctype>
#include <cstdio>
#include <cstdlib>

#include "functional/analysis.hpp"
#include "ranking/ranking.hpp"
#include "session/formda.hpp"
#include "session/session.hpp"
#include "session/setup.hpp"
#include "session/track.hpp"
#include "shell/console.hpp"
#include "shell/failure.hpp"
#include "shell/files.hpp"
#include "shell/preferences.hpp"
#include "shell/prompts.hpp"
#include "shell/scanners.hpp"

namespace {

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
    } while (session.optmain1 != 'C');
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
        WaitAfter(code);
        std::exit(1);
    }
    if (!console.runMacro) Wait();
    EndSession();
}

void RunSession()
{
    if (preferences.saveStruct == 'y') SessionFileName(session.whichStructures, structExt);
    if (!ReadFormdaName() && SetFormda() != 0) return;
    LoadSession();
    SessionMenu();
}

} // namespace

void IFSession()
{
    const FailureCode code = FailureOf([] {
        RunSession();
        EndSession();
    });
    if (code != noFailure) FailSession(code);
}
