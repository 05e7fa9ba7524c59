// SPDX-License-Identifier: GPL-3.0-or-later
#include "numeric/clustering.hpp"

#include <doctest/doctest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <utility>
#include <vector>

#include "unit/numeric/matrices.hpp"
#include "unit/numeric/tables.hpp"

namespace {

using tables::Cells;
using tables::Table;

using Numbers = std::vector<int>;
using Points = std::vector<std::pair<double, double>>;

enum Method { single = 1, complete, squares, average, weighted };

/// Records of n objects, with their members. Untouched fields hold -5.
struct Records {
    explicit Records(int objects)
        : n(objects), members(static_cast<std::size_t>(n), Numbers(static_cast<std::size_t>(n), -5))
    {
        // One more than is used.
        for (Numbers& room : members) records.push_back({-5, -5, -5, room.data(), -5, -5, -5});
    }
    operator clusterReport*() { return records.data(); }
    const clusterReport& operator[](int step) const
    {
        return records[static_cast<std::size_t>(step)];
    }
    Numbers Members(int step) const
    {
        const clusterReport& record = (*this)[step];
        return {record.members, record.members + record.nMembers};
    }
    Numbers Partition(int k, int method)
    {
        Numbers labels(static_cast<std::size_t>(n), -5);
        GetClusterPartitionNew(n, k, labels.data(), records.data(), method);
        return labels;
    }
    const int n;
    std::vector<Numbers> members;
    std::vector<clusterReport> records;
};

/// Distances above the diagonal, their power or any function of them; NaN elsewhere, where nothing
/// may be read.
Cells Distances(const Points& points, const std::function<double(double)>& of = [](double d) {
    return d;
})
{
    const std::size_t n = points.size();
    Cells cells(n, std::vector<double>(n, std::nan("")));
    for (std::size_t i = 0; i < n; i++)
        for (std::size_t k = i + 1; k < n; k++) {
            const double dx = points[i].first - points[k].first;
            const double dy = points[i].second - points[k].second;
            cells[i][k] = of(std::sqrt(dx * dx + dy * dy));
        }
    return cells;
}

Records Linked(Cells cells, bool dissimilarity, bool squared, int method)
{
    Table rese(std::move(cells));
    Records records(rese.Rows());
    const Cells before = rese.cells;
    LinkageCluster(rese.Rows(), rese, records, dissimilarity, squared, method, true);
    CHECK(tables::SameBits(rese.cells, before));
    return records;
}

Records SquaresOf(Cells cells, bool alreadySquared)
{
    Table rese(std::move(cells));
    Records records(rese.Rows());
    SumSqCluster(rese.Rows(), rese, records, alreadySquared);
    return records;
}

double Square(double d)
{
    return d * d;
}

const Points eightPoints = {{1.3, 0.2}, {2.1, 0.9}, {2.0, 1.7}, {5.2, 4.1},
                            {6.0, 3.9}, {5.8, 5.3}, {9.1, 0.4}, {8.2, 1.5}};

} // namespace

TEST_CASE("levels and partitions of four linkages")
{
    // R 4.2: hclust(d, name)$height, cutree(h, 5)
    struct Case {
        const char* name;
        int method;
        std::vector<double> laterLevels; // the first two are the same
        Numbers five;
    };
    const Case cases[] = {
        {"single", single,
         {1.06301458127347, 1.34164078649987, 1.42126704035519, 3.25576411921994, 4},
         {1, 1, 1, 2, 2, 3, 4, 5}},
        {"complete", complete,
         {1.41421356237309, 1.42126704035519, 1.65529453572468, 5.90762219509677, 7.80256368125246},
         {1, 2, 2, 3, 3, 3, 4, 5}},
        {"average", average,
         {1.35915455849907, 1.37792717443648, 1.42126704035519, 4.61317564778867, 5.90768196393469},
         {1, 1, 1, 2, 2, 3, 4, 5}},
        {"mcquitty", weighted,
         {1.35915455849907, 1.37792717443648, 1.42126704035519, 4.76013963658471, 6.32939169618854},
         {1, 1, 1, 2, 2, 3, 4, 5}},
    };
    for (const Case& c : cases) {
        CAPTURE(c.name);
        std::vector<double> levels = {0.806225774829855, 0.824621125123532};
        levels.insert(levels.end(), c.laterLevels.begin(), c.laterLevels.end());
        Records plain = Linked(Distances(eightPoints, Square), true, true, c.method);
        // Similarities that fall linearly with distance give the same tree.
        const auto similarity = [](double d) { return 1.0 - d / 16.0; };
        const Records similar =
            Linked(Distances(eightPoints, similarity), false, false, c.method);
        for (int step = 0; step < 7; step++) {
            const double level = levels[static_cast<std::size_t>(step)];
            CHECK(plain[step].fusionLevel == doctest::Approx(level).epsilon(1e-7));
            CHECK(similar[step].fusionLevel == doctest::Approx(1.0 - level / 16.0).epsilon(1e-7));
            CHECK(plain.Members(step) == similar.Members(step));
            CHECK(plain[step].fusionCost == -5);
        }
        CHECK(plain.Partition(5, c.method) == c.five);
        CHECK(plain.Partition(8, c.method) == Numbers{1, 2, 3, 4, 5, 6, 7, 8});
    }
}

