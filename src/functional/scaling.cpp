// SPDX-License-Identifier: GPL-3.0-or-later
#include "functional/scaling.hpp"

#include <omp.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "functional/environment.hpp"
#include "functional/report.hpp"
#include "functional/settings.hpp"
#include "functional/smoothing.hpp"
#include "functional/typing.hpp"
#include "numeric/adjust.hpp"
#include "numeric/congruence.hpp"
#include "numeric/diversity.hpp"
#include "numeric/gower.hpp"
#include "numeric/matrix.hpp"
#include "numeric/ordination.hpp"
#include "numeric/random.hpp"
#include "numeric/resemblance.hpp"
#include "numeric/statistics.hpp"
#include "permutation/permtest.hpp"
#include "session/checks.hpp"
#include "session/session.hpp"
#include "shell/console.hpp"
#include "shell/failure.hpp"
#include "shell/files.hpp"
#include "shell/preferences.hpp"
#include "shell/scanners.hpp"

namespace {

/// Settings that the analysis fixes for routines shared with the ranking of traits.
void DeriveSettings()
{
    session.opt_struct = 9;
    session.optUnitTotalAdjust1 = true;
    session.nMinCSTGroupsChRank = session.nMaxCSTGroupsChRank = session.nGrPoly[0];
    int nTraits = 0;
    for (int j = 0; j < session.nch; j++) nTraits += session.weight[j] > 0.0 ? 1 : 0;
    session.nMinTraitsChRank = session.nMaxTraitsChRank = nTraits;
    session.nKeepTrack = 100;
    SessionFileName(session.whichRndData, rndDataExt);
}

void FillEnvironment(Scaling& a)
{
    for (int j = 0; j < a.e; j++) {
        if (session.eVarSelect[j] != 1) continue;
        const int column = a.nSelectedVariables++;
        for (int k = 0; k < a.n; k++) a.E.table[k][column] = session.env[k][j];
        a.selectedTypes[column] = session.envVarType[j];
    }
    EnvironmentResemblance(a.n, a.nSelectedVariables, a.selectedTypes, a.E, a.DE);
}

void FillComposition(Scaling& a)
{
    for (int k = 0; k < a.n; k++)
        for (int i = 0; i < a.s; i++)
            a.W.table[k][i] = a.traitW.table[k][i] = session.cadat[i][k];
}

void AdjustComposition(Scaling& a)
{
    UnitSumRowsAdjMV(a.n, a.s, a.traitW, a.traitW);
    if (session.optUnitTotalAdjust2) UnitSumRowsAdjMV(a.n, a.s, a.W, a.W);
}

/// Y and Z, Beals smoothing of W, and with matrix correlations their resemblances. Only the tests
/// and the detailed report read them.
void SmoothComposition(Scaling& a)
{
    if (!a.withTests && !a.wholeReport) return;
    const bool withResemblances = session.opt_ro == mantel;
    a.Y.emplace(a.n, a.s);
    BealsSmoothing(a.n, a.s, a.W, a.W, *a.Y, preferences.BealsIncludeOpt, 1, false);
    if (withResemblances) {
        a.DY.emplace(a.n, a.n);
        NominalReseNonHier(a.n, a.s, *a.Y, *a.DY, session.rese_opt);
    }
    if (!a.withTests) return;
    a.Z.emplace(a.n, a.s);
    BealsSmoothing(a.n, a.s, a.W, a.W, *a.Z, preferences.BealsIncludeOpt, 1, true);
    if (withResemblances) {
        a.DZ.emplace(a.n, a.n);
        NominalReseNonHier(a.n, a.s, *a.Z, *a.DZ, session.rese_opt);
    }
}

/// Rao entropy of every community on one resemblance between OTUs.
void Entropies(const Scaling& a, double** resemblance, bool isDissimilarity, bool sqrtDissim,
               double* entropy)
{
    const RaoDissimilarity dissimilarity(a.s, resemblance, isDissimilarity, sqrtDissim);
    for (int k = 0; k < a.n; k++)
        entropy[k] = RaoIndex_Weight(dissimilarity, a.W.table[k], session.weight_OTUs,
                                     session.restrictRaoWithinOpt, a.keepScale);
}

/// D, the Gini-Simpson index: the entropy of OTUs that have nothing in common.
void GiniSimpson(Scaling& a)
{
    OwnedRows identity(a.s, a.s);
    for (int i = 0; i < a.s; i++) identity.table[i][i] = 1.0;
    Entropies(a, identity, false, false, a.D);
}

/// Principal coordinates of the phylogenetic resemblance, an OTU a row. Only the detailed report
/// and tests on data matrices read them, and the eigenanalysis grows with the cube of the OTUs.
void PhylogenyCoordinates(Scaling& a)
{
    const bool readByTests =
        a.withTests && (session.opt_ro == procrustes || session.opt_ro == rvCoefficient);
    if (!readByTests && !a.wholeReport) return;
    OwnedRows vectors(a.s, a.s);
    OwnedRows scores(a.s, a.s);
    OwnedVector values(a.s);
    bool noNegative = false;
    const bool isSimilarity = session.phylogenyMatrixType == phylogenySimilarities;
    OrdinationLib_D(a.s, a.s, nullptr, session.phylogenyRese, vectors, scores, &a.nPCoA, values,
                    &noNegative, principalCoordinates,
                    isSimilarity ? gowerMeasure : euclideanMeasure, 1);
    a.pcoaScores.emplace(a.s, a.s);
    TransposeMatrix(a.s, a.s, scores, *a.pcoaScores);
}

/// Q, P, Rp and DP: belonging of OTUs to taxa by phylogeny, and what follows from it.
void ScalePhylogeny(Scaling& a)
{
    Session& data = session;
    if (data.phylogenyMatrixType == phylogenyVariables) // a joint absence never counts in phylogeny variables
        GowerMVOpt(a.s, data.nClados, data.phylogenyVarType, data.phylogenyData,
                   data.phylogenyRese, nullptr, nullptr, 0);
    PhylogenyCoordinates(a);

    // Deliberate: variables (type 2) have become similarities, yet count as dissimilarities from
    // here on; users' earlier results depend on it.
    const bool isDissimilarity = data.phylogenyMatrixType != phylogenySimilarities;
    a.Q.emplace(a.s, a.f);
    if (data.fuzzyPhyl == 1)
        FuzzyBelonging(a.s, a.f, data.phylogenyRese, data.partition_OTUs_Phyl, *a.Q,
                       isDissimilarity);
    else
        CrispBelonging(a.s, a.f, data.partition_OTUs_Phyl, *a.Q);
    a.P.emplace(a.n, a.f);
    MatrixProdMV_Weight(a.n, a.s, a.s, a.f, a.W, *a.Q, *a.P, data.weight_OTUs, a.keepScale);
    Entropies(a, data.phylogenyRese, isDissimilarity, preferences.sqrtDissimOpt_RaoPhyl, a.Rp);
    a.DP.emplace(a.n, a.n);
    NominalReseNonHier(a.n, a.f, *a.P, *a.DP, data.rese_opt);
}

void SelectTraits(Scaling& a)
{
    for (int j = 0; j < a.t; j++) {
        if (!(session.weight[j] > 0.0)) continue;
        a.nSelectedTraits++;
        a.selectedTraits[j] = 1;
        for (int i = 0; i < a.s; i++) a.selectedB.table[i][j] = session.csm_Float[i][j];
    }
}

void CompareOtus(Scaling& a)
{
    a.perTrait.emplace(a.t, a.s);
    gower_similarityPartial(a.t, session.csm_Float, a.s, *a.perTrait, session.chtype,
                            session.chrange, session.weight, preferences.countDoubleAbsence);
}

/// T = W x B over the selected traits: community weighted means.
void AverageTraits(Scaling& a)
{
    MatrixProdSelectMV_Adjust_Weight(a.n, a.s, a.s, a.t, a.traitW, a.selectedB, a.T,
                                     a.selectedTraits, session.weight_OTUs, a.keepScale);
}

/// DT, and r(TE) from T with columns of unit length.
void TraitConvergence(Scaling& a)
{
    const int measure = session.opt_ro;
    if (measure == mantel || measure == varianceAnalysis) {
        a.DT.emplace(a.n, a.n);
        EucliDistMV(a.n, a.t, a.T, *a.DT); // Euclidean whatever rese_opt says
    }
    if (measure == mantel)
        a.results[rTE] = CommunityCorr(a.n, a.DE, *a.DT);
    else if (measure == procrustes && a.e > 0)
        a.results[rTE] = ProcrustesCoeff(a.n, a.e, a.t, a.E, a.T);
    else if (measure == rvCoefficient && a.e > 0)
        a.results[rTE] = RVcoeff(a.n, a.e, a.t, a.E, a.T);
}

void AverageSimilarity(Scaling& a)
{
    a.Sb.emplace(a.s, a.s);
    gower_similarityAverage(a.t, a.s, *a.perTrait, *a.Sb, session.weight);
    a.perTrait.reset();
}

/// Types by clustering on Sb in place of those of the user. OTUs of one state are the types of a
/// single trait of states or ranks.
void FindTypes(Scaling& a)
{
    const int* const selected = a.selectedTraits;
    const auto trait = std::find(selected, selected + a.t, 1) - selected;
    const bool byState = a.nSelectedTraits == 1 && session.chtype[trait] != 3;
    a.g = session.nGrPoly[0] =
        PartitionFromResemblance(a.s, *a.Sb, false, session.clusMethPoolCSTs,
                                 byState ? a.s : a.g, session.partition_OTUs);
}

/// C and U, and the composition of communities by types, crisp and fuzzy.
void BelongToTypes(Scaling& a)
{
    a.C.emplace(a.s, a.g);
    a.U.emplace(a.s, a.g);
    CrispBelonging(a.s, a.g, session.partition_OTUs, *a.C);
    FuzzyBelonging(a.s, a.g, *a.Sb, session.partition_OTUs, *a.U, false);
    a.X.emplace(a.n, a.g);
    a.crispX.emplace(a.n, a.g);
    MatrixProdMV_Weight(a.n, a.s, a.s, a.g, a.W, *a.U, *a.X, session.weight_OTUs, a.keepScale);
    MatrixProdMV_Weight(a.n, a.s, a.s, a.g, a.W, *a.C, *a.crispX, session.weight_OTUs,
                        a.keepScale);
}

void Redundancy(Scaling& a)
{
    Entropies(a, *a.Sb, false, preferences.sqrtDissimOpt_RaoTraits, a.Rf);
    for (int k = 0; k < a.n; k++) {
        a.FR[k] = Fmax(0.0, a.D[k] - a.Rf[k]);
        if (a.withPhylogeny) a.PR[k] = Fmax(0.0, a.D[k] - a.Rp[k]);
    }
}

/// Labels and sizes of types, and the averages of the full B over the OTUs of each.
void DescribeTypes(Scaling& a)
{
    int nTypes = 0;
    CountGroupsNew(a.s, session.partition_OTUs, &nTypes, a.typeLabels);
    OwnedRows transposedC(a.g, a.s);
    TransposeMatrix(a.s, a.g, *a.C, transposedC);
    a.averageTraits.emplace(a.g, a.t);
    MatrixProd(a.g, a.s, a.s, a.t, transposedC, session.csm_Float, *a.averageTraits);
    for (int c = 0; c < a.g; c++) {
        const double* members = transposedC.table[c];
        a.typeSizes[c] = static_cast<int>(std::count(members, members + a.s, 1.0));
        for (int j = 0; j < a.t; j++) a.averageTraits->table[c][j] /= a.typeSizes[c];
    }
}

/// The states of each selected variable as observed, whatever DE was computed from.
void FillFactors(Scaling& a)
{
    a.factors.emplace(a.n, a.e);
    int place = 0;
    for (int j = 0; j < a.e; j++) {
        if (session.eVarSelect[j] != 1) continue;
        for (int k = 0; k < a.n; k++) a.factors->table[k][place] = ToInt(session.env[k][j]);
        place++;
    }
}

double** Rows(const std::optional<OwnedRows>& rows)
{
    return rows.has_value() ? rows->table : nullptr;
}

void GiveSizes(PermTest_FunctionalPhyl_Correl_Input& test, const Scaling& a)
{
    test.nTraits = a.t;
    test.nOTUs = a.s;
    test.nTypes = a.g;
    test.nTaxa = a.f;
    test.nEnvSelected = a.nSelectedVariables;
    test.nCommunities = a.n;
    test.nPCoA = a.nPCoA;
    test.selectedTraits = a.selectedTraits;
    test.hasPhylogenyInput = a.withPhylogeny;
    test.phylIsDissimilarity = session.phylogenyMatrixType != phylogenySimilarities;
}

void GiveMatrices(PermTest_FunctionalPhyl_Correl_Input& test, const Scaling& a)
{
    test.B = a.selectedB;
    test.Sb = Rows(a.Sb);
    test.pcoaScores = Rows(a.pcoaScores);
    test.Sf = session.phylogenyRese;
    test.E = session.opt_ro == varianceAnalysis ? Rows(a.factors) : a.E.table;
    test.U = session.fuzzy == 3 ? Rows(a.U) : Rows(a.C);
    test.Q = Rows(a.Q);
    test.W = a.W;
    test.DE = a.DE;
    test.DY = Rows(a.DY);
    test.DZ = Rows(a.DZ);
    test.Y = Rows(a.Y);
    test.Z = Rows(a.Z);
    // The test leaves its own T, X, P and entropies here: they rest on the composition copy of W.
    test.T = a.T;
    test.X = Rows(a.X);
    test.P = Rows(a.P);
    test.Rf = a.Rf;
    test.Rp = a.Rp;
}

void MakeModels(PermTest_FunctionalPhyl_Correl_Input& test, Scaling& a)
{
    if (session.opt_ro == linearRegression) {
        a.regression.emplace(a.e, a.t);
        test.regression = *a.regression;
    }
    if (session.opt_ro == varianceAnalysis) {
        a.anovaF.emplace(a.e, a.t);
        a.anovaP.emplace(a.e, a.t);
        test.anovaF = *a.anovaF;
        test.anovaP = *a.anovaP;
    }
}

/// Fills the record of the permutation test, runs it and takes its results.
void TestByPermutation(Scaling& a)
{
    OutputFile intermediate(session.whichRndData, console.volumeName, "w");
    const double start = omp_get_wtime();
    if (session.opt_ro == varianceAnalysis) FillFactors(a);
    PermTest_FunctionalPhyl_Correl_Input test;
    GiveSizes(test, a);
    GiveMatrices(test, a);
    GiveSettings(test);
    MakeModels(test, a);
    test.intermediateFile = intermediate;
    PermTest_FunctionalPhyl_Correl(&test);
    intermediate.Close();
    std::copy(test.results, test.results + nStatistics, a.results);
    std::copy(test.probabilities, test.probabilities + nStatistics, a.probabilities);
    a.testSeconds = difftime_Clock(start);
}

/// Everything that rests on traits; ends early without traits in use, or with fewer than two
/// types.
void AnalyseTraits(Scaling& a, OutputFile& report)
{
    SelectTraits(a);
    if (a.nSelectedTraits == 0) return;
    ReportTraitsAndVariables(report, a);
    CompareOtus(a);
    AverageTraits(a);
    ReportAverages(report, a);
    NormalizeCols(a.n, a.t, a.T, a.T);
    TraitConvergence(a);
    ReportNormalizedAverages(report, a);
    AverageSimilarity(a);
    ReportOtuSimilarity(report, a);
    if (session.clusMethPoolCSTs != 0) FindTypes(a);
    if (a.s <= 1 || a.g < 2) return;

    BelongToTypes(a);
    Redundancy(a);
    DescribeTypes(a);
    ReportTypes(report, a);
    report.Check(); // before the longest part
    if (a.withTests) TestByPermutation(a);
    ReportStatistics(report, a);
    ReportDiversity(report, a);
}

} // namespace

