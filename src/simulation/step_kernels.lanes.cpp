// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulation/step_kernels.hpp"

namespace {

void Distances(int nSites, int nOTUs, int nTraits, double* const* traitsByOTU,
               double* const* expected, double* const* out)
{
    for (int s = 0; s < nSites; s++) {
        double* const row = out[s];
        for (int o = 0; o < nOTUs; o++) row[o] = 0.0;
        for (int t = 0; t < nTraits; t++) {
            const double* const trait = traitsByOTU[t];
            const double site = expected[t][s];
            #pragma omp simd
            for (int o = 0; o < nOTUs; o++) row[o] += (trait[o] - site) * (trait[o] - site);
        }
        const double n = nTraits;
        #pragma omp simd
        for (int o = 0; o < nOTUs; o++) row[o] = __builtin_sqrt(row[o] / n);
    }
}

} // namespace

namespace KELPRA_PATH
{
extern const StepKernels stepKernels;
const StepKernels stepKernels = {Distances};
} // namespace KELPRA_PATH
