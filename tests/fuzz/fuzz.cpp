// SPDX-License-Identifier: GPL-3.0-or-later
// Whole sessions with hostile inputs, played in one process: for libFuzzer, or, with
// KELPRA_FUZZ_REPLAY, by a program of its own that plays the files it is given and mutants of each.
// The name under which the program is called, or the folder of a file that is replayed, says what
// the input is: see `targets`.
//
// Whatever would end the process, or retry for ever, ends the session instead, so that lost memory
// shows. Files outside the scratch folder are neither read nor written.
#include <unistd.h>

#include <algorithm>
#include <csetjmp>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include "main/process.hpp"
#include "session/session.hpp"
#include "shell/files.hpp"

namespace {

struct Ended {
};

bool isPlaying = false;
int nPauses = 0, nProgressLines = 0;
std::string scratch;
std::jmp_buf afterExit;

struct Target {
    const char* name;
    const char* answers; // null: the input is answers, then files, each behind a line "==NAME"
    const char* file;    // otherwise the input is this file
};

const Target targets[] = {
    {"preferences", "S C X", "KELPRA.prf"},
    {"formda", "O x V C C X", "xFormda.txt"},
    {"track", "O x V C C X", "xTrk.txt"},
    {"merge", "N both 3 x y C X", "yFormda.txt"},
    {"derive", "N new 2 x 2 1 1 1 1 1 1 1 1 C X", "xFormda.txt"},
    {"session", nullptr, nullptr},
};
const Target* target = nullptr;

const char* const data =
    "B \n2 \na\tb\t\n 3\t 1\t\n0\t0\t\n 4\t 2\t\n3 \nu\tv\tw\t\n3 \n0\t0\t0\t\n0\t0\t0\t0\t0\t0\t0\t\n\n"
    "25Jun2016 \n1.5\t0\t\n2\t1\t\n4.5\t-999\t\n\n3\t0\t2\t\n1\t4\t0\t\n0\t1\t3\t\n\n"
    "1 \n97Sep08 \n2 \n3\t\ndepth\t\nE \n1\t2.5\t4\t\n0 \nSMW 1\n0\n0\n";

void Write(const std::string& name, const std::string& text)
{
    if (name.empty() || name.find('/') != std::string::npos || name[0] == '.') return;
    std::ofstream(name, std::ios::binary) << text;
}

/// Puts files in place and returns the answers.
std::string Unpack(const std::string& input)
{
    std::size_t end = input.find("\n==");
    const std::string answers = input.substr(0, end);
    while (end != std::string::npos) {
        const std::size_t start = end + 3, line = input.find('\n', start);
        if (line == std::string::npos) break;
        end = input.find("\n==", line);
        Write(input.substr(start, line - start),
              input.substr(line + 1, end == std::string::npos ? end : end - line));
    }
    return answers;
}

std::string Prepare(const std::string& input)
{
    for (const auto& entry : std::filesystem::directory_iterator("."))
        std::filesystem::remove_all(entry.path());
    if (target->answers == nullptr) return Unpack(input);
    Write("xFormda.txt", data);
    Write("xTrk.txt", "xFormda.txt\n07Jul17\n");
    Write(target->file, input);
    return target->answers;
}

void Choose(const std::string& name)
{
    for (const Target& one : targets)
        if (name == one.name) target = &one;
    if (target == nullptr) {
        std::fprintf(stderr, "no target %s\n", name.c_str());
        std::exit(2);
    }
}

void MakeScratch()
{
    scratch = (std::filesystem::temp_directory_path() / "kelpra-fuzz-XXXXXX").string();
    if (mkdtemp(scratch.data()) == nullptr) std::abort();
    scratch = std::filesystem::canonical(scratch).string();
    std::filesystem::current_path(scratch);
    StandardInput().Close(); // answers are given back to it
    stdout = std::fopen("/dev/null", "w");
}

} // namespace

