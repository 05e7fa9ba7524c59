// SPDX-License-Identifier: GPL-3.0-or-later
#include "numeric/regression.hpp"

#include <algorithm>

#include "numeric/adjust.hpp"
#include "numeric/matrix.hpp"
#include "numeric/resemblance.hpp"
#include "numeric/statistics.hpp"

namespace {

/// Means as sums of value / n, in row order.
template <typename Cell>
void ColumnMeans(int n, int cols, Cell** M, double* means)
{
    for (int j = 0; j < cols; j++) means[j] = 0.0;
    for (int i = 0; i < n; i++)
        for (int j = 0; j < cols; j++) means[j] += static_cast<double>(M[i][j]) / n;
}

/// Sum of squared deviations of one column; `column` has room for n cells.
double ColumnSumOfSquares(int n, double** M, int j, double* column)
{
    for (int i = 0; i < n; i++) column[i] = M[i][j];
    return SumOfSquaresDev(n, column);
}

void CheckedProd(int rowsA, int colsA, int rowsB, int colsB, double** A, double** B, double** out,
                 int language)
{
    if (MatrixProd(rowsA, colsA, rowsB, colsB, A, B, out) != 1) return;
    if (language == 0)
        std::printf("Matrices are not compatible");
    else
        std::printf("Matrizes nao compativeis");
}

/// Coefficients B from the normal equations X'X B = X'Y of the centred matrices.
void SolveNormalEquations(int n, int pY, int pX, double** B, int language, RegressionRoom& room)
{
    TransposeMatrix(n, pX, room.Xc, room.transposed);
    CheckedProd(pX, n, n, pX, room.transposed, room.Xc, room.products, language);
    CheckedProd(pX, n, n, pY, room.transposed, room.Yc, B, language);

    Convertn_n1(pX, pX, room.products, room.products1);
    Convertn_n1(pX, pY, B, room.B1);
    gaussj(room.products1, pX, room.B1, pY, room.used, room.pivotRows, room.pivotCols);
    Convertn1_n(pX, pY, room.B1, B);
}

template <typename Cell>
void PrintRows(std::FILE* out, int rows, int cols, Cell** M)
{
    for (int i = 0; i < rows; i++) {
        for (int j = 0; j < cols; j++) std::fprintf(out, "%g\t", static_cast<double>(M[i][j]));
        std::fprintf(out, "\n");
    }
}

void PrintVector(std::FILE* out, int n, const double* values)
{
    for (int j = 0; j < n; j++) std::fprintf(out, "%g\t", values[j]);
}

/// Y - P, plus a constant for each column if `means` is not null.
template <typename Cell>
void PrintResiduals(std::FILE* out, int n, int pY, Cell** Y, double** P, const double* means)
{
    for (int i = 0; i < n; i++) {
        for (int k = 0; k < pY; k++) {
            const double y = static_cast<double>(Y[i][k]);
            std::fprintf(out, "%g\t", means == nullptr ? y - P[i][k] : means[k] + y - P[i][k]);
        }
        std::fprintf(out, "\n");
    }
}

// clang-format off
const char* const headings[][2] = {
    {"\nFactor matrix:\n", "\nMatriz de fatores:\n"},
    {"\nResponse matrix:\n", "\nMatriz de respostas:\n"},
    {"\nRegression coefficients for each factor (rows), one model for each response variable (coluns):\n",
     "\nCoeficientes de regressao para cada fator (linhas), um modelo para cada variavel resposta (colunas):\n"},
    {"\nIntersection (bo for each response variable):\n",
     "\nInterseccao (bo para cada variavel resposta):\n"},
    {"\n\nPredicted model responses (for each response variable in columns, and sampling unit in rows):\n",
     "\n\nRespostas preditas pelo modelo (para cada variavel resposta em colunas, e unidade amostral em linhas):\n"},
    {"\nResiduals not explained by the model (for each response variable in columns, and sampling unit in rows):\n",
     "\nResiduos nao explicados pelo modelo (para cada variavel resposta em colunas, e unidade amostral em linhas):\n"},
    {"\nResponse variables with values adjusted by removing the effects of the predictor variable(s) (this is simply the residuals plus the mean of the response variable) (for each response variable in columns, and sampling unit in rows):\n",
     "\nVariaveis resposta ajustadas pela remocao dos efeitos das variaveis preditoras (corresponde aos residuos nao explicados pelo modelo mais a media da variavel resposta) (para cada variavel resposta em colunas, e unidade amostral em linhas):\n"},
};
// Indices of the headings.
enum Heading {
    factorMatrix, responseMatrix, coefficients, intercepts, predicted, residuals, adjusted
};
// clang-format on

/// All that a report of a fit shows.
template <typename Cell>
struct FittedModel {
    int n, pY, pX;
    Cell** Y;
    Cell** X;
    double** B;
    const double* b0;
    double** P;
    const double* r2;
    const double* meansY;
};

template <typename Cell>
void PrintModel(std::FILE* out, const FittedModel<Cell>& m, int language, bool printAll)
{
    const int word = language == 0 ? 0 : 1;
    const auto heading = [out, word](Heading h) { std::fputs(headings[h][word], out); };
    if (printAll) {
        heading(factorMatrix);
        PrintRows(out, m.n, m.pX, m.X);
        heading(responseMatrix);
        PrintRows(out, m.n, m.pY, m.Y);
    }
    heading(coefficients);
    for (int j = 0; j < m.pX; j++) {
        if (language == 0)
            std::fprintf(out, "Factor %d:\t", j + 1);
        else
            std::fprintf(out, "Fator %d:\t", j + 1);
        PrintVector(out, m.pY, m.B[j]);
        std::fprintf(out, "\n");
    }
    heading(intercepts);
    PrintVector(out, m.pY, m.b0);
    if (printAll) {
        heading(predicted);
        PrintRows(out, m.n, m.pY, m.P);
        heading(residuals);
        PrintResiduals(out, m.n, m.pY, m.Y, m.P, nullptr);
        heading(adjusted);
        PrintResiduals(out, m.n, m.pY, m.Y, m.P, m.meansY);
    }
    if (language == 0)
        std::fprintf(out, "\nCoefficient of determination (r squared) for %d response variables:\n",
                     m.pY);
    else
        std::fprintf(out,
                     "\nCoeficiente de determinacao (r ao quadrado) para %d variaveis resposta:\n",
                     m.pY);
    PrintVector(out, m.pY, m.r2);
    std::fprintf(out, "\n");
}

template <typename Cell>
void Fit(int n, int pY, int pX, Cell** Y, Cell** X, double** B, double* b0, double** P, double* r2,
         double* ssTotal, bool print, std::FILE* out, int language, bool printAll,
         RegressionRoom& room)
{
    room.Reserve(n, pY, pX);
    KeptVector& meansY = room.meansY;
    KeptVector& meansX = room.meansX;
    ColumnMeans(n, pY, Y, meansY);
    ColumnMeans(n, pX, X, meansX);

    KeptRows& Xc = room.Xc;
    CenterColsMV(n, pX, X, Xc);
    CenterColsMV(n, pY, Y, room.Yc);
    KeptVector& ss = room.sumSquares;
    for (int k = 0; k < pY; k++) {
        ss[k] = ColumnSumOfSquares(n, room.Yc, k, room.column);
        if (ssTotal != nullptr) ssTotal[k] = ss[k];
    }

    SolveNormalEquations(n, pY, pX, B, language, room);
    for (int k = 0; k < pY; k++) {
        double slopes = 0.0;
        for (int j = 0; j < pX; j++) slopes += B[j][k] * meansX[j];
        b0[k] = meansY[k] - slopes;
    }

    for (int i = 0; i < n; i++)
        for (int j = 0; j < pX; j++) Xc[i][j] += meansX[j];
    CheckedProd(n, pX, pX, pY, Xc, B, P, language);
    for (int k = 0; k < pY; k++) { // no guard: a response without variance gives NaN
        r2[k] = ColumnSumOfSquares(n, P, k, room.column) / ss[k];
        for (int i = 0; i < n; i++) P[i][k] += b0[k];
    }
    if (!print) return;
    const FittedModel<Cell> model = {n, pY, pX, Y, X, B, b0, P, r2, meansY};
    PrintModel(out, model, language, printAll);
}

/// A column of n single-precision cells, as n rows of one cell.
class FloatColumn
{
public:
    explicit FloatColumn(int n) : cells(n), rows(n)
    {
        for (int i = 0; i < n; i++) rows[i] = cells + i;
    }
    operator float**() const { return rows; }
    float& operator[](int i) { return cells[i]; }

private:
    const Owned<float> cells;
    const Owned<float*> rows; // borrowed: into cells
};

/// Rows of D: the selected columns of X, ascending; returns how many.
int SelectedColumnsAsRows(int n, int pX, double** X, const int* select, double** D)
{
    int r = 0;
    for (int j = 0; j < pX; j++) {
        if (select != nullptr && select[j] != 1) continue;
        for (int i = 0; i < n; i++) D[r][i] = X[i][j];
        r++;
    }
    return r;
}

/// R = Y minus what all pX factors predict.
void Residuals(int n, int pY, int pX, double** Y, double** X, double** R, ResidualsRoom& room)
{
    room.ReserveFit(n, pY, pX);
    regression(n, pY, pX, Y, X, room.B, room.b0, room.P, room.r2, room.fit);
    for (int i = 0; i < n; i++)
        for (int k = 0; k < pY; k++) R[i][k] = Y[i][k] - room.P.table[i][k];
}

} // namespace

