// SPDX-License-Identifier: GPL-3.0-or-later
#include <cstdio>

#include "functional/settings.hpp"
#include "numeric/congruence.hpp"
#include "numeric/resemblance.hpp"
#include "session/session.hpp"
#include "simulation/report.hpp"
#include "simulation/report_parts.hpp"
#include "simulation/settings.hpp"

namespace {

/// Index opt_ro - 1. The shared table of names leaves two of them out.
const char* const measureNames[] = {"matrix correlation (Mantel)", "Procrustes (traceW)",
                                    "RV coefficient (Escoufier 1973)", "linear regression",
                                    "analysis of variance"};

// In the order of the dialogue. A setting of several lines stands behind an empty one.

const char* YesOrNo(bool yes)
{
    return yes ? "yes" : "no";
}

/// The limits of what will be generated, or the parameters that were read.
void ReportFunctions(File f, const Simulation& run, const LogisticFunctions& functions,
                     const char* what)
{
    if (functions.isGenerated) {
        std::fprintf(f, "Specified limits for generating parameters of the logistic function for %s:\tcenter\t%g\t%g\tslope\t%g\t%g\n",
                     what, functions.minCenter, functions.maxCenter, functions.minSlope,
                     functions.maxSlope);
        return;
    }
    std::fprintf(f, "\nSpecified parameters (center and slope) of the logistic function for %s: file %s\n", what, functions.file.name);
    PrintMatrixOf(f, run.nOTUs, 2, functions.parameters);
}

void ReportTraitSource(File f, const Simulation& run)
{
    std::fprintf(f, "Specified number of communities (sites):\t%d\n", run.nSites);
    std::fprintf(f, "Specified number of OTUs:\t%d\n", run.nOTUs);
    std::fprintf(f, "Specified number of traits:\t%d\n", run.nTraits);
    if (run.traitSource == 't') {
        std::fprintf(f, "\nTrait data (%d OTUs x %d traits, file %s)\n", run.nOTUs, run.nTraits, run.traitFile.name);
        PrintMatrixOf(f, run.nOTUs, run.nTraits, run.traits);
        return;
    }
    std::fprintf(f, "\nTrait correlation matrix (%d traits x %d traits, file %s)\n", run.nTraits, run.nTraits, run.traitCorrelationFile.name);
    PrintMatrixOf(f, run.nTraits, run.nTraits, run.traitCorrelation);
    if (run.traitSource == 'b') {
        std::fprintf(f, "\nCorrelation matrix between OTUs (%d OTUs x %d OTUs, file %s)\n", run.nOTUs, run.nOTUs, run.otuCorrelationFile.name);
        PrintMatrixOf(f, run.nOTUs, run.nOTUs, run.otuCorrelation);
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
        PrintMatrixOf(f, 2, run.nSites, run.sites);
    } else {
        std::fprintf(f, "Site coordinates generated at random\n");
    }
}

void ReportEcosystemSource(File f, const Simulation& run)
{
    std::fprintf(f, "Specified number of factors:\t%d\n", run.nFactors);
    if (run.ecosystemSource == 'e') {
        std::fprintf(f, "\nInitial ecosystem conditions (%d factors x %d sites, file %s).\n", run.nFactors, run.nSites, run.ecosystemFile.name);
        PrintMatrixOf(f, run.nFactors, run.nSites, run.ecosystem);
        return;
    }
    std::fprintf(f, "\nFactor correlation matrix (%d factors x %d factors, file %s)\n", run.nFactors, run.nFactors, run.factorCorrelationFile.name);
    PrintMatrixOf(f, run.nFactors, run.nFactors, run.factorCorrelation);
    if (run.ecosystemDistribution == 'u')
        std::fprintf(f, "Environmental data generated with UNIFORM distribution\n");
    else
        std::fprintf(f, "Environmental data generated with NORMAL distribution\n");
}

void ReportLinearModels(File f, const Simulation& run)
{
    std::fprintf(f, "Double interactions between factors:\t%s\n", YesOrNo(run.withInteractions));
    std::fprintf(f, "\nParameters for linear models of community responses to ecosystem conditions (%d traits x %d ecosystem predictor variables, file %s):\n", run.nTraits, run.nPredictors, run.responseFile.name);
    PrintMatrixOf(f, run.nTraits, run.nPredictors, run.responses);
    std::fprintf(f, "\nParameters for linear models of community effects on ecosystem conditions (%d ecosystem variables x %d traits, file %s):\n", run.nFactors, run.nTraits, run.effectFile.name);
    PrintMatrixOf(f, run.nFactors, run.nTraits, run.effects);
    std::fprintf(f, "\nTraits with non-zero parameters for community responses to ecosystem conditions: \n");
    for (int t = 0; t < run.nTraits; t++)
        if (run.isResponding[t] == 1) std::fprintf(f, "%d\t", t + 1);
    std::fprintf(f, "\n");
}

void ReportLifespans(File f, const Simulation& run)
{
    if (run.lifespansGenerated) {
        std::fprintf(f, "Specified minimum and maximum random lifespan values (years):\t%d\t%d\n", run.minLifespan, run.maxLifespan);
        return;
    }
    std::fprintf(f, "\nSpecified maximum lifespan values (years) for %d OTUs (file %s):\n", run.nOTUs, run.lifespanFile.name);
    PrintCounts(f, run.nOTUs, run.lifespans);
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

} // namespace

void ReportInputs(File f, const Simulation& run)
{
    ReportTraitSource(f, run);
    ReportFunctions(f, run, run.dispersal, "the seed dispersal kernel");
    ReportSites(f, run);
    ReportEcosystemSource(f, run);
    ReportLinearModels(f, run);
    ReportFunctions(f, run, run.survival, "the probability of survival");
    ReportFunctions(f, run, run.density, "density dependence");
    ReportLifespans(f, run);
    ReportFunctions(f, run, run.age, "age-related survivorship");
}

void StartReport(File f, const Simulation& run)
{
    PrintTitle(f, "");
    std::fprintf(f, "\nRandom generator seed: %u\n", static_cast<unsigned>(session.rseed));
    ReportInputs(f, run);
    ReportDuration(f, run);
    ReportAnalysisSettings(f, run);
    ReportEvaluation(f, run);
}
