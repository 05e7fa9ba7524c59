// SPDX-License-Identifier: GPL-3.0-or-later
#include "numeric/information.hpp"

#include <algorithm>
#include <cfloat>
#include <cmath>

#include "numeric/statistics.hpp"
#include "shell/arrays.hpp"
#include "shell/failure.hpp"
#include "shell/files.hpp"
#include "shell/scanners.hpp"
#include "shell/table.hpp"

namespace {

/// The states of x in order of first appearance; returns their number.
///
/// states  room for n
int CollectStates(int n, const double* x, int* states)
{
    int nStates = 0;
    for (int i = 0; i < n; i++) {
        if (IsMissing(x[i])) continue;
        // The value is compared as it is: one that is not whole equals no state.
        const bool known =
            std::any_of(states, states + nStates, [&](int state) { return x[i] == state; });
        if (!known) states[nStates++] = ToInt(x[i]);
    }
    return nStates;
}

void PrintStates(std::FILE* print, int nStates, const int* states)
{
    for (int i = 0; i < nStates; i++) std::fprintf(print, "%d\t", states[i]);
}

/// A table as shares of its total, with its margins.
struct Proportions {
    Proportions(int rows, int cols, double** table)
        : nRows(rows), nCols(cols), cells(rows, cols), rowMargins(rows), colMargins(cols)
    {
        RowTotalsMV(rows, cols, table, rowMargins);
        ColTotalsMV(rows, cols, table, colMargins);
        const double total = MatrixTotalMV(rows, cols, table);
        if (!(total > 0.0)) return;
        for (int i = 0; i < rows; i++) rowMargins[i] /= total;
        for (int j = 0; j < cols; j++) colMargins[j] /= total;
        for (int i = 0; i < rows; i++)
            for (int j = 0; j < cols; j++)
                cells.table[i][j] = IsMissing(table[i][j]) ? missingValue : table[i][j] / total;
    }
    const int nRows;
    const int nCols;
    OwnedRows cells;
    OwnedVector rowMargins;
    OwnedVector colMargins;
};

/// The sum behind an entropy; shares of 0 and missing ones add nothing.
void AddTerms(int n, const double* shares, double alpha, double* sum)
{
    for (int i = 0; i < n; i++)
        if (shares[i] > 0.0)
            *sum += alpha == 1.0 ? shares[i] * std::log(shares[i]) : std::pow(shares[i], alpha);
}

double EntropyOfSum(double sum, double alpha)
{
    if (alpha != 1.0) return std::log(sum) / (1.0 - alpha);
    return sum < 0.0 ? -sum : sum;
}

struct Entropies {
    double joint = 0.0;
    double cols = 0.0;
    double rows = 0.0;

    Entropies(const Proportions& p, double alpha)
    {
        for (int i = 0; i < p.nRows; i++) AddTerms(p.nCols, p.cells.table[i], alpha, &joint);
        AddTerms(p.nCols, p.colMargins, alpha, &cols);
        AddTerms(p.nRows, p.rowMargins, alpha, &rows);
        joint = EntropyOfSum(joint, alpha);
        cols = EntropyOfSum(cols, alpha);
        rows = EntropyOfSum(rows, alpha);
    }
};

/// What two vectors share, from the entropies of their table; starts as nothing.
struct Association {
    double mutual = 0.0;
    double ratio = 1.0;
    double coherence = 0.0;

