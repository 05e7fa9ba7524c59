#include "ranking/matrices.hpp"

#include <algorithm>
#include <cmath>

#include "numeric/diversity.hpp"
#include "functional/smoothing.hpp"
#include "numeric/adjust.hpp"
#include "numeric/gower.hpp"
#include "numeric/information.hpp"
#include "numeric/matrix.hpp"
#include "numeric/ordination.hpp"
#include "numeric/resemblance.hpp"
#include "numeric/statistics.hpp"
#include "session/checks.hpp"
#include "session/session.hpp"
#include "shell/preferences.hpp"

namespace {

enum EnvironmentKind { sameUnits = 1, differentUnits, qualitative, binary, severalKinds };
enum CommunityResemblance {
    crossProduct = 3, centredProduct, correlation, euclidean, relativeEuclidean, chord = 10
};

const int fuzzyTypes = 3;
const int euclideanOtus = 2; // reseCSTopt
const double largestTable = 512e6; // bytes of layers and of sums kept for speed

std::size_t At(int i)
{
    return static_cast<std::size_t>(i);
}

bool HasHole(int n, double** D)
{
    for (int i = 0; i < n; i++)
        for (int k = i + 1; k < n; k++)
            if (IsMissing(D[i][k])) return true;
    return false;
}

/// How many partial sums of this many cells may be kept.
int Levels(long nCells)
{
    const double nFit = largestTable / 8.0 / static_cast<double>(std::max(nCells, 1L));
    return std::max(2, std::min(session.nMaxTraitsChRank, static_cast<int>(std::min(nFit, 1e6))));
}

} // namespace

RankingMatrices::RankingMatrices(const RankingNeeds& wanted)
    : needs(wanted), n(session.ncsm), s(session.tcst), t(session.nch), e(session.nenv),
      g(needs.types ? session.nMinCSTGroupsChRank : 0), f(needs.phylogeny ? session.nTaxa : 0),
      E(n, e), DE(n), W0(n, s), W1(n, s), B(s, t), Z(needs.smoothing > 0 ? n : 0, s),
      DZ(needs.smoothing > 0 ? n : 0), QP(needs.phylogeny ? s : 0, f), P(n, f),
      DP(needs.phylogeny ? n : 0), select(t), saveStruct(preferences.saveStruct == 'y'),
      crisp(session.fuzzy != fuzzyTypes), allRawT(n, t), allT(n, t), rawT(n, t), subsetT(n, t),
      similarity(needs.types ? s : 0, s), Qrows(s, g), Xrows(n, needs.types ? s : 0), rao(n, 1),
      dark(n, 1), Xcolumns(g, n), unitRows(n, g), dt(n), dx(needs.types ? n : 0), dr(n), ds(n),
      traits(At(t))
{
    if (needs.environment) FillEnvironment();
    FillComposition();
    FillTraits();
    if (needs.phylogeny) FillPhylogeny();
    if (needs.smoothing > 0) FillSmoothed();
    ChooseForms();
}

void RankingMatrices::FillEnvironment()
{
    const int kind = session.optEnvVarType;
    if (e > 0) CopyMatrix(n, e, session.env, E);
    if (kind == sameUnits || kind == differentUnits || kind == binary ||
        (kind == severalKinds && session.temEnvQual == 0)) {
        if (kind != sameUnits) CorrAdj(n, e, E, E);
        if (needs.holesInE)
            EucliDistMV(n, e, E, DE.rows);
        else
            EucliDist(n, e, E, DE.rows);
        return;
    }
    GowerMVOpt(n, e, session.envVarType, E, DE.rows, nullptr, nullptr,
               preferences.countDoubleAbsence);
    ProbToDissim(n, DE.rows, DE.rows);
}

void RankingMatrices::FillComposition()
{
    TransposeMatrix(s, n, session.cadat, W0);
    UnitSumRowsAdjMV(n, s, W1, W0);
    if (session.optUnitTotalAdjust2) UnitSumRowsAdjMV(n, s, W0, W0);
}

/// B and, as the average of a trait does not depend on the subset, T with all traits in use.
void RankingMatrices::FillTraits()
{
    const OwnedInts used(t);
    for (int j = 0; j < t; j++) {
        used[j] = session.weight[j] > 0.0 ? 1 : 0;
        for (int i = 0; i < s; i++) B[i][j] = used[j] == 1 ? session.csm_Float[i][j] : 0.0;
    }
    MatrixProdSelectMV_Adjust_Weight(n, s, s, t, session.optUnitTotalAdjust1 ? W1 : W0, B, allRawT,
                                     used, session.weight_OTUs);
    if (needs.holesInT)
        NormalizeColsMV(n, t, allRawT, allT);
    else
        NormalizeCols(n, t, allRawT, allT);
}

