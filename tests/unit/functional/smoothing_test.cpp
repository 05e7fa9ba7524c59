#include "functional/smoothing.hpp"

#include <doctest/doctest.h>

#include <cmath>
#include <limits>

#include "numeric/adjust.hpp"
#include "numeric/statistics.hpp"
#include "unit/functional/tables.hpp"

namespace {

/// The definition, cell by cell and community by community.
void PlainConditionalProb(int n, int s, double** W, double** C, int mode)
{
    for (int i = 0; i < s; i++)
        for (int j = 0; j < s; j++) {
            C[i][j] = 0.0;
            for (int k = 0; k < n; k++) {
                if (IsMissing(W[k][i]) || IsMissing(W[k][j])) continue;
                if (mode == 0 && W[k][i] > 0.0 && W[k][j] > 0.0) C[i][j] += 1.0;
                if (mode == 1 && W[k][j] > 0.0) C[i][j] += W[k][i];
                if (mode == 2) C[i][j] += W[k][i] * W[k][j];
            }
        }
    if (mode == 2) return;
    for (int i = 0; i < s; i++)
        for (int j = 0; j < s; j++)
            if (j != i && C[i][i] > 0.0) C[i][j] /= C[i][i];
    for (int i = 0; i < s; i++) C[i][i] = 1.0;
}

void PlainWithoutTarget(int n, int s, double** W, double** out, int mode)
{
    OwnedRows C(s, s), A(n, s);
    PlainConditionalProb(n, s, W, C, mode);
    UnitSumRowsAdjMV(n, s, A, W);
    for (int k = 0; k < n; k++)
        for (int j = 0; j < s; j++) {
            const double a = A[k][j];
            out[k][j] = 0.0;
            if (1.0 - a == 0.0) continue;
            for (int i = 0; i < s; i++) {
                const double c = i == j ? 0.0 : C[i][j];
                out[k][j] += (A[k][i] / (1.0 - a)) * (mode == 2 ? c / (1.0 - c) : c);
            }
        }
}

bool SameValue(double a, double b)
{
    return a == b || (std::isnan(a) && std::isnan(b));
}

bool SameValues(int rows, int columns, double** a, double** b)
{
    for (int i = 0; i < rows; i++)
        for (int j = 0; j < columns; j++)
            if (!SameValue(a[i][j], b[i][j])) return false;
    return true;
}

} // namespace

TEST_CASE("joint occurrences over present cells have the bits of the definition") {
    const int n = 13, s = 29;
    const double infinity = std::numeric_limits<double>::infinity();
    for (const double oddCell : {0.0, -999.0, -2.5, infinity})
        for (int mode = 0; mode <= 3; mode++) {
            CAPTURE(oddCell);
            CAPTURE(mode);
            Numbers numbers(77);
            OwnedRows W(n, s), plain(s, s), fast(s, s), plainOut(n, s), fastOut(n, s);
            for (int k = 0; k < n; k++)
                for (int i = 0; i < s; i++) W[k][i] = numbers.Performance(0.3);
            W[4][7] = oddCell;
            PlainConditionalProb(n, s, W, plain, mode);
            ConditionalProb(n, s, W, fast, mode);
            CHECK(SameValues(s, s, plain, fast));
            PlainWithoutTarget(n, s, W, plainOut, mode);
            BealsSmoothing(n, s, W, W, fastOut, false, mode);
            CHECK(SameValues(n, s, plainOut, fastOut));
        }
}

TEST_CASE("conditional probabilities at the edges") {
    // The first community holds OTUs 1 and 2, the second OTU 1 with a hole at OTU 2; OTU 3 is
    // nowhere. All by hand.
    Table W({{2, 5, 0}, {6, -999, 0}});
    OwnedRows C(3, 3);
    ConditionalProb(2, 3, W, C, 1);
    CheckCells(C, {{1, 2.0 / 8, 0}, {1, 1, 0}, {0, 0, 1}}, 1e-15);
    ConditionalProb(2, 3, W, C, 0);
    CheckCells(C, {{1, 1.0 / 2, 0}, {1, 1, 0}, {0, 0, 1}}, 1e-15);
    ConditionalProb(2, 3, W, C, 2, true); // mode 2 keeps its diagonal
    CheckCells(C, {{0.8, 0.2, 0}, {10.0 / 35, 25.0 / 35, 0}, {0, 0, 0}}, 1e-15);
    ConditionalProb(2, 3, W, C, 7);
    CheckCells(C, {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}, 1e-15);
}

TEST_CASE("smoothing a community of one OTU") {
    // by hand: C is (1 1/4 1/4; 1 1 1; 1 1 1)
    Table W({{3, 0, 0}, {1, 1, 2}, {0, 0, 0}});
    OwnedRows out(3, 3);
    BealsSmoothing(3, 3, W, W, out, true, 1, false);
    CheckCells(out, {{1, 0.25, 0.25}, {1, 0.8125, 0.8125}, {0, 0, 0}}, 1e-15);
    BealsSmoothing(3, 3, W, W, out, false, 1, false);
    // OTU 1 alone leaves nothing to estimate itself from
    CheckCells(out, {{0, 0.25, 0.25}, {1, 0.75, 0.625}, {0, 0, 0}}, 1e-15);
}
