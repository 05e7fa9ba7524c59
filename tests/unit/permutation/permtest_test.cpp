// The permutation test against its plain form (reference/plain_permtest.hpp): every statistic,
// every P and every matrix must have the same bytes, whatever is done to be fast.
#include <doctest/doctest.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <functional>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include <omp.h>

#include "permutation/permtest.hpp"
#include "numeric/vectorpath.hpp"
#include "permutation/models.hpp"
#include "numeric/random.hpp"
#include "reference/permtest_data.hpp"
#include "reference/plain_permtest.hpp"
#include "unit/shell/shell_fixture.hpp"

namespace {

using Input = PermTest_FunctionalPhyl_Correl_Input;
using Change = std::function<void(PermTestData&)>;

constexpr unsigned long seed = 7;

bool SameBytes(int n, const double* a, const double* b)
{
    return std::memcmp(a, b, sizeof(double) * static_cast<std::size_t>(n)) == 0;
}

bool SameRows(int rows, int columns, double** a, double** b)
{
    for (int i = 0; i < rows; i++)
        if (!SameBytes(columns, a[i], b[i])) return false;
    return true;
}

std::string RegressionDifference(const PermTestData& a, const PermTestData& b)
{
    const int m = a.t + (a.input.hasPhylogenyInput ? 2 : 1);
    if (!SameBytes(m, a.rSquare, b.rSquare)) return "r square";
    if (!SameBytes(m, a.intercept, b.intercept)) return "intercepts";
    if (!SameBytes(m, a.pRSquare, b.pRSquare)) return "P of r square";
    if (!SameRows(a.e, m, a.coefficient, b.coefficient)) return "coefficients";
    if (!SameRows(a.e, m, a.pCoefficient, b.pCoefficient)) return "P of coefficients";
    return "";
}

std::string AnovaDifference(const PermTestData& a, const PermTestData& b)
{
    if (!SameBytes(a.e, a.fT, b.fT) || !SameBytes(a.e, a.pT, b.pT)) return "F on T";
    if (!SameBytes(a.e, a.fX, b.fX) || !SameBytes(a.e, a.pX, b.pX)) return "F on X";
    if (!SameBytes(a.e, a.fRf, b.fRf) || !SameBytes(a.e, a.pRf, b.pRf)) return "F on Rf";
    for (int v = 0; v < a.e; v++)
        for (int j = 0; j < a.t; j++)
            if (a.selected[j] == 1 && (!SameBytes(1, a.fTraits[v] + j, b.fTraits[v] + j) ||
                                       !SameBytes(1, a.pTraits[v] + j, b.pTraits[v] + j)))
                return "F on trait " + std::to_string(j + 1);
    if (!a.input.hasPhylogenyInput) return "";
    if (!SameBytes(a.e, a.fP, b.fP) || !SameBytes(a.e, a.pP, b.pP)) return "F on P";
    if (!SameBytes(a.e, a.fRp, b.fRp) || !SameBytes(a.e, a.pRp, b.pRp)) return "F on Rp";
    return "";
}

// Names the first thing that differs; empty if all bytes agree.
std::string Difference(const PermTestData& a, const PermTestData& b)
{
    for (int which = 0; which < nStatistics; which++) {
        if (!SameBytes(1, a.input.results + which, b.input.results + which))
            return "statistic " + std::to_string(which);
        if (!SameBytes(1, a.input.probabilities + which, b.input.probabilities + which))
            return "P of statistic " + std::to_string(which);
    }
    if (!SameRows(a.n, a.t, a.T, b.T)) return "T";
    if (!SameRows(a.n, a.g, a.X, b.X)) return "X";
    if (!SameRows(a.n, a.g, a.P, b.P)) return "P";
    if (!SameBytes(a.n, a.Rf, b.Rf) || !SameBytes(a.n, a.Rp, b.Rp)) return "Rao entropy";
    if (!SameRows(a.n, a.s, a.W, b.W) || !SameRows(a.s, a.t, a.B, b.B) ||
        !SameRows(a.s, a.g, a.U, b.U) || !SameRows(a.s, a.g, a.Q, b.Q) ||
        !SameRows(a.n, a.e, a.E, b.E) || !SameRows(a.n, a.n, a.DE, b.DE))
        return "an input was changed";
    if (a.input.measure == 4) return RegressionDifference(a, b);
    if (a.input.measure == 5) return AnovaDifference(a, b);
    return "";
}

std::unique_ptr<PermTestData> Prepared(const PermTestShape& shape, const Change& change)
{
    auto data = MakePermTestData(shape);
    change(*data);
    return data;
}

void RunReal(PermTestData& data)
{
    const Captured progress(stdout);
    InitRndNumberGenerator(seed);
    PermTest_FunctionalPhyl_Correl(&data.input);
}

std::string DifferenceFromPlain(const PermTestShape& shape, const Change& change)
{
    auto plain = Prepared(shape, change), real = Prepared(shape, change);
    {
        const Captured complaints(stdout);
        PlainPermTest(&plain->input, seed);
    }
    RunReal(*real);
    return Difference(*plain, *real);
}

// With the vector instructions of any machine, then with the best of this one.
void ForEachPath(const std::function<void()>& check)
{
    for (const char* path : {"baseline", "avx2", "avx512"}) {
        if (!ChoosePath(path)) continue; // this machine lacks them
        CAPTURE(std::string(path));
        check();
    }
    ChoosePath(nullptr);
}

void AsDissimilarity(PermTestData& data)
{
    for (int i = 0; i < data.s; i++)
        for (int j = 0; j < data.s; j++) data.Sf[i][j] = 1.0 - data.Sf[i][j];
    data.input.sqrtPhyl = true;
    DeriveFromPhylogeny(data, true);
}

void Similarity(PermTestData& data) { DeriveFromPhylogeny(data, false); }

void Factors(PermTestData& data)
{
    for (int k = 0; k < data.n; k++)
        for (int v = 0; v < data.e; v++) data.E[k][v] = k % (v + 2) + (k % 2 == 0 ? 0.9 : 0.0);
    data.relSelect[1] = 0;
}

struct Case {
    std::string fact;
    Change change;
};

} // namespace

