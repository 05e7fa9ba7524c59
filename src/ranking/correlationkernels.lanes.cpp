// SPDX-License-Identifier: GPL-3.0-or-later
// Plain loops: the compiler makes vectors of the path's width of them.
#include "ranking/correlationkernels.hpp"

namespace {

void SumCells(long nCells, const double* fixed, const double* a, CellSums* ofA)
{
    double sum = 0.0, squares = 0.0, products = 0.0;
#pragma omp simd reduction(+ : sum, squares, products)
    for (long c = 0; c < nCells; c++) {
        sum += a[c];
        squares += a[c] * a[c];
        products += a[c] * fixed[c];
    }
    *ofA = {sum, squares, products};
}

double SumPairs(long nCells, const double* fixed, const double* a, const double* b, CellSums* ofA,
                CellSums* ofB)
{
    double sumA = 0.0, squaresA = 0.0, productsA = 0.0;
    double sumB = 0.0, squaresB = 0.0, productsB = 0.0, productsAB = 0.0;
#pragma omp simd reduction(+ : sumA, squaresA, productsA, sumB, squaresB, productsB, productsAB)
    for (long c = 0; c < nCells; c++) {
        sumA += a[c];
        squaresA += a[c] * a[c];
        productsA += a[c] * fixed[c];
        sumB += b[c];
        squaresB += b[c] * b[c];
        productsB += b[c] * fixed[c];
        productsAB += a[c] * b[c];
    }
    *ofA = {sumA, squaresA, productsA};
    *ofB = {sumB, squaresB, productsB};
    return productsAB;
}

void UnitRows(int nRows, std::size_t width, int total, const double* rows, double* out)
{
    for (int i = 0; i < nRows; i++) {
        const double scale = 1.0 / rows[total];
#pragma omp simd
        for (std::size_t c = 0; c < width; c++) out[c] = rows[c] * scale;
        rows += width;
        out += width;
    }
}

} // namespace

namespace KELPRA_PATH {
extern const CorrelationKernels correlationKernels;
const CorrelationKernels correlationKernels = {SumCells, SumPairs, UnitRows};
} // namespace KELPRA_PATH
