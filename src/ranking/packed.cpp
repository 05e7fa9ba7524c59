#include "ranking/packed.hpp"

#include <cmath>

#include "numeric/congruence.hpp"
#include "numeric/statistics.hpp"

namespace {

std::size_t At(int i)
{
    return static_cast<std::size_t>(i);
}

} // namespace

Structure::Structure(int communities)
    : n(communities), rows(communities, communities), nCells(TriangleSize(communities)),
      cells(nCells)
{
}

void Structure::TakeRows()
{
    double* cell = cells;
    for (int i = 0; i < n; i++)
        for (int k = i + 1; k < n; k++) *cell++ = rows[i][k];
    form = Form::packed;
}

void Structure::TakeSquares(const double* sums)
{
    double* const cell = cells;
    #pragma omp simd
    for (long c = 0; c < nCells; c++) cell[c] = sums[c] > 0.0 ? std::sqrt(sums[c]) : 0.0;
    form = Form::packed;
}

void Structure::TakeColumns(int p, double* const* columns)
{
    double* row = cells;
    for (int i = 0; i < n; i++) {
        const int length = n - i - 1;
        std::fill_n(row, length, 0.0);
        for (int j = 0; j < p; j++) {
            const double x = columns[j][i];
            const double* const others = columns[j] + i + 1;
            #pragma omp simd
            for (int k = 0; k < length; k++) {
                const double difference = x - others[k];
                row[k] += difference * difference;
            }
        }
        #pragma omp simd
        for (int k = 0; k < length; k++) row[k] = row[k] > 0.0 ? std::sqrt(row[k]) : 0.0;
        row += length;
    }
    form = Form::packed;
}

// Correlations take two passes, as in MatrixCorr: the means, then deviations, squares and products.
// A sum waits for its last addition, so sums that share a pass cost little more than one of them.

double Structure::Quotient(double products, double squaresA, double squaresB)
{
    if (squaresA == 0.0 || squaresB == 0.0) return 0.0;
    return products / std::sqrt(squaresA * squaresB);
}

void Structure::Centre()
{
    if (form == Form::centred) return;
    double* const cell = cells;
    double sum = 0.0;
    for (long c = 0; c < nCells; c++) sum += cell[c];
    const double mean = sum / static_cast<double>(nCells);
    sumSquares = 0.0;
    for (long c = 0; c < nCells; c++) {
        cell[c] -= mean;
        sumSquares += cell[c] * cell[c];
    }
    form = Form::centred;
}

/// The correlation with a centred structure; this one becomes centred, too.
double Structure::CorrelateWithCentred(const Structure& other)
{
    double* const a = cells;
    const double* const b = other.cells;
    double mean = 0.0;
    if (form == Form::packed) {
        double sum = 0.0;
        for (long c = 0; c < nCells; c++) sum += a[c];
        mean = sum / static_cast<double>(nCells);
    }
    double squares = 0.0;
    double products = 0.0;
    for (long c = 0; c < nCells; c++) {
        a[c] -= mean; // 0 if the cells are centred already
        squares += a[c] * a[c];
        products += b[c] * a[c];
    }
    sumSquares = squares;
    form = Form::centred;
    return Quotient(products, sumSquares, other.sumSquares);
}

double MantelCorr(Structure& a, Structure& b)
{
    using Form = Structure::Form;
    if (a.form == Form::rows || b.form == Form::rows) return MatrixCorr(a.n, a.rows, b.rows);
    if (b.form != Form::centred) {
        a.Centre();
        return b.CorrelateWithCentred(a);
    }
    return a.CorrelateWithCentred(b);
}

double Congruence(Structure& a, Structure& b)
{
    return a.n < 3 ? CommunityCorr(a.n, a.rows, b.rows) : MantelCorr(a, b);
}

