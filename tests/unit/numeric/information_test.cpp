// SPDX-License-Identifier: GPL-3.0-or-later
#include "numeric/information.hpp"

#include <doctest/doctest.h>

#include <cmath>

#include "numeric/resemblance.hpp"
#include "unit/numeric/matrices.hpp"
#include "unit/numeric/tables.hpp"

namespace {

using tables::Cells;
using tables::CheckCells;
using tables::Table;

using Values = std::vector<double>;

/// Two rows of states with the table 2 1 / 1 1 / 1 2.
const Cells statesOfTwo = {{1, 1, 2, 2, 3, 3, 3, 1}, {5, 5, 5, 7, 7, 7, 5, 7}};

/// The resemblance of two rows.
double Resemblance(const Cells& rows, int option, double base)
{
    Table data(rows), out(2, 2, NA);
    ResemblanceLib(2, data.Cols(), data, out, 1, option, 0, nullptr, base, 0.0, 0, false);
    CHECK(tables::SameBits(out[0][1], out[1][0]));
    return out[0][1];
}

} // namespace

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
        {"as a distance: 1 - rajski^2 taken off 1", coherenceDistanceMeasure, 1, 0.9754887502163468},
    };
    for (const Case& c : cases) {
        CAPTURE(c.fact);
        CHECK(Resemblance(statesOfTwo, c.option, c.base) ==
              doctest::Approx(c.expected).epsilon(1e-12));
    }
    // Half of G, by hand: totals 4, 6, 5 and 5 let expect 2, 2, 3 and 3; the sums are of float.
    const double I = std::log(1 / 2.0) + 3 * std::log(3 / 2.0) + 4 * std::log(4 / 3.0) +
                     2 * std::log(2 / 3.0);
    CHECK(Resemblance({{1, 3}, {4, 2}}, mutualInformationMeasure, 0) ==
          doctest::Approx(I).epsilon(1e-6));

    const ScratchFolder folder;
    Table data(statesOfTwo), out(2, 2, NA), table({{2, 1}, {1, 1}, {1, 2}});
    ResemblanceLib(2, 8, data, out, 1, chiSquareMeasure, 0, nullptr, 0.0, 0.0, 0, true);
    CHECK(TimesIn(TextOfFile("Tables.txt"),
                  "\nContingency table var.1 x var.2:\nRow states (3): 1\t2\t3\t\n"
                  "Column states (2): 5\t7\t\n") == 1);
    double joint[2], cols[2], rows[2], mutual[2], ratio[2], coherence[2]; // by order: 0 and 1
    Entropy_MV(3, 2, table, joint, cols, rows, mutual, ratio, coherence, 0.0, 1.5, 1.0);
    CheckCells(std::vector<double*>{joint, cols, rows, mutual, coherence}.data(),
               {{std::log(6.0), 2.5 * std::log(2.0)}, {std::log(2.0), std::log(2.0)}, // by hand
                {std::log(3.0), std::log(8.0) - 0.75 * std::log(3.0) - 0.25 * std::log(2.0)}, {0.0, 0.04247475919884947},
                {0.0, 0.2200493085682154}}, 1e-7);
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
}
