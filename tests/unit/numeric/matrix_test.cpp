// SPDX-License-Identifier: GPL-3.0-or-later
#include "numeric/matrix.hpp"

#include <doctest/doctest.h>

#include <limits>
#include <random>

#include "unit/numeric/tables.hpp"

using tables::Cells;
using tables::Table;

namespace {

const double notANumber = std::numeric_limits<double>::quiet_NaN();

enum Product {
    plain, plainMV, weighted, weightedKeep, weightedScaled, mean, meanShare, meanScaled, nProducts
};

int Of(Product product, int rows, int n, int cols, double** A, double** B, double** out,
         const int* weight, const int* chosen)
{
    switch (product) {
    case plain: return MatrixProd(rows, n, n, cols, A, B, out);
    case plainMV: return MatrixProdMV(rows, n, n, cols, A, B, out);
    case weighted: return MatrixProdMV_Weight(rows, n, n, cols, A, B, out, weight);
    case weightedKeep: return MatrixProdMV_Weight(rows, n, n, cols, A, B, out, weight, false);
    case weightedScaled: return MatrixProdMV_Weight(rows, n, n, cols, A, B, out, weight, true);
    case mean:
        return MatrixProdSelectMV_Adjust_Weight(rows, n, n, cols, A, B, out, chosen, weight);
    case meanShare:
        return MatrixProdSelectMV_Adjust_Weight(rows, n, n, cols, A, B, out, chosen, weight, false);
    default:
        return MatrixProdSelectMV_Adjust_Weight(rows, n, n, cols, A, B, out, chosen, weight, true);
    }
}

/// Cells between -1 and 2, a quarter of them zeros of either sign; of 20 cells one is `odd`.
void FillRandom(Table& table, std::mt19937& engine, const std::vector<double>& odd)
{
    for (auto& row : table.cells)
        for (double& x : row) {
            const unsigned long kind = engine() % 20;
            x = static_cast<double>(engine()) / 4294967296.0 * 3 - 1;
            if (kind < 3) x = 0.0;
            if (kind == 3) x = -0.0;
            if (kind == 4 && !odd.empty()) x = odd[engine() % odd.size()];
        }
}

} // namespace

TEST_CASE("blocked products have the bits of the general form")
{
    // A cell that may overflow, in a row or column of its own, has all others go the general way.
    struct Content {
        const char* fact;
        std::vector<double> oddA, oddB;
    };
    const Content contents[] = {{"whole", {}, {}},
                                {"holes in both", {-999}, {-999}},
                                {"cells that vanish", {1e-200, 5e-324}, {-1e-200, -999}}};
    const int shapes[][3] = {{1, 1, 1}, {5, 30, 4}, {19, 40, 131}, {8, 3, 300}};
    std::mt19937 engine(5);
    for (const Content& content : contents)
        for (const auto& shape : shapes)
            for (int weights = 0; weights < 3; weights++) {
                CAPTURE(content.fact);
                CAPTURE(shape[0]);
                CAPTURE(weights);
                const int rows = shape[0], n = shape[1], cols = shape[2];
                Table A(rows, n, 0), B(n, cols, 0);
                FillRandom(A, engine, content.oddA);
                FillRandom(B, engine, content.oddB);
                Cells wider = B.cells;
                for (auto& row : wider) row.push_back(1e200);
                Table wild(wider);
                std::vector<int> weight(static_cast<std::size_t>(n)), chosen(wider[0].size());
                for (int& w : weight) // all 1, a mask of 0 and 1, any integers
                    w = weights == 0 ? 1 : static_cast<int>(engine() % (weights == 1 ? 2 : 7)) -
                                               (weights == 1 ? 0 : 3);
                for (int& c : chosen) c = static_cast<int>(engine() % 3);
                for (int p = 0; p < nProducts; p++) {
                    CAPTURE(p);
                    const Product product = static_cast<Product>(p);
                    Table out(rows, cols, 77), general(rows, cols + 1, 77);
                    Of(product, rows, n, cols, A, B, out, weight.data(), chosen.data());
                    Of(product, rows, n, cols + 1, A, wild, general, weight.data(), chosen.data());
                    for (auto& row : general.cells) row.pop_back();
                    CHECK(tables::SameBits(out.cells, general.cells));
                }
            }
}

