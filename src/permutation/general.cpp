// SPDX-License-Identifier: GPL-3.0-or-later
#include "permutation/general.hpp"

#include <algorithm>

#include "numeric/adjust.hpp"
#include "numeric/congruence.hpp"
#include "numeric/matrix.hpp"
#include "numeric/resemblance.hpp"
#include "permutation/formulas.hpp"
#include "permutation/models.hpp"

namespace {

using Input = PermTest_FunctionalPhyl_Correl_Input;

bool UsesDataMatrices(int measure)
{
    return measure == procrustes || measure == rvCoefficient;
}

int* Weights(const PermutationInputs& in)
{
    return in.record.otuWeights;
}

// --- Matrices of an arrangement

/// Row table of M in the order of the list; a draw beyond the pool has no OTU, a row of zeros.
void ReorderRows(const PermutationInputs& in, const int* list, double** M,
                 std::vector<double*>& rows)
{
    for (int i = 0; i < in.s; i++)
        rows[static_cast<std::size_t>(i)] =
            list[i] > 0 ? M[list[i] - 1] : static_cast<double*>(in.noOtu);
}

/// S with rows and columns in the order of the list, or null where there is no place for it.
double** Permuted(const int* list, const PermutationInputs& in, double** S,
                  std::optional<OwnedRows>& place)
{
    if (!place.has_value()) return nullptr;
    double** const out = *place;
    for (int i = 0; i < in.s; i++)
        for (int j = 0; j < in.s; j++)
            out[i][j] = list[i] > 0 && list[j] > 0 ? S[list[i] - 1][list[j] - 1] : 0.0;
    return out;
}

void ScaleUp(const int* list, const PermutationInputs& in, GeneralWorkspace& w)
{
    const Input& record = in.record;
    ReorderRows(in, list, record.B, w.rowsB);
    MatrixProdSelectMV_Adjust_Weight(in.n, in.s, in.s, in.t, record.W, w.rowsB.data(), w.T,
                                     record.selectedTraits, Weights(in), record.keepScale);
    NormalizeCols(in.n, in.t, w.T, w.T);
    ReorderRows(in, list, record.U, w.rowsU);
    MatrixProdMV_Weight(in.n, in.s, in.s, in.g, record.W, w.rowsU.data(), w.X, Weights(in),
                        record.keepScale);
    if (!in.withPhylogeny) return;
    ReorderRows(in, list, record.Q, w.rowsQ);
    MatrixProdMV_Weight(in.n, in.s, in.s, in.f, record.W, w.rowsQ.data(), w.P, Weights(in),
                        record.keepScale);
}

/// Entropies of all communities on one permuted resemblance. The prepared dissimilarities give the
/// bits of the permuted matrix, which is used itself where it exists.
void Entropies(const int* list, const PermutationInputs& in, const RaoDissimilarity& prepared,
               double** permuted, bool isDissimilarity, bool sqrtDissim, double** entropy,
               RaoRoom& room)
{
    const Input& record = in.record;
    for (int k = 0; k < in.n; k++)
        entropy[k][0] =
            permuted == nullptr
                ? RaoIndex_Weight(prepared, record.W[k], Weights(in), record.restrictRao,
                                  record.keepScale, list, room)
                : RaoIndex_Weight(in.s, record.W[k], permuted, isDissimilarity, sqrtDissim,
                                  Weights(in), record.restrictRao, record.keepScale, room);
}

void Diversify(const int* list, const PermutationInputs& in, GeneralWorkspace& w)
{
    const Input& record = in.record;
    Entropies(list, in, in.onTraits, Permuted(list, in, record.Sb, w.Srnd), false,
              record.sqrtTraits, w.R, w.entropies);
    if (!in.withPhylogeny) return;
    ReorderPhylogeny(list, in, w);
    Entropies(list, in, *in.onPhylogeny, Permuted(list, in, record.Sf, w.SfRnd),
              record.phylIsDissimilarity, record.sqrtPhyl, w.Rp, w.entropies);
}

void TakeCommunities(const int* list, const PermutationInputs& in, GeneralWorkspace& w)
{
    const Input& record = in.record;
    for (int k = 0; k < in.n; k++) {
        const int from = list[k] - 1;
        std::copy(record.T[from], record.T[from] + in.t, w.T.table[k]);
        std::copy(record.X[from], record.X[from] + in.g, w.X.table[k]);
        w.R.table[k][0] = record.Rf[from];
        if (!in.withPhylogeny) continue;
        std::copy(record.P[from], record.P[from] + in.f, w.P.table[k]);
        w.Rp.table[k][0] = record.Rp[from];
    }
}

void Resemble(const PermutationInputs& in, int p, double** data, double** out, int option,
              KeptRows& room)
{
    ResemblanceLib(in.n, p, data, out, 1, option, 0, nullptr, 0.0, 0.0, 0, false, &room);
}

void ResembleAll(const PermutationInputs& in, GeneralWorkspace& w)
{
    if (!in.usesResemblances) return;
    Resemble(in, in.t, w.T, w.DT, euclideanMeasure, w.resembled);
    Resemble(in, in.g, w.X, w.DX, in.resemblanceOption, w.resembled);
    AbsValFunctionMV(in.n, 1, w.R, w.DR);
    if (!in.withPhylogeny) return;
    Resemble(in, in.f, w.P, w.DP, in.resemblanceOption, w.resembled);
    AbsValFunctionMV(in.n, 1, w.Rp, w.DRp);
}

// --- Statistics under matrix correlation

void MantelOfTraits(const PermutationInputs& in, GeneralWorkspace& w)
{
    const Input& record = in.record;
    std::vector<double>& r = w.statistics.value;
    r[rTE] = CommunityCorr(in.n, record.DE, w.DT);
    r[rTY] = CommunityCorr(in.n, record.DY, w.DT);
    r[rTZ] = CommunityCorr(in.n, record.DZ, w.DT);
    r[rXE] = CommunityCorr(in.n, record.DE, w.DX);
    w.statistics.rXT = CommunityCorr(in.n, w.DX, w.DT);
    r[rXY] = CommunityCorr(in.n, w.DX, record.DY);
    r[rXZ] = CommunityCorr(in.n, w.DX, record.DZ);
    r[rRE] = MatrixCorr(in.n, record.DE, w.DR);
    w.statistics.rXR = MatrixCorr(in.n, w.DX, w.DR);
    w.statistics.rTR = MatrixCorr(in.n, w.DT, w.DR);
}

void MantelOfPhylogeny(const PermutationInputs& in, GeneralWorkspace& w)
{
    const Input& record = in.record;
    std::vector<double>& r = w.statistics.value;
    r[roPE] = CommunityCorr(in.n, record.DE, w.DP);
    r[roPT] = CommunityCorr(in.n, w.DP, w.DT);
    r[roPX] = CommunityCorr(in.n, w.DP, w.DX);
    r[rFE] = MatrixCorr(in.n, record.DE, w.DRp);
    if (w.otus != nullptr) r[roBF] = MatrixCorr(in.s, record.Sb, record.Sf, w.otus);
}

// --- Statistics under Procrustes and RV

struct DataMatrix {
    int columns;
    double** rows;
};

DataMatrix MatrixOf(Part part, const PermutationInputs& in, const GeneralWorkspace& w)
{
    const Input& record = in.record;
    switch (part) {
    case Part::T: return {in.t, w.T};
    case Part::X: return {in.g, w.X};
    case Part::P: return {in.f, w.P};
    case Part::R: return {1, w.R};
    case Part::Rp: return {1, w.Rp};
    case Part::E: return {in.e, record.E};
    case Part::Y: return {in.s, record.Y};
    default: return {in.s, record.Z};
    }
}

double Coefficient(int measure, int n, const DataMatrix& A, const DataMatrix& B,
                   CongruenceRoom& room)
{
    return measure == procrustes ? ProcrustesCoeff(n, A.columns, B.columns, A.rows, B.rows, room)
                                 : RVcoeff(n, A.columns, B.columns, A.rows, B.rows, room);
}

/// What a partial statistic takes out: one set of variables or two.
struct ControlSet {
    ControlBlock block[2];
    int nBlocks;
};

ControlSet ControlOf(Control control, const PermutationInputs& in, const GeneralWorkspace& w)
{
    const ControlBlock traits = {in.t, in.record.selectedTraits, w.T};
    const ControlBlock entropy = {1, nullptr, w.R};
    const ControlBlock types = {in.g, nullptr, w.X};
    const ControlBlock taxa = {in.f, nullptr, w.P};
    switch (control) {
    case Control::T: return {{traits, {}}, 1};
    case Control::TR: return {{traits, entropy}, 2};
    case Control::X: return {{types, {}}, 1};
    case Control::P: return {{taxa, {}}, 1};
    case Control::TP: return {{traits, taxa}, 2};
    default: return {};
    }
}

double CoefficientOf(const Formula& formula, const PermutationInputs& in, GeneralWorkspace& w)
{
    const DataMatrix A = MatrixOf(formula.first, in, w), B = MatrixOf(formula.second, in, w);
    if (formula.control == Control::none)
        return Coefficient(in.record.measure, in.n, A, B, w.coefficients);
    const ControlSet control = ControlOf(formula.control, in, w);
    return PartialMatrixCorrelation(in.n, A.columns, B.columns, A.rows, B.rows, in.record.measure,
                                    in.record.overfitFactor, control.nBlocks, control.block,
                                    w.coefficients);
}

double Signal(const PermutationInputs& in, GeneralWorkspace& w)
{
    return Coefficient(in.record.measure, in.s, {in.t, *in.normalizedB},
                       {in.record.nPCoA, w.rowsScores.data()}, w.coefficients);
}

void EvaluateCoefficients(const PermutationInputs& in, GeneralWorkspace& w)
{
    for (const Formula& formula : formulas)
        if (in.withPhylogeny || !formula.needsPhylogeny)
            w.statistics.value[formula.statistic] = CoefficientOf(formula, in, w);
    if (in.withPhylogeny && w.otus != nullptr) w.statistics.value[roBF] = Signal(in, w);
    if (!w.keepsMatrices) return; // only the file of intermediate results shows these
    const int measure = in.record.measure;
    const DataMatrix T = MatrixOf(Part::T, in, w), X = MatrixOf(Part::X, in, w);
    const DataMatrix R = MatrixOf(Part::R, in, w);
    w.statistics.rXT = Coefficient(measure, in.n, X, T, w.coefficients);
    w.statistics.rXR = Coefficient(measure, in.n, X, R, w.coefficients);
    w.statistics.rTR = Coefficient(measure, in.n, T, R, w.coefficients);
}

} // namespace

