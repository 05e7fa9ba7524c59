// SPDX-License-Identifier: GPL-3.0-or-later
// What the tests of the session share: typed answers, failure codes, small sessions in memory.
#pragma once

#include <doctest/doctest.h>

#include <algorithm>
#include <cstring>
#include <sstream>
#include <string>
#include <vector>

#include "session/formda.hpp"
#include "session/session.hpp"
#include "shell/arrays.hpp"
#include "shell/console.hpp"
#include "unit/shell/shell_fixture.hpp"

using Ints = std::vector<int>;
using Words = std::vector<std::string>;
using Rows = std::vector<std::vector<double>>;

/// A scratch folder, both standard streams captured, and a session of name "a" without data.
struct SessionTest {
    SessionTest() { Reset("a"); }
    ~SessionTest() { Reset(""); }
    SessionTest(const SessionTest&) = delete;
    SessionTest& operator=(const SessionTest&) = delete;

    static void Reset(const char* name)
    {
        FreeGlobals2();
        session = Session();
        std::strcpy(console.sessionName, name);
        std::strcpy(session.whichTrack, "aTrk.txt");
    }

    ScratchFolder folder;
    Captured screen{stdout};
    Captured complaints{stderr};
};

/// A data file up to its matrices, with traits of type 3, labels T1, ... and C1, ...
inline std::string HeadOf(std::size_t nch, std::size_t ncsm, std::size_t tcst)
{
    std::ostringstream text;
    text << "d\n" << nch;
    for (std::size_t j = 1; j <= nch; j++) text << " T" << j;
    for (const char* item : {" 3", " 0", " 2"}) // types, ranges, numbers of states
        for (std::size_t j = 0; j < nch; j++) text << item;
    text << ' ' << ncsm;
    for (std::size_t j = 1; j <= ncsm; j++) text << " C" << j;
    text << ' ' << tcst;
    for (std::size_t j = 0; j < ncsm + nReservedNumbers; j++) text << " 0";
    text << "\n25Jun2016\n";
    return text.str();
}

/// The code that loading a data file of this text ends with.
inline int LoadData(const std::string& text)
{
    WriteText("sFormda.txt", text);
    std::strcpy(session.whichFormda, "sFormda.txt");
    return CodeOf([] { OpenFormda(1); });
}

/// The code that a dialogue ends with. Answers stand between blanks, but are typed a line each. One
/// that was not taken is a fault.
template <typename Dialogue>
int CodeWith(std::string answers, Dialogue dialogue)
{
    std::replace(answers.begin(), answers.end(), ' ', '\n');
    Type(answers + "\n#");
    const int code = CodeOf(dialogue);
    std::string left;
    for (int c = StandardInput().Get(); c != '#' && c != EOF; c = StandardInput().Get())
        if (c > ' ') left += static_cast<char>(c);
    if (code == 0) CHECK(left == "");
    return code;
}

/// A dialogue of the session "a": what is typed, and what comes of it.
struct Played {
    std::string fact;
    std::vector<Words> files; // name and text, where they are not the usual ones
    std::string answers;
    Words stored;           // parts of its data file, once each
    Words seen = {};        // parts of the screen, once each; with a "!" before it, none
    std::string errors = ""; // the whole of standard error
    int code = 0;           // of failure; then nothing is stored
};

template <typename Test, typename Dialogue>
void Play(const Played& c, Dialogue dialogue)
{
    CAPTURE(c.fact);
    Test test;
    for (const Words& file : c.files) WriteText(file[0], file[1]);
    CHECK(CodeWith(c.answers, dialogue) == c.code);
    const std::string text = TextOfFile("aFormda.txt"), screen = test.screen.Text();
    for (const std::string& part : c.stored) {
        CAPTURE(part);
        CHECK(TimesIn(text, part) == 1);
    }
    for (const std::string& part : c.seen) {
        CAPTURE(part);
        const bool isSeen = part[0] != '!';
        CHECK(TimesIn(screen, part.substr(isSeen ? 0 : 1)) == (isSeen ? 1 : 0));
    }
    CHECK(test.complaints.Text() == c.errors);
    CHECK(text.empty() == (c.code != 0));
    if (c.code == 0) CHECK(LoadData(text) == 0); // what is stored can be read back
}

/// Fails each allocation of the work in turn: code 1 and no such file, until none fails.
template <typename Work>
void FailEachAllocation(const char* file, Work work)
{
    std::filesystem::remove(file);
    int code = outOfMemory, nFailures = -1;
    for (long k = 1; code != 0; k++) {
        CHECK_FALSE(std::filesystem::exists(file));
        FailAllocation(k);
        code = work();
        FailAllocation(0);
        REQUIRE((code == outOfMemory || code == 0));
        FreeGlobals2();
        nFailures++;
    }
    CHECK(nFailures > 40);
}

inline std::string Replaced(std::string text, const std::string& part, const std::string& by)
{
    const std::size_t at = text.find(part);
    REQUIRE(at != std::string::npos);
    return text.replace(at, part.size(), by);
}

inline Rows RowsOf(double** table, int rows, int columns)
{
    Rows copy;
    for (int i = 0; i < rows; i++) copy.emplace_back(table[i], table[i] + columns);
    return copy;
}

inline Words WordsOf(char** words, int n) { return {words, words + n}; }

inline Words MarksOf(char** marks, int rows, int columns)
{
    Words copy;
    for (int i = 0; i < rows; i++) copy.emplace_back(marks[i], static_cast<std::size_t>(columns));
    return copy;
}

inline Ints IntsOf(const int* values, int n) { return {values, values + n}; }
