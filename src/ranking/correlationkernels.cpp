// SPDX-License-Identifier: GPL-3.0-or-later
#include "ranking/correlationkernels.hpp"

#include "numeric/vectorpath.hpp"

KELPRA_DECLARE_ON_PATHS(const CorrelationKernels correlationKernels)

const CorrelationKernels& ActiveCorrelations()
{
    return KELPRA_ON_ACTIVE_PATH(correlationKernels);
}
