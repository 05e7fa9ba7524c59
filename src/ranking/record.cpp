#include "ranking/record.hpp"

#include <algorithm>
#include <cmath>

bool IsBetter(const RankingOrder& order, double value, double than)
{
    return order.absolute ? std::fabs(value) > std::fabs(than) : value > than;
}

void Store(RankedSubset& slot, double value, int nTypes, int k, const int* traits)
{
    slot.value = value;
    slot.nTypes = nTypes;
    slot.size = k;
    std::copy_n(traits, k, slot.traits.begin());
}

KeepTable::KeepTable(int nKeep, int nTraits, double start, const RankingOrder& ordering)
    : order(ordering), slots(static_cast<std::size_t>(nKeep) + 1)
{
    for (RankedSubset& slot : slots) {
        slot.value = start;
        slot.traits.resize(static_cast<std::size_t>(nTraits));
        first.push_back(&slot);
    }
    second = first;
    values.resize(slots.size());
    sorted.resize(slots.size());
}

void KeepTable::Enter(double value, int nTypes, int k, const int* traits)
{
    if (!IsBetter(order, value, first[0]->value)) return;
    Store(*first[0], value, nTypes, k, traits);
    for (std::size_t s = 0; s < first.size(); s++) values[s] = first[s]->value;
    order.sort(static_cast<int>(values.size()), values.data(), sorted.data());
    for (std::size_t s = 0; s < first.size(); s++)
        second[s] = first[static_cast<std::size_t>(sorted[s]) - 1];
    first.swap(second);
}
