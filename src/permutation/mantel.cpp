#include "permutation/mantel.hpp"

#include <algorithm>
#include <cmath>
#include <numeric>

#include "numeric/congruence.hpp"
#include "numeric/matrix.hpp"
#include "numeric/resemblance.hpp"
#include "numeric/triangle.hpp"
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

/// Columns may be read a block beyond the last community.
std::size_t ColumnStride(int n)
{
    return RoundUp(Size(n)) + kernelBlock;
}

std::size_t PairsOf(int n)
{
    return static_cast<std::size_t>(TriangleSize(n));
}

// --- Correlations

void Center(int n, double** M, Deviations& out)
{
    PackTriangle(n, M, out.cell);
    out.sumSquares = CenterTriangle(TriangleSize(n), out.cell);
}

struct Means {
    double first = 0.0, second = 0.0, third = 0.0;
};

/// Means of up to three triangles; their sums run side by side, each a dependent chain.
Means MeansOf(std::size_t nPairs, const double* a, const double* b, const double* c)
{
    Means sum;
    for (std::size_t p = 0; p < nPairs; p++) {
        sum.first += a[p];
        sum.second += b[p];
        sum.third += c[p];
    }
    const double n = static_cast<double>(nPairs);
    return {sum.first / n, sum.second / n, sum.third / n};
}

/// Correlations of DT, DX and DR with the fixed resemblances and with one another. The triangles
/// become deviations from their means.
void CorrelateTraits(const QuickMantel& quick, QuickMantelWorkspace& w, ArrangementStatistics& result)
{
    const Means mean = MeansOf(quick.nPairs, w.DT.cell, w.DX.cell, w.DR.cell);
    const double means[] = {mean.first, mean.second, mean.third};
    TraitSums sums;
    ActiveKernels().correlateTraits(quick.nPairs, {quick.DE.cell, quick.DY.cell, quick.DZ.cell},
                                    w.DT.cell, w.DX.cell, w.DR.cell, means, sums);
    const double E2 = quick.DE.sumSquares, Y2 = quick.DY.sumSquares, Z2 = quick.DZ.sumSquares;
    const double T2 = w.DT.sumSquares = sums.withT[3];
    const double X2 = w.DX.sumSquares = sums.withX[3];
    const double R2 = sums.withR[3];
    std::vector<double>& r = result.value;
    r[rTE] = CorrelationOfSums(sums.withT[0], E2, T2);
    r[rTY] = CorrelationOfSums(sums.withT[1], Y2, T2);
    r[rTZ] = CorrelationOfSums(sums.withT[2], Z2, T2);
    r[rXE] = CorrelationOfSums(sums.withX[0], E2, X2);
    r[rXY] = CorrelationOfSums(sums.withX[1], X2, Y2);
    r[rXZ] = CorrelationOfSums(sums.withX[2], X2, Z2);
    result.rXT = CorrelationOfSums(sums.xt, X2, T2);
    r[rRE] = CorrelationOfSums(sums.withR[0], E2, R2);
    result.rXR = CorrelationOfSums(sums.withR[1], X2, R2);
    result.rTR = CorrelationOfSums(sums.withR[2], T2, R2);
}

/// Correlations of DP and DRp, after those of the traits.
void CorrelatePhylogeny(const QuickMantel& quick, const QuickMantelWorkspace& w,
                        ArrangementStatistics& result)
{
    const Means mean = MeansOf(quick.nPairs, w.DP.cell, w.DRp.cell, w.DRp.cell);
    double pe = 0.0, pt = 0.0, px = 0.0, pp = 0.0, fe = 0.0, ff = 0.0;
    for (std::size_t p = 0; p < quick.nPairs; p++) {
        const double E = quick.DE.cell[p];
        const double P = w.DP.cell[p] - mean.first;
        const double F = w.DRp.cell[p] - mean.second;
        pe += P * E;
        pt += P * w.DT.cell[p];
        px += P * w.DX.cell[p];
        pp += P * P;
        fe += F * E;
        ff += F * F;
    }
    result.value[roPE] = CorrelationOfSums(pe, quick.DE.sumSquares, pp);
    result.value[roPT] = CorrelationOfSums(pt, pp, w.DT.sumSquares);
    result.value[roPX] = CorrelationOfSums(px, pp, w.DX.sumSquares);
    result.value[rFE] = CorrelationOfSums(fe, quick.DE.sumSquares, ff);
}

