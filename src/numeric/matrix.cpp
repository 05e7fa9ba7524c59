#include "numeric/matrix.hpp"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <utility>

#include "numeric/statistics.hpp"
#include "shell/arrays.hpp"

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
double Term(double a, double b, double weight)
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

// The fast form works on blocks of rows and columns, so that a stretch of a row of B is read once
// for several communities and the sums stay in the nearest cache.
constexpr int blockRows = 8;
constexpr int blockCols = 128;

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

/// The sums of a block of output cells. Without missing cells in B, `weighted` and `present` are
/// the same in all columns and are kept once per row.
struct Block {
    double terms[blockRows][blockCols];
    double weighted[blockRows][blockCols];
    double present[blockRows][blockCols];
    double rowWeighted[blockRows];
    double rowPresent[blockRows];
    double rowAll[blockRows];
    bool rowSkipped[blockRows];
    bool colSkipped[blockCols];
};

/// Adds the terms of one k to `width` neighbouring cells. The lanes are separate sums, each of
/// which grows in order of k; nothing is regrouped.
template <TermOrder order>
void AddTerms(int width, double a, double weight, const double* b, double* terms)
{
    if (weight == 1.0) { // a factor of 1 leaves every bit as it is
        #pragma omp simd
        for (int j = 0; j < width; j++) terms[j] += a * b[j];
        return;
    }
    #pragma omp simd
    for (int j = 0; j < width; j++) terms[j] += Term<order>(a, b[j], weight);
}

/// The same where b may hold missing cells: they add +0, which leaves a sum as it is, because a
/// sum that began at +0 is never -0.
template <TermOrder order>
void AddTermsHoled(int width, double a, double weight, const double* b, double* terms,
                   double* weighted, double* present)
{
    const double weightedA = weight * a;
    #pragma omp simd
    for (int j = 0; j < width; j++) {
        const bool isMissing = IsMissing(b[j]);
        terms[j] += isMissing ? 0.0 : Term<order>(a, b[j], weight);
        weighted[j] += isMissing ? 0.0 : weightedA;
        present[j] += isMissing ? 0.0 : a;
    }
}

/// Fills the block of nRows x nCols cells from row i0 and column j0 on, k ascending.
template <TermOrder order>
void FillBlock(const Operands& x, Content contentB, int i0, int nRows, int j0, int nCols,
               Block& block)
{
    for (int r = 0; r < nRows; r++) {
        std::fill_n(block.terms[r], nCols, 0.0);
        std::fill_n(block.weighted[r], nCols, 0.0);
        std::fill_n(block.present[r], nCols, 0.0);
        block.rowWeighted[r] = block.rowPresent[r] = block.rowAll[r] = 0.0;
        block.rowSkipped[r] = false;
    }
    for (int k = 0; k < x.inner; k++) {
        const double* b = x.B[k] + j0;
        const double weight = x.Weight(k);
        for (int r = 0; r < nRows; r++) {
            const double a = x.A[i0 + r][k];
            // An absent OTU adds a zero to each sum, and so changes no bit of it.
            if (a == 0.0) continue;
            block.rowAll[r] += a;
            if (IsMissing(a)) {
                block.rowSkipped[r] = true;
            } else if (contentB == holed) {
                AddTermsHoled<order>(nCols, a, weight, b, block.terms[r], block.weighted[r],
                                     block.present[r]);
            } else {
                AddTerms<order>(nCols, a, weight, b, block.terms[r]);
                block.rowWeighted[r] += weight * a;
                block.rowPresent[r] += a;
            }
        }
    }
}

/// Which of the columns from j0 on hold a missing cell of B.
void MarkHoledColumns(const Operands& x, Content contentB, int j0, int nCols, bool* colSkipped)
{
    std::fill_n(colSkipped, nCols, false);
    if (contentB != holed) return;
    for (int k = 0; k < x.inner; k++)
        for (int j = 0; j < nCols; j++) colSkipped[j] |= IsMissing(x.B[k][j0 + j]);
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
    Block block;
    for (int j0 = 0; j0 < x.cols; j0 += blockCols) {
        const int nCols = std::min(blockCols, x.cols - j0);
        MarkHoledColumns(x, contentB, j0, nCols, block.colSkipped);
        for (int i0 = 0; i0 < x.rows; i0 += blockRows) {
            const int nRows = std::min(blockRows, x.rows - i0);
            FillBlock<order>(x, contentB, i0, nRows, j0, nCols, block);
            for (int r = 0; r < nRows; r++)
                for (int j = 0; j < nCols; j++)
                    out[i0 + r][j0 + j] = finish(j0 + j, SumsOf(block, contentB, r, j));
        }
    }
}

/// A result of 0 from incomplete data says nothing: it becomes missing.
double ZeroToMissing(double value, bool skipped)
{
    return value == 0.0 && skipped ? missingValue : value;
}

// ---- Steps of gaussj; arrays count from 1 -------------------------------------------------------

struct Pivot {
    int row = 1;
    int col = 1;
};

