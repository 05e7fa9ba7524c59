// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <cstdio>

#include "numeric/adjust.hpp"
#include "numeric/congruence.hpp"
#include "numeric/matrix.hpp"
#include "numeric/resemblance.hpp"
#include "session/session.hpp"
#include "shell/arrays.hpp"
#include "shell/console.hpp"
#include "shell/files.hpp"
#include "shell/preferences.hpp"
#include "shell/table.hpp"
#include "simulation/evaluation.hpp"
#include "simulation/model.hpp"
#include "simulation/ordination.hpp"
#include "simulation/report.hpp"
#include "simulation/report_parts.hpp"
#include "simulation/settings.hpp"
#include "simulation/stepfiles.hpp"

namespace {

const int nAxesShown = 6;

// --- What was generated, and what came of it

void ReportGenerated(File f, const Simulation& run, const Metacommunity& m)
{
    if (run.traitSource != 't') {
        std::fprintf(f, "\nRandomly generated trait data (not standardized, %d OTUs in rows and %d traits in columns):\n", run.nOTUs, run.nTraits);
        PrintMatrixOf(f, run.nOTUs, run.nTraits, run.traits);
    }
    std::fprintf(f, "\nTrait data (standardized to Z scores, %d OTUs in rows and %d traits in columns):\n", run.nOTUs, run.nTraits);
    PrintMatrixOf(f, run.nOTUs, run.nTraits, m.B);
    if (run.dispersal.isGenerated) {
        std::fprintf(f, "\nRandomly generated seed dispersal kernel parameters (%d OTUs, center and slope of the logistic function):\n", run.nOTUs);
        PrintMatrixOf(f, run.nOTUs, 2, run.dispersal.parameters);
    }
    if (run.siteSource == 'r') {
        std::fprintf(f, "\nRandomly generated site coordinates (2 x %d community sites):\n", run.nSites);
        PrintMatrixOf(f, 2, run.nSites, run.sites);
    }
    if (run.survival.isGenerated) {
        std::fprintf(f, "\nRandomly generated parameters (center and slope) of the logistic function relating probability of survival to distance between OTU traits and expected community traits for %d OTUs:\n", run.nOTUs);
        PrintMatrixOf(f, run.nOTUs, 2, run.survival.parameters);
    }
    if (run.density.isGenerated) {
        std::fprintf(f, "\nRandomly generated density dependence parameters for %d OTUs, with center and slope of the logistic function:\n", run.nOTUs);
        PrintMatrixOf(f, run.nOTUs, 2, run.density.parameters);
    }
    if (run.lifespansGenerated) {
        std::fprintf(f, "\nRandomly generated maximum lifespan for %d OTUs:\n", run.nOTUs);
        PrintCounts(f, run.nOTUs, run.lifespans);
    }
    if (run.age.isGenerated) {
        std::fprintf(f, "\nRandomly generated age-related survivorship curve parameters for %d OTUs, with the center and slope of the logistic function for the probabilities:\n", run.nOTUs);
        PrintMatrixOf(f, run.nOTUs, 2, run.age.parameters);
    }
}

void ReportCommunities(File f, const Simulation& run, const Metacommunity& m)
{
    std::fprintf(f, "\nCommunity data matrix at final step %d, for %d community sites in rows and %d OTUs in columns:\n", run.totalSteps, m.nSites, m.nOTUs);
    PrintMatrixOf(f, m.nSites, m.nOTUs, m.W);
    std::fprintf(f, "\nAbundance in each community:\n");
    PrintCounts(f, m.nSites, m.siteTotal);
    std::fprintf(f, "Total abundance:\t%d\n", m.total);
    std::fprintf(f, "\nOTU richness in each community (at step %d, when either %g of the average maximum number of individuals per community or %g of the specified maximum number of individual colonization/extinction iterations were reached):\n", m.recordStep, run.threshold, run.threshold);
    PrintCounts(f, m.nSites, m.richness);
    std::fprintf(f, "\nAbundance of each OTU in the metacommunity (at step %d, when either %g of the average maximum number of individuals per community or %g of the specified maximum number of individual colonization/extinction iterations were reached):\n", m.recordStep, run.threshold, run.threshold);
    PrintVectorTab(f, m.nOTUs, m.W[m.nSites], SignificantDigits(), nullptr);
    std::fprintf(f, "\nAverage age matrix at step %d, for %d community sites in rows and %d OTUs in columns:\n", run.totalSteps, m.nSites, m.nOTUs);
    PrintAverageAges(f, run, m, run.totalSteps);
    std::fprintf(f, "\nTotal number of OTU extinctions in each community (after step %d, when either %g of the average maximum number of individuals per community or %g of the specified maximum number of individual colonization/extinction iterations were reached):\n", m.recordStep, run.threshold, run.threshold);
    PrintCounts(f, m.nSites, m.extinctions);
    std::fprintf(f, "\nTotal number of OTU colonizations in each community (after step %d, when either %g of the average maximum number of individuals per community or %g of the specified maximum number of individual colonization/extinction iterations were reached):\n", m.recordStep, run.threshold, run.threshold);
    PrintCounts(f, m.nSites, m.colonisations);
}

void ReportEcosystem(File f, const Simulation& run, const Metacommunity& m)
{
    std::fprintf(f, "\nEcosystem data matrix at step %d (%d ecosystem variables in rows and %d community sites in columns):\n", 1, m.nPredictors, m.nSites);
    PrintMatrixOf(f, m.nPredictors, m.nSites, m.firstE);
    std::fprintf(f, "\nEcosystem data matrix at final step %d (%d ecosystem variables in rows and %d community sites in columns):\n", run.totalSteps, m.nPredictors, m.nSites);
    PrintMatrixOf(f, m.nPredictors, m.nSites, m.E);
    std::fprintf(f, "\nExpected community weighted means at final step %d, standardized to Z scores according to mean and standard deviations in the trait matrix, for %d traits in rows and %d community sites in columns:\n", run.totalSteps, m.nTraits, m.nSites);
    PrintMatrixOf(f, m.nTraits, m.nSites, m.expected);
    std::fprintf(f, "\nAmount of extrapolation (if any, when positive was larger than the maximum, when negative was smaller than the minimum trait value) at step %d, based on standardized to Z scores according to mean and standard deviations in the trait matrix, for %d traits in rows and %d community sites in columns:\n", run.totalSteps, m.nTraits, m.nSites);
    PrintMatrixOf(f, m.nTraits, m.nSites, m.extrapolation);
}

// --- The ordination of a set

/// Objects in rows, the first axes in columns.
void PrintScores(File f, int nObjects, int nAxes, double** scores)
{
    OwnedRows turned(nObjects, nAxes);
    TransposeMatrix(nAxes, nObjects, scores, turned);
    PrintMatrixOf(f, nObjects, nAxes, turned);
}

void ReportOrdination(File f, const Metacommunity& m, const CommunityOrdination& o)
{
    double positive = 0.0;
    for (int a = 0; a < m.nOTUs; a++)
        if (o.values[a] > 0.0) positive += o.values[a];
    const int digits = SignificantDigits();
    std::fprintf(f, "\nNumber of eigenvalues >0.0001: \t%d", o.nAxes);
    std::fprintf(f, "\nEigenvalues:\t");
    for (int a = 0; a < o.nAxes; a++) std::fprintf(f, "%8.*g\t", digits, o.values[a]);
    std::fprintf(f, "\nPercentage:\t");
    for (int a = 0; a < o.nAxes; a++)
        std::fprintf(f, "%8.*g\t", digits, 100.0 * o.values[a] / positive);
    const int nShown = std::min(o.nAxes, nAxesShown);
    std::fprintf(f, "\nScores of OTUs on the first ordination components:\n");
    PrintScores(f, m.nOTUs, nShown, o.otuScores);
    std::fprintf(f, "\nScores of communities on the first ordination components:\n");
    PrintScores(f, m.nSites, nShown, o.communityScores);
}

/// What the axes are compared with, one value a community.
struct Descriptors {
    Descriptors(const Simulation& run, const Metacommunity& m);

