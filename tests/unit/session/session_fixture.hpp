// What the tests of the session share: typed answers, failure codes, small sessions in memory.
#pragma once

#include <doctest/doctest.h>

#include <string>
#include <vector>

#include "session/session.hpp"
#include "shell/arrays.hpp"
#include "unit/shell/shell_fixture.hpp"

/// A scratch folder, both standard streams captured, and no session before and after.
struct SessionTest {
    SessionTest() { Reset(); }
    ~SessionTest() { Reset(); }
    SessionTest(const SessionTest&) = delete;
    SessionTest& operator=(const SessionTest&) = delete;

    static void Reset()
    {
        FreeGlobals2();
        session = Session();
    }

    ScratchFolder folder;
    Captured screen{stdout};
    Captured complaints{stderr};
};

inline std::string Replaced(std::string text, const std::string& part, const std::string& by)
{
    const std::size_t at = text.find(part);
    REQUIRE(at != std::string::npos);
    return text.replace(at, part.size(), by);
}

using Rows = std::vector<std::vector<double>>;

inline Rows RowsOf(double** table, int rows, int columns)
{
    Rows copy;
    for (int i = 0; i < rows; i++) copy.emplace_back(table[i], table[i] + columns);
    return copy;
}

inline std::vector<std::string> WordsOf(char** words, int n) { return {words, words + n}; }

inline std::vector<int> IntsOf(const int* values, int n) { return {values, values + n}; }
