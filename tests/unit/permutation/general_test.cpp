// SPDX-License-Identifier: GPL-3.0-or-later
// The general form, that all others are held to: lists, arrangements and counts worked out again in
// another way. Its observed statistics are checked against R (reference/permtest_reference_test.cpp).
#include <doctest/doctest.h>

#include <algorithm>
#include <cmath>

#include "permutation/general.hpp"
#include "permutation/lists.hpp"
#include "permutation/models.hpp"
#include "unit/permutation/permutation_fixture.hpp"

namespace {

using Order = std::vector<int>;

std::vector<Order> Draw(const PermutationInputs& in, int count)
{
    InitRndNumberGenerator(testSeed);
    ListDrawer drawer(in);
    std::vector<Order> orders(static_cast<std::size_t>(count),
                              Order(static_cast<std::size_t>(in.orderLength)));
    for (Order& order : orders) drawer.Draw(order.data());
    return orders;
}

void MoveRows(const Order& order, int columns, double** from, double** to)
{
    for (std::size_t i = 0; i < order.size(); i++)
        for (int j = 0; j < columns; j++)
            to[i][j] = order[i] > 0 ? from[order[i] - 1][j] : 0.0;
}

void MoveResemblance(const Order& order, double** from, double** to)
{
    for (std::size_t i = 0; i < order.size(); i++)
        for (std::size_t j = 0; j < order.size(); j++)
            to[i][j] = order[i] > 0 && order[j] > 0 ? from[order[i] - 1][order[j] - 1] : 0.0;
}

using Maker = std::function<std::unique_ptr<PermTestData>()>;

// All rows of OTUs moved by hand.
std::unique_ptr<PermTestData> MovedOtus(const Maker& make, const Order& order)
{
    const auto from = make();
    auto to = make();
    MoveRows(order, to->t, from->B, to->B);
    MoveRows(order, to->g, from->U, to->U);
    MoveRows(order, to->g, from->Q, to->Q);
    MoveResemblance(order, from->Sb, to->Sb);
    MoveResemblance(order, from->Sf, to->Sf);
    return to;
}

// Phylogeny alone moved by hand, as ro(BF) has it.
std::unique_ptr<PermTestData> MovedPhylogeny(const Maker& make, const Order& order)
{
    const auto from = make();
    auto to = make();
    MoveResemblance(order, from->Sf, to->Sf);
    MoveRows(order, to->input.nPCoA, from->scores, to->scores);
    return to;
}

std::unique_ptr<PermTestData> MovedCommunities(const Maker& make, const Order& order)
{
    const auto from = make();
    auto to = make();
    MoveRows(order, to->s, from->W, to->W);
    return to;
}

// How a statistic is compared: partial correlations without their sign whatever the preference.
bool IsPartial(int statistic)
{
    for (const Statistic partial : {rXE_T, rXE_TR, rXY_T, rXZ_T, roPX_T, roTE_P, roXE_P, roXE_TP,
                                    roPE_T, roPE_X})
        if (statistic == partial) return true;
    return false;
}

// At the grain of single precision, one unit in the last place counting as equal, and no number as
// equal to no number (r square of a trait out of use).
bool Reaches(double random, double observed, bool absolute)
{
    const float a = static_cast<float>(absolute ? std::fabs(random) : random);
    const float b = static_cast<float>(absolute ? std::fabs(observed) : observed);
    return a >= b || std::nextafter(a, b) == b || (std::isnan(a) && std::isnan(b));
}

// A value of the test's, with where a caller finds it and its P.
struct Place {
    int value;
    double observed, probability;
    bool absolute, isCounted;
};

std::vector<Place> Places(PermTestData& data)
{
    const auto& record = data.input;
    const ModelSizes at(record);
    std::vector<Place> places;
    for (int j = 0; j < nStatistics && record.measure < 4; j++)
        places.push_back({j, record.results[j], record.probabilities[j],
                          record.twoTailed || IsPartial(j), j != roBF || record.shuffleKind == 't'});
    const RegressionResults& r = record.regression;
    for (int y = 0; y < at.nResponses && record.measure == 4; y++) {
        places.push_back({at.RSquare(y), r.rSquare[y], r.pRSquare[y], false, true});
        for (int v = 0; v < data.e; v++)
            places.push_back({at.Coefficient(v, y), r.coefficient[v][y], r.pCoefficient[v][y], true,
                              true});
    }
    const AnovaResults &F = record.anovaF, &P = record.anovaP;
    for (int v = 0; v < data.e && record.measure == 5; v++) {
        places.push_back({at.F(ModelSizes::T, v), F.T[v], P.T[v], false, true});
        places.push_back({at.F(ModelSizes::X, v), F.X[v], P.X[v], false, true});
        places.push_back({at.F(ModelSizes::P, v), F.P[v], P.P[v], false, true});
        places.push_back({at.F(ModelSizes::Rf, v), F.Rf[v], P.Rf[v], record.twoTailed, true});
        places.push_back({at.F(ModelSizes::Rp, v), F.Rp[v], P.Rp[v], false, true});
        for (int j = 0; j < data.t; j++)
            places.push_back({at.TraitF(v, j), F.traits[v][j], P.traits[v][j], false,
                              data.selected[j] == 1});
    }
    return places;
}

std::unique_ptr<PermTestData> Tiny(int measure, int shuffled, const Change& change)
{
    return Prepared(tinyShape, [&](PermTestData& data) {
        AsSimilarity(data);
        data.input.measure = measure;
        data.input.shuffleKind = shuffled;
        if (measure == 5) AsFactors(data);
        change(data);
    });
}

} // namespace

