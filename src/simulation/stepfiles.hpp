// The files in which every step of a simulation is kept, if the user asks for it: made before the
// first set, appended to at each step, opened and closed at each write. Without the wish nothing
// here does anything. A file that cannot be opened is failure code 4.
#pragma once

#include <cstdio>

struct Metacommunity;
struct Simulation;

/// Opens a file of the current directory, or fails with code 4.
std::FILE* OpenResult(const char* name, const char* mode);

/// Makes all files, empty or with their heading.
void CreateStepFiles(const Simulation& run);

/// Traits of the set in the form of their source, and standardised.
void SaveTraits(const Simulation& run, Metacommunity& m);

/// E, expected averages, distances (capped and scaled) and survival probabilities of a step.
void SaveConditions(const Simulation& run, const Metacommunity& m, int step);

/// The open record of dispersal or of mortality with the heading of the step; null if nothing is
/// saved.
std::FILE* OpenDispersalRecord(const Simulation& run, const Metacommunity& m, int step);
std::FILE* OpenMortalityRecord(const Simulation& run, const Metacommunity& m, int step);

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
