// SPDX-License-Identifier: GPL-3.0-or-later
#include "ranking/correlationestimates.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

#include "numeric/resemblance.hpp"
#include "session/session.hpp"

namespace {

std::size_t Room(long nCells)
{
    return static_cast<std::size_t>(nCells) + kernelBlock;
}

Part Moving(const Criterion& criterion)
{
    return IsSameForAllSubsets(criterion.first) ? criterion.second : criterion.first;
}

double* const* FixedRows(const Criterion& criterion, const SharedMatrices& all)
{
    switch (IsSameForAllSubsets(criterion.first) ? criterion.first : criterion.second) {
    case Part::P: return all.DP.rows;
    case Part::Z: return all.DZ.rows;
    default: return all.DE.rows;
    }
}

bool ComparesTypes(const Criterion& criterion)
{
    const Part part = Moving(criterion);
    return part == Part::X || part == Part::wideX;
}

Estimate Product(const Estimate& a, const Estimate& b)
{
    const double rounding = std::numeric_limits<double>::epsilon();
    return {a.value * b.value, a.error * std::fabs(b.value) + b.error * std::fabs(a.value) +
                                   a.error * b.error + rounding};
}

} // namespace

SharedCorrelations::SharedCorrelations(const Criterion& ranked, const SharedMatrices& all)
    : criterion(ranked), moving(Moving(ranked)), fixed(all.n, FixedRows(ranked, all)),
      niche(ranked.family == Family::niche ? all.n : 0, all.DP.rows),
      types(ComparesTypes(ranked) ? TypeSimilarity::Of(all) : nullptr)
{
}

std::unique_ptr<SubsetEstimates> SharedCorrelations::Of(SubsetMatrices& matrices,
                                                        int nSearchers) const
{
    return std::make_unique<SubsetCorrelations>(*this, matrices, nSearchers);
}

SubsetCorrelations::SubsetCorrelations(const SharedCorrelations& shared, SubsetMatrices& subset,
                                       int nSearchers)
    : all(shared), matrices(subset), nCells(shared.fixed.nCells), T(Room(nCells)), X(Room(nCells))
{
    if (all.types != nullptr)
        composition = std::make_unique<TypeComposition>(*all.types, nSearchers);
    else if (subset.all.crisp && ComparesTypes(all.criterion))
        std::copy_n(matrices.DX().Cells(), nCells, X.operator double*());
}

Estimate SubsetCorrelations::Value()
{
    if (all.criterion.without != Without::nothing) return WithoutT();
    const Cells cells = Take(all.moving);
    const Estimate r = Correlation(all.fixed, cells);
    return all.criterion.family == Family::niche ? Product(Correlation(all.niche, cells), r) : r;
}

/// Under Mantel the entropy is never taken out.
Estimate SubsetCorrelations::WithoutT()
{
    const Cells cellsT = TakeT(), cellsX = TakeX();
    CellSums sumsT, sumsX;
    const double products = ActiveCorrelations().pairSums(nCells, all.fixed.cell, cellsT.values,
                                                          cellsX.values, &sumsT, &sumsX);
    const double n = static_cast<double>(nCells);
    const Spread ofT(n, sumsT.cells, sumsT.squares, cellsT.error);
    const Spread ofX(n, sumsX.cells, sumsX.squares, cellsX.error);
    return PartialEstimate(WithFixed(all.fixed, sumsX.withFixed, ofX),
                           OfMoving(n, products, ofT, ofX),
                           WithFixed(all.fixed, sumsT.withFixed, ofT));
}

Estimate SubsetCorrelations::Correlation(const FixedTriangle& fixed, const Cells& cells) const
{
    CellSums sums;
    ActiveCorrelations().cellSums(nCells, fixed.cell, cells.values, &sums);
    return WithFixed(fixed, sums.withFixed,
                     Spread(static_cast<double>(nCells), sums.cells, sums.squares, cells.error));
}

SubsetCorrelations::Cells SubsetCorrelations::Take(Part part)
{
    switch (part) {
    case Part::T: return TakeT();
    case Part::Rao: return {matrices.DR().Cells(), 0.0};
    case Part::Dark: return {matrices.DS().Cells(), 0.0};
    default: return TakeX();
    }
}

SubsetCorrelations::Cells SubsetCorrelations::TakeT()
{
    ActiveVectors().roots(nCells, matrices.SquaresOfT(), T);
    return {T, 0.0};
}

SubsetCorrelations::Cells SubsetCorrelations::TakeX()
{
    if (matrices.all.crisp) return {X, 0.0}; // made once
    if (all.types == nullptr || all.types->MayPool(matrices.Traits(), matrices.Size()))
        return {matrices.DX().Cells(), 0.0};
    const double* const columns = composition->Columns(matrices.Traits(), matrices.Size());
    const bool isCityBlock = session.rese_opt == absoluteValueFunction ||
                             session.rese_opt == relativeAbsoluteValueFunction;
    const auto compare = isCityBlock ? ActiveKernels().cityBlock : ActiveKernels().euclidean;
    compare(matrices.all.n, matrices.all.g, columns, composition->Stride(), X);
    return {X, all.types->cellError};
}
