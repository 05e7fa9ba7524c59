// SPDX-License-Identifier: GPL-3.0-or-later
#include "numeric/vectors.hpp"

#include "numeric/vectorpath.hpp"

KELPRA_DECLARE_ON_PATHS(const VectorKernels vectorKernels)

const VectorKernels& ActiveVectors()
{
    return KELPRA_ON_ACTIVE_PATH(vectorKernels);
}
