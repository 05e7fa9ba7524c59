#include "functional/permtest_models.hpp"

#include "functional/permtest_iteration.hpp"
#include "numeric/regression.hpp"
#include "numeric/resemblance.hpp"
#include "numeric/statistics.hpp"
#include "shell/arrays.hpp"

namespace {

/// Sum of squared dissimilarities over the pairs of members, divided by the number of members.
template <typename IsMember>
double SumWithin(int n, double** D, bool squared, IsMember isMember)
{
    double sum = 0.0;
    int nMembers = 0;
    for (int i = 0; i < n; i++) {
        if (!isMember(i)) continue;
        nMembers++;
        for (int j = i + 1; j < n; j++)
            if (isMember(j)) sum += squared ? D[i][j] : D[i][j] * D[i][j];
    }
    return nMembers > 0 ? sum / nMembers : sum;
}

/// Pseudo-F of one factor on a resemblance between communities: between over within sum of
/// squares, without degrees of freedom. A factor whose states hold one community each divides by 0.
double PseudoF(const PermutationInputs& in, double** D, int factor)
{
    double between = 0.0;
    double total = 0.0;
    BetweenGrSqDissim(in.n, D, *in.factors[static_cast<std::size_t>(factor)], &between, &total,
                      in.record.relSelect, false);
    return between / (total - between);
}

int ResponseCount(const PermutationInputs& in)
{
    return in.withPhylogeny ? in.t + 2 : in.t + 1;
}

double Reached(double random, double observed, bool absolute)
{
    return IsLargerThanOrEqual(random, observed, 1, absolute) ? 1.0 : 0.0;
}

} // namespace

OwnedRegression::OwnedRegression(int e, int t) : nVariables(e)
{
    rSquare = dim1Double(t + 2);
    intercept = dim1Double(t + 2);
    pRSquare = dim1Double(t + 2);
    coefficient = dim2Double(e, t + 2);
    pCoefficient = dim2Double(e, t + 2);
}

OwnedRegression::~OwnedRegression()
{
    free1D(rSquare);
    free1D(intercept);
    free1D(pRSquare);
    free2D(coefficient, nVariables);
    free2D(pCoefficient, nVariables);
}

OwnedAnova::OwnedAnova(int e, int t) : nFactors(e)
{
    X = dim1Double(e);
    T = dim1Double(e);
    traits = dim2Double(e, t);
    P = dim1Double(e);
    Rf = dim1Double(e);
    Rp = dim1Double(e);
}

OwnedAnova::~OwnedAnova()
{
    free1D(X);
    free1D(T);
    free2D(traits, nFactors);
    free1D(P);
    free1D(Rf);
    free1D(Rp);
}

double WithinGrSqDissim(int n, double** D, int* mask, bool squared)
{
    return SumWithin(n, D, squared, [mask](int i) { return mask[i] == 1; });
}

double BetweenGrSqDissim(int n, double** D, int* groups, double* between, double* total, int* mask,
                         bool squared)
{
    *total = WithinGrSqDissim(n, D, mask, squared);
    *between = *total;
    for (int i = 0; i < n; i++) {
        if (mask[i] != 1) continue;
        bool metBefore = false;
        for (int j = 0; j < i && !metBefore; j++) metBefore = mask[j] == 1 && groups[j] == groups[i];
        if (metBefore) continue;
        const int group = groups[i];
        *between -= SumWithin(n, D, squared, [mask, groups, group](int j) {
            return mask[j] == 1 && groups[j] == group;
        });
    }
    return *between;
}

void EvaluateRegression(const PermutationInputs& in, PermutationWorkspace& w)
{
    for (int k = 0; k < in.n; k++) {
        w.T.table[k][in.t] = w.R.table[k][0];
        if (in.withPhylogeny) w.T.table[k][in.t + 1] = w.Rp.table[k][0];
    }
    regression(in.n, ResponseCount(in), in.e, w.T, in.record.E, w.regression->coefficient,
               w.regression->intercept, *w.fitted, w.regression->rSquare);
}

void EvaluateAnovaOfTraits(const PermutationInputs& in, PermutationWorkspace& w)
{
    for (int factor = 0; factor < in.e; factor++) w.anova->T[factor] = PseudoF(in, w.DT, factor);
    for (int j = 0; j < in.t; j++) {
        if (in.record.selectedTraits[j] != 1) continue;
        EucliDistMVSelectOne(in.n, in.t, w.T, w.DT, j + 1);
        for (int factor = 0; factor < in.e; factor++)
            w.anova->traits[factor][j] = PseudoF(in, w.DT, factor);
    }
}

