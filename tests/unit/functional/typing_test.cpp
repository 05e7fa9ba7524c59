// SPDX-License-Identifier: GPL-3.0-or-later
#include "functional/typing.hpp"

#include <doctest/doctest.h>

#include <cmath>
#include <vector>

#include "unit/numeric/tables.hpp"

namespace {

using Labels = std::vector<int>;

/// Values of one trait; OTUs 2 and 5 are alike, and so are 3 and 10.
const std::vector<double> trait = {20, 9, 63, 7, 9, 47, 6, 43, 53, 63, 1};

tables::Cells Compared(bool isDissimilarity, const std::vector<double>& x = trait)
{
    const std::size_t n = x.size();
    tables::Cells S(n, std::vector<double>(n, std::nan("")));
    for (std::size_t i = 0; i < n; i++)
        for (std::size_t k = i; k < n; k++) {
            const double d = std::fabs(x[i] - x[k]);
            S[i][k] = isDissimilarity ? d : 1.0 - d / 64.0;
        }
    return S;
}

Labels Types(tables::Cells cells, bool isDissimilarity, int method, int nTypes, int expected)
{
    tables::Table S(std::move(cells));
    Labels partition(static_cast<std::size_t>(S.Rows()), -5);
    CHECK(PartitionFromResemblance(S.Rows(), S, isDissimilarity, method, nTypes,
                                   partition.data()) == expected);
    return partition;
}

} // namespace

TEST_CASE("types of OTUs by clustering, alike OTUs together")
{
    // R 4.2: x <- unique(trait); cutree(hclust(dist(x), name), k)[match(trait, x)]; for method 3
    // hclust(dist(x)^2, "ward.D") on distances, hclust(dist(x), "ward.D") on similarities, as
    // 2 (1 - s) is proportional to the distance, cut by levels sum(D2[g, g]) / 2 / length(g): the
    // last but one fusion of similarities stands at 16.4, below the 16.5 of the one before.
    // The same partitions from both.
    const Labels five = {1, 2, 3, 2, 2, 4, 2, 4, 5, 3, 2}, chained = {1, 2, 3, 2, 2, 3, 2, 3, 3, 3, 2};
    const Labels ofThree[] = {chained, {1, 1, 2, 1, 1, 3, 1, 3, 2, 2, 1},
                              {1, 1, 2, 1, 1, 3, 1, 3, 3, 2, 1},
                              {1, 1, 2, 1, 1, 3, 1, 3, 3, 2, 1}, chained};
    for (int method = 1; method <= 5; method++)
        for (const bool isDissimilarity : {true, false}) {
            CAPTURE(method);
            CAPTURE(isDissimilarity);
            const tables::Cells compared = Compared(isDissimilarity);
            CHECK(Types(compared, isDissimilarity, method, 3, 3) == ofThree[method - 1]);
            CHECK(Types(compared, isDissimilarity, method, 5, 5) == five);
        }
    // Where the sums of squares of roots decide otherwise. R 4.2, x <- c(1, 25, 9, 14, 2):
    // cutree(hclust(dist(x)^2, "ward.D"), 2) and cutree(hclust(dist(x), "ward.D"), 2)
    const std::vector<double> x = {1, 25, 9, 14, 2};
    CHECK(Types(Compared(true, x), true, 3, 2, 2) == Labels{1, 2, 1, 1, 1});
    CHECK(Types(Compared(false, x), false, 3, 2, 2) == Labels{1, 2, 2, 2, 1});
}

TEST_CASE("there are no more types than different OTUs, and one at least")
{
    const Labels different = {1, 2, 3, 4, 2, 5, 6, 7, 8, 3, 9};
    for (int method = 1; method <= 5; method++) {
        CAPTURE(method);
        CHECK(Types(Compared(false), false, method, 11, 9) == different);
        CHECK(Types(Compared(true), true, method, 9, 9) == different);
        CHECK(Types(Compared(true), true, method, 0, 1) == Labels(11, 1));
        CHECK(Types({{1, 1}, {1, 1}}, false, method, 2, 1) == Labels{1, 1});
    }
}
