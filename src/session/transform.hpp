// SPDX-License-Identifier: GPL-3.0-or-later
// Communities made of others: pooled by groups, turned into the change between the two of a pair,
// or averaged along a series. First the arithmetic on plain matrices, then the same on the session.
#pragma once

/// Pools rows and columns by groups: the mean of the cells that a group of rows and a group of
/// columns have in common.
///
/// in            n x m; -999 is a number here
/// out           nRowGroups x nColumnGroups, written
/// rowGroups     n group numbers from 1; a row of any other number counts nowhere
/// columnGroups  m group numbers from 1, in the same way
/// mode          1: the means are then scaled to the total of the sums; any other: plain means
/// no guard      a group without members gives NaN
void ConcentrateGroups(int n, int m, double** in, double** out, int nRowGroups,
                       const int* rowGroups, int nColumnGroups, const int* columnGroups, int mode);

/// Change within pairs of communities: second minus first in the order of the columns. A third
/// member of a pair gives third minus second plus first.
///
/// in        nRows x nCommunities; -999 is a number here
/// out       nRows x nPairs, all zero at the call
/// pairs     nCommunities numbers; only 1 to nPairs are looked for
void ReleveChange(int nCommunities, double** in, double** out, int nRows, int nPairs,
                  const int* pairs);

/// Means of `width` neighbours along a series: item k is the mean of items k to k + width - 1.
///
/// in        rows x columns; -999 is a number here
/// poolRows  the series runs along the rows, otherwise along the columns
/// newCount  written: length of the series - width + 1
/// out       newCount x columns, or rows x newCount; written
/// cost      newCount * width * elements across
/// Ludwig & Cornelius 1987, Ecology 68:448-450.
void SplitMovingWinPool(int rows, int columns, double** in, double** out, int width, int& newCount,
                        bool poolRows);

// --- On the session: W, E, the map of species, community labels, ncst and ncsm become those of the
// --- new communities, of which there are never more than of the old ones. Arrays keep their
// --- storage.

/// Pools communities by the current partition (groupRel, nGroups, grLabel). Binary variables
/// become quantitative. groupCst ends up 1, 2, ...
void PoolCommunities();

/// Change within the pairs in groupRel, of which there are nGroups, labelled by grLabel. A nominal
/// variable becomes binary: 1 where it has changed.
void ComputeChange();

/// Averages along the series of communities with windows of SMWSize; keeps the first labels.
void PoolMovingWindow();
