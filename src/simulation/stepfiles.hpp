// SPDX-License-Identifier: GPL-3.0-or-later
// The files in which every step of a simulation is kept, if the user asks for it: made before the
// first set, added to at each step, and put in place when the run is complete. Without the wish
// nothing here does anything.
#pragma once

#include <cstdio>

#include "shell/files.hpp"

struct Metacommunity;
struct Simulation;

enum StepFile {
    traitFile,
    envFile,
    expectedFile,
    distanceFile,
    survivalFile,
    mortalityFile,
    dispersalFile,
    communityFile,
    ageFile,
    averageFile,
    nStepFiles
};

struct StepFiles {
    /// Makes all files, empty or with their heading; failure code 4 if one cannot be opened.
    explicit StepFiles(const Simulation& run);
    /// As of OutputFile, of each.
    void Check();
    void Close();

    OutputFile file[nStepFiles];
};

/// Traits of the set in the form of their source, and standardised.
void SaveTraits(const Simulation& run, Metacommunity& m);

/// E, expected averages, distances (capped and scaled) and survival probabilities of a step.
void SaveConditions(const Simulation& run, const Metacommunity& m, int step);

/// Writes the heading of the step into the record of dispersal or of mortality, and returns the
/// record; null if nothing is saved.
std::FILE* StartDispersalRecord(const Simulation& run, const Metacommunity& m, int step);
std::FILE* StartMortalityRecord(const Simulation& run, const Metacommunity& m, int step);

enum Moment { beforeMortality, afterMortality };

/// Abundances and average ages.
void SaveCommunities(const Simulation& run, const Metacommunity& m, int step, Moment moment);

/// Community weighted means of a step.
void SaveAverages(const Simulation& run, const Metacommunity& m, int step);

/// Tells the user the names of the files.
void SayStepFiles(const Simulation& run);

// --- Shared with the report

/// Average ages in years as of a step: S lines of N, then of sites, then of OTUs, each with its
/// heading; 0 where there is nobody.
void PrintAverageAges(std::FILE* file, const Simulation& run, const Metacommunity& m, int step);

/// Average age in years of what was born at `averageBirth` on average; 0 for n = 0 individuals.
double AverageAge(const Simulation& run, double averageBirth, double n, int step);

/// W, abundances of sites and of OTUs, the total.
void PrintCommunities(std::FILE* file, const Metacommunity& m);
