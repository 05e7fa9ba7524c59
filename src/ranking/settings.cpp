// SPDX-License-Identifier: GPL-3.0-or-later
#include "ranking/settings.hpp"

#include <cstdio>

#include "functional/settings.hpp"
#include "numeric/resemblance.hpp"
#include "numeric/statistics.hpp"
#include "ranking/criteria.hpp"
#include "session/session.hpp"
#include "shell/console.hpp"
#include "shell/prompts.hpp"
#include "shell/scanners.hpp"

const char* const opt_structInfo[24] = {
    "1 (both trait-divergence and trait-convergence assembly patterns)",
    "",
    "",
    "",
    "",
    "",
    "",
    "",
    "9 (Trait-divergence assembly patterns, TDAP)",
    "10 (Trait-convergence assembly patterns, TCAP)",
    "11 (correlation of phylogenetically structured assembly patterns, PSAP to both trait-divergence and trait-convergence assembly patterns, TDAP and TCAP)",
    "12 (correlation of phylogenetically structured assembly patterns, PSAP to trait-divergence, TDAP)",
    "13 (correlation of phylogenetically structured assembly patterns, PSAP to trait-convergence assembly patterns, TCAP)",
    "14 (beta niche conservation: ro(PT) * ro(TE))",
    "15 (alpha and beta niche conservation: ro(PX) * ro(XE))",
    "16 (alpha divergence: ro(RE))",
    "17 (beta divergence: ro(XE.TR))",
    "18 (congruence of fuzzy-weighted composition and composition predicted by DeCaceres (2008) smoothing: r(XZ))",
    "19 (trait convergence: r(TZ))",
    "20 (trait divergence: r(XZ.T))21 (correlation between 'dark diversity' (for each community, sum of absolute differences between matrices X and W) and E: r(SE))",
    "(null)",
    "(null)",
    "matrix correlation (Mantel)",
    "Procrustes (traceW)",
};
const char* const rankingAlgorithmInfo[2] = {"1 (stepwise)", "2 (all trait combinations)"};

