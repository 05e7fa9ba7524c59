// SPDX-License-Identifier: GPL-3.0-or-later
#include "numeric/statistics.hpp"

#include <doctest/doctest.h>

#include <cfloat>
#include <limits>

#include "unit/numeric/tables.hpp"

using tables::Table;

namespace {

const double notANumber = std::numeric_limits<double>::quiet_NaN();
const double infinity = std::numeric_limits<double>::infinity();

using Values = std::vector<double>;

int Size(const Values& x) { return static_cast<int>(x.size()); }

Values Ranked(void (*rank)(int, const double*, double*), const Values& x)
{
    Values result(x.size());
    rank(Size(x), x.data(), result.data());
    return result;
}

} // namespace

TEST_CASE("AlmostEqual2sComplement compares at single-precision grain")
{
    const double ulp = std::ldexp(1.0, -23); // distance of floats from 1 on
    const double smallest = std::ldexp(1.0, -149);
    struct Case {
        const char* fact;
        double A, B;
        int maxUlps;
        bool expected;
    };
    const Case cases[] = {
        {"neighbouring floats", 1.0, 1.0 + ulp, 1, true},
        {"rounds to the second, 1.00000024", 1.0, 1.0000002, 1, false},
        {"across zero: two steps", smallest, -smallest, 1, false},
        {"largest float and infinity are neighbours", FLT_MAX, infinity, 1, true},
        {"a NaN is near itself only", notANumber, notANumber, 1, true},
        // 2.0 is pattern 0x40000000, -2.0 is its negative: the difference is 0x80000000.
        {"2 and -2: the distance has no absolute value", 2.0, -2.0, 1, true},
    };
    for (const Case& c : cases) {
        CAPTURE(c.fact);
        CHECK(AlmostEqual2sComplement(c.A, c.B, c.maxUlps) == c.expected);
        CHECK(AlmostEqual2sComplement(c.B, c.A, c.maxUlps) == c.expected);
    }
}

TEST_CASE("comparisons built on it")
{
    for (const bool isAbsolute : {true, false})
        CHECK(IsLargerThanOrEqual(-0.7, 0.5, 1, isAbsolute) == isAbsolute);
    CHECK(IsLargerThanOrEqual(0.5, 0.5 + 1e-9, 1, false)); // below, but within a unit
    CHECK_FALSE(IsLargerThanOrEqual(0.5, 0.5001, 1, false));
    CHECK(std::isnan(Fmax(1.0, notANumber)));
    CHECK(Fmin(notANumber, 1.0) == 1.0);
    CHECK((Fmax(2.0, 3.0) == 3.0 && Fmin(2.0, 3.0) == 2.0));
}

TEST_CASE("moments and extremes")
{
    double mean = 0;
    double sd = 0;
    MeanStDev(4, Values{2, 4, 4, 9}.data(), &mean, &sd);
    CHECK(mean == 4.75);
    CHECK(sd == doctest::Approx(2.986078811194819).epsilon(1e-14)); // R 4.2: sd(c(2, 4, 4, 9))
    MeanStDev(1, Values{2}.data(), &mean, &sd);
    CHECK(std::isnan(sd));

    CHECK(maxVector(3, Values{-5, -999, -7}.data()) == -5);
    CHECK(minVector(3, Values{-5, -999, -7}.data()) == -999);
}

TEST_CASE("states and groups")
{
    // Missing is none; truncated, -0.5 is state 0; negative ones don't count; as large as an int.
    CHECK(CountStates(4, Values{0, 2, 2, -999}.data()) == 2);
    CHECK(CountStates(5, Values{1.2, 1.9, -0.5, 0.4, -1}.data()) == 2);
    CHECK(CountStates(3, Values{-3e9, 0, 3e9}.data()) == 2);

    const int labels[] = {7, -2, 7, 0, 11, -2};
    const int selected[] = {1, 0, 1, 1, 2, 0}; // only 1 selects
    int nGroups = 0;
    std::vector<int> groups(6, 99);
    CountGroupsNew(6, labels, &nGroups, groups.data());
    CHECK(nGroups == 4);
    CHECK(groups == std::vector<int>{-2, 0, 7, 11, 99, 99});

    CountGroupsSelect(6, labels, selected, &nGroups, groups.data());
    CHECK(nGroups == 2);
    CHECK((groups[0] == 0 && groups[1] == 7));
}

TEST_CASE("ranks and sort orders")
{
    CHECK(Ranked(RankVector, {3, 1, 2}) == Values{2, 3, 1});
    CHECK(Ranked(RankVectorAbs, {-3, 1, -2}) == Values{2, 3, 1});
    CHECK(Ranked(RankVector, Values(8, 1.5)) == Values{6, 4, 7, 1, 5, 2, 3, 8}); // as sort2's ties

    CHECK(Ranked(RankVectorAdjMV, {-1000, 5, -999}) == Values{0, 2, -999}); // below the code
    // R 4.2: rank(c(2.5, 0, 9, 2.5, 4, 0, 2.5, 7, 1, 9))
    CHECK(Ranked(RankVectorAdjMV, {2.5, 0, 9, 2.5, 4, 0, 2.5, 7, 1, 9}) ==
          Values{5, 1.5, 9.5, 5, 7, 1.5, 5, 8, 3, 9.5});
}

TEST_CASE("MatrixPercentile: the least value whose share is strictly above")
{
    Table M({{1, 3}, {3, 2}}), holes({{-999, 8}, {6, -999}});
    CHECK(MatrixPercentile(2, 2, M, 0.5) == 3); // ties share a rank: 3.5 / 4
    CHECK(MatrixPercentile(2, 2, M, 0.49) == 2);
    CHECK(MatrixPercentile(2, 2, holes, 0.4) == 8); // missing cells count in the divisor: 2 / 4
    CHECK(MatrixPercentile(2, 2, M, 1.0) == static_cast<double>(FLT_MAX));
}
