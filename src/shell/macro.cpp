// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/macro.hpp"

#include <cctype>
#include <cstdio>
#include <memory>

#include "shell/console.hpp"
#include "shell/files.hpp"
#include "shell/prompts.hpp"
#include "shell/scanners.hpp"

namespace {

const int macroNameLength = 51;

char whichMacro[macroNameLength + 1] = "";
char whichRun[32] = "";
OutputFile oufpMacro;                   // the macro while it is recorded
OutputFile oufpRun;                     // the report while a macro is replayed
std::unique_ptr<InputStream> infpMacro; // the macro while it is replayed

void PrintMacroMenu()
{
    Menu("SET MACRO MODE");
    if (!console.createMacro) {
        std::fprintf(console.out, "   N  start creating new macro \n");
        if (!console.runMacro) std::fprintf(console.out, "   R  run macro on file\n");
    } else {
        std::fprintf(console.out, "   N  stop creating macro \n");
    }
    if (console.runMacro) std::fprintf(console.out, "   R  stop running macro on file\n");
    std::fprintf(console.out, "   C  return to main menu \n");
    std::fprintf(console.out, "Type option: ");
}

/// Answers are copied to the recorded macro, or else to the report, or else nowhere.
void PointRecordAtWhatIsOpen()
{
    console.outm = console.createMacro ? oufpMacro : oufpRun;
}

void AskMacroName()
{
    std::fprintf(console.out, "\nMacro file name:    ");
    ReadLineIn(whichMacro, macroNameLength);
}

bool StartRecording()
{
    AskMacroName();
    if (!oufpMacro.TryOpen(whichMacro, console.volumeName, "w")) return false;
    console.outm = oufpMacro;
    console.createMacro = true;
    return true;
}

void StopRecording()
{
    console.createMacro = false;
    // The recorded answers end with the letter that stops their replay.
    std::fprintf(console.outm, "%c\n", 'R');
    oufpMacro.Close();
    PointRecordAtWhatIsOpen();
    std::fprintf(console.out, "\n\n\nMacro saved on file %s\n", whichMacro);
    if (!console.runMacro) Wait();
}

bool StartReplay()
{
    AskMacroName();
    std::FILE* macro = fopenck(whichMacro, console.volumeName, "r");
    if (macro == nullptr) return false;
    infpMacro = std::make_unique<InputStream>(macro);
    std::snprintf(whichRun, sizeof whichRun, "%sMacroRunReport", console.volumeName);
    if (!oufpRun.TryOpen(whichRun, nullptr, "w")) {
        infpMacro.reset();
        return false;
    }
    console.in = infpMacro.get();
    console.out = oufpRun;
    console.outm = oufpRun;
    console.runMacro = true;
    return true;
}

void StopReplay()
{
    console.runMacro = false;
    console.in = &StandardInput();
    console.out = stdout;
    infpMacro.reset();
    oufpRun.Close();
    PointRecordAtWhatIsOpen();
    std::printf("\n\n\nMacro:          %s\n", whichMacro);
    std::printf("Report on file: %s\n", whichRun);
    std::printf("Type RETURN to continue\n");
    Wait();
}

} // namespace

void IFMacro()
{
    for (;;) {
        PrintMacroMenu();
        const int answer = std::toupper(ScanChar(*console.in, "N R C", "input"));
        if (answer == 'C') {
            if (console.createMacro || console.runMacro) std::fprintf(console.outm, "%c\n", 'C');
            return;
        }
        if (answer == 'N' && console.createMacro) return StopRecording();
        if (answer == 'R' && console.runMacro) return StopReplay();
        if (answer == 'N' ? StartRecording() : StartReplay()) return;
        Wait();
    }
}
