// SPDX-License-Identifier: GPL-3.0-or-later
#include "permutation/estimatedcoefficients.hpp"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <initializer_list>
#include <memory>
#include <optional>
#include <vector>

#include "numeric/congruence.hpp"
#include "numeric/crossproducts.hpp"
#include "numeric/statistics.hpp"
#include "permutation/formulas.hpp"
#include "permutation/movingcolumns.hpp"

namespace {

std::size_t Size(int n)
{
    return static_cast<std::size_t>(n);
}

// --- The test

/// Whether the rows of M sum up to the same, so that the centred columns lose one rank.
bool SumsAreEqual(int rows, int columns, double** M)
{
    for (int i = 0; i < rows; i++) {
        double sum = 0.0, first = 0.0;
        for (int j = 0; j < columns; j++) {
            sum += M[i][j];
            first += M[0][j];
        }
        if (!(std::fabs(sum - first) <= 1e-13 * first)) return false;
    }
    return true;
}

/// What the estimates of coefficients need of a test.
class CoefficientEstimation : public Estimation
{
public:
    explicit CoefficientEstimation(const PermutationInputs& inputs);
    std::unique_ptr<StatisticEstimator> NewEstimator() const override;
    bool IsUsable() const;

    const PermutationInputs& in; // borrowed
    const bool isRV;
    int nColumns = 0;                     // of Z
    ColumnBlock blocks[nMovingParts];     // by Part
    std::vector<int> controls[nControls]; // columns of Z that a control takes out
    FixedReference E, Y, Z;
    // ro(BF) under shuffles that draw each OTU once: the scores of the OTUs on the phylogeny
    std::optional<FixedReference> scores;

private:
    void Place(Part part, int count, int rank);
    void PlaceAll();
    void AddToControls(Part part, std::initializer_list<Control> sets);
};

CoefficientEstimation::CoefficientEstimation(const PermutationInputs& inputs)
    : in(inputs), isRV(in.record.measure == rvCoefficient), E(in.n, in.e, in.record.E),
      Y(in.n, in.s, in.record.Y), Z(in.n, in.s, in.record.Z)
{
    PlaceAll();
    if (in.withPhylogeny && in.moveTaxa && !in.record.weightedNull)
        scores.emplace(in.s, in.record.nPCoA, in.record.pcoaScores);
    if (scores.has_value() && !scores->isUsable) scores.reset();
    AddToControls(Part::T, {Control::T, Control::TR, Control::TP});
    AddToControls(Part::R, {Control::TR});
    AddToControls(Part::X, {Control::X});
    if (in.withPhylogeny) AddToControls(Part::P, {Control::P, Control::TP});
}

void CoefficientEstimation::Place(Part part, int count, int rank)
{
    blocks[static_cast<int>(part)] = {nColumns, count, std::min(rank, in.n - 1)};
    nColumns += count;
}

void CoefficientEstimation::PlaceAll()
{
    const int* const selected = in.record.selectedTraits;
    const bool unitTotals = SumsAreEqual(in.n, in.s, in.record.W);
    const int lostByX = unitTotals && SumsAreEqual(in.s, in.g, in.record.U) ? 1 : 0;
    Place(Part::T, in.t, static_cast<int>(std::count(selected, selected + in.t, 1)));
    Place(Part::X, in.g, in.g - lostByX);
    if (in.withPhylogeny) {
        const int lostByP = unitTotals && SumsAreEqual(in.s, in.f, in.record.Q) ? 1 : 0;
        Place(Part::P, in.f, in.f - lostByP);
    }
    Place(Part::R, 1, 1);
    if (in.withPhylogeny) Place(Part::Rp, 1, 1);
}

/// Of T only the traits in use are taken out.
void CoefficientEstimation::AddToControls(Part part, std::initializer_list<Control> sets)
{
    const ColumnBlock& block = blocks[static_cast<int>(part)];
    for (const Control set : sets)
        for (int j = 0; j < block.count; j++)
            if (part != Part::T || in.record.selectedTraits[j] == 1)
                controls[static_cast<int>(set)].push_back(block.first + j);
}

bool CoefficientEstimation::IsUsable() const
{
    return E.isUsable && Y.isUsable && Z.isUsable;
}

// --- An arrangement

/// Estimates ro(BF) of one order of the OTUs after another.
class SignalEstimator
{
public:
    explicit SignalEstimator(const CoefficientEstimation& prepared);
    Estimate Value(const int* list);

private:
    const CoefficientEstimation& test; // borrowed
    const PermutationInputs& in;
    MovingColumns moving;
    ReferenceProducts products;
    OwnedVector column; // s
    CongruenceEstimator estimator;
};

class CoefficientEstimator : public StatisticEstimator
{
public:
    explicit CoefficientEstimator(const CoefficientEstimation& prepared);
    void Evaluate(const ArrangementColumns& columns, const int* list, Estimate* out) override;

private:
    bool TakeColumns(const ArrangementColumns& columns);
    bool TakeBlock(Part part, const double* columns, std::size_t stride);
    void Refer();
    Estimate Value(const Formula& formula);
    const ReferenceProducts& Reference(Part part) const;

