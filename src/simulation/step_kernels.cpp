// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulation/step_kernels.hpp"

#include "numeric/vectorpath.hpp"

KELPRA_DECLARE_ON_PATHS(const StepKernels stepKernels)

const StepKernels& ActiveStepKernels()
{
    return KELPRA_ON_ACTIVE_PATH(stepKernels);
}
