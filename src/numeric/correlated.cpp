// SPDX-License-Identifier: GPL-3.0-or-later
#include "numeric/correlated.hpp"

#include <gsl/gsl_randist.h>

#include <cmath>
#include <cstdlib>

#include "numeric/matrix.hpp"
#include "numeric/random.hpp"
#include "shell/arrays.hpp"

namespace {

double Deviate(int kind)
{
    switch (kind) {
    case uniformDeviates: return gsl_rng_uniform(r) - 0.5;
    case lognormalDeviates: return gsl_ran_lognormal(r, 0.0, 1.0);
    case exponentialDeviates: return gsl_ran_exponential(r, 1.0);
    case cubedExponentialDeviates: return std::pow(gsl_ran_exponential(r, 1.0), 3.0);
    default: return gsl_ran_gaussian(r, 1.0);
    }
}

/// U, upper triangular, with U'U = R. U arrives filled with zeros.
void UpperFactor(int p, double** R, double** U)
{
    OwnedRows A(p, p);
    OwnedVector diagonal(p);
    CopyMatrix(p, p, R, A);
    if (choldc(A, p, diagonal) == 0) std::exit(1); // choldc has said why
    for (int i = 0; i < p; i++) {
        U[i][i] = diagonal[i];
        for (int k = i + 1; k < p; k++) U[i][k] = A.table[k][i];
    }
}

} // namespace

void CorrToData_New(int n, int p, double** R, double** out, int kind)
{
    OwnedRows U(p, p);
    UpperFactor(p, R, U);
    OwnedRows Z(n, p);
    for (int i = 0; i < n; i++)
        for (int j = 0; j < p; j++) Z.table[i][j] = Deviate(kind);
    MatrixProd(n, p, p, p, Z, U, out);
}

int CorrToData_BothRowsColumns(int n, int p, double** Rcols, double** Rrows, double** out,
                               int kind)
{
    OwnedRows rowsCorrelated(p, n);
    CorrToData_New(p, n, Rrows, rowsCorrelated, kind);
    OwnedRows U(p, p);
    UpperFactor(p, Rcols, U);
    OwnedRows T(n, p);
    TransposeMatrix(p, n, rowsCorrelated, T);
    MatrixProd(n, p, p, p, T, U, out);
    return 1;
}
