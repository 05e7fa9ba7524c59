// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulation/stepfiles.hpp"

#include "shell/arrays.hpp"
#include "shell/console.hpp"
#include "shell/failure.hpp"
#include "shell/files.hpp"
#include "shell/table.hpp"
#include "simulation/model.hpp"
#include "simulation/settings.hpp"

namespace {

// By StepFile.
const char* const names[nStepFiles] = {
    "TraitData.txt", "EnvData.txt",       "CWM_Expected.txt",
    "Distances.txt", "Prob.txt",          "DensityDependence_AgeRelatedProb.txt",
    "DispersalProb.txt", "CommunityData.txt", "AverageAge.txt",
    "CWM.txt",
};

/// A line for each site, the columns of M, variables x sites, as %g.
void PrintBySite(std::FILE* file, int nVariables, int nSites, double** M, int step)
{
    for (int s = 0; s < nSites; s++) {
        std::fprintf(file, "%d\t%d\t", step, s + 1);
        for (int v = 0; v < nVariables; v++) std::fprintf(file, "%g\t", M[v][s]);
        std::fprintf(file, "\n");
    }
}

void SaveDistances(std::FILE* file, const Metacommunity& m, int step)
{
    std::fprintf(file, "\nDistances between OTU trait value and expected value at the community site, at step %d, %d community sites in rows and for %d OTUs in columns (all traits considered):\n",
                 step, m.nSites, m.nOTUs);
    OwnedRows scaled(m.nSites, m.nOTUs);
    for (int s = 0; s < m.nSites; s++)
        for (int o = 0; o < m.nOTUs; o++) scaled[s][o] = m.ScaledDistance(s, o);
    PrintMatrixTab(file, m.nSites, m.nOTUs, scaled, SignificantDigits());
}

void SaveSurvival(std::FILE* file, const Simulation& run, const Metacommunity& m, int step)
{
    std::fprintf(file, "\nProbabilities of survival of OTUs at the community sites, at step %d, for %d community sites in rows and %d OTUs in columns, considering traits:\n",
                 step, m.nSites, m.nOTUs);
    OwnedRows probabilities(m.nSites, m.nOTUs);
    for (int s = 0; s < m.nSites; s++)
        for (int o = 0; o < m.nOTUs; o++)
            probabilities[s][o] = SurvivalProbability(run, m, s, o);
    PrintMatrixTab(file, m.nSites, m.nOTUs, probabilities, SignificantDigits());
}

std::FILE* StartRecord(StepFile record, const Simulation& run, const Metacommunity& m, int step)
{
    if (run.stepFiles == nullptr) return nullptr;
    std::FILE* const file = run.stepFiles->file[record];
    std::fprintf(file, "Iteration:\t%d\tAbundance:\t%d:\n", step, m.total);
    return file;
}

void SaveAbundances(std::FILE* file, const Metacommunity& m, int step, Moment moment)
{
    if (moment == beforeMortality)
        std::fprintf(file, "\nCommunity data matrix at step %d, BEFORE mortality, for %d community sites in rows and %d OTUs in columns:\n",
                     step, m.nSites, m.nOTUs);
    else
        std::fprintf(file, "\nCommunity data matrix at step %d, AFTER mortality, for %d community sites in rows and %d OTUs in columns:\n",
                     step, m.nSites, m.nOTUs);
    PrintCommunities(file, m);
}

void SaveAges(std::FILE* file, const Simulation& run, const Metacommunity& m, int step,
              Moment moment)
{
    if (moment == beforeMortality)
        std::fprintf(file, "\nAverage age data matrix at step %d, BEFORE mortality, for %d community sites in rows and %d OTUs in columns:\n",
                     step, m.nSites, m.nOTUs);
    else
        std::fprintf(file, "\nAverage age data matrix at step %d, AFTER mortality, for %d community sites in rows and %d OTUs in columns:\n",
                     step, m.nSites, m.nOTUs);
    PrintAverageAges(file, run, m, step);
}

} // namespace

StepFiles::StepFiles(const Simulation& run)
{
    for (int i = 0; i < nStepFiles; i++)
        file[i].Open(names[i], console.volumeName, "w");
    std::fprintf(file[envFile], "Ecosystem data matrix (simulation steps and community sites in rows, %d environmental variables in columns):\n", run.nPredictors);
    std::fprintf(file[expectedFile], "Expected community weighted means (CWM), standardized to Z scores according to mean and standard deviations in the trait matrix matrix (simulation steps and community sites in rows, %d traits in columns):\n", run.nTraits);
    std::fprintf(file[averageFile], "Community weighted means (CWM), (simulation steps and community sites in rows, %d traits in columns):\n", run.nTraits);
}

void StepFiles::Check()
{
    for (OutputFile& one : file) one.Check();
}

void StepFiles::Close()
{
    for (OutputFile& one : file) one.Close();
}

void SaveTraits(const Simulation& run, Metacommunity& m)
{
    if (run.stepFiles == nullptr) return;
    std::FILE* const file = run.stepFiles->file[traitFile];
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
    if (run.stepFiles == nullptr) return;
    OutputFile* const file = run.stepFiles->file;
    PrintBySite(file[envFile], m.nPredictors, m.nSites, m.E, step);
    PrintBySite(file[expectedFile], m.nTraits, m.nSites, m.expected, step);
    SaveDistances(file[distanceFile], m, step);
    SaveSurvival(file[survivalFile], run, m, step);
}

std::FILE* StartDispersalRecord(const Simulation& run, const Metacommunity& m, int step)
{
    return StartRecord(dispersalFile, run, m, step);
}

std::FILE* StartMortalityRecord(const Simulation& run, const Metacommunity& m, int step)
{
    return StartRecord(mortalityFile, run, m, step);
}

void SaveCommunities(const Simulation& run, const Metacommunity& m, int step, Moment moment)
{
    if (run.stepFiles == nullptr) return;
    SaveAbundances(run.stepFiles->file[communityFile], m, step, moment);
    SaveAges(run.stepFiles->file[ageFile], run, m, step, moment);
}

void SaveAverages(const Simulation& run, const Metacommunity& m, int step)
{
    if (run.stepFiles == nullptr) return;
    PrintBySite(run.stepFiles->file[averageFile], m.nTraits, m.nSites, m.cwm, step);
}

void SayStepFiles(const Simulation& run)
{
    if (run.stepFiles == nullptr) return;
    std::FILE* const out = console.out;
    std::fprintf(out, "\n\nEcosystem data at every step saved on file %s\n", names[envFile]);
    std::fprintf(out, "Dispersal probabilities at every step saved on file %s\n", names[dispersalFile]);
    std::fprintf(out, "Expected CWM at every step saved on file %s\n", names[expectedFile]);
    // Deliberate: not the name of the file, but the one that users' notes and scripts know from
    // this line.
    std::fprintf(out, "Distances between OTU trait and expected community mean traits at each site, at every step saved on file %s\n", "Dist.txt");
    std::fprintf(out, "Probabilities of survival of each OTU based on the environmental conditions at each site, at every step saved on file %s\n", names[survivalFile]);
    std::fprintf(out, "Density dependence and age-related survival probabilities for each community at every extinction step saved on file %s\n", names[mortalityFile]);
    std::fprintf(out, "Community data at every step saved on file %s\n", names[communityFile]);
    std::fprintf(out, "Average ages at every step saved on file %s\n", names[ageFile]);
    std::fprintf(out, "Actual community weighted means (CWM) at every step saved on file %s\n", names[averageFile]);
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