    OwnedVector abundance, averageAge, richness, extinctions, colonisations;
};

Descriptors::Descriptors(const Simulation& run, const Metacommunity& m)
    : abundance(m.nSites), averageAge(m.nSites), richness(m.nSites), extinctions(m.nSites),
      colonisations(m.nSites)
{
    for (int s = 0; s < m.nSites; s++) {
        abundance[s] = m.siteTotal[s];
        averageAge[s] = AverageAge(run, m.averageBirth[s][m.nOTUs], m.siteTotal[s],
                                   run.totalSteps);
        richness[s] = m.richness[s];
        extinctions[s] = m.extinctions[s];
        colonisations[s] = m.colonisations[s];
    }
}

void ReportAxis(File f, const Simulation& run, const Metacommunity& m, const Descriptors& d,
                double** T, double* Rf, double* axis)
{
    const auto r = [&](double* descriptor) {
        return Correlation2VecMV(m.nSites, axis, descriptor);
    };
    std::fprintf(f, "Total abundance in each community:\t%g\n", r(d.abundance));
    std::fprintf(f, "Average age of individuals in each community:\t%g\n", r(d.averageAge));
    std::fprintf(f, "OTU richness in each community (at step %d):\t%g\n", m.recordStep, r(d.richness));
    std::fprintf(f, "Total number of OTU extinctions in each community (after step %d):\t%g\n", m.recordStep, r(d.extinctions));
    std::fprintf(f, "Total number of OTU colonizations in each community (after step %d):\t%g\n", m.recordStep, r(d.colonisations));
    for (int t = 0; t < m.nTraits; t++)
        std::fprintf(f, "CWM trait %d at final step %d:\t%g\n", t + 1, run.totalSteps, r(T[t]));
    std::fprintf(f, "Rao entropy at final step %d:\t%g\n", run.totalSteps, r(Rf));
    for (int q = 0; q < m.nPredictors; q++)
        std::fprintf(f, "Ecosystem variable %d at final step %d:\t%g\n", q + 1, run.totalSteps, r(m.E[q]));
}

/// T, K x S, from shares of communities, each trait to unit length.
void AverageTraits(const Metacommunity& m, const SetAnalysis& a, double** T)
{
    OwnedRows averages(m.nSites, m.nTraits);
    MatrixProdMV(m.nSites, m.nOTUs, m.nOTUs, m.nTraits, a.relativeW, m.B, averages);
    NormalizeCols(m.nSites, m.nTraits, averages, averages);
    TransposeMatrix(m.nSites, m.nTraits, averages, T);
}

// --- The statistics of the test

void ReportCorrelations(File f, const SetAnalysis& a)
{
    const double* const x = a.test.results;
    const double* const p = a.test.probabilities;
    std::fprintf(f, "\n\nStatistics and probabilities:\nConvergence (TCAP): r(TE)=\t%g\tP=\t%g\nBoth TCAP and Divergence (TDAP): r(XE)=\t%g\tP=\t%g\nTDAP: r(XE.T)=\t%g\tP=\t%g\n",
                 x[rTE], p[rTE], x[rXE], p[rXE], x[rXE_T], p[rXE_T]);
    std::fprintf(f, "Alpha divergence (correlation between ecosystem variables and Rao entropy): r(RE)=\t%g\tP=\t%g\nBeta divergence: r(XE.TR)=\t%g\tP=\t%g\n",
                 x[rRE], p[rRE], x[rXE_TR], p[rXE_TR]);
    std::fprintf(f, "\nCorrelations with Beals smoothed community matrix (Y) considering OTU's co-occurences weighted by their abundances:\n");
    std::fprintf(f, "r(TY)=\t%g\tP=\t%g\n", x[rTY], p[rTY]);
    std::fprintf(f, "r(XY)=\t%g\tP=\t%g\n", x[rXY], p[rXY]);
    std::fprintf(f, "r(XY_T)=\t%g\tP=\t%g\n", x[rXY_T], p[rXY_T]);
    std::fprintf(f, "\nCorrelations with fuzzy-weighted smoothed community matrix (Z) considering OTU's cross-products based on their abundances:\n");
    std::fprintf(f, "r(TZ)=\t%g\tP=\t%g\n", x[rTZ], p[rTZ]);
    std::fprintf(f, "r(XZ)=\t%g\tP=\t%g\n", x[rXZ], p[rXZ]);
    std::fprintf(f, "r(XZ_T)=\t%g\tP=\t%g\n", x[rXZ_T], p[rXZ_T]);
}

void ReportResponse(File f, const Simulation& run, const SetAnalysis& a, int y)
{
    ForFactors(run, [&](const char* name, int e) {
        std::fprintf(f, "Factor:\t%s\tcoeff=\t%g\tp-value=\t%g\n", name,
                     a.coefficient[e][y], a.pCoefficient[e][y]);
    });
    std::fprintf(f, "Intercept=\t%g\n", a.intercept[y]);
}

void ReportRegressions(File f, const Simulation& run, const SetAnalysis& a)
{
    std::fprintf(f, "\n\nREGRESSION MODELS");
    std::fprintf(f, "\nFor each response variable, the r square, and regression coefficients for each environmental factor, and corresponding p-values are shown below:\n");
    ForTraits(run, [&](const char* label, int t) {
        std::fprintf(f, "\nTrait:\t%s\tr-square=\t%g\tp-value=\t%g\n", label, a.rSquare[t], a.pRSquare[t]);
        ReportResponse(f, run, a, t);
    });
    const int diversity = run.nTraits;
    std::fprintf(f, "\nFunctional diversity:\t\tr-square=\t%g\tp-value=\t%g\n", a.rSquare[diversity], a.pRSquare[diversity]);
    ReportResponse(f, run, a, diversity);
}

void ReportPseudoF(File f, const char* factor, double F, double p)
{
    std::fprintf(f, "Factor:\t%s\tPseudo-F=\t%g\tp-value=\t%g\n", factor, F, p);
}

void ReportStates(File f, const Simulation& run, const SetAnalysis& a)
{
    std::fprintf(f, "Selected communities:\n");
    for (int s = 0; s < run.nSites; s++) std::fprintf(f, "%d\t", session.relSelect[s]);
    std::fprintf(f, "\nSelected traits:\t");
    ForTraits(run, [&](const char* label, int) { std::fprintf(f, "%s\t", label); });
    std::fprintf(f, "\nSelected factors and observation states in %d communities:\n", run.nSites);
    ForFactors(run, [&](const char* name, int e) {
        std::fprintf(f, "Factor:\t%s\tStates:\t", name);
        for (int s = 0; s < run.nSites; s++)
            std::fprintf(f, "%d\t", static_cast<int>(a.selectedE[s][e]));
        std::fprintf(f, "\n");
    });
}

void ReportVarianceAnalysis(File f, const Simulation& run, const SetAnalysis& a)
{
    std::fprintf(f, "\n\nANALYSIS OF VARIANCE\n");
    ReportStates(f, run, a);
    std::fprintf(f, "\nMANOVA using matrix T (community weighted means) as multivariate response:\n");
    ForFactors(run, [&](const char* name, int e) {
        ReportPseudoF(f, name, a.fT[e], a.pT[e]);
        std::fprintf(f, "ANOVA for each selected individual trait the pseudo-F (between/within groups sum of squares) and corresponding p-values are shown below:\n");
        ForTraits(run, [&](const char* label, int t) {
            std::fprintf(f, "Trait:\t%s\tPseudo-F=\t%g\tp-value=\t%g\n", label, a.fTraits[e][t], a.pTraits[e][t]);
        });
        std::fprintf(f, "\n");
    });
    std::fprintf(f, "MANOVA using matrix X (fuzzy-weighted community composition using all selected traits) as multivariate response:\n");
    ForFactors(run, [&](const char* name, int e) { ReportPseudoF(f, name, a.fX[e], a.pX[e]); });
    std::fprintf(f, "\nANOVA using Rao funtional diversity (using all selected traits) as univariate response:\n");
    ForFactors(run, [&](const char* name, int e) { ReportPseudoF(f, name, a.fRf[e], a.pRf[e]); });
}

} // namespace

