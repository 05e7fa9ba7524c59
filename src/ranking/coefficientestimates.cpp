// SPDX-License-Identifier: GPL-3.0-or-later
#include "ranking/coefficientestimates.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

#include "numeric/congruence.hpp"
#include "numeric/statistics.hpp"
#include "session/session.hpp"
#include "shell/preferences.hpp"

namespace {

/// Deviations within this length never turn out as the code of a missing cell, which the exact form
/// would leave out.
const double longestColumn = -missingValue;

double Product(int n, const double* a, const double* b)
{
    double sum = 0.0;
#pragma omp simd reduction(+ : sum)
    for (int i = 0; i < n; i++) sum += a[i] * b[i];
    return sum;
}

/// The column less its mean; returns its sum of squares before.
double TakeCentred(int n, double* const* rows, int column, double* to)
{
    double sum = 0.0;
    for (int i = 0; i < n; i++) sum += rows[i][column];
    for (int i = 0; i < n; i++) to[i] = rows[i][column] - sum / n;
    double raw = 0.0;
    for (int i = 0; i < n; i++) raw += rows[i][column] * rows[i][column];
    return raw;
}

/// Columns whose sum is the same in all rows lose one rank when they are centred.
int RankOf(int n, int p, double* const* rows)
{
    double smallest = std::numeric_limits<double>::infinity(), largest = -smallest;
    for (int i = 0; i < n; i++) {
        double total = 0.0;
        for (int j = 0; j < p; j++) total += rows[i][j];
        smallest = std::min(smallest, total);
        largest = std::max(largest, total);
    }
    const bool isConstant = largest - smallest <= 1e-12 * std::fabs(largest);
    return std::min(n - 1, isConstant ? p - 1 : p);
}

/// The columns of a criterion's structure that does not change.
Columns Fixed(const Criterion& criterion, const SharedMatrices& all)
{
    switch (IsSameForAllSubsets(criterion.first) ? criterion.first : criterion.second) {
    case Part::P: return {all.f, all.P};
    case Part::Z: return {all.s, all.Z};
    default: return {all.e, all.E};
    }
}

Part Changing(const Criterion& criterion)
{
    return IsSameForAllSubsets(criterion.first) ? criterion.second : criterion.first;
}

} // namespace

SharedCoefficients::SharedCoefficients(const Criterion& ranked, const SharedMatrices& all)
    : criterion(ranked), n(all.n), t(all.t), g(all.g), p(Fixed(ranked, all).number), usable(p > 0),
      rankX(std::min(n - 1, g)), M(usable ? p : 0, n), T(usable ? t : 0, n), MM(usable ? p : 0, p),
      MT(usable ? t : 0, p), TT(t, t), TKT(t, t), TKKT(t, t),
      rawSumSquares(static_cast<std::size_t>(t)), reference(0)
{
    if (!usable) return;
    CentreReference(all);
    CentreTraits(all);
}

std::unique_ptr<SubsetEstimates> SharedCoefficients::Of(SubsetMatrices& matrices, int) const
{
    return std::make_unique<SubsetCoefficients>(*this, matrices);
}

void SharedCoefficients::CentreReference(const SharedMatrices& all)
{
    double** const rows = Fixed(criterion, all).rows;
    for (int i = 0; i < n; i++)
        for (int j = 0; j < p; j++) usable = usable && !IsMissing(rows[i][j]);
    for (int j = 0; j < p; j++) reference.rawTrace += TakeCentred(n, rows, j, M[j]);
    for (int j = 0; j < p; j++)
        for (int k = 0; k < p; k++) {
            MM[j][k] = Product(n, M[j], M[k]);
            reference.squaredNorm += MM[j][k] * MM[j][k];
            if (j == k) reference.trace += MM[j][j];
        }
    reference.rank = RankOf(n, p, rows);
    // Not true of NaN and infinities either.
    usable = usable && std::sqrt(reference.trace) < longestColumn;
    if (!all.needs.types) return;
    const OwnedRows totals(n, 1);
    for (int i = 0; i < n; i++)
        for (const double share : all.present[static_cast<std::size_t>(i)].shares)
            totals[i][0] += share;
    rankX = std::min(n - 1, g - 1 + RankOf(n, 1, totals)); // memberships of an OTU sum up to 1
}

void SharedCoefficients::CentreTraits(const SharedMatrices& all)
{
    for (int j = 0; j < t; j++) {
        rawSumSquares[static_cast<std::size_t>(j)] = TakeCentred(n, all.unitT, j, T[j]);
        usable = usable && std::isfinite(rawSumSquares[static_cast<std::size_t>(j)]);
        for (int k = 0; k < p; k++) MT[j][k] = Product(n, T[j], M[k]);
    }
    for (int i = 0; i < t; i++) {
        std::vector<double> further(static_cast<std::size_t>(p)); // M'M M'T
        for (int k = 0; k < p; k++) further[static_cast<std::size_t>(k)] = Product(p, MM[k], MT[i]);
        for (int j = 0; j < t; j++) {
            TT[i][j] = Product(n, T[i], T[j]);
            TKT[i][j] = Product(p, MT[i], MT[j]);
            TKKT[i][j] = Product(p, further.data(), MT[j]);
        }
    }
}

