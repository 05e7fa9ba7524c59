#include "simulation/report.hpp"

#include <algorithm>
#include <cstdio>
#include <vector>

#include "functional/correlation.hpp"
#include "functional/settings.hpp"
#include "numeric/adjust.hpp"
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
#include "simulation/settings.hpp"
#include "simulation/stepfiles.hpp"

namespace {

const char* const reportFile = "FinalSimulatedData.txt";
const int nAxesShown = 6;

/// Index opt_ro - 1. The shared table of names leaves two of them out.
const char* const measureNames[] = {"matrix correlation (Mantel)", "Procrustes (traceW)",
                                    "RV coefficient (Escoufier 1973)", "linear regression",
                                    "analysis of variance"};

using File = std::FILE*;

void PrintMatrixOf(File f, int rows, int cols, double** M)
{
    PrintMatrixTab(f, rows, cols, M, preferences.sDigits);
}

void PrintCounts(File f, int n, const int* counts)
{
    PrintVectorTab(f, n, counts, nullptr);
}

// --- Head and echo of the settings, in the order of the dialogue. A setting of several lines stands
// behind an empty one.

const char* YesOrNo(bool yes)
{
    return yes ? "yes" : "no";
}

void ReportFunctions(File f, const LogisticFunctions& functions, const char* what)
{
    if (functions.isGenerated)
        std::fprintf(f, "Specified limits for generating parameters of the logistic function for %s:\tcenter\t%g\t%g\tslope\t%g\t%g\n",
                     what, functions.minCenter, functions.maxCenter, functions.minSlope,
                     functions.maxSlope);
    else
        std::fprintf(f, "\nSpecified parameters (center and slope) of the logistic function for %s: file %s\n", what, functions.file.name);
}

/// The parameters that were read, under the line that names their file.
void ReportGivenFunctions(File f, const Simulation& run, const LogisticFunctions& functions,
                          const char* what)
{
    ReportFunctions(f, functions, what);
    if (!functions.isGenerated) PrintMatrixOf(f, run.nOTUs, 2, *functions.parameters);
}

void ReportTraitSource(File f, const Simulation& run)
{
    std::fprintf(f, "Specified number of communities (sites):\t%d\n", run.nSites);
    std::fprintf(f, "Specified number of OTUs:\t%d\n", run.nOTUs);
    std::fprintf(f, "Specified number of traits:\t%d\n", run.nTraits);
    if (run.traitSource == 't') {
        std::fprintf(f, "\nTrait data (%d OTUs x %d traits, file %s)\n", run.nOTUs, run.nTraits, run.traitFile.name);
        PrintMatrixOf(f, run.nOTUs, run.nTraits, *run.traits);
        return;
    }
    std::fprintf(f, "\nTrait correlation matrix (%d traits x %d traits, file %s)\n", run.nTraits, run.nTraits, run.traitCorrelationFile.name);
    PrintMatrixOf(f, run.nTraits, run.nTraits, *run.traitCorrelation);
    if (run.traitSource == 'b') {
        std::fprintf(f, "\nCorrelation matrix between OTUs (%d OTUs x %d OTUs, file %s)\n", run.nOTUs, run.nOTUs, run.otuCorrelationFile.name);
        PrintMatrixOf(f, run.nOTUs, run.nOTUs, *run.otuCorrelation);
    }
    if (run.traitDistribution == 'u')
        std::fprintf(f, "Trait data generated with UNIFORM distribution\n");
    else
        std::fprintf(f, "Trait data generated with NORMAL distribution\n");
}

void ReportSites(File f, const Simulation& run)
{
    if (run.siteSource == 'c') {
        std::fprintf(f, "\nSpecified site coordinates (2 x %d community sites, file %s)\n", run.nSites, run.siteFile.name);
        PrintMatrixOf(f, 2, run.nSites, *run.sites);
    } else {
        std::fprintf(f, "Site coordinates generated at random\n");
    }
}

void ReportEcosystemSource(File f, const Simulation& run)
{
    std::fprintf(f, "Specified number of factors:\t%d\n", run.nFactors);
    if (run.ecosystemSource == 'e') {
        std::fprintf(f, "\nInitial ecosystem conditions (%d factors x %d sites, file %s).\n", run.nFactors, run.nSites, run.ecosystemFile.name);
        PrintMatrixOf(f, run.nFactors, run.nSites, *run.ecosystem);
        return;
    }
    std::fprintf(f, "\nFactor correlation matrix (%d factors x %d factors, file %s)\n", run.nFactors, run.nFactors, run.factorCorrelationFile.name);
    PrintMatrixOf(f, run.nFactors, run.nFactors, *run.factorCorrelation);
    if (run.ecosystemDistribution == 'u')
        std::fprintf(f, "Environmental data generated with UNIFORM distribution\n");
    else
        std::fprintf(f, "Environmental data generated with NORMAL distribution\n");
}

void ReportLinearModels(File f, const Simulation& run)
{
    std::fprintf(f, "Double interactions between factors:\t%s\n", YesOrNo(run.withInteractions));
    std::fprintf(f, "\nParameters for linear models of community responses to ecosystem conditions (%d traits x %d ecosystem predictor variables, file %s):\n", run.nTraits, run.nPredictors, run.responseFile.name);
    PrintMatrixOf(f, run.nTraits, run.nPredictors, *run.responses);
    std::fprintf(f, "\nParameters for linear models of community effects on ecosystem conditions (%d ecosystem variables x %d traits, file %s):\n", run.nFactors, run.nTraits, run.effectFile.name);
    PrintMatrixOf(f, run.nFactors, run.nTraits, *run.effects);
    std::fprintf(f, "\nTraits with non-zero parameters for community responses to ecosystem conditions: \n");
    for (int t = 0; t < run.nTraits; t++)
        if (run.isResponding->values[t] == 1) std::fprintf(f, "%d\t", t + 1);
    std::fprintf(f, "\n");
}

void ReportLifespans(File f, const Simulation& run)
{
    if (run.lifespansGenerated) {
        std::fprintf(f, "Specified minimum and maximum random lifespan values (years):\t%d\t%d\n", run.minLifespan, run.maxLifespan);
        return;
    }
    std::fprintf(f, "\nSpecified maximum lifespan values (years) for %d OTUs (file %s):\n", run.nOTUs, run.lifespanFile.name);
    PrintCounts(f, run.nOTUs, *run.lifespans);
}

void ReportDuration(File f, const Simulation& run)
{
    std::fprintf(f, "\nSpecified maximum average number of individuals per community:\t%d\n", run.maxAvg);
    std::fprintf(f, "Specified duration of the simulation (in years):\t%d\n", run.years);
    std::fprintf(f, "Specified number of iterations (cycles of colonization and extinction) per year:\t%d\n", run.perYear);
    std::fprintf(f, "Specified threshold (proportion) of maximum average number of individuals per community after which OTU richness is recorded and colonization/extinction events are recorded:\t%g\n", run.threshold);
}

void ReportTests(File f, const Simulation& run)
{
    std::fprintf(f, "Number of iterations for permutation tests:\t%d\n", session.niter);
    if (!session.optRndTests) return;
    const bool isTaxaShuffle = session.optTaxaSiteShuffle == 't';
    std::fprintf(f, "Null model:\t%s\n", isTaxaShuffle ? "taxa shuffle" : "site shuffle");
    if (!isTaxaShuffle) return;
    if (session.optRestrictPermutNullModel != 1) {
        std::fprintf(f, "Permutations of OTUs:\tunrestricted\n");
        return;
    }
    std::fprintf(f, "\nPermutations of OTUs restricted within nesting groups:\n");
    PrintCounts(f, run.nOTUs, session.nestingMembershipOTUs);
}

void PrintPredictorNumbers(File f, const Simulation& run)
{
    for (int i = 1; i <= run.nFactors; i++) std::fprintf(f, "\t%d", i);
    if (!run.withInteractions) return;
    for (int i = 1; i <= run.nFactors; i++)
        for (int j = i + 1; j <= run.nFactors; j++) std::fprintf(f, "\t%dx%d ", i, j);
}

void PrintPredictorWeights(File f, const Simulation& run)
{
    for (int q = 0; q < run.nPredictors; q++) std::fprintf(f, "\t%d", run.selected->values[q]);
}

/// Traits with their weights in the analysis. As with the predictors, the line is left open.
void ReportTraitWeights(File f, const Simulation& run)
{
    std::fprintf(f, "\nTraits:       ");
    for (int t = 1; t <= run.nTraits; t++) std::fprintf(f, "\t%d", t);
    std::fprintf(f, "\nTrait weights:");
    for (int t = 0; t < run.nTraits; t++) std::fprintf(f, "\t%g", session.weight[t]);
}

void ReportPredictors(File f, const Simulation& run)
{
    std::fprintf(f, "\nEcosystem variables (and their interactions if included): ");
    PrintPredictorNumbers(f, run);
}

void ReportPredictorWeights(File f, const Simulation& run)
{
    ReportPredictors(f, run);
    std::fprintf(f, "\nEcosystem variable weights:                              ");
    PrintPredictorWeights(f, run);
}

void ReportOtuChoice(File f, const Simulation& run)
{
    std::fprintf(f, "\nOTUs in the analysis (1: included):\n");
    PrintCounts(f, run.nOTUs, session.weight_OTUs);
    std::fprintf(f, "Fuzzy-weighting and diversity measures restricted to within subset of selected OTUs:\t%s\n", YesOrNo(session.restrictRaoWithinOpt));
    std::fprintf(f, "Original scale kept despite excluding OTUs:\t%s\n", YesOrNo(!session.keepAdditivity));
}

/// What the dialogue of all analyses asks.
void ReportAnalysisSettings(File f, const Simulation& run)
{
    std::fprintf(f, "OTU belonging to types:\t%s\n", fuzzyInfo[session.fuzzy]);
    ReportTests(f, run);
    std::fprintf(f, "Measuring congruence using:\t%s\n", measureNames[session.opt_ro - 1]);
    if (session.opt_ro == mantel || session.opt_ro == varianceAnalysis)
        std::fprintf(f, "Resemblance function between communities:\t%s\n", rese_optInfo[session.rese_opt - 1]);
    ReportTraitWeights(f, run);
    std::fprintf(f, "\n");
    ReportOtuChoice(f, run);
    std::fprintf(f, "Community data matrix W standardized to unit total in each community:\t%s\n", YesOrNo(session.optUnitTotalAdjust2));
    std::fprintf(f, "Detailed results:\t%s\n", YesOrNo(session.printDetail == 1));
}

void ReportEvaluation(File f, const Simulation& run)
{
    ReportPredictorWeights(f, run);
    std::fprintf(f, "\n");
    if (session.niter > 0)
        std::fprintf(f, "Evaluation of type I error or power:\t%s\n", YesOrNo(run.evaluate));
    if (run.evaluate) {
        std::fprintf(f, "Specified number of simulated data sets:\t%d\n", run.nSets);
        std::fprintf(f, "Specified alpha threshold for Ho rejection:\t%g\n", run.alpha);
    } else {
        std::fprintf(f, "Intermediate simulation results saved:\t%s\n", YesOrNo(run.saveIntermediate));
    }
}

void ReportSettings(File f, const Simulation& run)
{
    ReportTraitSource(f, run);
    ReportGivenFunctions(f, run, run.dispersal, "the seed dispersal kernel");
    ReportSites(f, run);
    ReportEcosystemSource(f, run);
    ReportLinearModels(f, run);
    ReportGivenFunctions(f, run, run.survival, "the probability of survival");
    ReportGivenFunctions(f, run, run.density, "density dependence");
    ReportLifespans(f, run);
    ReportGivenFunctions(f, run, run.age, "age-related survivorship");
    ReportDuration(f, run);
    ReportAnalysisSettings(f, run);
    ReportEvaluation(f, run);
}

// --- A set

void ReportGenerated(File f, const Simulation& run, const Metacommunity& m)
{
    if (run.traitSource != 't') {
        std::fprintf(f, "\nRandomly generated trait data (not standardized, %d OTUs in rows and %d traits in columns):\n", run.nOTUs, run.nTraits);
        PrintMatrixOf(f, run.nOTUs, run.nTraits, *run.traits);
    }
    std::fprintf(f, "\nTrait data (standardized to Z scores, %d OTUs in rows and %d traits in columns):\n", run.nOTUs, run.nTraits);
    PrintMatrixOf(f, run.nOTUs, run.nTraits, m.B);
    if (run.dispersal.isGenerated) {
        std::fprintf(f, "\nRandomly generated seed dispersal kernel parameters (%d OTUs, center and slope of the logistic function):\n", run.nOTUs);
        PrintMatrixOf(f, run.nOTUs, 2, *run.dispersal.parameters);
    }
    if (run.siteSource == 'r') {
        std::fprintf(f, "\nRandomly generated site coordinates (2 x %d community sites):\n", run.nSites);
        PrintMatrixOf(f, 2, run.nSites, *run.sites);
    }
    if (run.survival.isGenerated) {
        std::fprintf(f, "\nRandomly generated parameters (center and slope) of the logistic function relating probability of survival to distance between OTU traits and expected community traits for %d OTUs:\n", run.nOTUs);
        PrintMatrixOf(f, run.nOTUs, 2, *run.survival.parameters);
    }
    if (run.density.isGenerated) {
        std::fprintf(f, "\nRandomly generated density dependence parameters for %d OTUs, with center and slope of the logistic function:\n", run.nOTUs);
        PrintMatrixOf(f, run.nOTUs, 2, *run.density.parameters);
    }
    if (run.lifespansGenerated) {
        std::fprintf(f, "\nRandomly generated maximum lifespan for %d OTUs:\n", run.nOTUs);
        PrintCounts(f, run.nOTUs, *run.lifespans);
    }
    if (run.age.isGenerated) {
        std::fprintf(f, "\nRandomly generated age-related survivorship curve parameters for %d OTUs, with the center and slope of the logistic function for the probabilities:\n", run.nOTUs);
        PrintMatrixOf(f, run.nOTUs, 2, *run.age.parameters);
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
    PrintVectorTab(f, m.nOTUs, m.W.table[m.nSites], preferences.sDigits, nullptr);
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
    const int digits = preferences.sDigits;
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
        averageAge[s] = AverageAge(run, m.averageBirth.table[s][m.nOTUs], m.siteTotal[s],
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
        std::fprintf(f, "Ecosystem variable %d at final step %d:\t%g\n", q + 1, run.totalSteps, r(m.E.table[q]));
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

/// The predictors in use, in order: their numbers from 0.
std::vector<int> SelectedPredictors(const Simulation& run)
{
    std::vector<int> selected;
    for (int q = 0; q < run.nPredictors; q++)
        if (run.selected->values[q] == 1) selected.push_back(q);
    return selected;
}

/// Calls line(name, place among those in use) for each predictor in use.
template <typename Line>
void ForFactors(const Simulation& run, Line line)
{
    char name[24];
    int place = 0;
    for (int q : SelectedPredictors(run)) {
        PredictorName(run, q, name);
        line(name, place++);
    }
}

/// Calls line(label, number from 0) for each trait in use.
template <typename Line>
void ForTraits(const Simulation& run, Line line)
{
    for (int t = 0; t < run.nTraits; t++)
        if (session.weight[t] > 0.0) line(session.chLabel[t], t);
}

void ReportResponse(File f, const Simulation& run, const SetAnalysis& a, int y)
{
    ForFactors(run, [&](const char* name, int e) {
        std::fprintf(f, "Factor:\t%s\tcoeff=\t%g\tp-value=\t%g\n", name,
                     a.coefficient.table[e][y], a.pCoefficient.table[e][y]);
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
            std::fprintf(f, "%d\t", static_cast<int>(a.selectedE.table[s][e]));
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
            std::fprintf(f, "Trait:\t%s\tPseudo-F=\t%g\tp-value=\t%g\n", label, a.fTraits.table[e][t], a.pTraits.table[e][t]);
        });
        std::fprintf(f, "\n");
    });
    std::fprintf(f, "MANOVA using matrix X (fuzzy-weighted community composition using all selected traits) as multivariate response:\n");
    ForFactors(run, [&](const char* name, int e) { ReportPseudoF(f, name, a.fX[e], a.pX[e]); });
    std::fprintf(f, "\nANOVA using Rao funtional diversity (using all selected traits) as univariate response:\n");
    ForFactors(run, [&](const char* name, int e) { ReportPseudoF(f, name, a.fRf[e], a.pRf[e]); });
}

// --- Rates of rejection

void ReportSmoothedRates(File f, double TY, double XY, double XY_T, const char* names)
{
    if (preferences.BealsIncludeOpt)
        std::fprintf(f, "(abundance of target OTU included in its own estimation):\n");
    else
        std::fprintf(f, "(abundance of target OTU NOT included in its own estimation):\n");
    if (names[0] == 'Y') {
        std::fprintf(f, "r(TY)\tP=\t%g\n", TY);
        std::fprintf(f, "r(XY)\tP=\t%g\n", XY);
        std::fprintf(f, "r(XY_T)\tP=\t%g\n", XY_T);
    } else {
        std::fprintf(f, "r(TZ)\tP=\t%g\n", TY);
        std::fprintf(f, "r(XZ)\tP=\t%g\n", XY);
        std::fprintf(f, "r(XZ_T)\tP=\t%g\n", XY_T);
    }
}

void ReportCorrelationRates(File f, const double* rate)
{
    std::fprintf(f, "\nConvergence (TCAP): r(TE)\tP=\t%g\nBoth TCAP and Divergence (TDAP): r(XE)\tP=\t%g\nTDAP: r(XE.T)\tP=\t%g\n", rate[rTE], rate[rXE], rate[rXE_T]);
    std::fprintf(f, "Correlation function between matrices: \t%s\n", opt_roInfo[session.opt_ro - 1]);
    if (session.opt_ro == procrustes || session.opt_ro == rvCoefficient)
        std::fprintf(f, "Factor (f) for limiting the number of predictors in PCA regression in relation to sample size n (number of predictors = n/f): %g\n", preferences.overfitFactorPCARegr);
    std::fprintf(f, "Alpha divergence (correlation between ecosystem variables and Rao entropy): r(RE)\tP=\t%g\nBeta divergence: r(XE.TR)\tP=\t%g\n", rate[rRE], rate[rXE_TR]);
    std::fprintf(f, "\nCorrelations with Beals smoothed community matrix (Y) considering OTU's co-occurences weighted by their abundances ");
    ReportSmoothedRates(f, rate[rTY], rate[rXY], rate[rXY_T], "Y");
    std::fprintf(f, "\nCorrelations with fuzzy-weighted smoothed community matrix (Z) considering OTU's cross-products based on their abundances ");
    ReportSmoothedRates(f, rate[rTZ], rate[rXZ], rate[rXZ_T], "Z");
}

void ReportRegressionRates(File f, const Simulation& run, const Rejections& rates)
{
    std::fprintf(f, "\nFor each CWM trait and functional diversity as response variables, the corresponding probabilities of H0 rejection of regression adjustment (r-square) and beta coefficients are shown below:\n");
    const auto coefficients = [&](int y) {
        ForFactors(run, [&](const char* name, int e) {
            std::fprintf(f, "Factor:\t%s\tcoeff\tP=\t%g\n", name, rates.coefficient.table[e][y]);
        });
    };
    ForTraits(run, [&](const char* label, int t) {
        std::fprintf(f, "\nTrait:\t%s\tr-square\tP=\t%g\n", label, rates.rSquare[t]);
        coefficients(t);
    });
    std::fprintf(f, "\nFunctional diversity:\t\tr-square\tP=\t%g\n", rates.rSquare[run.nTraits]);
    coefficients(run.nTraits);
}

void ReportVarianceRates(File f, const Simulation& run, const Rejections& rates)
{
    const auto report = [f](const char* factor, double rate) {
        std::fprintf(f, "Factor:\t%s\tPseudo-F\tP=\t%g\n", factor, rate);
    };
    std::fprintf(f, "\nMANOVA using matrix T (community weighted means) as multivariate response:\n");
    ForFactors(run, [&](const char* name, int e) {
        report(name, rates.T[e]);
        std::fprintf(f, "ANOVA for each selected individual trait using pseudo-F (between/within groups sum of squares):\n");
        ForTraits(run, [&](const char* label, int t) {
            std::fprintf(f, "Trait:\t%s\tPseudo-F\tP=\t%g\n", label, rates.traits.table[e][t]);
        });
        std::fprintf(f, "\n");
    });
    std::fprintf(f, "MANOVA using matrix X (fuzzy-weighted community composition using all selected traits) as multivariate response:\n");
    ForFactors(run, [&](const char* name, int e) { report(name, rates.X[e]); });
    std::fprintf(f, "\nANOVA using Rao funtional diversity (using all selected traits) as univariate response:\n");
    ForFactors(run, [&](const char* name, int e) { report(name, rates.Rf[e]); });
}

void ReportRunSummary(File f, const Simulation& run, double seconds)
{
    std::fprintf(f, "Specified maximum average number of individuals per community:\t%d\n", run.maxAvg);
    std::fprintf(f, "Number of simulated data sets:\t%d\n", run.nSets);
    std::fprintf(f, "Number of random permutations in each test:\t%d\n", session.niter);
    std::fprintf(f, "Alpha threshold for Ho rejection:\t%g\n", run.alpha);
    std::fprintf(f, "Elapsed time (seconds): %g\n", seconds);
    ReportTraitWeights(f, run);
    ReportPredictors(f, run);
    std::fprintf(f, "\nWeights:                                                  ");
    PrintPredictorWeights(f, run);
    std::fprintf(f, "\n\nPROBABILITIES OF Ho REJECTION (type I error or power depending on the specified model context) based on %d tests using %d permutations each:", run.nSets, session.niter);
}

} // namespace

void CreateReport(const Simulation& run)
{
    const OutputFile f(OpenResult(reportFile, "w"));
    std::fprintf(f, "%s\n", lineL);
    std::fprintf(f, "SIMULATION OF COMMUNITY ASSEMBLY\n");
    std::fprintf(f, "%s\n", lineL);
    TimeStamp(f);
    std::fprintf(f, "%s\n", lineL);
    std::fprintf(f, "\nRandom generator seed: %u\n", static_cast<unsigned>(session.rseed));
    ReportSettings(f, run);
}

void WriteSimulatedSet(const Simulation& run, const Metacommunity& m)
{
    const OutputFile otus(OpenResult("OTUs_Simulated.txt", "w"));
    for (int o = 1; o <= m.nOTUs; o++) std::fprintf(otus, "%d\n", o);
    if (run.nSets > 2) return;

    const OutputFile B(OpenResult("B_Simulated.txt", "w"));
    PrintMatrixOf(B, m.nOTUs, m.nTraits, *run.traits);
    std::fprintf(B, "Trait data (not standardized, %d OTUs in rows and %d traits in columns):\n", m.nOTUs, m.nTraits);

    const OutputFile W(OpenResult("W_Simulated.txt", "w"));
    PrintMatrixOf(W, m.nSites, m.nOTUs, m.W);
    std::fprintf(W, "\nCommunity data matrix at final step %d, for %d community sites in rows and %d OTUs in columns:\n", run.totalSteps, m.nSites, m.nOTUs);
    std::fprintf(W, "\nAbundance in each community:\n");
    PrintCounts(W, m.nSites, m.siteTotal);
    std::fprintf(W, "Total abundance:\t%d\n", m.total);

    const OutputFile E(OpenResult("E_Simulated.txt", "w"));
    PrintMatrixOf(E, m.nPredictors, m.nSites, m.E);
    std::fprintf(E, "\nEcosystem data matrix at final step %d (%d ecosystem variables in rows and %d community sites in columns):\n", run.totalSteps, m.nPredictors, m.nSites);

    const OutputFile types(OpenResult("TraitTypes_Simulated.txt", "w"));
    for (int t = 0; t < m.nTraits; t++) std::fprintf(types, "3\t");
}

void ReportSet(const Simulation& run, const Metacommunity& m, int set)
{
    if (!run.ReportsSets()) return;
    const OutputFile f(OpenResult(reportFile, "a"));
    std::fprintf(f, "\n\nSIMULATED DATA %d", set);
    ReportGenerated(f, run, m);
    ReportCommunities(f, run, m);
    ReportEcosystem(f, run, m);
}

void ReportAnalysis(const Simulation& run, const Metacommunity& m, const SetAnalysis& analysis)
{
    if (!run.ReportsSets()) return;
    const OutputFile f(OpenResult(reportFile, "a"));
    OwnedRows T(m.nTraits, m.nSites);
    AverageTraits(m, analysis, T);
    std::fprintf(f, "\nCommunity weighted means at final step %d, for %d traits in rows and %d community sites in columns:\n", run.totalSteps, m.nTraits, m.nSites);
    PrintMatrixOf(f, m.nTraits, m.nSites, T);
    std::fprintf(f, "\nRao entropy at final step %d, for %d community sites:\n", run.totalSteps, m.nSites);
    PrintVectorTab(f, m.nSites, analysis.Rf, preferences.sDigits, nullptr);

    const CommunityOrdination ordination(m.nSites, m.nOTUs, m.W);
    ReportOrdination(f, m, ordination);
    const Descriptors descriptors(run, m);
    std::fprintf(f, "\nCorrelation coefficients between ordination axes and other community or ecosystem descriptors:\n");
    for (int a = 0; a < std::min(ordination.nAxes, nAxesShown); a++) {
        std::fprintf(f, "Axis:\t%d\n", a + 1);
        ReportAxis(f, run, m, descriptors, T, analysis.Rf, ordination.communityScores.table[a]);
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

void ReportRates(const Simulation& run, const Rejections& rates, double seconds)
{
    const OutputFile f(OpenResult(reportFile, "a"));
    std::fprintf(f, "%s\n", lineL);
    std::fprintf(f, "SIMULATION OF COMMUNITY ASSEMBLY\n");
    std::fprintf(f, "FINAL RESULTS\n");
    std::fprintf(f, "%s\n", lineL);
    TimeStamp(f);
    std::fprintf(f, "%s\n", lineL);
    if (run.ReportsSets()) {
        ReportTraitSource(f, run);
        ReportGivenFunctions(f, run, run.dispersal, "the seed dispersal kernel");
        ReportSites(f, run);
        ReportEcosystemSource(f, run);
        ReportLinearModels(f, run);
        ReportGivenFunctions(f, run, run.survival, "the probability of survival");
        ReportGivenFunctions(f, run, run.density, "density dependence");
        ReportLifespans(f, run);
        ReportGivenFunctions(f, run, run.age, "age-related survivorship");
    }
    ReportRunSummary(f, run, seconds);
    if (session.opt_ro == linearRegression)
        ReportRegressionRates(f, run, rates);
    else if (session.opt_ro == varianceAnalysis)
        ReportVarianceRates(f, run, rates);
    else
        ReportCorrelationRates(f, rates.statistics);
}
