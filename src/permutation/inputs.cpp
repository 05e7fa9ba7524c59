// SPDX-License-Identifier: GPL-3.0-or-later
#include "permutation/inputs.hpp"

#include <algorithm>
#include <cmath>
#include <numeric>

#include "numeric/adjust.hpp"
#include "numeric/congruence.hpp"
#include "numeric/matrix.hpp"
#include "numeric/resemblance.hpp"
#include "numeric/statistics.hpp"
#include "shell/scanners.hpp"

namespace {

using Input = PermTest_FunctionalPhyl_Correl_Input;

/// The states of each factor: the cells of E, truncated.
std::vector<OwnedInts> FactorStates(const Input& record)
{
    std::vector<OwnedInts> factors;
    if (record.measure != varianceAnalysis) return factors;
    for (int j = 0; j < record.nEnvSelected; j++) {
        factors.emplace_back(record.nCommunities);
        for (int k = 0; k < record.nCommunities; k++) factors.back()[k] = ToInt(record.E[k][j]);
    }
    return factors;
}

bool IsPlainNumber(double x)
{
    return std::isfinite(x) && !IsMissing(x);
}

bool HasPlainNumbers(int rows, int columns, double** M)
{
    for (int i = 0; i < rows; i++)
        if (!std::all_of(M[i], M[i] + columns, IsPlainNumber)) return false;
    return true;
}

bool HasPlainTriangle(int n, double** M)
{
    for (int i = 0; i < n; i++)
        if (!std::all_of(M[i] + i + 1, M[i] + n, IsPlainNumber)) return false;
    return true;
}

/// Numbers not below 0: performances that shares can be made of, and belonging whose products with
/// them are never the missing value.
bool HasAmounts(int rows, int columns, double** M)
{
    for (int i = 0; i < rows; i++)
        if (!std::all_of(M[i], M[i] + columns,
                         [](double x) { return std::isfinite(x) && x >= 0.0; }))
            return false;
    return true;
}

double LargestCell(int rows, int columns, double** M)
{
    double largest = 0.0;
    for (int i = 0; i < rows; i++)
        for (int j = 0; j < columns; j++) largest = std::max(largest, std::fabs(M[i][j]));
    return largest;
}

/// Whether W times B, U and Q stays finite whatever the order of their rows: no sum of products
/// exceeds the row's total times the largest cell, and a factor of 2 covers what rounding adds.
bool ProductsArePlain(const PermutationInputs& in)
{
    const Input& record = in.record;
    const double largest =
        std::max({1.0, LargestCell(in.s, in.t, record.B), LargestCell(in.s, in.g, record.U),
                  LargestCell(in.s, in.f, record.Q)});
    return std::all_of(record.W, record.W + in.n, [&in, largest](const double* row) {
        return std::isfinite(2.0 * largest * std::accumulate(row, row + in.s, 0.0));
    });
}

/// A weighted draw reads the first s places of the pool of occurrences: there must be as many.
bool PoolIsLongEnough(const Input& record)
{
    if (!record.weightedNull) return true;
    long length = 0;
    for (int k = 0; k < record.nCommunities; k++)
        length += std::count_if(record.W[k], record.W[k] + record.nOTUs,
                                [](double x) { return x > 0.0; });
    return length >= record.nOTUs;
}

bool IsWhole(const RaoDissimilarity& d)
{
    return !d.hasMissing && !d.hasNonFinite;
}

} // namespace

PermutationInputs::PermutationInputs(Input& input)
    : record(input), n(record.nCommunities), s(record.nOTUs), t(record.nTraits), g(record.nTypes),
      f(record.hasPhylogenyInput ? record.nTaxa : 0), e(record.nEnvSelected),
      withPhylogeny(record.hasPhylogenyInput),
      usesResemblances(record.measure == mantel || record.measure == varianceAnalysis),
      moveTaxa(record.shuffleKind == 't'), orderLength(moveTaxa ? s : n),
      resemblanceOption(TranslateReseOpt_KELPRA_DORNEL(record.communityResemblance)), model(record),
      comparisons(Comparisons(input)), onTraits(s, record.Sb, false, record.sqrtTraits),
      noOtu(std::max({t, g, f, s})), factors(FactorStates(record))
{
    UpperToLowerMatrix(s, record.Sb);
    if (withPhylogeny) {
        UpperToLowerMatrix(s, record.Sf);
        onPhylogeny.emplace(s, record.Sf, record.phylIsDissimilarity, record.sqrtPhyl);
        if (record.measure == procrustes || record.measure == rvCoefficient) {
            normalizedB.emplace(s, t);
            NormalizeCols(s, t, record.B, *normalizedB);
        }
    }
}

bool HasOrdinaryOtus(const PermutationInputs& in)
{
    const int* const weights = in.record.otuWeights;
    return !in.record.keepScale && PoolIsLongEnough(in.record) &&
           std::all_of(weights, weights + in.s, [](int weight) { return weight == 1; });
}

bool HasWholeTraits(const PermutationInputs& in)
{
    return HasPlainNumbers(in.s, in.t, in.record.B);
}

bool HasFiniteTraits(const PermutationInputs& in)
{
    return std::all_of(in.record.B, in.record.B + in.s, [&in](const double* row) {
        return std::all_of(row, row + in.t, [](double x) { return std::isfinite(x); });
    });
}

bool HasOrdinaryComposition(const PermutationInputs& in)
{
    const Input& record = in.record;
    const bool ofTraits = HasAmounts(in.n, in.s, record.W) && HasAmounts(in.s, in.g, record.U) &&
                          ProductsArePlain(in) && IsWhole(in.onTraits);
    if (!ofTraits || !in.withPhylogeny) return ofTraits;
    return HasAmounts(in.s, in.f, record.Q) && HasPlainNumbers(in.s, in.s, record.Sb) &&
           HasPlainNumbers(in.s, in.s, record.Sf) && IsWhole(*in.onPhylogeny);
}

bool HasWholeResemblances(const PermutationInputs& in)
{
    return HasPlainTriangle(in.n, in.record.DE) && HasPlainTriangle(in.n, in.record.DY) &&
           HasPlainTriangle(in.n, in.record.DZ);
}

bool HasWholeVariables(const PermutationInputs& in)
{
    if (!HasPlainNumbers(in.n, in.e, in.record.E)) return false;
    for (int j = 0; j < in.e; j++) {
        double mean = 0.0;
        for (int k = 0; k < in.n; k++) mean += in.record.E[k][j] / in.n;
        for (int k = 0; k < in.n; k++) // the mean's last bits depend on how it is summed
            if (std::fabs(in.record.E[k][j] - mean - missingValue) < 1e-3) return false;
    }
    return true;
}