void RankingMatrices::FillPhylogeny()
{
    enum { similarities = 1, variables };
    Session& data = session;
    if (data.phylogenyMatrixType == variables)
        GowerMVOpt(s, data.nClados, data.phylogenyVarType, data.phylogenyData, data.phylogenyRese,
                   nullptr, nullptr, 0);
    if (data.fuzzyPhyl == 1)
        FuzzyBelonging(s, f, data.phylogenyRese, data.partition_OTUs_Phyl, QP,
                       data.phylogenyMatrixType != similarities);
    else
        CrispBelonging(s, f, data.partition_OTUs_Phyl, QP);
    MatrixProdMV_Weight(n, s, s, f, W0, QP, P, data.weight_OTUs);
    NominalReseNonHier(n, f, P, DP.rows, data.rese_opt);
    Finish(DP);
}

void RankingMatrices::FillSmoothed()
{
    BealsSmoothing(n, s, W0, W0, Z, preferences.BealsIncludeOpt, needs.smoothing);
    // Deliberate: unlike the others this resemblance stays as it is under measures 3 to 5.
    NominalReseNonHier(n, s, Z, DZ.rows, session.rese_opt);
}

// --- How the matrices of a subset are made: choices for the whole search

void RankingMatrices::ChooseForms()
{
    packed = FitsPacked();
    if (packed) {
        if (needs.environment) DE.TakeRows();
        if (needs.smoothing > 0) DZ.TakeRows();
        if (needs.phylogeny) DP.TakeRows();
        MakeLayersOfT();
    }
    if (needs.types) {
        MakeSimilarities();
        sparseX = IsCompositionPlain() && (crisp || wholeTraits);
        if (sparseX) ListPresent();
    }
}

/// Whether structures can do without rows: nothing prints or overwrites them, no cell is missing
/// and none of the conversions of Finish is in force.
bool RankingMatrices::FitsPacked() const
{
    if (saveStruct || n < 3 || session.rese_opt < euclidean) return false;
    if (HasHole(n, DE.rows) || HasHole(DZ.n, DZ.rows) || HasHole(DP.n, DP.rows)) return false;
    return 8.0 * t * static_cast<double>(TriangleSize(n)) < largestTable;
}

void RankingMatrices::MakeLayersOfT()
{
    layersT = std::make_unique<OwnedRows>(t, TriangleSize(n));
    squareSums = std::make_unique<PrefixSums<double>>(TriangleSize(n), Levels(TriangleSize(n)));
    for (int j = 0; j < t; j++) {
        double* cell = (*layersT)[j];
        for (int i = 0; i < n; i++)
            for (int m = i + 1; m < n; m++) {
                const bool hole = IsMissing(allT[i][j]) || IsMissing(allT[m][j]);
                const double difference = hole ? 0.0 : allT[i][j] - allT[m][j];
                *cell++ = difference * difference;
            }
    }
}

void RankingMatrices::MakeSimilarities()
{
    if (session.reseCSTopt == euclideanOtus) return;
    RangeStates(t, s, session.csm_Float, session.chtype, session.chrange);
    partial = std::make_unique<PartialSimilarity>(t, s);
    gower_similarityPartial(t, session.csm_Float, s, *partial, session.chtype, session.chrange,
                            session.weight, preferences.countDoubleAbsence);
    wholeTraits = IsEveryPairCompared();
    if (!wholeTraits) return;
    const long nPairs = static_cast<long>(s) * (s + 1L) / 2;
    similaritySums = std::make_unique<PrefixSums<float>>(nPairs, Levels(nPairs));
    if (g > 0) belonging = std::make_unique<SubsetBelonging>(s, g, session.partition_OTUs);
}

bool RankingMatrices::IsEveryPairCompared() const
{
    for (int j = 0; j < t; j++) {
        if (!(session.weight[j] > 0.0)) continue;
        for (int i = 0; i < s; i++)
            for (int m = i + 1; m < s; m++) {
                const float cell = partial->layer[j][PairIndex(s, i, m)];
                if (IsMissing(static_cast<double>(cell)) || !std::isfinite(cell)) return false;
            }
    }
    return true;
}

/// Absent OTUs may be passed over where 0 times anything is 0, and a cell of X can't turn out as
/// the code of a missing one.
bool RankingMatrices::IsCompositionPlain() const
{
    for (int i = 0; i < n; i++)
        for (int m = 0; m < s; m++)
            if (!(W0[i][m] >= 0.0) || std::isinf(W0[i][m])) return false;
    return true;
}

void RankingMatrices::ListPresent()
{
    present.resize(At(n));
    for (int i = 0; i < n; i++)
        for (int m = 0; m < s; m++) {
            const double share = session.weight_OTUs[m] * W0[i][m];
            if (share > 0.0) present[At(i)].push_back({m, share});
        }
}

/// Deliberate: under measure 5 the resemblance is made from a table that nothing ever fills, so
/// that all communities are at 2 from each other, and products (3, 4) are converted though none
/// were computed. Users' earlier results depend on it.
void RankingMatrices::Finish(Structure& D)
{
    if (session.rese_opt == correlation) {
        const OwnedRows nothing(n, n);
        CorrToSqDist(n, nothing, D.rows);
    }
    if (session.rese_opt == crossProduct || session.rese_opt == centredProduct) {
        ProdToSqDist(n, D.rows, D.rows);
        UpperToLowerMatrix(n, D.rows);
    }
}

