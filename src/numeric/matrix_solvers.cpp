// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <utility>

#include "numeric/matrix.hpp"
#include "shell/arrays.hpp"

// Arrays of gaussj count from 1.

namespace {

struct Pivot {
    int row = 1;
    int col = 1;
};

/// The largest cell among rows and columns not yet used, the last one of equals. Keeps `previous`
/// when nothing can be found.
Pivot FindPivot(double** a, int n, const int* used, Pivot previous)
{
    Pivot pivot = previous;
    double best = 0.0;
    for (int j = 1; j <= n; j++) {
        if (used[j] == 1) continue;
        for (int k = 1; k <= n; k++) {
            if (used[k] > 1) {
                std::fprintf(stderr, "gaussj: Singular Matrix-1");
            } else if (used[k] == 0 && std::fabs(a[j][k]) >= best) {
                best = std::fabs(a[j][k]);
                pivot.row = j;
                pivot.col = k;
            }
        }
    }
    return pivot;
}

void ScaleRow(double* row, int n, double factor)
{
    for (int l = 1; l <= n; l++) row[l] *= factor;
}

void SubtractRow(double* row, const double* pivotRow, int n, double factor)
{
    for (int l = 1; l <= n; l++) row[l] -= pivotRow[l] * factor;
}

/// Makes column c of the identity out of column c of a, and puts the inverse's column in its place.
void Eliminate(double** a, int n, double** b, int m, int c)
{
    if (a[c][c] == 0.0) std::fprintf(stderr, "gaussj: Singular Matrix-2");
    const double inversePivot = 1.0 / a[c][c];
    a[c][c] = 1.0;
    ScaleRow(a[c], n, inversePivot);
    ScaleRow(b[c], m, inversePivot);
    for (int row = 1; row <= n; row++) {
        if (row == c) continue;
        const double factor = a[row][c];
        a[row][c] = 0.0;
        SubtractRow(a[row], a[c], n, factor);
        SubtractRow(b[row], b[c], m, factor);
    }
}

} // namespace

void gaussj(double** a, int n, double** b, int m)
{
    OwnedInts used(n + 1L), pivotRows(n + 1L), pivotCols(n + 1L);
    gaussj(a, n, b, m, used, pivotRows, pivotCols);
}

/// used: how often a column was a pivot's; pivotRows, pivotCols: of each round.
void gaussj(double** a, int n, double** b, int m, int* used, int* pivotRows, int* pivotCols)
{
    std::fill(used, used + n + 1, 0);
    Pivot pivot;
    for (int round = 1; round <= n; round++) {
        pivot = FindPivot(a, n, used, pivot);
        used[pivot.col]++;
        // The pivot goes to the diagonal; cells are exchanged, not the caller's row pointers.
        if (pivot.row != pivot.col) {
            std::swap_ranges(a[pivot.row] + 1, a[pivot.row] + n + 1, a[pivot.col] + 1);
            std::swap_ranges(b[pivot.row] + 1, b[pivot.row] + m + 1, b[pivot.col] + 1);
        }
        pivotRows[round] = pivot.row;
        pivotCols[round] = pivot.col;
        Eliminate(a, n, b, m, pivot.col);
    }
    // Rows of a exchanged on the way are columns of its inverse: undone last to first.
    for (int round = n; round >= 1; round--) {
        if (pivotRows[round] == pivotCols[round]) continue;
        for (int k = 1; k <= n; k++) std::swap(a[k][pivotRows[round]], a[k][pivotCols[round]]);
    }
}

int choldc(double** a, int n, double* p)
{
    for (int i = 0; i < n; i++)
        for (int j = i; j < n; j++) {
            double sum = a[i][j];
            for (int k = i - 1; k >= 0; k--) sum -= a[i][k] * a[j][k];
            if (i != j) {
                a[j][i] = sum / p[i];
            } else if (sum > 0.0) {
                p[i] = std::sqrt(sum);
            } else {
                std::printf("\ncholdc failed");
                return 0;
            }
        }
    return 1;
}
