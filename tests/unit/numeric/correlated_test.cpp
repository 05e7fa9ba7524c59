// SPDX-License-Identifier: GPL-3.0-or-later
#include "numeric/correlated.hpp"

#include <doctest/doctest.h>
#include <gsl/gsl_randist.h>

#include <cmath>

#include "numeric/random.hpp"
#include "unit/numeric/matrices.hpp"
#include "unit/numeric/tables.hpp"

namespace {

using tables::Cells;
using tables::Table;

Cells Generated(int n, Cells R, int kind, unsigned long seed = 7)
{
    Table correlation(std::move(R));
    Table out(n, correlation.Cols(), NA);
    InitRndNumberGenerator(seed);
    CorrToData_New(n, correlation.Cols(), correlation, out, kind);
    return out.cells;
}

Cells BothCorrelated(Cells cols, Cells rows, unsigned long seed)
{
    Table Rcols(std::move(cols));
    Table Rrows(std::move(rows));
    Table out(Rrows.Cols(), Rcols.Cols(), NA);
    InitRndNumberGenerator(seed);
    CHECK(CorrToData_BothRowsColumns(out.Rows(), out.Cols(), Rcols, Rrows, out, 2) == 1);
    return out.cells;
}

} // namespace

TEST_CASE("uncorrelated data are the deviates themselves, drawn row by row")
{
    struct Case {
        const char* fact;
        int kind;
        double (*deviate)();
    };
    const Case cases[] = {
        {"uniform around 0", 1, [] { return gsl_rng_uniform(r) - 0.5; }},
        {"normal", 2, [] { return gsl_ran_gaussian(r, 1.0); }},
        {"lognormal", 5, [] { return gsl_ran_lognormal(r, 0.0, 1.0); }},
        {"exponential", 7, [] { return gsl_ran_exponential(r, 1.0); }},
        {"cubed exponential", 8,
         [] { return std::pow(gsl_ran_exponential(r, 1.0), 3.0); }},
        {"and a gap in the numbers", 3, [] { return gsl_ran_gaussian(r, 1.0); }},
    };
    for (const Case& c : cases) {
        CAPTURE(c.fact);
        const Cells data = Generated(4, {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}, c.kind);
        InitRndNumberGenerator(7);
        Cells expected(4, std::vector<double>(3));
        for (auto& row : expected)
            for (double& cell : row) cell = c.deviate();
        CHECK(tables::SameBits(data, expected));
    }
}

TEST_CASE("columns take the correlation of the matrix, of which the upper part is read")
{
    // By hand: the factor is {{1, 0.6, 0}, {0, 0.8, 0.6}, {0, 0, 0.8}}.
    const Cells Z = Generated(5, {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}, 1);
    const Cells data = Generated(5, {{1, 0.6, 0}, {99, 1, 0.48}, {99, 99, 1}}, 1);
    for (std::size_t i = 0; i < 5; i++) {
        CHECK(data[i][0] == Z[i][0]);
        CHECK(data[i][1] == doctest::Approx(0.6 * Z[i][0] + 0.8 * Z[i][1]).epsilon(1e-14));
        CHECK(data[i][2] == doctest::Approx(0.6 * Z[i][1] + 0.8 * Z[i][2]).epsilon(1e-14));
    }
}

TEST_CASE("data with correlated rows and columns")
{
    const Cells identity = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
    const Cells Z = Generated(2, identity, 2, 11); // two rows of three deviates
    const Cells data = BothCorrelated({{1, 0.6}, {0.6, 1}}, identity, 11);
    REQUIRE(data.size() == 3);
    for (std::size_t i = 0; i < 3; i++) {
        CHECK(data[i][0] == Z[0][i]);
        CHECK(data[i][1] == doctest::Approx(0.6 * Z[0][i] + 0.8 * Z[1][i]).epsilon(1e-14));
    }

    const Cells two = Generated(2, {{1, 0}, {0, 1}}, 2, 3);
    const Cells both = BothCorrelated({{1, 0}, {0, 1}}, {{1, 0.8}, {0.8, 1}}, 3);
    CHECK(both[0][0] == doctest::Approx(two[0][0]).epsilon(1e-14));
    CHECK(both[1][1] == doctest::Approx(0.8 * two[1][0] + 0.6 * two[1][1]).epsilon(1e-14));
}