namespace {

const int nominal = 2; // trait type

bool HasQualitTrait(int nTraits, const int* types)
{
    for (int t = 0; t < nTraits; t++)
        if (types[t] == nominal) return true;
    return false;
}

/// What the data at hand allow; lines of the menu depend on it.
struct Offer {
    bool environment;    // there is a matrix E
    bool phylogeny;      // there is a matrix F
    bool averages;       // no trait is nominal, so community averages make sense
};

void ShowOptions(const Offer& has)
{
    if (has.environment) Say("   1 r(XE): TCAP and TDAP\n");
    if (has.environment && has.averages) Say("   9 r(XE.T): TDAP only\n");
    if (has.environment && has.averages) Say("   10 r(TE): TCAP only\n");
    if (has.phylogeny)
        Say("   11  correlation of phylogenetically structured assembly patterns (PSAP) to both TCAP and TDAP = r(PX)\n");
    if (has.phylogeny && has.averages) Say("   12  correlation of PSAP to TDAP = r(PX.T)\n");
    if (has.phylogeny && has.averages) Say("   13  correlation of PSAP to TCAP = r(PT)\n");
    if (has.environment) Say("   16  alpha divergence: r(RE) \n");
}

void ExplainOptions(const Offer& has)
{
    if (has.environment)
        Say("1. Correlation r(XE) between fuzzy weighted community composition based on OTU's trait similarities (X) and ecological variables (E) may reflect both trait convergence assembly patterns (TCAP) and trait divergence assembly patterns (TDAP).\n");
    if (has.environment && has.averages)
        Say("9. Partial correlation r(XE.T) between X and E, removing T, reflects TDAP only.\n");
    if (has.environment && has.averages)
        Say("10. Correlation r(TE) between community weighted mean traits (T) and E reflects TCAP only.\n");
    if (has.phylogeny)
        Say("11. Correlation r(PX) between P (fuzzy weighted community composition based on OTU's phylogenetic similarities) and X reflects phylogenetic signal at the metacommunity level.\n");
    if (has.phylogeny && has.averages)
        Say("12. Partial correlation r(PX.T) between P and X, removing T reflects phylogenetic signal at the metacommunity level.\n");
    if (has.phylogeny && has.averages)
        Say("13. Correlation r(PT) reflects phylogenetic signal at the metacommunity level.\n");
    if (has.environment) Say("16. ro(RE) is a congruence between Rao entropy and E.\n");
}

bool NeedsPhylogeny(int criterion)
{
    return FindCriterion(criterion)->needs.phylogeny;
}

/// Whether the criterion is refused. Deliberate: the test is laxer than the menu; 17 to 23 pass
/// without E, and so do 9 and 10 unless a trait is nominal; recorded answers rely on it.
bool IsRefused(int criterion, const Offer& has)
{
    if (NeedsPhylogeny(criterion) && !has.phylogeny) {
        Say("This criterion needs a phylogeny matrix, which the session does not have.\n");
        return true;
    }
    if (has.environment) return false;
    switch (criterion) {
    case convergenceAndDivergence:
    case betaNicheConservation:
    case alphaBetaNicheConservation:
    case alphaDivergence:
    case darkDiversity: return true;
    case divergence:
    case convergence: return !has.averages;
    default: return false;
    }
}

int AskCriterion()
{
    const Offer has = {session.nenv > 0, session.hasPhylogeny,
                       !HasQualitTrait(session.nch, session.chtype)};
    int criterion = 0;
    do {
        Menu("CHARACTER RANKING SETTINGS");
        Say("Trait ranking criterion maximized: \n");
        ShowOptions(has);
        Say("\n");
        ExplainOptions(has);
        Say("\nType option no.: ");
        criterion = ToInt(
            ReadNumberIn("%d\n", "1 9 10 11 12 13 14 15 16 17 18 19 20 21 22 23 24"));
    } while (IsRefused(criterion, has));
    return criterion;
}

/// Traits averaged, or entropies, are compared by Euclidean distance only.
void FixResemblance()
{
    Session& s = session;
    const bool ofAverages = s.traitBasedOpt != 1;
    if (ofAverages) s.whichObj = 'r';
    if (ofAverages || s.opt_struct == alphaDivergence) s.rese_opt = euclideanDistance;
}

/// The number of types is that of the user's partition, and the only one to be searched.
void SetTypeLimits()
{
    Session& s = session;
    if (s.clusMethPoolCSTs == 0) {
        CountGroupsNew(s.tcst, s.partition_OTUs, &s.nMinCSTGroupsChRank, nullptr);
        s.nMaxCSTGroupsChRank = s.nMinCSTGroupsChRank;
    } else {
        s.nMaxCSTGroupsChRank = s.tcst;
    }
}

void AskSubsetSizes()
{
    Session& s = session;
    int nUsed = 0;
    for (int t = 0; t < s.nch; t++)
        if (s.weight[t] > 0.0) nUsed++;
    std::fprintf(console.out,
                 "Minimum number of traits in the trait subset (minimum: 1, maximum: %d): ", nUsed);
    s.nMinTraitsChRank = ToInt(ReadNumberIn("%g\n", "-", 1.0, nUsed));
    std::fprintf(console.out,
                 "Maximum number of traits in the trait subset (minimum: %d, maximum: %d): ",
                 s.nMinTraitsChRank, nUsed);
    s.nMaxTraitsChRank = ToInt(ReadNumberIn("%g\n", "-", s.nMinTraitsChRank, nUsed));
}

} // namespace

void SettingsChRank()
{
    session.opt_struct = AskCriterion();
    session.rankingAlgorithm = 2;
    session.includePhylogeny = NeedsPhylogeny(session.opt_struct);
    SettingsHierarchy();
    FixResemblance();
    session.optUnitTotalAdjust1 = true;
    SetTypeLimits();
    AskSubsetSizes();
    Say("\nPrint intermediate results of the ranking process?  y/n ");
    session.printRankIntermedResults = static_cast<char>(ReadCharIn("y n"));
}