TEST_CASE("sums of squares of the groups, and what each fusion adds")
{
    // R 4.2: hclust(d^2, "ward.D")$height / 2; sum(D2[g, g]) / 2 / length(g)
    const double costs[] = {0.325, 0.34, 1.01, 1.15333333333333, 1.18166666666667,
                            25.2406666666667, 56.3280833333333};
    const double levels[] = {0.325,   0.34,   1.01,    1.49333333333333, 1.50666666666667,
                             27.744, 85.57875};
    for (const bool alreadySquared : {false, true}) {
        Records records = SquaresOf(
            alreadySquared ? Distances(eightPoints, Square) : Distances(eightPoints),
            alreadySquared);
        for (int step = 0; step < 7; step++) {
            CHECK(records[step].fusionCost == doctest::Approx(costs[step]).epsilon(1e-6));
            CHECK(records[step].fusionLevel == doctest::Approx(levels[step]).epsilon(1e-6));
        }
        CHECK(records.Members(5) == Numbers{4, 5, 6, 7, 8});
        CHECK(records[5].lastOfFirst == 6);
        CHECK(records[5].branchFirst == doctest::Approx(27.744 - 1.49333333333333).epsilon(1e-6));
        CHECK(records[5].branchSecond == doctest::Approx(27.744 - 1.01).epsilon(1e-6));
        // R 4.2: cutree(h, 3:4)
        CHECK(records.Partition(3, squares) == Numbers{1, 1, 1, 2, 2, 2, 3, 3});
        CHECK(records.Partition(4, squares) == Numbers{1, 2, 2, 3, 3, 3, 4, 4});
    }
}

TEST_CASE("of equal values the first pair in row order of the positions fuses")
{
    const Cells ties = {{0, 5, 1, 5}, {0, 0, 5, 1}, {0, 0, 0, 5}, {0, 0, 0, 0}};
    for (const int method : {single, complete, squares, average, weighted}) {
        CAPTURE(method);
        const Records records =
            method == squares ? SquaresOf(ties, false) : Linked(ties, true, false, method);
        CHECK(records.Members(0) == Numbers{1, 3});
        CHECK(records.Members(1) == Numbers{2, 4});
        CHECK(records.Members(2) == Numbers{1, 3, 2, 4});
        CHECK(records[2].lastOfFirst == 3);
    }
    // 3 and 4 fuse at position 2; then 1 with {3, 4} equals 1 with 2, which stands before it.
    const Cells chain = {{0, 2, 2, 9}, {0, 0, 9, 9}, {0, 0, 0, 1}, {0, 0, 0, 0}};
    CHECK(Linked(chain, true, false, single).Members(1) == Numbers{1, 2});
}

TEST_CASE("values that do not compare")
{
    const Cells cells(4, std::vector<double>(4, std::nan(""))); // every object still fuses once
    CHECK(Linked(cells, true, false, average).Members(2) == Numbers{1, 2, 3, 4});
}

TEST_CASE("levels and costs of sums of squares are rounded, whatever the compiler")
{
    const Records records = SquaresOf({{0, 0.1, 0.5}, {0, 0, 0.7}, {0, 0, 0}}, true);
    CHECK(records[0].fusionLevel == 0.05000000074505806); // 0.05f
    CHECK(records[0].fusionCost == 0.05000000074505806);

    // Steps 2 and 3 reach the same level only once they are rounded; then the order of the steps
    // decides. Distances are 2 (1 - s) of the similarity s = 1 - |dx| / 4.
    const std::vector<double> x = {3.9, 3.3, 3.4, 1.7, 2.5};
    Cells squaredDistances(5, std::vector<double>(5));
    for (std::size_t i = 0; i < 5; i++)
        for (std::size_t k = i + 1; k < 5; k++)
            squaredDistances[i][k] = 2 * (1 - (1 - std::fabs(x[i] - x[k]) / 4));
    CHECK(SquaresOf(squaredDistances, true).Partition(3, squares) == Numbers{1, 1, 1, 2, 3});
}

TEST_CASE("sums of squares that do not grow with the step are read by level")
{
    // By hand: an equilateral triangle of squared side 4 (levels 2, then 4 at a cost of 2), and a
    // pair of squared distance 5 (level 2.5) that fuses after it.
    Records records = SquaresOf({{0, 4, 4, 99, 99}, {0, 0, 4, 99, 99}, {0, 0, 0, 99, 99},
                                 {0, 0, 0, 0, 5}, {0, 0, 0, 0, 0}}, true);
    CHECK(records[1].fusionLevel == 4.0);
    CHECK(records[1].fusionCost == 2.0);
    CHECK(records[1].branchFirst == 2.0);
    CHECK(records[1].branchSecond == 4.0);
    CHECK(records.Partition(3, squares) == Numbers{1, 1, 2, 3, 3});
    CHECK(records.Partition(3, average) == Numbers{1, 1, 1, 2, 3});
}

TEST_CASE("identical objects")
{
    const auto labels = [](Cells cells, bool isDissimilarity) {
        Table rese(std::move(cells));
        Numbers found(3);
        int nGroups = 0;
        ClusterIdenticals(3, rese, found.data(), &nGroups, isDissimilarity);
        CHECK(nGroups == 2);
        return found;
    };
    CHECK(labels({{1, 0.9999999, 1}, {0, 1, 0.5}, {0, 0, 1}}, false) == Numbers{1, 2, 1});
    CHECK(labels({{0, 1, 1e-300}, {0, 0, 0}, {0, 0, 0}}, true) == Numbers{1, 2, 2});
    // The last row that matches decides.
    CHECK(labels({{1, 0.5, 1}, {0, 1, 1}, {0, 0, 1}}, false) == Numbers{1, 2, 2});
}
