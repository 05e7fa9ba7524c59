// SPDX-License-Identifier: GPL-3.0-or-later
#include "ranking/shared.hpp"

#include <algorithm>
#include <cmath>

#include "functional/environment.hpp"
#include "functional/smoothing.hpp"
#include "numeric/adjust.hpp"
#include "numeric/congruence.hpp"
#include "numeric/gower.hpp"
#include "numeric/matrix.hpp"
#include "numeric/ordination.hpp"
#include "numeric/resemblance.hpp"
#include "numeric/statistics.hpp"
#include "session/checks.hpp"
#include "session/session.hpp"
#include "shell/preferences.hpp"

namespace {

const int fuzzyTypes = 3;

long NumberOfPairs(int n)
{
    return static_cast<long>(n) * (n + 1L) / 2;
}

} // namespace

SharedMatrices::SharedMatrices(const RankingNeeds& wanted, Form wantedForm)
    : needs(wanted), n(session.ncsm), s(session.tcst), t(session.nch), e(session.nenv),
      g(needs.types ? session.nMinCSTGroupsChRank : 0), f(needs.phylogeny ? session.nTaxa : 0),
      crisp(session.fuzzy != fuzzyTypes), E(n, e), W0(n, s), W1(n, s), B(s, t), T(n, t),
      unitT(n, t), Z(needs.smoothing > 0 ? n : 0, s), QP(needs.phylogeny ? s : 0, f), P(n, f),
      DE(n), DZ(needs.smoothing > 0 ? n : 0), DP(needs.phylogeny ? n : 0)
{
    if (needs.environment) FillEnvironment();
    FillComposition();
    FillTraits();
    if (needs.phylogeny) FillPhylogeny();
    if (needs.smoothing > 0) FillSmoothed();
    if (needs.types && session.reseCSTopt == otusByGower) FillPartial();
    if (wantedForm == Form::quick && FitsQuickForm()) PrepareQuickForm();
}

void SharedMatrices::FillEnvironment()
{
    if (e > 0) CopyMatrix(n, e, session.env, E);
    EnvironmentResemblance(n, e, session.envVarType, E, DE.rows, needs.holesInE);
}

void SharedMatrices::FillComposition()
{
    TransposeMatrix(s, n, session.cadat, W0);
    UnitSumRowsAdjMV(n, s, W1, W0);
    if (session.optUnitTotalAdjust2) UnitSumRowsAdjMV(n, s, W0, W0);
}

/// B and, as the average of a trait does not depend on the subset, T with all traits in use.
void SharedMatrices::FillTraits()
{
    const OwnedInts used(t);
    for (int j = 0; j < t; j++) {
        used[j] = session.weight[j] > 0.0 ? 1 : 0;
        for (int i = 0; i < s; i++) B[i][j] = used[j] == 1 ? session.csm_Float[i][j] : 0.0;
    }
    MatrixProdSelectMV_Adjust_Weight(n, s, s, t, session.optUnitTotalAdjust1 ? W1 : W0, B, T, used,
                                     session.weight_OTUs);
    if (needs.holesInT)
        NormalizeColsMV(n, t, T, unitT);
    else
        NormalizeCols(n, t, T, unitT);
}

void SharedMatrices::FillPhylogeny()
{
    Session& data = session;
    if (data.phylogenyMatrixType == phylogenyVariables)
        GowerMVOpt(s, data.nClados, data.phylogenyVarType, data.phylogenyData, data.phylogenyRese,
                   nullptr, nullptr, 0);
    if (data.fuzzyPhyl == 1)
        FuzzyBelonging(s, f, data.phylogenyRese, data.partition_OTUs_Phyl, QP,
                       data.phylogenyMatrixType != phylogenySimilarities);
    else
        CrispBelonging(s, f, data.partition_OTUs_Phyl, QP);
    MatrixProdMV_Weight(n, s, s, f, W0, QP, P, data.weight_OTUs);
    NominalReseNonHier(n, f, P, DP.rows, data.rese_opt);
    Finish(DP);
}

void SharedMatrices::FillSmoothed()
{
    BealsSmoothing(n, s, W0, W0, Z, preferences.BealsIncludeOpt, needs.smoothing);
    // Deliberate: unlike the others this resemblance stays as it is under measures 3 to 5.
    NominalReseNonHier(n, s, Z, DZ.rows, session.rese_opt);
}

void SharedMatrices::FillPartial()
{
    RangeStates(t, s, session.csm_Float, session.chtype, session.chrange);
    partial = std::make_unique<PartialSimilarity>(t, s);
    gower_similarityPartial(t, session.csm_Float, s, *partial, session.chtype, session.chrange,
                            session.weight, preferences.countDoubleAbsence);
}

/// Deliberate: under measure 5 the resemblance is made from a table that nothing ever fills, so
/// that all communities are at 2 from each other, and products (3, 4) are converted though none
/// were computed. Users' earlier results depend on it.
void SharedMatrices::Finish(Structure& D) const
{
    if (session.rese_opt == correlationCoefficient) {
        const OwnedRows nothing(n, n);
        CorrToSqDist(n, nothing, D.rows);
    }
    if (session.rese_opt == plainCrossProduct || session.rese_opt == centredCrossProduct) {
        ProdToSqDist(n, D.rows, D.rows);
        UpperToLowerMatrix(n, D.rows);
    }
}

// --- The quick form

