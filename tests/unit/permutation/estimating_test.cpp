// SPDX-License-Identifier: GPL-3.0-or-later
#include "permutation/estimating.hpp"

#include <doctest/doctest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "numeric/random.hpp"
#include "permtest_data.hpp"
#include "permutation/lists.hpp"

namespace {

/// What the estimating form and the general one count over the same orders.
struct Counted {
    Counted(PermTestData& data, int nOrders)
    {
        data.input.nIter = 1; // the observed statistics
        PermTest_FunctionalPhyl_Correl(&data.input);
        const PermutationInputs in(data.input);
        GeneralWorkspace observed(in, false);
        EvaluateObserved(in, observed);
        const ObservedResemblances resemblances = {observed.DT, observed.DX, observed.DP,
                                                   observed.DR, observed.DRp};
        const auto form = EstimatingForm::Make(in, resemblances);
        REQUIRE(form != nullptr);
        EstimatingEvaluator evaluator(*form);
        const auto general = GeneralForm(in).NewEvaluator();
        estimated.resize(in.comparisons.size());
        exact.resize(in.comparisons.size());
        InitRndNumberGenerator(7);
        ListDrawer drawer(in);
        std::vector<int> order(static_cast<std::size_t>(in.orderLength));
        FailAllocation(1); // none is made from here on, in doubt neither
        for (int i = 0; i < nOrders; i++) {
            drawer.Draw(order.data());
            evaluator.Evaluate(order.data(), 1, estimated.data());
            general->Evaluate(order.data(), 1, exact.data());
        }
        FailAllocation(0);
        inDoubt = evaluator.InDoubt();
    }
    std::vector<double> estimated, exact;
    long inDoubt = 0;
};

/// Each OTU twice, so that many orders give the observed arrangement's statistics.
void RepeatOtus(PermTestData& data)
{
    for (int i = 0; i + 1 < data.s; i += 2) {
        std::copy(data.rawB[i], data.rawB[i] + data.t, data.rawB[i + 1]);
        data.partition[i] = data.partition[i + 1] = 1 + i / 2 % 2;
    }
    DeriveFromTraits(data);
}

} // namespace

/// The second trait is the first one but for so little that it hardly makes an axis of its own.
void NearlyRepeatTrait(PermTestData& data)
{
    for (int i = 0; i < data.s; i++)
        data.rawB[i][1] = data.rawB[i][0] + 1e-3 * (data.rawB[i][1] - data.rawB[i][0]);
    DeriveFromTraits(data);
}

TEST_CASE("estimates decide as the general form does, which is asked in doubt")
{
    const PermTestShape few = {"few", 8, 8, 2, 2, 2, 0.7, 0.0, false};
    struct Case {
        const char* fact;
        const PermTestShape& shape;
        int measure, shuffleKind;
        bool phylogeny, leavesTraitOut;
        int resemblance;
        void (*change)(PermTestData&);
        bool inDoubt; // mostly; else hardly ever
    };
    const Case cases[] = {
        {"Mantel", smallShape, 1, 't', false, true, 6, nullptr, false},
        {"Mantel with phylogeny, city block", smallShape, 1, 't', true, false, 8, nullptr, false},
        {"Mantel, chords, sites", tinyShape, 1, 's', true, false, 10, nullptr, false},
        {"Mantel of repeated OTUs", few, 1, 't', true, false, 6, RepeatOtus, false},
        {"Procrustes", smallShape, 2, 't', false, false, 6, nullptr, false},
        {"RV with phylogeny", smallShape, 3, 't', true, true, 6, nullptr, false},
        {"regression, a trait left out", smallShape, 4, 't', true, true, 6, nullptr, false},
        {"analysis of variance on chords", smallShape, 5, 't', true, true, 10, nullptr, false},
        {"sites", tinyShape, 2, 's', true, false, 6, nullptr, false},
        {"RV of repeated OTUs", few, 3, 't', false, false, 6, RepeatOtus, false},
        {"Procrustes of repeated OTUs", few, 2, 't', true, false, 6, RepeatOtus, false},
        {"regression of repeated OTUs", few, 4, 't', false, false, 6, RepeatOtus, false},
        {"factors of repeated OTUs", few, 5, 't', false, false, 6, RepeatOtus, false},
        {"an axis in doubt", tinyShape, 3, 't', false, false, 6, NearlyRepeatTrait, true},
        {"an axis in doubt, sites", tinyShape, 2, 's', false, false, 6, NearlyRepeatTrait, true},
    };
    for (const Case& c : cases) {
        CAPTURE(std::string(c.fact));
        const auto data = MakePermTestData(c.shape, 3);
        if (c.leavesTraitOut) data->selected[1] = 0;
        if (c.leavesTraitOut) DeriveFromTraits(*data);
        if (c.change != nullptr) c.change(*data);
        if (c.phylogeny) DeriveFromPhylogeny(*data, false);
        data->input.measure = c.measure;
        data->input.shuffleKind = c.shuffleKind;
        data->input.communityResemblance = c.resemblance;
        const int nOrders = &c.shape == &smallShape ? 20 : 200;
        const Counted counted(*data, nOrders);
        CHECK(counted.estimated == counted.exact);
        CHECK(counted.inDoubt >= (c.inDoubt ? nOrders / 2 : 0));
        CHECK(counted.inDoubt <= (c.inDoubt ? nOrders : nOrders / 20));
    }
}

TEST_CASE("data that the estimates do not cover are left to the general form")
{
    struct Case {
        const char* fact;
        int measure;
        void (*spoil)(PermTestData&);
    };
    const Case cases[] = {
        {"an infinite trait", 2, [](PermTestData& d) { d.B[3][1] = HUGE_VAL; }},
        {"a missing cell of E", 3, [](PermTestData& d) { d.E[2][0] = -999.0; }},
        {"a cell of E that centring makes the missing value", 4,
         [](PermTestData& d) {
             for (int k = 0; k < d.n; k++) d.E[k][0] = k % 2 == 0 ? 999.0 : -999.0 + 1998.0 * 2;
             for (int k = 0; k < d.n; k++) d.E[k][0] -= 1000.0;
         }},
        {"an infinite cell of Y", 2, [](PermTestData& d) { d.Y[1][1] = HUGE_VAL; }},
        {"variables that depend on one another", 4,
         [](PermTestData& d) {
             for (int k = 0; k < d.n; k++) d.E[k][1] = 2.0 * d.E[k][0];
         }},
        {"correlations in the place of distances", 5,
         [](PermTestData& d) { d.input.communityResemblance = 5; }},
        {"mutual divergence in the place of distances", 1,
         [](PermTestData& d) { d.input.communityResemblance = 2; }},
        {"a hole in DE", 1, [](PermTestData& d) { d.DE[0][2] = -999.0; }},
    };
    for (const Case& c : cases) {
        CAPTURE(std::string(c.fact));
        const auto data = MakePermTestData(tinyShape, 3);
        data->input.measure = c.measure;
        c.spoil(*data);
        const PermutationInputs in(data->input);
        CHECK(EstimatingForm::Make(in, {}) == nullptr);
    }
}
