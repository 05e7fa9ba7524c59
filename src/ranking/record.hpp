// What a search remembers: the best subset of each size, and a table of the best of all.
#pragma once

#include <vector>

/// A subset of traits with the value it reached. size 0: none.
struct RankedSubset {
    double value = 0.0;
    int nTypes = 0; // types of OTUs that gave the value
    int size = 0;
    std::vector<int> traits; // numbers from 1; room for all from the start
};

/// How values are compared and sorted.
struct RankingOrder {
    bool absolute; // the larger magnitude is better
    void (*sort)(int n, const double* values, double* order); // RankVector or RankVectorAbs
};

/// Strictly better: of equal values the first one stays. A NaN is never better.
bool IsBetter(const RankingOrder& order, double value, double than);

/// Stores a subset without allocating.
void Store(RankedSubset& slot, double value, int nTypes, int k, const int* traits);

/// The best subsets of all sizes, sorted: slot 0 is where a new one enters and holds the weakest.
class KeepTable {
public:
    /// nKeep slots behind slot 0, all holding `start` and no subset
    KeepTable(int nKeep, int nTraits, double start, const RankingOrder& order);

    /// Takes the subset if it is better than slot 0, and sorts the table again. Equal values fall
    /// as the sort leaves them.
    ///
    /// Deliberate: comparing signed values and sorting by magnitude may leave the best of them in
    /// slot 0; users' earlier reports have it so.
    void Enter(double value, int nTypes, int k, const int* traits);

    const RankedSubset& operator[](int slot) const { return *first[static_cast<std::size_t>(slot)]; }
    int Last() const { return static_cast<int>(slots.size()) - 1; }

private:
    const RankingOrder order;
    std::vector<RankedSubset> slots;
    std::vector<RankedSubset*> first, second; // the table, and the bank it is sorted into
    std::vector<double> values, sorted;
};
