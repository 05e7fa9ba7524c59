// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulation/model.hpp"

#include <doctest/doctest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <random>
#include <vector>

#include "numeric/adjust.hpp"
#include "numeric/matrix.hpp"
#include "numeric/random.hpp"
#include "numeric/statistics.hpp"
#include "shell/arrays.hpp"
#include "unit/shell/shell_fixture.hpp"
#include "unit/simulation/sample_run.hpp"

namespace {

bool Same(double a, double b) { return a == b || (std::isnan(a) && std::isnan(b)); }

void CheckSame(int rows, int cols, double** expected, double** found)
{
    for (int i = 0; i < rows; i++)
        for (int j = 0; j < cols; j++) {
            CAPTURE(i);
            CAPTURE(j);
            CHECK(Same(expected[i][j], found[i][j]));
        }
}

/// Distances of the step, capped and scaled by the routines that go through the whole matrix.
void CheckDistances(const Metacommunity& m)
{
    OwnedRows dist(m.nSites, m.nOTUs), scaled(m.nSites, m.nOTUs);
    for (int s = 0; s < m.nSites; s++)
        for (int o = 0; o < m.nOTUs; o++) {
            double sum = 0.0;
            for (int t = 0; t < m.nTraits; t++)
                sum += (m.B[o][t] - m.expected[t][s]) * (m.B[o][t] - m.expected[t][s]);
            dist[s][o] = std::sqrt(sum / m.nTraits);
            scaled[s][o] = m.ScaledDistance(s, o);
        }
    CheckSame(m.nSites, m.nOTUs, dist, m.dist);
    const double largest = MatrixPercentile(m.nSites, m.nOTUs, dist, 0.95);
    for (int s = 0; s < m.nSites; s++)
        for (int o = 0; o < m.nOTUs; o++)
            if (dist[s][o] > largest) dist[s][o] = largest;
    MatrixUnitMaxTransf(m.nSites, m.nOTUs, dist, dist);
    CheckSame(m.nSites, m.nOTUs, dist, scaled);
}

/// Averages of the traits by the routines for shares and products.
void CheckAverages(const Metacommunity& m)
{
    OwnedRows shares(m.nSites, m.nOTUs), averages(m.nSites, m.nTraits), cwm(m.nTraits, m.nSites);
    UnitSumRowsAdjMV(m.nSites, m.nOTUs, shares, m.W);
    MatrixProdMV(m.nSites, m.nOTUs, m.nOTUs, m.nTraits, shares, m.B, averages);
    TransposeMatrix(m.nSites, m.nTraits, averages, cwm);
    CheckSame(m.nTraits, m.nSites, cwm, m.cwm);
}

/// Mean step of birth, kept up to date at each arrival and death, against the living themselves.
void CheckBirths(double mean, double sum, double n)
{
    CHECK(mean == doctest::Approx(n > 0.0 ? sum / n : 0.0).epsilon(1e-9));
}

/// What is kept about the individuals agrees with the individuals; returns their number.
int CheckCensus(const Metacommunity& m)
{
    const auto N = static_cast<std::size_t>(m.nOTUs);
    std::vector<double> all(N), allBirths(N);
    int total = 0;
    for (int s = 0; s < m.nSites; s++) {
        std::vector<double> n(N), births(N);
        double birthsOfSite = 0.0;
        const auto& living = m.individuals[static_cast<std::size_t>(s)];
        for (const Individual& one : living) {
            const auto o = static_cast<std::size_t>(one.otu);
            n[o]++, all[o]++;
            births[o] += one.birth, allBirths[o] += one.birth, birthsOfSite += one.birth;
        }
        int nPresent = 0;
        for (std::size_t o = 0; o < N; o++) {
            CHECK(m.W[s][o] == n[o]);
            CheckBirths(m.averageBirth[s][o], births[o], n[o]);
            CHECK((m.isAt[o][s] == 1) == (n[o] > 0.0));
            if (n[o] > 0.0) CHECK(m.present[s][nPresent++] == static_cast<int>(o));
        }
        CHECK(m.nPresent[s] == nPresent);
        CHECK(m.siteTotal[s] == static_cast<int>(living.size()));
        if (!living.empty())
            CheckBirths(m.averageBirth[s][N], birthsOfSite, static_cast<double>(living.size()));
        if (m.recording)
            CHECK(nPresent == m.richness[s] + m.colonisations[s] - m.extinctions[s]);
        else
            CHECK(m.richness[s] + m.colonisations[s] + m.extinctions[s] == 0);
        total += m.siteTotal[s];
    }
    for (std::size_t o = 0; o < N; o++) {
        CHECK(m.W[m.nSites][o] == all[o]);
        CheckBirths(m.averageBirth[m.nSites][o], allBirths[o], all[o]);
    }
    CHECK(m.total == total);
    return total;
}

} // namespace