TEST_CASE("an order gives the statistics of rows moved by hand")
{
    const Variant options[] = {
        {"as they come", [](PermTestData&) {}},
        {"phylogenetic distances", AsDissimilarity},
        {"some OTUs excluded",
         [](PermTestData& data) {
             data.weights[2] = data.weights[7] = 0;
             data.input.restrictRao = data.input.keepScale = true;
         }},
        {"draws beyond the pool", FewOccurrences},
    };
    for (const int measure : {1, 2, 3, 4, 5})
        for (const Variant& c : options) {
            CAPTURE(measure);
            CAPTURE(c.fact);
            const Maker make = [&] { return Tiny(measure, 't', c.change); };
            auto data = make();
            PermutationInputs in(data->input);
            GeneralWorkspace w(in, false);
            const Order order = Draw(in, 2)[1];
            EvaluateOrder(order.data(), in, w);
            auto moved = MovedOtus(make, order), phylogeny = MovedPhylogeny(make, order);
            RunTest(*moved);
            RunTest(*phylogeny);
            for (const Place& place : Places(*moved)) {
                CAPTURE(place.value);
                const double random = w.statistics.value[static_cast<std::size_t>(place.value)];
                // Deliberate: of distances the observed signal alone is turned round.
                const double sign = measure == 1 && data->input.phylIsDissimilarity ? -1.0 : 1.0;
                const double expected =
                    place.value == roBF ? sign * phylogeny->input.results[roBF] : place.observed;
                CHECK((random == expected || (std::isnan(random) && std::isnan(expected))));
            }
        }
}

TEST_CASE("an order of communities gives the statistics of communities moved by hand")
{
    for (const int measure : {1, 2, 3, 4, 5}) {
        CAPTURE(measure);
        const Maker make = [&] { return Tiny(measure, 's', [](PermTestData&) {}); };
        auto data = make();
        RunTest(*data); // leaves the observed matrices in the record
        PermutationInputs in(data->input);
        GeneralWorkspace w(in, false);
        const Order order = Draw(in, 1)[0];
        EvaluateOrder(order.data(), in, w);
        auto moved = MovedCommunities(make, order);
        RunTest(*moved);
        for (const Place& place : Places(*moved)) {
            CAPTURE(place.value);
            const double random = w.statistics.value[static_cast<std::size_t>(place.value)];
            if (place.isCounted) CHECK(random == doctest::Approx(place.observed).epsilon(1e-9));
        }
    }
}

