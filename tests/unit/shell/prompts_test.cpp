// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/prompts.hpp"

#include <doctest/doctest.h>

#include "shell/arrays.hpp"
#include "shell/console.hpp"
#include "shell/failure.hpp"
#include "unit/shell/shell_fixture.hpp"

namespace {

/// Answers typed by a user: `typed` in the session's stream, `terminal` on standard input.
struct Dialogue {
    explicit Dialogue(const std::string& typed, const std::string& terminal = "")
        : answers(FileOf(typed)), screenFile(std::tmpfile()), macroFile(std::tmpfile())
    {
        console.in = &answers;
        console.out = screenFile;
        console.outm = macroFile;
        Type(terminal);
    }
    ~Dialogue()
    {
        console.in = &StandardInput();
        console.out = stdout;
        console.outm = nullptr;
        console.createMacro = console.runMacro = false;
    }
    Dialogue(const Dialogue&) = delete;
    Dialogue& operator=(const Dialogue&) = delete;
    std::string Screen() { return TextOf(screenFile); }
    std::string Macro() { return TextOf(macroFile); }

    InputStream answers;
    OutputFile screenFile, macroFile;
};

} // namespace

TEST_CASE("accepted answers are copied to a macro") {
    struct Case { const char* fact; const char* typed; void (*read)(); const char* recorded; };
    const Case cases[] = {
        {"a letter, lower case", "Y", [] { ReadCharIn("y n"); }, "y\n"},
        {"d: as a whole number", "1.5", [] { ReadNumberIn("%d\n", "-", 1.0, 9.0); }, "1\n"},
        {"d, beyond int", "3e9", [] { ReadNumberIn("%d\n", ""); }, "2147483647\n"},
        {"f: rounded to single precision", "0.1", [] { ReadNumberIn("%.9f\n", ""); },
         "0.100000001\n"},
        {"g: as it stands", "0.1", [] { ReadNumberIn("%g\n", ""); }, "0.1\n"},
        {"u: unsigned", "4294967297.5", [] { ReadNumberIn("%u\n", ""); }, "4294967297\n"},
        {"u, below zero", "-1", [] { ReadNumberIn("%lu\n", ""); }, "0\n"},
        {"a line", " two words \n", [] { char s[52]; ReadLineIn(s, 51); }, "two words \n"},
        {"a word in its full format", "Poa", [] { char s[9]; ReadStringIn("%s\n", s, 9); },
         "Poa\n"},
    };
    for (const Case& c : cases) {
        CAPTURE(c.fact);
        for (const bool isRecording : {true, false}) {
            Dialogue dialogue(c.typed);
            console.createMacro = isRecording;
            c.read();
            CHECK(dialogue.Macro() == (isRecording ? c.recorded : ""));
        }
    }
}

TEST_CASE("a word prompt with a width splits long words") {
    Dialogue dialogue("abcdef g");
    char word[16];
    for (const char* expected : {"abcd", "ef", "g"}) {
        ReadStringIn("%4s ", word, sizeof word);
        CHECK(std::string(word) == expected);
    }
    Captured errors(stderr), screen(stdout);
    CHECK_THROWS_AS(ReadStringIn("%s\n", word, sizeof word), Failure);
    CHECK(errors.Text() == "\nfile input ");
}

TEST_CASE("a row of labels from a file: too few words repeat the last, long ones are cut") {
    ScratchFolder folder;
    std::ofstream("labels.txt") << "alpha muchlongerlabel b3";
    Dialogue dialogue("", "x f nofile.txt\nf labels.txt\ny");
    Captured errors(stderr), screen(stdout);
    const OwnedTable<char> labels(4, 11);
    CHECK(ReadLongInput(4, 10, labels, "labels of traits") == 1);
    CHECK((std::string(labels[1]) == "muchlonger" && std::string(labels[3]) == "b3"));
    CHECK(dialogue.Screen() ==
          "Read input from file (f) or from the keyboard (k)? f/k \n"
          "Enter name of file containing the labels: \n"
          "Read input from file (f) or from the keyboard (k)? f/k \n"
          "Enter name of file containing the labels: "
          "labels of traits:\talpha\tmuchlonger\tb3\tb3\t\n");
    CHECK(errors.Text() == "\nIncorrect input = x. Reenter.\nAccepted input: f k\n"
                           "\ncan't open nofile.txt \n");
    CHECK(screen.Text() == "\a\aAre these correct? y/n ");
}

TEST_CASE("an empty file of labels gives its own name to all; files of UTF-16 are asked for again") {
    ScratchFolder folder;
    std::ofstream("empty") << "\n";
    std::ofstream("utf16") << std::string("1\0\n\0" "2\0", 6);
    Captured screen(stdout), errors(stderr);
    Dialogue dialogue("", "f utf16 f empty y");
    const OwnedTable<char> labels(2, 11);
    ReadLongInput(2, 4, labels, "labels");
    CHECK((std::string(labels[0]) == "empt" && std::string(labels[1]) == "empt"));
    Dialogue other("5 6", "f utf16 k y");
    int numbers[2];
    ReadLongInput(2, numbers, "numbers", "");
    CHECK((numbers[0] == 5 && numbers[1] == 6));
    const std::string nul = "\nfile utf16 line 1: NUL byte; save it as plain text, not as UTF-16\n";
    CHECK(errors.Text() == nul + nul);
}

TEST_CASE("a row of numbers: -1 gives it up, n starts it again; a replayed one is not confirmed") {
    // 4 and 3 are given up at -1; 5 6 1 is refused; 7 8 9 stays
    ScratchFolder folder;
    WriteText("row", "4 -1 2 3");
    Dialogue dialogue("3 -1 5 6 1.9 7 8 9 1 2", "f row k k n k y");
    Captured screen(stdout);
    int numbers[] = {9, 9, 9};
    console.createMacro = true;
    CHECK(ReadLongInput(3, numbers, "group numbers", nullptr) == 1);
    CHECK((numbers[0] == 7 && numbers[2] == 9));
    const std::string asked = "Read input from file (f) or from the keyboard (k)? f/k \n"
                              "Enter group numbers: \t";
    const std::string shown = "Read input from file (f) or from the keyboard (k)? f/k \nEnter name of "
                              "file containing group numbers: group numbers:\t4\t-1\t9\t\n\n" +
                              asked + "\n" + asked + asked;
    CHECK(dialogue.Screen() == shown);
    console.runMacro = true;
    ReadLongInput(2, numbers, "group numbers", nullptr);
    CHECK((numbers[1] == 2 && dialogue.Screen() == shown + "Enter group numbers: \t"));
    CHECK(screen.Text() == "Are these correct? y/n Are these correct? y/n ");
    CHECK(dialogue.Macro() == "7\t8\t9\t\n1\t2\t\n");
}
