// SPDX-License-Identifier: GPL-3.0-or-later
// What the tests of all rooms share: streams made of texts, captured output, a scratch folder.
#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "shell/failure.hpp"
#include "shell/files.hpp"

/// An open file that holds a text.
inline std::FILE* FileOf(const std::string& text)
{
    std::FILE* file = std::tmpfile();
    std::fwrite(text.data(), 1, text.size(), file);
    std::rewind(file);
    return file;
}

inline std::string TextOf(std::FILE* file)
{
    std::fflush(file);
    std::rewind(file);
    std::string text;
    for (int c = std::fgetc(file); c != EOF; c = std::fgetc(file)) text += static_cast<char>(c);
    return text;
}

inline std::string TextOfFile(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// What the program writes to a standard stream while this lives.
class Captured
{
public:
    explicit Captured(std::FILE* captured)
        : stream(captured), store(std::tmpfile()), saved(dup(fileno(captured)))
    {
        std::fflush(stream);
        dup2(fileno(store), fileno(stream));
    }
    ~Captured()
    {
        std::fflush(stream);
        dup2(saved, fileno(stream));
        close(saved);
        std::fclose(store);
    }
    Captured(const Captured&) = delete;
    Captured& operator=(const Captured&) = delete;
    std::string Text()
    {
        std::fflush(stream);
        return TextOf(store); // to its end, where the stream goes on writing
    }

private:
    std::FILE* stream;
    std::FILE* store;
    int saved;
};

/// The current directory is an empty folder while this lives.
class ScratchFolder
{
public:
    ScratchFolder() : before(std::filesystem::current_path())
    {
        char name[] = "/tmp/kelpra-test-XXXXXX";
        folder = mkdtemp(name);
        std::filesystem::current_path(folder);
    }
    ~ScratchFolder()
    {
        std::filesystem::current_path(before);
        std::filesystem::remove_all(folder);
    }
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

private:
    std::filesystem::path before, folder;
};

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

inline std::string Rest(InputStream& stream)
{
    std::string rest;
    for (int c = stream.Get(); c != EOF; c = stream.Get()) rest += static_cast<char>(c);
    return rest;
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

inline int TimesIn(const std::string& text, const std::string& part)
{
    int times = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
        times++;
    return times;
}
