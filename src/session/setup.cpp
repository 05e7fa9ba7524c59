// SPDX-License-Identifier: GPL-3.0-or-later
#include "session/setup.hpp"

#include <cstdio>
#include <cstring>

#include "session/derive.hpp"
#include "session/formda.hpp"
#include "session/merge.hpp"
#include "session/rawdata.hpp"
#include "session/session.hpp"
#include "session/track.hpp"
#include "shell/console.hpp"
#include "shell/files.hpp"
#include "shell/prompts.hpp"

namespace {

/// Asks for a session's name and puts the name of its formatted data file into fileName (80
/// characters). False, after the complaint, if there is no such file.
bool AskFormattedFile(char* fileName)
{
    Session& s = session;
    ReadStringIn("%s\n", s.tempSession, 62);
    std::strcpy(fileName, s.tempSession);
    std::strcat(fileName, formdaExt);
    return InputStream(fopenck(fileName, nullptr, "r")).IsOpen();
}

bool FormatRawData()
{
    SessionFileName(session.whichFormda, formdaExt);
    IFFormat();
    WriteTrack(0);
    return true;
}

bool UseOtherSession()
{
    std::FILE* out = console.out;
    std::fprintf(out, "\nEnter name of the session from which data is to be extracted: ");
    if (!AskFormattedFile(session.whichFormda)) return false;
    std::fprintf(out, "\nUse file %s:\n", session.whichFormda);
    std::fprintf(out, "   1  as it is \n");
    std::fprintf(out, "   2  modified \n");
    std::fprintf(out, "   3  return to main menu \n");
    std::fprintf(out, "Type option no.: ");
    const int option = AskOption("1 2 3");
    std::fprintf(out, "\n\n");
    if (option == 3) return false; // back to the ways, whatever the line says
    if (option == 2) {
        PickSomeFormda();
    } else {
        OpenFormda(1);
        ClearLine();
    }
    WriteTrack(0);
    FreeGlobals1();
    return true;
}

bool MergeSessions()
{
    std::FILE* out = console.out;
    std::fprintf(out, "\nEnter names of the sessions from which data is to be merged:");
    std::fprintf(out, "\nFirst session name: ");
    if (!AskFormattedFile(session.whichFormda)) return false;
    OpenFormda(1);
    ClearLine();
    std::fprintf(out, "Second session name: ");
    char second[sizeof session.whichFormda];
    const bool found = AskFormattedFile(second);
    std::strcpy(session.dataName, session.whichFormda);
    const bool isMerged = found && MergeFormda(second) == 1;
    if (isMerged) {
        WriteTrack(0);
        FreeGlobals1();
    }
    FreeGlobals2();
    return isMerged;
}

} // namespace

int SetFormda()
{
    std::FILE* out = console.out;
    Menu("DATA FOR SESSION");
    for (;;) {
        std::fprintf(out, "Options:\n");
        std::fprintf(out, "   1  format raw data \n");
        std::fprintf(out, "   2  use formatted data from another session\n");
        std::fprintf(out, "   3  merge formatted data from two sessions\n");
        std::fprintf(out, "   4  return to main menu \n");
        std::fprintf(out, "Type option no.: ");
        const int way = AskOption("1 2 3 4");
        if (way == 4) return 1;
        const bool isSetUp = way == 1   ? FormatRawData()
                             : way == 2 ? UseOtherSession()
                                        : MergeSessions();
        if (isSetUp) return 0;
    }
}