TEST_CASE("products by hand")
{
    Table row(Cells{{-999, 1}}), column(Cells{{5}, {0}}), out(1, 1, 77);
    MatrixProd(1, 2, 2, 1, row, column, out);
    CHECK(out[0][0] == 0);
    MatrixProdMV(1, 2, 2, 1, row, column, out);
    CHECK(out[0][0] == -999);

    // A community of 0.5, 0.3, 0.2 and a trait of 2, missing, 4; the third OTU has weight 0.
    Table W(Cells{{0.5, 0.3, 0.2}}), B(Cells{{2}, {-999}, {4}});
    const int weight[] = {1, 1, 0}, chosen[] = {1};
    struct Case {
        const char* fact;
        Product product;
        double expected;
    };
    const Case cases[] = {
        {"sum of the rest", weightedKeep, 1.0},
        {"rescaled to the OTUs of weight 1: 1 / (0.5/0.7)", weightedScaled, 1.4},
        {"mean over the share present: 1 / (0.7/1)", mean, 1 / 0.7},
        {"mean of the OTUs of weight 1: 1 / (0.5/1)", meanScaled, 2.0},
    };
    for (const Case& c : cases) {
        CAPTURE(c.fact);
        Of(c.product, 1, 3, 1, W, B, out, weight, chosen);
        CHECK(out[0][0] == doctest::Approx(c.expected).epsilon(1e-14));
    }

    // A hole in W enters the whole as its code: 1 / (0.5 / (0.5 - 999 + 0)).
    Table holed(Cells{{0.5, -999, 0}});
    Of(meanShare, 1, 3, 1, holed, B, out, weight, chosen);
    CHECK(out[0][0] == doctest::Approx(-1997.0).epsilon(1e-14));

    Table outsider(Cells{{0, 0, 0.2}}); // no OTU of weight 1: a sum of nothing
    Of(meanScaled, 1, 3, 1, outsider, B, out, weight, chosen);
    CHECK(out[0][0] == 0);

    out[0][0] = 77; // dimensions that don't meet: nothing is written
    CHECK(MatrixProd(1, 3, 2, 1, W, B, out) == 1);
    CHECK(MatrixProdSelectMV_Adjust_Weight(1, 3, 2, 1, W, B, out, chosen, weight, true) == 1);
    CHECK(out[0][0] == 77);
}

TEST_CASE("sums and layouts")
{
    Table A({{1, -999, 3}, {4, 5, 6}}), B({{1, 1, 1}, {2, 2, 2}}), out(2, 3, 77);
    CHECK(MatrixSum(2, 3, 2, 3, A, B, out, -1) == 0);
    CHECK(out.cells == Cells{{0, -1000, 2}, {2, 3, 4}});
    CHECK(MatrixSum(2, 3, 3, 2, A, B, out, 1) == 1);
    Table square({{1, 2, 3}, {4, 5, 6}, {7, 8, 9}});
    TransposeSqMatrix(3, square, square);
    UpperToLowerMatrix(3, square);
    CHECK(square.cells == Cells{{1, 4, 7}, {4, 5, 8}, {7, 8, 9}});
}

TEST_CASE("gaussj")
{
    // By hand, with the cofactors over the determinant -1; row and column 0 are not used.
    Table a({{0, 0, 0, 0}, {0, 2, 1, 1}, {0, 1, 3, 2}, {0, 1, 0, 0}});
    Table b({{0, 0, 0}, {0, 4, 0}, {0, 5, 1}, {0, 6, 0}});
    gaussj(a, 3, b, 2);
    const Cells found = {{0, 0, 1, 6, 0}, {-2, 1, 3, 15, 1}, {3, -1, -5, -23, -1}};
    for (int i = 0; i < 3; i++)
        for (int j = 0; j < 5; j++)
            CHECK((j < 3 ? a[i + 1][j + 1] : b[i + 1][j - 2]) ==
                  doctest::Approx(found.at(std::size_t(i)).at(std::size_t(j))).epsilon(1e-12));
}

TEST_CASE("gaussj goes on with a singular matrix")
{
    // The NaN of the first round hide every pivot: the last column is taken a second time.
    Table larger(4, 4, 0), c(4, 2, 1);
    const std::string told = tables::Written(stderr, [&] { gaussj(larger, 3, c, 1); });
    CHECK(told.find("gaussj: Singular Matrix-2gaussj: Singular Matrix-1") == 0);
    CHECK_FALSE(std::isfinite(c[2][1]));
}

TEST_CASE("choldc")
{
    // By hand: L = {{2, 0, 0}, {1, 3, 0}, {-1, 2, 1}}. Below the diagonal a is not read.
    Table a({{4, 2, -2}, {notANumber, 10, 5}, {notANumber, notANumber, 6}});
    double p[3];
    CHECK(choldc(a, 3, p) == 1);
    CHECK((p[0] == 2 && p[1] == 3 && p[2] == 1));
    CHECK((a[1][0] == 1 && a[2][0] == -1 && a[2][1] == 2));
    CHECK(a[0][1] == 2); // above the diagonal a stays

    Table indefinite({{1, 2}, {2, 1}});
    int status = 1;
    CHECK(tables::Written(stdout, [&] { status = choldc(indefinite, 2, p); }) ==
          "\ncholdc failed");
    CHECK(status == 0);
    CHECK(indefinite[1][0] == 2);
}
