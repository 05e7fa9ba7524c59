// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulation/report_parts.hpp"

#include "shell/console.hpp"
#include "shell/preferences.hpp"
#include "shell/table.hpp"

void PrintTitle(File f, const char* secondLine)
{
    std::fprintf(f, "%s\n", lineL);
    std::fprintf(f, "SIMULATION OF COMMUNITY ASSEMBLY\n");
    std::fprintf(f, "%s", secondLine);
    std::fprintf(f, "%s\n", lineL);
    TimeStamp(f);
    std::fprintf(f, "%s\n", lineL);
}

void PrintMatrixOf(File f, int rows, int cols, double** M)
{
    PrintMatrixTab(f, rows, cols, M, SignificantDigits());
}

void PrintCounts(File f, int n, const int* counts)
{
    PrintVectorTab(f, n, counts, nullptr);
}

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
    char name[24];
    for (int q = 0; q < run.nPredictors; q++) {
        PredictorName(run, q, name);
        std::fprintf(f, q < run.nFactors ? "\t%s" : "\t%s ", name);
    }
}

void PrintPredictorWeights(File f, const Simulation& run)
{
    for (int q = 0; q < run.nPredictors; q++) std::fprintf(f, "\t%d", run.selected[q]);
}

void ReportPredictorWeights(File f, const Simulation& run)
{
    ReportPredictors(f, run);
    std::fprintf(f, "\nEcosystem variable weights:                              ");
    PrintPredictorWeights(f, run);
}
