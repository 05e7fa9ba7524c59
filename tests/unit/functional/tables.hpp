// SPDX-License-Identifier: GPL-3.0-or-later
// What the tests of the functional analysis share: matrices from literals and from a fixed seed.
#pragma once

#include <cstring>
#include <random>

#include "shell/arrays.hpp"
#include "unit/numeric/tables.hpp"

using tables::Cells;
using tables::CheckCells;
using tables::SameBits;
using tables::Table;

inline bool SameBytes(int rows, int columns, double** a, double** b)
{
    for (int i = 0; i < rows; i++)
        if (std::memcmp(a[i], b[i], static_cast<std::size_t>(columns) * sizeof(double)) != 0)
            return false;
    return true;
}

/// Numbers of a fixed seed; raw generator output, so the same with every library.
class Numbers
{
public:
    explicit Numbers(unsigned seed) : generator(seed) {}
    double Uniform() { return static_cast<double>(generator()) / 4294967296.0; }
    int Below(int n) { return static_cast<int>(generator() % static_cast<unsigned>(n)); }
    /// A performance of an OTU that is present with the probability given.
    double Performance(double present) { return Uniform() < present ? 9.0 * Uniform() : 0.0; }

private:
    std::mt19937 generator;
};
