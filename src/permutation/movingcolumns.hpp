// SPDX-License-Identifier: GPL-3.0-or-later
// The matrices that coefficients are estimated from (numeric/crossproducts): those that stay as
// they are, and the columns that an arrangement moves, with their products.
#pragma once

#include <cstddef>

#include "numeric/crossproducts.hpp"
#include "shell/arrays.hpp"

/// A matrix of n rows, centred by columns: as its columns if they are few, else as K = MM', n x n.
/// Rows of `cells` are `stride` apart, filled up with zeros, as are columns up to a multiple of 4.
struct FixedReference {
    FixedReference(int n, int p, double** M);

    bool isUsable = true; // every cell plain, before and after centring
    const int n, p;
    const bool isNarrow;
    const std::size_t stride;
    Lanes cells;
    double trace = 0.0, rawTrace = 0.0, squaredNorm = 0.0;
    SmallMatrix products; // narrow: M'M

private:
    void Centre(double** M, OwnedRows& centred);
    void KeepColumns(const OwnedRows& centred);
    void KeepProducts(const OwnedRows& centred);
};

/// Columns of n values as deviations from their means, `stride` apart, with their products.
struct MovingColumns {
    MovingColumns(int rows, int columns);

    /// Centres a column into place c. Returns false if a cell is too large.
    bool Take(int c, const double* column);
    /// Products of the columns with one another, once all are taken.
    void MultiplyThemselves();
    /// ZKZ and, for RV, ZKKZ of a reference.
    void Refer(const FixedReference& fixed, bool isRV, ReferenceProducts& out);

    const int n, m;
    const std::size_t stride;
    Lanes cells;
    Lanes timesK; // K times the columns, or the columns of a narrow reference times them
    MovingProducts products;
    SmallMatrix scratch;

private:
    void ReferNarrow(const FixedReference& fixed, bool isRV, ReferenceProducts& out);
};
