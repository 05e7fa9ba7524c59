// SPDX-License-Identifier: GPL-3.0-or-later
// Text files: opening them with the one complaint, reading them character by character through a
// stream that knows when it was closed, and writing them so that nothing is lost on the way.
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
    /// True if reading met an error: what came last was no end of file.
    bool HasFailed() const { return file != nullptr && std::ferror(file) != 0; }
    /// The next character, 0 to 255, or EOF.
    int Get();
    /// Gives a character back; EOF is ignored.
    void Unget(int character);
    /// Ends the stream. Standard input is only marked as ended, never closed under the process.
    void Close();
    /// True once the forgiving number reader has complained of this stream's end.
    bool endAnnounced = false;
    /// Line, from 1, of the first NUL byte that was read; 0 if none was. A text has none.
    long nulLine = 0;

private:
    std::FILE* file;
    long line = 1;
    std::string givenBack; // last character first out
};

/// Standard input, the one stream for all that the user types.
InputStream& StandardInput();

/// What becomes of a text that was not completed.
enum class Unfinished {
    removed, ///< a session's own file: half of it is of no use to anybody
    kept     ///< a report: stays under its name followed by ".part"
};

/// A text file that is written. Its prints are not tested one by one: the stream remembers a
/// failure, and Close finds it.
///
/// An old file of the name stays as it is until the new text is complete. The text grows beside it
/// under the name followed by ".part" (beside its target if the name is a link), and Close puts it
/// in place in one step. Whatever ends the work before, a failure, a signal or a cut of the power,
/// leaves the old file. Only where the folder takes no new file, or where the name is that of a
/// device or a pipe, is the text written in place.
class OutputFile
{
public:
    OutputFile() = default;
    /// As Open.
    OutputFile(const char* name, const char* prefix, const char* mode,
               Unfinished unfinished = Unfinished::kept);
    /// Takes over a file that is written in place; null is fine. The name is for complaints.
    explicit OutputFile(std::FILE* opened, const char* name = "");
    ~OutputFile() { Abandon(); }
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    /// Opens prefix + name (prefix may be null) in mode "w", or "a" to go on with a copy of the old
    /// text; the complaint of fopenck and failure code 4 if that cannot be.
    void Open(const char* name, const char* prefix, const char* mode,
              Unfinished unfinished = Unfinished::kept);
    /// The same, but leaves the failure to the caller: false after the complaint.
    bool TryOpen(const char* name, const char* prefix, const char* mode,
                 Unfinished unfinished = Unfinished::kept);
    bool IsOpen() const { return file != nullptr; }
    operator std::FILE*() const { return file; }
    /// What was printed so far reaches the file, or else "\nfile %s " and failure code 3. For the
    /// end of long sections: a full disk shows before the work of hours.
    void Check();
    /// Completes the file and puts it in place, or else "\nfile %s " and failure code 3. Closing
    /// twice is fine.
    void Close();

private:
    bool OpenBeside(const char* mode);
    bool CopyOldText();
    bool IsStored();
    void Abandon();
    [[noreturn]] void Refuse();

    std::FILE* file = nullptr;
    std::string path;      // as the user knows it
    std::string target;    // what `part` replaces
    std::string part;      // empty if the text is written in place
    bool replaces = false; // an old text that is not empty
    Unfinished fate = Unfinished::kept;
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
