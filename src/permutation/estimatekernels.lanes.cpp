// The kernels of estimates. Vectors are named one by one, so that they stay in registers.
#include "permutation/estimatekernels.hpp"
#include "numeric/lanes.hpp"

namespace
{

static_assert(estimateBlock % (2 * lanes) == 0, "a block is a whole number of pairs of vectors");

/// Sums for four columns.
struct FourSums {
    Vector a = {}, b = {}, c = {}, d = {};
    /// One value of each column, `stride` apart, times x.
    void AddMultiples(Vector x, const double* z, std::size_t stride)
    {
        a += x * z[0];
        b += x * z[stride];
        c += x * z[2 * stride];
        d += x * z[3 * stride];
    }
    /// A vector of each column times x.
    void AddProducts(Vector x, const double* z, std::size_t stride)
    {
        a += x * Load(z);
        b += x * Load(z + stride);
        c += x * Load(z + 2 * stride);
        d += x * Load(z + 3 * stride);
    }
    void StoreTo(double* out, std::size_t stride) const
    {
        Store(out, a);
        Store(out + stride, b);
        Store(out + 2 * stride, c);
        Store(out + 3 * stride, d);
    }
};

inline double Sum(Vector v)
{
    double sum = 0.0;
    for (int l = 0; l < lanes; l++) sum += v[l];
    return sum;
}

inline void StoreSums(const FourSums& sums, double* out)
{
    out[0] = Sum(sums.a);
    out[1] = Sum(sums.b);
    out[2] = Sum(sums.c);
    out[3] = Sum(sums.d);
}

void SymmetricTimes(int n, std::size_t stride, const double* K, int columns, const double* Z,
                    double* out)
{
    for (int c = 0; c < columns; c += estimateColumns) {
        const double* z = Z + static_cast<std::size_t>(c) * stride;
        double* to = out + static_cast<std::size_t>(c) * stride;
        for (std::size_t i = 0; i < stride; i += 2 * lanes) {
            FourSums low, high;
            for (int j = 0; j < n; j++) {
                const double* row = K + static_cast<std::size_t>(j) * stride + i;
                low.AddMultiples(Load(row), z + j, stride);
                high.AddMultiples(Load(row + lanes), z + j, stride);
            }
            low.StoreTo(to + i, stride);
            high.StoreTo(to + i + lanes, stride);
        }
    }
}

void CrossProducts(std::size_t stride, int a, const double* A, int b, const double* B, double* out)
{
    for (int i = 0; i < a; i += 2) {
        const double* first = A + static_cast<std::size_t>(i) * stride;
        for (int j = 0; j < b; j += estimateColumns) {
            const double* other = B + static_cast<std::size_t>(j) * stride;
            FourSums upper, lower;
            for (std::size_t k = 0; k < stride; k += lanes) {
                upper.AddProducts(Load(first + k), other + k, stride);
                lower.AddProducts(Load(first + stride + k), other + k, stride);
            }
            double* to = out + static_cast<std::ptrdiff_t>(i) * b + j;
            StoreSums(upper, to);
            StoreSums(lower, to + b);
        }
    }
}

}  // namespace

namespace KELPRA_PATH
{
extern const EstimateKernels estimateKernels;
const EstimateKernels estimateKernels = {SymmetricTimes, CrossProducts};
}  // namespace KELPRA_PATH
