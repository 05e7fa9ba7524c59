// SPDX-License-Identifier: GPL-3.0-or-later
#include "numeric/ordination.hpp"

#include <gsl/gsl_errno.h>
#include <gsl/gsl_linalg.h>

#include <algorithm>
#include <cmath>
#include <csetjmp>
#include <cstddef>

#include "numeric/adjust.hpp"
#include "numeric/matrix.hpp"
#include "numeric/resemblance.hpp"
#include "numeric/statistics.hpp"
#include "shell/console.hpp"

namespace {

std::size_t Size(int n)
{
    return static_cast<std::size_t>(n);
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

// GSL's decomposition makes some work space by itself, and goes on to use it if there is none. Its
// report of that is the only moment to leave; no C++ object is on the way.

thread_local std::jmp_buf* leaving = nullptr; // set during a decomposition
gsl_error_handler_t* otherErrors = nullptr;

void LeaveWithoutRoom(const char* reason, const char* file, int line, int error)
{
    if (error == GSL_ENOMEM && leaving != nullptr) std::longjmp(*leaving, 1);
    if (otherErrors != nullptr) otherErrors(reason, file, line, error);
}

/// Once, before there are threads.
void WatchForRoom()
{
    [[maybe_unused]] static const bool isWatching = [] {
        otherErrors = gsl_set_error_handler(LeaveWithoutRoom);
        return true;
    }();
}

int Decompose(gsl_matrix* A, gsl_matrix* V, gsl_vector* S, gsl_vector* work)
{
    std::jmp_buf place;
    leaving = &place;
    if (setjmp(place) != 0) {
        leaving = nullptr;
        NoRoom();
    }
    const int status = gsl_linalg_SV_decomp(A, V, S, work);
    leaving = nullptr;
    return status;
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

void EigenRoom::Reserve(int n)
{
    matrix.Reserve(static_cast<long>(n) * n);
    vectors.Reserve(static_cast<long>(n) * n);
    auto& solver = solvers[n];
    if (!solver) solver.reset(gsl_eigen_symmv_alloc(Size(n)));
    if (!solver) NoRoom();
}

bool EigenHouseholderQL_GSL_D(int n, double** M, double** vectors, double* values)
{
    EigenRoom room;
    return EigenHouseholderQL_GSL_D(n, M, vectors, values, room);
}

bool EigenHouseholderQL_GSL_D(int n, double** M, double** vectors, double* values, EigenRoom& room)
{
    if (n < 1) return true; // the solver has no empty work space
    room.Reserve(n);
    gsl_matrix_view matrix = gsl_matrix_view_array(room.matrix, Size(n), Size(n));
    gsl_matrix_view eigenvectors = gsl_matrix_view_array(room.vectors, Size(n), Size(n));
    gsl_vector_view eigenvalues = gsl_vector_view_array(values, Size(n));

    CopyIn(n, n, M, &matrix.matrix);
    gsl_eigen_symmv(&matrix.matrix, &eigenvalues.vector, &eigenvectors.matrix,
                    room.solvers.find(n)->second.get());
    gsl_eigen_symmv_sort(&eigenvalues.vector, &eigenvectors.matrix, GSL_EIGEN_SORT_VAL_DESC);
    for (int a = 0; a < n; a++)
        for (int x = 0; x < n; x++)
            vectors[a][x] = gsl_matrix_get(&eigenvectors.matrix, Size(x), Size(a));
    return NoSignificantNegative(n, values);
}

void SingularRoom::Reserve(int rows, int cols)
{
    left.Reserve(static_cast<long>(rows) * cols);
    right.Reserve(static_cast<long>(cols) * cols);
    diagonal.Reserve(cols);
    work.Reserve(cols);
    WatchForRoom();
}

bool SingValueDecomp(int rows, int cols, double** A, double** U, double* singular, double** V)
{
    SingularRoom room;
    return SingValueDecomp(rows, cols, A, U, singular, V, room);
}

bool SingValueDecomp(int rows, int cols, double** A, double** U, double* singular, double** V,
                     SingularRoom& room)
{
    room.Reserve(rows, cols);
    gsl_matrix_view left = gsl_matrix_view_array(room.left, Size(rows), Size(cols)); // A, then U
    gsl_matrix_view right = gsl_matrix_view_array(room.right, Size(cols), Size(cols));
    gsl_vector_view diagonal = gsl_vector_view_array(room.diagonal, Size(cols));
    gsl_vector_view work = gsl_vector_view_array(room.work, Size(cols));

    CopyIn(rows, cols, A, &left.matrix);
    HandleEventInfoWhere("SingValueDecomp");
    if (Decompose(&left.matrix, &right.matrix, &diagonal.vector, &work.vector) != 0) return false;
    std::copy(room.diagonal.values, room.diagonal + cols, singular);
    if (U != nullptr) CopyOut(rows, cols, &left.matrix, U);
    if (V != nullptr) CopyOut(cols, cols, &right.matrix, V);
    return NoSignificantNegative(cols, singular);
}

void OrdinationRoom::Reserve(int n, int p)
{
    X.Reserve(n, p);
    G.Reserve(n, n);
    vectors.Reserve(n, n);
    values.Reserve(n);
    eigen.Reserve(std::max(n, 1));
}

namespace {

/// Returns the number of axes.
int Ordinate(int n, int p, double** data, double** rese, double** vectors, double** scores,
             double* values, bool* noNegative, int mode, int reseOpt, int orientation,
             OrdinationRoom& room)
{
    HandleEventInfoWhere("OrdinationLib");
    const bool scoresColumns = mode == principalComponents || mode == correspondence;
    KeptRows& X = room.X;
    KeptRows& G = room.G;
    if (scoresColumns) X.Reserve(n, p);
    G.Reserve(n, n);
    if (mode == principalCoordinates) CentredProducts(n, rese, reseOpt, G);
    if (scoresColumns) CopyMatrix(n, n, rese, G);

    HandleEventInfoWhere("OrdinationLib");
    *noNegative = EigenHouseholderQL_GSL_D(n, G, vectors, values, room.eigen);
    const int nAxes = CountAxes(n, values);

    HandleEventInfoWhere("OrdinationLib");
    if (scoresColumns) Orient(n, p, data, orientation, X);
    if (mode == principalCoordinates) ScorePrincipalCoordinates(n, nAxes, vectors, values, scores);
    if (mode == principalComponents)
        ScorePrincipalComponents(n, p, nAxes, X, reseOpt, vectors, scores);
    if (mode == correspondence) ScoreCorrespondence(n, p, nAxes, X, vectors, values, scores);
    return nAxes;
}

} // namespace

int OrdinationLib_D(int n, int p, double** data, double** rese, double** vectors, double** scores,
                    int* nAxes, double* values, bool* noNegative, int mode, int reseOpt,
                    int orientation)
{
    OrdinationRoom room;
    *nAxes = Ordinate(n, p, data, rese, vectors, scores, values, noNegative, mode, reseOpt,
                      orientation, room);
    return 1;
}

int OrdinationLib_Scores(int n, int p, double** data, double** rese, double** scores, int mode,
                         int reseOpt, int orientation)
{
    OrdinationRoom room;
    return OrdinationLib_Scores(n, p, data, rese, scores, mode, reseOpt, orientation, room);
}

int OrdinationLib_Scores(int n, int p, double** data, double** rese, double** scores, int mode,
                         int reseOpt, int orientation, OrdinationRoom& room)
{
    room.Reserve(n, p);
    bool noNegative = true;
    return Ordinate(n, p, data, rese, room.vectors, scores, room.values, &noNegative, mode, reseOpt,
                    orientation, room);
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
