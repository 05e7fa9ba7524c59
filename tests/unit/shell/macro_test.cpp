#include "shell/macro.hpp"

#include <doctest/doctest.h>

#include "shell/console.hpp"
#include "shell/prompts.hpp"
#include "unit/shell/shell_fixture.hpp"

namespace {

/// Records a letter, a number and a word as the macro "night.mac".
void RecordThreeAnswers()
{
    Type("n night.mac\ny\n2.5\nPoa\nN\n");
    IFMacro();
    ReadCharIn("y n");
    ReadNumberIn("%g\n", "");
    char word[9];
    ReadStringIn("%s\n", word, sizeof word);
    IFMacro(); // N: stop
    StandardInput().Get(); // the line end that ended the pause
}

} // namespace

TEST_CASE("macro: answers are recorded and replayed into a report") {
    ScratchFolder folder;
    Captured screen(stdout);
    RecordThreeAnswers();
    CHECK_FALSE(console.createMacro);
    CHECK(TextOfFile("night.mac") == "y\n2.5\nPoa\nR\n");
    CHECK(screen.Text().find("\n\n\nMacro saved on file night.mac\n") != std::string::npos);

    Type("R night.mac\n");
    IFMacro();
    CHECK(console.runMacro);
    CHECK(ReadCharIn("y n") == 'y');
    CHECK(ReadNumberIn("%g\n", "") == 2.5);
    char word[9];
    ReadStringIn("%s\n", word, sizeof word);
    CHECK(std::string(word) == "Poa");
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
    CHECK(TimesIn(report, "   R  stop running macro on file\n") == 1);
    CHECK(TimesIn(report, "   R  run macro on file\n") == 0);
    StandardInput().Get();
}

TEST_CASE("macro: a file that cannot be opened brings the menu back") {
    ScratchFolder folder;
    Captured screen(stdout), errors(stderr);
    Type("R nothere\n\nC\n"); // the pause wants a line end of its own
    IFMacro();
    CHECK_FALSE(console.runMacro);
    CHECK(errors.Text() == "\ncan't open nothere \n");
    CHECK(TimesIn(screen.Text(), "   N  start creating new macro \n   R  run macro on file\n"
                                 "   C  return to main menu \nType option: ") == 2);
    StandardInput().Get();
}

TEST_CASE("macro: leaving the dialogue while recording is itself recorded") {
    ScratchFolder folder;
    Captured screen(stdout);
    Type("N a.mac\nC\nN\n");
    IFMacro();
    IFMacro();
    CHECK(console.createMacro);
    IFMacro();
    CHECK(TextOfFile("a.mac") == "C\nR\n");
    CHECK(screen.Text().find("   N  stop creating macro \n") != std::string::npos);
    StandardInput().Get();
}