TEST_CASE("the logistic function falls through its center with its slope")
{
    struct Case {
        double x, xMin, xMax, yMin, yMax, slope, center, expected;
    };
    const double inf = std::numeric_limits<double>::infinity();
    const Case cases[] = {
        // scipy 1.10: expit(4 slope (x - center))
        {0.25, 0, 1, 0, 1, -2, 0.4, 0.7685247834990178},
        {0.9, 0, 1, 0, 1, -3.5, 0.3, 0.00022481677023329492},
        {18, 10, 30, 2, 5, -0.2, 0.25, 2.9300765566171627}, // 2 + 3 expit(-0.8)
        {inf, 0, 1, 0, 1, -2, 0.5, 0.0},
    };
    for (const Case& c : cases) {
        CAPTURE(c.x);
        CHECK(Logistic(c.x, c.xMin, c.xMax, c.yMin, c.yMax, c.slope, c.center) ==
              doctest::Approx(c.expected).epsilon(1e-14));
    }
}

TEST_CASE("generated functions take all centers first, and are never too flat")
{
    LogisticFunctions functions;
    functions.parameters = OwnedRows(40, 2);
    functions.minCenter = 0.1;
    functions.maxCenter = 0.9;
    functions.minSlope = -9.0;
    functions.maxSlope = -0.01;
    InitRndNumberGenerator(7);
    GenerateFunctions(40, functions);
    InitRndNumberGenerator(7);
    for (int o = 0; o < 40; o++)
        CHECK(functions.parameters[o][0] == gsl_rng_uniform(r) * (0.9 - 0.1) + 0.1);
    double flattest = 1.0;
    for (int o = 0; o < 40; o++) {
        const double* const p = functions.parameters[o];
        CHECK(p[1] >= -9.0 * 2.0);
        // Within a thousandth of the asymptotes at both ends, and the flattest nearly just so.
        const double first = Logistic(0, 0, 1, 0, 1, p[1], p[0]);
        const double last = Logistic(1, 0, 1, 0, 1, p[1], p[0]);
        CHECK(first >= 0.999 - 1e-9);
        CHECK(last <= 0.001 + 1e-9);
        flattest = std::min(flattest, std::min(first, 1.0 - last));
    }
    CHECK(flattest < 0.9993);
}

