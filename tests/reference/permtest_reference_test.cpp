// SPDX-License-Identifier: GPL-3.0-or-later
// The permutation test against numbers made elsewhere: by hand, and with R from the raw matrices of
// the examples (scripts/verify/permtest_reference.R says how; lists of seed 1 from seed_lists.py
// beside it).
#include <doctest/doctest.h>

#include <memory>
#include <vector>

#include "permutation/general.hpp"
#include "permutation/lists.hpp"
#include "unit/permutation/permutation_fixture.hpp"

namespace {

struct Value { Statistic which; double value; };
using Expected = std::vector<Value>;

constexpr double sixDigits = 1e-6; // E is in single precision after its standardisation

struct Arrangement {
    std::vector<int> list;
    std::vector<double> statistics;
};

// The first `count` random arrangements of seed 1.
std::vector<Arrangement> FirstArrangements(PermTestData& data, int count)
{
    const PermutationInputs in(data.input);
    GeneralWorkspace w(in, false);
    InitRndNumberGenerator(1);
    ListDrawer drawer(in);
    std::vector<Arrangement> arrangements;
    for (int i = 0; i < count; i++) {
        std::vector<int> list(static_cast<std::size_t>(in.orderLength));
        drawer.Draw(list.data());
        EvaluateOrder(list.data(), in, w);
        arrangements.push_back({list, w.statistics.value});
    }
    return arrangements;
}

void CheckStatistics(const double* statistics, const Expected& expected)
{
    for (const Value& e : expected) {
        CAPTURE(e.which);
        CHECK(statistics[e.which] == doctest::Approx(e.value).epsilon(sixDigits));
    }
}

// P = count / 20, to the bit.
void CheckCounts(const double* probabilities, const Expected& counts)
{
    for (const Value& e : counts) {
        CAPTURE(e.which);
        CHECK(probabilities[e.which] == e.value / 20.0);
    }
}

// Three OTUs, each alone in a community, with one trait 1, 2, 4; E is 1, 2, 4 too.
std::unique_ptr<PermTestData> ThreeAlone()
{
    auto data = std::make_unique<PermTestData>(3, 3, 1, 1, 3);
    const double values[] = {1.0, 2.0, 4.0};
    for (int i = 0; i < 3; i++) {
        data->W[i][i] = 1.0;
        data->rawB[i][0] = data->E[i][0] = values[i];
        data->partition[i] = i + 1;
    }
    DeriveFromTraits(*data);
    return data;
}

} // namespace

TEST_CASE("lists of seed 1")
{
    // NumPy 1.24, seed_lists.py 1 5 9; each list shuffles the one before.
    const std::vector<std::vector<int>> expected = {
        {3, 5, 2, 1, 4}, {3, 5, 2, 4, 1}, {3, 5, 2, 4, 1}, {3, 2, 4, 1, 5}, {2, 5, 1, 3, 4},
        {1, 2, 4, 5, 3}, {2, 4, 3, 5, 1}, {2, 5, 1, 3, 4}, {1, 2, 3, 5, 4},
    };
    InitRndNumberGenerator(1);
    int list[] = {1, 2, 3, 4, 5};
    for (const std::vector<int>& numbers : expected) {
        RndListSpecified(5, list);
        CHECK(std::vector<int>(list, list + 5) == numbers);
    }
}

TEST_CASE("P of three communities of one OTU, by hand")
{
    // Distances of the pairs 12, 13, 23 are 1, 3, 2 in E, deviations -1, 1, 0. The list moves the
    // traits, the distances become a permutation of 1, 2, 3: r = (d13 - d12) / 2.
    // Lists of seed 1: NumPy 1.24, seed_lists.py 1 3 9.
    struct Drawn { std::vector<int> list; double r; };
    const Drawn drawn[] = {
        {{2, 3, 1}, -0.5}, {{1, 2, 3}, 1.0},  {{1, 2, 3}, 1.0},  {{1, 3, 2}, -1.0},
        {{1, 3, 2}, -1.0}, {{1, 3, 2}, -1.0}, {{1, 3, 2}, -1.0}, {{3, 2, 1}, 0.5},
        {{2, 1, 3}, 0.5},
    };
    for (const bool twoTailed : {true, false}) {
        CAPTURE(twoTailed);
        auto data = ThreeAlone();
        data->input.nIter = 10;
        data->input.twoTailed = twoTailed;
        RunTest(*data, 1);
        const std::vector<Arrangement> iterations = FirstArrangements(*data, 9);
        for (std::size_t i = 0; i < 9; i++) {
            CHECK(iterations[i].list == drawn[i].list);
            CHECK(iterations[i].statistics[rTE] == doctest::Approx(drawn[i].r).epsilon(sixDigits));
        }
        CHECK(data->input.results[rTE] == doctest::Approx(1.0).epsilon(sixDigits));
        // The observed one, two repeats of it, and two-tailed the four -1.
        CHECK(data->input.probabilities[rTE] == (twoTailed ? 0.7 : 0.3));
    }
}

