// SPDX-License-Identifier: GPL-3.0-or-later
#include "ranking/matrices.hpp"

#include <algorithm>

#include "numeric/adjust.hpp"
#include "numeric/diversity.hpp"
#include "numeric/information.hpp"
#include "numeric/matrix.hpp"
#include "numeric/resemblance.hpp"
#include "session/session.hpp"
#include "shell/preferences.hpp"

namespace {

std::size_t WholeBlocks(int columns)
{
    return static_cast<std::size_t>((columns + columnBlock - 1) / columnBlock * columnBlock);
}

} // namespace

SubsetMatrices::SubsetMatrices(SharedMatrices& shared, int nSearchers)
    : all(shared), select(all.t), rawT(all.n, all.t), subsetT(all.n, all.t),
      similarity(all.needs.types ? all.s : 0, all.s), Xrows(all.n, all.needs.types ? all.s : 0),
      rao(all.n, 1), dark(all.n, 1), width(WholeBlocks(all.g)),
      Qcells(static_cast<long>(width) * all.s), composed(static_cast<long>(width)),
      columns(static_cast<long>(std::max(all.g, 1)) * all.n + kernelBlock), unitRows(all.n, all.g),
      dt(all.n), dx(all.needs.types ? all.n : 0), dr(all.n), ds(all.n),
      traits(static_cast<std::size_t>(all.t))
{
    for (int i = 0; i < all.s; i++)
        Qrows.push_back(Qcells.values + static_cast<std::size_t>(i) * width);
    if (!IsQuick()) return;
    const long nCells = TriangleSize(all.n);
    squareSums =
        std::make_unique<PrefixSums<double>>(nCells, SharedMatrices::Levels(nCells, nSearchers));
    if (!all.needs.types) return;
    const long nPairs = static_cast<long>(all.s) * (all.s + 1L) / 2;
    const int nLevels = SharedMatrices::Levels(nPairs, nSearchers);
    similaritySums = std::make_unique<PrefixSums<float>>(nPairs, nLevels);
    if (!all.wholeTraits) countSums = std::make_unique<PrefixSums<float>>(nPairs, nLevels);
    belonging = std::make_unique<TypeBelonging>(all.s, all.g, session.partition_OTUs);
    if (all.crisp) Q(); // the same for all subsets
}

void SubsetMatrices::Select(const int* subset, int nSubset)
{
    k = nSubset;
    std::fill_n(select.values, all.t, 0);
    for (int j = 0; j < k; j++) {
        traits[static_cast<std::size_t>(j)] = subset[j] - 1;
        select[subset[j] - 1] = 1;
    }
    const Made before = made;
    made = {};
    if (!all.crisp) return;
    made.Q = before.Q;
    made.X = before.X;
    made.DX = before.DX && IsQuick(); // the general form may overwrite it
}

namespace {

/// The columns of the subset, the others 0.
void TakeColumns(const SharedMatrices& all, double** from, const int* select, double** to)
{
    for (int i = 0; i < all.n; i++)
        for (int j = 0; j < all.t; j++) to[i][j] = select[j] == 1 ? from[i][j] : 0.0;
}

} // namespace

double** SubsetMatrices::RawT()
{
    if (!made.RawT) TakeColumns(all, all.T, select, rawT);
    made.RawT = true;
    return rawT;
}

double** SubsetMatrices::T()
{
    if (!made.T) TakeColumns(all, all.unitT, select, subsetT);
    made.T = true;
    return subsetT;
}

const double* SubsetMatrices::SquaresOfT()
{
    return squareSums->Sum(*all.layersT, traits.data(), k);
}

Structure& SubsetMatrices::DT()
{
    if (made.DT) return dt;
    made.DT = true;
    if (IsQuick()) {
        dt.TakeSquares(SquaresOfT());
    } else {
        NominalReseNonHier(all.n, all.t, T(), dt.rows, euclideanDistance);
        all.Finish(dt);
    }
    return dt;
}

double** SubsetMatrices::S()
{
    if (made.S) return similarity;
    made.S = true;
    if (IsQuick()) {
        AverageQuickly();
    } else if (all.partial != nullptr) {
        gower_similarityAverage(all.t, all.s, *all.partial, similarity, select);
    } else {
        const OwnedRows ranged(all.s, all.t);
        RangeColsAdjMV(all.s, all.t, ranged, all.B);
        EucliDistMVSelect(all.s, all.t, ranged, similarity, select);
    }
    return similarity;
}

void SubsetMatrices::AverageQuickly()
{
    if (all.wholeTraits) {
        const double* const sums = similaritySums->Sum(all.partial->layer, traits.data(), k);
        AverageSimilarity(all.s, sums, k, similarity);
        return;
    }
    AverageSimilarity(all.s, similaritySums->Sum(*all.similarities, traits.data(), k),
                      countSums->Sum(*all.compared, traits.data(), k), similarity);
}

double** SubsetMatrices::Q()
{
    if (made.Q) return Qrows.data();
    made.Q = true;
    if (all.crisp)
        CrispBelonging(all.s, all.g, session.partition_OTUs, Qrows.data());
    else if (IsQuick())
        belonging->Fill(S(), Qrows.data());
    else
        FuzzyBelonging(all.s, all.g, S(), session.partition_OTUs, Qrows.data(),
                       all.partial == nullptr);
    return Qrows.data();
}

