// What the tests of the functional analysis share: matrices from literals and from a fixed seed.
#pragma once

#include <doctest/doctest.h>

#include <cstring>
#include <random>
#include <vector>

#include "shell/arrays.hpp"

using Cells = std::vector<std::vector<double>>;

/// Rows for the routines, filled from literals.
struct Table : OwnedRows {
    explicit Table(const Cells& cells)
        : OwnedRows(static_cast<long>(cells.size()), static_cast<long>(cells.at(0).size()))
    {
        for (std::size_t i = 0; i < cells.size(); i++)
            for (std::size_t j = 0; j < cells[i].size(); j++) table[i][j] = cells[i][j];
    }
};

inline void CheckCells(double** found, const Cells& expected, double tolerance)
{
    for (std::size_t i = 0; i < expected.size(); i++)
        for (std::size_t j = 0; j < expected[i].size(); j++) {
            CAPTURE(i);
            CAPTURE(j);
            CHECK(found[i][j] == doctest::Approx(expected[i][j]).epsilon(tolerance));
        }
}

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