// --- Products and distances

/// Brings the first t columns to unit length.
void NormalizeTraits(const QuickMantel& quick, QuickMantelWorkspace& w)
{
    for (int j = 0; j < quick.t; j++) {
        double* column = w.columns + Size(j) * w.stride;
        double sumSquares = 0.0;
        for (int k = 0; k < quick.n; k++) sumSquares += column[k] * column[k];
        const double length = sumSquares > 0.0 ? std::sqrt(sumSquares) : 1.0;
        for (int k = 0; k < quick.n; k++) column[k] /= length;
    }
}

/// Brings the rows of p columns to unit length, for chord distances.
void NormalizeRowsOf(const QuickMantel& quick, int p, double* columns, std::size_t stride,
                     double* length)
{
    for (int k = 0; k < quick.n; k++) length[k] = 0.0;
    for (int j = 0; j < p; j++)
        for (int k = 0; k < quick.n; k++) {
            const double x = columns[Size(j) * stride + Size(k)];
            length[k] += x * x;
        }
    for (int k = 0; k < quick.n; k++) length[k] = length[k] > 0.0 ? std::sqrt(length[k]) : 1.0;
    for (int j = 0; j < p; j++)
        for (int k = 0; k < quick.n; k++) columns[Size(j) * stride + Size(k)] /= length[k];
}

void CompositionDistances(const QuickMantel& quick, QuickMantelWorkspace& w, int firstColumn, int p,
                          Deviations& out)
{
    const PermutationKernels& kernels = ActiveKernels();
    double* columns = w.columns + Size(firstColumn) * w.stride;
    if (quick.in.resemblanceOption == absoluteValueMeasure) {
        kernels.cityBlock(quick.n, p, columns, w.stride, out.cell);
        return;
    }
    if (quick.in.resemblanceOption == chordMeasure)
        NormalizeRowsOf(quick, p, columns, w.stride, w.length);
    kernels.euclidean(quick.n, p, columns, w.stride, out.cell);
}

// --- Entropies

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

/// Communities of similar richness in groups of four.
std::vector<RichnessGroup> GroupByRichness(const QuickMantel& quick)
{
    std::vector<int> order(Size(quick.n));
    std::iota(order.begin(), order.end(), 0);
    const auto richness = [&quick](int k) {
        return quick.firstPresent[Size(k) + 1] - quick.firstPresent[Size(k)];
    };
    std::stable_sort(order.begin(), order.end(),
                     [&](int a, int b) { return richness(a) > richness(b); });
    std::vector<RichnessGroup> groups;
    for (std::size_t first = 0; first < order.size(); first += 4) {
        RichnessGroup group;
        group.richness = richness(order[first]);
        group.otu.assign(Size(group.richness) * 4, 0);
        group.share.assign(Size(group.richness) * 4, 0.0);
        for (std::size_t l = 0; l < 4; l++) {
            group.community[l] = first + l < order.size() ? order[first + l] : -1;
            if (group.community[l] < 0) continue;
            const std::size_t start = Size(quick.firstPresent[Size(group.community[l])]);
            const std::size_t count = Size(richness(group.community[l]));
            double total = 0.0; // absent OTUs add nothing to it
            for (std::size_t m = 0; m < count; m++) total += quick.performance[start + m];
            for (std::size_t m = 0; m < count; m++) {
                group.otu[4 * m + l] = quick.present[start + m];
                group.share[4 * m + l] = quick.performance[start + m] / total;
            }
        }
        groups.push_back(std::move(group));
    }
    return groups;
}

