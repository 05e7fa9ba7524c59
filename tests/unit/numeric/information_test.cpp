#include "numeric/information.hpp"

#include <doctest/doctest.h>

#include <cmath>
#include <string>

#include "numeric/resemblance.hpp"
#include "unit/numeric/matrices.hpp"
#include "unit/numeric/tables.hpp"
#include "unit/shell/shell_fixture.hpp"

namespace {

using tables::Cells;
using tables::Table;

using Values = std::vector<double>;

/// Two rows of states with the table 2 1 / 1 1 / 1 2.
const Cells statesOfTwo = {{1, 1, 2, 2, 3, 3, 3, 1}, {5, 5, 5, 7, 7, 7, 5, 7}};
const Cells tableOfTwo = {{2, 1}, {1, 1}, {1, 2}};

Cells Resemblances(Cells rows, int option, double base = 0.0, bool print = false)
{
    Table data(std::move(rows));
    Table out(data.Rows(), data.Rows(), NA);
    ResemblanceLib(data.Rows(), data.Cols(), data, out, 1, option, 0, nullptr, base, 0.0, 0,
                   print);
    return out.cells;
}

/// The resemblance of two rows.
double Resemblance(const Cells& rows, int option, double base = 0.0)
{
    const Cells out = Resemblances(rows, option, base);
    CHECK(tables::SameBits(out[0][1], out[1][0]));
    return out[0][1];
}

} // namespace

TEST_CASE("entropies of a table by order")
{
    // R 4.2: p <- t / sum(t); H <- log(sum(p^a)) / (1 - a), or -sum(p * log(p)) for a = 1
    const double joint[] = {1.762747174039086, 1.732867951399863, 1.702988728760641,
                            1.673976433571672};
    const double rows[] = {1.090158277804775, 1.082195530038767, 1.074752222471369,
                           1.067840630001356};
    Table table(tableOfTwo);
    Values J(5, 8.0);
    Values C(5, 8.0);
    Values R(5, 8.0);
    EntropyMV(3, 2, table, J.data(), C.data(), R.data(), 0.5, 2.0, 0.5);
    for (std::size_t a = 0; a < 4; a++) {
        CHECK(J[a] == doctest::Approx(joint[a]).epsilon(1e-14));
        CHECK(R[a] == doctest::Approx(rows[a]).epsilon(1e-14));
        CHECK(C[a] == doctest::Approx(std::log(2.0)).epsilon(1e-14));
    }
    // By hand: cells 1, 1 and 2 of 4, the hole left out. Rows 2/4, 2/4.
    Table holes({{1, 1}, {NA, 2}});
    EntropyMV(2, 2, holes, J.data(), C.data(), R.data(), 1.0, 1.0, 1.0);
    CHECK(J[0] == doctest::Approx(1.5 * std::log(2.0)).epsilon(1e-14));
    CHECK(R[0] == doctest::Approx(std::log(2.0)).epsilon(1e-14));
}

TEST_CASE("association of rows of states")
{
    struct Case {
        const char* fact;
        int option;
        double base, expected;
    };
    const Case cases[] = {
        // R 4.2: chisq.test(t, correct = FALSE)
        {"chi-square", chiSquareMeasure, 0, 0.6666666666666666},
        // R 4.2, p and its margins; e <- outer(rowSums(p), colSums(p))
        {"G", minimumDiscriminationMeasure, 0, 0.6795961471815914},
        {"mutual entropy, order 1", mutualEntropyMeasure, 1, 0.04247475919884947},
        {"order 2: log(sum(p^2 / e))", mutualEntropyMeasure, 2, 0.08004270767353636},
        {"order 1/2: -2 log(sum(sqrt(p e)))", mutualEntropyMeasure, 0.5, 0.02171967077907897},
        {"coherence, order 1", coherenceMeasure, 1, 0.2200493085682154},
        {"order 2", coherenceMeasure, 2, 0.3182073335622337},
        {"order in single precision", coherenceMeasure, 1 + 1e-9, 0.2200493085682154},
        {"as a distance: 1 - rajski^2 taken off 1", coherenceDistanceMeasure, 1, 0.9754887502163468},
    };
    for (const Case& c : cases) {
        CAPTURE(c.fact);
        CHECK(Resemblance(statesOfTwo, c.option, c.base) ==
              doctest::Approx(c.expected).epsilon(1e-12));
    }

    // Constant rows: 0 / 0, and as a distance no number counts as 0.
    CHECK(std::isnan(Resemblance({{1, 1}, {1, 1}}, coherenceMeasure, 1)));
    CHECK(Resemblance({{1, 1}, {1, 1}}, coherenceDistanceMeasure, 1) == 0.0);
    // A state that only meets a hole leaves an empty row.
    CHECK(std::isnan(Resemblance({{1, 2, 3}, {1, 2, NA}}, chiSquareMeasure)));
}

