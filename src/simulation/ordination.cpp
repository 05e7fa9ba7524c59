// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulation/ordination.hpp"

#include "numeric/adjust.hpp"
#include "numeric/matrix.hpp"
#include "numeric/ordination.hpp"
#include "numeric/resemblance.hpp"

CommunityOrdination::CommunityOrdination(int nCommunities, int nOTUs, double** W)
    : otuScores(nOTUs, nOTUs), communityScores(nOTUs, nCommunities), values(nOTUs)
{
    const int communitiesInRows = 2;
    OwnedRows deviations(nOTUs, nCommunities);
    OwnedRows products(nOTUs, nOTUs);
    TransposeMatrix(nCommunities, nOTUs, W, deviations);
    DeviationsExpectationsMV(nOTUs, nCommunities, deviations, deviations);
    CrossProductMV(nOTUs, nCommunities, deviations, products);
    bool noNegative = false;
    OrdinationLib_D(nOTUs, nCommunities, W, products, otuScores, communityScores, &nAxes, values,
                    &noNegative, correspondence, crossProductMeasure, communitiesInRows);
}
