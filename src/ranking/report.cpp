// SPDX-License-Identifier: GPL-3.0-or-later
#include "ranking/report.hpp"

#include "functional/settings.hpp"
#include "numeric/congruence.hpp"
#include "numeric/resemblance.hpp"
#include "ranking/settings.hpp"
#include "session/session.hpp"
#include "shell/console.hpp"
#include "shell/preferences.hpp"
#include "shell/table.hpp"

namespace {

// --- Lines of the head. Each family of criteria has its own list of them.

void Banner(std::FILE* report)
{
    std::fprintf(report, "%s\n\n", version);
    std::fprintf(report, "%s\n", lineL);
    std::fprintf(report, "TRAIT SUBSET OPTIMIZATION\n");
    std::fprintf(report, "%s\n", lineL);
    TimeStamp(report);
    std::fprintf(report, "Session:        %s \n", console.sessionName);
    std::fprintf(report, "Formatted data: %s \n", session.whichFormda);
}

void Approach(std::FILE* report)
{
    std::fprintf(report, "Trait-based approach: %s\n",
                 traitBasedOptInfo[session.traitBasedOpt - 1]);
}

void EmptyLine(std::FILE* report)
{
    std::fprintf(report, "\n");
}

void Totals(std::FILE* report)
{
    if (session.optUnitTotalAdjust1)
        std::fprintf(report, "Community data matrix W adjusted to unit totals prior to trait convergence evaluation.\n");
    else
        std::fprintf(report, "Community data matrix W NOT adjusted to unit totals prior to trait convergence evaluation.\n");
    if (session.optUnitTotalAdjust2)
        std::fprintf(report, "Community data matrix W adjusted to unit totals prior to evaluation.\n");
    else
        std::fprintf(report, "Community data matrix W NOT adjusted to unit totals prior to evaluation.\n");
}

void CriterionName(std::FILE* report)
{
    std::fprintf(report, "Trait ranking criterion (TRC): %s\n",
                 opt_structInfo[session.opt_struct - 1]);
}

void CriterionAndMeasure(std::FILE* report)
{
    std::fprintf(report, "Trait ranking criterion (TRC): %s\t%s\n",
                 opt_structInfo[session.opt_struct - 1], opt_roInfo[session.opt_ro - 1]);
}

void Measure(std::FILE* report)
{
    std::fprintf(report, "Correlation measure: %s\n", opt_roInfo[session.opt_ro - 1]);
}

void Pooling(std::FILE* report)
{
    std::fprintf(report, "Pooling of OTUs: %s\n", poolCSToptInfo[session.poolCSTopt - 1]);
}

void Partition(std::FILE* report)
{
    std::fprintf(report, "Partition of OTUs into types specified by the user:\n");
    for (int i = 0; i < session.tcst; i++) std::fprintf(report, "%d\t", session.partition_OTUs[i]);
    std::fprintf(report, "\n");
}

void TypesGiven(std::FILE* report)
{
    std::fprintf(report, "Clustering method defining types: none (groups were specified by the user).\n");
}

void OtuResemblance(std::FILE* report)
{
    std::fprintf(report, "Resemblance function between OTUs: %s\n",
                 reseCSToptInfo[session.reseCSTopt - 1]);
}

const char* MatchingAbsences()
{
    return YesNotInfo[preferences.countDoubleAbsence == 1 ? 1 : 0];
}

void GowerSimilarity(std::FILE* report)
{
    if (session.reseCSTopt == otusByGower)
        std::fprintf(report, "Gower similarity modified to count matching absences in binary traits? %s\n", MatchingAbsences());
}

void GowerSimilarityIndex(std::FILE* report)
{
    if (session.reseCSTopt == otusByGower)
        std::fprintf(report, "Gower similarity index modified to count matching absences in binary traits? %s\n", MatchingAbsences());
}

void GowerIndex(std::FILE* report)
{
    if (session.reseCSTopt == otusByGower)
        std::fprintf(report, "Gower index modified to count matching absences in binary traits? %s\n", MatchingAbsences());
}

void RaoRoots(std::FILE* report)
{
    std::fprintf(report, "Rao entropy based on traits computed on square root transformed dissimilarities? %s\n",
                 YesNotInfo[preferences.sqrtDissimOpt_RaoTraits ? 1 : 0]);
}

void Algorithm(std::FILE* report)
{
    std::fprintf(report, "Ranking algorithm: %s\n",
                 rankingAlgorithmInfo[session.rankingAlgorithm - 1]);
}

bool AllTraitsUsed()
{
    for (int t = 0; t < session.nch; t++)
        if (session.weight[t] == 0.0) return false;
    return true;
}

void PrintTraitsUsed(std::FILE* report)
{
    for (int t = 0; t < session.nch; t++)
        if (session.weight[t] > 0.0) std::fprintf(report, "%-3s", session.chLabel[t]);
    std::fprintf(report, "\n");
}

void TraitsUsed(std::FILE* report)
{
    if (AllTraitsUsed()) {
        std::fprintf(report, "All traits were considered.\n");
        return;
    }
    std::fprintf(report, "Traits that were considered:\n");
    PrintTraitsUsed(report);
}

void TraitsOfGowerIndex(std::FILE* report)
{
    if (AllTraitsUsed()) {
        std::fprintf(report, "All traits were considered in the computation of Gower similarity index between populations.\n");
        return;
    }
    std::fprintf(report, "Traits considered in the computation of Gower similarity index between populations:\t");
    PrintTraitsUsed(report);
}

void Fuzziness(std::FILE* report)
{
    std::fprintf(report, "Fuzzy transformation: %s\n", fuzzyInfo[session.fuzzy]);
}

void CommunityResemblance(std::FILE* report)
{
    if (session.opt_ro == mantel)
        std::fprintf(report, "Resemblance option between communities: %s\n",
                     rese_optInfo[session.rese_opt - 1]);
}

void ResemblanceOrOverfit(std::FILE* report)
{
    CommunityResemblance(report);
    if (session.opt_ro != mantel)
        std::fprintf(report, "For partial matrix correlations, the factor (f) for limiting the number of predictors in PCA regression in relation to sample size n (number of predictors = n/f): %g\n",
                     preferences.overfitFactorPCARegr);
}

bool PrintsRows()
{
    return session.printRankIntermedResults == 'y';
}

void HeadOfRows(std::FILE* report)
{
    if (PrintsRows()) std::fprintf(report, "\n%-*s\tTrait subset used:\n", ValueWidth(), "TRC");
}

void HeadOfRowsWithGroups(std::FILE* report)
{
    if (PrintsRows())
        std::fprintf(report, "\n%-*s\tGroups\tTrait subset used:\n", ValueWidth(), "TRC");
}

using HeadLine = void (*)(std::FILE*);

// clang-format off
const HeadLine headBoth[] = {
    Banner, CriterionName, Measure, Pooling, Partition, GowerSimilarityIndex,
    Algorithm, Fuzziness, CommunityResemblance, TraitsUsed, HeadOfRows, nullptr};
const HeadLine headConvergence[] = {
    Banner, EmptyLine, Approach, CriterionName, Measure,
    Algorithm, TraitsUsed, CommunityResemblance, HeadOfRows, nullptr};
const HeadLine headDivergence[] = {
    Banner, Approach, Totals, CriterionName, Measure, Pooling, Partition, OtuResemblance, GowerSimilarity,
    Algorithm, TraitsUsed, Fuzziness, ResemblanceOrOverfit, HeadOfRows, nullptr};
const HeadLine headAlphaBeta[] = {
    Banner, Approach, Totals, CriterionAndMeasure, Measure, Pooling, Partition, OtuResemblance, GowerSimilarity, RaoRoots,
    Algorithm, Fuzziness, ResemblanceOrOverfit, HeadOfRowsWithGroups, nullptr};
const HeadLine headPhylogeny[] = {
    Banner, Approach, Totals, CriterionName, Measure, Pooling, Partition, OtuResemblance, GowerIndex,
    Algorithm, Fuzziness, ResemblanceOrOverfit, HeadOfRows, nullptr};
const HeadLine headNiche[] = {
    Banner, Approach, Totals, CriterionName, Pooling, TypesGiven, OtuResemblance, GowerIndex,
    Algorithm, TraitsOfGowerIndex, Fuzziness, CommunityResemblance, HeadOfRowsWithGroups, nullptr};
// clang-format on

const HeadLine* HeadOf(Family family)
{
    switch (family) {
    case Family::both: return headBoth;
    case Family::convergence: return headConvergence;
    case Family::divergence: return headDivergence;
    case Family::alphaBeta: return headAlphaBeta;
    case Family::phylogeny: return headPhylogeny;
    case Family::niche: return headNiche;
    }
    return headDivergence;
}

// --- Rows

void PrintValue(std::FILE* file, double value)
{
    std::fprintf(file, "%-*.*g\t", ValueWidth(), SignificantDigits(), value);
}

/// Under measures that rank nothing the row is its traits alone.
void PrintDivergenceRow(std::FILE* report, const SubsetStatistics& r)
{
    if (session.opt_ro == mantel)
        std::fprintf(report, "ro(TE)=\t%g\tro(XE)=\t%g\tro(XT)=\t%g\tro(XE.T)=\t%g\tTraits:\t",
                     r.TE, r.XE, r.XT, r.value);
    else if (session.opt_ro == procrustes || session.opt_ro == rvCoefficient)
        std::fprintf(report, "r(TE)=\t%g\tro(XE)=\t%g\tro(XT)=\t%g\tro(XE.T)=\t%g\tTraits:\t",
                     r.TE, r.XE, r.XT, r.value);
}

void PrintAlphaBetaRow(std::FILE* report, int number, double value)
{
    switch (number) {
    case alphaDivergence: std::fprintf(report, "r(RE)=\t%g\tTraits:\t", value); break;
    case betaDivergence: std::fprintf(report, "r(XE.TR)=\t%g\tTraits:\t", value); break;
    case oddsAndX: std::fprintf(report, "r(XZ)=\t%g\tTraits:\t", value); break;
    case oddsAndT: std::fprintf(report, "r(TZ)=\t%g\tTraits:\t", value); break;
    case oddsAndXWithoutT: std::fprintf(report, "r(XZ.T)=\t%g\tTraits:\t", value); break;
    case smoothedAndX: std::fprintf(report, "r(XY)=\t%g\tTraits:\t", value); break;
    case smoothedAndT: std::fprintf(report, "r(TY)=\t%g\tTraits:\t", value); break;
    case smoothedAndXWithoutT: std::fprintf(report, "r(XY.T)=\t%g\tTraits:\t", value); break;
    case darkDiversity: std::fprintf(report, "r(SE)=\t%g\tTraits:\t", value); break;
    default: break;
    }
}

// --- Tables at the end

void PrintKept(std::FILE* report, const KeepTable& kept)
{
    for (int slot = kept.Last(); slot >= 1; slot--) {
        if (kept[slot].size == 0) continue;
        PrintValue(report, kept[slot].value.value);
        PrintSubset(report, kept[slot].traits.data(), kept[slot].size);
        std::fprintf(report, "\n");
    }
}

/// Deliberate: slots that never held a subset are printed too.
void PrintKeptWithTypes(std::FILE* report, const KeepTable& kept)
{
    for (int slot = kept.Last(); slot >= 1; slot--) {
        PrintValue(report, kept[slot].value.value);
        std::fprintf(report, "%d groups\t", kept[slot].nTypes);
        PrintSubset(report, kept[slot].traits.data(), kept[slot].size);
        std::fprintf(report, "\n");
    }
}

void PrintTitle(std::FILE* report, const Criterion& criterion)
{
    if (criterion.family == Family::both || criterion.family == Family::convergence)
        std::fprintf(report, "\n\nTrait subsets with maximum rank:\n%-*s\tSubset of traits\n",
                     ValueWidth(), "TRC");
    else if (criterion.family == Family::phylogeny)
        std::fprintf(report, "\n\nTrait subsets with maximum matrix correlation:\nTRC\toptimal subset of traits\n");
    else if (session.opt_ro <= rvCoefficient)
        std::fprintf(report, "%s", criterion.titles[session.opt_ro - 1]);
}

bool IsNone(const Criterion& criterion, const RankedSubset& best)
{
    return criterion.noneAtZero && best.value.value == 0.0;
}

void PrintBestBySize(std::FILE* report, const Criterion& criterion,
                     const std::vector<RankedSubset>& best)
{
    std::fprintf(report,
                 "\n\nTrait subsets with maximum rank for each number of traits:\n%-*s\tSubset of traits\n",
                 ValueWidth(), "TRC");
    for (const RankedSubset& one : best) {
        std::fprintf(report, "%-13.*g\t", SignificantDigits(), one.value.value);
        if (IsNone(criterion, one)) {
            std::fprintf(report, "none\n");
        } else {
            PrintSubset(report, one.traits.data(), one.size);
            std::fprintf(report, "\n");
        }
    }
    std::fprintf(report, "\n");
}

void PrintElapsed(std::FILE* report, double timeStart)
{
    std::fprintf(report, "Elapsed time: %g seconds\n", difftime_Clock(timeStart));
}

/// Deliberate: a block for other programs to read, written over the first lines of the head; the
/// file keeps its length. Users' scripts look for it there.
void OverwriteHead(std::FILE* report, const std::vector<RankedSubset>& best)
{
    std::fseek(report, 0, SEEK_SET); // unlike rewind, it leaves the mark of a failed print
    for (const RankedSubset& one : best) {
        PrintSubset(report, one.traits.data(), one.size);
        std::fprintf(report, "\n");
    }
    std::fprintf(report, "\n");
    for (const RankedSubset& one : best) std::fprintf(report, "%-5d\t", one.nTypes);
    std::fprintf(report, "\n");
    for (const RankedSubset& one : best)
        std::fprintf(report, "%-13.*g\t", SignificantDigits(), one.value.value);
    std::fprintf(report, "\n");
}

} // namespace

