// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/files.hpp"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <thread>
#include <utility>

#include "shell/complaint.hpp"
#include "shell/failure.hpp"

namespace {

std::string PathOf(const char* name, const char* prefix)
{
    return std::string(prefix == nullptr ? "" : prefix) + name;
}

/// The file that a name stands for, links followed; empty if it cannot be told.
std::string TargetOf(const std::string& path)
{
    const std::unique_ptr<char, decltype(&std::free)> found(realpath(path.c_str(), nullptr),
                                                            std::free);
    return found == nullptr ? "" : found.get();
}

/// A file that is replaced keeps its permissions, and its owner where that may be given.
void TakeOver(const struct stat& old, std::FILE* file)
{
    if (fchown(fileno(file), old.st_uid, old.st_gid) != 0) errno = 0; // then it is the user's own
    if (fchmod(fileno(file), old.st_mode & 07777) != 0) errno = 0;
}

} // namespace

int InputStream::Get()
{
    if (!givenBack.empty()) {
        const char last = givenBack.back();
        givenBack.pop_back();
        return static_cast<unsigned char>(last);
    }
    if (file == nullptr) return EOF;
    // A prompt without a line end must stand on the screen before its answer is waited for.
    if (file == stdin) std::fflush(stdout);
    const int character = getc_unlocked(file);
    if (character == '\n') line++;
    if (character == '\0' && nulLine == 0) nulLine = line;
    return character;
}

void InputStream::Unget(int character)
{
    if (character != EOF) givenBack.push_back(static_cast<char>(character));
}

void InputStream::Close()
{
    if (file != nullptr && file != stdin) std::fclose(file);
    file = nullptr;
    givenBack.clear();
}

InputStream& StandardInput()
{
    static InputStream standardInput(stdin);
    return standardInput;
}

std::FILE* OpenFile(const char* path, const char* mode)
{
    std::FILE* opened = std::fopen(path, mode);
    struct stat status = {};
    if (opened != nullptr && fstat(fileno(opened), &status) == 0 && S_ISDIR(status.st_mode)) {
        std::fclose(opened);
        opened = nullptr;
    }
    return opened;
}

std::FILE* fopenck(const char* name, const char* prefix, const char* mode)
{
    const std::string path = PathOf(name, prefix);
    std::FILE* opened = OpenFile(path.c_str(), mode);
    if (opened == nullptr) {
        Complain("\ncan't open %s \n", path.c_str());
        Bell();
    }
    return opened;
}

OutputFile::OutputFile(const char* name, const char* prefix, const char* mode,
                       Unfinished unfinished)
{
    Open(name, prefix, mode, unfinished);
}

OutputFile::OutputFile(std::FILE* opened, const char* name) : file(opened), path(name) {}

void OutputFile::Open(const char* name, const char* prefix, const char* mode, Unfinished unfinished)
{
    if (!TryOpen(name, prefix, mode, unfinished)) Fail(cannotOpen);
}

bool OutputFile::TryOpen(const char* name, const char* prefix, const char* mode,
                         Unfinished unfinished)
{
    Abandon();
    path = PathOf(name, prefix);
    fate = unfinished;
    if (OpenBeside(mode)) return true;
    part.clear();
    file = fopenck(name, prefix, mode);
    return IsOpen();
}

/// False if the text must be written in place, or if the file may not be written at all, which
/// opening it in place will show.
bool OutputFile::OpenBeside(const char* mode)
{
    struct stat old = {};
    const bool isOld = stat(path.c_str(), &old) == 0;
    if (isOld && (!S_ISREG(old.st_mode) || access(path.c_str(), W_OK) != 0)) return false;
    if (!isOld && lstat(path.c_str(), &old) == 0) return false; // a link to nothing
    target = isOld ? TargetOf(path) : path;
    if (target.empty()) return false;
    replaces = isOld && old.st_size > 0;
    part = target + ".part";
    unlink(part.c_str()); // of an earlier run; it might be a link
    file = std::fopen(part.c_str(), "wx");
    if (file == nullptr) return false;
    if (isOld) TakeOver(old, file);
    if (!isOld || std::strcmp(mode, "a") != 0 || CopyOldText()) return true;
    std::fclose(std::exchange(file, nullptr));
    unlink(part.c_str());
    return false;
}

bool OutputFile::CopyOldText()
{
    InputStream old(OpenFile(target.c_str(), "r"));
    if (!old.IsOpen()) return false;
    for (int c = old.Get(); c != EOF; c = old.Get()) std::putc(c, file);
    return !old.HasFailed() && std::fflush(file) == 0 && std::ferror(file) == 0;
}

void OutputFile::Check()
{
    if (file != nullptr && (std::fflush(file) != 0 || std::ferror(file) != 0)) Refuse();
}

void OutputFile::Close()
{
    if (file == nullptr) return;
    bool whole = IsStored();
    whole = std::fclose(std::exchange(file, nullptr)) == 0 && whole;
    if (whole && !part.empty()) whole = std::rename(part.c_str(), target.c_str()) == 0;
    if (!whole) Refuse();
    part.clear();
}

/// A new text must be on the disk before it takes an old one's place: after a cut of the power some
/// file systems show the new name and none of its text.
bool OutputFile::IsStored()
{
    if (std::ferror(file) != 0 || std::fflush(file) != 0) return false;
    if (part.empty() || !replaces) return true;
    return fsync(fileno(file)) == 0 || errno == EINVAL; // a file system that knows no such thing
}

/// Leaves the old file and what `fate` says of the new text.
void OutputFile::Abandon()
{
    if (file != nullptr) std::fclose(std::exchange(file, nullptr));
    if (fate == Unfinished::removed && !part.empty()) unlink(part.c_str());
    part.clear();
}

void OutputFile::Refuse()
{
    Abandon();
    Complain("\nfile %s ", path.c_str());
    Fail(failedPrint);
}

void Patience::Pause()
{
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
    milliseconds = std::min(1000L, milliseconds * 2);
}