/// The largest cell among rows and columns not yet used, the last one of equals. Keeps `previous`
/// when nothing can be found.
Pivot FindPivot(double** a, int n, const int* used, Pivot previous)
{
    Pivot pivot = previous;
    double best = 0.0;
    for (int j = 1; j <= n; j++) {
        if (used[j] == 1) continue;
        for (int k = 1; k <= n; k++) {
            if (used[k] > 1) {
                std::fprintf(stderr, "gaussj: Singular Matrix-1");
            } else if (used[k] == 0 && std::fabs(a[j][k]) >= best) {
                best = std::fabs(a[j][k]);
                pivot.row = j;
                pivot.col = k;
            }
        }
    }
    return pivot;
}

void ScaleRow(double* row, int n, double factor)
{
    for (int l = 1; l <= n; l++) row[l] *= factor;
}

void SubtractRow(double* row, const double* pivotRow, int n, double factor)
{
    for (int l = 1; l <= n; l++) row[l] -= pivotRow[l] * factor;
}

/// Makes column c of the identity out of column c of a, and puts the inverse's column in its place.
void Eliminate(double** a, int n, double** b, int m, int c)
{
    if (a[c][c] == 0.0) std::fprintf(stderr, "gaussj: Singular Matrix-2");
    const double inversePivot = 1.0 / a[c][c];
    a[c][c] = 1.0;
    ScaleRow(a[c], n, inversePivot);
    ScaleRow(b[c], m, inversePivot);
    for (int row = 1; row <= n; row++) {
        if (row == c) continue;
        const double factor = a[row][c];
        a[row][c] = 0.0;
        SubtractRow(a[row], a[c], n, factor);
        SubtractRow(b[row], b[c], m, factor);
    }
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

int MatrixSum(int rowsA, int colsA, int rowsB, int colsB, double** A, double** B, double** out,
              int sign)
{
    if (rowsA != rowsB || colsA != colsB) return 1;
    for (int i = 0; i < rowsA; i++)
        for (int j = 0; j < colsA; j++) out[i][j] = A[i][j] + sign * B[i][j];
    return 0;
}

void ScalarMatrixProd(int rows, int cols, double scalar, double** in, double** out)
{
    for (int i = 0; i < rows; i++)
        for (int j = 0; j < cols; j++)
            out[i][j] = IsMissing(in[i][j]) ? missingValue : scalar * in[i][j];
}

void TransposeMatrix(int rows, int cols, double** in, double** out)
{
    for (int i = 0; i < rows; i++)
        for (int j = 0; j < cols; j++) out[j][i] = in[i][j];
}

void TransposeSqMatrix(int n, double** in, double** out)
{
    for (int i = 0; i < n; i++)
        for (int j = 0; j <= i; j++) {
            // Deliberate: the cell that is saved is out's, so the exchange is made for one matrix.
            const double saved = out[j][i];
            out[j][i] = in[i][j];
            out[i][j] = saved;
        }
}

void CopyMatrix(int rows, int cols, double** in, double** out)
{
    for (int i = 0; i < rows; i++)
        for (int j = 0; j < cols; j++) out[i][j] = in[i][j];
}

void UpperToLowerMatrix(int n, double** M)
{
    for (int i = 0; i < n; i++)
        for (int j = i + 1; j < n; j++) M[j][i] = M[i][j];
}

void Convertn_n1(int rows, int cols, double** in, double** out)
{
    for (int i = 0; i < rows; i++)
        for (int j = 0; j < cols; j++) out[i + 1][j + 1] = in[i][j];
}

void Convertn1_n(int rows, int cols, double** in, double** out)
{
    for (int i = 0; i < rows; i++)
        for (int j = 0; j < cols; j++) out[i][j] = in[i + 1][j + 1];
}

void gaussj(double** a, int n, double** b, int m)
{
    OwnedInts used(n + 1L);      // how often a column was a pivot's
    OwnedInts pivotRows(n + 1L); // of each round
    OwnedInts pivotCols(n + 1L);
    Pivot pivot;
    for (int round = 1; round <= n; round++) {
        pivot = FindPivot(a, n, used, pivot);
        used[pivot.col]++;
        // The pivot goes to the diagonal; cells are exchanged, not the caller's row pointers.
        if (pivot.row != pivot.col) {
            std::swap_ranges(a[pivot.row] + 1, a[pivot.row] + n + 1, a[pivot.col] + 1);
            std::swap_ranges(b[pivot.row] + 1, b[pivot.row] + m + 1, b[pivot.col] + 1);
        }
        pivotRows[round] = pivot.row;
        pivotCols[round] = pivot.col;
        Eliminate(a, n, b, m, pivot.col);
    }
    // Rows of a exchanged on the way are columns of its inverse: undone last to first.
    for (int round = n; round >= 1; round--) {
        if (pivotRows[round] == pivotCols[round]) continue;
        for (int k = 1; k <= n; k++) std::swap(a[k][pivotRows[round]], a[k][pivotCols[round]]);
    }
}

int choldc(double** a, int n, double* p)
{
    for (int i = 0; i < n; i++)
        for (int j = i; j < n; j++) {
            double sum = a[i][j];
            for (int k = i - 1; k >= 0; k--) sum -= a[i][k] * a[j][k];
            if (i != j) {
                a[j][i] = sum / p[i];
            } else if (sum > 0.0) {
                p[i] = std::sqrt(sum);
            } else {
                std::printf("\ncholdc failed");
                return 0;
            }
        }
    return 1;
}
