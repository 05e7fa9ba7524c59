// SPDX-License-Identifier: GPL-3.0-or-later
#include "permutation/estimatekernels.hpp"

#include "numeric/vectorpath.hpp"

KELPRA_DECLARE_ON_PATHS(const EstimateKernels estimateKernels)

const EstimateKernels& ActiveEstimateKernels()
{
    return KELPRA_ON_ACTIVE_PATH(estimateKernels);
}
