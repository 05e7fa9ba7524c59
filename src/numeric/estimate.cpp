// SPDX-License-Identifier: GPL-3.0-or-later
#include "numeric/estimate.hpp"

#include <algorithm>
#include <cmath>

#include "numeric/statistics.hpp"

Decision Decide(Estimate random, double observed, bool absolute)
{
    if (random.error == 0.0)
        return IsLargerThanOrEqual(random.value, observed, 1, absolute) ? Decision::reached
                                                                        : Decision::below;
    constexpr double guard = 1e-6;
    constexpr double smallest = 1e-30;
    const double a = absolute ? std::fabs(random.value) : random.value;
    const double b = absolute ? std::fabs(observed) : observed;
    const double doubt =
        std::max(guard * std::max(std::fabs(a), std::fabs(b)), smallest) + random.error;
    // So near that both round to the same number of single precision or to neighbours.
    if (std::fabs(a - b) + random.error < 0x1p-25 * std::fabs(b) && std::fabs(b) > smallest)
        return Decision::reached;
    // Written so that a NaN anywhere, or two infinities, leave the doubt.
    if (a - b > doubt && std::isfinite(a)) return Decision::reached;
    if (b - a > doubt && std::isfinite(a)) return Decision::below;
    return Decision::inDoubt;
}
