// What the tests of the session share: typed answers, failure codes, small sessions in memory.
#pragma once

#include <doctest/doctest.h>

#include <string>
#include <vector>

#include "session/session.hpp"
#include "shell/arrays.hpp"
#include "shell/failure.hpp"
#include "shell/files.hpp"
#include "unit/shell/shell_fixture.hpp"

/// Puts answers where the user's next ones are read from.
inline void Type(const std::string& answers)
{
    for (auto c = answers.rbegin(); c != answers.rend(); ++c)
        StandardInput().Unget(static_cast<unsigned char>(*c));
}

inline void WriteText(const std::string& path, const std::string& text)
{
    std::ofstream(path, std::ios::binary) << text;
}

/// The failure code that the work ends with; 0 if it succeeds.
template <typename Work>
int CodeOf(Work work)
{
    try {
        work();
    } catch (const Failure& failure) {
        return failure.code;
    }
    return 0;
}

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

inline int TimesIn(const std::string& text, const std::string& part)
{
    int times = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
        times++;
    return times;
}

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
