// SPDX-License-Identifier: GPL-3.0-or-later
// The kernels of estimates. Vectors are named one by one, so that they stay in registers.
#include "permutation/estimatekernels.hpp"
#include "numeric/lanes.hpp"

namespace {

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

/// The cells of a triangle that fill whole vectors; the caller adds the rest one by one.
inline std::size_t WholeVectors(std::size_t nCells)
{
    return nCells - nCells % lanes;
}

/// T or X with the fixed triangles.
void FixedMoments(std::size_t nCells, const double* M, const TraitTriangles& cells, double* sums)
{
    const std::size_t whole = WholeVectors(nCells);
    Vector sum = {}, squares = {}, E = {}, Y = {}, Z = {};
    for (std::size_t p = 0; p < whole; p += lanes) {
        const Vector x = Load(M + p);
        sum += x;
        squares += x * x;
        E += x * Load(cells.E + p);
        Y += x * Load(cells.Y + p);
        Z += x * Load(cells.Z + p);
    }
    sums[0] = Sum(sum);
    sums[1] = Sum(squares);
    sums[2] = Sum(E);
    sums[3] = Sum(Y);
    sums[4] = Sum(Z);
    for (std::size_t p = whole; p < nCells; p++) {
        const double x = M[p];
        sums[0] += x;
        sums[1] += x * x;
        sums[2] += x * cells.E[p];
        sums[3] += x * cells.Y[p];
        sums[4] += x * cells.Z[p];
    }
}

/// R with E and the other moving triangles, and these with one another.
void MovingMoments(std::size_t nCells, const TraitTriangles& cells, double* sums)
{
    const std::size_t whole = WholeVectors(nCells);
    Vector R = {}, RR = {}, RE = {}, XT = {}, XR = {}, TR = {};
    for (std::size_t p = 0; p < whole; p += lanes) {
        const Vector r = Load(cells.R + p), x = Load(cells.X + p), t = Load(cells.T + p);
        R += r;
        RR += r * r;
        RE += r * Load(cells.E + p);
        XT += x * t;
        XR += x * r;
        TR += t * r;
    }
    sums[0] = Sum(R);
    sums[1] = Sum(RR);
    sums[2] = Sum(RE);
    sums[3] = Sum(XT);
    sums[4] = Sum(XR);
    sums[5] = Sum(TR);
    for (std::size_t p = whole; p < nCells; p++) {
        const double r = cells.R[p], x = cells.X[p], t = cells.T[p];
        sums[0] += r;
        sums[1] += r * r;
        sums[2] += r * cells.E[p];
        sums[3] += x * t;
        sums[4] += x * r;
        sums[5] += t * r;
    }
}

void SumTraitMoments(std::size_t nCells, const TraitTriangles& cells, TraitMoments& sums)
{
    double T[5], X[5], M[6];
    FixedMoments(nCells, cells.T, cells, T);
    FixedMoments(nCells, cells.X, cells, X);
    MovingMoments(nCells, cells, M);
    sums = {T[0], T[1], T[2], T[3], T[4], X[0], X[1], X[2],
            X[3], X[4], M[0], M[1], M[2], M[3], M[4], M[5]};
}

void SumPhylogenyMoments(std::size_t nCells, const PhylogenyTriangles& cells,
                         PhylogenyMoments& sums)
{
    const std::size_t whole = WholeVectors(nCells);
    Vector P = {}, PP = {}, PE = {}, PT = {}, PX = {}, F = {}, FF = {}, FE = {};
    for (std::size_t p = 0; p < whole; p += lanes) {
        const Vector x = Load(cells.P + p), f = Load(cells.F + p), e = Load(cells.E + p);
        P += x;
        PP += x * x;
        PE += x * e;
        PT += x * Load(cells.T + p);
        PX += x * Load(cells.X + p);
        F += f;
        FF += f * f;
        FE += f * e;
    }
    sums = {Sum(P), Sum(PP), Sum(PE), Sum(PT), Sum(PX), Sum(F), Sum(FF), Sum(FE)};
    for (std::size_t p = whole; p < nCells; p++) {
        const double x = cells.P[p], f = cells.F[p];
        sums.P += x;
        sums.PP += x * x;
        sums.PE += x * cells.E[p];
        sums.PT += x * cells.T[p];
        sums.PX += x * cells.X[p];
        sums.F += f;
        sums.FF += f * f;
        sums.FE += f * cells.E[p];
    }
}

} // namespace

namespace KELPRA_PATH {
extern const EstimateKernels estimateKernels;
const EstimateKernels estimateKernels = {SymmetricTimes, CrossProducts, SumTraitMoments,
                                         SumPhylogenyMoments};
} // namespace KELPRA_PATH