TEST_CASE("64 lists give the bytes of the plain form")
{
    const Case cases[] = {
        {"taxa move", [](PermTestData&) {}},
        {"taxa move, with phylogeny", Similarity},
        {"sites move, phylogenetic distances",
         [](PermTestData& data) {
             AsDissimilarity(data);
             data.input.shuffleKind = 's';
         }},
    };
    for (const PermTestShape& shape : {tinyShape, smallShape, missingShape})
        for (const Case& c : cases) {
            const Change change = [&c](PermTestData& data) {
                data.input.nIter = 65;
                c.change(data);
            };
            auto plain = Prepared(shape, change);
            PlainPermTest(&plain->input, seed);
            CAPTURE(std::string(shape.name));
            CAPTURE(c.fact);
            ForEachPath([&] {
                auto real = Prepared(shape, change);
                RunReal(*real);
                CHECK(Difference(*plain, *real) == "");
            });
        }
}

TEST_CASE("the examples, whose plain form is checked against other programs")
{
    for (const auto make : {DuneData, AravoData})
        for (const int measure : {1, 2, 3}) {
            auto plain = make(), real = make();
            for (PermTestData* data : {plain.get(), real.get()}) {
                data->input.measure = measure;
                data->input.nIter = measure == 1 ? 40 : 5;
            }
            PlainPermTest(&plain->input, seed);
            RunReal(*real);
            CAPTURE(plain->s);
            CAPTURE(measure);
            CHECK(Difference(*plain, *real) == "");
        }
}

TEST_CASE("any number of iterations and threads")
{
    const int threadsBefore = omp_get_max_threads();
    for (const int shuffled : {'t', 's'})
        for (const int nIter : {0, 1, 2, 7, 9, 17, 100}) {
            const Change change = [nIter, shuffled](PermTestData& data) {
                Similarity(data);
                data.input.nIter = nIter;
                data.input.shuffleKind = shuffled;
            };
            auto plain = Prepared(tinyShape, change);
            PlainPermTest(&plain->input, seed);
            CAPTURE(nIter);
            if (nIter < 2) CHECK(plain->input.probabilities[rTE] == 1.0 / nIter);
            for (const int threads : {1, 2, 3, 7}) {
                omp_set_num_threads(threads);
                CAPTURE(threads);
                ForEachPath([&] {
                    auto real = Prepared(tinyShape, change);
                    RunReal(*real);
                    CHECK(Difference(*plain, *real) == "");
                });
            }
        }
    omp_set_num_threads(threadsBefore);
}

