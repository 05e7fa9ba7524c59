#include "numeric/diversity.hpp"

#include <doctest/doctest.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "numeric/statistics.hpp"
#include "unit/functional/tables.hpp"

namespace {

struct Options {
    bool isDissimilarity, sqrtDissim, restrictWithin, keepScale;
};

const Options allOptions[] = {
    {false, false, false, false}, {false, true, false, false}, {true, true, true, false},
    {true, false, true, true},    {false, true, false, true},  {false, true, true, true},
};

/// The definition: every ordered pair of OTUs, present or not.
double PlainRao(int s, const double* x, double** M, const int* weights, const Options& o)
{
    double total = 0.0;
    for (int i = 0; i < s; i++)
        if (!IsMissing(x[i])) total += x[i];
    if (!(total > 0.0)) return 0.0;
    double Q = 0.0, A = 0.0, B = 0.0, full = 0.0;
    for (int i = 0; i < s; i++)
        for (int j = 0; j < s; j++) {
            const double m = M[std::min(i, j)][std::max(i, j)];
            const double pj = x[j] / total, pi = x[i] / total;
            double w = weights[i] == 1 || weights[j] == 1 ? 1.0 : 0.0;
            if (o.restrictWithin) w = weights[i] * weights[j];
            double d = o.isDissimilarity ? m : 1.0 - m;
            if (o.sqrtDissim) d = !o.isDissimilarity && d < 0.0 ? 0.0 : std::sqrt(d);
            if (!IsMissing(m) && !IsMissing(x[i]) && !IsMissing(x[j])) {
                Q += w * pj * d * pi;
                A += w * pj * pi;
                B += pj * pi;
            }
            full += pj * pi;
        }
    if (B > 0.0 && !o.keepScale) Q /= B / full;
    if (A > 0.0 && o.keepScale) Q /= A / full;
    return Q;
}

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

TEST_CASE("Rao entropy of present OTUs has the bits of the definition") {
    struct Case { const char* fact; double inX, inM; bool allSelected; };
    const int s = 37;
    const double infinity = std::numeric_limits<double>::infinity();
    const Case cases[] = {
        {"plain data", 0.0, 0.5, false},
        {"a missing performance", -999.0, 0.5, false},
        {"both missing", -999.0, -999.0, false},
        {"a negative performance", -0.25, 0.5, true},
        {"a similarity above 1", 0.0, 1.0 + 1e-9, true},
        {"an infinite resemblance of an absent OTU", 0.0, infinity, true},
        {"a resemblance that is no number", 0.0, std::nan(""), false},
    };
    for (const Case& c : cases)
        for (const Options& o : allOptions) {
            CAPTURE(c.fact);
            CAPTURE(o.sqrtDissim);
            CAPTURE(o.keepScale);
            Numbers numbers(5);
            OwnedRows M(s, s), permuted(s, s);
            OwnedVector x(s);
            OwnedInts weights(s), order(s);
            for (int i = 0; i < s; i++) {
                x[i] = numbers.Performance(0.4);
                weights[i] = c.allSelected ? 1 : numbers.Below(2);
                order[i] = (i * 5 + 3) % s + 1; // a permutation: 5 and 37 share no divisor
                M[i][i] = 1.0;
                for (int j = i + 1; j < s; j++) M[i][j] = numbers.Uniform();
            }
            x[2] = 0.0; // absent, and its resemblance to OTU 10 is disturbed
            x[6] = c.inX;
            M[2][9] = c.inM;
            const double expected = PlainRao(s, x, M, weights, o);
            CHECK(SameBits(PreparedRao(s, x, M, weights, o), expected));
            CHECK(SameBits(Rao(s, x, M, weights, o), expected));

            // M is symmetric by now
            for (int i = 0; i < s; i++)
                for (int j = 0; j < s; j++) permuted[i][j] = M[order[i] - 1][order[j] - 1];
            CHECK(SameBits(PreparedRao(s, x, M, weights, o, order),
                           PlainRao(s, x, permuted, weights, o)));
        }
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

TEST_CASE("the plain form of Rao entropy is not rescaled") {
    Table M({{1, 0.5, -999}, {0, 1, 0.8}, {0, 0, 1}});
    double x[] = {1, 1, 2};
    int weights[] = {1, 1, 1};
    // by hand: 1/16 + 1/20, the unknown pair adds nothing
    CHECK(RaoIndex_Weight(3, x, M, false, false, weights, false) == doctest::Approx(0.1125));
}

TEST_CASE("dissimilarity to the nearest neighbours") {
    // by hand: community 1 is as near to 2 as to 3; 2 and 3 are nearest to 1, 4 to 3
    Table DE({{0, 1, 1, 5}, {9, 0, 2, 6}, {9, 9, 0, 4}, {9, 9, 9, 0}});
    Table DX({{0, 0.2, 0.6, 0.1}, {9, 0, 0.3, 0.9}, {9, 9, 0, 0.7}, {9, 9, 9, 0}});
    OwnedVector out(4);
    CHECK(BetaDivergence(4, DE, DX, out));
    const double expected[] = {0.4, 0.2, 0.6, 0.7};
    for (int i = 0; i < 4; i++) CHECK(out[i] == doctest::Approx(expected[i]));
    BetaDivergence(1, DE, DX, out);
    CHECK(std::isnan(out[0]));
}
