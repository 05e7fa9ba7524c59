// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/arrays.hpp"

#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <limits>
#include <type_traits>

#include "shell/complaint.hpp"
#include "shell/failure.hpp"

namespace {

constexpr std::size_t rowAlignment = 64;
constexpr std::size_t blockAlignment = 16;

long failingAllocation = 0;

bool AllocationMayGoOn()
{
    if (failingAllocation == 0) return true;
    return --failingAllocation != 0;
}

std::size_t MachineMemory()
{
    const long pages = sysconf(_SC_PHYS_PAGES);
    const long pageSize = sysconf(_SC_PAGESIZE);
    if (pages <= 0 || pageSize <= 0) return std::numeric_limits<std::size_t>::max();
    return static_cast<std::size_t>(pages) * static_cast<std::size_t>(pageSize);
}

std::size_t AtLeastOne(long count) { return count < 1 ? 1 : static_cast<std::size_t>(count); }

bool FitsMachine(std::size_t count, std::size_t size)
{
    static const std::size_t memory = MachineMemory();
    return size == 0 || count <= memory / size;
}

std::size_t RoundUp(std::size_t bytes, std::size_t grain)
{
    return (bytes + grain - 1) / grain * grain;
}

/// What a row of a table takes of the memory at the most: itself, its pointer, the allocator's
/// header, and, where it starts on a boundary of its own, the gaps up to there and behind it.
std::size_t RowSpace(std::size_t bytes, bool isAligned)
{
    const std::size_t space = isAligned ? RoundUp(bytes, rowAlignment) + 2 * rowAlignment
                                        : RoundUp(bytes, blockAlignment) + blockAlignment;
    return space + sizeof(void*);
}

void* AlignedRow(std::size_t size, long columns)
{
    const std::size_t count = AtLeastOne(columns);
    if (!AllocationMayGoOn() || !FitsMachine(count, size)) return nullptr;
    const std::size_t bytes = RoundUp(count * size, rowAlignment);
    void* row = std::aligned_alloc(rowAlignment, bytes);
    if (row != nullptr) std::memset(row, 0, bytes);
    return row;
}

/// Tables of double have each row on a 64-byte boundary.
template <typename T>
T* NewRow(long columns)
{
    return static_cast<T*>(std::is_same_v<T, double> ? AlignedRow(sizeof(T), columns)
                                                     : dim1D_Clear(AtLeastOne(columns), sizeof(T)));
}

template <typename T>
T*** Tables(long d1, long d2, long d3)
{
    T*** tables = static_cast<T***>(dim1D(sizeof(T**), d1));
    for (long i = 0; i < d1; i++) {
        try {
            tables[i] = dim2D<T>(d2, d3);
        } catch (const Failure&) { // give back what exists, then go on failing
            free3D(tables, i, d2);
            throw;
        }
    }
    return tables;
}

} // namespace

void NoRoom()
{
    Bell();
    Fail(outOfMemory);
}

void* dim1D_Clear(std::size_t count, std::size_t size)
{
    if (!AllocationMayGoOn() || !FitsMachine(count, size)) return nullptr;
    return std::calloc(count, size);
}

void* dim1D(std::size_t size, long count)
{
    void* vector = dim1D_Clear(AtLeastOne(count), size);
    if (vector == nullptr) NoRoom();
    return vector;
}

char* dim1Dchar(long count) { return static_cast<char*>(dim1D(sizeof(char), count)); }
int* dim1Dint(long count) { return static_cast<int*>(dim1D(sizeof(int), count)); }
float* dim1Dfloat(long count) { return static_cast<float*>(dim1D(sizeof(float), count)); }
double* dim1Double(long count) { return static_cast<double*>(dim1D(sizeof(double), count)); }

template <typename T>
T** dim2D(long rows, long columns)
{
    const std::size_t nColumns = AtLeastOne(columns);
    if (!FitsMachine(nColumns, sizeof(T)) ||
        !FitsMachine(AtLeastOne(rows), RowSpace(nColumns * sizeof(T), std::is_same_v<T, double>)))
        NoRoom();
    T** table = static_cast<T**>(dim1D(sizeof(T*), rows));
    for (long i = 0; i < rows; i++) {
        table[i] = NewRow<T>(columns);
        if (table[i] == nullptr) {
            free2D(table, i);
            NoRoom();
        }
    }
    return table;
}
template char** dim2D<char>(long rows, long columns);
template int** dim2D<int>(long rows, long columns);
template float** dim2D<float>(long rows, long columns);
template double** dim2D<double>(long rows, long columns);

char** dim2Dchar(long rows, long columns) { return dim2D<char>(rows, columns); }
int** dim2Dint(long rows, long columns) { return dim2D<int>(rows, columns); }
double** dim2Double(long rows, long columns) { return dim2D<double>(rows, columns); }

char*** dim3Dchar(long d1, long d2, long d3) { return Tables<char>(d1, d2, d3); }
int*** dim3Dint(long d1, long d2, long d3) { return Tables<int>(d1, d2, d3); }
double*** dim3Double(long d1, long d2, long d3) { return Tables<double>(d1, d2, d3); }

void free1D(void* vector)
{
    std::free(vector);
}

void FailAllocation(long k)
{
    failingAllocation = k;
}
