#include "session/transform.hpp"

#include <doctest/doctest.h>

#include <cmath>
#include <random>

#include "unit/session/session_fixture.hpp"

namespace {

struct Matrix : OwnedRows {
    explicit Matrix(const Rows& rows)
        : OwnedRows(static_cast<long>(rows.size()), static_cast<long>(rows[0].size()))
    {
        for (std::size_t i = 0; i < rows.size(); i++)
            std::copy(rows[i].begin(), rows[i].end(), table[i]);
    }
};

} // namespace

TEST_CASE("pooling rows and columns by groups")
{
    struct Case {
        const char* fact;
        Rows in;
        std::vector<int> rowGroups, columnGroups;
        int nRowGroups, nColumnGroups, mode;
        Rows out;
    };
    // By hand.
    const Case cases[] = {
        {"means of columns, members not side by side",
         {{1, 2, 6}, {0, 5, 4}},
         {1, 2},
         {2, 1, 2},
         2,
         2,
         2,
         {{2, 3.5}, {5, 2}}},
        {"blocks are divided by the product of sizes",
         {{1, 2, 6}, {0, 5, 4}, {7, 7, 7}},
         {1, 1, 2},
         {1, 1, 2},
         2,
         2,
         2,
         {{2, 5}, {7, 7}}},
        {"-999 is a number", {{-999, 1}}, {1}, {1, 1}, 1, 1, 2, {{-499}}},
        {"numbers outside the groups count nowhere",
         {{1, 2, 6, 9}},
         {1},
         {0, 1, -3, 3},
         1,
         2,
         2,
         {{2, NAN}}},
        // Sums 4, 6, total 10; means 2, 6, total 8.
        {"mode 1 keeps the total", {{1, 3, 6}}, {1}, {1, 1, 2}, 1, 2, 1, {{2.5, 7.5}}},
    };
    for (const Case& c : cases) {
        CAPTURE(c.fact);
        const Matrix in(c.in);
        OwnedRows out(c.nRowGroups, c.nColumnGroups);
        out[0][0] = 77; // what stood there is of no effect
        ConcentrateGroups(static_cast<int>(c.in.size()), static_cast<int>(c.in[0].size()), in, out,
                          c.nRowGroups, c.rowGroups.data(), c.nColumnGroups, c.columnGroups.data(),
                          c.mode);
        for (int g = 0; g < c.nRowGroups; g++)
            for (int h = 0; h < c.nColumnGroups; h++) {
                const double expected =
                    c.out[static_cast<std::size_t>(g)][static_cast<std::size_t>(h)];
                if (std::isnan(expected))
                    CHECK(std::isnan(out[g][h])); // a group without members
                else
                    CHECK(out[g][h] == doctest::Approx(expected).epsilon(1e-15));
            }
    }
}

TEST_CASE("change within pairs")
{
    struct Case {
        const char* fact;
        std::vector<int> pairs;
        int nPairs;
        Rows out;
    };
    const Matrix in({{1, 2, 4, 8, 16, 32}, {5, 5, 0, 1, -999, 0}});
    // By hand.
    const Case cases[] = {
        {"second minus first, in the order of the columns", {1, 2, 3, 1, 2, 3}, 3,
         {{7, 14, 28}, {-4, -1004, 0}}},
        {"a third member: third minus second plus first", {1, 1, 1, 2, 2, 9}, 2,
         {{3, 8}, {0, -1000}}},
        {"numbers by twos leave every second pair zero", {1, 1, 3, 3, 5, 5}, 3,
         {{1, 0, 4}, {0, 0, 1}}},
        {"a single member is itself", {0, 0, 2, 7, 7, 7}, 2, {{0, 4}, {0, 0}}},
    };
    for (const Case& c : cases) {
        CAPTURE(c.fact);
        const OwnedRows out(2, c.nPairs);
        ReleveChange(6, in, out, 2, c.nPairs, c.pairs.data());
        CHECK(RowsOf(out, 2, c.nPairs) == c.out);
    }
}

TEST_CASE("moving window against running differences of cumulated sums")
{
    std::mt19937 draws(7);
    for (const int width : {1, 2, 5, 9}) {
        CAPTURE(width);
        const int length = 9, across = 3;
        OwnedRows asColumns(across, length), asRows(length, across);
        OwnedRows cumulated(across, length + 1);
        for (int i = 0; i < across; i++)
            for (int j = 0; j < length; j++) { // whole numbers: sums are exact in any order
                asColumns[i][j] = asRows[j][i] = static_cast<double>(draws() % 1000);
                cumulated[i][j + 1] = cumulated[i][j] + asColumns[i][j];
            }
        OwnedRows columns(across, length), rows(length, across);
        int nColumns = 0, nRows = 0;
        SplitMovingWinPool(across, length, asColumns, columns, width, nColumns, false);
        SplitMovingWinPool(length, across, asRows, rows, width, nRows, true);
        REQUIRE(nColumns == length - width + 1);
        REQUIRE(nRows == nColumns);
        for (int i = 0; i < across; i++)
            for (int k = 0; k < nColumns; k++) {
                CHECK(columns[i][k] == (cumulated[i][k + width] - cumulated[i][k]) / width);
                CHECK(rows[k][i] == columns[i][k]);
            }
    }
}
