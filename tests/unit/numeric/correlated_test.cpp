#include "numeric/correlated.hpp"

#include <doctest/doctest.h>
#include <gsl/gsl_randist.h>

#include <cmath>
#include <cstdlib>

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

/// Two-pass correlation of pairs of numbers.
double Correlation(const std::vector<double>& x, const std::vector<double>& y)
{
    double meanX = 0.0;
    double meanY = 0.0;
    for (std::size_t i = 0; i < x.size(); i++) {
        meanX += x[i] / static_cast<double>(x.size());
        meanY += y[i] / static_cast<double>(x.size());
    }
    double xx = 0.0;
    double yy = 0.0;
    double xy = 0.0;
    for (std::size_t i = 0; i < x.size(); i++) {
        xx += (x[i] - meanX) * (x[i] - meanX);
        yy += (y[i] - meanY) * (y[i] - meanY);
        xy += (x[i] - meanX) * (y[i] - meanY);
    }
    return xy / std::sqrt(xx * yy);
}

std::vector<double> Column(const Cells& cells, std::size_t j)
{
    std::vector<double> column;
    for (const auto& row : cells) column.push_back(row[j]);
    return column;
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
        {"the letter n draws normal ones", 'n', [] { return gsl_ran_gaussian(r, 1.0); }},
        {"so does the letter u", 'u', [] { return gsl_ran_gaussian(r, 1.0); }},
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
    // By hand: the factor of {{1, 0.6}, {0.6, 1}} is {{1, 0.6}, {0, 0.8}}.
    const Cells Z = Generated(5, {{1, 0}, {0, 1}}, 1);
    const Cells data = Generated(5, {{1, 0.6}, {99, 1}}, 1);
    for (std::size_t i = 0; i < 5; i++) {
        CHECK(data[i][0] == Z[i][0]);
        CHECK(data[i][1] == doctest::Approx(0.6 * Z[i][0] + 0.8 * Z[i][1]).epsilon(1e-14));
    }

    const Cells many = Generated(20000, {{1, 0.7, -0.3}, {0.7, 1, 0.2}, {-0.3, 0.2, 1}}, 2);
    // Sampling error of a correlation of 20000 pairs: at most 1/root(20000) = 0.007.
    CHECK(std::fabs(Correlation(Column(many, 0), Column(many, 1)) - 0.7) < 0.03);
    CHECK(std::fabs(Correlation(Column(many, 0), Column(many, 2)) + 0.3) < 0.03);
    CHECK(std::fabs(Correlation(Column(many, 1), Column(many, 2)) - 0.2) < 0.03);
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

    // The same two cells over many data sets estimate one correlation each.
    std::vector<double> corner;
    std::vector<double> below;
    std::vector<double> beside;
    for (unsigned long seed = 1; seed <= 4000; seed++) {
        const Cells one = BothCorrelated({{1, -0.5}, {-0.5, 1}}, {{1, 0.8}, {0.8, 1}}, seed);
        corner.push_back(one[0][0]);
        below.push_back(one[1][0]);
        beside.push_back(one[0][1]);
    }
    CHECK(std::fabs(Correlation(corner, below) - 0.8) < 0.06);
    CHECK(std::fabs(Correlation(corner, beside) + 0.5) < 0.06);
}

TEST_CASE("a correlation matrix that is not positive definite ends the run with status 1")
{
    const Cells singular = {{1, 1}, {1, 1}};
    const Cells fine = {{1, 0}, {0, 1}};
    const std::function<void()> runs[] = {
        [&] { Generated(3, singular, 2); },
        [&] { Generated(3, {{1, 2}, {2, 1}}, 2); },
        [&] { BothCorrelated(singular, fine, 1); },
        [&] { BothCorrelated(fine, singular, 1); },
    };
    for (const auto& run : runs) {
        const tables::Ending ending = tables::EndingOf([&] {
            dup2(STDERR_FILENO, STDOUT_FILENO); // caught with the rest
            run();
        });
        REQUIRE(WIFEXITED(ending.status));
        CHECK(WEXITSTATUS(ending.status) == 1);
        CHECK(ending.complaint.find("\ncholdc failed") == 0);
    }
}
