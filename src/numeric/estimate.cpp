#include "numeric/estimate.hpp"

#include <algorithm>
#include <cmath>

Decision Decide(Estimate random, double observed, bool absolute)
{
    constexpr double guard = 1e-6;
    constexpr double smallest = 1e-30;
    const double a = absolute ? std::fabs(random.value) : random.value;
    const double b = absolute ? std::fabs(observed) : observed;
    const double doubt =
        std::max(guard * std::max(std::fabs(a), std::fabs(b)), smallest) + random.error;
    // Written so that a NaN anywhere, or two infinities, leave the doubt.
    if (a - b > doubt && std::isfinite(a)) return Decision::reached;
    if (b - a > doubt && std::isfinite(a)) return Decision::below;
    return Decision::inDoubt;
}
