// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulation/model.hpp"

#include <algorithm>
#include <cmath>

#include "numeric/adjust.hpp"
#include "numeric/correlated.hpp"
#include "numeric/matrix.hpp"
#include "numeric/random.hpp"
#include "numeric/resemblance.hpp"
#include "numeric/statistics.hpp"

namespace {

void GenerateTraits(Simulation& run)
{
    // The letters are not numbers of distributions, so the deviates are normal after both answers.
    // Deliberate: results of earlier runs rest on it.
    const int kind = static_cast<signed char>(run.traitDistribution);
    if (run.traitSource == 'c')
        CorrToData_New(run.nOTUs, run.nTraits, run.traitCorrelation, run.traits, kind);
    else
        CorrToData_BothRowsColumns(run.nOTUs, run.nTraits, run.traitCorrelation,
                                   run.otuCorrelation, run.traits, kind);
}

void GenerateSites(Simulation& run)
{
    for (int axis = 0; axis < 2; axis++)
        for (int s = 0; s < run.nSites; s++) run.sites[axis][s] = gsl_rng_uniform(r) * 100.0;
}

void GenerateEcosystem(Simulation& run)
{
    const int kind = static_cast<signed char>(run.ecosystemDistribution); // as with the traits
    OwnedRows data(run.nSites, run.nFactors);
    CorrToData_New(run.nSites, run.nFactors, run.factorCorrelation, data, kind);
    TransposeMatrix(run.nSites, run.nFactors, data, run.initialE);
    ZStandardizationRowsMV(run.nFactors, run.nSites, run.initialE, run.initialE);
    ComputeInteractions(run, run.initialE);
}

/// The longest lifespan itself is never drawn; equal limits need no draw.
void GenerateLifespans(Simulation& run)
{
    const int range = run.maxLifespan - run.minLifespan;
    for (int o = 0; o < run.nOTUs; o++)
        run.lifespans[o] = run.minLifespan + (range > 0 ? UniformInt(range) : 0);
}

void Clear(int rows, int cols, double** M)
{
    for (int i = 0; i < rows; i++) std::fill(M[i], M[i] + cols, 0.0);
}

void EmptySites(Metacommunity& m)
{
    Clear(m.nSites + 1, m.nOTUs, m.W);
    Clear(m.nSites + 1, m.nOTUs + 1, m.averageBirth);
    for (int s = 0; s < m.nSites; s++) {
        m.individuals[static_cast<std::size_t>(s)].clear();
        m.siteTotal[s] = m.nPresent[s] = 0;
        m.richness[s] = m.colonisations[s] = m.extinctions[s] = 0;
        m.hasChanged[s] = 1; // averages of the set before are no longer true
    }
    for (int o = 0; o < m.nOTUs; o++) std::fill(m.isAt[o], m.isAt[o] + m.nSites, char{0});
    m.total = 0;
    m.recording = false;
    m.recordStep = 0;
}

bool IsWhole(int rows, int cols, double** M)
{
    for (int i = 0; i < rows; i++)
        for (int j = 0; j < cols; j++)
            if (IsMissing(M[i][j]) || !std::isfinite(M[i][j])) return false;
    return true;
}

} // namespace

double Logistic(double x, double xMin, double xMax, double yMin, double yMax, double slope,
                double center)
{
    const double range = yMax - yMin;
    const double k = slope * -4.0 / range;
    return yMin + range / (1.0 + std::exp(((x - xMin) - (xMax - xMin) * center) * k));
}

void GenerateFunctions(int n, LogisticFunctions& functions)
{
    double** const parameters = functions.parameters;
    for (int o = 0; o < n; o++)
        parameters[o][0] =
            gsl_rng_uniform(r) * (functions.maxCenter - functions.minCenter) + functions.minCenter;
    for (int o = 0; o < n; o++) {
        const double center = parameters[o][0];
        // The flattest slopes that reach 0.999 at 0 and 0.001 at 1: log(999) = 6.9067...
        const double bound = Fmin(-6.906754778648552 / (4.0 * center),
                                  6.906754778648553 / (4.0 * (center - 1.0)));
        const double lower = Fmin(bound, functions.minSlope);
        const double upper = Fmin(bound, functions.maxSlope);
        parameters[o][1] = gsl_rng_uniform(r) * (upper - lower) + lower;
    }
}

