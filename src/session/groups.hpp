// SPDX-License-Identifier: GPL-3.0-or-later
// Partitions that the user gives: groups of communities or other objects, and pairs of communities.
#pragma once

/// Asks for a partition of n objects.
///
/// groups    written: number of groups, 0 to n
/// group     n, written: group of each object, from 1
/// labels    room for n labels of 4 characters, of which `groups` are written
/// word      "communities", which are shown by their labels, or another word for the objects,
///           which are shown by number
void SettingAnyGroups(int n, int& groups, int* group, char** labels, const char* word);

/// Asks which communities are the two of a pair, and for the labels of the pairs.
///
/// n         communities
/// groups    written: number of pairs, n / 2
/// group     n, written; see the source for the numbers when the two follow one another
/// labels    room for n / 2 labels of 4 characters, written
void SettingNewReleves(int n, int& groups, int* group, char** labels);