Scaling::Scaling()
    : n(session.ncsm), s(session.tcst), t(session.nch), e(session.nenv), g(session.nGrPoly[0]),
      f(session.includePhylogeny ? session.nTaxa : 0),
      keepScale(KeepsScale()),
      withPhylogeny(session.includePhylogeny), wholeReport(session.printDetail == 1),
      withTests(session.optRndTests), selectedTraits(t), selectedTypes(e), E(n, e), DE(n, n),
      traitW(n, s), W(n, s), selectedB(s, t), D(n), Rf(n), Rp(n), FR(n), PR(n), T(n, t + 1),
      typeLabels(s), typeSizes(s)
{
}

void PFTs_ScalingUp()
{
    DeriveSettings();
    Scaling a;
    InitRndNumberGenerator(session.rseed); // once per analysis, before anything draws
    FillEnvironment(a);
    FillComposition(a);
    RangeStates(a.t, a.s, session.csm_Float, session.chtype, session.chrange);

    OutputFile report(session.whichPrinda, console.volumeName, session.prindaMode);
    ReportHead(report);
    ReportRawComposition(report, a);
    AdjustComposition(a);
    SmoothComposition(a);
    ReportSmoothing(report, a);
    GiniSimpson(a);
    if (a.withPhylogeny) {
        ScalePhylogeny(a);
        ReportPhylogeny(report, a);
    }
    AnalyseTraits(a, report);
    std::fprintf(report, "\n");
    report.Close();
}