SubsetCoefficients::SubsetCoefficients(const SharedCoefficients& shared, SubsetMatrices& subset)
    : all(shared), matrices(subset), moving(all.t + all.g + 1), reference(moving.m),
      estimator(all.n, all.p, moving), columns(all.g + 1, all.n), products(all.g + 1, all.p)
{
    reference.rank = all.reference.rank;
    reference.trace = all.reference.trace;
    reference.rawTrace = all.reference.rawTrace;
    reference.squaredNorm = all.reference.squaredNorm;
    traits.reserve(static_cast<std::size_t>(all.t));
    control.reserve(static_cast<std::size_t>(all.t) + 1);
}

/// What was computed for all traits, of those of the subset.
void SubsetCoefficients::TakeTraits()
{
    traits.clear();
    control.clear();
    for (int j = 0; j < all.t; j++)
        if (matrices.select[j] == 1) traits.push_back(j);
    const int k = static_cast<int>(traits.size());
    for (int i = 0; i < k; i++) {
        const int a = traits[static_cast<std::size_t>(i)];
        control.push_back(i);
        moving.rawSumSquares[static_cast<std::size_t>(i)] =
            all.rawSumSquares[static_cast<std::size_t>(a)];
        for (int j = 0; j < k; j++) {
            const int b = traits[static_cast<std::size_t>(j)];
            moving.ZZ(i, j) = all.TT[a][b];
            reference.ZKZ(i, j) = all.TKT[a][b];
            reference.ZKKZ(i, j) = all.TKKT[a][b];
        }
    }
}

/// A column of X, or the vector in place g, centred.
void SubsetCoefficients::TakeColumn(int place, double* const* rows, int column)
{
    moving.rawSumSquares[static_cast<std::size_t>(all.t + place)] =
        TakeCentred(all.n, rows, column, columns[place]);
    for (int k = 0; k < all.p; k++) products[place][k] = Product(all.n, columns[place], all.M[k]);
    AddProducts(place);
    const int own = all.t + place;
    isBounded = isBounded && std::sqrt(moving.ZZ(own, own)) < longestColumn;
}

/// Its products with the traits of the subset and with the columns taken before.
void SubsetCoefficients::AddProducts(int place)
{
    const int own = all.t + place;
    for (std::size_t i = 0; i < traits.size(); i++) {
        const int other = static_cast<int>(i);
        const int trait = traits[i];
        moving.ZZ(own, other) = moving.ZZ(other, own) =
            Product(all.n, columns[place], all.T[trait]);
        reference.ZKZ(own, other) = reference.ZKZ(other, own) =
            Product(all.p, products[place], all.MT[trait]);
    }
    for (int other = 0; other <= place; other++) {
        const int of = all.t + other;
        moving.ZZ(own, of) = moving.ZZ(of, own) = Product(all.n, columns[place], columns[other]);
        reference.ZKZ(own, of) = reference.ZKZ(of, own) =
            Product(all.p, products[place], products[other]);
    }
}

Estimate SubsetCoefficients::Value()
{
    const Part part = Changing(all.criterion);
    const bool withRao = all.criterion.without == Without::TandRao;
    const bool ofVector = part == Part::Rao || part == Part::Dark;
    const bool ofX = part == Part::X || part == Part::wideX;
    isBounded = true;
    traits.clear();
    if (part == Part::T || all.criterion.without != Without::nothing) TakeTraits();
    for (int c = 0; c < all.g && ofX; c++) TakeColumn(c, matrices.X(), c);
    if (withRao || ofVector)
        TakeColumn(all.g, part == Part::Dark ? matrices.Dark() : matrices.Rao(), 0);
    if (!isBounded) return {0.0, std::numeric_limits<double>::infinity()};

    const int vector = all.t + all.g;
    const int k = static_cast<int>(traits.size());
    const ColumnBlock A = ofX        ? ColumnBlock{all.t, all.g, all.rankX}
                          : ofVector ? ColumnBlock{vector, 1, 1}
                                     : ColumnBlock{0, k, std::min(k, all.n - 1)};
    if (all.criterion.without == Without::nothing)
        return estimator.Whole(session.opt_ro, A, reference);
    if (withRao) {
        control.push_back(vector);
        for (std::size_t i = 0; i < control.size(); i++) {
            const bool isTrait = i < traits.size();
            const double* const v = isTrait ? all.MT[traits[i]] : products[all.g];
            double sum = 0.0;
            for (int j = 0; j < all.p; j++)
                sum += v[j] * Product(all.p, all.MM[j], products[all.g]);
            reference.ZKKZ(vector, control[i]) = reference.ZKKZ(control[i], vector) = sum;
        }
    }
    estimator.SetControl(control, preferences.overfitFactorPCARegr);
    return estimator.Partial(session.opt_ro, A, reference);
}
