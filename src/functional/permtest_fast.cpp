#include "functional/permtest_fast.hpp"

#include <algorithm>
#include <cmath>
#include <numeric>

#include "functional/permtest_iteration.hpp"
#include "functional/permtest_kernels.hpp"
#include "numeric/statistics.hpp"
#include "shell/arrays.hpp"

namespace {

// The kernels take blocks of up to 16 cells, and 8 columns at a time.
constexpr std::size_t laneBlock = 16;
constexpr std::size_t columnBlock = 8;

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
    return RoundUp(Size(n)) + laneBlock;
}

std::size_t PairsOf(int n)
{
    return Size(n) * Size(n - 1) / 2;
}

bool IsPlainNumber(double x)
{
    return std::isfinite(x) && !IsMissing(x);
}

bool HasPlainNumbers(int rows, int columns, double** M)
{
    for (int i = 0; i < rows; i++)
        if (!std::all_of(M[i], M[i] + columns, IsPlainNumber)) return false;
    return true;
}

bool HasPlainTriangle(int n, double** M)
{
    for (int i = 0; i < n; i++)
        if (!std::all_of(M[i] + i + 1, M[i] + n, IsPlainNumber)) return false;
    return true;
}

/// Numbers not below 0: performances that shares can be made of, and belonging whose products with
/// them are never the missing value.
bool HasAmounts(int rows, int columns, double** M)
{
    for (int i = 0; i < rows; i++)
        if (!std::all_of(M[i], M[i] + columns,
                         [](double x) { return std::isfinite(x) && x >= 0.0; }))
            return false;
    return true;
}

double LargestCell(int rows, int columns, double** M)
{
    double largest = 0.0;
    for (int i = 0; i < rows; i++)
        for (int j = 0; j < columns; j++) largest = std::max(largest, std::fabs(M[i][j]));
    return largest;
}

/// Whether W times B, U and Q stays finite whatever the order of their rows: no sum of products
/// exceeds the row's total times the largest cell, and a factor of 2 covers what rounding adds.
bool ProductsArePlain(const PermutationInputs& in)
{
    const PermTest_FunctionalPhyl_Correl_Input& record = in.record;
    const double largest =
        std::max({1.0, LargestCell(in.s, in.t, record.B), LargestCell(in.s, in.g, record.U),
                  LargestCell(in.s, in.f, record.Q)});
    return std::all_of(record.W, record.W + in.n, [&in, largest](const double* row) {
        return std::isfinite(2.0 * largest * std::accumulate(row, row + in.s, 0.0));
    });
}

/// A weighted draw reads the first s places of the pool of occurrences: there must be as many.
bool PoolIsLongEnough(const PermTest_FunctionalPhyl_Correl_Input& record)
{
    if (!record.weightedNull) return true;
    long length = 0;
    for (int k = 0; k < record.nCommunities; k++)
        length += std::count_if(record.W[k], record.W[k] + record.nOTUs,
                                [](double x) { return x > 0.0; });
    return length >= record.nOTUs;
}

bool DataArePlain(const PermutationInputs& in)
{
    const PermTest_FunctionalPhyl_Correl_Input& record = in.record;
    const bool traitsArePlain =
        HasAmounts(in.n, in.s, record.W) && HasPlainNumbers(in.s, in.t, record.B) &&
        HasAmounts(in.s, in.g, record.U) && ProductsArePlain(in) &&
        HasPlainTriangle(in.n, record.DE) && HasPlainTriangle(in.n, record.DY) &&
        HasPlainTriangle(in.n, record.DZ) && !in.onTraits.hasMissing && !in.onTraits.hasNonFinite;
    if (!traitsArePlain || !in.withPhylogeny) return traitsArePlain;
    return HasAmounts(in.s, in.f, record.Q) && HasPlainNumbers(in.s, in.s, record.Sb) &&
           HasPlainNumbers(in.s, in.s, record.Sf) && !in.onPhylogeny->hasMissing &&
           !in.onPhylogeny->hasNonFinite;
}

// --- Deviations from the mean

/// Replaces the cells by their deviations from the mean, given the sum of the cells.
void Center(Deviations& x, std::size_t nPairs, double sum)
{
    const double mean = sum / static_cast<double>(nPairs);
    double sumSquares = 0.0;
    for (std::size_t p = 0; p < nPairs; p++) {
        x.cell[p] = x.cell[p] - mean;
        sumSquares += x.cell[p] * x.cell[p];
    }
    x.sumSquares = sumSquares;
}