    Association(double joint, double colsH, double rowsH)
    {
        const double shared = colsH + rowsH - joint;
        if (shared < 0.0) return; // by rounding, of independent vectors
        mutual = shared;
        ratio = 1.0 - mutual / joint;
        coherence = std::fabs(std::sqrt(1.0 - ratio * ratio));
    }
};

/// Writes measure(rows, cols, table) of the contingency table of each pair of rows into the upper
/// triangle with the diagonal.
template <typename Measure>
void EachContingencyTable(int n, int p, double** data, double** out, char print, Measure measure)
{
    const bool printed = print == 1;
    OutputFile tables;
    if (printed) tables.Open("Tables.txt", nullptr, "w");

    // CountStates passes over negative states, which need room too, so the states are collected.
    int largest = 0;
    OwnedInts states(p);
    for (int i = 0; i < n; i++) largest = std::max(largest, CollectStates(p, data[i], states));
    OwnedRows table(largest, largest);
    int dims[2] = {0, 0};
    for (int i = 0; i < n; i++)
        for (int k = i; k < n; k++) {
            if (printed)
                std::fprintf(tables, "\nContingency table var.%d x var.%d:\n", i + 1, k + 1);
            ContingencyMV(p, data[i], data[k], table, dims, tables);
            out[i][k] = measure(dims[0], dims[1], table.table);
        }
    tables.Close();
}

double ChiSquare(int rows, int cols, double** table)
{
    OwnedVector rowTotals(rows);
    OwnedVector colTotals(cols);
    RowTotalsMV(rows, cols, table, rowTotals);
    ColTotalsMV(rows, cols, table, colTotals);
    const double total = MatrixTotalMV(rows, cols, table);
    double sum = 0.0;
    for (int i = 0; i < rows; i++)
        for (int j = 0; j < cols; j++) {
            const double expected = rowTotals[i] * colTotals[j] / total;
            sum += (table[i][j] - expected) * (table[i][j] - expected) / expected;
        }
    return sum;
}

/// sum + addend in double, kept in single precision.
float AddToFloat(float sum, double addend)
{
    return static_cast<float>(static_cast<double>(sum) + addend);
}

/// Deliberate: the two sums are in single precision, and a missing partner is taken as -999;
/// users' earlier results depend on it.
double Divergence(int p, const double* xs, const double* ys)
{
    float A = 0.0F;
    float B = 0.0F;
    for (int j = 0; j < p; j++) {
        const double x = xs[j];
        const double y = ys[j];
        if (x > 0.0) A = AddToFloat(A, x * std::log(2.0 * x / (x + y)));
        if (y > 0.0) B = AddToFloat(B, y * std::log(2.0 * y / (x + y)));
    }
    return static_cast<double>(B + A);
}

} // namespace

void ContingencyMV(int n, const double* x, const double* y, double** table, int* dims,
                   std::FILE* print)
{
    OwnedInts rowStates(n);
    OwnedInts colStates(n);
    const int nRows = dims[0] = CollectStates(n, x, rowStates);
    const int nCols = dims[1] = CollectStates(n, y, colStates);
    for (int a = 0; a < nRows; a++) std::fill(table[a], table[a] + nCols, 0.0);
    for (int i = 0; i < n; i++) {
        if (IsMissing(x[i]) || IsMissing(y[i])) continue;
        for (int a = 0; a < nRows; a++)
            for (int b = 0; b < nCols && x[i] == rowStates[a]; b++)
                if (y[i] == colStates[b]) table[a][b] += 1.0;
    }
    if (print == nullptr) return;
    std::fprintf(print, "Row states (%d): ", nRows);
    PrintStates(print, nRows, rowStates);
    std::fprintf(print, "\nColumn states (%d): ", nCols);
    PrintStates(print, nCols, colStates);
    std::fprintf(print, "\n");
    PrintMatrixFloat(print, nRows, nCols, table, 6, 0);
}

void EntropyMV(int rows, int cols, double** table, double* joint, double* colsH, double* rowsH,
               double from, double to, double by)
{
    const Proportions p(rows, cols, table);
    int entry = 0;
    for (double alpha = from; alpha <= to; alpha += by, entry++) {
        const Entropies entropies(p, alpha);
        joint[entry] = entropies.joint;
        colsH[entry] = entropies.cols;
        rowsH[entry] = entropies.rows;
    }
}

void Entropy_MV(int rows, int cols, double** table, double* joint, double* colsH, double* rowsH,
                double* mutual, double* ratio, double* coherence, double from, double to, double by)
{
    EntropyMV(rows, cols, table, joint, colsH, rowsH, from, to, by);
    int entry = 0;
    for (double alpha = from; alpha <= to; alpha += by, entry++) {
        const Association association(joint[entry], colsH[entry], rowsH[entry]);
        mutual[entry] = association.mutual;
        ratio[entry] = association.ratio;
        coherence[entry] = association.coherence;
    }
}

