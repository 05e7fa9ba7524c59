// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulation/settings.hpp"

#include <cstdio>

#include "session/session.hpp"
#include "shell/scanners.hpp"

bool Simulation::ReportsSets() const
{
    return !evaluate || session.printDetail == 1;
}

int CountPredictors(int nFactors, bool withInteractions)
{
    const double n = nFactors;
    return withInteractions ? ToInt(n + n * (n - 1.0) / 2.0) : nFactors;
}

void PredictorName(const Simulation& run, int predictor, char* name)
{
    const int size = 24;
    if (predictor < run.nFactors) {
        std::snprintf(name, size, "%d", predictor + 1);
        return;
    }
    int first = 0;
    int rest = predictor - run.nFactors;
    while (rest >= run.nFactors - 1 - first) {
        rest -= run.nFactors - 1 - first;
        first++;
    }
    std::snprintf(name, size, "%dx%d", first + 1, first + rest + 2);
}

void ComputeInteractions(const Simulation& run, double** E)
{
    if (!run.withInteractions) return;
    int row = run.nFactors;
    for (int i = 0; i < run.nFactors; i++)
        for (int j = i + 1; j < run.nFactors; j++, row++)
            for (int s = 0; s < run.nSites; s++) E[row][s] = E[i][s] * E[j][s];
}
