// SPDX-License-Identifier: GPL-3.0-or-later
#include "plain_model.hpp"

#include <gsl/gsl_rng.h>

#include <algorithm>
#include <cmath>

#include "numeric/adjust.hpp"
#include "numeric/correlated.hpp"
#include "numeric/matrix.hpp"
#include "numeric/random.hpp"
#include "numeric/resemblance.hpp"
#include "numeric/statistics.hpp"
#include "shell/arrays.hpp"

namespace {

Matrix Zeros(int rows, int cols)
{
    const std::vector<double> row(static_cast<std::size_t>(cols));
    return Matrix(static_cast<std::size_t>(rows), row);
}

/// The rows of a matrix as the numeric routines take them.
struct RowsOf {
    explicit RowsOf(Matrix& M)
    {
        for (std::vector<double>& row : M) pointers.push_back(row.data());
    }
    operator double**() { return pointers.data(); }
    std::vector<double*> pointers;
};

Matrix Copied(int rows, int cols, double** M)
{
    Matrix copy = Zeros(rows, cols);
    CopyMatrix(rows, cols, M, RowsOf(copy));
    return copy;
}

double Curve(double x, const LogisticFunctions& f, int o)
{
    const double center = f.parameters[o][0];
    const double slope = f.parameters[o][1];
    return 0.0 + 1.0 / (1.0 + std::exp(((x - 0.0) - 1.0 * center) * (slope * -4.0 / 1.0)));
}

double Draw()
{
    return gsl_rng_uniform(r);
}

int DrawInt(int n)
{
    return static_cast<int>(gsl_rng_uniform_int(r, static_cast<unsigned long>(n)));
}

void Generate(const Simulation& run, LogisticFunctions& f)
{
    if (!f.isGenerated) return;
    for (int o = 0; o < run.nOTUs; o++)
        f.parameters[o][0] = Draw() * (f.maxCenter - f.minCenter) + f.minCenter;
    for (int o = 0; o < run.nOTUs; o++) {
        const double c = f.parameters[o][0];
        const double bound =
            std::min(-6.906754778648552 / (4 * c), 6.906754778648553 / (4 * (c - 1)));
        const double lower = std::min(bound, f.minSlope);
        const double upper = std::min(bound, f.maxSlope);
        f.parameters[o][1] = Draw() * (upper - lower) + lower;
    }
}

} // namespace

PlainModel::PlainModel(const Simulation& run)
    : D(Zeros(run.nSites, run.nSites)), E(Zeros(run.nPredictors, run.nSites)),
      expected(Zeros(run.nTraits, run.nSites)), cwm(Zeros(run.nTraits, run.nSites)),
      previousCwm(cwm), survival(Zeros(run.nSites, run.nOTUs)),
      means(static_cast<std::size_t>(run.nTraits)), deviations(means)
{
}

void PlainModel::Traits(const Simulation& run)
{
    Matrix raw = Copied(run.nOTUs, run.nTraits, run.traits);
    Matrix turned = Zeros(run.nTraits, run.nOTUs);
    TransposeMatrix(run.nOTUs, run.nTraits, RowsOf(raw), RowsOf(turned));
    for (std::size_t t = 0; t < turned.size(); t++)
        MeanStDev(run.nOTUs, turned[t].data(), &means[t], &deviations[t]);
    B = raw;
    ZStandardizationColsMV(run.nOTUs, run.nTraits, RowsOf(raw), RowsOf(B));
}

