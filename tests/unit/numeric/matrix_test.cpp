#include "numeric/matrix.hpp"

#include <doctest/doctest.h>

#include <limits>
#include <random>

#include "unit/numeric/tables.hpp"

using tables::Cells;
using tables::Table;

namespace {

const double notANumber = std::numeric_limits<double>::quiet_NaN();
const double infinity = std::numeric_limits<double>::infinity();

// The products once more, cell by cell as their definitions read. The program's blocked forms
// must give the same bits.

enum Product {
    plain, plainMV, weighted, weightedKeep, weightedScaled, mean, meanShare, meanScaled, nProducts
};

double PlainCell(Product product, int n, double** A, double** B, int i, int j, const int* weight,
                 const int* chosen)
{
    double sum = 0, U = 0, P = 0, all = 0;
    int nSkipped = 0;
    for (int k = 0; k < n; k++) {
        const double a = A[i][k];
        const double b = B[k][j];
        all += a;
        if (a == -999.0 || b == -999.0) {
            nSkipped++;
            continue;
        }
        switch (product) {
        case plain:
        case plainMV: sum += a * b; break;
        case weighted: sum += (weight[k] * a) * b; break;
        case mean: sum += (weight[k] * b) * a; break;
        default: sum += (a * b) * weight[k]; break;
        }
        U += weight[k] * a;
        P += a;
    }
    switch (product) {
    case plain: return sum;
    case mean: return chosen[j] == 1 ? sum / (P / all) : 0.0;
    case meanShare: return chosen[j] != 1 ? 0.0 : P > 0 ? sum / (P / all) : sum;
    case meanScaled: return chosen[j] != 1 ? 0.0 : U > 0 ? sum / (U / all) : sum;
    case weightedScaled: sum /= U / P; break;
    default: break;
    }
    return sum == 0 && nSkipped > 0 ? -999.0 : sum;
}

int Fast(Product product, int rows, int n, int cols, double** A, double** B, double** out,
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
Table& FillRandom(Table& table, std::mt19937& engine, const std::vector<double>& odd)
{
    for (auto& row : table.cells)
        for (double& x : row) {
            const unsigned long kind = engine() % 20;
            x = static_cast<double>(engine()) / 4294967296.0 * 3 - 1;
            if (kind < 3) x = 0.0;
            if (kind == 3) x = -0.0;
            if (kind == 4 && !odd.empty()) x = odd[engine() % odd.size()];
        }
    return table;
}

} // namespace

TEST_CASE("products have the bits of their plain form")
{
    struct Content {
        const char* fact;
        std::vector<double> oddA, oddB;
    };
    const Content contents[] = {
        {"whole", {}, {}},
        {"holes in both", {-999}, {-999}},
        {"NaN and infinities in A", {notANumber, infinity, -infinity, -999}, {}},
        {"NaN and infinities in B", {}, {notANumber, infinity, -infinity, -999}},
        {"cells that overflow", {1e200, -999}, {-1e200, 1e308}},
        {"cells that vanish", {1e-200, 5e-324}, {-1e-200, -999}},
    };
    const int shapes[][3] = {{1, 1, 1}, {3, 0, 2}, {5, 30, 4}, {19, 40, 131}, {8, 3, 300}};
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
                std::vector<int> weight(static_cast<std::size_t>(n) + 1, 1);
                for (int& w : weight) // all 1, a mask of 0 and 1, any integers
                    if (weights > 0) w = static_cast<int>(engine() % (weights == 1 ? 2 : 7)) -
                                         (weights == 1 ? 0 : 3);
                std::vector<int> chosen(static_cast<std::size_t>(cols));
                for (int& c : chosen) c = static_cast<int>(engine() % 3);
                for (int p = 0; p < nProducts; p++) {
                    CAPTURE(p);
                    const Product product = static_cast<Product>(p);
                    Table out(rows, cols, 77), expected(rows, cols, 0);
                    for (int i = 0; i < rows; i++)
                        for (int j = 0; j < cols; j++)
                            expected[i][j] = PlainCell(product, n, A, B, i, j, weight.data(),
                                                       chosen.data());
                    CHECK(Fast(product, rows, n, cols, A, B, out, weight.data(), chosen.data()) ==
                          0);
                    CHECK(tables::SameBits(out.cells, expected.cells));
                }
            }
}

