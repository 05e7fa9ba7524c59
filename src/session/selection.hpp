// SPDX-License-Identifier: GPL-3.0-or-later
// What is taken of a data set: positions of traits, OTUs, communities and variables, and the session
// cut down to them.
#pragma once

#include <vector>

/// What becomes of the communities.
enum CommunityOption { keepAll = 1, chooseSome, poolByGroups, computeChange, poolByWindow };

/// Positions from 0 of what is taken, in the order it is to stand. Something may stand twice, but
/// the list is never longer than what it is taken from.
using List = std::vector<int>;

struct Choice {
    List traits, OTUs, communities, variables;
    int communityOption = keepAll;
};

/// Positions 0 to n - 1.
List All(int n);

/// Position of each of the names among n labels, by the first that is equal; false if one is not
/// there.
bool Identify(int nNames, char** names, int n, char** labels, int* positions);

/// The session's arrays take the chosen rows and columns, in the order chosen, and keep their
/// storage. F and the phylogeny variables follow the OTUs, groups of traits the traits.
void TakeChosen(const Choice& choice);
