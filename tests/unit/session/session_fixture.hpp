// What the tests of the session share: typed answers, failure codes, small sessions in memory.
#pragma once

#include <doctest/doctest.h>

#include <cmath>
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

/// The code that a dialogue ends with. An answer that it did not take is a fault.
template <typename Dialogue>
int CodeWith(const std::string& answers, Dialogue dialogue)
{
    Type(answers + " #");
    const int code = CodeOf(dialogue);
    std::string left;
    for (int c = StandardInput().Get(); c != '#' && c != EOF; c = StandardInput().Get())
        if (c > ' ') left += static_cast<char>(c);
    if (code == 0) CHECK(left == "");
    return code;
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

/// Equal but for what six stored digits lose; NaN equals NaN.
inline void CheckRows(double** table, const Rows& expected)
{
    for (std::size_t i = 0; i < expected.size(); i++)
        for (std::size_t k = 0; k < expected[i].size(); k++) {
            const double cell = table[i][k];
            CHECK((cell == doctest::Approx(expected[i][k]).epsilon(1e-5) ||
                   (std::isnan(cell) && std::isnan(expected[i][k]))));
        }
}

inline Words WordsOf(char** words, int n) { return {words, words + n}; }

inline Words MarksOf(char** marks, int rows, int columns)
{
    Words copy;
    for (int i = 0; i < rows; i++) copy.emplace_back(marks[i], static_cast<std::size_t>(columns));
    return copy;
}

inline Ints IntsOf(const int* values, int n) { return {values, values + n}; }
