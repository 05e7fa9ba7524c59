// SPDX-License-Identifier: GPL-3.0-or-later
// Agglomerative clustering of objects by their resemblance, and the partition of the objects at a
// chosen number of groups; collapsing identical objects beforehand.
//
// Objects are numbered from 1 in reports and labels, positions in matrices from 0. Of a resemblance
// matrix only the cells above the diagonal are read and written, unless said otherwise. A pair that
// does not compare (NaN) is never chosen while another is; without any other, the first pair of
// groups fuses.
#pragma once

/// One fusion. A clustering of n objects fills n - 1 records, in the order of the fusions; caller
/// allocates them, and `members` of each with room for n.
struct clusterReport {
    double fusionLevel;  ///< height, a single-precision value: the resemblance that was chosen, or
                         ///< the sum of squares within the new group
    double fusionCost;   ///< sum of squares only: what the fusion adds, a single-precision value
    int nMembers;        ///< objects in the new group
    int* members;        ///< their numbers: those of the group at the lower position first
    int lastOfFirst;     ///< number of the last object of that group, the seam in `members`
    double branchFirst;  ///< sum of squares only: fusionLevel less the sum of squares within the
    double branchSecond; ///< group at the lower (at the higher) position
};

// ---- Clustering -------------------------------------------------------------------------------

/// Minimum variance clustering: the pair fuses that adds least to the sum of squares within
/// groups; of equals the first in row order. Ward 1963, J. Am. Stat. Assoc. 58:236-244; Orloci
/// 1967, J. Ecol. 55:193-206.
///
/// rese    n x n distances, or squared distances if alreadySquared; only read
/// report  n - 1 records; nothing is done when n < 2
/// cost    n^3 comparisons at most
void SumSqCluster(int n, double** rese, clusterReport* report, bool alreadySquared = false);

/// Clustering by linkage; of equals the first pair in row order fuses.
///
/// rese           n x n
/// report         as above; fusionCost and branches are left alone
/// dissimilarity  true: the smallest value fuses first; false: the largest
/// squared        rese holds squared dissimilarities; levels are their roots
/// method         1 single, 2 complete linkage, 4 UPGMA, 5 WPGMA (averages: of roots when squared)
/// copy           false: rese is overwritten, and its rows permuted
/// Sneath and Sokal 1973, Numerical Taxonomy, chapter 5.
void LinkageCluster(int n, double** rese, clusterReport* report, bool dissimilarity, bool squared,
                    int method, bool copy);

/// Fuses the groups at positions i < j of n: the new one stands at i, those above j move down, and
/// the row of j goes to the end, so that the matrix can still be freed with all its rows.
///
/// sizes   n group sizes, moved and added up alike
/// matrix  n x n; values of the new group become squared distances to its centroid, from squared
///         distances (dissimilarity) or similarities
void FusionMatrix(int n, int* sizes, int i, int j, double** matrix, bool dissimilarity);
/// The same with the values of a linkage method; any other method number keeps those of group i.
void LinkageFusion(int n, int* sizes, int i, int j, double** matrix, bool dissimilarity,
                   int method);

// ---- Partitions -------------------------------------------------------------------------------

/// Labels 1 to k of n objects at k groups.
///
/// report  n - 1 records of a clustering; only read
/// method  3: fusions are taken by ascending level, since levels of sums of squares need not grow
///         with the step; any other: in their order
void GetClusterPartitionNew(int n, int k, int* partition, clusterReport* report, int method);

/// Compacts n labels, k different ones from 1 on, to 1 to k, keeping their order.
void RenamePartitionLabels(int n, int k, int* labels);

/// Labels 1 to *nGroups, in order of the first object, of objects that are identical: a
/// dissimilarity of exactly 0, a similarity of exactly 1. One sweep over the pairs by row.
void ClusterIdenticals(int n, double** rese, int* labels, int* nGroups, bool dissimilarity);

/// The resemblance of the first objects of each group: upper triangle and diagonal.
///
/// labels   of the objects of rese, 1 to nGroups
/// trimmed  nGroups x nGroups
void TrimRese(int n, int nGroups, int* labels, double** rese, double** trimmed);

// ---- Two vectors ------------------------------------------------------------------------------

/// Eigenanalysis of the cross-products of two vectors, over the cells present in both.
///
/// secondValue  receives the smaller eigenvalue
/// firstValue, firstVector, secondVector  the larger one and the vectors, 2 cells each; or null
void HierFactorialEigen(int n, double* a, double* b, double* firstValue, double* secondValue,
                        double* firstVector, double* secondVector);
