// SPDX-License-Identifier: GPL-3.0-or-later
#include "numeric/ordination.hpp"

#include <gsl/gsl_eigen.h>
#include <gsl/gsl_linalg.h>

#include <cmath>
#include <cstddef>
#include <memory>

#include "numeric/adjust.hpp"
#include "numeric/matrix.hpp"
#include "numeric/resemblance.hpp"
#include "numeric/statistics.hpp"
#include "shell/arrays.hpp"
#include "shell/console.hpp"

namespace {

struct GslFree {
    void operator()(gsl_matrix* m) const { gsl_matrix_free(m); }
    void operator()(gsl_vector* v) const { gsl_vector_free(v); }
    void operator()(gsl_eigen_symmv_workspace* w) const { gsl_eigen_symmv_free(w); }
};
using GslMatrix = std::unique_ptr<gsl_matrix, GslFree>;
using GslVector = std::unique_ptr<gsl_vector, GslFree>;
using GslEigenSpace = std::unique_ptr<gsl_eigen_symmv_workspace, GslFree>;

std::size_t Size(int n)
{
    return static_cast<std::size_t>(n);
}

template <typename Owner>
Owner Obtained(Owner object)
{
    if (!object) NoRoom();
    return object;
}

GslMatrix NewMatrix(int rows, int cols)
{
    return Obtained(GslMatrix(gsl_matrix_alloc(Size(rows), Size(cols))));
}

GslVector NewVector(int n)
{
    return Obtained(GslVector(gsl_vector_alloc(Size(n))));
}

void CopyIn(int rows, int cols, double** from, gsl_matrix* to)
{
    for (int i = 0; i < rows; i++)
        for (int j = 0; j < cols; j++) gsl_matrix_set(to, Size(i), Size(j), from[i][j]);
}

void CopyOut(int rows, int cols, const gsl_matrix* from, double** to)
{
    for (int i = 0; i < rows; i++)
        for (int j = 0; j < cols; j++) to[i][j] = gsl_matrix_get(from, Size(i), Size(j));
}

/// True unless a value is below -0.1 per cent of the sum of all: rounding leaves small negative
/// values, a resemblance that is not Euclidean leaves large ones.
bool NoSignificantNegative(int n, const double* values)
{
    double sum = 0.0;
    for (int a = 0; a < n; a++) sum += values[a];
    for (int a = 0; a < n; a++)
        if (values[a] / sum < -0.001) return false;
    return true;
}

/// Axes that matter: more than a millionth of one per cent of the positive total. Values are
/// descending, so these come first. Without a positive value the quotients are not finite and none
/// counts.
int CountAxes(int n, const double* values)
{
    double positive = 0.0;
    for (int a = 0; a < n; a++)
        if (values[a] > 0.0) positive += values[a];
    int nAxes = 0;
    for (int a = 0; a < n; a++)
        if (values[a] * 100.0 / positive > 1e-6) nAxes++;
    return nAxes;
}

/// Measures whose result is a similarity and not a distance.
bool IsSimilarity(int reseOpt)
{
    switch (reseOpt) {
    case crossProductMeasure:
    case gowerMeasure:
    case minimumDiscriminationMeasure:
    case mutualEntropyMeasure:
    case coherenceMeasure:
    case chiSquareMeasure:
    case jaccardMeasure:
    case simpleMatchingMeasure:
    case sokalMichenerMeasure:
    case ochiaiMeasure:
    case sorensenMeasure:
    case meanSquareContingencyMeasure:
    case correlationMeasure:
    case legendreChodorowskiMeasure:
    case covarianceMeasure: return true;
    default: return false;
    }
}

/// Centred products G of a resemblance, whose eigenvectors are the principal coordinates.
void CentredProducts(int n, double** rese, int reseOpt, double** G)
{
    if (IsSimilarity(reseOpt)) {
        ProdToSqDist(n, rese, G);
        UpperToLowerMatrix(n, G);
    } else {
        for (int a = 0; a < n; a++)
            for (int b = a; b < n; b++) G[a][b] = G[b][a] = rese[a][b] * rese[a][b];
    }
    DissToCenterProdMatrix(n, G, G, true);
    UpperToLowerMatrix(n, G);
}

/// X, n x p with the objects of the analysis in rows.
void Orient(int n, int p, double** data, int orientation, double** X)
{
    if (orientation == 1)
        CopyMatrix(n, p, data, X);
    else
        TransposeMatrix(p, n, data, X);
}

/// Vectors stretched so that the squared length of an axis is its eigenvalue.
void ScorePrincipalCoordinates(int n, int nAxes, double** vectors, const double* values,
                               double** scores)
{
    for (int a = 0; a < nAxes; a++) {
        const double sumSquares = SumOfSquares(n, vectors[a]);
        const double stretch = std::sqrt(values[a] / sumSquares);
        for (int x = 0; x < n; x++) scores[a][x] = vectors[a][x] * stretch;
    }
}

void UnitLength(int n, double* vector)
{
    const double length = std::sqrt(SumOfSquares(n, vector));
    for (int x = 0; x < n; x++) vector[x] = vector[x] / length;
}

void ScorePrincipalComponents(int n, int p, int nAxes, double** X, int reseOpt, double** vectors,
                              double** scores)
{
    for (int a = 0; a < nAxes; a++) UnitLength(n, vectors[a]);
    if (reseOpt == covarianceMeasure) {
        CenterRowsCovMV(n, p, X, X);
    } else if (reseOpt == correlationMeasure) {
        CenterRowsMV(n, p, X, X);
        NormalizeRowsMV(n, p, X, X);
    }
    for (int a = 0; a < nAxes; a++)
        for (int c = 0; c < p; c++) {
            double score = 0.0;
            for (int x = 0; x < n; x++)
                if (!IsMissing(X[x][c])) score += X[x][c] * vectors[a][x];
            scores[a][c] = score;
        }
}

/// Correspondence analysis (Hill 1974, Appl. Stat. 23:340-354): the column scores are averages of
/// the row scores, weighted by the cells of X.
void ScoreCorrespondence(int n, int p, int nAxes, double** X, double** vectors,
                         const double* values, double** scores)
{
    OwnedVector rowTotals(n);
    OwnedVector colTotals(p);
    RowTotalsMV(n, p, X, rowTotals);
    ColTotalsMV(n, p, X, colTotals);
    const double total = MatrixTotalMV(n, p, X);
    for (int a = 0; a < nAxes; a++) {
        for (int x = 0; x < n; x++)
            if (rowTotals[x] > 0.0) vectors[a][x] *= std::sqrt(total / rowTotals[x]);
        for (int k = 0; k < p; k++) {
            scores[a][k] = 0.0;
            for (int x = 0; x < n; x++)
                if (colTotals[k] > 0.0 && !IsMissing(X[x][k]))
                    scores[a][k] += X[x][k] * vectors[a][x] / (colTotals[k] * std::sqrt(values[a]));
        }
    }
}

} // namespace

