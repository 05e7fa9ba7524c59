// SPDX-License-Identifier: GPL-3.0-or-later
#include "permutation/kernels.hpp"

#include "numeric/vectorpath.hpp"

KELPRA_DECLARE_ON_PATHS(const PermutationKernels permutationKernels)

const PermutationKernels& ActiveKernels()
{
    return KELPRA_ON_ACTIVE_PATH(permutationKernels);
}
