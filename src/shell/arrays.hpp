// SPDX-License-Identifier: GPL-3.0-or-later
// Zero-filled arrays of one to three dimensions, and the small owners that free them.
#pragma once

#include <algorithm>
#include <cstddef>
#include <utility>

/// What an allocation that gives nothing comes to, here and in other libraries: BEL, failure code 1.
[[noreturn]] void NoRoom();

/// `count` elements of `size` bytes, all bytes zero; null if there is no room. No message.
void* dim1D_Clear(std::size_t count, std::size_t size);

/// The same with the size first; without room: BEL and failure code 1. A count below 1 is made 1,
/// so the result is never null.
void* dim1D(std::size_t size, long count);

char* dim1Dchar(long count);
int* dim1Dint(long count);
float* dim1Dfloat(long count);
double* dim1Double(long count);

/// A table of `rows` row pointers, each row of `columns` elements allocated by itself; all bytes
/// zero. rows < 1 gives a table without rows. Rows of double start on a 64-byte boundary. Nothing
/// may assume that rows lie behind one another. A table larger than the machine's memory is
/// refused at once (BEL, code 1) and not filled row by row until the machine stalls; when a row
/// fails, the rows already made are given back. T is char, int, float or double.
template <typename T>
T** dim2D(long rows, long columns);
char** dim2Dchar(long rows, long columns);
int** dim2Dint(long rows, long columns);
double** dim2Double(long rows, long columns);

/// d1 tables of d2 rows with d3 elements each.
char*** dim3Dchar(long d1, long d2, long d3);
int*** dim3Dint(long d1, long d2, long d3);
double*** dim3Double(long d1, long d2, long d3);

/// Releases a vector; null is fine.
void free1D(void* vector);

/// Releases each non-null row and the table; `rows` is the count that was allocated. A null table
/// is fine.
template <typename T>
void free2D(T** table, long rows)
{
    if (table == nullptr) return;
    for (long i = 0; i < rows; i++) free1D(table[i]);
    free1D(table);
}

template <typename T>
void free3D(T*** tables, long d1, long d2)
{
    if (tables == nullptr) return;
    for (long i = 0; i < d1; i++) free2D(tables[i], d2);
    free1D(tables);
}

/// A zero-filled vector that frees itself; one made without a length holds nothing.
template <typename T>
struct Owned {
    Owned() = default;
    explicit Owned(long n) : values(static_cast<T*>(dim1D(sizeof(T), n))) {}
    ~Owned() { free1D(values); }
    Owned(Owned&& other) noexcept { std::swap(values, other.values); }
    Owned& operator=(Owned&& other) noexcept
    {
        std::swap(values, other.values);
        return *this;
    }
    operator T*() const { return values; } // numeric routines take plain vectors
    T* values = nullptr;
};
using OwnedVector = Owned<double>;
using OwnedInts = Owned<int>;

/// A dim2D table that frees itself with the row count it was made with; one made without a size
/// holds nothing.
template <typename T>
struct OwnedTable {
    OwnedTable() = default;
    OwnedTable(long rows, long columns) : nRows(rows), table(dim2D<T>(rows, columns)) {}
    ~OwnedTable() { free2D(table, nRows); }
    OwnedTable(OwnedTable&& other) noexcept { *this = std::move(other); }
    OwnedTable& operator=(OwnedTable&& other) noexcept
    {
        std::swap(nRows, other.nRows);
        std::swap(table, other.table);
        return *this;
    }
    /// Changes places with a plain table, which was made with `rows` rows.
    void SwapWith(T**& plain, long rows)
    {
        std::swap(table, plain);
        nRows = rows;
    }
    operator T**() const { return table; } // numeric routines take plain rows
    long nRows = 0;
    T** table = nullptr;
};
using OwnedRows = OwnedTable<double>;

/// A zero-filled vector on a 64-byte boundary, for kernels.
class Lanes
{
public:
    explicit Lanes(std::size_t n) : values(1, static_cast<long>(n)) {}
    operator double*() const { return values[0]; }

private:
    OwnedRows values;  // one row of a table: rows start on such a boundary
};

// Work space of routines that are called again and again, in parallel loops above all: it grows to
// the largest size reserved so far and keeps that, so that nothing is allocated for smaller ones.
// What is in it is what the last call left.

template <typename T>
struct Kept : Owned<T> {
    void Reserve(long n)
    {
        if (n <= length) return;
        Owned<T>::operator=(Owned<T>(n));
        length = n;
    }
    long length = 0;
};
using KeptVector = Kept<double>;
using KeptInts = Kept<int>;

struct KeptRows : OwnedRows {
    void Reserve(long rows, long columns)
    {
        if (rows <= nRows && columns <= nColumns) return;
        const long most = std::max(columns, nColumns);
        OwnedRows::operator=(OwnedRows(std::max(rows, nRows), most));
        nColumns = most;
    }
    long nColumns = 0;
};

/// Makes the k-th allocation from now on fail (1 is the next one; 0 switches it off). For tests of
/// running out of memory only.
void FailAllocation(long k);