void PrintRankingHead(std::FILE* report, const Criterion& criterion)
{
    for (const HeadLine* line = HeadOf(criterion.family); *line != nullptr; line++) (*line)(report);
}

void PrintSubset(std::FILE* file, const int* traits, int size)
{
    for (int j = 0; j < size; j++) std::fprintf(file, "%-2s\t", session.chLabel[traits[j] - 1]);
}

void PrintTypeSizes(std::FILE* file, const std::vector<int>& typeSizes)
{
    std::fprintf(file, "Group sizes:\t");
    for (const int size : typeSizes) std::fprintf(file, "%d\t", size);
    std::fprintf(file, "\n");
}

void PrintNicheStatistics(std::FILE* file, const SubsetStatistics& r, int nTypes)
{
    std::fprintf(file,
                 "ro(PT)=\t%g\tro(PX)=\t%g\tro(XT)=\t%g\tro(PX.T)=\t%g\tro(XE)=\t%g\tro(TE)=\t%g\tro(XE.T)=\t%g\tro(PE)=\t%g\tro(TE.P)=\t%g\tro(PE.T)=\t%g\tro(XE.P)=\t%g\tro(XE.PT)=\t%g\troBetaNiche=\t%g\troAlphaBetaNiche=\t%g\troAlphaNiche=\t%g\t%d groups\tTraits:\t",
                 r.PT, r.PX, r.XT, r.PX_T, r.XE, r.TE, r.XE_T, r.PE, r.TE_P, r.PE_T, r.XE_P,
                 r.XE_PT, r.betaNiche, r.alphaBetaNiche, r.alphaNiche, nTypes);
}

