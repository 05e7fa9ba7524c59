#include <algorithm>
#include <cmath>

#include "numeric/matrix.hpp"
#include "numeric/statistics.hpp"

namespace {

// How the three factors of a term are multiplied; the orders differ in the last bit.
enum TermOrder {
    weightTimesA, ///< (weight A) B
    weightTimesB, ///< (weight B) A
    weightLast    ///< (A B) weight
};

/// The operands of a product. A is rows x inner, B inner x cols.
struct Operands {
    int rows;
    int inner;
    int cols;
    double** A;
    double** B;
    const int* weight; // of each k; null: 1 throughout
    double Weight(int k) const { return weight == nullptr ? 1.0 : weight[k]; }
};

/// What an output cell collects while k runs upward.
struct CellSums {
    double terms = 0.0;    // over the terms used
    double weighted = 0.0; // weight[k] A[i][k] over the terms used
    double present = 0.0;  // A[i][k] over the terms used
    double all = 0.0;      // A[i][k] over all k, a missing one as -999
    bool skipped = false;  // a term was left out
};

template <TermOrder order>
inline double Term(double a, double b, double weight)
{
    if (order == weightTimesA) return weight * a * b;
    if (order == weightTimesB) return weight * b * a;
    return a * b * weight;
}

/// The plain form: one cell at a time, whatever the operands hold.
template <TermOrder order>
CellSums PlainCell(const Operands& x, int i, int j)
{
    CellSums sums;
    for (int k = 0; k < x.inner; k++) {
        const double a = x.A[i][k];
        const double b = x.B[k][j];
        sums.all += a;
        if (IsMissing(a) || IsMissing(b)) {
            sums.skipped = true;
            continue;
        }
        sums.terms += Term<order>(a, b, x.Weight(k));
        sums.weighted += x.Weight(k) * a;
        sums.present += a;
    }
    return sums;
}

// The fast form works on blocks of rows, columns and k, so that a stretch of B is read once for
// several communities and stays in the nearest cache meanwhile.
constexpr int blockRows = 16;
constexpr int blockCols = 128;
constexpr int blockInner = 16;

// The kernels are compiled twice, and the wider one is taken where the processor has it. Both do
// the same operations on each cell, so the bits do not depend on the processor.
#if defined(__GNUC__) && defined(__x86_64__)
#define KERNEL_INLINE inline __attribute__((always_inline))
#define KERNEL_WIDE __attribute__((target("avx2")))
bool HasWideLanes()
{
    static const bool has = __builtin_cpu_supports("avx2");
    return has;
}
#else
#define KERNEL_INLINE inline
#define KERNEL_WIDE
bool HasWideLanes()
{
    return false;
}
#endif

// Cells below this size cannot overflow: three factors stay under 1e290, and so do their sums.
constexpr double tameLimit = 1e140;

enum Content { wild, holed, whole };

/// wild: a cell is infinite, NaN or huge; holed: cells are missing; whole: neither.
Content ContentOf(int rows, int cols, double** M)
{
    bool hasHoles = false;
    for (int i = 0; i < rows; i++)
        for (int j = 0; j < cols; j++) {
            if (!(std::fabs(M[i][j]) < tameLimit)) return wild;
            hasHoles = hasHoles || IsMissing(M[i][j]);
        }
    return hasHoles ? holed : whole;
}

bool IsMask(const Operands& x)
{
    for (int k = 0; k < x.inner; k++)
        if (x.Weight(k) != 0.0 && x.Weight(k) != 1.0) return false;
    return true;
}

/// The sums of a block of output cells. Without missing cells in B, `weighted` and `present` are
/// the same in all columns and are kept once per row.
struct Block {
    int firstRow, nRows;
    int firstCol, nCols;
    double terms[blockRows][blockCols];
    double weighted[blockRows][blockCols];
    double present[blockRows][blockCols];
    double rowWeighted[blockRows];
    double rowPresent[blockRows];
    double rowAll[blockRows];
    bool rowSkipped[blockRows];
    bool colSkipped[blockCols];
};

/// What one OTU present in a community contributes to a stretch of columns.
struct Factor {
    double a;           // its cell of A
    double weight;      // of its k
    double weightedA;   // weight times a
    const double* b;    // its row of B, from the block's first column on; holes hold 0
    const double* hasB; // the same cells: 1 where B is present, 0 in a hole; only if B is holed
};

/// A stretch of rows of a holed B, its holes set to 0. What a hole then adds to a sum is a zero,
/// which leaves it as it is: a sum that began at +0 is never -0.
struct Filled {
    double b[blockInner][blockCols];
    double hasB[blockInner][blockCols];
};

void FillHoles(const Operands& x, int k0, int k1, const Block& block, Filled& filled)
{
    for (int k = k0; k < k1; k++)
        for (int j = 0; j < block.nCols; j++) {
            const double b = x.B[k][block.firstCol + j];
            filled.b[k - k0][j] = IsMissing(b) ? 0.0 : b;
            filled.hasB[k - k0][j] = IsMissing(b) ? 0.0 : 1.0;
        }
}

/// A term; where all weights are 0 or 1, or the weight comes before A anyway, the product of the
/// two is taken once for all columns. (A mask's factor of 1 leaves every bit as it is, one of 0
/// gives a zero in any order.)
template <TermOrder order, bool isSimple>
KERNEL_INLINE double Lane(const Factor& f, double b)
{
    return isSimple ? f.weightedA * b : Term<order>(f.a, b, f.weight);
}

/// Adds the terms of one k after the other to each of `width` neighbouring cells. The lanes are
/// separate sums, each of which grows in order of k; nothing is regrouped.
template <TermOrder order, bool isSimple>
KERNEL_INLINE void AddWhole(int width, const Factor* factors, int nFactors, double* terms)
{
    int c = 0;
    for (; c + 4 <= nFactors; c += 4) {
        const Factor f0 = factors[c], f1 = factors[c + 1], f2 = factors[c + 2], f3 = factors[c + 3];
        #pragma omp simd
        for (int j = 0; j < width; j++) {
            double sum = terms[j];
            sum += Lane<order, isSimple>(f0, f0.b[j]);
            sum += Lane<order, isSimple>(f1, f1.b[j]);
            sum += Lane<order, isSimple>(f2, f2.b[j]);
            sum += Lane<order, isSimple>(f3, f3.b[j]);
            terms[j] = sum;
        }
    }
    for (; c < nFactors; c++) {
        const Factor f = factors[c];
        #pragma omp simd
        for (int j = 0; j < width; j++) terms[j] += Lane<order, isSimple>(f, f.b[j]);
    }
}

/// The same where B has holes, together with `weighted` and `present` of each column.
template <TermOrder order, bool isSimple>
KERNEL_INLINE void AddHoled(int width, const Factor* factors, int nFactors, double* terms,
                            double* weighted, double* present)
{
    AddWhole<order, isSimple>(width, factors, nFactors, terms);
    for (int c = 0; c < nFactors; c++) {
        const Factor f = factors[c];
        #pragma omp simd
        for (int j = 0; j < width; j++) {
            weighted[j] += f.weightedA * f.hasB[j];
            present[j] += f.a * f.hasB[j];
        }
    }
}

/// Collects the OTUs k0..k1-1 present in row `row` of A, and keeps the sums that no column alters.
/// `filled` is null unless B is holed.
int CollectFactors(const Operands& x, int k0, int k1, int row, const Filled* filled, Block& block,
                   Factor* factors)
{
    const int r = row - block.firstRow;
    int nFactors = 0;
    for (int k = k0; k < k1; k++) {
        const double a = x.A[row][k];
        // An absent OTU adds a zero to each sum, and so changes no bit of it.
        if (a == 0.0) continue;
        block.rowAll[r] += a;
        if (IsMissing(a)) {
            block.rowSkipped[r] = true;
            continue;
        }
        const double weight = x.Weight(k);
        block.rowWeighted[r] += weight * a;
        block.rowPresent[r] += a;
        // With a weight of 0 the terms are zeros too; only `present` of a holed B wants them.
        if (weight == 0.0 && filled == nullptr) continue;
        factors[nFactors++] =
            Factor{a, weight, weight * a,
                   filled == nullptr ? x.B[k] + block.firstCol : filled->b[k - k0],
                   filled == nullptr ? nullptr : filled->hasB[k - k0]};
    }
    return nFactors;
}

void ClearSums(Block& block)
{
    for (int r = 0; r < block.nRows; r++) {
        std::fill_n(block.terms[r], block.nCols, 0.0);
        std::fill_n(block.weighted[r], block.nCols, 0.0);
        std::fill_n(block.present[r], block.nCols, 0.0);
        block.rowWeighted[r] = block.rowPresent[r] = block.rowAll[r] = 0.0;
        block.rowSkipped[r] = false;
    }
}

/// Fills the block's sums, k ascending.
template <TermOrder order, bool isSimple>
KERNEL_INLINE void FillSums(const Operands& x, Content contentB, Block& block)
{
    Factor factors[blockInner];
    Filled filled;
    for (int k0 = 0; k0 < x.inner; k0 += blockInner) {
        const int k1 = std::min(k0 + blockInner, x.inner);
        if (contentB == holed) FillHoles(x, k0, k1, block, filled);
        for (int r = 0; r < block.nRows; r++) {
            const int nFactors = CollectFactors(x, k0, k1, block.firstRow + r,
                                                contentB == holed ? &filled : nullptr, block,
                                                factors);
            if (contentB == holed)
                AddHoled<order, isSimple>(block.nCols, factors, nFactors, block.terms[r],
                                          block.weighted[r], block.present[r]);
            else
                AddWhole<order, isSimple>(block.nCols, factors, nFactors, block.terms[r]);
        }
    }
}

template <TermOrder order, bool isSimple>
void FillSumsNarrow(const Operands& x, Content contentB, Block& block)
{
    FillSums<order, isSimple>(x, contentB, block);
}

template <TermOrder order, bool isSimple>
KERNEL_WIDE void FillSumsWide(const Operands& x, Content contentB, Block& block)
{
    FillSums<order, isSimple>(x, contentB, block);
}

using Filler = void (*)(const Operands&, Content, Block&);

template <TermOrder order>
Filler ChooseFiller(const Operands& x)
{
    if (order == weightTimesA || IsMask(x))
        return HasWideLanes() ? FillSumsWide<order, true> : FillSumsNarrow<order, true>;
    return HasWideLanes() ? FillSumsWide<order, false> : FillSumsNarrow<order, false>;
}

/// Which of the block's columns hold a missing cell of B.
void MarkHoledColumns(const Operands& x, Content contentB, Block& block)
{
    std::fill_n(block.colSkipped, block.nCols, false);
    if (contentB != holed) return;
    for (int k = 0; k < x.inner; k++)
        for (int j = 0; j < block.nCols; j++)
            if (IsMissing(x.B[k][block.firstCol + j])) block.colSkipped[j] = true;
}

CellSums SumsOf(const Block& block, Content contentB, int r, int j)
{
    CellSums sums;
    sums.terms = block.terms[r][j];
    sums.weighted = contentB == holed ? block.weighted[r][j] : block.rowWeighted[r];
    sums.present = contentB == holed ? block.present[r][j] : block.rowPresent[r];
    sums.all = block.rowAll[r];
    sums.skipped = block.rowSkipped[r] || block.colSkipped[j];
    return sums;
}

/// Every product is this: the sums of each cell, made into its value by finish(j, sums). Both
/// forms give the same bits.
template <TermOrder order, typename Finish>
void Multiply(const Operands& x, double** out, Finish finish)
{
    const Content contentB = ContentOf(x.inner, x.cols, x.B);
    if (contentB == wild || ContentOf(x.rows, x.inner, x.A) == wild) {
        for (int i = 0; i < x.rows; i++)
            for (int j = 0; j < x.cols; j++) out[i][j] = finish(j, PlainCell<order>(x, i, j));
        return;
    }
    const Filler fill = ChooseFiller<order>(x);
    Block block;
    for (int j0 = 0; j0 < x.cols; j0 += blockCols) {
        block.firstCol = j0;
        block.nCols = std::min(blockCols, x.cols - j0);
        MarkHoledColumns(x, contentB, block);
        for (int i0 = 0; i0 < x.rows; i0 += blockRows) {
            block.firstRow = i0;
            block.nRows = std::min(blockRows, x.rows - i0);
            ClearSums(block);
            fill(x, contentB, block);
            for (int r = 0; r < block.nRows; r++)
                for (int j = 0; j < block.nCols; j++)
                    out[i0 + r][j0 + j] = finish(j0 + j, SumsOf(block, contentB, r, j));
        }
    }
}

/// A result of 0 from incomplete data says nothing: it becomes missing.
double ZeroToMissing(double value, bool skipped)
{
    return value == 0.0 && skipped ? missingValue : value;
}

} // namespace