TEST_CASE("a step keeps to what the whole matrices say")
{
    struct Case {
        const char* fact;
        int S, N, K, F;
        bool withInteractions;
        std::function<void(Simulation&)> change;
        bool isPeopled = true;
    };
    const Case cases[] = {
        {"many cells", 23, 41, 2, 3, true, [](Simulation&) {}},
        {"traits generated", 5, 8, 2, 2, false,
         [](Simulation& run) {
             run.traitSource = 'c';
             run.traitCorrelation = OwnedRows(2, 2);
             run.traitCorrelation[0][0] = run.traitCorrelation[1][1] = 1.0;
         }},
        {"a missing trait", 5, 8, 2, 2, false,
         [](Simulation& run) { run.traits[3][1] = missingValue; }},
        {"a constant trait, whose expectation is not a number", 4, 6, 2, 1, false,
         [](Simulation& run) {
             for (int o = 0; o < 6; o++) run.traits[o][0] = 2.0;
         }, false},
        {"an infinite trait", 5, 8, 2, 2, false,
         [](Simulation& run) {
             run.traits[3][1] = std::numeric_limits<double>::infinity();
         }, false},
        {"one OTU far from all: distances below 1 are scaled too", 4, 40, 1, 1, false,
         [](Simulation& run) {
             for (int o = 0; o < 40; o++) run.traits[o][0] = o == 0 ? 39.0 : 0.001 * o - 1.0;
             run.responses[0][0] = 0.0;
         }, false},
        {"equal OTUs: distances tie", 4, 30, 2, 1, false,
         [](Simulation& run) {
             for (int o = 0; o < 30; o++)
                 for (int t = 0; t < 2; t++) run.traits[o][t] = o % 2 + t;
         }},
        {"a single OTU and a single site", 1, 1, 1, 1, true, [](Simulation&) {}, false},
        {"never recorded", 4, 6, 2, 1, false, [](Simulation& run) { run.threshold = 1.0; }},
        {"crowded sites", 3, 5, 2, 1, false,
         [](Simulation& run) {
             run.maxAvg = 1000;
             run.minLifespan = 1000;
             run.maxLifespan = 2000;
         }},
    };
    for (const Case& c : cases) {
        CAPTURE(c.fact);
        Simulation run;
        FillRun(run, c.S, c.N, c.K, c.F, c.withInteractions);
        c.change(run);
        InitRndNumberGenerator(99);
        Metacommunity m(run);
        CHECK(m.ScaledDistance(0, 0) == 0.0); // all are 0: nothing to scale by
        StandardizeTraits(run, m);
        for (int set = 1; set <= 2; set++) {
            m.recording = true; // as a set before may have left it
            m.recordStep = 9;
            StartSet(run, m);
            int individuals = 0;
            for (int step = 1; step <= run.totalSteps; step++) {
                SimulateStep(run, m, step);
                if (step % 40 != 0) continue;
                CheckDistances(m);
                CheckAverages(m);
                individuals = CheckCensus(m);
            }
            CHECK((individuals > 0 || !c.isPeopled));
            CHECK(m.recording == (run.threshold < 1.0));
            CHECK((m.recordStep > 0) == m.recording);
        }
    }
}

TEST_CASE("a step allocates nothing")
{
    Simulation run;
    FillRun(run, 6, 9, 3, 2, true);
    InitRndNumberGenerator(3);
    Metacommunity m(run);
    StandardizeTraits(run, m);
    StartSet(run, m);
    FailAllocation(1); // the next one would fail
    CHECK(CodeOf([&] {
              for (int step = 1; step <= 50; step++) SimulateStep(run, m, step);
          }) == 0);
    FailAllocation(0);
}

TEST_CASE("a percentile is selected as if all cells had been sorted")
{
    std::mt19937 sequence(8);
    const double fractions[] = {0.0, 0.5, 0.9, 0.95, 1.0};
    for (int nStates : {1, 2, 3, 20, 1000000}) { // few states: many ties
        for (int rows : {1, 3, 20}) {
            const int cols = 1 + static_cast<int>(sequence() % 40);
            OwnedRows M(rows, cols);
            PercentileSelector selector(rows, cols);
            for (int drift = 0; drift < 6; drift++) { // the last percentile becomes the guess
                for (int i = 0; i < rows; i++)
                    for (int j = 0; j < cols; j++) {
                        const double state = static_cast<int>(sequence() % 1000000) % nStates;
                        const double width = drift % 2 == 0 ? 1.0 : 0.1;
                        M[i][j] = state / nStates * width + 0.01 * drift;
                    }
                const double fraction = fractions[sequence() % 5];
                CAPTURE(nStates);
                CAPTURE(rows);
                CAPTURE(cols);
                CAPTURE(fraction);
                CHECK(selector.Select(M, fraction) == MatrixPercentile(rows, cols, M, fraction));
            }
        }
    }
    // By hand: ranks over 4 are 0.25 to 1, the first strictly above 0.5 belongs to 3.
    OwnedRows four(1, 4);
    for (int j = 0; j < 4; j++) four[0][j] = 4 - j;
    CHECK(PercentileSelector(1, 4).Select(four, 0.5) == 3.0);
    four[0][2] = std::nan("");
    CHECK(PercentileSelector(1, 4).Select(four, 0.5) == MatrixPercentile(1, 4, four, 0.5));
}
