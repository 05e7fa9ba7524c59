// Text files: opening them with the one complaint, and reading them character by character
// through a stream that knows when it was closed.
#pragma once

#include <cstdio>
#include <string>

/// A stream of characters to read from. It owns its file (standard input apart), takes back any
/// number of characters, and once closed reports end of file for ever, so that a prompt at the end
/// of a script never touches a dead stream.
class InputStream
{
public:
    /// Takes over an open file; null makes a stream that is closed from the start.
    explicit InputStream(std::FILE* opened) : file(opened) {}
    ~InputStream() { Close(); }
    InputStream(const InputStream&) = delete;
    InputStream& operator=(const InputStream&) = delete;

    bool IsOpen() const { return file != nullptr; }
    /// The next character, 0 to 255, or EOF.
    int Get();
    /// Gives a character back; EOF is ignored.
    void Unget(int character);
    /// Ends the stream. Standard input is only marked as ended, never closed under the process.
    void Close();
    /// True once the forgiving number reader has complained of this stream's end.
    bool endAnnounced = false;

private:
    std::FILE* file;
    std::string givenBack; // last character first out
};

/// Standard input, the one stream for all that the user types.
InputStream& StandardInput();

/// An output file that closes itself.
struct OutputFile {
    explicit OutputFile(std::FILE* opened) : file(opened) {}
    ~OutputFile() { Close(); }
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;
    operator std::FILE*() const { return file; }
    void Close()
    {
        if (file != nullptr) std::fclose(file);
        file = nullptr;
    }
    std::FILE* file;
};

/// Opens a file without a word; null when it cannot be opened or is a folder.
std::FILE* OpenFile(const char* path, const char* mode);

/// Opens prefix + name (prefix may be null). When it cannot be opened, or is a folder:
/// "\ncan't open %s \n" on standard error, BEL on standard output, null. The caller decides what
/// that means.
std::FILE* fopenck(const char* name, const char* prefix, const char* mode);

/// Waits a little longer each time it is called (1 ms doubling up to 1 s), for loops that retry
/// for ever at the end of input: such a loop must neither burn a processor nor flood a disk.
class Patience
{
public:
    void Pause();

private:
    long milliseconds = 1;
};