void CenterTriangle(int n, double** M, Deviations& x)
{
    std::size_t p = 0;
    double sum = 0.0;
    for (int i = 0; i < n; i++)
        for (int k = i + 1; k < n; k++) {
            x.cell[p] = M[i][k];
            sum += M[i][k];
            p++;
        }
    Center(x, p, sum);
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

double Correlation(double sumSquaresA, double sumSquaresB, double sumProducts)
{
    if (sumSquaresA == 0.0 || sumSquaresB == 0.0) return 0.0;
    return sumProducts / std::sqrt(sumSquaresA * sumSquaresB);
}

/// Correlations of DT, DX and DR with the fixed resemblances and with one another. The triangles
/// become deviations from their means.
void CorrelateTraits(const FastMantel& fast, FastMantelWorkspace& w, IterationStatistics& result)
{
    const Means mean = MeansOf(fast.nPairs, w.DT.cell, w.DX.cell, w.DR.cell);
    const double means[] = {mean.first, mean.second, mean.third};
    TraitSums sums;
    ActiveKernels().correlateTraits(fast.nPairs, {fast.DE.cell, fast.DY.cell, fast.DZ.cell},
                                    w.DT.cell, w.DX.cell, w.DR.cell, means, sums);
    const double E2 = fast.DE.sumSquares, Y2 = fast.DY.sumSquares, Z2 = fast.DZ.sumSquares;
    const double T2 = w.DT.sumSquares = sums.withT[3];
    const double X2 = w.DX.sumSquares = sums.withX[3];
    const double R2 = sums.withR[3];
    double* r = result.value;
    r[rTE] = Correlation(E2, T2, sums.withT[0]);
    r[rTY] = Correlation(Y2, T2, sums.withT[1]);
    r[rTZ] = Correlation(Z2, T2, sums.withT[2]);
    r[rXE] = Correlation(E2, X2, sums.withX[0]);
    r[rXY] = Correlation(X2, Y2, sums.withX[1]);
    r[rXZ] = Correlation(X2, Z2, sums.withX[2]);
    result.rXT = Correlation(X2, T2, sums.xt);
    r[rRE] = Correlation(E2, R2, sums.withR[0]);
    result.rXR = Correlation(X2, R2, sums.withR[1]);
    result.rTR = Correlation(T2, R2, sums.withR[2]);
}

/// Correlations of DP and DRp, after those of the traits.
void CorrelatePhylogeny(const FastMantel& fast, const FastMantelWorkspace& w,
                        IterationStatistics& result)
{
    const Means mean = MeansOf(fast.nPairs, w.DP.cell, w.DRp.cell, w.DRp.cell);
    double pe = 0.0, pt = 0.0, px = 0.0, pp = 0.0, fe = 0.0, ff = 0.0;
    for (std::size_t p = 0; p < fast.nPairs; p++) {
        const double E = fast.DE.cell[p];
        const double P = w.DP.cell[p] - mean.first;
        const double F = w.DRp.cell[p] - mean.second;
        pe += P * E;
        pt += P * w.DT.cell[p];
        px += P * w.DX.cell[p];
        pp += P * P;
        fe += F * E;
        ff += F * F;
    }
    result.value[roPE] = Correlation(fast.DE.sumSquares, pp, pe);
    result.value[roPT] = Correlation(pp, w.DT.sumSquares, pt);
    result.value[roPX] = Correlation(pp, w.DX.sumSquares, px);
    result.value[rFE] = Correlation(fast.DE.sumSquares, ff, fe);
}

// --- Products and distances

/// Brings the first t columns to unit length.
void NormalizeTraits(const FastMantel& fast, FastMantelWorkspace& w)
{
    for (int j = 0; j < fast.t; j++) {
        double* column = w.columns + Size(j) * w.stride;
        double sumSquares = 0.0;
        for (int k = 0; k < fast.n; k++) sumSquares += column[k] * column[k];
        const double length = sumSquares > 0.0 ? std::sqrt(sumSquares) : 1.0;
        for (int k = 0; k < fast.n; k++) column[k] /= length;
    }
}

/// Brings the rows of p columns to unit length, for chord distances.
void NormalizeRowsOf(const FastMantel& fast, int p, double* columns, std::size_t stride,
                     double* length)
{
    for (int k = 0; k < fast.n; k++) length[k] = 0.0;
    for (int j = 0; j < p; j++)
        for (int k = 0; k < fast.n; k++) {
            const double x = columns[Size(j) * stride + Size(k)];
            length[k] += x * x;
        }
    for (int k = 0; k < fast.n; k++) length[k] = length[k] > 0.0 ? std::sqrt(length[k]) : 1.0;
    for (int j = 0; j < p; j++)
        for (int k = 0; k < fast.n; k++) columns[Size(j) * stride + Size(k)] /= length[k];
}

void CompositionDistances(const FastMantel& fast, FastMantelWorkspace& w, int firstColumn, int p,
                          Deviations& out)
{
    const PermutationKernels& kernels = ActiveKernels();
    double* columns = w.columns + Size(firstColumn) * w.stride;
    if (fast.in.resemblanceOption == cityBlockOption) {
        kernels.cityBlock(fast.n, p, columns, w.stride, out.cell);
        return;
    }
    if (fast.in.resemblanceOption == chordOption)
        NormalizeRowsOf(fast, p, columns, w.stride, w.length);
    kernels.euclidean(fast.n, p, columns, w.stride, out.cell);
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

/// Differences of a vector between communities, as a packed triangle.
void Differences(int n, const double* x, Deviations& out)
{
    std::size_t p = 0;
    for (int i = 0; i < n; i++)
        for (int k = i + 1; k < n; k++) out.cell[p++] = std::fabs(x[i] - x[k]);
}

/// Communities of similar richness in groups of four.
std::vector<RichnessGroup> GroupByRichness(const FastMantel& fast)
{
    std::vector<int> order(Size(fast.n));
    std::iota(order.begin(), order.end(), 0);
    const auto richness = [&fast](int k) {
        return fast.firstPresent[Size(k) + 1] - fast.firstPresent[Size(k)];
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
            const std::size_t start = Size(fast.firstPresent[Size(group.community[l])]);
            const std::size_t count = Size(richness(group.community[l]));
            double total = 0.0; // absent OTUs add nothing to it
            for (std::size_t m = 0; m < count; m++) total += fast.performance[start + m];
            for (std::size_t m = 0; m < count; m++) {
                group.otu[4 * m + l] = fast.present[start + m];
                group.share[4 * m + l] = fast.performance[start + m] / total;
            }
        }
        groups.push_back(std::move(group));
    }
    return groups;
}

void LookUp(int n, const int* list, const double* observed, Deviations& out)
{
    std::size_t p = 0;
    for (int i = 0; i < n; i++) {
        const double* row = observed + Size(list[i] - 1) * Size(n);
        for (int k = i + 1; k < n; k++) out.cell[p++] = row[list[k] - 1];
    }
}

void KeepSquare(int n, double** upper, double* square)
{
    for (int i = 0; i < n; i++)
        for (int k = i + 1; k < n; k++)
            square[Size(i) * Size(n) + Size(k)] = square[Size(k) * Size(n) + Size(i)] = upper[i][k];
}

}  // namespace

