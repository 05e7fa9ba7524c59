// SPDX-License-Identifier: GPL-3.0-or-later
// Eigenanalysis, singular values, ordination, and conversions between kinds of resemblance.
//
// A resemblance matrix is a similarity or cross-product (its diagonal means something), a distance,
// a squared distance (diagonal 0), or a centred product. Eigenvectors stand in rows: vectors[a]
// belongs to values[a]; scores[a][x] is the score of object x on axis a.
#pragma once

#include <gsl/gsl_eigen.h>

#include <map>
#include <memory>

#include "shell/arrays.hpp"

/// Work space of EigenHouseholderQL_GSL_D.
struct EigenRoom {
    void Reserve(int n); // for this order; a solver fits no other
    struct FreeSolver {
        void operator()(gsl_eigen_symmv_workspace* w) const { gsl_eigen_symmv_free(w); }
    };
    using Solver = std::unique_ptr<gsl_eigen_symmv_workspace, FreeSolver>;
    KeptVector matrix, vectors;    // n x n
    std::map<int, Solver> solvers; // by order
};

/// Eigenvalues, descending by signed value, and eigenvectors of the symmetric n x n matrix M, whose
/// whole square must be filled. Signs of the vectors are as the solver gives them. Returns false if
/// a value below -0.1 per cent of the sum of all values exists.
bool EigenHouseholderQL_GSL_D(int n, double** M, double** vectors, double* values);
bool EigenHouseholderQL_GSL_D(int n, double** M, double** vectors, double* values, EigenRoom& room);

/// Work space of SingValueDecomp.
struct SingularRoom {
    void Reserve(int rows, int cols);
    KeptVector left, right, diagonal, work;
};

/// Singular value decomposition A = U S V'; rows not below cols.
///
/// U        rows x cols, V cols x cols, singular cols values; untouched if the routine fails.
///          U and V may be null, where only the values matter
/// returns  true on success
bool SingValueDecomp(int rows, int cols, double** A, double** U, double* singular, double** V);
bool SingValueDecomp(int rows, int cols, double** A, double** U, double* singular, double** V,
                     SingularRoom& room);

/// Kinds of ordination. Gower 1966, Biometrika 53:325-338, for the first.
enum OrdinationMode { principalCoordinates = 1, principalComponents, correspondence };

/// Ordination of n objects; always returns 1.
///
/// data     n x p (orientation 1) or p x n (otherwise); null for principal coordinates
/// rese     n x n, complete: for principal coordinates a resemblance by the measure reseOpt (of
///          ResemblanceMeasure), else a cross-product matrix
/// vectors  n x n, values n
/// scores   n rows, of which the first nAxes are written; n columns for principal coordinates, else
///          p, since the columns of the data are scored
/// nAxes    axes whose eigenvalue is above a millionth of one per cent of the positive total
/// noNegative  as EigenHouseholderQL_GSL_D returns
/// mode     principal coordinates; principal components (of covariances: centred rows over
///          root(m - 1) are scored, of correlations: standardised rows, else the rows as they are);
///          correspondence analysis of the deviations from expectation
int OrdinationLib_D(int n, int p, double** data, double** rese, double** vectors, double** scores,
                    int* nAxes, double* values, bool* noNegative, int mode, int reseOpt,
                    int orientation);

/// Work space of an ordination.
struct OrdinationRoom {
    void Reserve(int n, int p);
    KeptRows X;       // n x p: the data, in modes that score their columns
    KeptRows G;       // n x n
    KeptRows vectors; // n x n, and n values: where only the scores matter
    KeptVector values;
    EigenRoom eigen;
};

/// The same when only the scores are of interest; returns the number of axes.
int OrdinationLib_Scores(int n, int p, double** data, double** rese, double** scores, int mode,
                         int reseOpt, int orientation);
int OrdinationLib_Scores(int n, int p, double** data, double** rese, double** scores, int mode,
                         int reseOpt, int orientation, OrdinationRoom& room);

// Conversions; n x n matrices, A and B may be the same.

/// Gower centring of distances (or squared distances): -0.5 (d2 - row mean - column mean + mean).
/// Reads and writes the diagonal and the upper triangle.
void DissToCenterProdMatrix(int n, double** A, double** B, bool alreadySquared);

/// Squared distances d2 = s[a][a] + s[b][b] - 2 s[a][b] from products or similarities. Writes the
/// upper triangle and a diagonal of 0.
void ProdToSqDist(int n, double** A, double** B);

/// Squared chord distances 2 (1 - r) from correlations or similarities; both triangles, diagonal 0.
void CorrToSqDist(int n, double** A, double** B);

/// 1 - s, both triangles and the diagonal.
void ProbToDissim(int n, double** A, double** B);