TEST_CASE("P is the share of orders that reach the observed value")
{
    const int nIter = 40;
    for (const int measure : {1, 2, 3, 4, 5})
        for (const int shuffled : {'t', 's'})
            for (const bool twoTailed : {true, false}) {
                CAPTURE(measure);
                CAPTURE(std::string(1, static_cast<char>(shuffled)));
                CAPTURE(twoTailed);
                auto data = Tiny(measure, shuffled, [&](PermTestData& d) {
                    AsDissimilarity(d);
                    d.selected[1] = 0;
                    DeriveFromTraits(d);
                    d.input.twoTailed = twoTailed;
                    d.input.nIter = nIter;
                });
                RunTest(*data);
                PermutationInputs in(data->input);
                GeneralWorkspace w(in, false);
                const std::vector<Place> places = Places(*data);
                std::vector<double> counts(places.size(), 1.0);
                for (const Order& order : Draw(in, nIter - 1)) {
                    EvaluateOrder(order.data(), in, w);
                    for (std::size_t p = 0; p < places.size(); p++) {
                        const std::size_t value = static_cast<std::size_t>(places[p].value);
                        if (places[p].isCounted && Reaches(w.statistics.value[value],
                                                           places[p].observed, places[p].absolute))
                            counts[p] += 1.0;
                    }
                }
                for (std::size_t p = 0; p < places.size(); p++) {
                    CAPTURE(places[p].value);
                    CHECK(places[p].probability == counts[p] / nIter);
                }
            }
}

TEST_CASE("what is shuffled: all OTUs, those of a group, occurrences, communities")
{
    auto data = MakePermTestData(tinyShape);
    data->nesting[3] = -5; // alone in its group
    struct Drawn {
        const char* fact;
        bool weighted;
        int restrictKind, shuffled;
    };
    const Drawn cases[] = {{"OTUs", false, 0, 't'},
                           {"within groups", false, 1, 't'},
                           {"occurrences, groups or not", true, 1, 't'},
                           {"communities, whatever is said of OTUs", true, 1, 's'}};
    for (const Drawn& c : cases) {
        CAPTURE(c.fact);
        data->input.weightedNull = c.weighted;
        data->input.restrictKind = c.restrictKind;
        data->input.shuffleKind = c.shuffled;
        const PermutationInputs in(data->input);
        const std::vector<Order> drawn = Draw(in, 9);

        Order pool;
        for (int i = 1; i <= (c.shuffled == 't' ? data->s : data->n) && !(c.weighted && c.shuffled == 't'); i++)
            pool.push_back(i);
        for (int k = 0; k < data->n && pool.size() != drawn[0].size(); k++)
            for (int i = 0; i < data->s; i++)
                if (data->W[k][i] > 0.0) pool.push_back(i + 1);
        const bool nested = c.restrictKind == 1 && !c.weighted;
        InitRndNumberGenerator(testSeed);
        for (const Order& order : drawn) {
            if (nested)
                RndListNestedNew(data->s, data->nesting, 1, pool.data());
            else
                RndListSpecified(static_cast<int>(pool.size()), pool.data());
            CHECK(std::equal(order.begin(), order.end(), pool.begin()));
            if (nested) CHECK(order[3] == 4);
        }
    }
    data->input.shuffleKind = 't';
    FewOccurrences(*data);
    const PermutationInputs in(data->input);
    const Order order = Draw(in, 1)[0]; // seven occurrences; no OTU stands behind them
    CHECK(std::count(order.begin(), order.end(), 0) == data->s - 7);
    CHECK(order[6] > 0);
}

TEST_CASE("sums of squares from dissimilarities")
{
    // Four objects at 0, 1, 3, 7 on a line; groups 5 5 2 2. By hand.
    OwnedRows D(4, 4);
    const double at[] = {0.0, 1.0, 3.0, 7.0};
    for (int i = 0; i < 4; i++)
        for (int k = i; k < 4; k++) D[i][k] = at[k] - at[i]; // upper triangle only
    int all[] = {1, 1, 1, 1}, three[] = {1, 0, 1, 1}, none[] = {0, 0, 0, 0};
    int groups[] = {5, 5, 2, 2};
    // squares 1, 9, 49, 4, 36, 16 over 4; unsquared 1, 3, 7, 2, 6, 4
    CHECK(WithinGrSqDissim(4, D, all, false) == 115.0 / 4);
    CHECK(WithinGrSqDissim(4, D, all, true) == 23.0 / 4);
    CHECK(WithinGrSqDissim(4, D, three, false) == doctest::Approx(74.0 / 3));
    CHECK(WithinGrSqDissim(4, D, none, false) == 0.0);

    double between = 0.0, total = 0.0;
    CHECK(BetweenGrSqDissim(4, D, groups, &between, &total, all, false) == 28.75 - 0.5 - 8.0);
    CHECK(total == 28.75);
    CHECK(between == 20.25);
    // The first group is down to one object, whose sum is 0.
    CHECK(BetweenGrSqDissim(4, D, groups, &between, &total, three, false) ==
          doctest::Approx(74.0 / 3 - 8.0));
}