OwnedRows BothTriangles(int n, double** upper)
{
    OwnedRows square(n, n);
    CopyMatrix(n, n, upper, square);
    UpperToLowerMatrix(n, square);
    return square;
}

void KeepObserved(const ObservedResemblances& observed, QuickMantel& quick)
{
    quick.observedDT = BothTriangles(quick.n, observed.DT);
    quick.observedDX = BothTriangles(quick.n, observed.DX);
    quick.observedDR = BothTriangles(quick.n, observed.DR);
    if (!quick.in.withPhylogeny) return;
    quick.observedDP = BothTriangles(quick.n, observed.DP);
    quick.observedDRp = BothTriangles(quick.n, observed.DRp);
}

} // namespace

Deviations::Deviations(std::size_t nPairs) : cell(nPairs + kernelBlock) {}

std::unique_ptr<QuickMantel> QuickMantel::Make(const PermutationInputs& in,
                                               const ObservedResemblances& observed)
{
    const int option = in.resemblanceOption;
    const bool isKnown =
        option == euclideanMeasure || option == absoluteValueMeasure || option == chordMeasure;
    if (in.record.measure != mantel || in.n < 3 || in.s < 2 || !isKnown || !HasOrdinaryOtus(in) ||
        !HasWholeTraits(in) || !HasOrdinaryComposition(in) || !HasWholeResemblances(in))
        return nullptr;
    return std::make_unique<QuickMantel>(in, observed);
}

QuickMantel::QuickMantel(const PermutationInputs& inputs,
                         const ObservedResemblances& observed)
    : n(inputs.n),
      s(inputs.s),
      t(inputs.t),
      g(inputs.g),
      f(inputs.f),
      nColumns(t + g + f),
      width(RoundUp(Size(nColumns))),
      nPairs(PairsOf(n)),
      otus(Size(s) * width),
      DE(nPairs),
      DY(nPairs),
      DZ(nPairs),
      nOtuPairs(PairsOf(s)),
      Sb(inputs.withPhylogeny ? nOtuPairs : 0),
      in(inputs)
{
    const PermTest_FunctionalPhyl_Correl_Input& record = in.record;
    for (int i = 0; i < s; i++) {
        double* row = otus + Size(i) * width;
        for (int j = 0; j < t; j++) row[j] = record.selectedTraits[j] == 1 ? record.B[i][j] : 0.0;
        std::copy(record.U[i], record.U[i] + g, row + t);
        if (f > 0) std::copy(record.Q[i], record.Q[i] + f, row + t + g);
    }
    for (int k = 0; k < n; k++) {
        firstPresent.push_back(static_cast<int>(present.size()));
        for (int i = 0; i < s; i++) {
            if (record.W[k][i] == 0.0) continue;
            present.push_back(i);
            performance.push_back(record.W[k][i]);
        }
    }
    firstPresent.push_back(static_cast<int>(present.size()));
    Center(n, record.DE, DE);
    Center(n, record.DY, DY);
    Center(n, record.DZ, DZ);
    if (in.withPhylogeny) Center(s, record.Sb, Sb);
    groups = GroupByRichness(*this);
    if (!in.moveTaxa) KeepObserved(observed, *this);
}

QuickMantelWorkspace::QuickMantelWorkspace(const QuickMantel& prepared)
    : quick(prepared), stride(ColumnStride(quick.n)),
      row(quick.width),
      columns(Size(quick.nColumns) * stride),
      length(stride),
      DT(quick.nPairs),
      DX(quick.nPairs),
      DP(quick.f > 0 ? quick.nPairs : 0),
      DR(quick.nPairs),
      DRp(quick.f > 0 ? quick.nPairs : 0),
      R(stride),
      Rp(stride),
      Sf(quick.in.withPhylogeny ? quick.nOtuPairs : 0),
      otu(Size(quick.s) * 4), statistics(0)
{
}

void QuickMantelWorkspace::Evaluate(const int* orders, int count, double* counts)
{
    for (int m = 0; m < count; m++) {
        const int* order = orders + static_cast<std::ptrdiff_t>(m) * quick.in.orderLength;
        if (quick.in.moveTaxa)
            QuickTaxaShuffle(quick, *this, order, statistics);
        else
            QuickSiteShuffle(quick, *this, order, statistics);
        CountReached(quick.in.comparisons, statistics, counts);
    }
}

