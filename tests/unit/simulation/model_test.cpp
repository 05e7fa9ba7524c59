#include "simulation/model.hpp"

#include <doctest/doctest.h>
#include <gsl/gsl_randist.h>

#include <cmath>
#include <cstring>
#include <functional>
#include <limits>
#include <random>
#include <vector>

#include "numeric/random.hpp"
#include "numeric/statistics.hpp"
#include "shell/arrays.hpp"
#include "shell/failure.hpp"
#include "simulation/percentile.hpp"
#include "unit/simulation/plain_model.hpp"

using namespace simulation_test;

namespace {

bool SameBytes(const Matrix& expected, double** M)
{
    for (std::size_t i = 0; i < expected.size(); i++)
        if (std::memcmp(expected[i].data(), M[i], expected[i].size() * sizeof(double)) != 0)
            return false;
    return true;
}

bool SameNumbers(const std::vector<int>& expected, const int* numbers)
{
    return std::memcmp(expected.data(), numbers, expected.size() * sizeof(int)) == 0;
}

/// Births by site and OTU, in order of arrival.
std::vector<std::vector<std::vector<int>>> Cohorts(const Metacommunity& m)
{
    std::vector<std::vector<std::vector<int>>> cohorts(static_cast<std::size_t>(m.nSites));
    for (std::size_t s = 0; s < cohorts.size(); s++) {
        cohorts[s].resize(static_cast<std::size_t>(m.nOTUs));
        for (const Individual& one : m.individuals[s])
            cohorts[s][static_cast<std::size_t>(one.otu)].push_back(one.birth);
    }
    return cohorts;
}

void Identity(OwnedRows& M, int n, double offDiagonal)
{
    M = OwnedRows(n, n);
    for (int i = 0; i < n; i++)
        for (int j = 0; j < n; j++) M[i][j] = i == j ? 1.0 : offDiagonal;
}

/// Two sets in a row by both forms from one seed: all that the second form keeps is equal.
void CompareForms(Simulation& run, Simulation& other, int* individualsSeen)
{
    InitRndNumberGenerator(99);
    PlainModel plain(other);
    for (int set = 1; set <= 2; set++) {
        plain.StartSet(other);
        for (int step = 1; step <= other.totalSteps; step++) plain.Step(other, step);
    }
    const unsigned long after = gsl_rng_get(r);

    InitRndNumberGenerator(99);
    Metacommunity m(run);
    StandardizeTraits(run, m);
    MeasureSites(run, m);
    for (int set = 1; set <= 2; set++) {
        StartSet(run, m);
        for (int step = 1; step <= run.totalSteps; step++) SimulateStep(run, m, step);
    }
    CHECK(gsl_rng_get(r) == after); // not a draw more or less
    CHECK(SameBytes(plain.W, m.W));
    CHECK(SameBytes(plain.E, m.E));
    CHECK(SameBytes(plain.expected, m.expected));
    CHECK(SameBytes(plain.cwm, m.cwm));
    CHECK(SameBytes(plain.averageBirth, m.averageBirth));
    CHECK(SameNumbers(plain.siteTotal, m.siteTotal));
    CHECK(SameNumbers(plain.richness, m.richness));
    CHECK(SameNumbers(plain.colonisations, m.colonisations));
    CHECK(SameNumbers(plain.extinctions, m.extinctions));
    CHECK(plain.total == m.total);
    CHECK(plain.recordStep == m.recordStep);
    CHECK(plain.cohort == Cohorts(m));
    Matrix survival = plain.survival;
    for (int s = 0; s < m.nSites; s++)
        for (int o = 0; o < m.nOTUs; o++)
            survival[static_cast<std::size_t>(s)][static_cast<std::size_t>(o)] =
                SurvivalProbability(run, m, s, o);
    for (std::size_t s = 0; s < survival.size(); s++)
        CHECK(std::memcmp(survival[s].data(), plain.survival[s].data(),
                          survival[s].size() * sizeof(double)) == 0);
    *individualsSeen = m.total;
}

} // namespace

