#include "numeric/statistics.hpp"

#include <doctest/doctest.h>

#include <cfloat>
#include <csignal>
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
        {"far below single precision", 1.0, 1.0 + 1e-12, 1, true},
        {"neighbouring floats", 1.0, 1.0 + ulp, 1, true},
        {"rounds to the second, 1.00000024", 1.0, 1.0000002, 1, false},
        {"two floats apart, two allowed", 1.0, 1.0 + 2 * ulp, 2, true},
        {"negative, two apart", -1.0, -1.0 - 2 * ulp, 1, false},
        {"zeros", 0.0, -0.0, 1, true},
        {"across zero: two steps", smallest, -smallest, 1, false},
        {"largest float and infinity are neighbours", FLT_MAX, infinity, 1, true},
        {"a NaN is near itself only", notANumber, notANumber, 1, true},
        {"a NaN is no number", notANumber, 1.0, 1, false},
        // 2.0 is pattern 0x40000000, -2.0 is its negative: the difference is 0x80000000.
        {"2 and -2: the distance has no absolute value", 2.0, -2.0, 1, true},
        {"3 and -3 are far apart", 3.0, -3.0, 4194303, false},
    };
    for (const Case& c : cases) {
        CAPTURE(c.fact);
        CHECK(AlmostEqual2sComplement(c.A, c.B, c.maxUlps) == c.expected);
        CHECK(AlmostEqual2sComplement(c.B, c.A, c.maxUlps) == c.expected);
    }
}

TEST_CASE("AlmostEqual2sComplement stops the program on a senseless number of units")
{
    for (const int maxUlps : {0, -1, 4194304}) {
        CAPTURE(maxUlps);
        const tables::Ending ending =
            tables::EndingOf([=] {
                std::signal(SIGABRT, SIG_DFL); // the test runner's own handler is not meant
                AlmostEqual2sComplement(1.0, 1.0, maxUlps);
            });
        REQUIRE(WIFSIGNALED(ending.status));
        CHECK(WTERMSIG(ending.status) == SIGABRT);
        CHECK(ending.complaint.find("maxUlps > 0 && maxUlps < 4 * 1024 * 1024") !=
              std::string::npos);
    }
    CHECK(AlmostEqual2sComplement(1.0, 1.0, 4194303));
}

TEST_CASE("comparisons built on it")
{
    for (const bool isAbsolute : {true, false})
        CHECK(IsLargerThanOrEqual(-0.7, 0.5, 1, isAbsolute) == isAbsolute);
    CHECK(IsLargerThanOrEqual(0.5, 0.5 + 1e-9, 1, false)); // below, but within a unit
    CHECK_FALSE(IsLargerThanOrEqual(0.5, 0.5001, 1, false));
    CHECK_FALSE(IsLargerThanOrEqual(notANumber, 0.5, 1, true));

    CHECK(AlmostEqual_Tolerance(1.0, 1.25, 0.375));
    CHECK_FALSE(AlmostEqual_Tolerance(1.0, 1.25, 0.25)); // strictly below
    CHECK(std::isnan(Fmax(1.0, notANumber)));
    CHECK(Fmin(notANumber, 1.0) == 1.0);
    CHECK((Fmax(2.0, 3.0) == 3.0 && Fmin(2.0, 3.0) == 2.0));
}

TEST_CASE("sums, totals and moments")
{
    const Values x{3, -999, 1, 2};
    CHECK(SumOfSquares(4, x.data()) == 14);
    CHECK(SumOfSquaresDev(4, x.data()) == 2); // by hand: 14 - 36/3
    CHECK(std::isnan(SumOfSquaresDev(0, x.data())));
    CHECK(std::isnan(SumOfSquaresDev(2, Values{-999, -999}.data())));
    CHECK(SumOfSquares(1, Values{-999.0000001}.data()) > 998001); // a number like any other

    double mean = 0;
    double sd = 0;
    MeanStDev(4, Values{2, 4, 4, 9}.data(), &mean, &sd);
    CHECK(mean == 4.75);
    CHECK(sd == doctest::Approx(2.986078811194819).epsilon(1e-14)); // R 4.2: sd(c(2, 4, 4, 9))
    MeanStDev(1, Values{2}.data(), &mean, &sd);
    CHECK(std::isnan(sd));

    Table M({{1, -999, 3}, {-999, -999, -999}, {0.5, 4, -2}});
    Values totals(3);
    RowTotalsMV(3, 3, M, totals.data());
    CHECK(totals == Values{4, 0, 2.5});
    ColTotalsMV(3, 3, M, totals.data());
    CHECK(totals == Values{1.5, 4, 1});
    CHECK(MatrixTotalMV(3, 3, M) == 6.5);

    CHECK(maxVector(3, Values{-5, -999, -7}.data()) == -5);
    CHECK(minVector(3, Values{-5, -999, -7}.data()) == -999);
    CHECK(maxVector(0, nullptr) == -DBL_MAX);
    CHECK(minVector(0, nullptr) == DBL_MAX);
}

