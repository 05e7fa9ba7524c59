// SPDX-License-Identifier: GPL-3.0-or-later
// Matrix correlations of trait subsets and the criteria made of them, estimated from sums that run
// in any order over distances that are those of the exact form or nearly so.
#pragma once

#include <memory>

#include "numeric/mantelestimate.hpp"
#include "ranking/correlationkernels.hpp"
#include "ranking/estimates.hpp"
#include "ranking/typesimilarity.hpp"

class SharedCorrelations : public SharedEstimates
{
public:
    /// `all` in the quick form
    SharedCorrelations(const Criterion& criterion, const SharedMatrices& all);
    std::unique_ptr<SubsetEstimates> Of(SubsetMatrices& matrices, int nSearchers) const override;

private:
    friend class SubsetCorrelations;
    const Criterion& criterion;
    const Part moving;         // what is compared with the fixed structure, T taken out or not
    const FixedTriangle fixed; // DE, DZ or DP
    const FixedTriangle niche; // DP beside DE; of the niche criteria, else empty
    std::unique_ptr<TypeSimilarity> types; // null: X is exact
};

class SubsetCorrelations : public SubsetEstimates
{
public:
    SubsetCorrelations(const SharedCorrelations& all, SubsetMatrices& matrices, int nSearchers);
    Estimate Value() override;

private:
    /// Cells of a resemblance, and a bound on what they differ by from those of the exact form.
    struct Cells {
        const double* values;
        double error;
    };
    Cells Take(Part part);
    Cells TakeT();
    Cells TakeX();
    Estimate Correlation(const FixedTriangle& fixed, const Cells& cells) const;
    Estimate WithoutT();

    const SharedCorrelations& all; // borrowed
    SubsetMatrices& matrices;      // borrowed
    const long nCells;
    const Lanes T, X; // triangles
    std::unique_ptr<TypeComposition> composition;
};
