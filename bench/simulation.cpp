// SPDX-License-Identifier: GPL-3.0-or-later
// M1 and M2: a step of the simulated metacommunity and the percentile in it, against the plain
// forms of the tests. M3: a whole set and its test.
#include <omp.h>

#include <algorithm>
#include <cstring>
#include <memory>

#include "lines.hpp"
#include "numeric/random.hpp"
#include "numeric/statistics.hpp"
#include "plain_model.hpp"
#include "session/session.hpp"
#include "shell/arrays.hpp"
#include "simulation/evaluation.hpp"
#include "simulation/model.hpp"
#include "unit/simulation/sample_run.hpp"

namespace {

const int nSites = 50, nOTUs = 100, nTraits = 5, nFactors = 4;
const int nWarmUp = 400; // steps until the sites are filled

/// Steps of one form, going on from where the last call ended.
template <typename Model, typename Step>
Work Steps(Model& model, Simulation& run, Step step)
{
    auto done = std::make_shared<int>(nWarmUp);
    return [&model, &run, step, done](long count) {
        for (long i = 0; i < count; i++) step(model, run, ++*done);
    };
}

void StepLine(const Options& options, Report& report)
{
    Simulation plainRun, fastRun;
    FillRun(plainRun, nSites, nOTUs, nTraits, nFactors, true);
    FillRun(fastRun, nSites, nOTUs, nTraits, nFactors, true);
    const auto plainStep = [](PlainModel& m, Simulation& run, int step) { m.Step(run, step); };
    const auto fastStep = [](Metacommunity& m, Simulation& run, int step) {
        SimulateStep(run, m, step);
    };
    InitRndNumberGenerator(42);
    PlainModel plain(plainRun);
    plain.StartSet(plainRun);
    for (int step = 1; step <= nWarmUp; step++) plain.Step(plainRun, step);
    InitRndNumberGenerator(42);
    Metacommunity fast(fastRun);
    StandardizeTraits(fastRun, fast);
    StartSet(fastRun, fast);
    for (int step = 1; step <= nWarmUp; step++) SimulateStep(fastRun, fast, step);
    bool same = true;
    for (int s = 0; s <= nSites; s++)
        same = same && std::memcmp(plain.W[static_cast<std::size_t>(s)].data(), fast.W[s],
                                   sizeof(double) * nOTUs) == 0;
    report.Same("M1", "sim", same);
    const Timed timed = TimeInTurn(options, Steps(plain, plainRun, plainStep),
                                   Steps(fast, fastRun, fastStep));
    report.Line("M1", "sim", "simulator step", "us/step", 1e6, 1, timed);
}

void PercentileLine(const Options& options, Report& report)
{
    Simulation run;
    FillRun(run, nSites, nOTUs, nTraits, nFactors, true);
    InitRndNumberGenerator(42);
    Metacommunity m(run);
    StandardizeTraits(run, m);
    StartSet(run, m);
    SimulateStep(run, m, 1);
    double sorted = 0.0, selected = 0.0;
    const Timed timed = TimeInTurn(
        options,
        [&](long count) {
            for (long i = 0; i < count; i++)
                sorted = MatrixPercentile(nSites, nOTUs, m.dist, 0.95);
        },
        [&](long count) {
            for (long i = 0; i < count; i++) selected = m.percentile.Select(m.dist, 0.95);
        });
    report.Same("M2", "sim", sorted == selected);
    report.Line("M2", "sim", "percentile of 5,000 values", "us", 1e6, 1, timed);
}

/// Settings of the tests as the simulator's dialogue leaves them: each OTU a type, fuzzy belonging,
/// matrix correlation, taxa shuffle.
void FillSettings(const Simulation& run, int nIter)
{
    session.nch = nTraits;
    session.ncsm = nSites;
    session.tcst = nOTUs;
    session.nenv = run.nPredictors;
    AllocateSettings();
    session.eVarSelect = dim1Dint(std::max(nSites, run.nPredictors));
    session.chtype = dim1Dint(nTraits);
    std::fill_n(session.chtype, nTraits, 3);
    std::fill_n(session.weight, nTraits, 1.0);
    std::fill_n(session.weight_OTUs, nOTUs, 1);
    std::fill_n(session.relSelect, nSites, 1);
    std::fill_n(session.eVarSelect, run.nPredictors, 1);
    for (int i = 0; i < nOTUs; i++) session.partition_OTUs[i] = i + 1;
    session.nGrPoly[0] = nOTUs;
    session.fuzzy = 3;
    session.opt_ro = 1;
    session.rese_opt = 6;
    session.niter = nIter;
}

/// One simulated set and its test: where the time of an error-rate study goes.
void WholeLine(const Options& options, Report& report)
{
    const int nSteps = 500, nPermutations = 999;
    Simulation run;
    FillRun(run, nSites, nOTUs, nTraits, nFactors, true);
    FillSettings(run, nPermutations + 1);
    SetAnalysis analysis(run);
    Timed timed;
    double shareOfTest = 0.0;
    for (int repetition = 0; repetition < options.repetitions; repetition++) {
        InitRndNumberGenerator(42);
        Metacommunity m(run);
        StandardizeTraits(run, m);
        const double start = omp_get_wtime();
        StartSet(run, m);
        for (int step = 1; step <= nSteps; step++) SimulateStep(run, m, step);
        const double simulated = omp_get_wtime();
        AnalyseSet(run, m, analysis, nullptr);
        const double all = omp_get_wtime() - start;
        if (timed.fast >= 0.0 && all >= timed.fast) continue;
        timed.fast = all;
        shareOfTest = (all - (simulated - start)) / all;
    }
    FreeGlobals2();
    session = Session();
    report.Line("M3", "sim", "500 steps and 999 permutations", "s", 1.0, omp_get_max_threads(),
                timed);
    report.Value("M3", "share of the test", "1", shareOfTest);
}

} // namespace

void SimulationLines(const Options& options, Report& report)
{
    if (options.Wants("M1")) StepLine(options, report);
    if (options.Wants("M2")) PercentileLine(options, report);
    if (options.Wants("M3")) WholeLine(options, report);
}
