// SPDX-License-Identifier: GPL-3.0-or-later
#include "numeric/diversity.hpp"

#include <doctest/doctest.h>

#include <cmath>

#include "unit/functional/tables.hpp"

namespace {

struct Options {
    bool isDissimilarity, sqrtDissim, restrictWithin, keepScale;
};

const Options allOptions[] = {
    {false, false, false, false}, {true, true, true, false}, {false, true, false, true}};

double Rao(int s, double* x, double** M, int* weights, const Options& o)
{
    return RaoIndex_Weight(s, x, M, o.isDissimilarity, o.sqrtDissim, weights, o.restrictWithin,
                           o.keepScale);
}

double PreparedRao(int s, double* x, double** M, int* weights, const Options& o,
                   const int* order = nullptr)
{
    const RaoDissimilarity prepared(s, M, o.isDissimilarity, o.sqrtDissim);
    return RaoIndex_Weight(prepared, x, weights, o.restrictWithin, o.keepScale, order);
}

} // namespace

TEST_CASE("Rao entropy has the same bits by every form") {
    // One more OTU, absent and of unknown resemblance, has the prepared form take the general way.
    const int s = 37;
    for (const Options& o : allOptions)
        for (const bool allSelected : {true, false}) {
            Numbers numbers(5);
            OwnedRows M(s + 1, s + 1), permuted(s + 1, s + 1);
            OwnedVector x(s + 1);
            OwnedInts weights(s + 1), order(s + 1);
            for (int i = 0; i < s; i++) {
                x[i] = numbers.Performance(0.4);
                weights[i] = allSelected ? 1 : numbers.Below(2);
                order[i] = (i * 5 + 3) % s + 1; // a permutation: 5 and 37 share no divisor
                M[i][i] = 1.0;
                for (int j = i + 1; j < s; j++) M[i][j] = M[j][i] = numbers.Uniform();
            }
            for (int i = 0; i <= s; i++) M[i][s] = M[s][i] = -999.0;
            order[s] = s + 1;
            for (int i = 0; i <= s; i++)
                for (int j = 0; j <= s; j++) permuted[i][j] = M[order[i] - 1][order[j] - 1];
            const double quick = PreparedRao(s, x, M, weights, o);
            CHECK(quick == PreparedRao(s + 1, x, M, weights, o));
            CHECK(quick == Rao(s, x, M, weights, o));
            for (const int size : {s, s + 1})
                CHECK(PreparedRao(size, x, M, weights, o, order) ==
                      PreparedRao(s, x, permuted, weights, o));
        }
}

TEST_CASE("beta divergence: the mean distance to all that are nearest in E") {
    Table DE({{0, 1, 2}, {7, 0, 2}, {7, 7, 0}}), DX({{0, 0.4, 0.6}, {7, 0, 0.8}, {7, 7, 0}});
    double out[3];
    BetaDivergence(3, DE, DX, out);
    CHECK((out[0] == 0.4 && out[1] == 0.4 && out[2] == doctest::Approx(0.7)));
}

TEST_CASE("Rao entropy by hand") {
    struct Case {
        const char* fact;
        std::vector<double> x;
        double m12, m13, m23; // resemblances
        std::vector<int> weights;
        Options options;
        double expected;
    };
    const std::vector<int> all = {1, 1, 1}, two = {1, 1, 0};
    const Options plain = {false, false, false, false}, root = {false, true, false, false},
                  dissimilarity = {true, false, false, false}, within = {false, false, true, false},
                  withinScaled = {false, false, true, true};
    const Case cases[] = {
        {"one OTU", {4, 0, 0}, 0.36, 0, 0, all, root, 0.0},
        {"total below 0", {1, -3, 0}, 0.36, 0, 0, all, root, 0.0},
        // 2 * 1/4 * 3/4 * d with the root of d = 0.64, and 0.36
        {"root of a similarity", {1, 3, 0}, 0.36, 0, 0, all, root, 0.3},
        {"dissimilarity", {1, 3, 0}, 0.36, 0, 0, all, dissimilarity, 0.135},
        {"rounded above 1", {1, 3, 0}, 1.0000001, 0, 0, all, root, 0.0},
        // shares 1/4, 1/4, 1/2; d 0.5, 1, 0.2; OTU 3 not selected: every pair but (3,3) counts
        {"one of a pair selected", {1, 1, 2}, 0.5, 0, 0.8, two, plain, 0.3625},
        {"both of a pair selected", {1, 1, 2}, 0.5, 0, 0.8, two, within, 0.0625},
        // these are a quarter of all pairs: 0.0625 / 0.25
        {"on the scale of the whole", {1, 1, 2}, 0.5, 0, 0.8, two, withinScaled, 0.25},
        // pair 1-3 is a quarter of all: (1/16 + 1/20) / (3/4)
        {"an unknown pair", {1, 1, 2}, 0.5, -999, 0.8, all, plain, 0.15},
        {"nothing selected", {1, 1, 2}, 0.5, 0, 0.8, {0, 0, 0}, withinScaled, 0.0},
    };
    for (const Case& c : cases) {
        CAPTURE(c.fact);
        const double self = c.options.isDissimilarity ? 0.0 : 1.0;
        Table M({{self, c.m12, c.m13}, {7, self, c.m23}, {7, 7, self}});
        std::vector<double> x = c.x;
        std::vector<int> weights = c.weights;
        const auto expected = doctest::Approx(c.expected);
        CHECK(PreparedRao(3, x.data(), M, weights.data(), c.options) == expected);
        CHECK(Rao(3, x.data(), M, weights.data(), c.options) == expected);
        CHECK(M[2][1] == c.m23); // the lower triangle follows the upper
    }
}
