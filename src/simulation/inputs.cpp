// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulation/inputs.hpp"

#include "numeric/adjust.hpp"
#include "numeric/matrix.hpp"
#include "shell/arrays.hpp"
#include "shell/scanners.hpp"
#include "simulation/settings.hpp"

namespace {

/// Row by row, by the forgiving reader. What a short file lacks is 0; its end is complained of once.
void ReadMatrix(RawFile& file, int rows, int cols, double** M)
{
    for (int i = 0; i < rows; i++)
        for (int j = 0; j < cols; j++) M[i][j] = ScanNumber(*file.stream, file.name, nullptr);
    file.stream.reset();
}

void ReadTraits(Simulation& run)
{
    run.traits = OwnedRows(run.nOTUs, run.nTraits);
    if (run.traitSource == 't') {
        ReadMatrix(run.traitFile, run.nOTUs, run.nTraits, run.traits);
        return;
    }
    run.traitCorrelation = OwnedRows(run.nTraits, run.nTraits);
    ReadMatrix(run.traitCorrelationFile, run.nTraits, run.nTraits, run.traitCorrelation);
    if (run.traitSource != 'b') return;
    run.otuCorrelation = OwnedRows(run.nOTUs, run.nOTUs);
    ReadMatrix(run.otuCorrelationFile, run.nOTUs, run.nOTUs, run.otuCorrelation);
}

void ReadFunctions(const Simulation& run, LogisticFunctions& functions)
{
    functions.parameters = OwnedRows(run.nOTUs, 2);
    if (!functions.isGenerated) ReadMatrix(functions.file, run.nOTUs, 2, functions.parameters);
}

void ReadLifespans(Simulation& run)
{
    run.lifespans = OwnedInts(run.nOTUs);
    if (run.lifespansGenerated) return;
    OwnedRows years(1, run.nOTUs);
    ReadMatrix(run.lifespanFile, 1, run.nOTUs, years);
    for (int o = 0; o < run.nOTUs; o++) run.lifespans[o] = ToInt(years[0][o]);
}

void ReadEcosystem(Simulation& run)
{
    run.initialE = OwnedRows(run.nPredictors, run.nSites);
    if (run.ecosystemSource == 'e') {
        run.ecosystem = OwnedRows(run.nFactors, run.nSites);
        ReadMatrix(run.ecosystemFile, run.nFactors, run.nSites, run.ecosystem);
        CopyMatrix(run.nFactors, run.nSites, run.ecosystem, run.initialE);
        ZStandardizationRowsMV(run.nFactors, run.nSites, run.initialE, run.initialE);
        ComputeInteractions(run, run.initialE);
    } else {
        run.factorCorrelation = OwnedRows(run.nFactors, run.nFactors);
        ReadMatrix(run.factorCorrelationFile, run.nFactors, run.nFactors, run.factorCorrelation);
    }
}

void ReadLinearModels(Simulation& run)
{
    run.responses = OwnedRows(run.nTraits, run.nPredictors);
    ReadMatrix(run.responseFile, run.nTraits, run.nPredictors, run.responses);
    run.effects = OwnedRows(run.nFactors, run.nTraits);
    ReadMatrix(run.effectFile, run.nFactors, run.nTraits, run.effects);

    run.isResponding = OwnedInts(run.nTraits);
    for (int t = 0; t < run.nTraits; t++)
        for (int q = 0; q < run.nPredictors; q++)
            if (run.responses[t][q] != 0.0) run.isResponding[t] = 1;
}

} // namespace

void ReadSimulationInputs(Simulation& run)
{
    ReadTraits(run);
    ReadFunctions(run, run.dispersal);
    ReadFunctions(run, run.survival);
    ReadFunctions(run, run.density);
    ReadLifespans(run);
    ReadFunctions(run, run.age);
    run.sites = OwnedRows(2, run.nSites);
    if (run.siteSource == 'c') ReadMatrix(run.siteFile, 2, run.nSites, run.sites);
    ReadEcosystem(run);
    ReadLinearModels(run);
}
