// SPDX-License-Identifier: GPL-3.0-or-later
#include "permutation/statistics.hpp"

#include "numeric/congruence.hpp"
#include "numeric/statistics.hpp"

namespace {

using Input = PermTest_FunctionalPhyl_Correl_Input;

/// How a statistic is counted.
struct Counting {
    bool alwaysTwoTailed; // partials are; the others follow the preference
    bool needsPhylogeny;
};

// Indexed by Statistic.
const Counting counting[nStatistics] = {
    // rXE          rTE             rXE_T          rRE             rXE_TR
    {false, false}, {false, false}, {true, false}, {false, false}, {true, false},
    // rTY          rTZ             rXY             rXZ             rXY_T          rXZ_T
    {false, false}, {false, false}, {false, false}, {false, false}, {true, false}, {true, false},
    // roBF        rFE            roPE           roPT           roPX           roPX_T
    {false, true}, {false, true}, {false, true}, {false, true}, {false, true}, {true, true},
    // roTE_P     roXE_P        roXE_TP       roPE_T        roPE_X
    {true, true}, {true, true}, {true, true}, {true, true}, {true, true}};

bool IsCounted(const Input& record, int statistic)
{
    if (record.measure > rvCoefficient) return false;
    // Under site shuffle no OTU moves, so ro(BF) keeps its starting count.
    if (statistic == roBF && record.shuffleKind != 't') return false;
    return record.hasPhylogenyInput || !counting[statistic].needsPhylogeny;
}

void CompareRegression(Input& record, const ModelSizes& sizes, std::vector<Comparison>& table)
{
    const RegressionResults& model = record.regression;
    for (int y = 0; y < sizes.nResponses; y++)
        table.push_back({model.rSquare + y, model.pRSquare + y, true, false});
    for (int factor = 0; factor < sizes.nFactors; factor++)
        for (int y = 0; y < sizes.nResponses; y++)
            table.push_back(
                {model.coefficient[factor] + y, model.pCoefficient[factor] + y, true, true});
}

void CompareFactors(const ModelSizes& sizes, double* observed, double* probability, bool isCounted,
                    bool absolute, std::vector<Comparison>& table)
{
    for (int factor = 0; factor < sizes.nFactors; factor++)
        table.push_back({observed + factor, probability + factor, isCounted, absolute});
}

void CompareAnova(Input& record, const ModelSizes& sizes, std::vector<Comparison>& table)
{
    const AnovaResults& F = record.anovaF;
    const AnovaResults& P = record.anovaP;
    const bool withPhylogeny = record.hasPhylogenyInput;
    CompareFactors(sizes, F.T, P.T, true, false, table);
    CompareFactors(sizes, F.X, P.X, true, false, table);
    CompareFactors(sizes, F.P, P.P, withPhylogeny, false, table);
    // Deliberate: of all factors only that on Rf follows the preference for two tails.
    CompareFactors(sizes, F.Rf, P.Rf, true, record.twoTailed, table);
    CompareFactors(sizes, F.Rp, P.Rp, withPhylogeny, false, table);
    for (int trait = 0; trait < sizes.nTraits; trait++)
        for (int factor = 0; factor < sizes.nFactors; factor++)
            table.push_back({F.traits[factor] + trait, P.traits[factor] + trait,
                             record.selectedTraits[trait] == 1, false});
}

int ValuesOfModel(const Input& record, int nResponses)
{
    if (record.measure == linearRegression) return nResponses * (1 + record.nEnvSelected);
    if (record.measure == varianceAnalysis)
        return record.nEnvSelected * (ModelSizes::nResponseKinds + record.nTraits);
    return 0;
}

} // namespace

ModelSizes::ModelSizes(const Input& record)
    : nResponses(record.nTraits + (record.hasPhylogenyInput ? 2 : 1)), nTraits(record.nTraits),
      nFactors(record.nEnvSelected), nValues(ValuesOfModel(record, nResponses))
{
}

void PartialMantel(ArrangementStatistics& statistics, bool withPhylogeny)
{
    std::vector<double>& r = statistics.value;
    const double rXT = statistics.rXT;
    r[rXE_T] = PartialCorrelation(r[rXE], rXT, r[rTE]);
    r[rXY_T] = PartialCorrelation(r[rXY], rXT, r[rTY]);
    r[rXZ_T] = PartialCorrelation(r[rXZ], rXT, r[rTZ]);
    statistics.rXE_R = PartialCorrelation(r[rXE], statistics.rXR, r[rRE]);
    statistics.rTE_R = PartialCorrelation(r[rTE], statistics.rTR, r[rRE]);
    statistics.rXT_R = PartialCorrelation(rXT, statistics.rXR, statistics.rTR);
    r[rXE_TR] = PartialCorrelation(statistics.rXE_R, statistics.rXT_R, statistics.rTE_R);
    if (!withPhylogeny) return;
    r[roPX_T] = PartialCorrelation(r[roPX], rXT, r[roPT]);
    r[roPE_T] = PartialCorrelation(r[roPE], r[roPT], r[rTE]);
    r[roPE_X] = PartialCorrelation(r[roPE], r[roPX], r[rXE]);
    r[roTE_P] = PartialCorrelation(r[rTE], r[roPT], r[roPE]);
    r[roXE_P] = PartialCorrelation(r[rXE], r[roPX], r[roPE]);
    const double rXT_P = PartialCorrelation(rXT, r[roPX], r[roPT]);
    r[roXE_TP] = PartialCorrelation(r[roXE_P], rXT_P, r[roTE_P]);
}

std::vector<Comparison> Comparisons(Input& record)
{
    const ModelSizes sizes(record);
    std::vector<Comparison> table;
    for (int j = 0; j < nStatistics; j++)
        table.push_back({record.results + j, record.probabilities + j, IsCounted(record, j),
                         counting[j].alwaysTwoTailed || record.twoTailed});
    if (record.measure == linearRegression) CompareRegression(record, sizes, table);
    if (record.measure == varianceAnalysis) CompareAnova(record, sizes, table);
    return table;
}

void CountReached(const std::vector<Comparison>& comparisons, const ArrangementStatistics& random,
                  double* counts)
{
    for (std::size_t c = 0; c < comparisons.size(); c++) {
        const Comparison& comparison = comparisons[c];
        if (comparison.isCounted &&
            IsLargerThanOrEqual(random.value[c], *comparison.observed, 1, comparison.absolute))
            counts[c] += 1.0;
    }
}