TEST_CASE("dune: statistics of matrix correlation, and P of 20 arrangements")
{
    auto data = DuneData();
    data->input.nIter = 20;
    data->input.sqrtPhyl = true;
    RunTest(*data, 1);
    const Arrangement first = FirstArrangements(*data, 1)[0];

    // vegan 2.6-4: mantel, mantel.partial. roBF: sign reversed, mantel gives -0.596587735.
    CheckStatistics(data->input.results, {
        {rTE, 0.362180832}, {rXE, 0.482226880}, {rXE_T, 0.342114386}, {rRE, 0.267706583},
        {rXE_TR, 0.313405667}, {roPE, 0.234356661}, {roPT, 0.970936654}, {roPX, 0.663336230},
        {roPX_T, -0.586127563}, {roTE_P, 0.578650607}, {roXE_P, 0.449179437},
        {roXE_TP, 0.049235613}, {roPE_T, -0.525793543}, {roPE_X, -0.130455392},
        {roBF, 0.596587735}, {rFE, 0.221570969},
    });

    // NumPy 1.24, seed_lists.py 1 30 1; then the same R, on OTUs in that order.
    CHECK(first.list == std::vector<int>{13, 30, 23, 29, 5, 9, 14, 2, 12, 7,
                                                 6, 19, 16, 20, 10, 26, 22, 8, 25, 4,
                                                 11, 24, 28, 27, 1, 3, 18, 21, 15, 17});
    CheckStatistics(first.statistics.data(), {
        {rTE, 0.22911407069}, {rXE, 0.17950310389}, {rXE_T, -0.05193418524},
        {rRE, 0.13802291083}, {rXE_TR, -0.06047913681}, {roPE, 0.22236119913},
        {roPT, 0.97601218163}, {roPX, 0.81238095705}, {roPX_T, -0.51685941334},
        {roTE_P, 0.05694210900}, {roXE_P, -0.00200324285}, {roXE_TP, -0.06424781537},
        {roPE_T, -0.00593100065}, {roPE_X, 0.13341855136}, {roBF, -0.03661890671},
        {rFE, 0.26315198278},
    });

    // Counts from R over the 19 lists of seed_lists.py 1 30 19, the observed value included.
    CheckCounts(data->input.probabilities, {
        {rTE, 5}, {rXE, 2}, {rXE_T, 2}, {rRE, 2}, {rXE_TR, 3}, {roPE, 9}, {roPT, 15}, {roPX, 5},
        {roPX_T, 10}, {roTE_P, 1}, {roXE_P, 1}, {roXE_TP, 16}, {roPE_T, 1}, {roPE_X, 11},
        {roBF, 1}, {rFE, 9},
    });
}

TEST_CASE("aravo: statistics of matrix correlation, and P of 20 arrangements")
{
    auto data = AravoData();
    data->input.nIter = 20;
    RunTest(*data, 1);
    const Arrangement first = FirstArrangements(*data, 1)[0];

    // vegan 2.6-4: mantel, mantel.partial
    CheckStatistics(data->input.results, {
        {rTE, 0.284662140}, {rXE, 0.424623739}, {rXE_T, 0.333890005}, {rRE, 0.267240093},
        {rXE_TR, 0.290943626},
    });
    CheckStatistics(first.statistics.data(), {
        {rTE, 0.3051656544}, {rXE, 0.3004434960}, {rXE_T, 0.1212454824}, {rRE, 0.0870846828},
        {rXE_TR, 0.1235387583},
    });
    CheckCounts(data->input.probabilities, {
        {rTE, 3}, {rXE, 1}, {rXE_T, 1}, {rRE, 2}, {rXE_TR, 1},
    });
}

