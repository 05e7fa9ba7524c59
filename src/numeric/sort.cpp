// SPDX-License-Identifier: GPL-3.0-or-later
#include "numeric/sort.hpp"

#include <algorithm>
#include <limits>

#include "shell/arrays.hpp"
#include "shell/failure.hpp"

namespace {

constexpr unsigned long insertionBelow = 7; // of last minus first
constexpr int stackSize = 50;               // two entries for each waiting partition

/// Values and companions that move together, counted from 1.
struct Pairs {
    double* a;
    double* b;
    void Swap(unsigned long i, unsigned long j) const
    {
        std::swap(a[i], a[j]);
        std::swap(b[i], b[j]);
    }
    void SwapIfAbove(unsigned long i, unsigned long j) const
    {
        if (a[i] > a[j]) Swap(i, j);
    }
};

/// Partitions that wait their turn.
class Waiting {
public:
    Waiting() : entries(static_cast<unsigned long*>(dim1D_Clear(stackSize, sizeof(unsigned long))))
    {
        if (entries == nullptr) nrerror("allocation failure in ivector()");
    }
    ~Waiting() { free1D(entries); }
    Waiting(const Waiting&) = delete;
    Waiting& operator=(const Waiting&) = delete;

    void Push(unsigned long first, unsigned long last)
    {
        if (nEntries + 2 > stackSize) nrerror("NSTACK too small in sort2.");
        entries[nEntries++] = first;
        entries[nEntries++] = last;
    }
    bool Pop(unsigned long* first, unsigned long* last)
    {
        if (nEntries == 0) return false;
        *last = entries[--nEntries];
        *first = entries[--nEntries];
        return true;
    }

private:
    unsigned long* entries;
    int nEntries = 0;
};

/// Deliberate: the scan goes down to 1 and not to `first`. All cells left of a partition are
/// sorted and not above it, so only a NaN among them could make a difference.
void InsertionSort(const Pairs& pairs, unsigned long first, unsigned long last)
{
    for (unsigned long j = first + 1; j <= last; j++) {
        const double value = pairs.a[j];
        const double companion = pairs.b[j];
        unsigned long i = j - 1;
        for (; i >= 1 && pairs.a[i] > value; i--) {
            pairs.a[i + 1] = pairs.a[i];
            pairs.b[i + 1] = pairs.b[i];
        }
        pairs.a[i + 1] = value;
        pairs.b[i + 1] = companion;
    }
}

/// Splits first..last around the median of its first, middle and last value. `left` ends behind
/// the pivot's final place `right`. The order of these moves decides how ties end up.
void Partition(const Pairs& pairs, unsigned long first, unsigned long last, unsigned long* left,
               unsigned long* right)
{
    pairs.Swap((first + last) / 2, first + 1);
    pairs.SwapIfAbove(first + 1, last);
    pairs.SwapIfAbove(first, last);
    pairs.SwapIfAbove(first + 1, first);

    const double pivot = pairs.a[first];
    unsigned long i = first + 1;
    unsigned long j = last;
    for (;;) {
        do i++; while (pairs.a[i] < pivot);
        do j--; while (pairs.a[j] > pivot);
        if (j < i) break;
        pairs.Swap(i, j);
    }
    pairs.Swap(first, j); // the pivot goes to its place
    *left = i;
    *right = j;
}

} // namespace

int compareInt(const void* first, const void* second)
{
    const long long difference = static_cast<long long>(*static_cast<const int*>(first)) -
                                 *static_cast<const int*>(second);
    // Labels far apart would overflow: the sign is what matters.
    if (difference > std::numeric_limits<int>::max()) return std::numeric_limits<int>::max();
    if (difference < std::numeric_limits<int>::min()) return std::numeric_limits<int>::min();
    return static_cast<int>(difference);
}

void swap(void** pointers, int i, int j)
{
    void* const first = pointers[i];
    pointers[i] = pointers[j];
    pointers[j] = first;
}

void sort2(unsigned long n, double* a, double* b)
{
    const Pairs pairs{a, b};
    Waiting waiting;
    unsigned long first = 1;
    unsigned long last = n;
    for (;;) {
        if (last - first < insertionBelow) {
            InsertionSort(pairs, first, last);
            if (!waiting.Pop(&first, &last)) return;
            continue;
        }
        unsigned long i;
        unsigned long j;
        Partition(pairs, first, last, &i, &j);
        // The larger part waits, which bounds the stack by the logarithm of n.
        if (last - i + 1 >= j - first) {
            waiting.Push(i, last);
            last = j - 1;
        } else {
            waiting.Push(first, j - 1);
            first = i;
        }
    }
}

void crank(unsigned long n, double* w, double* s)
{
    double sumOfTies = 0.0;
    unsigned long j = 1;
    while (j < n) {
        if (w[j + 1] != w[j]) {
            w[j] = static_cast<double>(j);
            j++;
            continue;
        }
        unsigned long next = j + 1; // the first place behind the tied values
        while (next <= n && w[next] == w[j]) next++;
        const double rank = 0.5 * static_cast<double>(j + next - 1);
        for (unsigned long i = j; i < next; i++) w[i] = rank;
        const double nTied = static_cast<double>(next - j);
        sumOfTies += nTied * nTied * nTied - nTied;
        j = next;
    }
    if (j == n) w[n] = static_cast<double>(n);
    *s = sumOfTies;
}