TEST_CASE("products by hand")
{
    Table row(Cells{{-999, 1}});
    Table column(Cells{{5}, {0}});
    Table out(1, 1, 77);
    MatrixProd(1, 2, 2, 1, row, column, out);
    CHECK(out[0][0] == 0);
    MatrixProdMV(1, 2, 2, 1, row, column, out);
    CHECK(out[0][0] == -999);

    // A community of 0.5, 0.3, 0.2 and a trait of 2, missing, 4; the third OTU has weight 0.
    Table W(Cells{{0.5, 0.3, 0.2}});
    Table B(Cells{{2}, {-999}, {4}});
    const int weight[] = {1, 1, 0};
    const int chosen[] = {1};
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
        Fast(c.product, 1, 3, 1, W, B, out, weight, chosen);
        CHECK(out[0][0] == doctest::Approx(c.expected).epsilon(1e-14));
    }

    // A hole in W enters the whole as its code: 1 / (0.5 / (0.5 - 999 + 0)).
    Table holed(Cells{{0.5, -999, 0}});
    Fast(meanShare, 1, 3, 1, holed, B, out, weight, chosen);
    CHECK(out[0][0] == doctest::Approx(-1997.0).epsilon(1e-14));

    out[0][0] = 77; // dimensions that don't meet: nothing is written
    CHECK(MatrixProd(1, 3, 2, 1, W, B, out) == 1);
    CHECK(MatrixProdMV_Weight(1, 3, 2, 1, W, B, out, weight) == 1);
    CHECK(MatrixProdMV_Weight(1, 3, 2, 1, W, B, out, weight, true) == 1);
    CHECK(MatrixProdSelectMV_Adjust_Weight(1, 3, 2, 1, W, B, out, chosen, weight, true) == 1);
    CHECK(out[0][0] == 77);
}

TEST_CASE("sums, copies and layouts")
{
    Table A({{1, -999, 3}, {4, 5, 6}});
    Table B({{1, 1, 1}, {2, 2, 2}});
    Table out(2, 3, 77);
    CHECK(MatrixSum(2, 3, 2, 3, A, B, out, -1) == 0);
    CHECK(out.cells == Cells{{0, -1000, 2}, {2, 3, 4}});
    CHECK(MatrixSum(2, 3, 3, 2, A, B, out, 1) == 1);
    ScalarMatrixProd(2, 3, -0.5, A, out);
    CHECK(out.cells == Cells{{-0.5, -999, -1.5}, {-2, -2.5, -3}});

    Table transposed(3, 2, 77);
    TransposeMatrix(2, 3, A, transposed);
    CHECK(transposed.cells == Cells{{1, 4}, {-999, 5}, {3, 6}});
    CopyMatrix(2, 3, A, out);
    CHECK(out.cells == A.cells);

    Table square({{1, 2, 3}, {4, 5, 6}, {7, 8, 9}});
    TransposeSqMatrix(3, square, square);
    CHECK(square.cells == Cells{{1, 4, 7}, {2, 5, 8}, {3, 6, 9}});
    UpperToLowerMatrix(3, square);
    CHECK(square.cells == Cells{{1, 4, 7}, {4, 5, 8}, {7, 8, 9}});

    Table from1(3, 4, 77);
    Convertn_n1(2, 3, A, from1);
    CHECK(from1.cells == Cells{{77, 77, 77, 77}, {77, 1, -999, 3}, {77, 4, 5, 6}});
    Convertn1_n(2, 3, from1, out);
    CHECK(out.cells == A.cells);
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

    // Of the equal maxima the last is the first pivot, so cell 1, 1 is what is left of it:
    // 1 / (49 - 3 (3/49)), while cell 2, 2 is corrected afterwards and rounds differently.
    Table equal({{0, 0, 0}, {0, 49, 3}, {0, 3, 49}});
    Table none(3, 1, 0);
    gaussj(equal, 2, none, 0);
    CHECK(equal[1][1] == 1.0 / (49.0 - 3.0 * (1.0 / 49.0) * 3.0));
    CHECK(equal[1][1] != equal[2][2]);
}

TEST_CASE("gaussj goes on with a singular matrix")
{
    Table larger(4, 4, 0);
    Table c(4, 2, 1);
    // The NaN of the first round hide every pivot: the last column is taken a second time.
    const std::string told = tables::Written(stderr, [&] { gaussj(larger, 3, c, 1); });
    CHECK(told.find("gaussj: Singular Matrix-2") == 0);
    CHECK(told.find("gaussj: Singular Matrix-1") != std::string::npos);
    CHECK(told.find('\n') == std::string::npos);
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