TEST_CASE("information divergence of rows of frequencies")
{
    Table data({{3, 0, 2.5, 7}, {1, 4, 2, 0.5}});
    Table out(2, 2, NA);
    IDivergenceMV(2, 4, data, out);
    // R 4.2: sum(u * log(2 * u / (u + v))) + sum(v * log(2 * v / (u + v)))
    CHECK(out.cells[0][1] == doctest::Approx(6.685300737075952).epsilon(1e-6));
    CHECK(out.cells[1][0] == NA);
    // R 4.2: less V log(2V/(U+V)) + U log(2U/(U+V))
    CHECK(Resemblance(data.cells, mutualInformationMeasure) == doctest::Approx(6.053621889036687).epsilon(1e-6));

    // Single precision: beside 2^25 log 2 an addend of log 2 is lost.
    Table large({{33554432, 1}, {0, 0}});
    IDivergenceMV(2, 2, large, out);
    CHECK(out.cells[0][1] ==
          static_cast<double>(static_cast<float>(33554432 * std::log(2.0))));

    Table hole({{1, 2000}, {1, NA}}); // by hand: 2000 log(4000 / 1001)
    IDivergenceMV(2, 2, hole, out);
    CHECK(out.cells[0][1] == doctest::Approx(2000 * std::log(4000.0 / 1001)).epsilon(1e-6));
}

TEST_CASE("contingency tables are printed for each pair")
{
    const ScratchFolder folder;
    Resemblances({{2, 1, 2}, {4, 4, NA}}, chiSquareMeasure, 0.0, true);
    CHECK(TextOfFile("Tables.txt") == "\nContingency table var.1 x var.1:\n"
                        "Row states (2): 2\t1\t\nColumn states (2): 2\t1\t\n2\t0\t\n0\t1\t\n"
                        "\nContingency table var.1 x var.2:\n"
                        "Row states (2): 2\t1\t\nColumn states (1): 4\t\n1\t\n1\t\n"
                        "\nContingency table var.2 x var.2:\n"
                        "Row states (1): 4\t\nColumn states (1): 4\t\n2\t\n");
}

TEST_CASE("differences of two profiles")
{
    const Values a = {1, 1, 2}, b = {0, 3, 1};
    // By hand: shares 1/4 1/4 1/2 and 0 3/4 1/4; |d| 1/4 1/2 1/4.
    CHECK(SumAbsDeviations(3, a.data(), b.data(), false) == 0.5);
    CHECK(SumAbsDeviations(3, a.data(), b.data(), true) == 0.1875); // (1/16 + 1/4 + 1/16) / 2
    CHECK(SumAbsDeviations(1, a.data(), b.data(), false) == 0.0);   // b totals 0
}

TEST_CASE("classes of equal width are closed above")
{
    const auto classes = [](const Values& x, int nClasses) {
        Values out(x.size());
        ClassesMV(static_cast<int>(x.size()), x.data(), out.data(), nClasses);
        return out;
    };
    CHECK(classes({0, 2, 2.1, 4, 10, 8}, 5) == Values{1, 1, 2, 2, 5, 4});
    CHECK(classes({NA, -1, 3, NA, 1}, 4) == Values{NA, 1, 4, NA, 2}); // holes bound nothing
    CHECK(classes({7, 7}, 3) == Values{1, 1});
    const Values x = {-5, 0, 3, 100, 120};
    Values out(5);
    ClassesDefinitionMV(5, x.data(), out.data(), 10, 0, 100);
    CHECK(out == Values{0, 1, 1, 10, 12});
}
