// SPDX-License-Identifier: GPL-3.0-or-later
// The kernels of the quick permutation test. Vectors are named one by one and not kept in arrays, so
// that they stay in registers.
#include "numeric/lanes.hpp"
#include "permutation/kernels.hpp"

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

template <bool isSquared>
void Pairs(int n, int p, const double* columns, std::size_t stride, double* packed)
{
    for (int i = 0; i < n; i++) {
        for (int k = i + 1; k < n; k += pairBlock) {
            // A block may overrun its row: the rows to come overwrite that.
            PairBlock<isSquared>(p, columns, stride, i, k, packed);
            packed += n - k < pairBlock ? n - k : pairBlock;
        }
    }
}

void Euclidean(int n, int p, const double* columns, std::size_t stride, double* packed)
{
    Pairs<true>(n, p, columns, stride, packed);
    const std::size_t nPairs = static_cast<std::size_t>(n) * static_cast<std::size_t>(n - 1) / 2;
#pragma omp simd
    for (std::size_t pair = 0; pair < nPairs; pair++) packed[pair] = __builtin_sqrt(packed[pair]);
}

void CityBlock(int n, int p, const double* columns, std::size_t stride, double* packed)
{
    Pairs<false>(n, p, columns, stride, packed);
}

void WeightedRows(const double* rows, std::size_t width, int nPresent, const int* present,
                  const double* weight, const int* list, double* out)
{
    constexpr bool isPaired = 2 * lanes <= columnBlock; // a row is a whole number of column blocks
    for (std::size_t c = 0; c < width; c += isPaired ? 2 * lanes : lanes) {
        Vector a = {}, b = {};
        for (int m = 0; m < nPresent; m++) {
            const double* row = rows + static_cast<std::size_t>(list[present[m]] - 1) * width + c;
            a += Load(row) * weight[m];
            if (isPaired) b += Load(row + lanes) * weight[m];
        }
        Store(out + c, a);
        if (isPaired) Store(out + c + lanes, b);
    }
}

} // namespace

namespace KELPRA_PATH
{
extern const PermutationKernels permutationKernels;
const PermutationKernels permutationKernels = {WeightedRows, Euclidean, CityBlock};
} // namespace KELPRA_PATH
