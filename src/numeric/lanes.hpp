// SPDX-License-Identifier: GPL-3.0-or-later
// Vectors of KELPRA_LANES doubles, for sources that are compiled once per vector path
// (numeric/vectorpath.hpp) and for no other. Cells need not lie on a vector's boundary: a copy
// tells every compiler so, where a reference to a vector lets some of them take the boundary for
// granted.
#pragma once

namespace {

constexpr int lanes = KELPRA_LANES;
typedef double Vector __attribute__((vector_size(8 * KELPRA_LANES)));

inline Vector Load(const double* from)
{
    Vector loaded;
    __builtin_memcpy(&loaded, from, sizeof loaded);
    return loaded;
}

inline void Store(double* to, Vector x)
{
    __builtin_memcpy(to, &x, sizeof x);
}

} // namespace