void EvaluateAnovaOfComposition(const PermutationInputs& in, PermutationWorkspace& w)
{
    for (int factor = 0; factor < in.e; factor++) {
        w.anova->X[factor] = PseudoF(in, w.DX, factor);
        if (in.withPhylogeny) w.anova->P[factor] = PseudoF(in, w.DP, factor);
    }
}

void EvaluateAnovaOfEntropy(const PermutationInputs& in, PermutationWorkspace& w)
{
    for (int factor = 0; factor < in.e; factor++) {
        w.anova->Rf[factor] = PseudoF(in, w.DR, factor);
        if (in.withPhylogeny) w.anova->Rp[factor] = PseudoF(in, w.DRp, factor);
    }
}

void StoreObservedModels(PermTest_FunctionalPhyl_Correl_Input& record, const PermutationInputs& in,
                         const PermutationWorkspace& w)
{
    if (w.regression.has_value()) {
        for (int y = 0; y < ResponseCount(in); y++) {
            record.regression.rSquare[y] = w.regression->rSquare[y];
            record.regression.intercept[y] = w.regression->intercept[y];
            record.regression.pRSquare[y] = 1.0;
            for (int factor = 0; factor < in.e; factor++) {
                record.regression.coefficient[factor][y] = w.regression->coefficient[factor][y];
                record.regression.pCoefficient[factor][y] = 1.0;
            }
        }
    }
    if (!w.anova.has_value()) return;
    for (int factor = 0; factor < in.e; factor++) {
        record.anovaF.X[factor] = w.anova->X[factor];
        record.anovaF.T[factor] = w.anova->T[factor];
        record.anovaF.P[factor] = w.anova->P[factor];
        record.anovaF.Rf[factor] = w.anova->Rf[factor];
        record.anovaF.Rp[factor] = w.anova->Rp[factor];
        record.anovaP.X[factor] = record.anovaP.T[factor] = record.anovaP.P[factor] = 1.0;
        record.anovaP.Rf[factor] = record.anovaP.Rp[factor] = 1.0;
        for (int j = 0; j < in.t; j++) {
            record.anovaF.traits[factor][j] = w.anova->traits[factor][j];
            record.anovaP.traits[factor][j] = 1.0;
        }
    }
}

void CountModels(PermTest_FunctionalPhyl_Correl_Input& record, const PermutationInputs& in,
                 const PermutationWorkspace& w)
{
    if (w.regression.has_value()) {
        const RegressionResults& observed = record.regression;
        for (int y = 0; y < ResponseCount(in); y++) {
            observed.pRSquare[y] += Reached(w.regression->rSquare[y], observed.rSquare[y], false);
            for (int factor = 0; factor < in.e; factor++)
                observed.pCoefficient[factor][y] += Reached(
                    w.regression->coefficient[factor][y], observed.coefficient[factor][y], true);
        }
    }
    if (!w.anova.has_value()) return;
    const AnovaResults& observed = record.anovaF;
    const AnovaResults& count = record.anovaP;
    for (int factor = 0; factor < in.e; factor++) {
        count.X[factor] += Reached(w.anova->X[factor], observed.X[factor], false);
        count.T[factor] += Reached(w.anova->T[factor], observed.T[factor], false);
        // Deliberate: of all factors only that on Rf follows the preference for two tails.
        count.Rf[factor] += Reached(w.anova->Rf[factor], observed.Rf[factor], record.twoTailed);
        for (int j = 0; j < in.t; j++) {
            if (record.selectedTraits[j] != 1) continue;
            count.traits[factor][j] +=
                Reached(w.anova->traits[factor][j], observed.traits[factor][j], false);
        }
        if (!in.withPhylogeny) continue;
        count.P[factor] += Reached(w.anova->P[factor], observed.P[factor], false);
        count.Rp[factor] += Reached(w.anova->Rp[factor], observed.Rp[factor], false);
    }
}

void FinishModels(PermTest_FunctionalPhyl_Correl_Input& record, const PermutationInputs& in)
{
    const double nIter = record.nIter;
    if (record.measure == 4) {
        for (int y = 0; y < ResponseCount(in); y++) {
            record.regression.pRSquare[y] /= nIter;
            for (int factor = 0; factor < in.e; factor++)
                record.regression.pCoefficient[factor][y] /= nIter;
        }
    }
    if (record.measure != 5) return;
    for (int factor = 0; factor < in.e; factor++) {
        record.anovaP.X[factor] /= nIter;
        record.anovaP.T[factor] /= nIter;
        record.anovaP.P[factor] /= nIter;
        record.anovaP.Rf[factor] /= nIter;
        record.anovaP.Rp[factor] /= nIter;
        for (int j = 0; j < in.t; j++) record.anovaP.traits[factor][j] /= nIter;
    }
}
