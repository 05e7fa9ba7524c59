// SPDX-License-Identifier: GPL-3.0-or-later
// Whatever form the driver picks, with any vectors and threads: the bytes of the general form.
#include <doctest/doctest.h>
#include <omp.h>

#include <cmath>
#include <cstring>
#include <limits>

#include "numeric/vectorpath.hpp"
#include "permutation/estimating.hpp"
#include "permutation/statistics.hpp"
#include "unit/permutation/permutation_fixture.hpp"

namespace {

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

// Names the first thing that differs; empty if all bytes agree.
std::string Difference(PermTestData& a, PermTestData& b)
{
    const auto ofA = Comparisons(a.input), ofB = Comparisons(b.input);
    for (std::size_t c = 0; c < ofA.size(); c++) {
        if (!SameBytes(1, ofA[c].observed, ofB[c].observed)) return "value " + std::to_string(c);
        if (!SameBytes(1, ofA[c].probability, ofB[c].probability)) return "P " + std::to_string(c);
    }
    if (!SameBytes(a.t + 2, a.regression.intercept, b.regression.intercept)) return "intercepts";
    if (!SameRows(a.n, a.t, a.T, b.T)) return "T";
    if (!SameRows(a.n, a.g, a.X, b.X)) return "X";
    if (!SameRows(a.n, a.g, a.P, b.P)) return "P";
    if (!SameBytes(a.n, a.Rf, b.Rf) || !SameBytes(a.n, a.Rp, b.Rp)) return "Rao entropy";
    if (!SameRows(a.n, a.s, a.W, b.W) || !SameRows(a.s, a.t, a.B, b.B) ||
        !SameRows(a.s, a.g, a.U, b.U) || !SameRows(a.s, a.g, a.Q, b.Q) ||
        !SameRows(a.n, a.e, a.E, b.E) || !SameRows(a.n, a.n, a.DE, b.DE))
        return "an input was changed";
    return "";
}

std::unique_ptr<PermTestData> General(const PermTestShape& shape, const Change& change)
{
    auto data = Prepared(shape, change);
    const OutputFile nowhere(std::fopen("/dev/null", "w"));
    RunGeneral(*data, nowhere);
    return data;
}

std::string DifferenceFromGeneral(const PermTestShape& shape, const Change& change)
{
    auto general = General(shape, change), picked = Prepared(shape, change);
    RunTest(*picked);
    return Difference(*general, *picked);
}

// With the vectors of any machine, then with all that this one has.
void ForEachPath(const std::function<void()>& check)
{
    for (const char* path : {"baseline", "avx2", "avx512"}) {
        if (!ChoosePath(path)) continue; // this machine lacks them
        CAPTURE(std::string(path));
        check();
    }
    ChoosePath(nullptr);
}

} // namespace

TEST_CASE("64 lists on every vector path")
{
    const Variant cases[] = {
        {"taxa move", [](PermTestData&) {}},
        {"taxa move, with phylogeny", AsSimilarity},
        {"sites move, phylogenetic distances",
         [](PermTestData& data) {
             AsDissimilarity(data);
             data.input.shuffleKind = 's';
         }},
    };
    for (const PermTestShape& shape : {tinyShape, smallShape, missingShape})
        for (const Variant& c : cases) {
            const Change change = [&c](PermTestData& data) {
                data.input.nIter = 65;
                c.change(data);
            };
            CAPTURE(std::string(shape.name));
            CAPTURE(c.fact);
            auto general = General(shape, change);
            ForEachPath([&] {
                auto picked = Prepared(shape, change);
                RunTest(*picked);
                CHECK(Difference(*general, *picked) == "");
            });
        }
}

TEST_CASE("ordinary data take the quick form")
{
    for (const PermTestShape& shape : {smallShape, missingShape}) {
        auto data = Prepared(shape, AsSimilarity);
        const PermutationInputs in(data->input);
        const ObservedResemblances unread = {};
        CHECK(EstimatingForm::Make(in, unread) != nullptr);
    }
}

