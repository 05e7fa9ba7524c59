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

/// Randomised tables of the tests, if the preferences ask for them.
std::FILE* OpenRandomisedTables()
{
    return preferences.saveRndData == 'y' ? OpenResult(rndDataExt, "w") : nullptr;
}

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
    const OutputFile randomised(OpenRandomisedTables());
    PrepareModel(run, m);
    CreateStepFiles(run);
    CreateReport(run);

    const double started = omp_get_wtime();
    for (int set = 1; set <= run.nSets; set++) {
        StartSet(run, m);
        SaveTraits(run, m);
        SimulateSteps(run, m, set);
        MeasureExtrapolation(m);
        WriteSimulatedSet(run, m);
        ReportSet(run, m, set);
        AnalyseSet(run, m, analysis, randomised);
        CountRejections(run, analysis, rejections);
        ReportAnalysis(run, m, analysis);
    }
    const double seconds = difftime_Clock(started);
    SayStepFiles(run); // its first line ends the progress line
    if (!run.evaluate) return;
    DivideRejections(run, rejections);
    ReportRates(run, rejections, seconds);
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
