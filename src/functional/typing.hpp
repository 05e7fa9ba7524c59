// SPDX-License-Identifier: GPL-3.0-or-later
// Types of OTUs found from their resemblance, where the user does not give them.
#pragma once

/// Clusters n OTUs into types: OTUs of identical traits are collapsed into one, what remains is
/// clustered, and the tree is cut.
///
/// S          n x n similarities (1: identical) or dissimilarities (0: identical); only the upper
///            triangle and the diagonal are read
/// method     1 single, 2 complete linkage, 3 sum of squares (of a similarity: on 2 (1 - s) as the
///            squared distance), 4 UPGMA, 5 WPGMA
/// nTypes     types wanted; no more come out than there are different OTUs
/// partition  receives n labels from 1
/// returns    the number of types
/// cost       m^3 comparisons at most for m different OTUs
int PartitionFromResemblance(int n, double** S, bool isDissimilarity, int method, int nTypes,
                             int* partition);
