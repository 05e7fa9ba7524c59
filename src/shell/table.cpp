// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/table.hpp"

#include <algorithm>

#include "shell/preferences.hpp"

namespace {

// No double has more significant decimal digits, and "%g" drops trailing zeros: a larger precision
// prints the same text.
const int digitsMax = 767;

int Printable(int digits)
{
    return std::clamp(digits, -1, digitsMax); // below 0 printf takes 6
}

int CellLength(double value, int digits)
{
    return std::snprintf(nullptr, 0, "%.*g", Printable(digits), value);
}

template <typename T>
int WidthMax(int rows, int columns, T** matrix, int digits)
{
    int width = 0;
    for (int i = 0; i < rows; i++)
        for (int j = 0; j < columns; j++)
            width = std::max(width, CellLength(static_cast<double>(matrix[i][j]), digits));
    return width;
}

template <typename T>
void PrintAligned(std::FILE* stream, int rows, int columns, T** matrix, int digits, int width)
{
    for (int i = 0; i < rows; i++) {
        long length = 0;
        for (int j = 0; j < columns; j++) {
            if (length > preferences.maxColsPrint) {
                std::fprintf(stream, "\n%*s\t", width, "");
                length = 0;
            }
            length += width + 1L;
            const double value = static_cast<double>(matrix[i][j]);
            std::fprintf(stream, "%*.*g\t", width, Printable(digits), value);
        }
        std::fprintf(stream, "\n");
    }
}

void PrintRowTab(std::FILE* stream, int n, const double* row, int digits)
{
    for (int j = 0; j < n; j++) std::fprintf(stream, "%.*g\t", Printable(digits), row[j]);
    std::fprintf(stream, "\n");
}

} // namespace

int SignificantDigits()
{
    return Printable(preferences.sDigits);
}

int ValueWidth()
{
    return SignificantDigits() + 6;
}

void PrintMatrixTab(std::FILE* stream, int rows, int columns, double** matrix, int digits)
{
    for (int i = 0; i < rows; i++) PrintRowTab(stream, columns, matrix[i], digits);
}

void PrintLowerHalfMatrixTab(std::FILE* stream, int n, double** matrix, int digits)
{
    for (int i = 0; i < n; i++) PrintRowTab(stream, i + 1, matrix[i], digits);
}

void PrintVectorTab(std::FILE* stream, int n, const int* vector, const int* index)
{
    for (int k = 0; k < n; k++)
        std::fprintf(stream, "%d\t", vector[index == nullptr ? k : index[k] - 1]);
    std::fprintf(stream, "\n");
}

void PrintVectorTab(std::FILE* stream, int n, const double* vector, int digits, const int* index)
{
    for (int k = 0; k < n; k++) {
        const double item = vector[index == nullptr ? k : index[k] - 1];
        std::fprintf(stream, "%.*g\t", Printable(digits), item);
    }
    std::fprintf(stream, "\n");
}

int GetWidthMax(int rows, int columns, double** matrix, int digits)
{
    return WidthMax(rows, columns, matrix, digits);
}

int PrintMatrix(std::FILE* stream, int rows, int columns, double** matrix, int digits, int width)
{
    if (width == 0) width = GetWidthMax(rows, columns, matrix, digits);
    PrintAligned(stream, rows, columns, matrix, digits, width);
    return width;
}

int PrintMatrix(std::FILE* stream, int rows, int columns, float** matrix, int digits, int width)
{
    if (width == 0) width = WidthMax(rows, columns, matrix, digits);
    PrintAligned(stream, rows, columns, matrix, digits, width);
    return width;
}

int PrintMatrixFloat(std::FILE* stream, int rows, int columns, double** matrix, int digits,
                     int width)
{
    if (width == 0) width = WidthMax(rows, columns, matrix, digits);
    PrintAligned(stream, rows, columns, matrix, digits, width);
    return width;
}