TEST_CASE("every option gives the bytes of the plain form")
{
    const Case options[] = {
        {"as they come", [](PermTestData&) {}},
        {"no phylogeny", [](PermTestData& data) { data.input.hasPhylogenyInput = false; }},
        {"phylogenetic distances", AsDissimilarity},
        {"no square roots", [](PermTestData& data) { data.input.sqrtTraits = false; }},
        {"square roots on phylogeny", [](PermTestData& data) { data.input.sqrtPhyl = true; }},
        {"one-tailed", [](PermTestData& data) { data.input.twoTailed = false; }},
        {"occurrences are drawn", [](PermTestData& data) { data.input.weightedNull = true; }},
        {"within groups", [](PermTestData& data) { data.input.restrictKind = 1; }},
        {"one OTU in a group",
         [](PermTestData& data) {
             data.input.restrictKind = 1;
             data.nesting[3] = -5;
         }},
        {"an OTU of weight 0", [](PermTestData& data) { data.weights[2] = data.weights[7] = 0; }},
        {"weight 0, scale kept",
         [](PermTestData& data) {
             data.weights[2] = data.weights[7] = 0;
             data.input.keepScale = true;
         }},
        {"entropy within the selected",
         [](PermTestData& data) {
             data.weights[2] = data.weights[7] = 0;
             data.input.restrictRao = true;
         }},
        {"within the selected, scale kept",
         [](PermTestData& data) {
             data.weights[2] = data.weights[7] = 0;
             data.input.restrictRao = data.input.keepScale = true;
         }},
        {"a trait out of use",
         [](PermTestData& data) {
             data.selected[1] = 0;
             DeriveFromTraits(data);
         }},
        {"few predictors allowed", [](PermTestData& data) { data.input.overfitFactor = 3.5; }},
    };
    for (const int measure : {1, 2, 3, 4, 5})
        for (const int shuffled : {'t', 's'})
            for (const Case& c : options) {
                CAPTURE(measure);
                CAPTURE(std::string(1, static_cast<char>(shuffled)));
                CAPTURE(c.fact);
                CHECK(DifferenceFromPlain(tinyShape, [&](PermTestData& data) {
                          Similarity(data);
                          data.input.nIter = 12;
                          data.input.measure = measure;
                          data.input.shuffleKind = shuffled;
                          if (measure == 5) Factors(data);
                          c.change(data);
                      }) == "");
            }
}

TEST_CASE("resemblance between communities: every answer of the dialogue, and beyond")
{
    for (int option = 0; option <= 11; option++)
        for (const int shuffled : {'t', 's'})
            for (const int measure : {1, 5}) {
                CAPTURE(option);
                CAPTURE(std::string(1, static_cast<char>(shuffled)));
                CAPTURE(measure);
                CHECK(DifferenceFromPlain(tinyShape, [&](PermTestData& data) {
                          Similarity(data);
                          data.input.nIter = 12;
                          data.input.shuffleKind = shuffled;
                          data.input.measure = measure;
                          data.input.communityResemblance = option;
                          if (measure == 5) Factors(data);
                      }) == "");
            }
    // Deliberate: without a measure all distances of X are 0 and correlate 0.
    auto data = MakePermTestData(tinyShape);
    data->input.communityResemblance = 7;
    RunReal(*data);
    CHECK(data->input.results[rXE] == 0.0);
    CHECK(data->input.results[rTE] != 0.0);
}