Metacommunity::Metacommunity(const Simulation& run)
    : nSites(run.nSites), nOTUs(run.nOTUs), nTraits(run.nTraits), nFactors(run.nFactors),
      nPredictors(run.nPredictors), B(nOTUs, nTraits), traitsByOTU(nTraits, nOTUs),
      traitMeans(nTraits), traitDeviations(nTraits), traitMinima(nTraits), traitMaxima(nTraits),
      D(nSites, nSites), E(nPredictors, nSites), firstE(nPredictors, nSites),
      expected(nTraits, nSites), W(nSites + 1L, nOTUs),
      individuals(static_cast<std::size_t>(nSites)), averageBirth(nSites + 1L, nOTUs + 1L),
      siteTotal(nSites), density(nSites), richness(nSites), colonisations(nSites),
      extinctions(nSites), cwm(nTraits, nSites), previousCwm(nTraits, nSites),
      extrapolation(nTraits, nSites), dist(nSites, nOTUs), percentile(nSites, nOTUs),
      present(nSites, nOTUs), nPresent(nSites), isAt(nOTUs, nSites), hasChanged(nSites),
      change(nTraits, nSites), delta(nFactors, nSites), shares(nOTUs), means(nTraits)
{
}

double Metacommunity::ScaledDistance(int site, int otu) const
{
    const double d = dist[site][otu];
    const double capped = d > cap ? cap : d;
    return scale > 0.0 ? capped / scale : capped;
}

void StandardizeTraits(const Simulation& run, Metacommunity& m)
{
    TransposeMatrix(m.nOTUs, m.nTraits, run.traits, m.traitsByOTU);
    for (int t = 0; t < m.nTraits; t++)
        MeanStDev(m.nOTUs, m.traitsByOTU[t], &m.traitMeans[t], &m.traitDeviations[t]);
    ZStandardizationColsMV(m.nOTUs, m.nTraits, run.traits, m.B);
    TransposeMatrix(m.nOTUs, m.nTraits, m.B, m.traitsByOTU);
    for (int t = 0; t < m.nTraits; t++) {
        m.traitMinima[t] = minVector(m.nOTUs, m.traitsByOTU[t]);
        m.traitMaxima[t] = maxVector(m.nOTUs, m.traitsByOTU[t]);
    }
    m.wholeB = IsWhole(m.nOTUs, m.nTraits, m.B);
}

void MeasureSites(const Simulation& run, Metacommunity& m)
{
    OwnedRows positions(m.nSites, 2);
    TransposeMatrix(2, m.nSites, run.sites, positions);
    EucliDistMV(m.nSites, 2, positions, m.D);
    UpperToLowerMatrix(m.nSites, m.D);
    MatrixUnitMaxTransf(m.nSites, m.nSites, m.D, m.D);
}

void StartSet(Simulation& run, Metacommunity& m)
{
    if (run.traitSource != 't') {
        GenerateTraits(run);
        StandardizeTraits(run, m);
    }
    if (run.dispersal.isGenerated) GenerateFunctions(run.nOTUs, run.dispersal);
    if (run.siteSource == 'r') {
        GenerateSites(run);
        MeasureSites(run, m);
    }
    if (run.ecosystemSource == 'c') GenerateEcosystem(run);
    CopyMatrix(m.nPredictors, m.nSites, run.initialE, m.E);
    CopyMatrix(m.nPredictors, m.nSites, run.initialE, m.firstE);
    if (run.survival.isGenerated) GenerateFunctions(run.nOTUs, run.survival);
    if (run.density.isGenerated) GenerateFunctions(run.nOTUs, run.density);
    if (run.lifespansGenerated) GenerateLifespans(run);
    if (run.age.isGenerated) GenerateFunctions(run.nOTUs, run.age);
    EmptySites(m);
    Clear(m.nTraits, m.nSites, m.extrapolation);
}
