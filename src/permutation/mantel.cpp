#include "permutation/mantel.hpp"

#include <algorithm>
#include <cmath>
#include <numeric>

#include "numeric/congruence.hpp"
#include "numeric/matrix.hpp"
#include "numeric/resemblance.hpp"
#include "numeric/triangle.hpp"
#include "permutation/kernels.hpp"

namespace
{

std::size_t Size(int n)
{
    return static_cast<std::size_t>(n);
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
void CorrelateTraits(const QuickMantel& quick, QuickMantelWorkspace& w,
                     ArrangementStatistics& result)
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

void CompositionDistances(const QuickMantel& quick, QuickMantelWorkspace& w, double* columns, int p,
                          Deviations& out)
{
    const PermutationKernels& kernels = ActiveKernels();
    if (quick.in.resemblanceOption == absoluteValueMeasure) {
        kernels.cityBlock(quick.n, p, columns, w.columns.stride, out.cell);
        return;
    }
    if (quick.in.resemblanceOption == chordMeasure)
        NormalizeRowsOf(quick, p, columns, w.columns.stride, w.length);
    kernels.euclidean(quick.n, p, columns, w.columns.stride, out.cell);
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

}  // namespace

Deviations::Deviations(std::size_t nPairs) : cell(nPairs + kernelBlock) {}

std::unique_ptr<QuickMantel> QuickMantel::Make(const PermutationInputs& in,
                                               const ObservedResemblances& observed)
{
    const int option = in.resemblanceOption;
    const bool isKnown =
        option == euclideanMeasure || option == absoluteValueMeasure || option == chordMeasure;
    if (in.record.measure != mantel || in.n < 3 || in.s < 2 || !isKnown ||
        !QuickArrangement::Covers(in) || !HasWholeResemblances(in))
        return nullptr;
    return std::make_unique<QuickMantel>(in, observed);
}

QuickMantel::QuickMantel(const PermutationInputs& inputs, const ObservedResemblances& observed)
    : in(inputs),
      arrangement(in),
      n(in.n),
      s(in.s),
      nPairs(PairsOf(n)),
      DE(nPairs),
      DY(nPairs),
      DZ(nPairs),
      nOtuPairs(PairsOf(s)),
      Sb(in.withPhylogeny ? nOtuPairs : 0)
{
    const PermTest_FunctionalPhyl_Correl_Input& record = in.record;
    Center(n, record.DE, DE);
    Center(n, record.DY, DY);
    Center(n, record.DZ, DZ);
    if (in.withPhylogeny) Center(s, record.Sb, Sb);
    if (!in.moveTaxa) KeepObserved(observed, *this);
}

QuickMantelWorkspace::QuickMantelWorkspace(const QuickMantel& prepared)
    : quick(prepared),
      columns(quick.arrangement),
      length(columns.stride),
      DT(quick.nPairs),
      DX(quick.nPairs),
      DP(quick.in.withPhylogeny ? quick.nPairs : 0),
      DR(quick.nPairs),
      DRp(quick.in.withPhylogeny ? quick.nPairs : 0),
      Sf(quick.in.withPhylogeny ? quick.nOtuPairs : 0),
      statistics(0)
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

void QuickDistances(const QuickMantel& quick, QuickMantelWorkspace& w)
{
    const PermutationInputs& in = quick.in;
    ActiveKernels().euclidean(in.n, in.t, w.columns.Traits(), w.columns.stride, w.DT.cell);
    CompositionDistances(quick, w, w.columns.Types(), in.g, w.DX);
    if (in.withPhylogeny) CompositionDistances(quick, w, w.columns.Taxa(), in.f, w.DP);
}

void QuickDifferences(const QuickMantel& quick, QuickMantelWorkspace& w)
{
    PackDifferences(quick.n, w.columns.R, w.DR.cell);
    if (quick.in.withPhylogeny) PackDifferences(quick.n, w.columns.Rp, w.DRp.cell);
}

void QuickCorrelations(const QuickMantel& quick, QuickMantelWorkspace& w,
                       ArrangementStatistics& result)
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
    QuickProducts(quick.arrangement, w.columns, list);
    QuickDistances(quick, w);
    QuickEntropies(quick.arrangement, w.columns, list);
    QuickDifferences(quick, w);
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
