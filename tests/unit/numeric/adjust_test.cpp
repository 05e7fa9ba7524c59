// SPDX-License-Identifier: GPL-3.0-or-later
#include "numeric/adjust.hpp"

#include <doctest/doctest.h>

#include <limits>

#include "unit/numeric/tables.hpp"

using tables::Cells;
using tables::Table;

namespace {

using InOut = void (*)(int, int, double**, double**);

// What an output cell holds that nobody writes.
constexpr double untouched = 77;

struct Case {
    const char* fact;
    InOut adjust;
    Cells in, expected;
};

const double notANumber = std::numeric_limits<double>::quiet_NaN();

// Some take the output first; here all take the input first.
template <InOut adjust>
void OutputFirst(int rows, int cols, double** in, double** out)
{
    adjust(rows, cols, out, in);
}

const InOut rowsZ = ZStandardizationRowsMV;
const InOut centerCols = CenterColsMV;

} // namespace

TEST_CASE("adjustments by hand")
{
    const double root2 = std::sqrt(2.0);
    const Case cases[] = {
        {"centred columns; the mean is that of present cells", centerCols,
         {{1, 4}, {-999, 4}, {4, 4}}, {{-1.5, 0}, {-999, 0}, {1.5, 0}}},
        {"centred rows", CenterRowsMV, {{1, -999, 4}, {-999, -999, -999}},
         {{-1.5, -999, 1.5}, {-999, -999, -999}}},
        {"covariance rows divide by the root of m - 1 = 2", CenterRowsCovMV, {{1, 2, -999, 6}},
         {{-2 / root2, -1 / root2, -999, 3 / root2}}},
        {"one present cell has no variance", CenterRowsCovMV, {{5, -999}}, {{notANumber, -999}}},
        {"columns of unit norm", NormalizeColsMV, {{3, 0}, {-999, 0}, {4, 0}},
         {{0.6, 0}, {-999, 0}, {0.8, 0}}},
        {"the code as a number", NormalizeCols, {{40}, {-999}},
         {{40 / std::sqrt(999601.0)}, {-999 / std::sqrt(999601.0)}}},
        {"rows in standard deviations, over all 4 cells", rowsZ, {{1, 3, -999, 5}, {2, 2, 2, 2}},
         {{-root2, 0, -999, root2}, {0, 0, 0, 0}}},
        {"columns in standard deviations, over all 4 cells", ZStandardizationColsMV,
         {{1, 7}, {3, 7}, {-999, 7}, {5, -999}},
         {{-root2, 0}, {0, 0}, {-999, 0}, {root2, -999}}},
        {"unit sums", OutputFirst<UnitSumRowsAdjMV>,
         {{1, -999, 3}, {0, 0, 0}, {-3, 1, 0}, {2, -2, -999}},
         {{0.25, -999, 0.75}, {0, 0, 0}, {1.5, -0.5, 0}, {2, -2, -999}}},
        {"unit ranges", OutputFirst<RangeColsAdjMV>,
         {{2, 5, -999}, {-999, 5, -999}, {6, 5, -999}, {3, 5, -999}},
         {{0, 0, -999}, {-999, 0, -999}, {1, 0, -999}, {0.25, 0, -999}}},
        // R 4.2: chisq.test(matrix(c(1, 3, 2, 4), 2))$residuals / sqrt(10)
        {"deviations are residuals over the root of N", DeviationsExpectationsMV, {{1, 2}, {3, 4}},
         {{-0.05773502691896258, 0.04714045207910317},
          {0.03779644730092272, -0.03086066999241838}}},
        {"an empty row and a missing cell stay", DeviationsExpectationsMV,
         {{0, 0}, {2, -999}, {2, 4}}, {{0, 0}, {(16.0 - 8) / (std::sqrt(8.0) * 8), -999},
         {(16.0 - 24) / (std::sqrt(24.0) * 8), (32.0 - 24) / (std::sqrt(24.0) * 8)}}},
        {"largest cell becomes 1", MatrixUnitMaxTransf, {{1, -999}, {4, 2}},
         {{0.25, -249.75}, {1, 0.5}}},
        {"nothing above 0: nothing written", MatrixUnitMaxTransf, {{-1, -2}},
         {{untouched, untouched}}},
    };
    for (const Case& c : cases) {
        CAPTURE(c.fact);
        Table in(c.in);
        Table out(in.Rows(), in.Cols(), untouched);
        c.adjust(in.Rows(), in.Cols(), in, out);
        tables::CheckCells(out, c.expected, 1e-14);
        CHECK(tables::SameBits(in.cells, c.in));
        if (c.expected[0][0] == untouched) continue;
        c.adjust(in.Rows(), in.Cols(), in, in); // in place: the same bits
        CHECK(tables::SameBits(in.cells, out.cells));
    }
}

TEST_CASE("CorrAdj and centred single-precision data are of single precision")
{
    Table in({{1.5, 2, 5}, {2.5, 1, 5}, {-999, 7, 5}, {8, 3, 5}});
    Table out(4, 3, untouched);
    CorrAdj(4, 3, out, in);
    CHECK((out[2][0] == untouched && out[0][2] == 0.0)); // a hole, a constant column
    // By hand: mean 4, sum of squares 6.25 + 2.25 + 16 = 24.5
    CHECK(out[3][0] == static_cast<double>(static_cast<float>(4 / std::sqrt(24.5))));
}

TEST_CASE("standardisation with given means and deviations")
{
    Table in({{1, -999, 5}}), out(1, 3, untouched);
    const double mean[] = {3}, sd[] = {4};
    ZStandardizationRowsMV(1, 3, mean, sd, in, out);
    CHECK(out.cells[0] == std::vector<double>{-0.5, untouched, 0.5});
}
