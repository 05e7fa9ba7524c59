// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/scanners.hpp"

#include <doctest/doctest.h>

#include <climits>
#include <cmath>
#include <vector>

#include "shell/failure.hpp"
#include "unit/shell/shell_fixture.hpp"

namespace {

/// All numbers that the forgiving reader finds in a text.
std::vector<double> Numbers(const char* text)
{
    InputStream stream(FileOf(text));
    std::vector<double> found;
    double value = 0.0;
    while (freadck1(stream, value, "numbers")) found.push_back(value);
    return found;
}

} // namespace

TEST_CASE("the forgiving reader steps over what is not a decimal number") {
    struct Case { const char* fact; const char* text; std::vector<double> expected; };
    const Case cases[] = {
        {"words and their digits", "abc 12 x5y", {12, 5}},
        {"inf and nan are words", "inf 1 nan 2", {1, 2}},
        {"a second sign begins anew", "--4 +-7 +2", {-4, -7, 2}},
        {"a unit ends the number", "100ergs 1e5x 5.e 5.e7", {100, 1e5, 5, 5e7}},
        {"an exponent needs digits", "2e+ 3e-x 4E-2", {2, 3, 0.04}},
        {"hexadecimal is not read", "0x1A", {0, 1}},
        {"points", ". .5 5. -.25 1.2.3", {0.5, 5, -0.25, 1.2, 0.3}},
        {"a decimal comma makes two numbers", "1\t3,25", {1, 3, 25}},
    };
    Captured errors(stderr), screen(stdout);
    for (const Case& c : cases) {
        CAPTURE(c.fact);
        CHECK(Numbers(c.text) == c.expected);
    }
    InputStream rest(FileOf(".5")), words(FileOf("x7 a.5")); // of 1.5.5: a number, not a word
    CHECK((HasNumberLeft(rest) && !HasNumberLeft(words)));
}

TEST_CASE("the end of a stream is announced once") {
    InputStream stream(FileOf("7"));
    Captured errors(stderr), screen(stdout);
    double value = 0.0;
    char word[8] = "as was";
    CHECK(freadck1(stream, value, "W.txt"));
    for (int k = 0; k < 2; k++) CHECK_FALSE(freadck1(stream, value, "W.txt"));
    CHECK_FALSE(freadck1Word(stream, word, sizeof word, "W.txt"));
    CHECK((value == 7 && std::string(word) == "as was" && !stream.IsOpen()));
    CHECK(errors.Text() == "\nEnd of file W.txt\n");
    CHECK(screen.Text() == "\a");
}

TEST_CASE("the strict reader takes what strtod takes") {
    InputStream stream(FileOf(" inf -nan(1) 0x10 1e400 -2.5e-3,7"));
    double value = 0.0;
    for (const double expected : {HUGE_VAL, std::nan(""), 16.0, HUGE_VAL, -2.5e-3}) {
        CHECK(TryRead(stream, value));
        CHECK((value == expected || (std::isnan(value) && std::isnan(expected))));
    }
    CHECK_FALSE(TryRead(stream, value)); // the comma stays
    CHECK((value == -2.5e-3 && Rest(stream) == ",7"));
}

TEST_CASE("checked readers end the work at a wrong token") {
    struct Case { const char* fact; const char* text; void (*read)(InputStream&); };
    const Case cases[] = {
        {"a word for a whole number", "abc", [](InputStream& s) { int v; freadck(s, v, "Trk"); }},
        {"a word for a number", "NA", [](InputStream& s) { double v; freadck(s, v, "Trk"); }},
        {"no word", " \n\t", [](InputStream& s) { char w[4]; freadckWord(s, w, 4, "Trk"); }},
        {"no line", " \n\r", [](InputStream& s) { char l[9]; freadlineck(s, 8, l, "Trk"); }},
    };
    for (const Case& c : cases) {
        CAPTURE(c.fact);
        InputStream stream(FileOf(c.text));
        Captured errors(stderr), screen(stdout);
        CHECK(CodeOf([&] { c.read(stream); }) == endOfFile);
        CHECK((errors.Text() == "\nfile Trk " && screen.Text() == "\a" && !stream.IsOpen()));
    }
}

TEST_CASE("words are cut to their storage, parts leave their rest") {
    InputStream stream(FileOf("longerthanfour next abcdefg"));
    char word[5];
    freadckWord(stream, word, sizeof word, "labels");
    CHECK(std::string(word) == "long");
    freadckWord(stream, word, sizeof word, "labels");
    for (const char* part : {"abcd", "efg"}) {
        freadckPart(stream, word, 4, "input");
        CHECK(std::string(word) == part);
    }
}

