// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulation/ordination.hpp"

#include <doctest/doctest.h>

#include <cmath>

#include "unit/numeric/matrices.hpp"

namespace {

/// The sign of an axis is the solver's; it is fixed by the first OTU.
double SignOf(double score, double expected)
{
    return score * expected < 0.0 ? -1.0 : 1.0;
}

} // namespace

TEST_CASE("communities are ordinated as by correspondence analysis")
{
    Rows W{{3, 0, 1, 2}, {1, 4, 0, 0}, {0, 2, 5, 1}, {2, 1, 0, 3}, {0, 0, 3, 6}};
    // vegan 2.6-4: cca(W), scores(scaling = "none"); ade4: dudi.coa, c1 and l1, are the same
    const double values[] = {0.479938215781, 0.355926337789, 0.112118250663};
    const double otus[4][3] = {{-0.3001483559, 1.6686163841, -1.3387669677},
                               {-1.8120360289, -0.4190312951, 0.6309366536},
                               {0.5145144463, -1.2690170111, -0.9500781482},
                               {0.8212093601, 0.3618894884, 1.0138957138}};
    const double communities[5][3] = {{0.30228351434, 1.246129132096, -1.4626797144},
                                      {-2.17914459631, -0.002517214641, 0.7077872419},
                                      {-0.04155213138, -1.429204701334, -0.9238057838},
                                      {0.01234053510, 1.118532604486, 0.4953052070},
                                      {1.03782174844, -0.304638526179, 1.0728619006}};
    const CommunityOrdination o(5, 4, W);
    REQUIRE(o.nAxes == 3);
    for (int a = 0; a < 3; a++) {
        CAPTURE(a);
        CHECK(o.values[a] == doctest::Approx(values[a]).epsilon(1e-10));
        const double sign = SignOf(o.otuScores[a][0], otus[0][a]);
        for (int i = 0; i < 4; i++)
            CHECK(sign * o.otuScores[a][i] == doctest::Approx(otus[i][a]).epsilon(1e-8));
        for (int k = 0; k < 5; k++)
            CHECK(sign * o.communityScores[a][k] ==
                  doctest::Approx(communities[k][a]).epsilon(1e-8));
    }
}

TEST_CASE("an OTU and a community without individuals score 0, and no cell is lost")
{
    Rows W{{3, 0, 1}, {0, 0, 0}, {1, 0, 4}};
    const CommunityOrdination o(3, 3, W);
    REQUIRE(o.nAxes == 1);
    CHECK(std::fabs(o.otuScores[0][1]) < 1e-12);
    CHECK(o.communityScores[0][1] == 0.0);
}