double** SubsetMatrices::X()
{
    if (made.X) return Xrows;
    made.X = true;
    if (IsQuick())
        ComposeQuickly();
    else
        MatrixProdMV_Weight(all.n, all.s, all.s, all.g, all.W0, Q(), Xrows, session.weight_OTUs);
    return Xrows;
}

void SubsetMatrices::ComposeQuickly()
{
    Q();
    for (int i = 0; i < all.n; i++) {
        const SharedMatrices::Present& present = all.present[static_cast<std::size_t>(i)];
        const int nPresent = static_cast<int>(present.otus.size());
        ActiveKernels().weightedRows(Qcells, width, nPresent, present.otus.data(),
                                     present.shares.data(), all.inOrder.data(), composed);
        std::copy_n(composed.values, all.g, Xrows[i]);
    }
}

Structure& SubsetMatrices::DX()
{
    if (made.DX) return dx;
    made.DX = true;
    if (IsQuick()) {
        CompareQuickly();
    } else {
        NominalReseNonHier(all.n, all.g, X(), dx.rows, session.rese_opt);
        all.Finish(dx);
    }
    return dx;
}

void SubsetMatrices::CompareQuickly()
{
    double** rows = X();
    if (session.rese_opt == chordDistance) {
        NormalizeRowsMV(all.n, all.g, rows, unitRows);
        rows = unitRows;
    }
    TransposeInto(all.g, rows);
    const std::size_t stride = static_cast<std::size_t>(all.n);
    if (session.rese_opt == absoluteValueFunction ||
        session.rese_opt == relativeAbsoluteValueFunction)
        dx.TakeDifferences(all.g, columns, stride);
    else
        dx.TakeDistances(all.g, columns, stride);
}

void SubsetMatrices::TransposeInto(int p, double* const* rows)
{
    for (int i = 0; i < all.n; i++)
        for (int j = 0; j < p; j++) columns[static_cast<long>(j) * all.n + i] = rows[i][j];
}

Structure& SubsetMatrices::LastDX()
{
    return dx;
}

double** SubsetMatrices::Rao()
{
    if (made.Rao) return rao;
    made.Rao = true;
    // Deliberate: only the first g OTUs count, g being the number of types; users' earlier results
    // depend on it. The same holds for Dark.
    for (int i = 0; i < all.n; i++)
        rao[i][0] = IsQuick() ? EntropyQuickly(i)
                              : RaoIndex_Weight(all.g, all.W0[i], S(), false,
                                                preferences.sqrtDissimOpt_RaoTraits,
                                                session.weight_OTUs, session.restrictRaoWithinOpt);
    return rao;
}

/// The pairs in the order of RaoIndex_Weight, with shares that are known and similarities that none
/// is missing of.
double SubsetMatrices::EntropyQuickly(int community)
{
    double Q = 0.0;
    const auto& members = all.entropyMembers[static_cast<std::size_t>(community)];
    for (const SharedMatrices::Member& i : members)
        for (const SharedMatrices::Member& j : members) {
            const double d =
                Dissimilarity(S()[i.otu][j.otu], false, preferences.sqrtDissimOpt_RaoTraits);
            const double weight = PairWeight(i.weight, j.weight, session.restrictRaoWithinOpt);
            Q += weight * j.share * d * i.share;
        }
    return Q;
}

Structure& SubsetMatrices::DR()
{
    if (made.DR) return dr;
    made.DR = true;
    if (IsQuick()) {
        TransposeInto(1, Rao());
        dr.TakeDifferences(1, columns, static_cast<std::size_t>(all.n));
    } else {
        AbsValFunctionMV(all.n, 1, Rao(), dr.rows);
    }
    return dr;
}

double** SubsetMatrices::Dark()
{
    if (made.Dark) return dark;
    made.Dark = true;
    for (int i = 0; i < all.n; i++) dark[i][0] = SumAbsDeviations(all.g, all.W0[i], X()[i], false);
    return dark;
}

Structure& SubsetMatrices::DS()
{
    if (made.DS) return ds;
    made.DS = true;
    if (IsQuick()) {
        TransposeInto(1, Dark());
        ds.TakeDistances(1, columns, static_cast<std::size_t>(all.n));
    } else {
        EucliDistMV(all.n, 1, Dark(), ds.rows);
    }
    return ds;
}

int SubsetMatrices::WidthOf(Part part) const
{
    switch (part) {
    case Part::E: return all.e;
    case Part::T: return all.t;
    case Part::X: return all.g;
    // Deliberate: the columns behind the types are 0, but they count; users' earlier results
    // depend on it.
    case Part::wideX:
    case Part::Z: return all.s;
    case Part::P: return all.f;
    case Part::Rao:
    case Part::Dark: return 1;
    }
    return 0;
}

Columns SubsetMatrices::Of(Part part)
{
    const int number = WidthOf(part);
    switch (part) {
    case Part::E: return {number, all.E};
    case Part::T: return {number, T()};
    case Part::X:
    case Part::wideX: return {number, X()};
    case Part::Rao: return {number, Rao()};
    case Part::Dark: return {number, Dark()};
    case Part::Z: return {number, all.Z};
    case Part::P: return {number, all.P};
    }
    return {0, nullptr};
}

Structure& SubsetMatrices::Resemblance(Part part)
{
    switch (part) {
    case Part::T: return DT();
    case Part::X:
    case Part::wideX: return DX();
    case Part::Rao: return DR();
    case Part::Dark: return DS();
    case Part::Z: return all.DZ;
    case Part::P: return all.DP;
    case Part::E: break;
    }
    return all.DE;
}
