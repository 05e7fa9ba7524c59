// Trait ranking: the search for the subset of traits by which a criterion is largest.
#pragma once

/// The ranking as the analysis menu calls it: asks the settings, runs the search, leaves
/// `dirtyOrig` set and waits for a key.
void IFChOrderSearch();

// The searches by family of criteria. All read their settings and data from the session and write
// the report `whichChorder`.

void ChRankTDAP_TCAP(); ///< congruence of X and E
void ChRankTCAP();      ///< congruence of T and E
void ChRankTDAP();      ///< congruence of X and E without T

/// Entropy, beta divergence, dark diversity, and agreement with smoothed composition.
/// criterion  1 r(RE), 2 r(XE.TR), 3 r(SE), 4 r(XZ), 5 r(TZ), 6 r(XZ.T), 7 r(XY), 8 r(TY), 9 r(XY.T)
void ChRankAlphaBetaDivergence(int criterion);

void ChRankPhylogenyAssembly();          ///< congruence of P with X or T, by opt_struct 11 to 13
void ChRank_Phylogeny_x_Trait_Assembly(); ///< niche conservation, by opt_struct 14 or 15