bool EigenHouseholderQL_GSL_D(int n, double** M, double** vectors, double* values)
{
    if (n < 1) return true; // the solver has no empty work space
    const GslMatrix matrix = NewMatrix(n, n);
    const GslMatrix eigenvectors = NewMatrix(n, n);
    const GslVector eigenvalues = NewVector(n);
    const GslEigenSpace space = Obtained(GslEigenSpace(gsl_eigen_symmv_alloc(Size(n))));

    CopyIn(n, n, M, matrix.get());
    gsl_eigen_symmv(matrix.get(), eigenvalues.get(), eigenvectors.get(), space.get());
    gsl_eigen_symmv_sort(eigenvalues.get(), eigenvectors.get(), GSL_EIGEN_SORT_VAL_DESC);
    for (int a = 0; a < n; a++) {
        values[a] = gsl_vector_get(eigenvalues.get(), Size(a));
        for (int x = 0; x < n; x++)
            vectors[a][x] = gsl_matrix_get(eigenvectors.get(), Size(x), Size(a));
    }
    return NoSignificantNegative(n, values);
}

bool SingValueDecomp(int rows, int cols, double** A, double** U, double* singular, double** V)
{
    const GslMatrix left = NewMatrix(rows, cols); // holds A, then U
    const GslMatrix right = NewMatrix(cols, cols);
    const GslVector diagonal = NewVector(cols);
    const GslVector work = NewVector(cols);

    CopyIn(rows, cols, A, left.get());
    HandleEventInfoWhere("SingValueDecomp");
    if (gsl_linalg_SV_decomp(left.get(), right.get(), diagonal.get(), work.get()) != 0)
        return false;
    for (int c = 0; c < cols; c++) singular[c] = gsl_vector_get(diagonal.get(), Size(c));
    CopyOut(rows, cols, left.get(), U);
    CopyOut(cols, cols, right.get(), V);
    return NoSignificantNegative(cols, singular);
}

