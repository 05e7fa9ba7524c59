// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulation/simulation.hpp"

#include <doctest/doctest.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <sstream>
#include <string>

#include "simulation/evaluation.hpp"
#include "simulation/report.hpp"
#include "simulation/settings.hpp"
#include "unit/session/session_fixture.hpp"

namespace {

/// A whole dialogue: 12 sites, 12 OTUs, a trait and 2 factors from files, Procrustes, one iteration.
void Simulate()
{
    InputStream answers(FileOf(
        "12 12 1 t B.txt\nr 0.2 0.6 -5 -2 r\n2 e E.txt\ny responses.txt\neffects.txt\n"
        "r 0.3 0.7 -8 -2 r 0.3 0.7 -8 -2 r 2 9 r 0.3 0.7 -8 -2 9 12 9 0.5\n"
        "1 y 1 t 0 2 19 2 1 1 n y\n1 n y\n"));
    console.in = &answers;
    try {
        IFAssemblyRulesSimulation_EnvFeedback_TypeI_II_Error();
    } catch (...) {
        console.in = &StandardInput();
        throw;
    }
    console.in = &StandardInput();
    CHECK(Rest(answers) == "\n");
}

} // namespace

TEST_CASE("a null hypothesis is rejected at the grain of single precision")
{
    const float alpha = 0.05F;
    const double above = std::nextafterf(alpha, 1.0F);
    const double twoAbove = std::nextafterf(static_cast<float>(above), 1.0F);
    CHECK(IsRejected(0.05, 0.05));
    CHECK(IsRejected(0.04, 0.05));
    CHECK(IsRejected(above, 0.05));
    CHECK_FALSE(IsRejected(twoAbove, 0.05));
    CHECK_FALSE(IsRejected(std::nan(""), 0.05));
    CHECK_FALSE(IsRejected(std::numeric_limits<double>::infinity(), 1.0));
}

TEST_CASE("without details only the rates are told, each behind its statistic")
{
    SessionTest test;
    Simulation run;
    run.evaluate = true;
    session.opt_ro = 1;
    const Metacommunity m(run);
    const SetAnalysis analysis(run);
    Rejections rates(run);
    for (int i = 0; i < nTested; i++) rates.statistics[i] = 0.01 * (i + 1);
    const OutputFile file(std::tmpfile());
    ReportSet(file, run, m, 1);
    ReportAnalysis(file, run, m, analysis);
    CHECK(TextOf(file).empty());
    ReportRates(file, run, rates, 0.0);
    const std::string report = TextOf(file);
    CHECK(TimesIn(report, "Specified number of OTUs") == 0);
    // In the order of the record of the test.
    const char* const names[] = {"XE", "TE", "XE.T", "RE", "XE.TR", "TY",
                                 "TZ", "XY", "XZ", "XY_T", "XZ_T"};
    for (int i = 0; i < nTested; i++) {
        char line[40];
        std::snprintf(line, sizeof line, "r(%s)\tP=\t%g\n", names[i], 0.01 * (i + 1));
        CAPTURE(line);
        CHECK(TimesIn(report, line) == 1);
    }
}

TEST_CASE("interactions are numbered and named in the order of their rows")
{
    Simulation run;
    run.nFactors = 4;
    run.withInteractions = true;
    run.nPredictors = CountPredictors(4, true);
    CHECK(run.nPredictors == 10);
    CHECK(CountPredictors(1, true) == 1);
    const char* const names[] = {"1", "2", "3", "4", "1x2", "1x3", "1x4", "2x3", "2x4", "3x4"};
    run.nSites = 1;
    OwnedRows E(10, 1);
    const double primes[] = {2, 3, 5, 7};
    for (int f = 0; f < 4; f++) E[f][0] = primes[f];
    ComputeInteractions(run, E);
    const double products[] = {2, 3, 5, 7, 6, 10, 14, 15, 21, 35};
    for (int q = 0; q < 10; q++) {
        char name[24];
        PredictorName(run, q, name);
        CHECK(std::string(name) == names[q]);
        CHECK(E[q][0] == products[q]);
    }
}

TEST_CASE("a simulation leaves the session as it was, whatever allocation fails")
{
    SessionTest test;
    WriteText("B.txt", "1 2.5 4 3 2 6 5 1.5 3.5 2.2 4.4 5.5");
    WriteText("E.txt", "1 3 2 4 5 6 2.5 3.5 1.5 4.5 5.5 2 3 1 2 2 1 4 6 5 3 2 1 7");
    WriteText("responses.txt", "-0.5 0 0");
    WriteText("effects.txt", "0.1 0");
    session.optmain = 'S';
    session.nch = session.nSpp = 7;
    session.hasPhylogeny = session.hasTraitGroups = true;
    session.temEnvQual = 1; // a nominal variable, which Procrustes refuses
    session.rese_opt = 9;
    std::strcpy(session.whichPrinda, "meadowPrinda.txt");
    int code = outOfMemory;
    for (int k = 1; code != 0; k += 1 + k / 30) { // the address sanitizer sees what is left behind
        FailAllocation(k);
        code = CodeOf(Simulate);
        FailAllocation(0);
        CHECK((code == 0 || code == outOfMemory));
        CHECK(session.optmain == 'S');
        CHECK(session.nch == 7);
        CHECK(session.temEnvQual == 1);
        CHECK(session.rese_opt == 9);
        CHECK(session.chLabel == nullptr);
        CHECK(std::string(session.whichPrinda) == "meadowPrinda.txt");
    }
    const std::string report = TextOfFile(reportFile);
    // A response is one whatever its sign.
    CHECK(TimesIn(report, "ecosystem conditions: \n1\t\n") == 1);
    CHECK(TimesIn(report, "Axis:") == 6); // of more
    CHECK(TimesIn(report, "eigenvalues >0.0001: \t8\n") == 1);
    // The interaction of factors from a file is there from the start.
    std::istringstream E(report.substr(report.find("matrix at step 1 ")));
    E.ignore(1000, '\n');
    double cell[3][12];
    for (auto& row : cell)
        for (double& x : row) E >> x;
    for (int s = 0; s < 12; s++)
        CHECK(cell[2][s] == doctest::Approx(cell[0][s] * cell[1][s]).epsilon(1e-4));
}
