// SPDX-License-Identifier: GPL-3.0-or-later
#include "ranking/record.hpp"

#include <algorithm>
#include <cmath>

void Settle(RankedSubset& subset, const ExactValue& exactly)
{
    if (subset.value.error == 0.0) return; // not so a NaN
    subset.value = {exactly(subset.size, subset.traits.data()), 0.0};
}

void SettleIfClose(RankedSubset& a, RankedSubset& b, const ExactValue& exactly)
{
    // Magnitudes apart by more than both errors are in the same order as the exact ones, and so are
    // the values themselves, whatever their signs. A settled value stays within its old bound, so
    // what was apart before remains so.
    const double apart = std::fabs(std::fabs(a.value.value) - std::fabs(b.value.value));
    if (apart > a.value.error + b.value.error) return;
    Settle(a, exactly);
    Settle(b, exactly);
}

bool IsBetter(const RankingOrder& order, double value, double than)
{
    return order.absolute ? std::fabs(value) > std::fabs(than) : value > than;
}

namespace {

void Store(RankedSubset& slot, const RankedSubset& candidate)
{
    slot.value = candidate.value;
    slot.nTypes = candidate.nTypes;
    slot.size = candidate.size;
    std::copy_n(candidate.traits.begin(), candidate.size, slot.traits.begin());
}

} // namespace

void KeepBetter(RankedSubset& best, RankedSubset& candidate, const RankingOrder& order,
                const ExactValue& exactly)
{
    SettleIfClose(candidate, best, exactly);
    if (IsBetter(order, candidate.value.value, best.value.value)) Store(best, candidate);
}

KeepTable::KeepTable(int nKeep, int nTraits, double start, const RankingOrder& ordering)
    : order(ordering), slots(static_cast<std::size_t>(nKeep) + 1)
{
    for (RankedSubset& slot : slots) {
        slot.value = {start, 0.0};
        slot.traits.resize(static_cast<std::size_t>(nTraits));
        first.push_back(&slot);
    }
    second = first;
    values.resize(slots.size());
    sorted.resize(slots.size());
}

void KeepTable::Enter(RankedSubset& candidate, const ExactValue& exactly)
{
    RankedSubset& weakest = *first[0];
    SettleIfClose(candidate, weakest, exactly);
    if (!IsBetter(order, candidate.value.value, weakest.value.value)) return;
    for (RankedSubset* const slot : first)
        if (slot != &weakest) SettleIfClose(candidate, *slot, exactly);
    Store(weakest, candidate);
    for (std::size_t s = 0; s < first.size(); s++) values[s] = first[s]->value.value;
    order.sort(static_cast<int>(values.size()), values.data(), sorted.data());
    for (std::size_t s = 0; s < first.size(); s++)
        second[s] = first[static_cast<std::size_t>(sorted[s]) - 1];
    first.swap(second);
}