void EvaluateStatistics(const PermutationInputs& in, GeneralWorkspace& w)
{
    ResembleAll(in, w);
    switch (in.record.measure) {
    case mantel:
        MantelOfTraits(in, w);
        if (in.withPhylogeny) MantelOfPhylogeny(in, w);
        PartialMantel(w.statistics, in.withPhylogeny);
        break;
    case procrustes:
    case rvCoefficient: EvaluateCoefficients(in, w); break;
    case linearRegression: EvaluateRegression(in, w); break;
    case varianceAnalysis: EvaluateAnova(in, w); break;
    default: break;
    }
}

double ExactCoefficient(Statistic statistic, const PermutationInputs& in, GeneralWorkspace& w)
{
    for (const Formula& formula : formulas)
        if (formula.statistic == statistic) return CoefficientOf(formula, in, w);
    return Signal(in, w);
}

void ReorderPhylogeny(const int* list, const PermutationInputs& in, GeneralWorkspace& w)
{
    w.otus = list;
    if (!w.rowsScores.empty()) ReorderRows(in, list, in.record.pcoaScores, w.rowsScores);
}

namespace {

// --- A whole arrangement

void MoveOtus(const int* list, const PermutationInputs& in, GeneralWorkspace& w)
{
    ScaleUp(list, in, w);
    Diversify(list, in, w);
    EvaluateStatistics(in, w);
}

void MoveCommunities(const int* list, const PermutationInputs& in, GeneralWorkspace& w)
{
    TakeCommunities(list, in, w);
    w.otus = nullptr; // no OTU moves, so ro(BF) has no null distribution
    EvaluateStatistics(in, w);
}

class GeneralEvaluator : public Evaluator
{
public:
    explicit GeneralEvaluator(const PermutationInputs& inputs) : in(inputs), w(inputs, false) {}
    void Evaluate(const int* orders, int count, double* counts) override
    {
        for (int m = 0; m < count; m++) {
            EvaluateOrder(orders + static_cast<std::ptrdiff_t>(m) * in.orderLength, in, w);
            CountReached(in.comparisons, w.statistics, counts);
        }
    }

private:
    const PermutationInputs& in;
    GeneralWorkspace w;
};

} // namespace

