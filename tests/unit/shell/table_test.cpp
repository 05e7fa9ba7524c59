// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/table.hpp"

#include <doctest/doctest.h>

#include "shell/preferences.hpp"
#include "unit/shell/shell_fixture.hpp"

namespace {

template <typename Print>
std::string Printed(Print print)
{
    OutputFile page(std::tmpfile());
    print(page);
    return TextOf(page);
}

double row1[] = {1234567, -999, 0.5};
double row2[] = {-0.0000125, 100, 1.0 / 3};
double row3[] = {3, 0, 0};
double* matrix[] = {row1, row2, row3};

} // namespace

TEST_CASE("tab-separated tables") {
    CHECK(Printed([](std::FILE* f) { PrintMatrixTab(f, 2, 3, matrix, 6); }) ==
          "1.23457e+06\t-999\t0.5\t\n-1.25e-05\t100\t0.333333\t\n");
    CHECK(Printed([](std::FILE* f) { PrintMatrixTab(f, 2, 0, matrix, 6); }) == "\n\n");
    CHECK(Printed([](std::FILE* f) { PrintLowerHalfMatrixTab(f, 3, matrix, 3); }) ==
          "1.23e+06\t\n-1.25e-05\t100\t\n3\t0\t0\t\n");

    const int counts[] = {4, 5, 6};
    const int order[] = {3, 1};
    CHECK(Printed([&](std::FILE* f) { PrintVectorTab(f, 3, counts, nullptr); }) == "4\t5\t6\t\n");
    CHECK(Printed([&](std::FILE* f) { PrintVectorTab(f, 2, counts, order); }) == "6\t4\t\n");
    CHECK(Printed([&](std::FILE* f) { PrintVectorTab(f, 2, row1, 2, order); }) ==
          "0.5\t1.2e+06\t\n");
}

TEST_CASE("any number of digits the user may ask for can be printed") {
    double half[] = {0.1};
    double* one[] = {half};
    // by hand: the double nearest to 0.1, in full
    CHECK(Printed([&](std::FILE* f) { PrintMatrixTab(f, 1, 1, one, 2147483647); }) ==
          "0.1000000000000000055511151231257827021181583404541015625\t\n");
    preferences.sDigits = 2147483647;
    CHECK(ValueWidth() == 773); // no double has more than 767 digits
    preferences.sDigits = 8;
    CHECK((SignificantDigits() == 8 && ValueWidth() == 14));
    preferences = Preferences{};
}

TEST_CASE("aligned tables") {
    struct Case {
        const char* fact; int rows, columns, width, fold, used; const char* expected;
    };
    const int noFold = 2147483647;
    int (*const PrintAsDoubles)(std::FILE*, int, int, double**, int, int) = PrintMatrix;
    const Case cases[] = {
        {"the width of the longest cell", 3, 2, 0, noFold, 9,
         " 1.23e+06\t     -999\t\n-1.25e-05\t      100\t\n        3\t        0\t\n"},
        {"a given width stands, wider cells push", 2, 2, 4, noFold, 4,
         "1.23e+06\t-999\t\n-1.25e-05\t 100\t\n"},
        // by hand: lengths 0, 6, 12 before the cells; 12 > 6 folds before the third
        {"a folded row overruns by one cell", 3, 3, 5, 6, 5,
         "1.23e+06\t -999\t\n     \t  0.5\t\n-1.25e-05\t  100\t\n     \t0.333\t\n"
         "    3\t    0\t\n     \t    0\t\n"},
        {"one cell a line", 1, 2, 4, 0, 4, "1.23e+06\t\n    \t-999\t\n"},
    };
    for (const Case& c : cases)
        for (const auto print : {PrintAsDoubles, PrintMatrixFloat}) {
            CAPTURE(c.fact);
            preferences.maxColsPrint = c.fold;
            int used = -1;
            CHECK(Printed([&](std::FILE* f) {
                      used = print(f, c.rows, c.columns, matrix, 3, c.width);
                  }) == c.expected);
            CHECK(used == c.used);
        }
    preferences = Preferences{};
    CHECK((GetWidthMax(0, 3, matrix, 6) == 0 && GetWidthMax(1, 3, matrix, 6) == 11));
}