extern "C" {

[[noreturn]] void __real_exit(int status);
[[noreturn]] void __wrap_exit(int status) // by then, nothing is held that would be lost
{
    if (isPlaying) std::longjmp(afterExit, 1);
    __real_exit(status);
}

[[noreturn]] void __wrap__Z7nrerrorPKc(const char*) { throw Ended{}; }

std::FILE* __real_fopen(const char* path, const char* mode);
std::FILE* __wrap_fopen(const char* path, const char* mode)
{
    const bool isOutside = std::strchr(path, '/') != nullptr &&
                           std::strncmp(path, scratch.c_str(), scratch.size()) != 0;
    return isPlaying && isOutside ? nullptr : __real_fopen(path, mode);
}

long __real_sysconf(int name);
long __wrap_sysconf(int name) // a small machine
{
    return name == _SC_PHYS_PAGES ? 4096 : __real_sysconf(name);
}

void __wrap__ZN8Patience5PauseEv(void*)
{
    if (++nPauses > 3) throw Ended{};
}

void __wrap__Z22HandleEventInfoWhere2PKc(const char*)
{
    if (++nProgressLines > 200) throw Ended{};
}

int LLVMFuzzerInitialize(int*, char*** arguments)
{
    Choose(std::filesystem::path((*arguments)[0]).filename().string());
    MakeScratch();
    return 0;
}

int LLVMFuzzerTestOneInput(const unsigned char* bytes, std::size_t size)
{
    const std::string answers =
        Prepare(std::string(reinterpret_cast<const char*>(bytes), size)) + "\n";
    StandardInput().Close(); // drops what the last input left
    for (auto c = answers.rbegin(); c != answers.rend(); ++c) StandardInput().Unget(*c & 255);
    nPauses = nProgressLines = 0;
    isPlaying = true;
    try {
        if (setjmp(afterExit) == 0) mainInit();
    } catch (const Ended&) {
    }
    isPlaying = false;
    FreeGlobals2();
    return 0;
}
}

#ifdef KELPRA_FUZZ_REPLAY

namespace {

unsigned long seed = 1;

std::size_t Draw(std::size_t n)
{
    seed = seed * 6364136223846793005UL + 1442695040888963407UL;
    return n == 0 ? 0 : (seed >> 33) % n;
}

/// One mutation: a cut, a lost or doubled piece, another byte, or a number that nobody expects.
std::string Mutant(std::string text)
{
    static const char* const odd[] = {"-1", "0", "99999999999", "nan", "1e308", "-999", "", "x", "3 "};
    const std::size_t at = Draw(text.size()), length = 1 + Draw(8);
    switch (Draw(5)) {
    case 0: return text.substr(0, at);
    case 1: return text.erase(at, length);
    case 2: return text.insert(at, text.substr(Draw(text.size()), length));
    case 3: return text.replace(at, 1, 1, static_cast<char>(Draw(256)));
    default: break;
    }
    const std::size_t word = text.find_first_of(" \t\n", at);
    if (word == std::string::npos) return text;
    const std::size_t end = std::min(text.find_first_of(" \t\n", word + 1), text.size());
    return text.replace(word + 1, end - word - 1, odd[Draw(std::size(odd))]);
}

} // namespace

/// replay COUNT FILE...: each file as it is, and COUNT mutants of it.
int main(int count, char** arguments)
{
    long nPlayed = 0;
    std::FILE* const told = stdout;
    std::vector<std::string> files;
    for (int i = 2; i < count; i++)
        files.push_back(std::filesystem::absolute(arguments[i]).string());
    MakeScratch();
    std::FILE* const complaints = std::exchange(stderr, stdout);
    for (const std::string& path : files) {
        std::ifstream file(path, std::ios::binary);
        const std::string seedText{std::istreambuf_iterator<char>(file), {}};
        Choose(std::filesystem::path(path).parent_path().filename().string());
        for (long m = 0; m <= std::atol(arguments[1]); m++, nPlayed++) {
            std::string text = seedText;
            for (long k = 0; k < m; k += 1 + k) text = Mutant(text);
            LLVMFuzzerTestOneInput(reinterpret_cast<const unsigned char*>(text.data()), text.size());
        }
    }
    stderr = complaints;
    std::fprintf(told, "%ld inputs played\n", nPlayed);
    std::filesystem::current_path("/");
    std::filesystem::remove_all(scratch);
    return nPlayed == 0;
}

#endif
