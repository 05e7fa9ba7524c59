// SPDX-License-Identifier: GPL-3.0-or-later
// The random orders of a permutation test, drawn from the generator one arrangement after another.
#pragma once

#include <vector>

#include "permutation/inputs.hpp"

class ListDrawer
{
public:
    explicit ListDrawer(const PermutationInputs& inputs);

    /// Draws the next order, PermutationInputs::orderLength entries; those beyond a short pool
    /// become 0, no OTU.
    void Draw(int* order);

private:
    const PermutationInputs& in;
    std::vector<int> list; // shuffled further at each draw, never reset
};