void PlainModel::StartSet(Simulation& run)
{
    const int S = run.nSites, N = run.nOTUs, K = run.nTraits, F = run.nFactors;
    if (run.traitSource == 'c')
        CorrToData_New(N, K, run.traitCorrelation, run.traits, run.traitDistribution);
    if (run.traitSource == 'b')
        CorrToData_BothRowsColumns(N, K, run.traitCorrelation, run.otuCorrelation, run.traits,
                                   run.traitDistribution);
    Traits(run);
    Generate(run, run.dispersal);
    if (run.siteSource == 'r')
        for (int axis = 0; axis < 2; axis++)
            for (int s = 0; s < S; s++) run.sites[axis][s] = Draw() * 100.0;
    OwnedRows positions(S, 2);
    TransposeMatrix(2, S, run.sites, positions);
    EucliDistMV(S, 2, positions, RowsOf(D));
    UpperToLowerMatrix(S, RowsOf(D));
    MatrixUnitMaxTransf(S, S, RowsOf(D), RowsOf(D));
    if (run.ecosystemSource == 'c') {
        OwnedRows data(S, F);
        CorrToData_New(S, F, run.factorCorrelation, data, run.ecosystemDistribution);
        TransposeMatrix(S, F, data, run.initialE);
        ZStandardizationRowsMV(F, S, run.initialE, run.initialE);
        ComputeInteractions(run, run.initialE);
    }
    E = Copied(run.nPredictors, S, run.initialE);
    Generate(run, run.survival);
    Generate(run, run.density);
    if (run.lifespansGenerated)
        for (int o = 0; o < N; o++)
            run.lifespans[o] = run.minLifespan + DrawInt(run.maxLifespan - run.minLifespan);
    Generate(run, run.age);
    W = Zeros(S + 1, N);
    averageBirth = Zeros(S + 1, N + 1);
    const std::vector<std::vector<int>> nobody(static_cast<std::size_t>(N));
    cohort.assign(static_cast<std::size_t>(S), nobody);
    siteTotal.assign(static_cast<std::size_t>(S), 0);
    richness = colonisations = extinctions = siteTotal;
    total = recordStep = 0;
    recording = false;
}

void PlainModel::Conditions(const Simulation& run)
{
    const int S = run.nSites, N = run.nOTUs, K = run.nTraits;
    MatrixProdMV(K, run.nPredictors, run.nPredictors, S, run.responses, RowsOf(E),
                 RowsOf(expected));
    ZStandardizationRowsMV(K, S, means.data(), deviations.data(), RowsOf(expected),
                           RowsOf(expected));
    Matrix dist = Zeros(S, N);
    for (std::size_t s = 0; s < dist.size(); s++)
        for (std::size_t o = 0; o < dist[s].size(); o++) {
            double sum = 0.0;
            for (std::size_t t = 0; t < expected.size(); t++)
                sum += (B[o][t] - expected[t][s]) * (B[o][t] - expected[t][s]);
            dist[s][o] = std::sqrt(sum / K);
        }
    const double P = MatrixPercentile(S, N, RowsOf(dist), 0.95);
    for (std::vector<double>& row : dist)
        for (double& d : row) d = d > P ? P : d;
    MatrixUnitMaxTransf(S, N, RowsOf(dist), RowsOf(dist));
    for (std::size_t s = 0; s < dist.size(); s++)
        for (std::size_t o = 0; o < dist[s].size(); o++)
            survival[s][o] = Curve(dist[s][o], run.survival, static_cast<int>(o));
}

void PlainModel::Record(const Simulation& run, int step)
{
    if (recording) return;
    if (!(total > run.threshold * run.maxAvg * run.nSites) &&
        !(step > run.threshold * run.totalSteps))
        return;
    recording = true;
    recordStep = step;
    for (std::size_t s = 0; s < richness.size(); s++)
        richness[s] = static_cast<int>(
            std::count_if(W[s].begin(), W[s].end(), [](double w) { return w > 0.0; }));
}