void RegressionRoom::Reserve(int n, int pY, int pX)
{
    meansY.Reserve(pY);
    meansX.Reserve(pX);
    column.Reserve(n);
    sumSquares.Reserve(pY);
    Yc.Reserve(n, pY);
    Xc.Reserve(n, pX);
    transposed.Reserve(pX, n);
    products.Reserve(pX, pX);
    products1.Reserve(pX + 1, pX + 1);
    B1.Reserve(pX + 1, pY + 1);
    for (KeptInts* pivots : {&used, &pivotRows, &pivotCols}) pivots->Reserve(pX + 1);
}

void ResidualsRoom::Reserve(int n, int pY, int pX)
{
    D.Reserve(pX, n); // variables in rows
    G.Reserve(pX, pX);
    T.Reserve(n, pX);
    scores.Reserve(pX, n);
    axes.Reserve(pX, n);
    predictors.Reserve(n, pX);
    ReserveFit(n, pY, pX);
}

void ResidualsRoom::ReserveFit(int n, int pY, int pX)
{
    B.Reserve(pX, pY);
    P.Reserve(n, pY);
    b0.Reserve(pY);
    r2.Reserve(pY);
    fit.Reserve(n, pY, pX);
}

void regression(int n, int pY, int pX, double** Y, double** X, double** B, double* b0, double** P,
                double* r2, double* ssTotal, bool print, std::FILE* out, int language,
                bool printAll)
{
    RegressionRoom room;
    Fit(n, pY, pX, Y, X, B, b0, P, r2, ssTotal, print, out, language, printAll, room);
}

