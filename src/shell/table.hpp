// SPDX-License-Identifier: GPL-3.0-or-later
// Matrices and vectors as text: tab-separated for other programs, or aligned for the eye.
//
// Numbers are printed by "%.*g" with the given significant digits. No labels are printed here. A
// table with fewer than 1 row prints nothing. Missing cells appear as -999.
#pragma once

#include <cstdio>

/// preferences.sDigits, as far as a number can have them: the user may ask for two thousand
/// million, and printf would want room for all of them.
int SignificantDigits();
/// Width of the fields in which rankings print their values: SignificantDigits() + 6.
int ValueWidth();

// --- Tab-separated: each cell followed by a tab, each row by a line end.

void PrintMatrixTab(std::FILE* stream, int rows, int columns, double** matrix, int digits);

/// Row i holds cells 0 to i, the diagonal included.
void PrintLowerHalfMatrixTab(std::FILE* stream, int n, double** matrix, int digits);

/// One row; n < 1 prints the line end only. `index` (null: the vector in its order) holds
/// positions from 1: item k printed is vector[index[k] - 1].
void PrintVectorTab(std::FILE* stream, int n, const int* vector, const int* index);
void PrintVectorTab(std::FILE* stream, int n, const double* vector, int digits, const int* index);

// --- Aligned: cells right-aligned to a common width, each followed by a tab. A row that has grown
// --- longer than preferences.maxColsPrint goes on in a new, indented line; as the length is tested
// --- before a cell is added, it may overrun by one cell.

/// Length of the longest cell; 0 without rows.
int GetWidthMax(int rows, int columns, double** matrix, int digits);

/// width 0: that of the longest cell; otherwise as it stands, even if cells are wider. Returns the
/// width used.
int PrintMatrix(std::FILE* stream, int rows, int columns, double** matrix, int digits, int width);
/// The same with each value widened to double.
int PrintMatrix(std::FILE* stream, int rows, int columns, float** matrix, int digits, int width);
/// The same table by itself, with the width found in place.
int PrintMatrixFloat(std::FILE* stream, int rows, int columns, double** matrix, int digits,
                     int width);