TEST_CASE("edges of the data")
{
    const double infinite = std::numeric_limits<double>::infinity();
    const PermTestShape alone = {"one OTU", 6, 1, 2, 2, 1, 1.0, 0.0, false};
    const PermTestShape oneCommunity = {"one community", 1, 8, 3, 2, 3, 0.8, 0.0, false};
    const PermTestShape two = {"two communities", 2, 8, 3, 2, 3, 0.6, 0.0, false};
    const PermTestShape three = {"three communities", 3, 8, 3, 2, 3, 0.6, 0.0, false};
    const PermTestShape oneType = {"one type", 6, 8, 3, 2, 1, 0.6, 0.0, false};
    const PermTestShape full = {"no empty cell", 9, 17, 5, 2, 4, 3.1, 0.0, true};
    struct EdgeCase { std::string fact; PermTestShape shape; Change change; };
    const EdgeCase cases[] = {
        {"one OTU", alone, [](PermTestData&) {}},
        {"one community", oneCommunity, [](PermTestData&) {}},
        {"two communities", two, [](PermTestData&) {}},
        {"three communities", three, [](PermTestData&) {}},
        {"one type", oneType, [](PermTestData&) {}},
        {"every OTU everywhere", full, [](PermTestData&) {}},
        {"a community without OTUs", tinyShape,
         [](PermTestData& data) { for (int i = 0; i < data.s; i++) data.W[4][i] = 0.0; }},
        {"a community of one OTU", tinyShape,
         [](PermTestData& data) {
             for (int i = 0; i < data.s; i++) data.W[4][i] = i == 3 ? 1.0 : 0.0;
         }},
        {"performances that are no shares", tinyShape,
         [](PermTestData& data) {
             for (int i = 0; i < data.s; i++) data.W[4][i] *= 37.5;
         }},
        {"a constant trait", tinyShape,
         [](PermTestData& data) {
             for (int i = 0; i < data.s; i++) data.rawB[i][1] = 2.385;
             DeriveFromTraits(data);
         }},
        {"an infinite trait value", tinyShape,
         [infinite](PermTestData& data) { data.B[2][1] = infinite; }},
        {"a missing trait value", tinyShape,
         [](PermTestData& data) {
             data.rawB[2][1] = data.rawB[5][0] = -999.0;
             DeriveFromTraits(data);
         }},
        {"products that overflow, and signs that cancel", tinyShape,
         [](PermTestData& data) {
             for (int i = 0; i < data.s; i++) {
                 data.B[i][0] = i % 2 == 0 ? 1e300 : -1e300;
                 for (int k = 0; k < data.n; k++) data.W[k][i] *= 1e10;
             }
         }},
        {"an OTU of unknown types", tinyShape,
         [](PermTestData& data) { for (int c = 0; c < data.g; c++) data.U[2][c] = -999.0; }},
        {"a hole in the composition", tinyShape,
         [](PermTestData& data) { data.W[3][5] = -999.0; }},
        {"an unknown pair of OTUs", tinyShape,
         [](PermTestData& data) { data.Sb[2][6] = data.Sf[1][7] = -999.0; }},
        {"similarities above 1 by rounding", tinyShape,
         [](PermTestData& data) { data.Sb[2][6] = data.Sf[1][7] = 1.0 + 1e-15; }},
        {"a phylogeny with another diagonal", tinyShape,
         [](PermTestData& data) { for (int i = 0; i < data.s; i++) data.Sf[i][i] = 0.5; }},
        {"phylogeny in the upper triangle only", tinyShape,
         [](PermTestData& data) {
             for (int i = 0; i < data.s; i++)
                 for (int j = 0; j < i; j++) data.Sb[i][j] = data.Sf[i][j] = 0.125;
         }},
        {"a distance between communities unknown", tinyShape,
         [](PermTestData& data) { data.DE[2][5] = data.DY[0][1] = -999.0; }},
        {"all distances the same", tinyShape,
         [](PermTestData& data) {
             for (int i = 0; i < data.n; i++)
                 for (int k = 0; k < data.n; k++) data.DE[i][k] = 2.385;
         }},
        {"a distance that is no number", tinyShape,
         [](PermTestData& data) { data.DE[2][5] = std::nan(""); }},
        {"fewer occurrences than OTUs", tinyShape,
         [](PermTestData& data) {
             for (int k = 0; k < data.n; k++)
                 for (int i = 0; i < data.s; i++) data.W[k][i] = i == k % 3 && k < 7 ? 1.0 : 0.0;
             data.input.weightedNull = true;
         }},
    };
    for (const EdgeCase& c : cases)
        for (const int shuffled : {'t', 's'})
            for (const int option : {6, 10}) {
                CAPTURE(c.fact);
                CAPTURE(std::string(1, static_cast<char>(shuffled)));
                CAPTURE(option);
                CHECK(DifferenceFromPlain(c.shape, [&](PermTestData& data) {
                          Similarity(data);
                          data.input.nIter = 22;
                          data.input.shuffleKind = shuffled;
                          data.input.communityResemblance = option;
                          data.input.sqrtPhyl = true;
                          c.change(data);
                      }) == "");
            }
}

