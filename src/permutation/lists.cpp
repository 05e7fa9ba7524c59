// SPDX-License-Identifier: GPL-3.0-or-later
#include "permutation/lists.hpp"

#include <algorithm>
#include <numeric>

#include "numeric/random.hpp"

namespace {

/// One entry an occurrence: a frequent OTU is drawn more often, and maybe twice.
std::vector<int> Occurrences(const PermutationInputs& in)
{
    std::vector<int> pool;
    for (int k = 0; k < in.n; k++)
        for (int i = 0; i < in.s; i++)
            if (in.record.W[k][i] > 0.0) pool.push_back(i + 1);
    return pool;
}

} // namespace

ListDrawer::ListDrawer(const PermutationInputs& inputs) : in(inputs)
{
    if (in.moveTaxa && in.record.weightedNull) {
        list = Occurrences(in);
    } else {
        list.resize(static_cast<std::size_t>(in.orderLength));
        std::iota(list.begin(), list.end(), 1);
    }
    list.reserve(1); // a pool without occurrences still has an address
}

void ListDrawer::Draw(int* order)
{
    const bool nested = in.moveTaxa && !in.record.weightedNull && in.record.restrictKind == 1;
    if (nested)
        RndListNestedNew(in.s, in.record.nestingGroups, 1, list.data());
    else
        RndListSpecified(static_cast<int>(list.size()), list.data());
    const int known = std::min(in.orderLength, static_cast<int>(list.size()));
    std::copy(list.begin(), list.begin() + known, order);
    std::fill(order + known, order + in.orderLength, 0);
}
