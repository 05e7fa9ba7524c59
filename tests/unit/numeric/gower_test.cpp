// SPDX-License-Identifier: GPL-3.0-or-later
#include "numeric/gower.hpp"

#include <doctest/doctest.h>

#include <vector>

#include "unit/numeric/matrices.hpp"

namespace {

using Cells = std::vector<std::vector<double>>;

// binary, nominal, interval, ordinal
Rows MixedTraits()
{
    return {{1, 2, 2.5, 1}, {0, 1, 7.1, 3}, {1, 2, 4.4, 3}, {0, 3, 0.9, 2}, {0, 1, NA, 5}};
}

struct Pair {
    int i, k;
    double expected;
};

void CheckPairs(double** out, const std::vector<Pair>& pairs)
{
    for (const Pair& pair : pairs) {
        CAPTURE(pair.i);
        CAPTURE(pair.k);
        CHECK(out[pair.i - 1][pair.k - 1] == doctest::Approx(pair.expected).epsilon(1e-7));
        CHECK(out[pair.k - 1][pair.i - 1] == out[pair.i - 1][pair.k - 1]);
    }
}

} // namespace

TEST_CASE("Gower similarity of mixed traits against cluster")
{
    int types[] = {1, 2, 3, 4};
    OwnedRows out(5, 5);

    SUBCASE("joint absences do not count")
    {
        Rows data = MixedTraits();
        GowerMVOpt(5, 4, types, data, out, nullptr, nullptr, 0);
        // cluster 2.1.4: 1 - daisy(d, "gower", type = list(asymm = "b")), ordinal column by rank()
        CheckPairs(out, {{1, 2, 0.1582661290322580}, {1, 5, 0.0}, {2, 4, 0.2083333333333334},
                         {2, 5, 0.8125}, {4, 5, 0.125}});
        const double ranks[] = {1, 3.5, 3.5, 2, 5}; // left in the caller's matrix
        for (int i = 0; i < 5; i++) CHECK(data[i][3] == ranks[i]);
    }
    SUBCASE("joint absences count, for any value that is not 0")
    {
        for (const int count : {1, -2}) {
            Rows data = MixedTraits();
            GowerMVOpt(5, 4, types, data, out, nullptr, nullptr, count);
            // cluster 2.1.4: the same with type = list(symm = "b")
            CheckPairs(out, {{1, 2, 0.1582661290322580}, {2, 4, 0.40625}, {2, 5, 0.875},
                             {4, 5, 0.4166666666666666}});
        }
    }
    SUBCASE("weights")
    {
        Rows data = MixedTraits();
        float weights[] = {1, 2, 0.5F, 1.5F};
        GowerMVOpt(5, 4, types, data, out, nullptr, weights, 0);
        // cluster 2.1.4: daisy(..., type = list(asymm = "b"), weights = c(1, 2, 0.5, 1.5))
        CheckPairs(out, {{1, 2, 0.1383064516129032}, {2, 4, 0.2343750000000000},
                         {4, 5, 0.1071428571428571}});
    }
    SUBCASE("GowerMV has no ordinal traits, and takes ranges")
    {
        Rows data = MixedTraits();
        double ranges[] = {0, 0, 31, 0}, weights[] = {1, 1, 2, 7};
        GowerMV(5, 4, types, data, out, ranges, weights);
        // by hand: pair 1, 2: 2 (1 - 4.6/31) / (1 + 1 + 2)
        CheckPairs(out, {{1, 2, 2.0 * (1.0 - 4.6 / 31.0) / 4.0}, {2, 5, 1.0}});
    }
}

TEST_CASE("Gower: the range reaches up to 0 at least, and missing cells are no minimum")
{
    int type = 3;
    const Cells traits = {{-3, -1, -2}, {2, 3, NA}, {3, 3, 3}};
    const double expected[] = {1.0 / 3.0, 0.0, 1.0}; // of the first two; by hand: 1 - 2/3, 1 - 1/1
    for (std::size_t c = 0; c < 3; c++) {
        std::vector<double> x = traits[c];
        Rows data = {{x[0]}, {x[1]}, {x[2]}};
        OwnedRows out(3, 3);
        GowerMVOpt(3, 1, &type, data, out, nullptr, nullptr, 0);
        CHECK(out[0][1] == doctest::Approx(expected[c]));
        GowerMVPartial_dAbsences(3, 3, x.data(), out, 0.0, 1.0, 0);
        CHECK(out[0][1] == doctest::Approx(expected[c]));
    }
}

TEST_CASE("Gower: one trait at a time")
{
    struct Case {
        const char* fact;
        int type;
        double a, b, c;
        double range, weight;
        int count;
        double aa, ab, ac, bc;
    };
    const Case cases[] = {
        {"nominal, missing", 2, 1, NA, NA, 0, 1, 0, 1, NA, NA, NA},
        {"dichotomous, joint absence says nothing", 1, 0, 0, 1, 0, 2, 0, NA, NA, 0, 0},
        {"dichotomous, joint absence agrees", 1, 0, 0, 1, 0, 2, 1, 2, 2, 0, 0},
        {"interval, own range", 3, 1, 2, 5, 0, 1, 0, 1, 0.75, 0, 0.25},
        {"in single precision", 3, 0, 1, 3, 3, 1, 0, 1, 2 / 3.0F, 0, 1 / 3.0F},
        {"interval, given range", 3, 1, 2, 5, 8, 2, 0, 2, 1.75, 1, 1.25},
        {"interval, negative range: full agreement", 3, 1, 2, 5, -8, 2, 0, 2, 2, 2, 2},
        {"ordinal: ranks 1, 3, 2, the given range is not used", 4, 10, 99, 11, 7, 1, 0, 1, 0, 0.5, 0.5},
        {"weight 0 says nothing", 3, 1, 2, 5, 0, 0, 0, NA, NA, NA, NA},
    };
    for (const Case& c : cases) {
        CAPTURE(c.fact);
        double values[] = {c.a, c.b, c.c};
        OwnedRows out(3, 3);
        GowerMVPartial_dAbsences(3, c.type, values, out, c.range, c.weight, c.count);
        const double expected[] = {c.aa, c.ab, c.ac, c.bc, c.bc};
        const double found[] = {out[0][0], out[0][1], out[0][2], out[1][2], out[2][1]};
        for (int cell = 0; cell < 5; cell++) CHECK(found[cell] == expected[cell]);

        double again[] = {c.a, c.b, c.c};
        float packed[6];
        GowerMVPartial_dAbsences(3, c.type, again, packed, c.range, c.weight, c.count);
        for (int i = 0; i < 3; i++)
            for (int k = i; k < 3; k++)
                CHECK(static_cast<double>(packed[i * 3 - i * (i - 1) / 2 + (k - i)]) == out[i][k]);
    }
}
