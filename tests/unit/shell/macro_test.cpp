// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/macro.hpp"

#include <doctest/doctest.h>

#include "shell/console.hpp"
#include "shell/prompts.hpp"
#include "unit/shell/shell_fixture.hpp"

namespace {

/// Three prompts; whether they are answered by y, 2.5 and Poa.
bool AnswerThree()
{
    const int letter = ReadCharIn("y n");
    const double number = ReadNumberIn("%g\n", "");
    char word[9];
    ReadStringIn("%s\n", word, sizeof word);
    return letter == 'y' && number == 2.5 && std::string(word) == "Poa";
}

} // namespace

TEST_CASE("macro: answers are recorded and replayed into a report") {
    ScratchFolder folder;
    Captured screen(stdout), errors(stderr);
    Type("R nothere\n\nn night.mac\nC\ny\n2.5\nPoa\nN\n"); // a pause wants a line end of its own
    IFMacro();
    CHECK((errors.Text() == "\ncan't open nothere \n" && !console.runMacro));
    CHECK(TimesIn(screen.Text(), "   N  start creating new macro \n   R  run macro on file\n"
                                 "   C  return to main menu \nType option: ") == 2);
    IFMacro(); // C: recording goes on
    CHECK((console.createMacro && AnswerThree()));
    IFMacro(); // N: stop
    CHECK((!console.createMacro && TextOfFile("night.mac") == "C\ny\n2.5\nPoa\nR\n"));
    CHECK(TimesIn(screen.Text(), "   N  stop creating macro \n") == 2);
    CHECK(TimesIn(screen.Text(), "\n\n\nMacro saved on file night.mac\n") == 1);

    WriteText("night.mac", "y\n2.5\nPoa\nR\n");
    Type("R night.mac\n");
    IFMacro();
    CHECK((console.runMacro && AnswerThree()));
    Type("\n");
    IFMacro(); // the R at the end of the macro
    CHECK_FALSE(console.runMacro);
    CHECK((console.in == &StandardInput() && console.out == stdout && console.outm == nullptr));
    const std::string end = "\n\n\nMacro:          night.mac\nReport on file: MacroRunReport\n"
                            "Type RETURN to continue\n";
    const std::string shown = screen.Text();
    CHECK(shown.substr(shown.size() - end.size()) == end);
    const std::string report = TextOfFile("MacroRunReport");
    CHECK(report.substr(0, 8) == "y\n2.5\nPo");
    CHECK((TimesIn(report, "   R  stop running macro on file\n") == 1 &&
           TimesIn(report, "   R  run macro on file\n") == 0));
    StandardInput().Get();
}