TEST_CASE("the logistic function falls through its center with its slope")
{
    struct Case {
        double x, xMin, xMax, yMin, yMax, slope, center, expected;
    };
    const Case cases[] = {
        {0.5, 0, 1, 0, 1, -1, 0.5, 0.5},              // at the center: half way
        // scipy 1.10: expit(4 slope (x - center))
        {0.25, 0, 1, 0, 1, -2, 0.4, 0.7685247834990178},
        {0.9, 0, 1, 0, 1, -3.5, 0.3, 0.00022481677023329492},
        {0.1, 0, 1, 0, 1, -1.7, 0.55, 0.9552122969502134},
        {18, 10, 30, 2, 5, -0.2, 0.25, 2.9300765566171627}, // 2 + 3 expit(-0.8)
    };
    for (const Case& c : cases) {
        CAPTURE(c.x);
        CHECK(Logistic(c.x, c.xMin, c.xMax, c.yMin, c.yMax, c.slope, c.center) ==
              doctest::Approx(c.expected).epsilon(1e-14));
    }
    CHECK(Logistic(std::numeric_limits<double>::infinity(), 0, 1, 0, 1, -2, 0.5) == 0.0);
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

    gsl_rng* const direct = gsl_rng_alloc(gsl_rng_mt19937);
    gsl_rng_set(direct, 7);
    double** const p = functions.parameters;
    for (int o = 0; o < 40; o++) CHECK(p[o][0] == gsl_rng_uniform(direct) * (0.9 - 0.1) + 0.1);
    gsl_rng_free(direct);
    for (int o = 0; o < 40; o++) {
        CAPTURE(o);
        CHECK(p[o][1] <= -0.01);
        // Within a thousandth of the asymptotes at both ends, and just so for the flattest.
        CHECK(Logistic(0, 0, 1, 0, 1, p[o][1], p[o][0]) >= 0.999 - 1e-9);
        CHECK(Logistic(1, 0, 1, 0, 1, p[o][1], p[o][0]) <= 0.001 + 1e-9);
    }
}

TEST_CASE("what a set draws comes straight from the generator, in order")
{
    Simulation run;
    FillRun(run, 3, 4, 2, 2, false);
    InitRndNumberGenerator(31);
    Metacommunity m(run);
    StandardizeTraits(run, m);
    StartSet(run, m);

    gsl_rng* const direct = gsl_rng_alloc(gsl_rng_mt19937);
    gsl_rng_set(direct, 31);
    for (int i = 0; i < 8; i++) gsl_rng_uniform(direct); // dispersal: 4 centers, 4 slopes
    for (int axis = 0; axis < 2; axis++)
        for (int s = 0; s < 3; s++)
            CHECK(run.sites[axis][s] == gsl_rng_uniform(direct) * 100.0);
    // Uncorrelated factors are the deviates themselves, site by site, then standardised.
    double deviates[3][2];
    for (auto& site : deviates)
        for (double& deviate : site) deviate = gsl_ran_gaussian(direct, 1.0);
    for (int f = 0; f < 2; f++) {
        const double mean = (deviates[0][f] + deviates[1][f] + deviates[2][f]) / 3.0;
        double squares = 0.0;
        for (const auto& site : deviates) squares += (site[f] - mean) * (site[f] - mean);
        for (int s = 0; s < 3; s++)
            CHECK(run.initialE[f][s] ==
                  doctest::Approx((deviates[s][f] - mean) / std::sqrt(squares / 3.0)));
    }
    for (int i = 0; i < 16; i++) gsl_rng_uniform(direct); // survival, density dependence
    for (int o = 0; o < 4; o++)
        CHECK(run.lifespans[o] == 2 + static_cast<int>(gsl_rng_uniform_int(direct, 7)));
    for (int i = 0; i < 8; i++) gsl_rng_uniform(direct); // ageing
    CHECK(gsl_rng_get(r) == gsl_rng_get(direct));
    gsl_rng_free(direct);

    double largest = 0.0;
    for (int s = 0; s < 3; s++)
        for (int t = 0; t < 3; t++) {
            CHECK(m.D[s][t] == m.D[t][s]);
            largest = std::max(largest, m.D[s][t]);
        }
    CHECK(largest == 1.0);
}

