#include "permutation/general.hpp"

#include <algorithm>

#include "numeric/adjust.hpp"
#include "numeric/congruence.hpp"
#include "numeric/matrix.hpp"
#include "numeric/resemblance.hpp"
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

/// S with rows and columns in the order of the list.
void ReorderResemblance(int s, const int* list, double** S, double** out)
{
    for (int i = 0; i < s; i++)
        for (int j = 0; j < s; j++)
            out[i][j] = list[i] > 0 && list[j] > 0 ? S[list[i] - 1][list[j] - 1] : 0.0;
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
               double** permuted, bool isDissimilarity, bool sqrtDissim, double** entropy)
{
    const Input& record = in.record;
    for (int k = 0; k < in.n; k++)
        entropy[k][0] = permuted == nullptr
                            ? RaoIndex_Weight(prepared, record.W[k], Weights(in),
                                              record.restrictRao, record.keepScale, list)
                            : RaoIndex_Weight(in.s, record.W[k], permuted, isDissimilarity,
                                              sqrtDissim, Weights(in), record.restrictRao,
                                              record.keepScale);
}

void Diversify(const int* list, const PermutationInputs& in, GeneralWorkspace& w)
{
    const Input& record = in.record;
    double** permuted = nullptr;
    if (w.Srnd.has_value()) {
        ReorderResemblance(in.s, list, record.Sb, *w.Srnd);
        permuted = *w.Srnd;
    }
    Entropies(list, in, in.onTraits, permuted, false, record.sqrtTraits, w.R);
    if (!in.withPhylogeny) return;
    ReorderResemblance(in.s, list, record.Sf, *w.SfRnd);
    Entropies(list, in, *in.onPhylogeny,
              permuted == nullptr ? nullptr : static_cast<double**>(*w.SfRnd),
              record.phylIsDissimilarity, record.sqrtPhyl, w.Rp);
    if (w.scores.has_value())
        for (int i = 0; i < in.s; i++) {
            const double* from = list[i] > 0 ? record.pcoaScores[list[i] - 1] : in.noOtu;
            std::copy(from, from + std::min(record.nPCoA, in.s), w.scores->table[i]);
        }
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

void Resemble(const PermutationInputs& in, int p, double** data, double** out, int option)
{
    ResemblanceLib(in.n, p, data, out, 1, option, 0, nullptr, 0.0, 0.0, 0, false);
}

void ResembleAll(const PermutationInputs& in, GeneralWorkspace& w)
{
    if (!in.usesResemblances) return;
    Resemble(in, in.t, w.T, w.DT, euclideanMeasure);
    Resemble(in, in.g, w.X, w.DX, in.resemblanceOption);
    AbsValFunctionMV(in.n, 1, w.R, w.DR);
    if (!in.withPhylogeny) return;
    Resemble(in, in.f, w.P, w.DP, in.resemblanceOption);
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
    if (w.hasPermutedOtus) r[roBF] = MatrixCorr(in.s, record.Sb, *w.SfRnd);
}

// --- Statistics under Procrustes and RV

double Coefficient(const PermutationInputs& in, int p1, int p2, double** A, double** B)
{
    return in.record.measure == procrustes ? ProcrustesCoeff(in.n, p1, p2, A, B)
                                           : RVcoeff(in.n, p1, p2, A, B);
}

double PartialCoefficient(const PermutationInputs& in, int p1, int p2, double** A, double** B,
                          int nControl, const ControlBlock* control)
{
    return PartialMatrixCorrelation(in.n, p1, p2, A, B, in.record.measure,
                                    in.record.overfitFactor, nControl, control);
}

void CoefficientsOfTraits(const PermutationInputs& in, GeneralWorkspace& w)
{
    const Input& record = in.record;
    std::vector<double>& r = w.statistics.value;
    const ControlBlock traitsAndEntropy[] = {{in.t, record.selectedTraits, w.T},
                                             {1, nullptr, w.R}};
    r[rTE] = Coefficient(in, in.t, in.e, w.T, record.E);
    r[rTY] = Coefficient(in, in.t, in.s, w.T, record.Y);
    r[rTZ] = Coefficient(in, in.t, in.s, w.T, record.Z);
    r[rXE] = Coefficient(in, in.g, in.e, w.X, record.E);
    r[rXY] = Coefficient(in, in.g, in.s, w.X, record.Y);
    r[rXZ] = Coefficient(in, in.g, in.s, w.X, record.Z);
    r[rXE_T] = PartialCoefficient(in, in.g, in.e, w.X, record.E, 1, traitsAndEntropy);
    r[rXY_T] = PartialCoefficient(in, in.g, in.s, w.X, record.Y, 1, traitsAndEntropy);
    r[rXZ_T] = PartialCoefficient(in, in.g, in.s, w.X, record.Z, 1, traitsAndEntropy);
    r[rRE] = Coefficient(in, 1, in.e, w.R, record.E);
    r[rXE_TR] = PartialCoefficient(in, in.g, in.e, w.X, record.E, 2, traitsAndEntropy);
    if (!w.keepsMatrices) return; // only the file of intermediate results shows these
    w.statistics.rXT = Coefficient(in, in.g, in.t, w.X, w.T);
    w.statistics.rXR = Coefficient(in, in.g, 1, w.X, w.R);
    w.statistics.rTR = Coefficient(in, in.t, 1, w.T, w.R);
}

void CoefficientsOfPhylogeny(const PermutationInputs& in, GeneralWorkspace& w)
{
    const Input& record = in.record;
    std::vector<double>& r = w.statistics.value;
    const ControlBlock traits = {in.t, record.selectedTraits, w.T};
    const ControlBlock types = {in.g, nullptr, w.X};
    const ControlBlock taxa = {in.f, nullptr, w.P};
    const ControlBlock traitsAndTaxa[] = {traits, taxa};
    r[roPE] = Coefficient(in, in.e, in.f, record.E, w.P);
    r[roPT] = Coefficient(in, in.t, in.f, w.T, w.P);
    r[roPX] = Coefficient(in, in.g, in.f, w.X, w.P);
    r[roPX_T] = PartialCoefficient(in, in.f, in.g, w.P, w.X, 1, &traits);
    r[roPE_T] = PartialCoefficient(in, in.f, in.e, w.P, record.E, 1, &traits);
    r[roPE_X] = PartialCoefficient(in, in.f, in.e, w.P, record.E, 1, &types);
    r[roTE_P] = PartialCoefficient(in, in.t, in.e, w.T, record.E, 1, &taxa);
    r[roXE_P] = PartialCoefficient(in, in.g, in.e, w.X, record.E, 1, &taxa);
    r[roXE_TP] = PartialCoefficient(in, in.g, in.e, w.X, record.E, 2, traitsAndTaxa);
    r[rFE] = Coefficient(in, 1, in.e, w.Rp, record.E);
    if (!w.hasPermutedOtus) return;
    const int p = record.nPCoA;
    r[roBF] = record.measure == procrustes
                  ? ProcrustesCoeff(in.s, in.t, p, *in.normalizedB, *w.scores)
                  : RVcoeff(in.s, in.t, p, *in.normalizedB, *w.scores);
}

// --- A whole arrangement

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
    case rvCoefficient:
        CoefficientsOfTraits(in, w);
        if (in.withPhylogeny) CoefficientsOfPhylogeny(in, w);
        break;
    case linearRegression: EvaluateRegression(in, w); break;
    case varianceAnalysis: EvaluateAnova(in, w); break;
    default: break;
    }
}

void MoveOtus(const int* list, const PermutationInputs& in, GeneralWorkspace& w)
{
    ScaleUp(list, in, w);
    Diversify(list, in, w);
    w.hasPermutedOtus = true;
    EvaluateStatistics(in, w);
}

void MoveCommunities(const int* list, const PermutationInputs& in, GeneralWorkspace& w)
{
    TakeCommunities(list, in, w);
    w.hasPermutedOtus = false; // no OTU moves, so ro(BF) has no null distribution
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
    if (in.withPhylogeny) SfRnd.emplace(in.s, in.s);
    if (in.withPhylogeny && UsesDataMatrices(in.record.measure)) scores.emplace(in.s, in.s);
    if (in.record.measure != linearRegression) return;
    fitted.emplace(in.n, in.t + 2);
    intercept = OwnedVector(in.t + 2);
    for (int factor = 0; factor < in.e; factor++)
        coefficient.push_back(statistics.value.data() + in.model.Coefficient(factor, 0));
}

void EvaluateObserved(const PermutationInputs& in, GeneralWorkspace& w)
{
    OwnedInts inPlace(in.s);
    for (int i = 0; i < in.s; i++) inPlace[i] = i + 1;
    MoveOtus(inPlace, in, w);
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