void WriteSimulatedSet(const Simulation& run, const Metacommunity& m)
{
    OutputFile otus("OTUs_Simulated.txt", console.volumeName, "w");
    for (int o = 1; o <= m.nOTUs; o++) std::fprintf(otus, "%d\n", o);
    otus.Close();
    if (run.nSets > 2) return;

    OutputFile B("B_Simulated.txt", console.volumeName, "w");
    PrintMatrixOf(B, m.nOTUs, m.nTraits, run.traits);
    std::fprintf(B, "Trait data (not standardized, %d OTUs in rows and %d traits in columns):\n", m.nOTUs, m.nTraits);
    B.Close();

    OutputFile W("W_Simulated.txt", console.volumeName, "w");
    PrintMatrixOf(W, m.nSites, m.nOTUs, m.W);
    std::fprintf(W, "\nCommunity data matrix at final step %d, for %d community sites in rows and %d OTUs in columns:\n", run.totalSteps, m.nSites, m.nOTUs);
    std::fprintf(W, "\nAbundance in each community:\n");
    PrintCounts(W, m.nSites, m.siteTotal);
    std::fprintf(W, "Total abundance:\t%d\n", m.total);
    W.Close();

    OutputFile E("E_Simulated.txt", console.volumeName, "w");
    PrintMatrixOf(E, m.nPredictors, m.nSites, m.E);
    std::fprintf(E, "\nEcosystem data matrix at final step %d (%d ecosystem variables in rows and %d community sites in columns):\n", run.totalSteps, m.nPredictors, m.nSites);
    E.Close();

    OutputFile types("TraitTypes_Simulated.txt", console.volumeName, "w");
    for (int t = 0; t < m.nTraits; t++) std::fprintf(types, "3\t");
    types.Close();
}