TEST_CASE("Factorial")
{
    struct Case {
        double x, expected;
    };
    const Case cases[] = {{0, 1}, {10, 3628800}, {0.5, 0.5}, {-3, -3},
                          {170, 7.257415615307999e306}, // Python 3.11: math.factorial(170)
                          {171, infinity}};
    for (const Case& c : cases) {
        CAPTURE(c.x);
        if (std::isinf(c.expected)) CHECK(std::isinf(Factorial(c.x)));
        else CHECK(Factorial(c.x) == doctest::Approx(c.expected).epsilon(1e-13));
    }
    CHECK(Factorial(18) == 6402373705728000.0); // exact as long as a double holds it
}

TEST_CASE("states and groups")
{
    struct Case {
        const char* fact;
        Values x;
        int expected;
    };
    const Case cases[] = {
        {"missing is no state", {0, 2, 2, -999}, 2},
        {"states are truncated", {1.2, 1.9, 2.0}, 2},
        {"-0.5 is state 0", {-0.5, 0.4}, 1},
        {"negative states don't count", {-1, -3, 4}, 1},
        {"states as large as an int", {2147483647, 0, 3e9}, 2},
        {"NaN is below all", {notANumber, 1}, 1},
        {"empty", {}, 0},
    };
    for (const Case& c : cases) {
        CAPTURE(c.fact);
        CHECK(CountStates(Size(c.x), c.x.data()) == c.expected);
    }

    const int labels[] = {7, -2, 7, 0, 11, -2};
    const int selected[] = {1, 0, 1, 1, 2, 0}; // only 1 selects
    int nGroups = 0;
    std::vector<int> groups(6, 99);
    CountGroups(6, labels, &nGroups, groups.data());
    CHECK(nGroups == 4);
    CHECK(groups == std::vector<int>{-2, 0, 7, 11, 99, 99});

    std::vector<int> chosen(2, 99);
    CountGroupsSelect(6, labels, selected, &nGroups, chosen.data());
    CHECK(nGroups == 2);
    CHECK(chosen == std::vector<int>{0, 7});
    std::vector<int> sorted(4);
    CountGroupsNew(6, labels, &nGroups, sorted.data());
    CHECK(nGroups == 4);
    CHECK(sorted == std::vector<int>{-2, 0, 7, 11});
}

TEST_CASE("ranks and sort orders")
{
    CHECK(Ranked(RankVector, {3, 1, 2}) == Values{2, 3, 1});
    CHECK(Ranked(RankVectorAbs, {-3, 1, -2}) == Values{2, 3, 1});
    CHECK(Ranked(RankVector, Values(8, 1.5)) == Values{6, 4, 7, 1, 5, 2, 3, 8}); // as sort2's ties

    CHECK(Ranked(RankVectorAdjMV, {-999, -999}) == Values{-999, -999});
    CHECK(Ranked(RankVectorAdjMV, {-1000, 5, -999}) == Values{0, 2, -999}); // below the code
    // R 4.2: rank(c(2.5, 0, 9, 2.5, 4, 0, 2.5, 7, 1, 9))
    CHECK(Ranked(RankVectorAdjMV, {2.5, 0, 9, 2.5, 4, 0, 2.5, 7, 1, 9}) ==
          Values{5, 1.5, 9.5, 5, 7, 1.5, 5, 8, 3, 9.5});
    RankVector(0, nullptr, nullptr); // nothing to rank, nothing touched
    RankVectorAdjMV(0, nullptr, nullptr);
}

TEST_CASE("MatrixPercentile")
{
    struct Case {
        const char* fact;
        tables::Cells M;
        double fraction, expected;
    };
    const double none = static_cast<double>(FLT_MAX);
    const Case cases[] = {
        {"first share strictly above a half", {{1, 2, 3, 4}}, 0.5, 3},
        {"over all rows", {{4, 1}, {3, 2}}, 0.7, 3},
        {"ties share a rank: 2.5/4", {{1, 3}, {3, 2}}, 0.5, 3},
        {"missing cells count in the divisor: 2/4", {{-999, 8}, {6, -999}}, 0.4, 8},
        {"nothing above", {{1, 2}}, 1.0, none},
        {"no cells", {}, 0.5, none},
    };
    for (const Case& c : cases) {
        CAPTURE(c.fact);
        Table M(c.M);
        CHECK(MatrixPercentile(M.Rows(), M.Cols(), M, c.fraction) == c.expected);
    }
}