int OrdinationLib_D(int n, int p, double** data, double** rese, double** vectors, double** scores,
                    int* nAxes, double* values, bool* noNegative, int mode, int reseOpt,
                    int orientation)
{
    HandleEventInfoWhere("OrdinationLib");
    const bool scoresColumns = mode == principalComponents || mode == correspondence;
    OwnedRows X(scoresColumns ? n : 0, p); // the data, in modes that score their columns
    OwnedRows G(n, n);
    if (mode == principalCoordinates) CentredProducts(n, rese, reseOpt, G);
    if (scoresColumns) CopyMatrix(n, n, rese, G);

    HandleEventInfoWhere("OrdinationLib");
    *noNegative = EigenHouseholderQL_GSL_D(n, G, vectors, values);
    *nAxes = CountAxes(n, values);

    HandleEventInfoWhere("OrdinationLib");
    if (scoresColumns) Orient(n, p, data, orientation, X);
    if (mode == principalCoordinates) ScorePrincipalCoordinates(n, *nAxes, vectors, values, scores);
    if (mode == principalComponents) ScorePrincipalComponents(n, p, *nAxes, X, reseOpt, vectors, scores);
    if (mode == correspondence) ScoreCorrespondence(n, p, *nAxes, X, vectors, values, scores);
    return 1;
}

int OrdinationLib_Scores(int n, int p, double** data, double** rese, double** scores, int mode,
                         int reseOpt, int orientation)
{
    OwnedRows vectors(n, n);
    OwnedVector values(n);
    int nAxes = 0;
    bool noNegative = true;
    OrdinationLib_D(n, p, data, rese, vectors, scores, &nAxes, values, &noNegative, mode, reseOpt,
                    orientation);
    return nAxes;
}

void DissToCenterProdMatrix(int n, double** A, double** B, bool alreadySquared)
{
    HandleEventInfoWhere("DissToCenterProdMatrix");
    for (int a = 0; a < n; a++)
        for (int b = a; b < n; b++) B[a][b] = alreadySquared ? A[a][b] : A[a][b] * A[a][b];

    OwnedVector rowMeans(n);
    double sum = 0.0;
    for (int a = 0; a < n; a++) {
        double rowSum = 0.0;
        for (int b = 0; b < n; b++) {
            const double cell = a < b ? B[a][b] : B[b][a]; // the lower triangle is not filled
            rowSum += cell;
            sum += cell;
        }
        rowMeans[a] = rowSum / n;
    }
    const double mean = sum / (static_cast<double>(n) * n);
    for (int a = 0; a < n; a++)
        for (int b = a; b < n; b++) B[a][b] = ((B[a][b] - rowMeans[a]) - rowMeans[b] + mean) * -0.5;
}

void ProdToSqDist(int n, double** A, double** B)
{
    HandleEventInfoWhere("ProdToSqDist");
    for (int a = 0; a < n; a++)
        for (int b = a + 1; b < n; b++) B[a][b] = A[a][b] * -2.0 + A[a][a] + A[b][b];
    // Only now: in place, the diagonal is still needed above.
    for (int a = 0; a < n; a++) B[a][a] = 0.0;
}

void CorrToSqDist(int n, double** A, double** B)
{
    HandleEventInfoWhere("CorrToSqDist");
    for (int a = 0; a < n; a++) {
        for (int b = a + 1; b < n; b++) B[a][b] = B[b][a] = (1.0 - A[a][b]) + (1.0 - A[a][b]);
        B[a][a] = 0.0;
    }
}

void ProbToDissim(int n, double** A, double** B)
{
    HandleEventInfoWhere("ProbToDissim");
    for (int a = 0; a < n; a++)
        for (int b = a; b < n; b++) B[a][b] = B[b][a] = 1.0 - A[a][b];
}