    const CoefficientEstimation& test; // borrowed
    const PermutationInputs& in;
    MovingColumns moving;
    ReferenceProducts toE, toY, toZ, toP;
    CongruenceEstimator estimator;
    std::optional<SignalEstimator> signal;
};

CoefficientEstimator::CoefficientEstimator(const CoefficientEstimation& prepared)
    : test(prepared), in(prepared.in), moving(in.n, test.nColumns), toE(moving.m), toY(moving.m),
      toZ(moving.m), toP(moving.m), estimator(in.n, std::max(in.e, in.s), moving.products)
{
    if (test.scores.has_value()) signal.emplace(test);
}

void CoefficientEstimator::Evaluate(const ArrangementColumns& columns, const int* list,
                                    Estimate* out)
{
    std::fill(out, out + nStatistics, Estimate{0.0, HUGE_VAL});
    if (signal.has_value()) out[roBF] = signal->Value(list);
    if (!TakeColumns(columns)) return;
    moving.MultiplyThemselves();
    Refer();
    Control current = Control::none;
    for (const Formula& formula : formulas) {
        if (formula.needsPhylogeny && !in.withPhylogeny) continue;
        if (formula.control != current)
            estimator.SetControl(test.controls[static_cast<int>(formula.control)],
                                 in.record.overfitFactor);
        current = formula.control;
        out[formula.statistic] = Value(formula);
    }
}

bool CoefficientEstimator::TakeBlock(Part part, const double* columns, std::size_t stride)
{
    const ColumnBlock& block = test.blocks[static_cast<int>(part)];
    bool isPlain = true;
    for (int j = 0; j < block.count; j++)
        isPlain = moving.Take(block.first + j, columns + Size(j) * stride) && isPlain;
    return isPlain;
}

bool CoefficientEstimator::TakeColumns(const ArrangementColumns& from)
{
    bool isPlain = TakeBlock(Part::T, from.Traits(), from.stride);
    isPlain = TakeBlock(Part::X, from.Types(), from.stride) && isPlain;
    isPlain = TakeBlock(Part::R, from.R, from.stride) && isPlain;
    if (!in.withPhylogeny) return isPlain;
    isPlain = TakeBlock(Part::P, from.Taxa(), from.stride) && isPlain;
    return TakeBlock(Part::Rp, from.Rp, from.stride) && isPlain;
}

void CoefficientEstimator::Refer()
{
    moving.Refer(test.E, test.isRV, toE);
    moving.Refer(test.Y, test.isRV, toY);
    moving.Refer(test.Z, test.isRV, toZ);
    if (in.withPhylogeny)
        ReferToBlock(moving.products, test.blocks[static_cast<int>(Part::P)], toP);
}

/// Coefficients are symmetric: the matrix that does not move is the reference, or else P.
Estimate CoefficientEstimator::Value(const Formula& formula)
{
    const bool firstIsReference =
        IsFixed(formula.first) || (formula.first == Part::P && !IsFixed(formula.second));
    const Part reference = firstIsReference ? formula.first : formula.second;
    const Part moved = firstIsReference ? formula.second : formula.first;
    const ColumnBlock& A = test.blocks[static_cast<int>(moved)];
    const int measure = in.record.measure;
    return formula.control == Control::none ? estimator.Whole(measure, A, Reference(reference))
                                            : estimator.Partial(measure, A, Reference(reference));
}

const ReferenceProducts& CoefficientEstimator::Reference(Part part) const
{
    switch (part) {
    case Part::E: return toE;
    case Part::Y: return toY;
    case Part::Z: return toZ;
    default: return toP;
    }
}

// --- ro(BF)

SignalEstimator::SignalEstimator(const CoefficientEstimation& prepared)
    : test(prepared), in(prepared.in), moving(in.s, in.t), products(moving.m), column(in.s),
      estimator(in.s, in.record.nPCoA, moving.products)
{
}

/// Moving the scores by a list or the traits by its inverse comes to the same.
Estimate SignalEstimator::Value(const int* list)
{
    for (int j = 0; j < in.t; j++) {
        for (int i = 0; i < in.s; i++) column[list[i] - 1] = (*in.normalizedB)[i][j];
        moving.Take(j, column);
    }
    moving.MultiplyThemselves();
    moving.Refer(*test.scores, test.isRV, products);
    return estimator.Whole(in.record.measure, {0, in.t, std::min(in.t, in.s - 1)}, products);
}

std::unique_ptr<StatisticEstimator> CoefficientEstimation::NewEstimator() const
{
    return std::make_unique<CoefficientEstimator>(*this);
}

} // namespace

std::unique_ptr<Estimation> EstimateCoefficients(const PermutationInputs& in)
{
    auto estimation = std::make_unique<CoefficientEstimation>(in);
    if (!estimation->IsUsable()) return nullptr;
    return estimation;
}
