// SPDX-License-Identifier: GPL-3.0-or-later
#include "session/datafile.hpp"

#include <sys/stat.h>


#include "shell/complaint.hpp"
#include "shell/failure.hpp"
#include "shell/scanners.hpp"

namespace {

/// A pipe has no size that could be known, so it bounds nothing.
long SizeOf(std::FILE* opened)
{
    struct stat status = {};
    if (fstat(fileno(opened), &status) != 0 || !S_ISREG(status.st_mode)) return LONG_MAX;
    return static_cast<long>(status.st_size);
}

} // namespace

DataFile::DataFile(const char* fileName, std::FILE* opened)
    : name(fileName), stream(opened), size(SizeOf(opened))
{
}

int DataFile::ReadInt()
{
    int value = 0;
    freadck(stream, value, name);
    return value;
}

int DataFile::ReadIntWithin(int lowest, int highest)
{
    const int value = ReadInt();
    if (value < lowest || value > highest) Refuse();
    return value;
}

int DataFile::ReadCount(int highest)
{
    const int count = ReadIntWithin(0, highest);
    CheckRoom(count, 1);
    return count;
}

double DataFile::ReadDouble()
{
    double value = 0.0;
    freadck(stream, value, name);
    return value;
}

void DataFile::ReadInts(int n, int* values)
{
    for (int i = 0; i < n; i++) freadck(stream, values[i], name);
}

void DataFile::ReadDoubles(int n, double* values)
{
    for (int i = 0; i < n; i++) freadck(stream, values[i], name);
}

void DataFile::ReadMatrix(int rows, int columns, double** matrix)
{
    for (int i = 0; i < rows; i++) ReadDoubles(columns, matrix[i]);
}

char DataFile::ReadMark()
{
    int mark = stream.Get();
    while ((mark >= 0 && mark <= ' ') || mark == 127) mark = stream.Get();
    if (mark == EOF) return static_cast<char>(ScanChar(stream, "0 1", name)); // its complaint
    if (mark != '0' && mark != '1') Refuse();
    return static_cast<char>(mark);
}

void DataFile::ReadMarks(int rows, int columns, char** marks, int firstColumn)
{
    for (int i = 0; i < rows; i++)
        for (int k = 0; k < columns; k++)
            marks[i][firstColumn + k] = ReadMark();
}

void DataFile::ReadWord(char* word, int wordSize) { freadckWord(stream, word, wordSize, name); }

void DataFile::ReadWords(int n, char** words, int wordSize)
{
    for (int i = 0; i < n; i++) ReadWord(words[i], wordSize);
}

void DataFile::CheckRoom(long rows, long columns)
{
    if (columns > 0 && rows > size / columns) Refuse();
}

void DataFile::Refuse()
{
    CheckText();
    stream.Close();
    Complain("\nfile %s ", name);
    Bell();
    Fail(endOfFile);
}
