// SPDX-License-Identifier: GPL-3.0-or-later
// The ordination of simulated communities, whose axes the report compares with what is known of the
// communities.
#pragma once

#include "shell/arrays.hpp"

/// Correspondence analysis of S communities by N OTUs (W, S x N; further rows are not read).
///
/// The eigenvalues and the scores are those of the deviations from expectation (x - R C / N) /
/// sqrt(R C); both sets of scores have a weighted variance of 1. An OTU or community without
/// individuals scores 0. Hill 1974, Applied Statistics 23:340-354.
struct CommunityOrdination {
    CommunityOrdination(int nCommunities, int nOTUs, double** W);

    OwnedRows otuScores;       // N x N, of which nAxes rows
    OwnedRows communityScores; // N x S, of which nAxes rows
    OwnedVector values;        // N eigenvalues, descending
    int nAxes = 0;
};
