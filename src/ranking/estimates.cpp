// SPDX-License-Identifier: GPL-3.0-or-later
#include "ranking/estimates.hpp"

#include "numeric/congruence.hpp"
#include "ranking/coefficientestimates.hpp"
#include "ranking/correlationestimates.hpp"
#include "session/session.hpp"

std::unique_ptr<SharedEstimates> EstimatesOf(const Criterion& criterion, const SharedMatrices& all)
{
    if (all.form != Form::quick) return nullptr;
    if (session.opt_ro == mantel || criterion.family == Family::niche)
        return std::make_unique<SharedCorrelations>(criterion, all);
    if (session.opt_ro != procrustes && session.opt_ro != rvCoefficient) return nullptr;
    auto coefficients = std::make_unique<SharedCoefficients>(criterion, all);
    if (!coefficients->AreUsable()) return nullptr;
    return coefficients;
}

bool IsSameForAllSubsets(Part part)
{
    return part == Part::E || part == Part::P || part == Part::Z;
}