void ReportSet(File f, const Simulation& run, const Metacommunity& m, int set)
{
    if (!run.ReportsSets()) return;
    std::fprintf(f, "\n\nSIMULATED DATA %d", set);
    ReportGenerated(f, run, m);
    ReportCommunities(f, run, m);
    ReportEcosystem(f, run, m);
}

void ReportAnalysis(File f, const Simulation& run, const Metacommunity& m,
                    const SetAnalysis& analysis)
{
    if (!run.ReportsSets()) return;
    OwnedRows T(m.nTraits, m.nSites);
    AverageTraits(m, analysis, T);
    std::fprintf(f, "\nCommunity weighted means at final step %d, for %d traits in rows and %d community sites in columns:\n", run.totalSteps, m.nTraits, m.nSites);
    PrintMatrixOf(f, m.nTraits, m.nSites, T);
    std::fprintf(f, "\nRao entropy at final step %d, for %d community sites:\n", run.totalSteps, m.nSites);
    PrintVectorTab(f, m.nSites, analysis.Rf, SignificantDigits(), nullptr);

    const CommunityOrdination ordination(m.nSites, m.nOTUs, m.W);
    ReportOrdination(f, m, ordination);
    const Descriptors descriptors(run, m);
    std::fprintf(f, "\nCorrelation coefficients between ordination axes and other community or ecosystem descriptors:\n");
    for (int a = 0; a < std::min(ordination.nAxes, nAxesShown); a++) {
        std::fprintf(f, "Axis:\t%d\n", a + 1);
        ReportAxis(f, run, m, descriptors, T, analysis.Rf, ordination.communityScores[a]);
    }
    ReportTraitWeights(f, run);
    ReportPredictorWeights(f, run);
    if (session.opt_ro == linearRegression)
        ReportRegressions(f, run, analysis);
    else if (session.opt_ro == varianceAnalysis)
        ReportVarianceAnalysis(f, run, analysis);
    else
        ReportCorrelations(f, analysis);
}
