// SPDX-License-Identifier: GPL-3.0-or-later
#include "functional/smoothing.hpp"

#include <algorithm>
#include <cmath>
#include <vector>

#include "numeric/adjust.hpp"
#include "numeric/matrix.hpp"
#include "numeric/statistics.hpp"
#include "shell/arrays.hpp"

namespace {

struct Entry {
    int where;
    double value;
};

/// A community k adds to C[i][j] the product of a factor of OTU i, which is given, and a factor of
/// OTU j, the target; the factors that are not 0 are listed.
struct Factors {
    std::vector<std::vector<Entry>> given;  // by OTU: communities, ascending
    std::vector<std::vector<Entry>> target; // by community: OTUs, ascending
};

bool AllFinite(int rows, int columns, double** M)
{
    for (int i = 0; i < rows; i++)
        for (int j = 0; j < columns; j++)
            if (!std::isfinite(M[i][j])) return false;
    return true;
}

/// Factors of 0 are left out, since adding 0 to a sum changes no bit; in mode 2 they stay if the
/// data hold an infinity or a NaN, which times 0 gives NaN.
Factors ListFactors(int n, int s, double** W, int mode)
{
    const bool keepZeros = mode == 2 && !AllFinite(n, s, W);
    Factors factors;
    factors.given.resize(static_cast<std::size_t>(s));
    factors.target.resize(static_cast<std::size_t>(n));
    for (int k = 0; k < n; k++)
        for (int i = 0; i < s; i++) {
            const double w = W[k][i];
            if (IsMissing(w)) continue;
            const bool isGiven = mode == 0 ? w > 0.0 : w != 0.0 || keepZeros;
            const bool isTarget = mode == 2 ? w != 0.0 || keepZeros : w > 0.0;
            if (isGiven)
                factors.given[static_cast<std::size_t>(i)].push_back({k, mode == 0 ? 1.0 : w});
            if (isTarget)
                factors.target[static_cast<std::size_t>(k)].push_back({i, mode == 2 ? w : 1.0});
        }
    return factors;
}

/// C by the mode: every cell is summed over the communities in ascending order.
void SumJointOccurrences(int n, int s, double** W, double** C, int mode)
{
    for (int i = 0; i < s; i++) std::fill_n(C[i], s, 0.0);
    if (mode < 0 || mode > 2) return;
    const Factors factors = ListFactors(n, s, W, mode);
    for (int i = 0; i < s; i++) {
        double* const row = C[i];
        for (const Entry& community : factors.given[static_cast<std::size_t>(i)])
            for (const Entry& j : factors.target[static_cast<std::size_t>(community.where)])
                row[j.where] += community.value * j.value;
    }
}

void DivideByOwnOccurrence(int s, double** C)
{
    for (int i = 0; i < s; i++) {
        const double own = C[i][i];
        if (own > 0.0)
            for (int j = 0; j < s; j++)
                if (j != i) C[i][j] /= own;
        C[i][i] = 1.0;
    }
}

} // namespace

void ConditionalProb(int n, int s, double** W, double** C, int mode, bool unitRows)
{
    ConditionalProb(n, s, W, C, mode);
    if (unitRows) UnitSumRowsAdjMV(s, s, C, C);
}

void ConditionalProb(int n, int s, double** W, double** C, int mode)
{
    SumJointOccurrences(n, s, W, C, mode);
    if (mode != 2) DivideByOwnOccurrence(s, C);
}

namespace {

/// C as it enters the estimates that leave the target OTU out: no diagonal, odds on request.
void PrepareWithoutTarget(int s, double** C, bool odds)
{
    for (int i = 0; i < s; i++) {
        C[i][i] = 0.0;
        if (!odds) continue;
        for (int j = 0; j < s; j++) C[i][j] = C[i][j] / (1.0 - C[i][j]);
    }
}

/// One community: the sum over i of (share of i / what the target leaves) * c[i][j], i ascending.
/// All targets j are summed side by side.
void SmoothWithoutTarget(int s, const double* shares, double** C, bool allFinite, double* rest,
                         double* out)
{
    for (int j = 0; j < s; j++) {
        rest[j] = 1.0 - shares[j];
        out[j] = 0.0;
    }
    for (int i = 0; i < s; i++) {
        if (shares[i] == 0.0 && allFinite) continue; // would add zeros, which changes no bit
        const double share = shares[i];
        const double* const c = C[i];
        for (int j = 0; j < s; j++) out[j] += share / rest[j] * c[j];
    }
    for (int j = 0; j < s; j++)
        if (rest[j] == 0.0) out[j] = 0.0;
}

void Smooth(int n, int s, double** target, double** C, double** out, bool includeTarget, bool odds)
{
    OwnedRows shares(n, s);
    UnitSumRowsAdjMV(n, s, shares, target);
    if (includeTarget) {
        MatrixProdMV(n, s, s, s, shares, C, out);
        return;
    }
    PrepareWithoutTarget(s, C, odds);
    const bool allFinite = AllFinite(s, s, C);
    OwnedVector rest(s);
    for (int k = 0; k < n; k++) SmoothWithoutTarget(s, shares[k], C, allFinite, rest, out[k]);
}

} // namespace

void BealsSmoothing(int n, int s, double** target, double** source, double** out,
                    bool includeTarget, int mode, bool weighted)
{
    OwnedRows C(s, s);
    ConditionalProb(n, s, source, C, mode, weighted);
    Smooth(n, s, target, C, out, includeTarget, weighted);
}

void BealsSmoothing(int n, int s, double** target, double** source, double** out,
                    bool includeTarget, int mode)
{
    OwnedRows C(s, s);
    ConditionalProb(n, s, source, C, mode);
    Smooth(n, s, target, C, out, includeTarget, mode == 2);
}
