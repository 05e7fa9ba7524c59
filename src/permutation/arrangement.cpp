// SPDX-License-Identifier: GPL-3.0-or-later
#include "permutation/arrangement.hpp"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <utility>

#include "numeric/statistics.hpp"
#include "numeric/vectors.hpp"
#include "permutation/kernels.hpp"

namespace {

std::size_t Size(int n)
{
    return static_cast<std::size_t>(n);
}

std::size_t RoundUp(std::size_t n)
{
    return (n + columnBlock - 1) / columnBlock * columnBlock;
}

/// Brings the columns of T to unit length.
void NormalizeTraits(const QuickArrangement& arrangement, ArrangementColumns& w)
{
    for (int j = 0; j < arrangement.t; j++) {
        double* column = w.columns + Size(j) * w.stride;
        const double length = w.sumSquares[j] > 0.0 ? std::sqrt(w.sumSquares[j]) : 1.0;
        ActiveVectors().divide(arrangement.n, column, length, column);
    }
}

/// Adds the squares of a community's traits to those of the communities before.
void AddSquares(int t, const double* row, double* sumSquares)
{
#pragma omp simd
    for (int j = 0; j < t; j++) sumSquares[j] += row[j] * row[j];
}

/// Sums of the entropies of four communities side by side, each over its OTU pairs in order.
void GroupEntropies(const RichnessGroup& group, const RaoDissimilarity& dissimilarity,
                    const int* list, int* otu, double* entropy)
{
    double** const d = dissimilarity.d;
    const double* share = group.share.data();
    for (std::size_t m = 0; m < group.otu.size(); m++) otu[m] = list[group.otu[m]] - 1;
    double sum[4] = {};
    for (int a = 0; a < group.richness; a++) {
        const double* rows[4];
        double own[4];
        for (int l = 0; l < 4; l++) {
            rows[l] = d[otu[4 * a + l]];
            own[l] = share[4 * a + l];
        }
        for (int b = 0; b < group.richness; b++) {
            const double* other = share + 4 * b;
            const int* place = otu + 4 * b;
            sum[0] += other[0] * rows[0][place[0]] * own[0];
            sum[1] += other[1] * rows[1][place[1]] * own[1];
            sum[2] += other[2] * rows[2][place[2]] * own[2];
            sum[3] += other[3] * rows[3][place[3]] * own[3];
        }
    }
    for (int l = 0; l < 4; l++)
        if (group.community[l] >= 0) entropy[group.community[l]] = sum[l];
}

/// The same, each pair of OTUs once: the dissimilarity is symmetric. The sums of the four are named
/// one by one, so that they stay in registers.
void GroupEntropiesOfPairs(const RichnessGroup& group, const RaoDissimilarity& dissimilarity,
                           const int* list, int* otu, double* entropy)
{
    double** const d = dissimilarity.d;
    const double* share = group.share.data();
    for (std::size_t m = 0; m < group.otu.size(); m++) otu[m] = list[group.otu[m]] - 1;
    double sum[4] = {};
    for (int a = 0; a < group.richness; a++) {
        const int* own = otu + 4 * a;
        const double* p = share + 4 * a;
        const double *r0 = d[own[0]], *r1 = d[own[1]], *r2 = d[own[2]], *r3 = d[own[3]];
        double d0 = 0.5 * p[0] * r0[own[0]], d1 = 0.5 * p[1] * r1[own[1]];
        double d2 = 0.5 * p[2] * r2[own[2]], d3 = 0.5 * p[3] * r3[own[3]];
        for (int b = a + 1; b < group.richness; b++) {
            const double* other = share + 4 * b;
            const int* place = otu + 4 * b;
            d0 += other[0] * r0[place[0]];
            d1 += other[1] * r1[place[1]];
            d2 += other[2] * r2[place[2]];
            d3 += other[3] * r3[place[3]];
        }
        sum[0] += p[0] * d0;
        sum[1] += p[1] * d1;
        sum[2] += p[2] * d2;
        sum[3] += p[3] * d3;
    }
    for (int l = 0; l < 4; l++)
        if (group.community[l] >= 0) entropy[group.community[l]] = 2.0 * sum[l];
}

/// A trait's sum over the OTUs that it is known of, on the scale of the community's total.
void AverageOverKnown(const QuickArrangement& arrangement, int community, double* row)
{
    const double total = arrangement.total[Size(community)];
    for (int j = 0; j < arrangement.t; j++) {
        const double known = row[arrangement.nColumns + j];
        if (known > 0.0) row[j] /= known / total;
    }
}

/// Copies rows of M, in the order of the list, into columns.
void TakeRows(int n, int p, double** M, const int* list, double* columns, std::size_t stride)
{
    for (int j = 0; j < p; j++)
        for (int k = 0; k < n; k++) columns[Size(j) * stride + Size(k)] = M[list[k] - 1][j];
}

} // namespace

std::size_t ColumnStride(int n)
{
    return RoundUp(Size(n)) + kernelBlock;
}

QuickArrangement::QuickArrangement(const PermutationInputs& inputs)
    : in(inputs), n(in.n), s(in.s), t(in.t), g(in.g), f(in.f), nColumns(t + g + f),
      hasHoles(!HasWholeTraits(in)), width(RoundUp(Size(hasHoles ? nColumns + t : nColumns))),
      otus(Size(s) * width)
{
    LayOutOtus();
    ListPresent();
    GroupByRichness();
}

void QuickArrangement::LayOutOtus()
{
    const PermTest_FunctionalPhyl_Correl_Input& record = in.record;
    for (int i = 0; i < s; i++) {
        double* row = otus + Size(i) * width;
        for (int j = 0; j < t; j++) {
            if (record.selectedTraits[j] != 1 || IsMissing(record.B[i][j])) continue;
            row[j] = record.B[i][j];
            if (hasHoles) row[nColumns + j] = 1.0;
        }
        std::copy(record.U[i], record.U[i] + g, row + t);
        if (f > 0) std::copy(record.Q[i], record.Q[i] + f, row + t + g);
    }
}

