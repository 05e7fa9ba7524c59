// SPDX-License-Identifier: GPL-3.0-or-later
#include "permutation/estimatedmantel.hpp"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "numeric/matrix.hpp"
#include "numeric/resemblance.hpp"
#include "numeric/triangle.hpp"
#include "permutation/estimatekernels.hpp"
#include "permutation/kernels.hpp"

namespace {

std::size_t Size(int n)
{
    return static_cast<std::size_t>(n);
}

OwnedRows BothTriangles(int n, double** upper)
{
    OwnedRows square(n, n);
    CopyMatrix(n, n, upper, square);
    UpperToLowerMatrix(n, square);
    return square;
}

} // namespace

PackedTriangle::PackedTriangle(int nObjects)
    : nCells(TriangleSize(nObjects)), cell(static_cast<std::size_t>(nCells) + kernelBlock)
{
}

MantelEstimation::MantelEstimation(const PermutationInputs& inputs,
                                   const ObservedResemblances& observed)
    : in(inputs), E(in.n, in.record.DE), Y(in.n, in.record.DY), Z(in.n, in.record.DZ),
      Sb(in.withPhylogeny ? in.s : 1, in.record.Sb), DT(0, 0), DX(0, 0), DP(0, 0), DR(0, 0),
      DRp(0, 0)
{
    if (in.moveTaxa) return;
    DT = BothTriangles(in.n, observed.DT);
    DX = BothTriangles(in.n, observed.DX);
    DR = BothTriangles(in.n, observed.DR);
    if (!in.withPhylogeny) return;
    DP = BothTriangles(in.n, observed.DP);
    DRp = BothTriangles(in.n, observed.DRp);
}

std::unique_ptr<StatisticEstimator> MantelEstimation::NewEstimator() const
{
    return std::make_unique<MantelEstimator>(*this);
}

// --- An arrangement

MantelEstimator::MantelEstimator(const MantelEstimation& prepared)
    : DT(prepared.in.n), DX(prepared.in.n), DP(prepared.in.withPhylogeny ? prepared.in.n : 1),
      DR(prepared.in.n), DRp(prepared.in.withPhylogeny ? prepared.in.n : 1), test(prepared),
      in(prepared.in), length(Size(in.n))
{
    if (in.resemblanceOption == chordMeasure)
        scaled.resize(Size(std::max(in.g, in.f)) * ColumnStride(in.n));
}

void MantelEstimator::Evaluate(const ArrangementColumns& columns, const int* list, Estimate* out)
{
    if (in.moveTaxa) {
        TakeDistances(columns);
        TakeDifferences(columns);
    } else {
        LookUp(list);
    }
    Correlate(out);
    if (in.withPhylogeny && in.moveTaxa) out[roBF] = Signal(list);
}

/// Site shuffle: the observed resemblances in another order.
void MantelEstimator::LookUp(const int* list)
{
    PackReordered(in.n, test.DT, list, DT.cell);
    PackReordered(in.n, test.DX, list, DX.cell);
    PackReordered(in.n, test.DR, list, DR.cell);
    if (!in.withPhylogeny) return;
    PackReordered(in.n, test.DP, list, DP.cell);
    PackReordered(in.n, test.DRp, list, DRp.cell);
}

void MantelEstimator::TakeDistances(const ArrangementColumns& columns)
{
    ActiveKernels().euclidean(in.n, in.t, columns.Traits(), columns.stride, DT.cell);
    Compare(columns.Types(), in.g, columns.stride, DX);
    if (in.withPhylogeny) Compare(columns.Taxa(), in.f, columns.stride, DP);
}

void MantelEstimator::TakeDifferences(const ArrangementColumns& columns)
{
    const PermutationKernels& kernels = ActiveKernels();
    kernels.cityBlock(in.n, 1, columns.R, columns.stride, DR.cell);
    if (in.withPhylogeny) kernels.cityBlock(in.n, 1, columns.Rp, columns.stride, DRp.cell);
}

/// Distances of X or P; for chords between rows of unit length.
void MantelEstimator::Compare(const double* composition, int p, std::size_t stride,
                              PackedTriangle& out)
{
    const PermutationKernels& kernels = ActiveKernels();
    if (in.resemblanceOption == absoluteValueMeasure) {
        kernels.cityBlock(in.n, p, composition, stride, out.cell);
        return;
    }
    if (in.resemblanceOption == chordMeasure) {
        MeasureRows(in.n, p, composition, stride, length.data());
        for (int j = 0; j < p; j++)
            for (std::size_t k = 0; k < length.size(); k++)
                scaled[Size(j) * stride + k] = composition[Size(j) * stride + k] / length[k];
        composition = scaled.data();
    }
    kernels.euclidean(in.n, p, composition, stride, out.cell);
}

