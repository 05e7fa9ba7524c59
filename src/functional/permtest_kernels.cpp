#include "functional/permtest_kernels.hpp"

#include <cstring>
#include <initializer_list>

namespace baseline {
namespace {
#define KELPRA_LANES 2
#include "functional/permtest_kernels_body.hpp"
} // namespace
const PermutationKernels kernels = {"baseline", WeightedRows, Euclidean, CityBlock,
                                    CorrelateTraitSums};
} // namespace baseline

#if defined(KELPRA_HAS_AVX2)
namespace avx2 {
extern const PermutationKernels kernels;
} // namespace avx2
#endif

namespace {

const PermutationKernels* QuickestKernels()
{
#if defined(KELPRA_HAS_AVX2)
    if (__builtin_cpu_supports("avx2") != 0) return &avx2::kernels;
#endif
    return &baseline::kernels;
}

const PermutationKernels* active = nullptr;

} // namespace

const PermutationKernels& ActiveKernels()
{
    if (active == nullptr) active = QuickestKernels();
    return *active;
}

bool ChooseKernels(const char* name)
{
    if (name == nullptr) {
        active = nullptr;
        return true;
    }
    for (const PermutationKernels* kernels : {&baseline::kernels, QuickestKernels()}) {
        if (std::strcmp(kernels->name, name) != 0) continue;
        active = kernels;
        return true;
    }
    return false;
}
