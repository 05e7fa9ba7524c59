// SPDX-License-Identifier: GPL-3.0-or-later
// Sorting with a companion, ranks of sorted values, and the comparison of int for qsort.
#pragma once

/// Comparison of two int for qsort, ascending: the first minus the second.
int compareInt(const void* first, const void* second);

/// Exchanges two elements of an array of pointers.
void swap(void** pointers, int i, int j);

/// Sorts a[1..n] ascending (counted from 1) and makes the same moves in b[1..n].
///
/// n     at least 1
/// ties  come in the order that the steps in sort.cpp leave, not in the order of their positions
/// ends the process with a message when its work stack cannot be made or is too small
///
/// Quicksort, the median of three as pivot, partitions below 8 by insertion.
/// Sedgewick 1978, Communications of the ACM 21:847-857.
void sort2(unsigned long n, double* a, double* b);

/// Replaces sorted values w[1..n] (counted from 1) by ranks, ties by the mean of their ranks.
///
/// s  receives the sum of t^3 - t over the groups of t tied values
void crank(unsigned long n, double* w, double* s);
