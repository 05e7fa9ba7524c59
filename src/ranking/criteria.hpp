// SPDX-License-Identifier: GPL-3.0-or-later
// The criteria of trait ranking: for each a small function from the matrices of a subset to the
// value to be maximised, and the table of what else sets one criterion apart from another.
//
// r and ro name one thing, the congruence of two structures; the letter behind the point is what
// is partialled out. Tolvane et al. 2009; Tolvane & Ranheim 2010.
#pragma once

#include "ranking/matrices.hpp"
#include "ranking/record.hpp"

/// Statistics of the subset at hand, as rows of the report show them. What a measure of congruence
/// does not compute is 0.
struct SubsetStatistics {
    double value = 0.0; // of the criterion
    double TE = 0.0, XE = 0.0, XT = 0.0, XE_T = 0.0;
    double PT = 0.0, PX = 0.0, PX_T = 0.0;
    double PE = 0.0, TE_P = 0.0, PE_T = 0.0, XE_P = 0.0, XE_PT = 0.0;
    double betaNiche = 0.0, alphaBetaNiche = 0.0, alphaNiche = 0.0;
};

/// Criteria by the numbers of the dialogue and of opt_struct.
enum CriterionNumber {
    convergenceAndDivergence = 1,
    divergence = 9,
    convergence,
    phylogenyAndX,
    phylogenyAndXWithoutT,
    phylogenyAndT,
    betaNicheConservation,
    alphaBetaNicheConservation,
    alphaDivergence,
    betaDivergence,
    oddsAndX, // agreement with the composition smoothed by odds
    oddsAndT,
    oddsAndXWithoutT,
    smoothedAndX, // and with that smoothed by joint abundance
    smoothedAndT,
    smoothedAndXWithoutT,
    darkDiversity
};

/// Criteria whose reports have the same shape.
enum class Family { both, convergence, divergence, alphaBeta, phylogeny, niche };

/// What is taken out of both structures before they are compared.
enum class Without { nothing, T, TandRao };

struct Criterion {
    int number;         // opt_struct
    Family family;
    const char* suffix; // of the report's name, behind the session's name
    double start;       // the value to be beaten by the first subset of a size
    RankingOrder order;
    bool noneAtZero;    // a best value of 0 stands for "no subset"
    RankingNeeds needs;
    Part first, second; // the structures whose congruence is the value; niche: times that of `first`
                        // and P
    Without without;
    const char* titles[3]; // over the table of the best subsets, by opt_ro - 1; null: the family's
};

/// The criterion of this number; null if there is none.
const Criterion* FindCriterion(int number);

/// Whether X is compared with anything under the measure in use; if not, DX is never made.
bool ComparesX(const Criterion& criterion);

/// Statistics that all subsets share: ro(PE) of the niche criteria.
SubsetStatistics SharedStatistics(const Criterion& criterion, SharedMatrices& all);

/// Makes room for the values of this criterion, so that none of them allocates anything.
void ReserveRoom(const Criterion& criterion, SubsetMatrices& m);

/// The value of the subset at hand.
double ValueOf(const Criterion& criterion, SubsetMatrices& m);

/// The value, and the statistics that rows of the report show beside it.
void Complete(const Criterion& criterion, SubsetMatrices& m, SubsetStatistics& r);