Lanes::Lanes(std::size_t n) : values(dim2Double(1, static_cast<long>(n)))
{
}

Lanes::~Lanes()
{
    free2D(values, 1);
}

Deviations::Deviations(std::size_t nPairs) : cell(nPairs + laneBlock) {}

std::unique_ptr<FastMantel> FastMantel::Prepare(const PermutationInputs& in)
{
    const PermTest_FunctionalPhyl_Correl_Input& record = in.record;
    const int option = in.resemblanceOption;
    const bool isKnown =
        option == euclideanOption || option == cityBlockOption || option == chordOption;
    const bool allOtusInUse = std::all_of(record.otuWeights, record.otuWeights + in.s,
                                          [](int weight) { return weight == 1; });
    if (record.measure != 1 || in.n < 3 || in.s < 2 || !isKnown || !allOtusInUse ||
        record.keepScale || !PoolIsLongEnough(record) || !DataArePlain(in))
        return nullptr;
    return std::make_unique<FastMantel>(in);
}

FastMantel::FastMantel(const PermutationInputs& inputs)
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
      observedDT(SquareSize(inputs)),
      observedDX(SquareSize(inputs)),
      observedDP(SquareSize(inputs)),
      observedDR(SquareSize(inputs)),
      observedDRp(SquareSize(inputs)),
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
    CenterTriangle(n, record.DE, DE);
    CenterTriangle(n, record.DY, DY);
    CenterTriangle(n, record.DZ, DZ);
    if (in.withPhylogeny) CenterTriangle(s, record.Sb, Sb);
    groups = GroupByRichness(*this);
}

std::size_t FastMantel::SquareSize(const PermutationInputs& inputs)
{
    return inputs.moveTaxa ? 0 : Size(inputs.n) * Size(inputs.n);
}