std::unique_ptr<Evaluator> QuickMantel::NewEvaluator() const
{
    return std::make_unique<QuickMantelWorkspace>(*this);
}

void QuickProducts(const QuickMantel& quick, QuickMantelWorkspace& w, const int* list)
{
    const PermutationKernels& kernels = ActiveKernels();
    for (int k = 0; k < quick.n; k++) {
        const int first = quick.firstPresent[Size(k)];
        kernels.weightedRows(quick.otus, quick.width, quick.firstPresent[Size(k) + 1] - first,
                             quick.present.data() + first, quick.performance.data() + first, list,
                             w.row);
        for (int c = 0; c < quick.nColumns; c++) w.columns[Size(c) * w.stride + Size(k)] = w.row[c];
    }
    NormalizeTraits(quick, w);
}

void QuickDistances(const QuickMantel& quick, QuickMantelWorkspace& w)
{
    ActiveKernels().euclidean(quick.n, quick.t, w.columns, w.stride, w.DT.cell);
    CompositionDistances(quick, w, quick.t, quick.g, w.DX);
    if (quick.in.withPhylogeny) CompositionDistances(quick, w, quick.t + quick.g, quick.f, w.DP);
}

void QuickEntropies(const QuickMantel& quick, QuickMantelWorkspace& w, const int* list)
{
    for (const RichnessGroup& group : quick.groups)
        GroupEntropies(group, quick.in.onTraits, list, w.otu.data(), w.R);
    PackDifferences(quick.n, w.R, w.DR.cell);
    if (!quick.in.withPhylogeny) return;
    for (const RichnessGroup& group : quick.groups)
        GroupEntropies(group, *quick.in.onPhylogeny, list, w.otu.data(), w.Rp);
    PackDifferences(quick.n, w.Rp, w.DRp.cell);
}

void QuickCorrelations(const QuickMantel& quick, QuickMantelWorkspace& w, ArrangementStatistics& result)
{
    CorrelateTraits(quick, w, result);
    if (quick.in.withPhylogeny) CorrelatePhylogeny(quick, w, result);
    PartialMantel(result, quick.in.withPhylogeny);
}

double QuickSignal(const QuickMantel& quick, QuickMantelWorkspace& w, const int* list)
{
    PackReordered(quick.s, quick.in.record.Sf, list, w.Sf.cell);
    w.Sf.sumSquares = CenterTriangle(TriangleSize(quick.s), w.Sf.cell);
    double products = 0.0;
    for (std::size_t p = 0; p < quick.nOtuPairs; p++) products += w.Sf.cell[p] * quick.Sb.cell[p];
    return CorrelationOfSums(products, quick.Sb.sumSquares, w.Sf.sumSquares);
}

void QuickTaxaShuffle(const QuickMantel& quick, QuickMantelWorkspace& w, const int* list,
                     ArrangementStatistics& result)
{
    QuickProducts(quick, w, list);
    QuickDistances(quick, w);
    QuickEntropies(quick, w, list);
    QuickCorrelations(quick, w, result);
    if (quick.in.withPhylogeny) result.value[roBF] = QuickSignal(quick, w, list);
}

void QuickSiteShuffle(const QuickMantel& quick, QuickMantelWorkspace& w, const int* list,
                     ArrangementStatistics& result)
{
    PackReordered(quick.n, quick.observedDT, list, w.DT.cell);
    PackReordered(quick.n, quick.observedDX, list, w.DX.cell);
    PackReordered(quick.n, quick.observedDR, list, w.DR.cell);
    if (quick.in.withPhylogeny) {
        PackReordered(quick.n, quick.observedDP, list, w.DP.cell);
        PackReordered(quick.n, quick.observedDRp, list, w.DRp.cell);
    }
    QuickCorrelations(quick, w, result);
}
