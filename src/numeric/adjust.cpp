// SPDX-License-Identifier: GPL-3.0-or-later
#include "numeric/adjust.hpp"

#include <cmath>
#include <limits>

#include "numeric/statistics.hpp"
#include "shell/arrays.hpp"

namespace {

/// Sum and number of the present cells of a row or column.
struct PresentCells {
    double sum = 0.0;
    int count = 0;
    void Add(double x)
    {
        if (IsMissing(x)) return;
        sum += x;
        count++;
    }
    double Mean() const { return sum / count; } // only used where a cell is present
};

template <typename Number>
double ColumnMean(int rows, int j, Number** M)
{
    PresentCells cells;
    for (int i = 0; i < rows; i++) cells.Add(static_cast<double>(M[i][j]));
    return cells.Mean();
}

PresentCells RowCells(int cols, const double* row)
{
    PresentCells cells;
    for (int j = 0; j < cols; j++) cells.Add(row[j]);
    return cells;
}

double ColumnSumOfSquaresMV(int rows, int j, double** M)
{
    double sumSquares = 0.0;
    for (int i = 0; i < rows; i++)
        if (!IsMissing(M[i][j])) sumSquares += M[i][j] * M[i][j];
    return sumSquares;
}

/// The root of a sum of squares as divisor; 1 if it is not above 0, a NaN among them.
double RootOrOne(double sumSquares)
{
    return sumSquares > 0.0 ? std::sqrt(sumSquares) : 1.0;
}

void DivideRowMV(int cols, const double* in, double divisor, double* out)
{
    for (int j = 0; j < cols; j++) out[j] = IsMissing(in[j]) ? missingValue : in[j] / divisor;
}

void DivideColumnMV(int rows, int j, double** in, double divisor, double** out)
{
    for (int i = 0; i < rows; i++)
        out[i][j] = IsMissing(in[i][j]) ? missingValue : in[i][j] / divisor;
}

void DivideMV(int rows, int cols, double** M, double divisor)
{
    for (int i = 0; i < rows; i++)
        for (int j = 0; j < cols; j++)
            if (!IsMissing(M[i][j])) M[i][j] /= divisor;
}

} // namespace

void CenterColsMV(int rows, int cols, double** in, double** out)
{
    for (int j = 0; j < cols; j++) {
        const double mean = ColumnMean(rows, j, in);
        for (int i = 0; i < rows; i++)
            out[i][j] = IsMissing(in[i][j]) ? missingValue : in[i][j] - mean;
    }
}

void CenterColsMV(int rows, int cols, float** in, double** out)
{
    for (int j = 0; j < cols; j++) {
        const double mean = ColumnMean(rows, j, in);
        for (int i = 0; i < rows; i++) {
            const double x = static_cast<double>(in[i][j]);
            // Single-precision data give single-precision deviations.
            out[i][j] = IsMissing(x) ? missingValue : SinglePrecision(x - mean);
        }
    }
}

void CenterRowsMV(int rows, int cols, double** in, double** out)
{
    for (int i = 0; i < rows; i++) {
        const double mean = RowCells(cols, in[i]).Mean();
        for (int j = 0; j < cols; j++)
            out[i][j] = IsMissing(in[i][j]) ? missingValue : in[i][j] - mean;
    }
}

void CenterRowsCovMV(int rows, int cols, double** in, double** out)
{
    for (int i = 0; i < rows; i++) {
        const PresentCells cells = RowCells(cols, in[i]);
        const double mean = cells.Mean();
        const double divisor = std::sqrt(cells.count - 1.0);
        for (int j = 0; j < cols; j++)
            out[i][j] = IsMissing(in[i][j]) ? missingValue : (in[i][j] - mean) / divisor;
    }
}

void NormalizeRowsMV(int rows, int cols, double** in, double** out)
{
    for (int i = 0; i < rows; i++)
        DivideRowMV(cols, in[i], RootOrOne(SumOfSquares(cols, in[i])), out[i]);
}

void NormalizeColsMV(int rows, int cols, double** in, double** out)
{
    for (int j = 0; j < cols; j++)
        DivideColumnMV(rows, j, in, RootOrOne(ColumnSumOfSquaresMV(rows, j, in)), out);
}

void NormalizeCols(int rows, int cols, double** in, double** out)
{
    for (int j = 0; j < cols; j++) {
        double sumSquares = 0.0;
        for (int i = 0; i < rows; i++) sumSquares += in[i][j] * in[i][j];
        const double divisor = RootOrOne(sumSquares);
        for (int i = 0; i < rows; i++) out[i][j] = in[i][j] / divisor;
    }
}