double CoheCoefMV(int rows, int cols, double** table, double alpha)
{
    const double order = SinglePrecision(alpha);
    const Entropies entropies(Proportions(rows, cols, table), order);
    return Association(entropies.joint, entropies.cols, entropies.rows).coherence;
}

double MutualEntropyMV(int rows, int cols, double** table, double alpha)
{
    const Proportions p(rows, cols, table);
    double sum = 0.0;
    for (int i = 0; i < rows; i++)
        for (int j = 0; j < cols; j++) {
            const double share = p.cells.table[i][j];
            if (!(share > 0.0)) continue;
            const double expected = p.rowMargins[i] * p.colMargins[j];
            sum += alpha == 1.0 ? share * std::log(share / expected)
                                : std::pow(share, alpha) / std::pow(expected, alpha - 1.0);
        }
    return alpha == 1.0 ? sum : std::log(sum) / (alpha - 1.0);
}

void IDivergenceMV(int n, int p, double** data, double** out)
{
    for (int i = 0; i < n; i++)
        for (int k = i; k < n; k++) out[i][k] = Divergence(p, data[i], data[k]);
}

void MutualInformationMV(int n, int p, double** data, double** out)
{
    IDivergenceMV(n, p, data, out);
    OwnedVector T(n);
    RowTotalsMV(n, p, data, T);
    for (int i = 0; i < n; i++)
        for (int k = i; k < n; k++)
            out[i][k] -= T[k] * std::log(2.0 * T[k] / (T[i] + T[k])) +
                         T[i] * std::log(2.0 * T[i] / (T[i] + T[k]));
}

void MDISMV(int n, int p, double** data, double** out, char print)
{
    EachContingencyTable(n, p, data, out, print, [](int rows, int cols, double** table) {
        const double I = MutualEntropyMV(rows, cols, table, 1.0);
        return 2.0 * I * MatrixTotalMV(rows, cols, table);
    });
}

void MutualEntropyPairwiseMV(int n, int p, double** data, double** out, double alpha, char print)
{
    EachContingencyTable(n, p, data, out, print, [alpha](int rows, int cols, double** table) {
        return MutualEntropyMV(rows, cols, table, alpha);
    });
}

void CoheCoefPairwiseMV(int n, int p, double** data, double** out, float alpha, char print)
{
    EachContingencyTable(n, p, data, out, print, [alpha](int rows, int cols, double** table) {
        return CoheCoefMV(rows, cols, table, static_cast<double>(alpha));
    });
}

void QuiSquareMV(int n, int p, double** data, double** out, char print)
{
    EachContingencyTable(n, p, data, out, print, ChiSquare);
}

double SumAbsDeviations(int n, const double* a, const double* b, bool squared)
{
    double totalA = 0.0;
    double totalB = 0.0;
    for (int i = 0; i < n; i++) {
        totalA += a[i];
        totalB += b[i];
    }
    if (n < 1 || !(totalA > 0.0) || !(totalB > 0.0)) return 0.0;

    double sum = 0.0;
    for (int i = 0; i < n; i++) {
        const double d = a[i] / totalA - b[i] / totalB;
        sum += squared ? d * d : std::fabs(d);
    }
    return 0.5 * sum;
}

void ClassesMV(int n, const double* x, double* out, int nClasses)
{
    double low = DBL_MAX;
    double high = -DBL_MAX;
    for (int i = 0; i < n; i++) {
        if (IsMissing(x[i])) continue;
        low = std::min(low, x[i]);
        high = std::max(high, x[i]);
    }
    ClassesDefinitionMV(n, x, out, nClasses, low, high);
}

void ClassesDefinitionMV(int n, const double* x, double* out, int nClasses, double low,
                         double high)
{
    for (int i = 0; i < n; i++) {
        if (x[i] == low)
            out[i] = 1.0; // first: a constant variable is all class 1
        else if (x[i] == high)
            out[i] = nClasses;
        else if (IsMissing(x[i]))
            out[i] = missingValue;
        else
            out[i] = std::ceil((x[i] - low) * nClasses / (high - low));
    }
}
