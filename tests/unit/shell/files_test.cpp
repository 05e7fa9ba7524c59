// SPDX-License-Identifier: GPL-3.0-or-later
#include <doctest/doctest.h>

#include "shell/files.hpp"
#include "shell_fixture.hpp"

namespace {

/// The text of a file, or a dash if there is none.
std::string Found(const std::string& path)
{
    return std::filesystem::exists(path) ? TextOfFile(path) : "-";
}

} // namespace

TEST_CASE("a file is replaced by a complete one only")
{
    struct Case {
        const char* fact;
        const char* mode;
        Unfinished unfinished;
        bool closes;
        std::string file, part;
    };
    const Case cases[] = {
        {"written anew", "w", Unfinished::kept, true, "new text", "-"},
        {"appended to", "a", Unfinished::removed, true, "old new text", "-"},
        {"a report, given up", "w", Unfinished::kept, false, "old ", "new text"},
        {"more of a report, given up", "a", Unfinished::kept, false, "old ", "old new text"},
        {"session data, given up", "w", Unfinished::removed, false, "old ", "-"},
    };
    for (const Case& c : cases) {
        CAPTURE(c.fact);
        const ScratchFolder folder;
        WriteText("target", "old ");
        WriteText("target.part", "of an earlier run");
        std::filesystem::create_symlink("target", "name");
        std::filesystem::permissions("target", std::filesystem::perms::owner_all);
        {
            OutputFile file("name", nullptr, c.mode, c.unfinished);
            std::fputs("new text", file);
            CHECK(Found("name") == "old ");
            if (c.closes) file.Close();
        }
        CHECK(Found("name") == c.file);
        CHECK(Found("target.part") == c.part);
        CHECK(std::filesystem::is_symlink("name"));
        CHECK(std::filesystem::status("target").permissions() == std::filesystem::perms::owner_all);
    }
}

TEST_CASE("where no file can be made beside it, a file is written in place")
{
    const ScratchFolder folder;
    const std::string longName(253, 'n'); // with ".part" it has more than the 255 that there may be
    for (const char* mode : {"w", "a"}) {
        OutputFile file(longName.c_str(), nullptr, mode);
        std::fputs("text ", file);
        file.Close();
    }
    CHECK(Found(longName) == "text text ");
    Captured complaints(stderr);
    std::filesystem::create_directory("folder");
    CHECK(CodeOf([] { OutputFile("folder", nullptr, "w"); }) == cannotOpen);
    CHECK(CodeOf([] {
              OutputFile file("/dev/full", nullptr, "w");
              std::fputs("text", file);
              file.Close();
          }) == failedPrint);
    CHECK(complaints.Text() == "\ncan't open folder \n\nfile /dev/full ");
}