void PrintRankingRow(std::FILE* report, const Criterion& criterion, const SubsetStatistics& r,
                     const int* traits, int size, const std::vector<int>& typeSizes)
{
    switch (criterion.family) {
    case Family::both:
    case Family::convergence: PrintValue(report, r.value); break;
    case Family::divergence: PrintDivergenceRow(report, r); break;
    case Family::alphaBeta: PrintAlphaBetaRow(report, criterion.number, r.value); break;
    case Family::phylogeny:
        std::fprintf(report, "ro(PT)=\t%g\tro(PX)=\t%g\tro(XT)=\t%g\tro(PX.T)=\t%g\tTraits:\t",
                     r.PT, r.PX, r.XT, r.PX_T);
        break;
    case Family::niche:
        PrintNicheStatistics(report, r, static_cast<int>(typeSizes.size()));
        break;
    }
    PrintSubset(report, traits, size);
    if (criterion.family == Family::niche)
        PrintTypeSizes(report, typeSizes);
    else
        std::fprintf(report, "\n");
}

void PrintSizeLine(std::FILE* report, const Criterion& criterion, int size,
                   const RankedSubset& best)
{
    switch (criterion.family) {
    case Family::alphaBeta:
        std::fprintf(report,
                     "Ranking criterion value, groups and optimal subset with %d traits: \t%-*.*g\t%d groups\t",
                     size, ValueWidth(), SignificantDigits(), best.value.value, best.nTypes);
        break;
    case Family::niche:
        std::fprintf(report,
                     "Ranking criterion values, groups and optimal subset with %d traits: \t%-*.*g\t%d groups\t",
                     size, ValueWidth(), SignificantDigits(), best.value.value, best.nTypes);
        break;
    default:
        std::fprintf(report, "Ranking criterion value and optimal subset with %d traits: \t%-*.*g\t",
                     size, ValueWidth(), SignificantDigits(), best.value.value);
        break;
    }
    if (IsNone(criterion, best))
        std::fprintf(report, "none\n");
    else
        PrintSubset(report, best.traits.data(), best.size);
    std::fprintf(report, "\n");
}

void PrintRankingTail(std::FILE* report, const Criterion& criterion, const KeepTable& kept,
                      const KeepTable& evaluations, const std::vector<RankedSubset>& best,
                      double timeStart)
{
    if (criterion.family != Family::niche) {
        PrintTitle(report, criterion);
        PrintKept(report, kept);
        PrintBestBySize(report, criterion, best);
        PrintElapsed(report, timeStart);
        return;
    }
    std::fprintf(report,
                 "\n\nTrait subsets and number of types with maximum matrix correlation:\nTRC\tn groups\toptimal subset of traits\n");
    PrintKeptWithTypes(report, evaluations);
    std::fprintf(report,
                 "\n\nTrait subsets with maximum matrix correlation (only optimal number of types presented):\nTRC\tn groups\toptimal subset of traits\n");
    PrintKeptWithTypes(report, kept);
    PrintElapsed(report, timeStart);
    OverwriteHead(report, best);
}
