#include "simulation/stepfiles.hpp"

#include "shell/arrays.hpp"
#include "shell/console.hpp"
#include "shell/failure.hpp"
#include "shell/files.hpp"
#include "shell/table.hpp"
#include "simulation/model.hpp"
#include "simulation/settings.hpp"

namespace {

const char* const traitFile = "TraitData.txt";
const char* const envFile = "EnvData.txt";
const char* const expectedFile = "CWM_Expected.txt";
const char* const distanceFile = "Distances.txt";
const char* const survivalFile = "Prob.txt";
const char* const mortalityFile = "DensityDependence_AgeRelatedProb.txt";
const char* const dispersalFile = "DispersalProb.txt";
const char* const communityFile = "CommunityData.txt";
const char* const ageFile = "AverageAge.txt";
const char* const averageFile = "CWM.txt";

/// A line for each site, the columns of M, variables x sites, as %g.
void PrintBySite(std::FILE* file, int nVariables, int nSites, double** M, int step)
{
    for (int s = 0; s < nSites; s++) {
        std::fprintf(file, "%d\t%d\t", step, s + 1);
        for (int v = 0; v < nVariables; v++) std::fprintf(file, "%g\t", M[v][s]);
        std::fprintf(file, "\n");
    }
}

void SaveDistances(const Metacommunity& m, int step)
{
    const OutputFile file(OpenResult(distanceFile, "a"));
    std::fprintf(file, "\nDistances between OTU trait value and expected value at the community site, at step %d, %d community sites in rows and for %d OTUs in columns (all traits considered):\n",
                 step, m.nSites, m.nOTUs);
    OwnedRows scaled(m.nSites, m.nOTUs);
    for (int s = 0; s < m.nSites; s++)
        for (int o = 0; o < m.nOTUs; o++) scaled[s][o] = m.ScaledDistance(s, o);
    PrintMatrixTab(file, m.nSites, m.nOTUs, scaled, SignificantDigits());
}

void SaveSurvival(const Simulation& run, const Metacommunity& m, int step)
{
    const OutputFile file(OpenResult(survivalFile, "a"));
    std::fprintf(file, "\nProbabilities of survival of OTUs at the community sites, at step %d, for %d community sites in rows and %d OTUs in columns, considering traits:\n",
                 step, m.nSites, m.nOTUs);
    OwnedRows probabilities(m.nSites, m.nOTUs);
    for (int s = 0; s < m.nSites; s++)
        for (int o = 0; o < m.nOTUs; o++)
            probabilities[s][o] = SurvivalProbability(run, m, s, o);
    PrintMatrixTab(file, m.nSites, m.nOTUs, probabilities, SignificantDigits());
}

std::FILE* OpenRecord(const char* name, const Simulation& run, const Metacommunity& m, int step)
{
    if (!run.saveIntermediate) return nullptr;
    std::FILE* const file = OpenResult(name, "a");
    std::fprintf(file, "Iteration:\t%d\tAbundance:\t%d:\n", step, m.total);
    return file;
}

void SaveAbundances(const Metacommunity& m, int step, Moment moment)
{
    const OutputFile file(OpenResult(communityFile, "a"));
    if (moment == beforeMortality)
        std::fprintf(file, "\nCommunity data matrix at step %d, BEFORE mortality, for %d community sites in rows and %d OTUs in columns:\n",
                     step, m.nSites, m.nOTUs);
    else
        std::fprintf(file, "\nCommunity data matrix at step %d, AFTER mortality, for %d community sites in rows and %d OTUs in columns:\n",
                     step, m.nSites, m.nOTUs);
    PrintCommunities(file, m);
}

void SaveAges(const Simulation& run, const Metacommunity& m, int step, Moment moment)
{
    const OutputFile file(OpenResult(ageFile, "a"));
    if (moment == beforeMortality)
        std::fprintf(file, "\nAverage age data matrix at step %d, BEFORE mortality, for %d community sites in rows and %d OTUs in columns:\n",
                     step, m.nSites, m.nOTUs);
    else
        std::fprintf(file, "\nAverage age data matrix at step %d, AFTER mortality, for %d community sites in rows and %d OTUs in columns:\n",
                     step, m.nSites, m.nOTUs);
    PrintAverageAges(file, run, m, step);
}

/// An empty file, or one with a heading for a number of columns.
void Create(const char* name)
{
    const OutputFile file(OpenResult(name, "w"));
}

} // namespace

std::FILE* OpenResult(const char* name, const char* mode)
{
    std::FILE* const file = fopenck(name, console.volumeName, mode);
    if (file == nullptr) Fail(cannotOpen);
    return file;
}

void CreateStepFiles(const Simulation& run)
{
    if (!run.saveIntermediate) return;
    for (const char* name : {traitFile, distanceFile, survivalFile, mortalityFile, dispersalFile,
                             communityFile, ageFile})
        Create(name);
    const OutputFile env(OpenResult(envFile, "w"));
    std::fprintf(env, "Ecosystem data matrix (simulation steps and community sites in rows, %d environmental variables in columns):\n", run.nPredictors);
    const OutputFile expected(OpenResult(expectedFile, "w"));
    std::fprintf(expected, "Expected community weighted means (CWM), standardized to Z scores according to mean and standard deviations in the trait matrix matrix (simulation steps and community sites in rows, %d traits in columns):\n", run.nTraits);
    const OutputFile averages(OpenResult(averageFile, "w"));
    std::fprintf(averages, "Community weighted means (CWM), (simulation steps and community sites in rows, %d traits in columns):\n", run.nTraits);
}

