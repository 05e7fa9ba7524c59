// SPDX-License-Identifier: GPL-3.0-or-later
// A percentile of a matrix by selection instead of sorting.
#pragma once

#include <cstddef>

#include "shell/arrays.hpp"

/// Finds the value that MatrixPercentile gives, in a time that grows with the number of cells. The
/// value of the last call is the first guess for the next: matrices that change little from call to
/// call cost one pass and the sorting out of a few cells above the guess.
class PercentileSelector
{
public:
    PercentileSelector(int rows, int cols);

    /// Smallest value whose rank (ties share their mean rank) divided by the number of cells is
    /// strictly above `fraction`; 3.4028234663852886e38 if there is none. M is of the size that the
    /// selector was made for, without missing cells. Allocates nothing unless a cell is NaN: the
    /// sorting routine then decides.
    double Select(double** M, double fraction);

private:
    std::size_t Gather(double** M, double lowest);
    double ValueAt(std::size_t position, std::size_t nGathered, double fraction);

    const int nRows, nCols;
    const std::size_t nCells;
    OwnedVector gathered; // nCells: the cells not below the guess
    double guess;
    bool hasNaN = false;
};
