// SPDX-License-Identifier: GPL-3.0-or-later
// Values of trait subsets, estimated with a bound on the error. A subset whose value cannot enter
// the record needs no last bit; one that may is worked out by its definition (ranking/criteria).
#pragma once

#include <memory>

#include "ranking/criteria.hpp"

/// Estimates one subset after another; a search on several threads has one of these for each.
/// Nothing is allocated after construction.
class SubsetEstimates
{
public:
    virtual ~SubsetEstimates() = default;
    /// The value of the subset at hand.
    virtual Estimate Value() = 0;
};

/// What the estimates of all subsets share.
class SharedEstimates
{
public:
    virtual ~SharedEstimates() = default;
    /// Those of one of nSearchers, which share the memory for partial sums.
    virtual std::unique_ptr<SubsetEstimates> Of(SubsetMatrices& matrices, int nSearchers) const = 0;
};

/// Null where there are none, and values have to be exact: in the general form of the matrices, or
/// with numbers that the exact form may not take for numbers throughout.
std::unique_ptr<SharedEstimates> EstimatesOf(const Criterion& criterion, const SharedMatrices& all);

/// Whether nothing that the subsets change is part of the structure.
bool IsSameForAllSubsets(Part part);
