// SPDX-License-Identifier: GPL-3.0-or-later
// The file of intermediate results against the arrangements worked out again.
#include <doctest/doctest.h>

#include <cstdlib>
#include <vector>

#include "permutation/general.hpp"
#include "permutation/lists.hpp"
#include "unit/permutation/permutation_fixture.hpp"

namespace {

// The words behind the last `label` of the text: numbers as they are printed, between tabs.
std::vector<std::string> LastAfter(const std::string& text, const std::string& label, int count)
{
    std::size_t from = text.rfind(label);
    std::vector<std::string> words;
    if (from == std::string::npos) return words;
    from += label.size();
    for (int i = 0; i < count; i++) {
        const std::size_t end = text.find_first_of("\t\n", from);
        words.push_back(text.substr(from, end - from));
        from = end + 1;
    }
    return words;
}

std::string Printed(double x)
{
    char text[40];
    std::snprintf(text, sizeof text, "%g", x);
    return text;
}

std::string Tabbed(const int* list, int n)
{
    std::string text;
    for (int i = 0; i < n; i++) text += std::to_string(list[i]) + "\t";
    return text;
}

struct Line {
    const char* label;
    Statistic which;
};
// clang-format off
const Line values[] = {
    {"Random ro(TE) =\t", rTE}, {"Random ro(XE) =\t", rXE}, {"Random ro(XE.T) =\t", rXE_T},
    {"Random ro(RE) =\t", rRE}, {"Random ro(XE.TR) =\t", rXE_TR}, {"Random ro(FE) =\t", rFE}};
const Line counts[] = {
    {"frequency for ro(TE)=", rTE}, {"frequency for ro(XE)=", rXE},
    {"frequency for ro(XE.T)=", rXE_T}, {"frequency for ro(RE)=", rRE},
    {"frequency for ro(XE.TR)=", rXE_TR}, {"frequency for ro(FE)=", rFE}};
const Line valuesWithCounts[] = {
    {"ro(PE) =\t", roPE}, {"ro(PT) =\t", roPT}, {"ro(PX) =\t", roPX}, {"ro(PX.T) =\t", roPX_T},
    {"Random ro(TE.P) =\t", roTE_P}, {"Random ro(XE.P) =\t", roXE_P},
    {"Random ro(XE.TP) =\t", roXE_TP}, {"ro(PE.T) =\t", roPE_T}, {"ro(PE.X) =\t", roPE_X}};
// clang-format on

} // namespace

TEST_CASE("the last arrangement in the file of intermediate results, with the final counts")
{
    const int nIter = 40;
    for (const int shuffled : {'t', 's'}) {
        CAPTURE(std::string(1, static_cast<char>(shuffled)));
        auto data = Prepared(tinyShape, [shuffled](PermTestData& d) {
            AsSimilarity(d);
            d.input.nIter = nIter;
            d.input.shuffleKind = shuffled;
        });
        const OutputFile file(std::tmpfile());
        RunGeneral(*data, file);
        const std::string text = TextOf(file);

        PermutationInputs in(data->input);
        GeneralWorkspace w(in, true);
        InitRndNumberGenerator(testSeed);
        ListDrawer drawer(in);
        OwnedInts order(in.orderLength);
        for (int i = 1; i < nIter; i++) drawer.Draw(order);
        EvaluateOrder(order, in, w);

        const std::string objects =
            shuffled == 't' ? "original OTUs in permuted traits matrix Brnd:\t"
                            : "original communities in permuted traits matrix Trnd:\t";
        std::string drawn;
        for (const std::string& word : LastAfter(text, objects, in.orderLength)) drawn += word + "\t";
        CHECK(drawn == Tabbed(order, in.orderLength));
        for (const Line& line : values) {
            CAPTURE(line.label);
            CHECK(LastAfter(text, line.label, 1) ==
                  std::vector<std::string>{Printed(w.statistics.value[line.which])});
        }
        for (const Line& line : counts) {
            CAPTURE(line.label);
            CHECK(LastAfter(text, line.label, 1) ==
                  std::vector<std::string>{Printed(nIter * data->input.probabilities[line.which])});
        }
        for (const Line& line : valuesWithCounts) {
            CAPTURE(line.label);
            CHECK(LastAfter(text, line.label, 2) ==
                  std::vector<std::string>{Printed(w.statistics.value[line.which]),
                                           Printed(nIter * data->input.probabilities[line.which])});
        }
        CHECK(LastAfter(text, "Random ro(XR) =\t", 1)[0] == Printed(w.statistics.rXR));
        CHECK(LastAfter(text, "Random ro(XE.R) =\t", 1)[0] == Printed(w.statistics.rXE_R));
        // Each count that follows another statistic's must be told from it.
        CHECK(data->input.probabilities[rXE] != data->input.probabilities[rXE_T]);
        CHECK(data->input.probabilities[rRE] != data->input.probabilities[rXE_TR]);
    }
}

TEST_CASE("measures go by their names in the file of intermediate results")
{
    const char* const labels[] = {"\nMatrix correlation between DT and DE:\t",
                                  "\nProcrustes correlation between T and E:\t",
                                  "\nRV coefficient between T and E:\t"};
    for (const int measure : {1, 2, 3}) {
        auto data = MakePermTestData(tinyShape);
        data->input.measure = measure;
        const OutputFile file(std::tmpfile());
        RunGeneral(*data, file);
        CHECK(LastAfter(TextOf(file), labels[measure - 1], 1) ==
              std::vector<std::string>{Printed(data->input.results[rTE])});
    }
}
