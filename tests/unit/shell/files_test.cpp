#include <doctest/doctest.h>
#include <sys/resource.h>

#include <csignal>

#include "shell/files.hpp"
#include "shell_fixture.hpp"

namespace {

/// Files stop growing at this many bytes while this lives, as on a full disk.
class FullDisk
{
public:
    explicit FullDisk(rlim_t bytes)
    {
        getrlimit(RLIMIT_FSIZE, &before);
        const rlimit narrow = {bytes, before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &narrow);
        signalBefore = std::signal(SIGXFSZ, SIG_IGN);
    }
    ~FullDisk()
    {
        setrlimit(RLIMIT_FSIZE, &before);
        std::signal(SIGXFSZ, signalBefore);
    }
    FullDisk(const FullDisk&) = delete;
    FullDisk& operator=(const FullDisk&) = delete;

private:
    rlimit before = {};
    void (*signalBefore)(int) = nullptr;
};

/// The text of a file, or a dash if there is none.
std::string Found(const std::string& path)
{
    return std::filesystem::exists(path) ? TextOfFile(path) : "-";
}

} // namespace

TEST_CASE("a file is replaced by a complete one only")
{
    const rlim_t ample = RLIM_INFINITY;
    struct Case {
        const char* fact;
        const char* mode;
        Unfinished unfinished;
        bool closes;
        rlim_t room;
        std::string file, part;
    };
    const Case cases[] = {
        {"written anew", "w", Unfinished::kept, true, ample, "new text", "-"},
        {"appended to", "a", Unfinished::removed, true, ample, "old new text", "-"},
        {"a report, given up", "w", Unfinished::kept, false, ample, "old ", "new text"},
        {"more of a report, given up", "a", Unfinished::kept, false, ample, "old ", "old new text"},
        {"session data, given up", "w", Unfinished::removed, false, ample, "old ", "-"},
        {"a report, full disk", "w", Unfinished::kept, true, 5, "old ", "new t"},
        {"more of a report, full disk", "a", Unfinished::kept, true, 5, "old ", "old n"},
        {"session data, full disk", "w", Unfinished::removed, true, 5, "old ", "-"},
        {"no room for a copy", "a", Unfinished::kept, true, 2, "old ", "-"},
    };
    for (const Case& c : cases) {
        CAPTURE(c.fact);
        const ScratchFolder folder;
        WriteText("target", "old ");
        WriteText("target.part", "of an earlier run");
        std::filesystem::create_symlink("target", "name");
        std::filesystem::permissions("target", std::filesystem::perms::owner_all);
        Captured complaints(stderr); // to be cut short like all else
        const int code = CodeOf([&c] {
            const FullDisk disk(c.room);
            OutputFile file("name", nullptr, c.mode, c.unfinished);
            std::fputs("new text", file);
            CHECK(Found("name") == "old ");
            if (c.closes) file.Close();
        });
        CHECK(code == (c.room != ample ? failedPrint : 0));
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
