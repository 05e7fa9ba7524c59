// Compiled for 256-bit vectors where the compiler knows them; called only where the machine does.
#include "functional/permtest_kernels.hpp"

#if defined(__AVX2__)
namespace avx2 {
namespace {
#define KELPRA_LANES 4
#include "functional/permtest_kernels_body.hpp"
} // namespace
extern const PermutationKernels kernels;
const PermutationKernels kernels = {"avx2", WeightedRows, Euclidean, CityBlock,
                                    CorrelateTraitSums};
} // namespace avx2
#endif