void CongruenceOfThree(Structure& third, Structure& x, Structure& y, double* withX, double* withY,
                       double* ofXY)
{
    using Form = Structure::Form;
    if (x.form != Form::packed || y.form != Form::packed || third.form == Form::rows) {
        *withX = Congruence(third, x);
        *withY = Congruence(third, y);
        *ofXY = Congruence(x, y);
        return;
    }
    third.Centre();
    double* const a = x.cells;
    double* const b = y.cells;
    const double* const f = third.cells;
    const long nCells = x.nCells;
    double sumA = 0.0, sumB = 0.0;
    for (long c = 0; c < nCells; c++) {
        sumA += a[c];
        sumB += b[c];
    }
    const double meanA = sumA / static_cast<double>(nCells);
    const double meanB = sumB / static_cast<double>(nCells);
    double aa = 0.0, bb = 0.0, af = 0.0, bf = 0.0, ab = 0.0;
    for (long c = 0; c < nCells; c++) {
        a[c] -= meanA;
        b[c] -= meanB;
        aa += a[c] * a[c];
        bb += b[c] * b[c];
        af += a[c] * f[c];
        bf += b[c] * f[c];
        ab += a[c] * b[c];
    }
    x.sumSquares = aa;
    y.sumSquares = bb;
    x.form = y.form = Form::centred;
    *withX = Structure::Quotient(af, aa, third.sumSquares);
    *withY = Structure::Quotient(bf, bb, third.sumSquares);
    *ofXY = Structure::Quotient(ab, aa, bb);
}

void AverageSimilarity(int n, const double* sums, int k, double** S)
{
    const double nTraits = k;
    for (int i = 0; i < n; i++) {
        double* const row = S[i];
        row[i] = 1.0;
        const double* const cell = sums - i; // cell[j] is the pair i, j
        #pragma omp simd
        for (int j = i + 1; j < n; j++) row[j] = cell[j] / nTraits;
        for (int j = i + 1; j < n; j++) S[j][i] = row[j];
        sums += n - i;
    }
}

SubsetBelonging::SubsetBelonging(int OTUs, int types, const int* partition)
    : n(OTUs), nGroups(types), column(At(OTUs)), members(At(types)), representative(At(OTUs)),
      hasDuplicates(At(OTUs)), count(At(types)), sumsByType(types, OTUs), totals(OTUs)
{
    OwnedInts labels(n);
    int nLabels = 0;
    CountGroupsNew(n, partition, &nLabels, labels);
    for (int i = 0; i < n; i++) {
        const int* const label = std::lower_bound(labels.values, labels.values + nLabels,
                                                  partition[i]);
        column[At(i)] = static_cast<int>(label - labels.values);
        members[At(column[At(i)])].push_back(i);
    }
}

void SubsetBelonging::Fill(double** S, double** U)
{
    PoolIdenticals(S);
    for (int c = 0; c < nGroups; c++) std::fill_n(sumsByType[c], n, 0.0);
    for (int j = 0; j < n; j++) AddMember(j, S[j]);
    UnitSums(U);
}

/// An OTU identical to one before it in its type is a duplicate of the first such OTU that is none
/// itself.
void SubsetBelonging::PoolIdenticals(double** S)
{
    const double nearlyOne = 0.999; // below it, no rounding to single precision gives 1
    std::fill(hasDuplicates.begin(), hasDuplicates.end(), '\0');
    for (int c = 0; c < nGroups; c++) {
        count[At(c)] = static_cast<int>(members[At(c)].size());
        for (const int j : members[At(c)]) {
            representative[At(j)] = j;
            for (const int i : members[At(c)]) {
                if (i >= j) break;
                if (representative[At(i)] != i || S[i][j] < nearlyOne ||
                    !AlmostEqual2sComplement(S[i][j], 1.0, 1))
                    continue;
                representative[At(j)] = i;
                hasDuplicates[At(i)] = 1;
                count[At(c)]--;
                break;
            }
        }
    }
}

/// Adds the similarity of OTU j to the sums of its type, for all OTUs side by side: per OTU the
/// members still come in ascending order.
void SubsetBelonging::AddMember(int j, const double* similarity)
{
    const int type = column[At(j)];
    double* const sum = sumsByType[type];
    const double nMembers = count[At(type)];
    if (representative[At(j)] != j) {
        sum[j] += similarity[j] / nMembers; // a duplicate is of use to nobody but itself
    } else if (hasDuplicates[At(j)] == 0) {
        #pragma omp simd
        for (int i = 0; i < n; i++) sum[i] += similarity[i] / nMembers;
    } else {
        for (int i = 0; i < n; i++)
            if (i == j || representative[At(i)] != j) sum[i] += similarity[i] / nMembers;
    }
}

void SubsetBelonging::UnitSums(double** U)
{
    std::fill_n(totals.values, n, 0.0);
    for (int c = 0; c < nGroups; c++) {
        const double* const sum = sumsByType[c];
        #pragma omp simd
        for (int i = 0; i < n; i++) totals[i] += sum[i];
    }
    for (int i = 0; i < n; i++) {
        const double total = totals[i] == 0.0 ? 1.0 : totals[i];
        for (int c = 0; c < nGroups; c++) U[i][c] = sumsByType[c][i] / total;
    }
}
