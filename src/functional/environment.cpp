// SPDX-License-Identifier: GPL-3.0-or-later
#include "functional/environment.hpp"

#include "numeric/adjust.hpp"
#include "numeric/gower.hpp"
#include "numeric/ordination.hpp"
#include "numeric/resemblance.hpp"
#include "session/session.hpp"
#include "shell/preferences.hpp"

namespace
{

enum class Comparison { distance, adjustedDistance, gower };

/// By optEnvVarType.
Comparison ComparisonOf(int kinds)
{
    switch (kinds) {
    case 1: return Comparison::distance;          // quantitative, the same units
    case 2:                                       // quantitative, different units
    case 4: return Comparison::adjustedDistance;  // binary
    case 5:                                       // several kinds
        return session.temEnvQual == 0 ? Comparison::adjustedDistance : Comparison::gower;
    default: return Comparison::gower;
    }
}

}  // namespace

void EnvironmentResemblance(int n, int p, int* types, double** E, double** DE, bool skipsHoles)
{
    const Comparison comparison = ComparisonOf(session.optEnvVarType);
    if (comparison == Comparison::gower) {
        GowerMVOpt(n, p, types, E, DE, nullptr, nullptr, preferences.countDoubleAbsence);
        ProbToDissim(n, DE, DE);
        return;
    }
    if (comparison == Comparison::adjustedDistance) CorrAdj(n, p, E, E);
    if (skipsHoles)
        EucliDistMV(n, p, E, DE);
    else
        EucliDist(n, p, E, DE);
}
