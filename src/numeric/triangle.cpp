// SPDX-License-Identifier: GPL-3.0-or-later
#include "numeric/triangle.hpp"

#include <algorithm>
#include <cmath>

void PackTriangle(int n, const double* const* rows, double* cells)
{
    for (int i = 0; i < n; i++) cells = std::copy(rows[i] + i + 1, rows[i] + n, cells);
}

void PackReordered(int n, const double* const* rows, const int* list, double* cells)
{
    for (int i = 0; i < n; i++) {
        const double* const row = rows[list[i] - 1];
        for (int k = i + 1; k < n; k++) *cells++ = row[list[k] - 1];
    }
}

double TriangleMean(long nCells, const double* cells)
{
    double sum = 0.0;
    for (long c = 0; c < nCells; c++) sum += cells[c];
    return sum / static_cast<double>(nCells);
}

double CenterTriangle(long nCells, double* cells)
{
    const double mean = TriangleMean(nCells, cells);
    double sumSquares = 0.0;
    for (long c = 0; c < nCells; c++) {
        cells[c] -= mean;
        sumSquares += cells[c] * cells[c];
    }
    return sumSquares;
}

double CorrelationOfSums(double products, double squaresA, double squaresB)
{
    if (squaresA == 0.0 || squaresB == 0.0) return 0.0;
    return products / std::sqrt(squaresA * squaresB);
}