TEST_CASE("statistics of the RV and Procrustes coefficients")
{
    struct Case { const char* fact; bool dune; int measure; Expected expected; };
    // ade4 1.7-22: coinertia()$RV; vegan 2.6-4: protest()$t0; partial: on residuals of lm, which
    // is the same as long as there are no more control variables than (n - 2) / 2.
    const Case cases[] = {
        {"dune, RV", true, 3,
         {{rTE, 0.450826130}, {rXE, 0.580318839}, {rRE, 0.346004481}, {rXE_T, 0.171313954},
          {rXE_TR, 0.186193303}, {roPE, 0.306476574}, {roPT, 0.975318333}, {roPX, 0.597158580},
          {roPX_T, 0.437226014}}},
        {"dune, Procrustes", true, 2,
         {{rTE, 0.651592236}, {rXE, 0.740599141}, {rRE, 0.472611813}, {rXE_T, 0.393605712},
          {rXE_TR, 0.398005144}, {roPE, 0.532855583}, {roPT, 0.949268492}, {roPX, 0.799041078},
          {roPX_T, 0.633582986}}},
        {"aravo, RV", false, 3,
         {{rTE, 0.418460614}, {rXE, 0.543564163}, {rRE, 0.332896457}, {rXE_T, 0.143596329},
          {rXE_TR, 0.146894381}}},
        {"aravo, Procrustes", false, 2,
         {{rTE, 0.513847291}, {rXE, 0.581711666}, {rRE, 0.424791666}, {rXE_T, 0.320150961},
          {rXE_TR, 0.324084863}}},
    };
    for (const Case& c : cases) {
        CAPTURE(c.fact);
        auto data = c.dune ? DuneData() : AravoData();
        data->input.measure = c.measure;
        data->input.sqrtPhyl = true;
        RunTest(*data, 1);
        CheckStatistics(data->input.results, c.expected);
    }
}

TEST_CASE("dune: regression of trait averages and diversity on the variables")
{
    auto data = DuneData();
    data->input.measure = 4;
    data->input.sqrtPhyl = true;
    RunTest(*data, 1);
    // R 4.2: summary(lm(y ~ E))$r.squared for the 7 traits, Rf and Rp
    const double rSquares[] = {0.364762480, 0.742465657, 0.792715200, 0.875707682, 0.747199315,
                               0.662582234, 0.316427292, 0.423354068, 0.529304843};
    for (int j = 0; j < 9; j++)
        CHECK(data->regression.rSquare[j] == doctest::Approx(rSquares[j]).epsilon(sixDigits));
    // coef(lm(Rf ~ E))
    const double coefficients[] = {0.0414691029, 0.0428965663, -0.0930670881};
    CHECK(data->regression.intercept[7] == doctest::Approx(0.4228951520).epsilon(sixDigits));
    for (int v = 0; v < 3; v++)
        CHECK(data->regression.coefficient[v][7] == doctest::Approx(coefficients[v]).epsilon(sixDigits));
}

TEST_CASE("aravo: pseudo-F of the landform")
{
    auto data = AravoData();
    OwnedRows form(75, 1);
    ReadExample("aravo/E_nominal.txt", 75, 1, form);
    data->input.E = form;
    data->input.nEnvSelected = 1;
    data->input.measure = 5;
    RunTest(*data, 1);
    // vegan 2.6-4: adonis2, sum of squares of the factor / residual sum of squares
    CHECK(data->F.T[0] == doctest::Approx(0.331749302).epsilon(sixDigits));
    CHECK(data->F.X[0] == doctest::Approx(0.958812844).epsilon(sixDigits));
    CHECK(data->F.Rf[0] == doctest::Approx(0.299811688).epsilon(sixDigits));
    CHECK(data->F.traits[0][0] == doctest::Approx(0.273551517).epsilon(sixDigits));
    CHECK(data->F.traits[0][7] == doctest::Approx(0.163637541).epsilon(sixDigits));
}
