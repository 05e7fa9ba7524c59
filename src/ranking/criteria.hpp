// The criteria of trait ranking: for each a small function from the matrices of a subset to the
// value to be maximised, and the table of what else sets one criterion apart from another.
//
// r and ro name one thing, the congruence of two structures; the letter behind the point is what
// is partialled out. Tolvane et al. 2009; Tolvane & Ranheim 2010.
#pragma once

#include "ranking/matrices.hpp"
#include "ranking/record.hpp"

/// Statistics of the subset at hand. What a measure of congruence does not compute keeps the value
/// it had, 0 at first, and is printed so.
struct SubsetStatistics {
    double value = 0.0; // of the criterion
    double TE = 0.0, XE = 0.0, XT = 0.0, XE_T = 0.0;
    double TZ = 0.0, XZ = 0.0;
    double PT = 0.0, PX = 0.0, PX_T = 0.0;
    double PE = 0.0, TE_P = 0.0, PE_T = 0.0, XE_P = 0.0, XE_PT = 0.0;
    double betaNiche = 0.0, alphaBetaNiche = 0.0, alphaNiche = 0.0;
};

/// Criteria whose reports have the same shape.
enum class Family { both, convergence, divergence, alphaBeta, phylogeny, niche };

struct Criterion {
    int number;         // opt_struct
    Family family;
    const char* suffix; // of the report's name, behind the session's name
    double start;       // the value to be beaten by the first subset of a size
    RankingOrder order;
    bool noneAtZero;    // a best value of 0 stands for "no subset"
    RankingNeeds needs;
    double (*value)(RankingMatrices&, SubsetStatistics&);
    const char* titles[3]; // over the table of the best subsets, by opt_ro - 1; null: the family's
};

/// The criterion of this number; null if there is none.
const Criterion* FindCriterion(int number);

/// What is the same for all subsets: ro(PE) of the niche criteria.
void PrepareStatistics(const Criterion& criterion, RankingMatrices& m, SubsetStatistics& r);

/// The statistics that rows of the report show beside the value.
void CompleteStatistics(const Criterion& criterion, RankingMatrices& m, SubsetStatistics& r);
