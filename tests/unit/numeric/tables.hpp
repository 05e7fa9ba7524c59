// SPDX-License-Identifier: GPL-3.0-or-later
// What the tests of the numeric library share: matrices from literals, comparison of bits, and
// what a call prints.
#pragma once

#include <doctest/doctest.h>

#include <cmath>
#include <cstring>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "unit/shell/shell_fixture.hpp"

namespace tables {

using Cells = std::vector<std::vector<double>>;

/// Row pointers over a literal matrix, to pass where a routine takes double**.
class Table {
public:
    explicit Table(Cells rows) : cells(std::move(rows))
    {
        for (auto& row : cells) pointers.push_back(row.data());
    }
    Table(int rows, int cols, double value)
        : Table(Cells(static_cast<std::size_t>(rows),
                      std::vector<double>(static_cast<std::size_t>(cols), value)))
    {
    }
    Table(const Table&) = delete;
    Table& operator=(const Table&) = delete;
    operator double**() { return pointers.data(); }
    int Rows() const { return static_cast<int>(cells.size()); }
    int Cols() const { return cells.empty() ? 0 : static_cast<int>(cells[0].size()); }
    Cells cells;

private:
    std::vector<double*> pointers;
};

/// Equal to the last bit, but that all NaNs are one: which NaN comes out of two is left open.
inline bool SameBits(double x, double y)
{
    return (std::isnan(x) && std::isnan(y)) || std::memcmp(&x, &y, sizeof x) == 0;
}

inline bool SameBits(const Cells& x, const Cells& y)
{
    if (x.size() != y.size()) return false;
    for (std::size_t i = 0; i < x.size(); i++) {
        if (x[i].size() != y[i].size()) return false;
        for (std::size_t j = 0; j < x[i].size(); j++)
            if (!SameBits(x[i][j], y[i][j])) return false;
    }
    return true;
}

inline void CheckCells(double** found, const Cells& expected, double tolerance)
{
    for (std::size_t i = 0; i < expected.size(); i++)
        for (std::size_t j = 0; j < expected[i].size(); j++) {
            CAPTURE(i);
            CAPTURE(j);
            if (std::isnan(expected[i][j])) CHECK(std::isnan(found[i][j]));
            else CHECK(found[i][j] == doctest::Approx(expected[i][j]).epsilon(tolerance));
        }
}

/// What the call writes to a standard stream.
inline std::string Written(std::FILE* stream, const std::function<void()>& call)
{
    Captured captured(stream);
    call();
    return captured.Text();
}

} // namespace tables