TEST_CASE("any number of iterations and threads")
{
    const int threadsBefore = omp_get_max_threads();
    for (const int shuffled : {'t', 's'})
        for (const int nIter : {0, 1, 2, 7, 9, 17, 100}) {
            const Change change = [nIter, shuffled](PermTestData& data) {
                AsSimilarity(data);
                data.input.nIter = nIter;
                data.input.shuffleKind = shuffled;
            };
            CAPTURE(nIter);
            auto general = General(tinyShape, change);
            if (nIter < 2) CHECK(general->input.probabilities[rTE] == 1.0 / nIter);
            for (const int threads : {1, 2, 3, 7}) {
                CAPTURE(threads);
                omp_set_num_threads(threads);
                ForEachPath([&] {
                    auto picked = Prepared(tinyShape, change);
                    RunTest(*picked);
                    CHECK(Difference(*general, *picked) == "");
                });
            }
        }
    omp_set_num_threads(threadsBefore);
}

TEST_CASE("every measure and option")
{
    const Variant options[] = {
        {"as they come", [](PermTestData&) {}},
        {"no phylogeny", [](PermTestData& data) { data.input.hasPhylogenyInput = false; }},
        {"phylogenetic distances", AsDissimilarity},
        {"no square roots", [](PermTestData& data) { data.input.sqrtTraits = false; }},
        {"square roots on phylogeny", [](PermTestData& data) { data.input.sqrtPhyl = true; }},
        {"one-tailed", [](PermTestData& data) { data.input.twoTailed = false; }},
        {"occurrences are drawn", [](PermTestData& data) { data.input.weightedNull = true; }},
        {"within groups", [](PermTestData& data) { data.input.restrictKind = 1; }},
        {"an OTU of weight 0", [](PermTestData& data) { data.weights[2] = data.weights[7] = 0; }},
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
            for (const Variant& c : options) {
                CAPTURE(measure);
                CAPTURE(std::string(1, static_cast<char>(shuffled)));
                CAPTURE(c.fact);
                CHECK(DifferenceFromGeneral(tinyShape, [&](PermTestData& data) {
                          AsSimilarity(data);
                          data.input.nIter = 12;
                          data.input.measure = measure;
                          data.input.shuffleKind = shuffled;
                          if (measure == 5) AsFactors(data);
                          c.change(data);
                      }) == "");
            }
}

TEST_CASE("resemblance between communities: every answer of the dialogue, and beyond")
{
    for (int option = 0; option <= 11; option++)
        for (const int shuffled : {'t', 's'}) {
            CAPTURE(option);
            CAPTURE(std::string(1, static_cast<char>(shuffled)));
            CHECK(DifferenceFromGeneral(tinyShape, [&](PermTestData& data) {
                      AsSimilarity(data);
                      data.input.nIter = 12;
                      data.input.shuffleKind = shuffled;
                      data.input.communityResemblance = option;
                  }) == "");
        }
    // Deliberate: without a measure all distances of X are 0 and correlate 0.
    auto data = MakePermTestData(tinyShape);
    data->input.communityResemblance = 7;
    RunTest(*data);
    CHECK(data->input.results[rXE] == 0.0);
    CHECK(data->input.results[rTE] != 0.0);
}

TEST_CASE("a test that runs out of memory fails with its code; the sanitizers look for leaks")
{
    const int threadsBefore = omp_get_max_threads();
    omp_set_num_threads(2);
    for (const int measure : {1, 2, 4, 5}) {
        CAPTURE(measure);
        const auto data = Prepared(tinyShape, [measure](PermTestData& d) {
            AsSimilarity(d);
            d.input.measure = measure;
            d.input.nIter = 3;
            if (measure == 5) AsFactors(d);
        });
        long k = 0;
        for (int code = outOfMemory; code == outOfMemory;) {
            FailAllocation(++k);
            code = CodeOf([&data] {
                RunTest(*data);
                const OwnedRegression regression(3, 4);
                const OwnedAnova anova(3, 4);
            });
            FailAllocation(0);
            REQUIRE((code == outOfMemory || code == 0));
        }
        CHECK(k > 60);
    }
    omp_set_num_threads(threadsBefore);
}

TEST_CASE("edges of the data")
{
    using D = PermTestData;
    const double infinite = std::numeric_limits<double>::infinity();
    struct Edge {
        const char* fact;
        PermTestShape shape;
        Change change;
    };
    // clang-format off
    const Edge edges[] = {
        {"one OTU",             {"", 6, 1, 2, 2, 1, 1.0, 0.0, false}, {}},
        {"one community",       {"", 1, 8, 3, 2, 3, 0.8, 0.0, false}, {}},
        {"one type",            {"", 6, 8, 3, 2, 1, 0.6, 0.0, false}, {}},
        {"every OTU everywhere", {"", 9, 17, 5, 2, 4, 3.1, 0.0, true}, {}},
        {"a community without OTUs",             tinyShape, Set(&D::W, 4, every, 0.0)},
        {"a community of one OTU",               tinyShape, Both(Set(&D::W, 4, every, 0.0), Set(&D::W, 4, 3, 1.0))},
        {"a constant trait",                     tinyShape, Set(&D::rawB, every, 1, 2.385)},
        {"an infinite trait value",              tinyShape, Set(&D::B, 2, 1, infinite)},
        {"a missing trait value",                tinyShape, Set(&D::rawB, 2, 1, -999.0)},
        {"products that overflow, and signs that cancel", tinyShape,
         Both(Both(Set(&D::B, every, 0, 1e300), Set(&D::B, 4, 0, -1e300)), Set(&D::W, every, every, 1e10))},
        {"an OTU of unknown types",              tinyShape, Set(&D::U, 2, every, -999.0)},
        {"a hole in the composition",            tinyShape, Set(&D::W, 3, 5, -999.0)},
        {"an unknown similarity",                tinyShape, Set(&D::Sb, 2, 6, -999.0)},
        {"and no phylogeny",                     tinyShape, [](D& d) { d.Sb[2][6] = -999.0; d.input.hasPhylogenyInput = false; }},
        {"an unknown phylogenetic similarity",   tinyShape, Set(&D::Sf, 1, 7, -999.0)},
        {"a similarity above 1 by rounding",     tinyShape, Set(&D::Sb, 2, 6, 1.0 + 1e-15)},
        {"a phylogeny with another diagonal",    tinyShape, [](D& d) { for (int i = 0; i < d.s; i++) d.Sf[i][i] = 0.5; }},
        {"phylogeny in the upper triangle only", tinyShape, [](D& d) { for (int i = 1; i < d.s; i++) d.Sb[i][0] = d.Sf[i][0] = 0.125; }},
        {"a distance between communities unknown", tinyShape, Set(&D::DE, 2, 5, -999.0)},
        {"all distances the same",               tinyShape, Set(&D::DE, every, every, 2.385)},
        {"a distance that is no number",         tinyShape, Set(&D::DE, 2, 5, std::nan(""))},
        {"fewer occurrences than OTUs",          tinyShape, FewOccurrences},
        {"a variable 999 below its mean",        {"", 9, 17, 5, 2, 4, 0.6, 0.0, true},
         [](D& d) { d.input.measure = 4; for (int k = 0; k < d.n; k++) d.E[k][0] = k == 0 ? 0.0 : 1123.875; }},
    };
    // clang-format on
    for (const Edge& edge : edges)
        for (const int shuffled : {'t', 's'})
            for (const int option : {6, 10}) {
                CAPTURE(std::string(edge.fact));
                CAPTURE(std::string(1, static_cast<char>(shuffled)));
                CAPTURE(option);
                CHECK(DifferenceFromGeneral(edge.shape, [&](PermTestData& data) {
                          AsSimilarity(data);
                          data.input.nIter = 22;
                          data.input.shuffleKind = shuffled;
                          data.input.communityResemblance = option;
                          data.input.sqrtPhyl = true;
                          if (edge.change) edge.change(data);
                      }) == "");
            }
}