void regression(int n, int pY, int pX, double** Y, double** X, double** B, double* b0, double** P,
                double* r2)
{
    RegressionRoom room;
    regression(n, pY, pX, Y, X, B, b0, P, r2, room);
}

void regression(int n, int pY, int pX, double** Y, double** X, double** B, double* b0, double** P,
                double* r2, RegressionRoom& room)
{
    Fit(n, pY, pX, Y, X, B, b0, P, r2, nullptr, false, nullptr, 1, true, room);
}

void regression(int n, int pY, int pX, float** Y, float** X, double** B, double* b0, double** P,
                double* r2, double* ssTotal, bool print, std::FILE* out, int language,
                bool printAll)
{
    RegressionRoom room;
    Fit(n, pY, pX, Y, X, B, b0, P, r2, ssTotal, print, out, language, printAll, room);
}

void regression(int n, int pY, int pX, float** Y, float** X, double** B, double* b0, double** P,
                double* r2)
{
    regression(n, pY, pX, Y, X, B, b0, P, r2, nullptr, false, nullptr, 1, true);
}

void Regression_ResidualsSelect(int n, int pY, int pX, double** Y, double** X, double** R,
                                int* select)
{
    OwnedRows rowsOfFactors(select == nullptr ? 0 : pX, n);
    OwnedRows selected(select == nullptr ? 0 : n, pX);
    double** factors = X;
    int nFactors = pX;
    if (select != nullptr) {
        nFactors = SelectedColumnsAsRows(n, pX, X, select, rowsOfFactors);
        TransposeMatrix(nFactors, n, rowsOfFactors, selected);
        factors = selected;
    }
    ResidualsRoom room;
    Residuals(n, pY, nFactors, Y, factors, R, room);
}

void PCA_Regression_ResidualsSelect(int n, int pY, int pX, double** Y, double** X, double** R,
                                    int* select, int mode, double overfitFactor)
{
    ResidualsRoom room;
    PCA_Regression_ResidualsSelect(n, pY, pX, Y, X, R, select, mode, overfitFactor, room);
}

void PCA_Regression_ResidualsSelect(int n, int pY, int pX, double** Y, double** X, double** R,
                                    int* select, int mode, double overfitFactor,
                                    ResidualsRoom& room)
{
    room.Reserve(n, pY, pX);
    KeptRows& D = room.D;
    const int r = SelectedColumnsAsRows(n, pX, X, select, D);
    if (mode == 1) {
        CenterRowsCovMV(r, n, D, D);
    } else {
        CenterRowsMV(r, n, D, D);
        NormalizeRowsMV(r, n, D, D);
    }
    CrossProductMV(r, n, D, room.G);
    TransposeMatrix(r, n, D, room.T);
    int nAxes =
        OrdinationLib_Scores(r, n, room.T, room.G, room.scores, principalComponents,
                             mode == 1 ? crossProductMeasure : correlationMeasure, 2, room.axes);

    // Never more predictors than the sample supports.
    const double limit = (n - 2) / overfitFactor;
    if (limit < nAxes) nAxes = static_cast<int>(std::max(limit, 0.0));
    TransposeMatrix(r, n, room.scores, room.predictors);
    Residuals(n, pY, nAxes, Y, room.predictors, R, room);
}

void ResidualsMatrixRegression(int n, double** A, double** B, double** R)
{
    const int m = n * (n - 1) / 2;
    FloatColumn x(m); // the cells are rounded to single precision here
    FloatColumn y(m);
    int cell = 0;
    for (int i = 0; i < n; i++)
        for (int k = i + 1; k < n; k++, cell++) {
            x[cell] = static_cast<float>(A[i][k]);
            y[cell] = static_cast<float>(B[i][k]);
        }
    OwnedRows coefficient(1, 1);
    OwnedRows predictions(m, 1);
    double b0 = 0.0;
    double r2 = 0.0;
    regression(m, 1, 1, y, x, coefficient, &b0, predictions, &r2);
    cell = 0;
    for (int i = 0; i < n; i++)
        for (int k = i + 1; k < n; k++, cell++)
            R[i][k] = static_cast<double>(y[cell]) - predictions[cell][0];
}