// --- The subset

void RankingMatrices::Select(const int* subset, int nSubset)
{
    k = nSubset;
    std::fill_n(select.values, t, 0);
    for (int j = 0; j < k; j++) {
        traits[At(j)] = subset[j] - 1;
        select[subset[j] - 1] = 1;
    }
    const Made before = made;
    made = {};
    if (!crisp) return;
    made.Q = before.Q;
    made.X = before.X;
    made.DX = before.DX && !saveStruct; // which overwrites it
}

double** RankingMatrices::RawT()
{
    for (int i = 0; i < n && !made.RawT; i++)
        for (int j = 0; j < t; j++) rawT[i][j] = select[j] == 1 ? allRawT[i][j] : 0.0;
    made.RawT = true;
    return rawT;
}

double** RankingMatrices::T()
{
    for (int i = 0; i < n && !made.T; i++)
        for (int j = 0; j < t; j++) subsetT[i][j] = select[j] == 1 ? allT[i][j] : 0.0;
    made.T = true;
    return subsetT;
}

Structure& RankingMatrices::DT()
{
    if (made.DT) return dt;
    made.DT = true;
    if (packed) {
        dt.TakeSquares(squareSums->Sum(*layersT, traits.data(), k));
    } else {
        NominalReseNonHier(n, t, T(), dt.rows, euclidean);
        Finish(dt);
    }
    return dt;
}

double** RankingMatrices::S()
{
    if (made.S) return similarity;
    made.S = true;
    if (session.reseCSTopt == euclideanOtus) {
        const OwnedRows ranged(s, t);
        RangeColsAdjMV(s, t, ranged, B);
        EucliDistMVSelect(s, t, ranged, similarity, select);
    } else if (wholeTraits) {
        AverageSimilarity(s, similaritySums->Sum(partial->layer, traits.data(), k), k, similarity);
    } else {
        gower_similarityAverage(t, s, *partial, similarity, select);
    }
    return similarity;
}

double** RankingMatrices::Q()
{
    if (made.Q) return Qrows;
    made.Q = true;
    if (crisp)
        CrispBelonging(s, g, session.partition_OTUs, Qrows);
    else if (wholeTraits)
        belonging->Fill(S(), Qrows);
    else
        FuzzyBelonging(s, g, S(), session.partition_OTUs, Qrows,
                       session.reseCSTopt == euclideanOtus);
    return Qrows;
}

double** RankingMatrices::X()
{
    if (made.X) return Xrows;
    made.X = true;
    double** const belongingToTypes = Q();
    if (!sparseX) {
        MatrixProdMV_Weight(n, s, s, g, W0, belongingToTypes, Xrows, session.weight_OTUs);
        return Xrows;
    }
    for (int i = 0; i < n; i++) {
        double* const row = Xrows[i];
        std::fill_n(row, g, 0.0);
        for (const Share& share : present[At(i)]) {
            const double* const types = belongingToTypes[share.otu];
            #pragma omp simd
            for (int c = 0; c < g; c++) row[c] += share.value * types[c];
        }
    }
    return Xrows;
}

Structure& RankingMatrices::DX()
{
    if (made.DX) return dx;
    made.DX = true;
    double** rows = X();
    const int option = session.rese_opt;
    const bool isEuclidean = option == euclidean || option == relativeEuclidean || option == chord;
    if (packed && sparseX && isEuclidean) {
        if (option == chord) {
            NormalizeRowsMV(n, g, rows, unitRows);
            rows = unitRows;
        }
        TransposeMatrix(n, g, rows, Xcolumns);
        dx.TakeColumns(g, Xcolumns);
        return dx;
    }
    NominalReseNonHier(n, g, rows, dx.rows, option);
    Finish(dx);
    if (packed) dx.TakeRows();
    return dx;
}

Structure& RankingMatrices::LastDX()
{
    return dx;
}

double** RankingMatrices::Rao()
{
    if (made.Rao) return rao;
    made.Rao = true;
    // Deliberate: only the first g OTUs count, g being the number of types; users' earlier results
    // depend on it. The same holds for Dark.
    for (int i = 0; i < n; i++)
        rao[i][0] = RaoIndex_Weight(g, W0[i], S(), false, preferences.sqrtDissimOpt_RaoTraits,
                                    session.weight_OTUs, session.restrictRaoWithinOpt);
    return rao;
}

Structure& RankingMatrices::DR()
{
    if (made.DR) return dr;
    made.DR = true;
    AbsValFunctionMV(n, 1, Rao(), dr.rows);
    if (packed) dr.TakeRows();
    return dr;
}

double** RankingMatrices::Dark()
{
    if (made.Dark) return dark;
    made.Dark = true;
    for (int i = 0; i < n; i++) dark[i][0] = SumAbsDeviations(g, W0[i], X()[i], false);
    return dark;
}

Structure& RankingMatrices::DS()
{
    if (made.DS) return ds;
    made.DS = true;
    EucliDistMV(n, 1, Dark(), ds.rows);
    if (packed) ds.TakeRows();
    return ds;
}