int SharedMatrices::Levels(long nCells, int nSearchers)
{
    const double bytes = 8.0 * static_cast<double>(std::max(nCells, 1L)) * nSearchers;
    const double nFit = std::min(largestTable / bytes, 1e6);
    return std::max(2, std::min(session.nMaxTraitsChRank, static_cast<int>(nFit)));
}

int SharedMatrices::MostSearchers() const
{
    const double ofTypes = 4.0 * s * (g + columnBlock);
    const double ofOtus = 4.0 * static_cast<double>(NumberOfPairs(s)) + ofTypes;
    const double ofCommunities = 6.0 * static_cast<double>(TriangleSize(n));
    const double bytes = 8.0 * ((needs.types ? ofOtus : 0.0) + ofCommunities);
    return std::max(1, static_cast<int>(std::min(largestTable / bytes, 1e6)));
}

/// Nothing prints or overwrites the matrices of a subset, the options have no oddities, every cell
/// of W is a number of at least 0, and every pair of OTUs has a similarity.
bool SharedMatrices::FitsQuickForm() const
{
    if (preferences.saveStruct == 'y' || n < 3) return false;
    const bool hasDistance =
        session.rese_opt >= euclideanDistance && session.rese_opt <= chordDistance;
    if ((session.opt_ro == mantel || needs.resemblance) && !hasDistance) return false;
    if (8.0 * t * static_cast<double>(TriangleSize(n)) > largestTable) return false;
    if (!needs.types) return true;
    return partial != nullptr && IsCompositionPlain() && IsEveryPairCompared();
}

/// Absent OTUs may be passed over where 0 times anything is 0, and a cell of X can't turn out as
/// the code of a missing one.
bool SharedMatrices::IsCompositionPlain() const
{
    for (int i = 0; i < n; i++)
        for (int m = 0; m < s; m++)
            if (!(W0[i][m] >= 0.0) || std::isinf(W0[i][m])) return false;
    return true;
}

bool SharedMatrices::IsEveryPairCompared() const
{
    for (long pair = 0; pair < NumberOfPairs(s); pair++) {
        bool isCompared = false;
        for (int j = 0; j < t; j++) {
            const double cell = static_cast<double>(partial->layer[j][pair]);
            if (!std::isfinite(cell)) return false;
            isCompared = isCompared || !IsMissing(cell);
        }
        if (!isCompared) return false;
    }
    return true;
}

void SharedMatrices::PrepareQuickForm()
{
    form = Form::quick;
    for (Structure* const D : {&DE, &DZ, &DP}) {
        if (D->n == 0) continue;
        D->TakeRows();
        D->Centre();
    }
    MakeLayersOfT();
    if (!needs.types) return;
    SplitHoles();
    ListPresent();
    ListEntropyMembers();
}

void SharedMatrices::MakeLayersOfT()
{
    layersT = std::make_unique<OwnedRows>(t, TriangleSize(n));
    for (int j = 0; j < t; j++) {
        double* cell = (*layersT)[j];
        for (int i = 0; i < n; i++)
            for (int m = i + 1; m < n; m++) {
                const bool hole = IsMissing(unitT[i][j]) || IsMissing(unitT[m][j]);
                const double difference = hole ? 0.0 : unitT[i][j] - unitT[m][j];
                *cell++ = difference * difference;
            }
    }
}

/// If traits in use leave pairs out, similarities that can be summed as they are, and counts.
void SharedMatrices::SplitHoles()
{
    const long nPairs = NumberOfPairs(s);
    for (int j = 0; j < t; j++)
        for (int i = 0; i < s && session.weight[j] > 0.0; i++)
            for (int m = i + 1; m < s; m++)
                if (IsMissing(static_cast<double>(partial->layer[j][PairIndex(s, i, m)])))
                    wholeTraits = false;
    if (wholeTraits) return;
    similarities = std::make_unique<OwnedTable<float>>(t, nPairs);
    compared = std::make_unique<OwnedTable<float>>(t, nPairs);
    for (int j = 0; j < t; j++)
        for (long pair = 0; pair < nPairs; pair++) {
            const float cell = partial->layer[j][pair];
            const bool isCompared = !IsMissing(static_cast<double>(cell));
            (*similarities)[j][pair] = isCompared ? cell : 0.0F;
            (*compared)[j][pair] = isCompared ? 1.0F : 0.0F;
        }
}

void SharedMatrices::ListPresent()
{
    present.resize(static_cast<std::size_t>(n));
    for (int i = 0; i < n; i++)
        for (int m = 0; m < s; m++) {
            const double share = session.weight_OTUs[m] * W0[i][m];
            if (!(share > 0.0)) continue;
            present[static_cast<std::size_t>(i)].otus.push_back(m);
            present[static_cast<std::size_t>(i)].shares.push_back(share);
        }
    for (int m = 1; m <= s; m++) inOrder.push_back(m);
}

/// Deliberate: only the first g OTUs count, g being the number of types; users' earlier results
/// depend on it.
void SharedMatrices::ListEntropyMembers()
{
    entropyMembers.resize(static_cast<std::size_t>(n));
    for (int i = 0; i < n; i++) {
        double total = 0.0;
        for (int m = 0; m < g; m++) total += W0[i][m];
        for (int m = 0; m < g; m++)
            if (W0[i][m] > 0.0)
                entropyMembers[static_cast<std::size_t>(i)].push_back(
                    {m, W0[i][m] / total, session.weight_OTUs[m]});
    }
}
