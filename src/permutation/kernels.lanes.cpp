// SPDX-License-Identifier: GPL-3.0-or-later
// The kernels of the quick permutation test. Vectors are named one by one and not kept in arrays,
// so that they stay in registers.
#include "permutation/kernels.hpp"
#include "numeric/lanes.hpp"

namespace {

template <bool isSquared>
inline void AddTerm(Vector& sum, double own, const double* other)
{
    const Vector difference = own - Load(other);
    if (isSquared)
        sum += difference * difference;
    else
        sum += difference < 0.0 ? -difference : difference;
}

// Objects abreast: two or four vectors, within the room that callers leave behind their cells.
constexpr int pairBlock = lanes < 8 ? 4 * lanes : 2 * lanes;
static_assert(pairBlock <= kernelBlock, "an overrun must stay in the room left for it");

/// Object i against the next pairBlock objects from k on, squared or absolute differences summed
/// over the variables.
template <bool isSquared>
inline void PairBlock(int p, const double* columns, std::size_t stride, int i, int k, double* sums)
{
    Vector a = {}, b = {}, c = {}, d = {};
    for (int j = 0; j < p; j++) {
        const double* column = columns + static_cast<std::size_t>(j) * stride;
        const double own = column[i];
        AddTerm<isSquared>(a, own, column + k);
        AddTerm<isSquared>(b, own, column + k + lanes);
        if (pairBlock < 4 * lanes) continue;
        AddTerm<isSquared>(c, own, column + k + 2 * lanes);
        AddTerm<isSquared>(d, own, column + k + 3 * lanes);
    }
    Store(sums, a);
    Store(sums + lanes, b);
    if (pairBlock < 4 * lanes) return;
    Store(sums + 2 * lanes, c);
    Store(sums + 3 * lanes, d);
}

/// Roots of the cells of a row, in blocks. A row at a time, they are taken while the units for sums
/// and products work on the next one.
inline void TakeRoots(int count, double* cells)
{
    for (int k = 0; k < count; k += pairBlock) {
#pragma omp simd
        for (int l = k; l < k + pairBlock; l++) cells[l] = __builtin_sqrt(cells[l]);
    }
}

template <bool isSquared>
void Pairs(int n, int p, const double* columns, std::size_t stride, double* packed)
{
    for (int i = 0; i < n; i++) {
        // A block may overrun its row: the rows to come overwrite that.
        for (int k = i + 1; k < n; k += pairBlock)
            PairBlock<isSquared>(p, columns, stride, i, k, packed + (k - i - 1));
        if (isSquared) TakeRoots(n - i - 1, packed);
        packed += n - i - 1;
    }
}

void Euclidean(int n, int p, const double* columns, std::size_t stride, double* packed)
{
    Pairs<true>(n, p, columns, stride, packed);
}

void CityBlock(int n, int p, const double* columns, std::size_t stride, double* packed)
{
    Pairs<false>(n, p, columns, stride, packed);
}

/// `count` vectors of columns, up to four, side by side: their sums do not wait for one another.
template <int count>
inline void WeightedBlock(const double* rows, std::size_t width, int nPresent, const int* present,
                          const double* weight, const int* list, double* out)
{
    Vector a = {}, b = {}, c = {}, d = {};
    for (int m = 0; m < nPresent; m++) {
        const double* row = rows + static_cast<std::size_t>(list[present[m]] - 1) * width;
        a += Load(row) * weight[m];
        if (count > 1) b += Load(row + lanes) * weight[m];
        if (count > 2) c += Load(row + 2 * lanes) * weight[m];
        if (count > 3) d += Load(row + 3 * lanes) * weight[m];
    }
    Store(out, a);
    if (count > 1) Store(out + lanes, b);
    if (count > 2) Store(out + 2 * lanes, c);
    if (count > 3) Store(out + 3 * lanes, d);
}

void WeightedRows(const double* rows, std::size_t width, int nPresent, const int* present,
                  const double* weight, const int* list, double* out)
{
    std::size_t c = 0;
    for (; c + 4 * lanes <= width; c += 4 * lanes)
        WeightedBlock<4>(rows + c, width, nPresent, present, weight, list, out + c);
    switch ((width - c) / lanes) {
    case 3: return WeightedBlock<3>(rows + c, width, nPresent, present, weight, list, out + c);
    case 2: return WeightedBlock<2>(rows + c, width, nPresent, present, weight, list, out + c);
    case 1: return WeightedBlock<1>(rows + c, width, nPresent, present, weight, list, out + c);
    default: return;
    }
}

} // namespace

namespace KELPRA_PATH {
extern const PermutationKernels permutationKernels;
const PermutationKernels permutationKernels = {WeightedRows, Euclidean, CityBlock};
} // namespace KELPRA_PATH
