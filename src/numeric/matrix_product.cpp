// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <cmath>

#include "numeric/matrix.hpp"
#include "numeric/product_kernels.hpp"
#include "numeric/statistics.hpp"

namespace {

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

/// Collects the OTUs k0..k1-1 present in row `row` of A, and keeps the sums that no column alters.
/// `filled` is null unless B is holed.
int CollectFactors(const Operands& x, int k0, int k1, int row, const Filled* filled, Block& block,
                   ProductFactor* factors)
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
            ProductFactor{a, weight, weight * a,
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
void FillSums(const Operands& x, Content contentB, TermOrder order, bool isSimple, Block& block)
{
    const ProductKernels& kernels = ActiveProductKernels();
    ProductFactor factors[blockInner];
    Filled filled;
    for (int k0 = 0; k0 < x.inner; k0 += blockInner) {
        const int k1 = std::min(k0 + blockInner, x.inner);
        if (contentB == holed) FillHoles(x, k0, k1, block, filled);
        for (int r = 0; r < block.nRows; r++) {
            const int nFactors = CollectFactors(x, k0, k1, block.firstRow + r,
                                                contentB == holed ? &filled : nullptr, block,
                                                factors);
            if (contentB == holed)
                kernels.addHoled[order][isSimple](block.nCols, factors, nFactors, block.terms[r],
                                                  block.weighted[r], block.present[r]);
            else
                kernels.addWhole[order][isSimple](block.nCols, factors, nFactors, block.terms[r]);
        }
    }
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
    const bool isSimple = order == weightTimesA || IsMask(x);
    Block block;
    for (int j0 = 0; j0 < x.cols; j0 += blockCols) {
        block.firstCol = j0;
        block.nCols = std::min(blockCols, x.cols - j0);
        MarkHoledColumns(x, contentB, block);
        for (int i0 = 0; i0 < x.rows; i0 += blockRows) {
            block.firstRow = i0;
            block.nRows = std::min(blockRows, x.rows - i0);
            ClearSums(block);
            FillSums(x, contentB, order, isSimple, block);
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
