// SPDX-License-Identifier: GPL-3.0-or-later
// Small matrices for the numeric tests, written as rows of numbers.
#pragma once

#include <initializer_list>
#include <random>

#include "shell/arrays.hpp"

constexpr double NA = -999.0;

/// A table of double filled from rows of equal length; frees itself.
struct Rows : OwnedRows {
    Rows(std::initializer_list<std::initializer_list<double>> values)
        : OwnedRows(static_cast<long>(values.size()),
                    static_cast<long>(values.begin()->size())),
          n(static_cast<int>(values.size())), p(static_cast<int>(values.begin()->size()))
    {
        int i = 0;
        for (const auto& row : values) {
            int j = 0;
            for (const double cell : row) table[i][j++] = cell;
            i++;
        }
    }
    const int n;
    const int p;
};

/// Fills a table with numbers in steps of 1/64 from a fixed sequence; every `hole`-th cell or so is
/// missing (0: none).
inline void FillAtRandom(int n, int p, double** table, unsigned seed, unsigned hole)
{
    std::mt19937 sequence(seed);
    for (int i = 0; i < n; i++)
        for (int j = 0; j < p; j++) {
            table[i][j] = static_cast<double>(sequence() % 1000) / 64.0;
            if (hole != 0 && sequence() % hole == 0) table[i][j] = NA;
        }
}

inline void Fill(int n, int p, double** table, double value)
{
    for (int i = 0; i < n; i++)
        for (int j = 0; j < p; j++) table[i][j] = value;
}