void FastMantel::SetObserved(const PermutationWorkspace& observed)
{
    if (in.moveTaxa) return;
    KeepSquare(n, observed.DT, observedDT);
    KeepSquare(n, observed.DX, observedDX);
    KeepSquare(n, observed.DR, observedDR);
    if (!in.withPhylogeny) return;
    KeepSquare(n, observed.DP, observedDP);
    KeepSquare(n, observed.DRp, observedDRp);
}

FastMantelWorkspace::FastMantelWorkspace(const FastMantel& fast)
    : stride(ColumnStride(fast.n)),
      row(fast.width),
      columns(Size(fast.nColumns) * stride),
      length(stride),
      DT(fast.nPairs),
      DX(fast.nPairs),
      DP(fast.f > 0 ? fast.nPairs : 0),
      DR(fast.nPairs),
      DRp(fast.f > 0 ? fast.nPairs : 0),
      R(stride),
      Rp(stride),
      Sf(fast.in.withPhylogeny ? fast.nOtuPairs : 0),
      otu(Size(fast.s) * 4)
{
}

void FastProducts(const FastMantel& fast, FastMantelWorkspace& w, const int* list)
{
    const PermutationKernels& kernels = ActiveKernels();
    for (int k = 0; k < fast.n; k++) {
        const int first = fast.firstPresent[Size(k)];
        kernels.weightedRows(fast.otus, fast.width, fast.firstPresent[Size(k) + 1] - first,
                             fast.present.data() + first, fast.performance.data() + first, list,
                             w.row);
        for (int c = 0; c < fast.nColumns; c++) w.columns[Size(c) * w.stride + Size(k)] = w.row[c];
    }
    NormalizeTraits(fast, w);
}

void FastDistances(const FastMantel& fast, FastMantelWorkspace& w)
{
    ActiveKernels().euclidean(fast.n, fast.t, w.columns, w.stride, w.DT.cell);
    CompositionDistances(fast, w, fast.t, fast.g, w.DX);
    if (fast.in.withPhylogeny) CompositionDistances(fast, w, fast.t + fast.g, fast.f, w.DP);
}

void FastEntropies(const FastMantel& fast, FastMantelWorkspace& w, const int* list)
{
    for (const RichnessGroup& group : fast.groups)
        GroupEntropies(group, fast.in.onTraits, list, w.otu.data(), w.R);
    Differences(fast.n, w.R, w.DR);
    if (!fast.in.withPhylogeny) return;
    for (const RichnessGroup& group : fast.groups)
        GroupEntropies(group, *fast.in.onPhylogeny, list, w.otu.data(), w.Rp);
    Differences(fast.n, w.Rp, w.DRp);
}

void FastCorrelations(const FastMantel& fast, FastMantelWorkspace& w, IterationStatistics& result)
{
    CorrelateTraits(fast, w, result);
    if (fast.in.withPhylogeny) CorrelatePhylogeny(fast, w, result);
    PartialMantel(result, fast.in.withPhylogeny);
}

double FastSignal(const FastMantel& fast, FastMantelWorkspace& w, const int* list)
{
    double** const F = fast.in.record.Sf;
    std::size_t p = 0;
    double sum = 0.0;
    for (int i = 0; i < fast.s; i++) {
        const double* row = F[list[i] - 1];
        for (int j = i + 1; j < fast.s; j++) {
            w.Sf.cell[p] = row[list[j] - 1];
            sum += w.Sf.cell[p];
            p++;
        }
    }
    Center(w.Sf, p, sum);
    double products = 0.0;
    for (p = 0; p < fast.nOtuPairs; p++) products += w.Sf.cell[p] * fast.Sb.cell[p];
    return Correlation(fast.Sb.sumSquares, w.Sf.sumSquares, products);
}

void FastTaxaShuffle(const FastMantel& fast, FastMantelWorkspace& w, const int* list,
                     IterationStatistics& result)
{
    FastProducts(fast, w, list);
    FastDistances(fast, w);
    FastEntropies(fast, w, list);
    FastCorrelations(fast, w, result);
    if (fast.in.withPhylogeny) result.value[roBF] = FastSignal(fast, w, list);
}

void FastSiteShuffle(const FastMantel& fast, FastMantelWorkspace& w, const int* list,
                     IterationStatistics& result)
{
    LookUp(fast.n, list, fast.observedDT, w.DT);
    LookUp(fast.n, list, fast.observedDX, w.DX);
    LookUp(fast.n, list, fast.observedDR, w.DR);
    if (fast.in.withPhylogeny) {
        LookUp(fast.n, list, fast.observedDP, w.DP);
        LookUp(fast.n, list, fast.observedDRp, w.DRp);
    }
    FastCorrelations(fast, w, result);
}