GeneralWorkspace::GeneralWorkspace(const PermutationInputs& in, bool keeps)
    : keepsMatrices(keeps), statistics(in.model.nValues), T(in.n, in.t + 2), X(in.n, in.g),
      P(in.n, in.f), R(in.n, 1), Rp(in.n, 1), DT(in.usesResemblances ? in.n : 0, in.n),
      DX(in.usesResemblances ? in.n : 0, in.n), DP(in.usesResemblances ? in.n : 0, in.n),
      DR(in.usesResemblances ? in.n : 0, in.n), DRp(in.usesResemblances ? in.n : 0, in.n),
      rowsB(static_cast<std::size_t>(in.s)), rowsU(static_cast<std::size_t>(in.s)),
      rowsQ(static_cast<std::size_t>(in.s))
{
    // A draw beyond the pool of occurrences has no OTU, and so no prepared dissimilarity.
    if (keepsMatrices || in.record.weightedNull) Srnd.emplace(in.s, in.s);
    if (Srnd.has_value() && in.withPhylogeny) SfRnd.emplace(in.s, in.s);
    entropies.Reserve(in.s);
    if (in.usesResemblances) resembled.Reserve(in.n, std::max(in.g, in.f));
    if (UsesDataMatrices(in.record.measure)) ReserveCoefficients(in);
    if (in.record.measure != linearRegression) return;
    fit.Reserve(in.n, in.model.nResponses, in.e);
    fitted.emplace(in.n, in.t + 2);
    intercept = OwnedVector(in.t + 2);
    for (int factor = 0; factor < in.e; factor++)
        coefficient.push_back(statistics.value.data() + in.model.Coefficient(factor, 0));
}

