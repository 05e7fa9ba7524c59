#include "simulation/evaluation.hpp"

#include <doctest/doctest.h>

#include <cmath>
#include <limits>
#include <string>

#include "functional/correlation.hpp"
#include "numeric/random.hpp"
#include "session/session.hpp"
#include "shell/arrays.hpp"
#include "shell/failure.hpp"
#include "unit/simulation/plain_model.hpp"

using namespace simulation_test;

namespace {

/// The session as the dialogue of a simulation leaves it: nothing excluded, 9 iterations.
struct SimulationSession {
    SimulationSession(const Simulation& run, int measure)
    {
        session = Session();
        session.nch = run.nTraits;
        session.tcst = run.nOTUs;
        session.ncsm = run.nSites;
        session.nenv = run.nFactors;
        AllocateSettings();
        session.chtype = dim1Dint(run.nTraits);
        for (int t = 0; t < run.nTraits; t++) {
            session.weight[t] = 1.0;
            session.chtype[t] = 3;
        }
        for (int o = 0; o < run.nOTUs; o++) session.weight_OTUs[o] = 1;
        for (int s = 0; s < run.nSites; s++) session.relSelect[s] = 1;
        session.fuzzy = 3;
        session.niter = 9;
        session.rese_opt = 6;
        session.opt_ro = measure;
    }
    ~SimulationSession()
    {
        FreeGlobals2();
        session = Session();
    }
    SimulationSession(const SimulationSession&) = delete;
    SimulationSession& operator=(const SimulationSession&) = delete;
};

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
    CHECK_FALSE(IsRejected(1.0 / 19.0, 0.0)); // alpha of a run without evaluation
}

TEST_CASE("each measure counts its own probabilities, and counts become rates")
{
    Simulation run;
    FillRun(run, 4, 5, 2, 2, false);
    run.alpha = 0.25;
    run.nSets = 4;
    for (int measure = mantel; measure <= varianceAnalysis; measure++) {
        CAPTURE(measure);
        const SimulationSession borrowed(run, measure);
        SetAnalysis a(run);
        Rejections n(run);
        // Everything at P = 1 but a few, which reject.
        for (double& p : a.test.probabilities) p = 1.0;
        for (int y = 0; y < 3; y++) a.pRSquare[y] = 1.0;
        for (int e = 0; e < 2; e++) {
            a.pX[e] = a.pT[e] = a.pRf[e] = 1.0;
            for (int y = 0; y < 3; y++) a.pCoefficient[e][y] = 1.0;
            for (int t = 0; t < 2; t++) a.pTraits[e][t] = 1.0;
        }
        a.test.probabilities[rXZ_T] = 0.25;
        a.pRSquare[2] = 0.1; // functional diversity, behind the two traits
        a.pCoefficient[1][0] = 0.2;
        a.pX[1] = 0.2;
        a.pTraits[1][0] = 0.0;
        for (int set = 0; set < 3; set++) CountRejections(run, a, n);
        DivideRejections(run, n);

        const bool correlations = measure <= rvCoefficient;
        CHECK(n.statistics[rXZ_T] == (correlations ? 0.75 : 0.0));
        CHECK(n.statistics[rXE] == 0.0);
        const bool isRegression = measure == linearRegression;
        CHECK(n.rSquare[2] == (isRegression ? 0.75 : 0.0));
        CHECK(n.rSquare[0] == 0.0);
        CHECK(n.coefficient[1][0] == (isRegression ? 0.75 : 0.0));
        const bool isAnova = measure == varianceAnalysis;
        CHECK(n.X[1] == (isAnova ? 0.75 : 0.0));
        CHECK(n.X[0] == 0.0);
        CHECK(n.traits[1][0] == (isAnova ? 0.75 : 0.0));
        CHECK(n.T[1] == 0.0);
    }
}

TEST_CASE("the analysis takes the predictors in use, as classes for the analysis of variance")
{
    for (int measure : {static_cast<int>(mantel), static_cast<int>(varianceAnalysis)}) {
        CAPTURE(measure);
        Simulation run;
        FillRun(run, 5, 4, 2, 3, false);
        run.selected[1] = 0;
        run.nSelected = 2;
        const SimulationSession borrowed(run, measure);
        InitRndNumberGenerator(4);
        Metacommunity m(run);
        StandardizeTraits(run, m);
        StartSet(run, m);
        for (int step = 1; step <= 60; step++) SimulateStep(run, m, step);
        const double row[] = {0.0, 5.0, 10.0, 2.1, 9.9}; // range 10: classes of width 2
        for (int s = 0; s < 5; s++)
            for (int q = 0; q < 3; q++) m.E[q][s] = row[s] + q;

        SetAnalysis a(run);
        AnalyseSet(run, m, a, nullptr);
        const double classes[] = {1, 3, 5, 2, 5}; // by hand: ceil(x 5 / 10), the smallest is 1
        for (int s = 0; s < 5; s++) {
            CAPTURE(s);
            CHECK(m.E[1][s] == row[s] + 1); // not selected
            if (measure == varianceAnalysis) {
                CHECK(m.E[2][s] == classes[s]);
                CHECK(a.selectedE[s][1] == classes[s]);
            } else {
                CHECK(m.E[2][s] == row[s] + 2);
            }
            double share = 0.0;
            for (int o = 0; o < 4; o++) share += a.relativeW[s][o];
            CHECK(share == doctest::Approx(m.siteTotal[s] > 0 ? 1.0 : 0.0));
        }
        // Both predictors differ by a constant: the standardised distance is that of one, times
        // the root of 2. By hand for communities 1 and 3: 10 / sqrt(sum of squares) * sqrt(2).
        double mean = 0.0, squares = 0.0;
        for (double x : row) mean += x / 5.0;
        for (double x : row) squares += (x - mean) * (x - mean);
        if (measure == mantel)
            CHECK(a.DE[0][2] ==
                  doctest::Approx(10.0 / std::sqrt(squares) * std::sqrt(2.0)).epsilon(1e-6));
        for (int o = 0; o < 4; o++) CHECK(a.Sb[o][o] == 1.0);
    }
}

TEST_CASE("running out of memory before a simulation is a failure, and leaks nothing")
{
    Simulation run;
    FillRun(run, 3, 4, 2, 2, true);
    const SimulationSession borrowed(run, mantel);
    bool made = false;
    int k = 0;
    while (!made && k < 1000) { // the address sanitizer sees what is left behind
        FailAllocation(++k);
        try {
            const Metacommunity m(run);
            const SetAnalysis a(run);
            const Rejections n(run);
            made = true;
        } catch (const Failure& failure) {
            CHECK(failure.code == outOfMemory);
        }
    }
    FailAllocation(0);
    CHECK(made);
    CHECK(k > 100); // rows are allocated one by one
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
