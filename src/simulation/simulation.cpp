// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulation/simulation.hpp"

#include <omp.h>

#include <cstdio>

#include "numeric/random.hpp"
#include "session/session.hpp"
#include "shell/console.hpp"
#include "shell/files.hpp"
#include "shell/preferences.hpp"
#include "simulation/dialogue.hpp"
#include "simulation/evaluation.hpp"
#include "simulation/inputs.hpp"
#include "simulation/model.hpp"
#include "simulation/report.hpp"
#include "simulation/settings.hpp"
#include "simulation/stepfiles.hpp"

namespace {

/// The session's variables serve the simulation while it runs; whatever way it ends, its arrays are
/// released and the variables are as before.
struct BorrowedSession {
    BorrowedSession() : before(Emptied()) {}
    ~BorrowedSession()
    {
        FreeGlobals2();
        session = before;
    }
    BorrowedSession(const BorrowedSession&) = delete;
    BorrowedSession& operator=(const BorrowedSession&) = delete;
    static Session Emptied()
    {
        FreeGlobals2();
        return session;
    }
    const Session before; // sizes and settings only: all its arrays are released
};

/// Where the results of a run grow: put in place when all sets are done.
struct ResultFiles {
    explicit ResultFiles(Simulation& run)
    {
        // Randomised tables of the tests, if the preferences ask for them.
        if (preferences.saveRndData == 'y') randomised.Open(rndDataExt, console.volumeName, "w");
        if (run.saveIntermediate) run.stepFiles = &steps.emplace(run);
        report.Open(reportFile, console.volumeName, "w");
    }
    void Check()
    {
        randomised.Check();
        report.Check();
    }
    void Close()
    {
        randomised.Close();
        if (steps) steps->Close();
        report.Close();
    }

    OutputFile randomised, report;
    std::optional<StepFiles> steps;
};

void PrepareModel(const Simulation& run, Metacommunity& m)
{
    if (run.traitSource == 't') StandardizeTraits(run, m);
    if (run.siteSource == 'c') MeasureSites(run, m);
}

void RunSets(Simulation& run)
{
    Metacommunity m(run);
    SetAnalysis analysis(run);
    Rejections rejections(run);
    ResultFiles files(run);
    PrepareModel(run, m);
    StartReport(files.report, run);

    const double started = omp_get_wtime();
    for (int set = 1; set <= run.nSets; set++) {
        StartSet(run, m);
        SaveTraits(run, m);
        SimulateSteps(run, m, set);
        MeasureExtrapolation(m);
        WriteSimulatedSet(run, m);
        ReportSet(files.report, run, m, set);
        AnalyseSet(run, m, analysis, files.randomised);
        CountRejections(run, analysis, rejections);
        ReportAnalysis(files.report, run, m, analysis);
        files.Check();
    }
    const double seconds = difftime_Clock(started);
    if (run.evaluate) {
        DivideRejections(run, rejections);
        ReportRates(files.report, run, rejections, seconds);
    }
    files.Close();
    SayStepFiles(run); // its first line ends the progress line
}

} // namespace

void IFAssemblyRulesSimulation_EnvFeedback_TypeI_II_Error()
{
    const BorrowedSession borrowed;
    Simulation run;
    AskSimulation(run);
    InitRndNumberGenerator(session.rseed); // before the files are read, as nothing may draw before
    ReadSimulationInputs(run);
    RunSets(run);
}