void ZStandardizationRowsMV(int rows, int cols, double** in, double** out)
{
    CenterRowsMV(rows, cols, in, out);
    for (int i = 0; i < rows; i++) {
        double sumSquares = 0.0;
        for (int j = 0; j < cols; j++)
            if (!IsMissing(in[i][j])) sumSquares += out[i][j] * out[i][j];
        const double sd = sumSquares > 0.0 ? std::sqrt(sumSquares / cols) : 1.0;
        for (int j = 0; j < cols; j++)
            if (!IsMissing(in[i][j])) out[i][j] /= sd;
    }
}

void ZStandardizationColsMV(int rows, int cols, double** in, double** out)
{
    CenterColsMV(rows, cols, in, out);
    for (int j = 0; j < cols; j++) {
        double sumSquares = 0.0;
        for (int i = 0; i < rows; i++)
            if (!IsMissing(in[i][j])) sumSquares += out[i][j] * out[i][j];
        const double sd = sumSquares > 0.0 ? std::sqrt(sumSquares / rows) : 1.0;
        for (int i = 0; i < rows; i++)
            if (!IsMissing(in[i][j])) out[i][j] /= sd;
    }
}

void ZStandardizationRowsMV(int rows, int cols, const double* mean, const double* sd, double** in,
                            double** out)
{
    for (int i = 0; i < rows; i++)
        for (int j = 0; j < cols; j++)
            if (!IsMissing(in[i][j])) out[i][j] = (in[i][j] - mean[i]) / sd[i];
}

void CorrAdj(int rows, int cols, double** out, double** in)
{
    for (int j = 0; j < cols; j++) {
        const double mean = ColumnMean(rows, j, in);
        double sumSquares = 0.0;
        for (int i = 0; i < rows; i++) {
            if (IsMissing(in[i][j])) continue;
            const double deviation = in[i][j] - mean;
            sumSquares += deviation * deviation;
        }
        const double divisor = RootOrOne(sumSquares);
        // Deliberate: rounded to single precision; distances on adjusted data build on it.
        for (int i = 0; i < rows; i++)
            if (!IsMissing(in[i][j])) out[i][j] = SinglePrecision((in[i][j] - mean) / divisor);
    }
}

void UnitSumRowsAdjMV(int rows, int cols, double** out, double** in)
{
    for (int i = 0; i < rows; i++) {
        const double total = RowCells(cols, in[i]).sum;
        DivideRowMV(cols, in[i], total == 0.0 ? 1.0 : total, out[i]);
    }
}

void RangeColsAdjMV(int rows, int cols, double** out, double** in)
{
    for (int j = 0; j < cols; j++) {
        double smallest = std::numeric_limits<float>::max();
        double largest = -smallest;
        for (int i = 0; i < rows; i++) {
            if (IsMissing(in[i][j])) continue;
            if (in[i][j] < smallest) smallest = in[i][j];
            if (in[i][j] > largest) largest = in[i][j];
        }
        const double range = largest - smallest == 0.0 ? 1.0 : largest - smallest;
        for (int i = 0; i < rows; i++)
            out[i][j] = IsMissing(in[i][j]) ? missingValue : (in[i][j] - smallest) / range;
    }
}

void DeviationsExpectationsMV(int rows, int cols, double** in, double** out)
{
    OwnedVector rowTotals(rows);
    OwnedVector colTotals(cols);
    RowTotalsMV(rows, cols, in, rowTotals);
    ColTotalsMV(rows, cols, in, colTotals);
    const double N = MatrixTotalMV(rows, cols, in);
    for (int i = 0; i < rows; i++)
        for (int j = 0; j < cols; j++) {
            const double R = rowTotals[i];
            const double C = colTotals[j];
            const double x = in[i][j];
            const bool hasExpectation = !IsMissing(x) && R > 0.0 && C > 0.0;
            out[i][j] = hasExpectation ? (x * N - R * C) / (std::sqrt(R * C) * N) : x;
        }
}

void GowerStandardizationRows(int rows, int cols, double** M)
{
    double total = 0.0;
    for (int i = 0; i < rows; i++) total += SumOfSquares(cols, M[i]) / (cols - 1.0);
    DivideMV(rows, cols, M, std::sqrt(total));
}

void GowerStandardizationCols(int rows, int cols, double** M)
{
    double total = 0.0;
    for (int j = 0; j < cols; j++) total += ColumnSumOfSquaresMV(rows, j, M) / (rows - 1.0);
    DivideMV(rows, cols, M, std::sqrt(total));
}

void MatrixUnitMaxTransf(int rows, int cols, double** in, double** out)
{
    double largest = 0.0;
    for (int i = 0; i < rows; i++)
        for (int j = 0; j < cols; j++)
            if (in[i][j] > largest) largest = in[i][j];
    if (!(largest > 0.0)) return;
    for (int i = 0; i < rows; i++)
        for (int j = 0; j < cols; j++) out[i][j] = in[i][j] / largest;
}
