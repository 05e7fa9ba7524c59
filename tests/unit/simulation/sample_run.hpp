// SPDX-License-Identifier: GPL-3.0-or-later
// A run of the simulation without files, for tests and for the benchmark.
#pragma once

#include <random>

#include "simulation/settings.hpp"

/// S sites, N OTUs, K traits and F factors with all that can be generated left to chance, and
/// inputs from a fixed sequence in place of the files.
inline void FillRun(Simulation& run, int S, int N, int K, int F, bool withInteractions)
{
    run.nSites = S;
    run.nOTUs = N;
    run.nTraits = K;
    run.nFactors = F;
    run.withInteractions = withInteractions;
    run.nPredictors = CountPredictors(F, withInteractions);
    run.ecosystemSource = 'c';
    run.lifespansGenerated = true;
    run.minLifespan = 2;
    run.maxLifespan = 9;
    run.maxAvg = 5;
    run.perYear = 4;
    run.totalSteps = 200;
    run.threshold = 0.5;
    for (LogisticFunctions* f : {&run.dispersal, &run.survival, &run.density, &run.age}) {
        f->isGenerated = true;
        f->minCenter = 0.2;
        f->maxCenter = 0.7;
        f->minSlope = -6.0;
        f->maxSlope = -2.0;
        f->parameters = OwnedRows(N, 2);
    }
    run.traits = OwnedRows(N, K);
    run.factorCorrelation = OwnedRows(F, F);
    for (int i = 0; i < F; i++) run.factorCorrelation[i][i] = 1.0;
    run.sites = OwnedRows(2, S);
    run.initialE = OwnedRows(run.nPredictors, S);
    run.responses = OwnedRows(K, run.nPredictors);
    run.effects = OwnedRows(F, K);
    run.lifespans = OwnedInts(N);
    run.selected = OwnedInts(run.nPredictors);
    std::mt19937 sequence(20);
    const auto next = [&sequence] { return static_cast<double>(sequence() % 1000) / 1000.0; };
    for (int o = 0; o < N; o++)
        for (int t = 0; t < K; t++) run.traits[o][t] = 10.0 * next();
    for (int t = 0; t < K; t++)
        for (int q = 0; q < run.nPredictors; q++) run.responses[t][q] = 4.0 * next();
    for (int f = 0; f < F; f++)
        for (int t = 0; t < K; t++) run.effects[f][t] = 0.3 * next() - 0.15;
    for (int q = 0; q < run.nPredictors; q++) run.selected[q] = 1;
    run.nSelected = run.nPredictors;
}
