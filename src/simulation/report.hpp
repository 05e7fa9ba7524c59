// SPDX-License-Identifier: GPL-3.0-or-later
// What a simulation leaves behind: FinalSimulatedData.txt with settings, sets and rates of
// rejection, and the last sets as matrices that a session can be made of.
#pragma once

#include <cstdio>

struct Metacommunity;
struct Rejections;
struct SetAnalysis;
struct Simulation;

constexpr char reportFile[] = "FinalSimulatedData.txt";

/// Starts the report with its head and the echo of all settings.
void StartReport(std::FILE* report, const Simulation& run);

/// B_, W_, E_ and TraitTypes_Simulated.txt for runs of at most two sets (the second overwrites the
/// first); OTUs_Simulated.txt always.
void WriteSimulatedSet(const Simulation& run, const Metacommunity& m);

/// Appends the set, numbered from 1, as the last step left it.
void ReportSet(std::FILE* report, const Simulation& run, const Metacommunity& m, int set);

/// Appends averages, entropy, an ordination of the communities, the correlations of its axes, and
/// the statistics of the test.
void ReportAnalysis(std::FILE* report, const Simulation& run, const Metacommunity& m,
                    const SetAnalysis& analysis);

/// Appends the final report: the rates of rejection, and the seconds that the run took.
void ReportRates(std::FILE* report, const Simulation& run, const Rejections& rates, double seconds);
