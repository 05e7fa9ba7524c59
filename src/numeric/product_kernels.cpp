// SPDX-License-Identifier: GPL-3.0-or-later
#include "numeric/product_kernels.hpp"

#include "numeric/vectorpath.hpp"

KELPRA_DECLARE_ON_PATHS(const ProductKernels productKernels)

const ProductKernels& ActiveProductKernels()
{
    return KELPRA_ON_ACTIVE_PATH(productKernels);
}
