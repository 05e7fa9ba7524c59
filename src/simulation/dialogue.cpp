// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulation/dialogue.hpp"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <numeric>

#include "functional/settings.hpp"
#include "session/session.hpp"
#include "shell/arrays.hpp"
#include "shell/console.hpp"
#include "shell/prompts.hpp"
#include "shell/scanners.hpp"
#include "simulation/settings.hpp"

namespace {

const double largestInt = 2147483647.0;
const double steepestSlope = -3.4028234663852886e38;
const double flattestSlope = -0.01;
constexpr char askParameterFile[] =
    "Name of the file with a matrix of %d OTU with the two parameters of the logistic function for each OTU: \nThe parameters are: (1) center: the position of the center of antisymmetry (0 = xmin, 1 = xmax) and (2) slope of the tangent in the center of antisymmetry of the function (<0) )\n";

void AskRange(double lowest, double highest, double& first, double& second)
{
    first = ReadNumberIn("%lf\n", "-", lowest, highest);
    second = ReadNumberIn("%lf\n", "-", lowest, highest);
}

/// Two answers each for the centers and the slopes to be generated.
void AskLimits(LogisticFunctions& functions, const char* centers, const char* slopes)
{
    Say(centers);
    AskRange(0.0, 1.0, functions.minCenter, functions.maxCenter);
    Say(slopes);
    AskRange(steepestSlope, flattestSlope, functions.minSlope, functions.maxSlope);
}

// --- The questions, in groups

void AskTraits(Simulation& run)
{
    run.nSites = AskCount("Specify the number of communities (sites): ");
    run.nOTUs = AskCount("Specify the number of OTUs: ");
    run.nTraits = AskCount("Specify the number of traits: ");

    std::fprintf(console.out, "Input is a %d OTUs x %d traits matrix (t) or a trait x traits correlation matrix (c)? t/c ", run.nOTUs, run.nTraits);
    // Deliberate: b, a correlation between OTUs too, is accepted but not shown.
    run.traitSource = ReadCharIn("t c b");
    if (run.traitSource == 't') {
        std::fprintf(console.out, "Name of the file with trait data matrix (%d OTUs x %d traits):\n", run.nOTUs, run.nTraits);
        run.traitFile.Ask();
        return;
    }
    std::fprintf(console.out, "Name of the file with full trait correlation matrix (%d traits x %d traits):\n", run.nTraits, run.nTraits);
    run.traitCorrelationFile.Ask();
    if (run.traitSource == 'b') {
        std::fprintf(console.out, "Name of the file with full correlation matrix between OTUs (%d OTUs x %d nOTUs):\n", run.nOTUs, run.nOTUs);
        run.otuCorrelationFile.Ask();
    }
    Say("Generate OTUs x traits matrix with uniform (u) or normal (n) distribution of values in each trait? u/n ");
    run.traitDistribution = ReadCharIn("u n");
}

void AskDispersal(Simulation& run)
{
    Say("Specify for each OTU the parameters for local seed dispersal kernel (d), or generate the parameters (center and slope) of the logistic function at random (r)? d/r ");
    run.dispersal.isGenerated = ReadCharIn("d r") == 'r';
    if (!run.dispersal.isGenerated) {
        std::fprintf(console.out, "Name of the file with a matrix of %d OTU with the two parameters of the logistic function for each OTU: \nThe parameters are: (1) center: the position of the center of antisymmetry of the function (0 = xmin, 1 = xmax) and (2) slope of the tangent in the center of antisymmetry (<0) )\n", run.nOTUs);
        run.dispersal.file.Ask();
        return;
    }
    AskLimits(run.dispersal,
              "Specify the minimum and maximum center of antisymmetry of the logistic function for the dispersal kernel (0-1, values approaching one result in farther high dispersal probabilities): ",
              "Specify the range for the slope (negative) in the center of antisymmetry of the logistic function for the dispersal kernel (<0, more negative values result in steeper descending): ");
}

void AskSites(Simulation& run)
{
    Say("Specify community site coordinates (c), or generate coordinates at random (r)? c/r ");
    run.siteSource = ReadCharIn("c r");
    if (run.siteSource != 'c') return;
    std::fprintf(console.out, "Name of the file with X and Y coordinates for %d sites (2 rows):\n", run.nSites);
    run.siteFile.Ask();
}

void AskEcosystem(Simulation& run)
{
    run.nFactors = AskCount("Specify the number of factors: ");
    std::fprintf(console.out, "Specify the environmental data as a %d factors x %d sites matrix (e) or generate the data based on a factor x factor correlation matrix (c)? e/c ", run.nFactors, run.nSites);
    run.ecosystemSource = ReadCharIn("e c");
    if (run.ecosystemSource == 'e') {
        std::fprintf(console.out, "Name of the file with matrix of %d factors x %d sites with initial ecosystem conditions:\n", run.nFactors, run.nSites);
        run.ecosystemFile.Ask();
    } else {
        std::fprintf(console.out, "Name of the file with full factor correlation matrix (%d factors x %d factors):\n", run.nFactors, run.nFactors);
        run.factorCorrelationFile.Ask();
        Say("Generate factors x sites matrix with uniform (u) or normal (n) distribution of values in each factor? u/n ");
        run.ecosystemDistribution = ReadCharIn("u n");
    }
}

void AskLinearModels(Simulation& run)
{
    Say("Consider double interactions between factors? y/n ");
    run.withInteractions = ReadCharIn("y n") == 'y';
    run.nPredictors = CountPredictors(run.nFactors, run.withInteractions);
    if (run.withInteractions)
        std::fprintf(console.out, "Name of the file with matrix of parameters for linear models of community responses to ecosystem conditions (%d traits by %d ecosystem predictor variables and their double interactions):\n", run.nTraits, run.nPredictors);
    else
        std::fprintf(console.out, "Name of the file with matrix of parameters for linear models of community responses to ecosystem conditions (%d traits by %d ecosystem predictor variables): ", run.nTraits, run.nPredictors);
    run.responseFile.Ask();
    std::fprintf(console.out, "Name of the file with matrix of parameters for linear models of community effects on ecosystem conditions (%d ecosystem variables by %d predictor traits):\n", run.nFactors, run.nTraits);
    run.effectFile.Ask();
}

/// False if the functions are read from a file, which is asked for.
bool AskWhetherGenerated(Simulation& run, LogisticFunctions& functions, const char* question)
{
    Say(question);
    functions.isGenerated = ReadCharIn("d r") == 'r';
    if (functions.isGenerated) return true;
    std::fprintf(console.out, askParameterFile, run.nOTUs);
    functions.file.Ask();
    return false;
}

void AskSurvival(Simulation& run)
{
    if (AskWhetherGenerated(run, run.survival,
                            "Specify for each OTU the parameters (center and slope) of the logistic function relating probability of survival to distance between OTU traits and expected community traits (d), or generate the parameters at random (r)? d/r "))
        AskLimits(run.survival,
                  "Specify the minimum and maximum center of antisymmetry of the logistic function for the survival probability (0-1, values approaching one result in same survival probabilities for traits farther from optimal): ",
                  "Specify the range for the slope (negative) in the center of antisymmetry of the logistic function for the survival probability (<0, more negative values result in steeper descending): ");
    if (AskWhetherGenerated(run, run.density,
                            "Specify for each OTU the parameters for the density dependence function (d), or generate the parameters (center and slope) of the logistic function at random (r)? d/r "))
        AskLimits(run.density,
                  "Specify the minimum and maximum center of antisymmetry of the logistic function for density dependence (0-1, values approaching one result in high survival probabilities at high population densities : ",
                  "Specify the range for the slope (negative) in the center of antisymmetry of the logistic function for density dependence (<0, more negative values result in steeper descending): ");
}

void AskLifespans(Simulation& run)
{
    Say("Specify for each OTU the maximum lifespan in years (d), or generate maximum lifespan at random (r)? d/r ");
    run.lifespansGenerated = ReadCharIn("d r") == 'r';
    if (run.lifespansGenerated) {
        Say("Specify the minimum and maximum random lifespan values (years): ");
        run.minLifespan = AskNumber("%d\n", 0.0, largestInt);
        run.maxLifespan = AskNumber("%d\n", 0.0, largestInt);
    } else {
        std::fprintf(console.out, "Name of the file with a vector of maximum lifespan values (years) for %d OTUs: )\n", run.nOTUs);
        run.lifespanFile.Ask();
    }
    if (AskWhetherGenerated(run, run.age,
                            "Specify for each OTU the parameters for the age-related survivorship function (d), or generate the parameters (center and slope) of the logistic function at random (r)? d/r "))
        AskLimits(run.age,
                  "Specify the minimum and maximum center of antisymmetry of the logistic function for age-related survivorship (0-1, values approaching one result in high survival probabilities at old ages: ",
                  "Specify the range for the slope (negative) in the center of antisymmetry of the logistic function for age-related survivorship (<0, more negative values result in steeper descending with age): ");
}

void AskDuration(Simulation& run)
{
    run.maxAvg = AskCount("Specify the maximum average number of individuals per community: ");
    run.years = AskCount("Specify the duration of the simulation (in years): ");
    run.perYear = AskCount("Specify the number of iterations (cycles of colonization and extinction) per year: ");
    run.totalSteps = ToInt(static_cast<double>(run.years) * run.perYear);
    Say("Specify the threshold (proportion) of the maximum average number of individuals per community after which OTU richness and number of OTU colonizations and extinctions are recorded: ");
    // Deliberate: recorded in a macro as a whole number, yet used with its fraction.
    run.threshold = ReadNumberIn("%d\n", "-", 0.0, 1.0);
}

char** MakeNumberLabels(int n)
{
    char** const labels = dim2Dchar(n, labelSize);
    NumberLabels(n, labels, labelSize);
    return labels;
}

/// The part of the session that the shared settings dialogue and the test look at: sizes, labels
/// that are numbers, and a data set that has neither species nor phylogeny nor trait groups.
void PrepareSession(const Simulation& run)
{
    Session& s = session;
    s.optmain = 'A';
    s.tcst = run.nOTUs;
    s.nch = run.nTraits;
    s.ncsm = run.nSites;
    s.nenv = run.nFactors;
    s.nTaxa = s.nSpp = s.nClados = 0;
    s.hasPhylogeny = s.includePhylogeny = s.hasTraitGroups = false;
    s.phylogenyMatrixType = 0;
    s.temEnvQuant = s.temEnvQual = s.temEnvBin = 0;
    std::strcpy(s.whichPrinda, "NULL"); // no report of a session to go on with
    AllocateSettings();
    s.allocatedVariables = s.nenv;
    s.eVarSelect = dim1Dint(s.ncsm > s.nenv ? s.ncsm : s.nenv);
    s.chLabel = MakeNumberLabels(s.nch);
    s.envLabel = MakeNumberLabels(s.nenv);
    s.chtype = dim1Dint(s.nch);
    for (int t = 0; t < s.nch; t++) s.chtype[t] = 3;
}

void SayPredictors(const Simulation& run)
{
    char name[24];
    for (int q = 0; q < run.nPredictors; q++) {
        PredictorName(run, q, name);
        std::fprintf(console.out, "%s ", name);
    }
    Say("\n");
}

void AskPredictors(Simulation& run)
{
    run.selected = OwnedInts(run.nPredictors);
    int* const selected = run.selected;
    Say("\nEcosystem variables in matrix E to be used in the analysis of the simulated data:\n");
    Say("   1  all variables \n");
    Say("   2  select variables \n");
    Say("Type option no.: ");
    if (AskOption("1 2") == 1) {
        std::fill_n(selected, run.nPredictors, 1);
    } else {
        Say("Select variables (and their interactions if included):\n");
        Say("(enter 0 for exclusion or 1 for inclusion)\n");
        SayPredictors(run);
        ReadSelection(run.nPredictors, selected);
    }
    run.nSelected = std::accumulate(selected, selected + run.nPredictors, 0);
}

void AskEvaluation(Simulation& run)
{
    run.evaluate = false;
    if (session.niter > 0) {
        Say("Evaluate type I error or power? y/n ");
        run.evaluate = ReadCharIn("y n") == 'y';
    }
    if (run.evaluate) {
        run.nSets = AskCount("Specify the number of simulated data sets: ");
        Say("Specify the alpha threshold for Ho rejection: ");
        // Deliberate: as with the threshold, the fraction counts but a macro does not keep it.
        run.alpha = ReadNumberIn("%d\n", "-", 0.0, 1.0);
        run.saveIntermediate = false;
        return;
    }
    run.nSets = 1;
    run.alpha = 0.0;
    Say("Save intermediate simulation results? y/n ");
    run.saveIntermediate = ReadCharIn("y n") == 'y';
}

} // namespace

void AskSimulation(Simulation& run)
{
    AskTraits(run);
    AskDispersal(run);
    AskSites(run);
    AskEcosystem(run);
    AskLinearModels(run);
    AskSurvival(run);
    AskLifespans(run);
    AskDuration(run);
    PrepareSession(run);
    SettingsHierarchy();
    AskPredictors(run);
    AskEvaluation(run);
}
