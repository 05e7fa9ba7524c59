// SPDX-License-Identifier: GPL-3.0-or-later
// A file of raw data: a matrix as text and, behind it, the labels of its rows or columns.
#pragma once

#include <cstdio>
#include <optional>

#include "shell/files.hpp"

constexpr int fileNameLength = 51;

/// Asks for a file name until the file opens. name has room for 52 characters. Returns the open
/// file, which is the caller's.
std::FILE* ReadDataFileName(char* name);

/// B, F and W are read forgivingly: text between numbers is stepped over, and behind the end of the
/// file everything stays as it was, after one complaint.
struct RawFile {
    char name[fileNameLength + 1] = "";
    std::optional<InputStream> stream; // empty: the user has no such data

    void Ask() { stream.emplace(ReadDataFileName(name)); }
    bool IsGiven() const { return stream.has_value(); }

    /// False at the end of the file, with `cell` left alone.
    bool ReadCell(double& cell);
    /// `rows` rows of `columns` cells, of which at(row, column) gives the place in the session.
    template <typename At>
    void ReadCells(int rows, int columns, At at)
    {
        for (int i = 0; i < rows; i++)
            for (int k = 0; k < columns; k++)
                if (!ReadCell(at(i, k))) return;
    }
    /// n words of at most 10 characters; what is longer is cut. A label that is not there is the
    /// number of its row or column.
    void ReadLabels(int n, char** labels);
    /// Closes the file. Numbers behind what was read tell of a wrong count: one line says so. What
    /// is no plain text ends in code 2.
    void Finish();
};

/// Asks where labels come from; true if they stand at the end of the file. The heading and the line
/// of the first answer are the caller's.
bool AskLabelsInFile(const RawFile& file, const char* heading, const char* byDefault);
