// SPDX-License-Identifier: GPL-3.0-or-later
// What a search remembers: the best subset of each size, and a table of the best of all.
//
// Values may be estimates with a bound on the error. Where the bound leaves open which of two is
// the better one, both are settled, that is worked out exactly, so the record is the one that exact
// values would give, to the order of ties.
#pragma once

#include <functional>
#include <vector>

#include "numeric/estimate.hpp"

/// A subset of traits with the value it reached. size 0: none.
struct RankedSubset {
    Estimate value;  // error 0: exact
    int nTypes = 0;  // types of OTUs that gave the value
    int size = 0;
    std::vector<int> traits;  // numbers from 1; room for all from the start
};

/// The exact value of a subset.
using ExactValue = std::function<double(int k, const int* traits)>;

/// Makes the value of the subset exact if it is not.
void Settle(RankedSubset& subset, const ExactValue& exactly);

/// Makes both exact if their errors leave open which magnitude is larger.
void SettleIfClose(RankedSubset& a, RankedSubset& b, const ExactValue& exactly);

/// How values are compared and sorted.
struct RankingOrder {
    bool absolute;                                             // the larger magnitude is better
    void (*sort)(int n, const double* values, double* order);  // RankVector or RankVectorAbs
};

/// Strictly better: of equal values the first one stays. A NaN is never better.
bool IsBetter(const RankingOrder& order, double value, double than);

/// Takes the candidate, without allocating, if it is better than what `best` holds.
void KeepBetter(RankedSubset& best, RankedSubset& candidate, const RankingOrder& order,
                const ExactValue& exactly);

/// The best subsets of all sizes, sorted: slot 0 is where a new one enters and holds the weakest.
class KeepTable
{
public:
    /// nKeep slots behind slot 0, all holding `start` and no subset
    KeepTable(int nKeep, int nTraits, double start, const RankingOrder& order);

    /// Takes the subset if it is better than slot 0, and sorts the table again. Equal values fall
    /// as the sort leaves them.
    ///
    /// Deliberate: comparing signed values and sorting by magnitude may leave the best of them in
    /// slot 0; users' earlier reports have it so.
    void Enter(RankedSubset& candidate, const ExactValue& exactly);

    RankedSubset& operator[](int slot) const { return *first[static_cast<std::size_t>(slot)]; }
    int Last() const { return static_cast<int>(slots.size()) - 1; }

private:
    const RankingOrder order;
    std::vector<RankedSubset> slots;
    std::vector<RankedSubset*> first, second;  // the table, and the bank it is sorted into
    std::vector<double> values, sorted;
};
