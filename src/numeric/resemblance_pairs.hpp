// SPDX-License-Identifier: GPL-3.0-or-later
// What the measures of resemblance share: cells present in both objects, and the walk over pairs.
#pragma once

#include "numeric/statistics.hpp"

inline bool BothPresent(double x, double y)
{
    return !IsMissing(x) && !IsMissing(y);
}

inline bool AnyMissing(int n, int p, double** data)
{
    for (int i = 0; i < n; i++)
        for (int j = 0; j < p; j++)
            if (IsMissing(data[i][j])) return true;
    return false;
}

/// Writes measure(row i, row k) into the upper triangle with the diagonal.
template <typename Measure>
void EachPairOfRows(int n, double** data, double** out, Measure measure)
{
    for (int i = 0; i < n; i++)
        for (int k = i; k < n; k++) out[i][k] = measure(data[i], data[k]);
}