TEST_CASE("moving sites leaves the phylogenetic signal untested")
{
    auto data = MakePermTestData(tinyShape);
    Similarity(*data);
    data->input.nIter = 40;
    data->input.shuffleKind = 's';
    RunReal(*data);
    CHECK(data->input.results[roBF] != 0.0);
    CHECK(data->input.probabilities[roBF] == 1.0 / 40);
    CHECK(data->input.probabilities[roPE] > 1.0 / 40);
}

TEST_CASE("intermediate results tell the arrangements and change none")
{
    const Change change = [](PermTestData& data) {
        Similarity(data);
        data.input.nIter = 11;
    };
    auto plain = Prepared(tinyShape, change), real = Prepared(tinyShape, change);
    std::vector<PlainIteration> iterations;
    PlainPermTest(&plain->input, seed, &iterations);

    const OutputFile file(std::tmpfile());
    real->input.saveIntermediate = true;
    real->input.intermediateFile = file;
    RunReal(*real);
    CHECK(Difference(*plain, *real) == "");

    const std::string text = TextOf(file);
    char line[200];
    std::size_t from = 0;
    for (std::size_t i = 0; i < iterations.size(); i++) {
        std::string order = "\nOrder of original OTUs in permuted traits matrix Brnd:\t";
        for (const int otu : iterations[i].list) order += std::to_string(otu) + "\t";
        from = text.find(order, from);
        REQUIRE(from != std::string::npos);
        std::snprintf(line, sizeof line, "\nIteration %d\tRandom ro(TE) =\t%g\t",
                      static_cast<int>(i) + 1, iterations[i].statistics[rTE]);
        from = text.find(line, from);
        REQUIRE(from != std::string::npos);
        std::snprintf(line, sizeof line, "Random ro(PE.X) =\t%g\t",
                      iterations[i].statistics[roPE_X]);
        from = text.find(line, from);
        REQUIRE(from != std::string::npos);
    }
}

TEST_CASE("sums of squares from dissimilarities")
{
    // Four objects at 0, 1, 3, 7 on a line; groups 5 5 2 2. By hand.
    OwnedRows D(4, 4);
    const double at[] = {0.0, 1.0, 3.0, 7.0};
    for (int i = 0; i < 4; i++)
        for (int k = i; k < 4; k++) D[i][k] = at[k] - at[i]; // upper triangle only
    int all[] = {1, 1, 1, 1}, three[] = {1, 0, 1, 1}, none[] = {0, 0, 0, 0};
    int groups[] = {5, 5, 2, 2};
    // squares 1, 9, 49, 4, 36, 16 over 4; unsquared 1, 3, 7, 2, 6, 4
    CHECK(WithinGrSqDissim(4, D, all, false) == 115.0 / 4);
    CHECK(WithinGrSqDissim(4, D, all, true) == 23.0 / 4);
    CHECK(WithinGrSqDissim(4, D, three, false) == doctest::Approx(74.0 / 3));
    CHECK(WithinGrSqDissim(4, D, none, false) == 0.0);

    double between = 0.0, total = 0.0;
    CHECK(BetweenGrSqDissim(4, D, groups, &between, &total, all, false) == 28.75 - 0.5 - 8.0);
    CHECK(total == 28.75);
    CHECK(between == 20.25);
    // The first group is down to one object, whose sum is 0.
    CHECK(BetweenGrSqDissim(4, D, groups, &between, &total, three, false) ==
          doctest::Approx(74.0 / 3 - 8.0));
}