int MatrixProd(int rowsA, int colsA, int rowsB, int colsB, double** A, double** B, double** out)
{
    if (colsA != rowsB) return 1;
    const Operands x{rowsA, colsA, colsB, A, B, nullptr};
    Multiply<weightTimesA>(x, out, [](int, const CellSums& sums) { return sums.terms; });
    return 0;
}

int MatrixProdMV(int rowsA, int colsA, int rowsB, int colsB, double** A, double** B, double** out)
{
    return MatrixProdMV_Weight(rowsA, colsA, rowsB, colsB, A, B, out, nullptr);
}

int MatrixProdMV_Weight(int rowsA, int colsA, int rowsB, int colsB, double** A, double** B,
                        double** out, const int* weight)
{
    if (colsA != rowsB) return 1;
    const Operands x{rowsA, colsA, colsB, A, B, weight};
    Multiply<weightTimesA>(x, out, [](int, const CellSums& sums) {
        return ZeroToMissing(sums.terms, sums.skipped);
    });
    return 0;
}

int MatrixProdMV_Weight(int rowsA, int colsA, int rowsB, int colsB, double** A, double** B,
                        double** out, const int* weight, bool adjust)
{
    if (colsA != rowsB) return 1;
    const Operands x{rowsA, colsA, colsB, A, B, weight};
    Multiply<weightLast>(x, out, [adjust](int, const CellSums& sums) {
        const double value = adjust ? sums.terms / (sums.weighted / sums.present) : sums.terms;
        return ZeroToMissing(value, sums.skipped);
    });
    return 0;
}

int MatrixProdSelectMV_Adjust_Weight(int rowsA, int colsA, int rowsB, int colsB, double** A,
                                     double** B, double** out, const int* select, const int* weight)
{
    if (colsA != rowsB) return 1;
    const Operands x{rowsA, colsA, colsB, A, B, weight};
    Multiply<weightTimesB>(x, out, [select](int j, const CellSums& sums) {
        return select[j] == 1 ? sums.terms / (sums.present / sums.all) : 0.0;
    });
    return 0;
}

int MatrixProdSelectMV_Adjust_Weight(int rowsA, int colsA, int rowsB, int colsB, double** A,
                                     double** B, double** out, const int* select, const int* weight,
                                     bool adjustByWeight)
{
    if (colsA != rowsB) return 1;
    const Operands x{rowsA, colsA, colsB, A, B, weight};
    Multiply<weightLast>(x, out, [select, adjustByWeight](int j, const CellSums& sums) {
        if (select[j] != 1) return 0.0;
        const double share = adjustByWeight ? sums.weighted : sums.present;
        return share > 0.0 ? sums.terms / (share / sums.all) : sums.terms;
    });
    return 0;
}