void GeneralWorkspace::ReserveCoefficients(const PermutationInputs& in)
{
    const int measure = in.record.measure;
    for (const Formula& formula : formulas) {
        if (formula.needsPhylogeny && !in.withPhylogeny) continue;
        const int p1 = MatrixOf(formula.first, in, *this).columns;
        const int p2 = MatrixOf(formula.second, in, *this).columns;
        const ControlSet control = ControlOf(formula.control, in, *this);
        coefficients.ReservePartial(measure, in.n, p1, p2,
                                    CountControl(control.nBlocks, control.block));
    }
    coefficients.Reserve(measure, in.n, in.g, in.t); // of X and T, for the file
    if (!in.withPhylogeny) return;
    rowsScores.resize(static_cast<std::size_t>(in.s));
    coefficients.Reserve(measure, in.s, in.t, in.record.nPCoA);
}

void EvaluateObserved(const PermutationInputs& in, GeneralWorkspace& w)
{
    OwnedInts inPlace(in.s);
    for (int i = 0; i < in.s; i++) inPlace[i] = i + 1;
    MoveOtus(inPlace, in, w);
    w.otus = nullptr;
}

void EvaluateOrder(const int* order, const PermutationInputs& in, GeneralWorkspace& w)
{
    if (in.moveTaxa)
        MoveOtus(order, in, w);
    else
        MoveCommunities(order, in, w);
}

std::unique_ptr<Evaluator> GeneralForm::NewEvaluator() const
{
    return std::make_unique<GeneralEvaluator>(in);
}
