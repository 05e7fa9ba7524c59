// SPDX-License-Identifier: GPL-3.0-or-later
// Strict reading of a session's own files, with counts that are tested before anything is
// allocated from them.
#pragma once

#include <climits>
#include <cstdio>

#include "shell/files.hpp"
#include "shell/scanners.hpp"

/// A session file that is being read. Whatever cannot be read, or cannot be, ends in code 2 after
/// "\nfile %s " with its name.
class DataFile
{
public:
    /// Takes over the open file; the name is borrowed.
    DataFile(const char* fileName, std::FILE* opened);

    int ReadInt();
    int ReadIntWithin(int lowest, int highest);
    /// 0 or more, no more than `highest`, and no more than the file has characters.
    int ReadCount(int highest = INT_MAX);
    double ReadDouble();
    void ReadInts(int n, int* values);
    void ReadDoubles(int n, double* values);
    void ReadMatrix(int rows, int columns, double** matrix);
    /// Rows of '0' and '1', blanks between them or not, into the table's columns from firstColumn on.
    void ReadMarks(int rows, int columns, char** marks, int firstColumn = 0);
    /// Words of at most size - 1 characters; what is longer is cut.
    void ReadWord(char* word, int size);
    void ReadWords(int n, char** words, int size);

    /// The file must have room for rows x columns items of one character at the least.
    void CheckRoom(long rows, long columns);
    /// What has been read must be plain text.
    void CheckText() { CheckPlainText(stream, name); }
    /// The complaint and code 2.
    [[noreturn]] void Refuse();

    const char* const name;
    InputStream stream;

private:
    char ReadMark();

    long size; // in characters
};
