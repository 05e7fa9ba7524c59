// SPDX-License-Identifier: GPL-3.0-or-later
// Bringing the session's arrays into agreement after data were read, selected or merged: species
// made unique, species and OTUs tied to communities, empty OTUs dropped, states counted.
#pragma once

/// Makes the species list unique, from one name an OTU, and fills cstSppMap (both tables allocated
/// tcst rows, the map tcst x tcst). Sets nSpp.
/// option    2: puts a label of 4 characters, made from the name, in front of each name; the rows
///           of `spp` must then hold 71 characters. 1: names stay; their first 4 characters serve
///           as labels
void CheckSpecies(int option);

/// 1 if the label equals the first 4 characters of any of the first `count` names, else 0.
int CheckIdenticalLabels(const char* label, char** names, int count);

/// Marks in sppRelMap the communities where any OTU of a species is found; marks that stand are
/// kept. -999 counts as present.
void SpeciesReleveMap();

/// Number of distinct values of each trait, missing cells left out.
/// matrix    nOTUs x nTraits
/// counts    nTraits, written
void CountStates(int nTraits, int nOTUs, int* counts, double** matrix);

/// Maximum minus minimum of each trait of type 3 over its cells that are not missing; 0 if all of
/// them are. The entries of other traits are left alone.
/// matrix    nOTUs x nTraits
/// ranges    nTraits
void RangeStates(int nTraits, int nOTUs, double** matrix, const int* types, double* ranges);

/// Drops OTUs that are absent everywhere (all of |W| at most 1e-13; -999 is not absent), brings
/// species into agreement, recounts ncst, emptyReleves and chrange, and with `recount` 1 onsta.
/// Dropped OTUs keep their rows behind the new tcst; F and the phylogeny variables follow.
void CheckData(int recount);

/// Joins species with equal names; see the source for what it leaves behind.
void CheckSpeciesMerge();

/// Makes the last trait labelled "sp" a species code: OTUs of a species get one number.
void CheckCSTsSameSpecies();

/// Drops species that none of the first nOTUs OTUs or no community is marked for, unmarks OTUs
/// that share no community with their species, and frees the rows of the dropped names.
void TrimSpecies(int nOTUs);