void SaveTraits(const Simulation& run, Metacommunity& m)
{
    if (!run.saveIntermediate) return;
    const OutputFile file(OpenResult(traitFile, "a"));
    const int digits = SignificantDigits();
    if (run.traitSource == 't') {
        std::fprintf(file, "Trait data (not standardized, %d OTUs in rows and %d traits in columns):\n", run.nOTUs, run.nTraits);
        PrintMatrixTab(file, run.nOTUs, run.nTraits, run.traits, digits);
    } else {
        std::fprintf(file, "\nTrait correlation matrix (%d traits):\n", run.nTraits);
        PrintMatrixTab(file, run.nTraits, run.nTraits, run.traitCorrelation, digits);
    }
    if (run.traitSource == 'b') {
        std::fprintf(file, "\nCorrelation matrix between OTUs (%d nOTUs):\n", run.nOTUs);
        PrintMatrixTab(file, run.nOTUs, run.nOTUs, run.otuCorrelation, digits);
    }
    std::fprintf(file, "\nTrait data (standardized to Z scores, %d OTUs in rows and %d traits in columns):\n", run.nOTUs, run.nTraits);
    PrintMatrixTab(file, run.nOTUs, run.nTraits, m.B, digits);
    std::fprintf(file, "\nTrait means (%d traits):\n", run.nTraits);
    PrintVectorTab(file, run.nTraits, m.traitMeans, digits, nullptr);
    std::fprintf(file, "\nTrait standard deviations (%d traits):\n", run.nTraits);
    PrintVectorTab(file, run.nTraits, m.traitDeviations, digits, nullptr);
}

void SaveConditions(const Simulation& run, const Metacommunity& m, int step)
{
    if (!run.saveIntermediate) return;
    {
        const OutputFile file(OpenResult(envFile, "a"));
        PrintBySite(file, m.nPredictors, m.nSites, m.E, step);
    }
    {
        const OutputFile file(OpenResult(expectedFile, "a"));
        PrintBySite(file, m.nTraits, m.nSites, m.expected, step);
    }
    SaveDistances(m, step);
    SaveSurvival(run, m, step);
}

std::FILE* OpenDispersalRecord(const Simulation& run, const Metacommunity& m, int step)
{
    return OpenRecord(dispersalFile, run, m, step);
}

std::FILE* OpenMortalityRecord(const Simulation& run, const Metacommunity& m, int step)
{
    return OpenRecord(mortalityFile, run, m, step);
}

void SaveCommunities(const Simulation& run, const Metacommunity& m, int step, Moment moment)
{
    if (!run.saveIntermediate) return;
    SaveAbundances(m, step, moment);
    SaveAges(run, m, step, moment);
}

void SaveAverages(const Simulation& run, const Metacommunity& m, int step)
{
    if (!run.saveIntermediate) return;
    const OutputFile file(OpenResult(averageFile, "a"));
    PrintBySite(file, m.nTraits, m.nSites, m.cwm, step);
}

void SayStepFiles(const Simulation& run)
{
    if (!run.saveIntermediate) return;
    std::FILE* const out = console.out;
    std::fprintf(out, "\n\nEcosystem data at every step saved on file %s\n", envFile);
    std::fprintf(out, "Dispersal probabilities at every step saved on file %s\n", dispersalFile);
    std::fprintf(out, "Expected CWM at every step saved on file %s\n", expectedFile);
    // Deliberate: not the name of the file, but the one that users' notes and scripts know from
    // this line.
    std::fprintf(out, "Distances between OTU trait and expected community mean traits at each site, at every step saved on file %s\n", "Dist.txt");
    std::fprintf(out, "Probabilities of survival of each OTU based on the environmental conditions at each site, at every step saved on file %s\n", survivalFile);
    std::fprintf(out, "Density dependence and age-related survival probabilities for each community at every extinction step saved on file %s\n", mortalityFile);
    std::fprintf(out, "Community data at every step saved on file %s\n", communityFile);
    std::fprintf(out, "Average ages at every step saved on file %s\n", ageFile);
    std::fprintf(out, "Actual community weighted means (CWM) at every step saved on file %s\n", averageFile);
}

double AverageAge(const Simulation& run, double averageBirth, double n, int step)
{
    return n > 0.0 ? (step - averageBirth) / run.perYear : 0.0;
}

void PrintAverageAges(std::FILE* file, const Simulation& run, const Metacommunity& m, int step)
{
    const int digits = SignificantDigits();
    const auto print = [&](double birth, double n) {
        std::fprintf(file, "%.*g\t", digits, AverageAge(run, birth, n, step));
    };
    for (int s = 0; s < m.nSites; s++) {
        for (int o = 0; o < m.nOTUs; o++) print(m.averageBirth[s][o], m.W[s][o]);
        std::fprintf(file, "\n");
    }
    std::fprintf(file, "\nAverage age of individuals in each community:\n");
    for (int s = 0; s < m.nSites; s++) print(m.averageBirth[s][m.nOTUs], m.siteTotal[s]);
    std::fprintf(file, "\n");
    std::fprintf(file, "\nAverage age of individuals of each OTU across communities:\n");
    for (int o = 0; o < m.nOTUs; o++)
        print(m.averageBirth[m.nSites][o], m.W[m.nSites][o]);
    std::fprintf(file, "\n");
}

void PrintCommunities(std::FILE* file, const Metacommunity& m)
{
    const int digits = SignificantDigits();
    PrintMatrixTab(file, m.nSites, m.nOTUs, m.W, digits);
    std::fprintf(file, "\nAbundance in each community:\n");
    PrintVectorTab(file, m.nSites, m.siteTotal, nullptr);
    std::fprintf(file, "\nAbundance of each OTU across communities:\n");
    PrintVectorTab(file, m.nOTUs, m.W[m.nSites], digits, nullptr);
    std::fprintf(file, "Total abundance:\t%d\n", m.total);
}