TEST_CASE("equal limits give that lifespan, without a draw")
{
    Simulation run;
    FillRun(run, 2, 3, 1, 1, false);
    run.minLifespan = run.maxLifespan = 4;
    InitRndNumberGenerator(5);
    Metacommunity m(run);
    StandardizeTraits(run, m);
    StartSet(run, m);
    for (int o = 0; o < 3; o++) CHECK(run.lifespans[o] == 4);
}

TEST_CASE("the model gives the bytes of its plain form")
{
    struct Case {
        const char* fact;
        int S, N, K, F;
        bool withInteractions;
        std::function<void(Simulation&)> change;
    };
    const Case cases[] = {
        {"traits given, all else generated", 6, 9, 3, 2, true, [](Simulation&) {}},
        {"many cells", 23, 41, 2, 3, true, [](Simulation&) {}},
        {"traits generated from their correlations", 5, 8, 2, 2, false,
         [](Simulation& run) {
             run.traitSource = 'c';
             run.traitDistribution = 'u';
             Identity(run.traitCorrelation, 2, 0.4);
         }},
        {"traits generated from both correlations", 5, 6, 3, 1, true,
         [](Simulation& run) {
             run.traitSource = 'b';
             Identity(run.traitCorrelation, 3, -0.2);
             Identity(run.otuCorrelation, 6, 0.3);
         }},
        {"a missing trait", 5, 8, 2, 2, false,
         [](Simulation& run) { run.traits[3][1] = missingValue; }},
        {"a constant trait, whose expectation is not a number", 4, 6, 2, 1, false,
         [](Simulation& run) {
             for (int o = 0; o < 6; o++) run.traits[o][0] = 2.0;
         }},
        {"equal OTUs: distances tie", 4, 30, 2, 1, false,
         [](Simulation& run) {
             for (int o = 0; o < 30; o++)
                 for (int t = 0; t < 2; t++) run.traits[o][t] = o % 2 + t;
         }},
        {"a single OTU and a single site", 1, 1, 1, 1, true, [](Simulation&) {}},
        {"threshold never reached", 4, 6, 2, 1, false,
         [](Simulation& run) { run.threshold = 1.0; }},
        {"crowded sites", 3, 5, 2, 1, false,
         [](Simulation& run) {
             run.maxAvg = 1000;
             run.minLifespan = 1000;
             run.maxLifespan = 2000;
         }},
    };
    for (const Case& c : cases) {
        CAPTURE(c.fact);
        Simulation run, other;
        for (Simulation* one : {&run, &other}) {
            FillRun(*one, c.S, c.N, c.K, c.F, c.withInteractions);
            c.change(*one);
        }
        int individuals = 0;
        CompareForms(run, other, &individuals);
        if (c.S > 1 && std::strstr(c.fact, "not a number") == nullptr) CHECK(individuals > 0);
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
    int done = 0;
    try {
        for (int step = 1; step <= 50; step++, done++) SimulateStep(run, m, step);
    } catch (const Failure&) {
    }
    FailAllocation(0);
    CHECK(done == 50);
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

TEST_CASE("an expectation beyond the range of a trait is an extrapolation")
{
    Simulation run;
    FillRun(run, 3, 4, 1, 1, false);
    Metacommunity m(run);
    StandardizeTraits(run, m);
    const double low = m.traitMinima[0], high = m.traitMaxima[0];
    m.expected[0][0] = high + 0.75;
    m.expected[0][1] = low - 0.5;
    m.expected[0][2] = 0.5 * (low + high);
    MeasureExtrapolation(m);
    CHECK(m.extrapolation[0][0] == doctest::Approx(0.75));
    CHECK(m.extrapolation[0][1] == doctest::Approx(-0.5));
    CHECK(m.extrapolation[0][2] == 0.0);
}