void PlainModel::Colonise(const Simulation& run, int step)
{
    const auto S = static_cast<std::size_t>(run.nSites);
    const auto N = static_cast<std::size_t>(run.nOTUs);
    for (std::size_t s = 0; s < S; s++) {
        const auto o = static_cast<std::size_t>(DrawInt(run.nOTUs));
        if (W[S][o] == 0.0 || W[s][o] == 0.0) {
            double p = 1.0;
            if (W[S][o] != 0.0) {
                double d = 1.0;
                for (std::size_t t = 0; t < S; t++)
                    if (t != s && W[t][o] > 0.0 && D[s][t] < d) d = D[s][t];
                p = Curve(d, run.dispersal, static_cast<int>(o));
            }
            const double draw = Draw();
            if (!(p > draw)) continue;
        }
        const double draw = Draw();
        if (!(survival[s][o] > draw)) continue;
        cohort[s][o].push_back(step);
        averageBirth[s][o] = (averageBirth[s][o] * W[s][o] + step) / (W[s][o] + 1);
        averageBirth[S][o] = (averageBirth[S][o] * W[S][o] + step) / (W[S][o] + 1);
        averageBirth[s][N] = (averageBirth[s][N] * siteTotal[s] + step) / (siteTotal[s] + 1);
        W[s][o] += 1;
        W[S][o] += 1;
        siteTotal[s]++;
        total++;
        if (recording && W[s][o] == 1.0) colonisations[s]++;
    }
}

void PlainModel::Mortality(const Simulation& run, int step)
{
    const auto S = static_cast<std::size_t>(run.nSites);
    const auto N = static_cast<std::size_t>(run.nOTUs);
    std::vector<double> density;
    for (const int n : siteTotal) density.push_back(n / run.maxAvg);
    for (std::size_t s = 0; s < S; s++) {
        if (siteTotal[s] <= 0) continue;
        const int i = DrawInt(siteTotal[s]);
        std::size_t o = 0;
        for (double sum = W[s][0]; static_cast<int>(sum) <= i; sum += W[s][o]) o++;
        const int otu = static_cast<int>(o);
        const double pd = Curve(density[s], run.density, otu);
        const auto j = static_cast<std::ptrdiff_t>(DrawInt(static_cast<int>(W[s][o])));
        const int birth = *(cohort[s][o].begin() + j);
        const double ageYears = double(step - birth) / run.perYear;
        const double pa = Curve(ageYears / run.lifespans[otu], run.age, otu);
        const double pDeath = 1.0 - pd * pa * survival[s][o];
        const double draw = Draw();
        if (!(pDeath > draw)) continue;
        const auto without = [birth](double mean, double n) {
            return n - 1 > 0 ? (n * mean - birth) / (n - 1) : 0.0;
        };
        averageBirth[s][o] = without(averageBirth[s][o], W[s][o]);
        averageBirth[S][o] = without(averageBirth[S][o], W[S][o]);
        if (siteTotal[s] > 1) averageBirth[s][N] = without(averageBirth[s][N], siteTotal[s]);
        cohort[s][o].erase(cohort[s][o].begin() + j);
        W[s][o] -= 1;
        W[S][o] -= 1;
        siteTotal[s]--;
        total--;
        if (recording && W[s][o] == 0.0) extinctions[s]++;
    }
}

void PlainModel::Feedback(const Simulation& run)
{
    const int S = run.nSites, N = run.nOTUs, K = run.nTraits;
    Matrix shares = Zeros(S, N), averages = Zeros(S, K), change = Zeros(K, S);
    Matrix delta = Zeros(run.nFactors, S);
    UnitSumRowsAdjMV(S, N, RowsOf(shares), RowsOf(W));
    MatrixProdMV(S, N, N, K, RowsOf(shares), RowsOf(B), RowsOf(averages));
    TransposeMatrix(S, K, RowsOf(averages), RowsOf(cwm));
    MatrixSum(K, S, K, S, RowsOf(cwm), RowsOf(previousCwm), RowsOf(change), -1);
    MatrixProdMV(run.nFactors, K, K, S, run.effects, RowsOf(change), RowsOf(delta));
    for (std::size_t f = 0; f < delta.size(); f++)
        for (std::size_t s = 0; s < delta[f].size(); s++) E[f][s] += delta[f][s];
    previousCwm = cwm;
    ComputeInteractions(run, RowsOf(E));
}

void PlainModel::Step(const Simulation& run, int step)
{
    Conditions(run);
    Record(run, step);
    Colonise(run, step);
    Mortality(run, step);
    Feedback(run);
}