void QuickArrangement::ListPresent()
{
    for (int k = 0; k < n; k++) {
        firstPresent.push_back(static_cast<int>(present.size()));
        for (int i = 0; i < s; i++) {
            if (in.record.W[k][i] == 0.0) continue;
            present.push_back(i);
            performance.push_back(in.record.W[k][i]);
        }
    }
    firstPresent.push_back(static_cast<int>(present.size()));
    for (int k = 0; k < n; k++)
        total.push_back(std::accumulate(in.record.W[k], in.record.W[k] + s, 0.0));
}

int QuickArrangement::Richness(int community) const
{
    return firstPresent[Size(community) + 1] - firstPresent[Size(community)];
}

/// Communities of similar richness in groups of four.
void QuickArrangement::GroupByRichness()
{
    std::vector<int> order(Size(n));
    std::iota(order.begin(), order.end(), 0);
    std::stable_sort(order.begin(), order.end(),
                     [this](int a, int b) { return Richness(a) > Richness(b); });
    for (std::size_t first = 0; first < order.size(); first += 4)
        groups.push_back(
            GroupOf(order.data() + first, std::min<std::size_t>(4, order.size() - first)));
}

RichnessGroup QuickArrangement::GroupOf(const int* communities, std::size_t count) const
{
    RichnessGroup group;
    group.richness = Richness(communities[0]);
    group.otu.assign(Size(group.richness) * 4, 0);
    group.share.assign(Size(group.richness) * 4, 0.0);
    std::fill(group.community, group.community + 4, -1);
    for (std::size_t l = 0; l < count; l++) {
        group.community[l] = communities[l];
        const std::size_t start = Size(firstPresent[Size(communities[l])]);
        const std::size_t nPresent = Size(Richness(communities[l]));
        for (std::size_t m = 0; m < nPresent; m++) {
            group.otu[4 * m + l] = present[start + m];
            group.share[4 * m + l] = performance[start + m] / total[Size(communities[l])];
        }
    }
    return group;
}

ArrangementColumns::ArrangementColumns(const QuickArrangement& arrangement)
    : t(arrangement.t), g(arrangement.g), stride(ColumnStride(arrangement.n)),
      row(arrangement.width), sumSquares(Size(t)), columns(Size(arrangement.nColumns) * stride),
      R(stride), Rp(stride), otu(Size(arrangement.s) * 4)
{
}

void QuickProducts(const QuickArrangement& arrangement, ArrangementColumns& w, const int* list)
{
    const PermutationKernels& kernels = ActiveKernels();
    std::fill_n(static_cast<double*>(w.sumSquares), arrangement.t, 0.0);
    for (int k = 0; k < arrangement.n; k++) {
        const std::size_t first = Size(arrangement.firstPresent[Size(k)]);
        const int nPresent = arrangement.firstPresent[Size(k) + 1] - static_cast<int>(first);
        kernels.weightedRows(arrangement.otus, arrangement.width, nPresent,
                             arrangement.present.data() + first,
                             arrangement.performance.data() + first, list, w.row);
        if (arrangement.hasHoles) AverageOverKnown(arrangement, k, w.row);
        AddSquares(arrangement.t, w.row, w.sumSquares);
        for (int c = 0; c < arrangement.nColumns; c++)
            w.columns[Size(c) * w.stride + Size(k)] = w.row[c];
    }
    NormalizeTraits(arrangement, w);
}

void QuickEntropies(const QuickArrangement& arrangement, ArrangementColumns& w, const int* list)
{
    const PermutationInputs& in = arrangement.in;
    for (const RichnessGroup& group : arrangement.groups) {
        GroupEntropies(group, in.onTraits, list, w.otu.data(), w.R);
        if (in.withPhylogeny) GroupEntropies(group, *in.onPhylogeny, list, w.otu.data(), w.Rp);
    }
}

void EstimateEntropies(const QuickArrangement& arrangement, ArrangementColumns& w, const int* list)
{
    const PermutationInputs& in = arrangement.in;
    for (const RichnessGroup& group : arrangement.groups) {
        GroupEntropiesOfPairs(group, in.onTraits, list, w.otu.data(), w.R);
        if (in.withPhylogeny)
            GroupEntropiesOfPairs(group, *in.onPhylogeny, list, w.otu.data(), w.Rp);
    }
}

void TakeObserved(const QuickArrangement& arrangement, ArrangementColumns& w, const int* list)
{
    const PermTest_FunctionalPhyl_Correl_Input& record = arrangement.in.record;
    const int n = arrangement.n;
    TakeRows(n, arrangement.t, record.T, list, w.Traits(), w.stride);
    TakeRows(n, arrangement.g, record.X, list, w.Types(), w.stride);
    for (int k = 0; k < n; k++) w.R[k] = record.Rf[list[k] - 1];
    if (!arrangement.in.withPhylogeny) return;
    TakeRows(n, arrangement.f, record.P, list, w.Taxa(), w.stride);
    for (int k = 0; k < n; k++) w.Rp[k] = record.Rp[list[k] - 1];
}

void MeasureRows(int n, int p, const double* columns, std::size_t stride, double* length)
{
    std::fill(length, length + n, 0.0);
    for (int j = 0; j < p; j++)
        for (int k = 0; k < n; k++) {
            const double x = columns[Size(j) * stride + Size(k)];
            length[k] += x * x;
        }
    for (int k = 0; k < n; k++) length[k] = length[k] > 0.0 ? std::sqrt(length[k]) : 1.0;
}
