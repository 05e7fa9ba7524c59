// SPDX-License-Identifier: GPL-3.0-or-later
// Procrustes and RV coefficients and their partial forms, estimated from cross-products with a
// bound on the error. For values that are only compared: what is printed or stored comes from
// numeric/congruence.
//
// Z (n x m) holds the columns of all matrices that an arrangement moves, each column centred. A
// reference is a matrix M (n x p), centred, that coefficients compare a block of columns A of Z
// with. With K = MM' (n x n),
//     RV         |A'M|^2 / (|A'A| |M'M|) = trace(A'KA) / (|A'A| |K|), Frobenius norms
//     Procrustes sum of the singular values of A'M / sqrt(|A|^2 |M|^2): they are the roots of the
//                eigenvalues of A'KA, which is as small as A is narrow, however wide M is
// and with Q an orthonormal basis of a control's axes the partial forms need the same of
// (I - QQ')A and (I - QQ')M. All of it is made of Z'Z, Z'KZ and Z'KKZ, of m rows and columns.
// Escoufier 1973, Biometrics 29:751-760; Gower 1971, in Mathematics in the Archaeological and
// Historical Sciences, 138-149.
#pragma once

#include <gsl/gsl_eigen.h>

#include <cstddef>
#include <memory>
#include <vector>

#include "numeric/estimate.hpp"

/// A small matrix, row after row, in storage that Reshape never enlarges.
class SmallMatrix
{
public:
    SmallMatrix(int rows, int columns)
        : cells(static_cast<std::size_t>(rows) * static_cast<std::size_t>(columns)),
          nColumns(columns)
    {
    }
    /// Other dimensions, no more cells; what they hold is open.
    void Reshape(int columns) { nColumns = columns; }
    double& operator()(int i, int j) { return cells[Place(i, j)]; }
    double operator()(int i, int j) const { return cells[Place(i, j)]; }
    double* Data() { return cells.data(); }

private:
    std::size_t Place(int i, int j) const
    {
        return static_cast<std::size_t>(i) * static_cast<std::size_t>(nColumns) +
               static_cast<std::size_t>(j);
    }
    std::vector<double> cells;
    int nColumns;
};

/// Columns first to first + count - 1 of Z, known to be of no higher rank than `rank`: shares that
/// sum up to 1 in each row lose one when they are centred.
struct ColumnBlock {
    int first, count, rank;
};

/// Cross-products of the moving columns, filled by the caller for each arrangement.
struct MovingProducts {
    explicit MovingProducts(int columns)
        : m(columns), ZZ(columns, columns), rawSumSquares(static_cast<std::size_t>(columns))
    {
    }
    const int m;
    SmallMatrix ZZ;                    // m x m: Z'Z
    std::vector<double> rawSumSquares; // m: of the columns before they were centred
};

/// A reference in terms of the moving columns.
struct ReferenceProducts {
    explicit ReferenceProducts(int columns) : ZKZ(columns, columns), ZKKZ(columns, columns) {}
    int rank = 0;             // of M: no more singular values than this differ from 0
    double trace = 0.0;       // of K: the sum of squares of M
    double rawTrace = 0.0;    // the same before M was centred
    double squaredNorm = 0.0; // of K, Frobenius; RV only
    SmallMatrix ZKZ;          // m x m
    SmallMatrix ZKKZ;         // m x m; partial RV only
};

/// A block of moving columns as the reference of others; everything follows from Z'Z.
void ReferToBlock(const MovingProducts& moving, const ColumnBlock& block, ReferenceProducts& out);

/// Coefficients of one arrangement after another. Nothing is allocated after construction.
class CongruenceEstimator
{
public:
    /// n objects, references of up to p columns, `moving` borrowed. Without memory for the work
    /// space of the eigenvalue solvers: failure code 1.
    CongruenceEstimator(int n, int p, const MovingProducts& moving);

    /// Coefficient (2 Procrustes, 3 RV) of block A with the reference.
    Estimate Whole(int coefficient, const ColumnBlock& A, const ReferenceProducts& reference);

    /// Takes these columns of Z out from now on: their leading principal axes (of correlations),
    /// at most (n - 2) / overfitFactor of them. A constant column, an eigenvalue at the limit of
    /// what counts as an axis, or a limit that parts equal eigenvalues leaves Partial in doubt.
    void SetControl(const std::vector<int>& columns, double overfitFactor);
    /// The coefficient between the residuals of A and those of the reference.
    Estimate Partial(int coefficient, const ColumnBlock& A, const ReferenceProducts& reference);

private:
    /// What a coefficient is made of; A'KA stands in `product`.
    struct Parts {
        int p, rank;
        double traceA = 0.0, traceK = 0.0;             // sums of squares of A and M
        double squaredNormA = 0.0, squaredNormK = 0.0; // of A'A and K; RV only
        double relative = 0.0;             // error of products, relative to the two below
        double wholeA = 0.0, wholeK = 0.0; // traces of A and M before the control was taken out
        double wholeNormK = 0.0;           // squared norm of K before that
    };
    Estimate Coefficient(int coefficient, const Parts& parts);
    Estimate Procrustes(const Parts& parts);
    Estimate RV(const Parts& parts) const;
    void Correlate(const std::vector<int>& columns);
    void FindAxes(int c);
    void CountAxes(int c, double overfitFactor);
    void ProjectBlock(const ColumnBlock& A, const ReferenceProducts& reference);
    void ProjectReference(const ReferenceProducts& reference, Parts& parts);
    void TakeOut(const ColumnBlock& A, const ReferenceProducts& reference, Parts& parts);
    double RelativeError(const ColumnBlock& A, const ReferenceProducts& reference) const;

    struct FreeSpace {
        void operator()(gsl_eigen_symmv_workspace* w) const { gsl_eigen_symmv_free(w); }
        void operator()(gsl_eigen_symm_workspace* w) const { gsl_eigen_symm_free(w); }
    };
    const int n;
    const double unit;            // relative error of a sum of products
    const MovingProducts& moving; // borrowed
    std::vector<std::unique_ptr<gsl_eigen_symm_workspace, FreeSpace>> valueSpaces;   // by order
    std::vector<std::unique_ptr<gsl_eigen_symmv_workspace, FreeSpace>> vectorSpaces; // by order
    std::vector<double> values; // m, eigenvalues
    std::vector<int> control;   // columns of Z taken out
    int nAxes = 0;
    double controlError = 0.0;    // relative error of the axes
    SmallMatrix basis;            // c x nAxes: Q = control columns times this
    SmallMatrix QA, QKA, QK, QKQ; // nAxes x p, nAxes x p, nAxes x c, nAxes x nAxes
    SmallMatrix product, vectors;
};