void MantelEstimator::Correlate(Estimate* out)
{
    CorrelateTraits(out);
    TakeOut(out);
}

void MantelEstimator::CorrelateTraits(Estimate* out)
{
    const double nCells = static_cast<double>(DT.nCells);
    TraitMoments sums;
    ActiveEstimateKernels().traitMoments(
        static_cast<std::size_t>(DT.nCells),
        {test.E.cell, test.Y.cell, test.Z.cell, DT.cell, DX.cell, DR.cell}, sums);
    const Spread T(nCells, sums.T, sums.TT), X(nCells, sums.X, sums.XX), R(nCells, sums.R, sums.RR);
    out[rTE] = WithFixed(test.E, sums.TE, T);
    out[rTY] = WithFixed(test.Y, sums.TY, T);
    out[rTZ] = WithFixed(test.Z, sums.TZ, T);
    out[rXE] = WithFixed(test.E, sums.XE, X);
    out[rXY] = WithFixed(test.Y, sums.XY, X);
    out[rXZ] = WithFixed(test.Z, sums.XZ, X);
    out[rRE] = WithFixed(test.E, sums.RE, R);
    XT = OfMoving(nCells, sums.XT, X, T);
    XR = OfMoving(nCells, sums.XR, X, R);
    TR = OfMoving(nCells, sums.TR, T, R);
    if (in.withPhylogeny) CorrelatePhylogeny(T, X, out);
}

void MantelEstimator::CorrelatePhylogeny(const Spread& T, const Spread& X, Estimate* out)
{
    const double nCells = static_cast<double>(DT.nCells);
    PhylogenyMoments sums;
    ActiveEstimateKernels().phylogenyMoments(static_cast<std::size_t>(DT.nCells),
                                             {test.E.cell, DT.cell, DX.cell, DP.cell, DRp.cell},
                                             sums);
    const Spread P(nCells, sums.P, sums.PP), F(nCells, sums.F, sums.FF);
    out[roPE] = WithFixed(test.E, sums.PE, P);
    out[roPT] = OfMoving(nCells, sums.PT, P, T);
    out[roPX] = OfMoving(nCells, sums.PX, P, X);
    out[rFE] = WithFixed(test.E, sums.FE, F);
}

void MantelEstimator::TakeOut(Estimate* out) const
{
    out[rXE_T] = PartialEstimate(out[rXE], XT, out[rTE]);
    out[rXY_T] = PartialEstimate(out[rXY], XT, out[rTY]);
    out[rXZ_T] = PartialEstimate(out[rXZ], XT, out[rTZ]);
    const Estimate XE_R = PartialEstimate(out[rXE], XR, out[rRE]);
    const Estimate TE_R = PartialEstimate(out[rTE], TR, out[rRE]);
    const Estimate XT_R = PartialEstimate(XT, XR, TR);
    out[rXE_TR] = PartialEstimate(XE_R, XT_R, TE_R);
    if (!in.withPhylogeny) return;
    out[roPX_T] = PartialEstimate(out[roPX], XT, out[roPT]);
    out[roPE_T] = PartialEstimate(out[roPE], out[roPT], out[rTE]);
    out[roPE_X] = PartialEstimate(out[roPE], out[roPX], out[rXE]);
    out[roTE_P] = PartialEstimate(out[rTE], out[roPT], out[roPE]);
    out[roXE_P] = PartialEstimate(out[rXE], out[roPX], out[roPE]);
    const Estimate XT_P = PartialEstimate(XT, out[roPX], out[roPT]);
    out[roXE_TP] = PartialEstimate(out[roXE_P], XT_P, out[roTE_P]);
}

/// ro(BF): Sb against the phylogenetic resemblance in the order of the list, looked up cell by
/// cell.
Estimate MantelEstimator::Signal(const int* list) const
{
    double sum = 0.0, squares = 0.0, products = 0.0;
    const double* fixed = test.Sb.cell;
    for (int i = 0; i < in.s; i++) {
        const double* const row = in.record.Sf[list[i] - 1];
        for (int k = i + 1; k < in.s; k++) {
            const double x = row[list[k] - 1];
            sum += x;
            squares += x * x;
            products += x * *fixed++;
        }
    }
    return WithFixed(test.Sb, products, Spread(static_cast<double>(test.Sb.nCells), sum, squares));
}

std::unique_ptr<Estimation> EstimateMantel(const PermutationInputs& in,
                                           const ObservedResemblances& observed)
{
    const int option = in.resemblanceOption;
    const bool isKnown =
        option == euclideanMeasure || option == absoluteValueMeasure || option == chordMeasure;
    if (!isKnown || !HasWholeResemblances(in)) return nullptr;
    return std::make_unique<MantelEstimation>(in, observed);
}
