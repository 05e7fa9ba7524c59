// SPDX-License-Identifier: GPL-3.0-or-later
// What the settings, the sets and the rates of a simulation's report have in common. Only for the
// sources of the report.
#pragma once

#include <cstdio>

#include "session/session.hpp"
#include "simulation/settings.hpp"

using File = std::FILE*;

/// The title between rules, with a second line or "", and the time.
void PrintTitle(File f, const char* secondLine);

void PrintMatrixOf(File f, int rows, int cols, double** M);
void PrintCounts(File f, int n, const int* counts);

/// Sizes, and what was given to the model or is to be generated, in the order of the dialogue.
void ReportInputs(File f, const Simulation& run);

/// Traits with their weights in the analysis. As with the predictors, the last line is left open.
void ReportTraitWeights(File f, const Simulation& run);
/// Numbers of the predictors behind their title, and their weights.
void ReportPredictors(File f, const Simulation& run);
void PrintPredictorWeights(File f, const Simulation& run);
/// Both, with the title of the weights in a set and in the settings.
void ReportPredictorWeights(File f, const Simulation& run);

/// Calls line(name, place among those in use) for each predictor in use.
template <typename Line>
void ForFactors(const Simulation& run, Line line)
{
    char name[24];
    int place = 0;
    for (int q = 0; q < run.nPredictors; q++) {
        if (run.selected[q] != 1) continue;
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