TEST_CASE("ScanChar: each character of a line is looked at in turn") {
    InputStream stream(FileOf(" \t\n\x01xZA9"));
    Captured errors(stderr), screen(stdout);
    CHECK(ScanChar(stream, "a Z", "input") == 'z');
    CHECK(ScanChar(stream, "a Z", "input") == 'a');
    CHECK(errors.Text() == "\nIncorrect input = x. Reenter.\nAccepted input: a Z\n");
    CHECK(Rest(stream) == "9"); // stays for the next prompt

    InputStream any(FileOf(" \t\nQ"));
    CHECK(ScanChar(any, nullptr, "input") == 'q');
    InputStream ended(nullptr);
    CHECK(CodeOf([&] { ScanChar(ended, "y n", "input"); }) == endOfFile);
    CHECK(screen.Text() == "\a"); // of x; none at this end of file
}

TEST_CASE("ScanNumber insists until the answer is accepted") {
    struct Case {
        const char* fact; const char* text; const char* accept; double lo, hi, expected;
        const char* complaint;
    };
    const Case cases[] = {
        {"in a list", "1.5 2", "1 2", 0, 0, 2,
         "\nIncorrect input = 1.5. Reenter.\nAccepted input: 1 2\n"},
        {"in a range", "0\n3", "-", 1, 2147483647.0, 3,
         "\nIncorrect input = 0. Reenter.\nAccepted input: 1 to 2.14748e+09\n"},
        {"no specification", "abc5", nullptr, 0, 0, 5, ""},
    };
    for (const Case& c : cases) {
        CAPTURE(c.fact);
        InputStream stream(FileOf(c.text));
        Captured errors(stderr), screen(stdout);
        CHECK(ScanNumber(stream, "input", c.accept, c.lo, c.hi) == c.expected);
        CHECK(errors.Text() == c.complaint);
        CHECK(screen.Text() == (c.complaint[0] == '\0' ? "" : "\a"));
    }
    InputStream ended(nullptr);
    Captured errors(stderr), screen(stdout);
    CHECK(ScanNumber(ended, "B.txt", nullptr) == 0.0); // unchecked: comes back at end of file
}

TEST_CASE("ScanString cuts, and compares with alternatives") {
    struct Case { const char* text; int caseSensitive; const char* expected; bool found; };
    const Case cases[] = {
        {"average linkage", 0, "averag", true}, // cut to 6
        {"SINGLE", 0, "SINGLE", true},
        {"SINGLE", 1, "", false},
    };
    char word[7];
    for (const Case& c : cases) {
        CAPTURE(c.text);
        InputStream stream(FileOf(c.text));
        Captured errors(stderr), screen(stdout);
        const char* result =
            ScanString(stream, 6, word, "single/average", c.caseSensitive, "input");
        CHECK(((result == word) == c.found && std::string(word) == c.expected));
        const std::string complaint = std::string("\nIncorrect input = ") + c.text +
                                      ". Reenter.\nAccepted input: single/average\n";
        CHECK(errors.Text() == (c.found ? "" : complaint));
    }
    InputStream ended(FileOf(""));
    Captured errors(stderr), screen(stdout);
    CHECK(ScanString(ended, 6, word, nullptr, 1, "keyboard") == nullptr);
}

TEST_CASE("lines: tab, newline or carriage return ends them") {
    struct Case { const char* fact; const char* text; int maxLength; const char* line;
                  const char* rest; };
    const Case cases[] = {
        {"blanks inside and at the end stay", "\n  my file \r\nnext", 51, "my file ", "\nnext"},
        {"a tab ends the text", "Poa\tannua\n", 51, "Poa", "annua\n"},
        {"the rest of a long line stays", "abcdef\n", 4, "abcd", "ef\n"},
        {"no line end", "abc", 51, "abc", ""},
        {"no room", "  abc", 0, "", "abc"},
    };
    for (const Case& c : cases) {
        CAPTURE(c.fact);
        InputStream stream(FileOf(c.text));
        char line[52] = "?";
        freadlineck(stream, c.maxLength, line, "names");
        CHECK(std::string(line) == c.line);
        CHECK(Rest(stream) == c.rest);
    }
    InputStream species(FileOf("\tPoa\tannua L.\r\nPoa alpina"));
    char line[71];
    freadlineckTEMP(species, 70, line, "names");
    CHECK(std::string(line) == "Poa annua L.");
}

TEST_CASE("case and range") {
    char text[] = "a\xe9z";
    StrToUpper(text);
    CHECK(std::string(text) == "A\xe9Z"); // only ASCII letters change
    CHECK((ToInt(-2.9) == -2 && ToInt(3e9) == INT_MAX && ToInt(-3e9) == INT_MIN));
    CHECK(ToInt(std::nan("")) == INT_MIN);
}
