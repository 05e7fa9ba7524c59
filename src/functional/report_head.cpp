// SPDX-License-Identifier: GPL-3.0-or-later
#include <cstdio>

#include "functional/report.hpp"
#include "functional/settings.hpp"
#include "numeric/congruence.hpp"
#include "numeric/resemblance.hpp"
#include "session/session.hpp"
#include "shell/console.hpp"
#include "shell/preferences.hpp"
#include "shell/table.hpp"

namespace {

void HeadIdentity(std::FILE* report)
{
    if (session.prindaMode[0] == 'w') std::fprintf(report, "\n%s\n", version);
    std::fprintf(report, "%s\n", lineL);
    std::fprintf(report, "EXPLORATION OF COMMUNITY DATA STRUCTURES\n");
    std::fprintf(report, "%s\n", lineL);
    TimeStamp(report);
    std::fprintf(report, "Session:          %s\n", console.sessionName);
    std::fprintf(report, "Formatted data:   %s\n", session.whichFormda);
    std::fprintf(report, "Unformatted data: %s\n\n", session.dataName);
}

void HeadTraits(std::FILE* report)
{
    std::fprintf(report, "Trait set:        ");
    for (int j = 0; j < session.nch; j++) std::fprintf(report, "%-3s", session.chLabel[j]);
    std::fprintf(report, "\nNumber of states: ");
    for (int j = 0; j < session.nch; j++) std::fprintf(report, "%-3d", session.onsta[j]);
    std::fprintf(report, "\nTrait type:       ");
    for (int j = 0; j < session.nch; j++) std::fprintf(report, "%-3d", session.chtype[j]);
    std::fprintf(report, "\nTrait weights:     ");
    for (int j = 0; j < session.nch; j++) std::fprintf(report, "%g\t", session.weight[j]);
    std::fprintf(report, "\nTrait-based approach: %s\n",
                 traitBasedOptInfo[session.traitBasedOpt - 1]);
}

void HeadAdjustments(std::FILE* report)
{
    if (session.optUnitTotalAdjust1)
        std::fprintf(report, "Community data matrix W adjusted to unit totals prior to trait convergence evaluation (TCAP).\n");
    else
        std::fprintf(report, "Community data matrix W NOT adjusted to unit totals prior to trait convergence evaluation (TCAP).\n");
    if (session.optUnitTotalAdjust2)
        std::fprintf(report, "Community data matrix W adjusted to unit totals prior to evaluation of TDAP.\n");
    else
        std::fprintf(report, "Community data matrix W NOT adjusted to unit totals prior to evaluation of TDAP.\n");
}

void HeadPooling(std::FILE* report)
{
    std::fprintf(report, "\nPooling of OTUs: %s\n", poolCSToptInfo[session.poolCSTopt - 1]);
    if (session.poolCSTopt != 2) return;
    if (session.clusMethPoolCSTs == 0)
        std::fprintf(report, "Clustering method defining types: none (groups were specified by the user).\n");
    else
        std::fprintf(report, "Clustering method defining types: %s\n",
                     clusMethInfo[session.clusMethPoolCSTs]);
    std::fprintf(report, "Resemblance function between OTUs: %s\n",
                 reseCSToptInfo[session.reseCSTopt - 1]);
    if (session.reseCSTopt == otusByGower)
        std::fprintf(report, "Gower index modified to count matching absences in binary traits? %s\n",
                     YesNotInfo[preferences.countDoubleAbsence != 0 ? 1 : 0]);
}

void PhylogenyLine(std::FILE* report)
{
    if (session.includePhylogeny)
        std::fprintf(report, "\nPhylogeny: Is considered\n");
    else
        std::fprintf(report, "\nPhylogeny: Is NOT considered\n");
}

void HeadEntropy(std::FILE* report)
{
    PhylogenyLine(report);
    std::fprintf(report, "Rao entropy based on traits computed on square root transformed dissimilarities? %s\n",
                 YesNotInfo[preferences.sqrtDissimOpt_RaoTraits ? 1 : 0]);
    if (session.includePhylogeny)
        std::fprintf(report, "Rao entropy based on phylogeny computed on square root transformed dissimilarities? %s\n",
                     YesNotInfo[preferences.sqrtDissimOpt_RaoPhyl ? 1 : 0]);
    PhylogenyLine(report); // Deliberate: stands twice, as in all earlier reports.
}

void HeadResemblance(std::FILE* report)
{
    bool someTraitLeftOut = false;
    for (int j = 0; j < session.nch; j++) someTraitLeftOut |= session.weight[j] == 0.0;
    if (someTraitLeftOut) {
        std::fprintf(report, "Traits considered in the computation of OTUs resemblance:\n");
        for (int j = 0; j < session.nch; j++)
            if (session.weight[j] > 0.0) std::fprintf(report, "%-3s", session.chLabel[j]);
    } else {
        std::fprintf(report, "All traits were considered in the computation of resemblance between OTUs.\n");
    }
    std::fprintf(report, "\nFuzzy transformation: \t%s\n", fuzzyInfo[session.fuzzy]);
    std::fprintf(report, "Number of types examined: \t%d\n", session.nMaxCSTGroupsChRank);
    std::fprintf(report, "\nCorrelation function between matrices: \t%s\n",
                 opt_roInfo[session.opt_ro - 1]);
    if (session.opt_ro == mantel || session.opt_ro == varianceAnalysis)
        std::fprintf(report, "Resemblance option between communities: %s\n",
                     rese_optInfo[session.rese_opt - 1]);
    else
        std::fprintf(report, "Factor (f) for limiting the number of predictors in PCA regression in relation to sample size n (number of predictors = n/f): %g\n",
                     preferences.overfitFactorPCARegr);
}

void HeadCommunities(std::FILE* report)
{
    std::fprintf(report, "\nNumber of communities: %d\n", session.ncsm);
    std::fprintf(report, "Community labels: ");
    for (int k = 0; k < session.ncsm; k++) std::fprintf(report, "%-6s", session.reLabel[k]);
    std::fprintf(report, "\n");
}

} // namespace

void ReportHead(std::FILE* report)
{
    HeadIdentity(report);
    HeadTraits(report);
    HeadAdjustments(report);
    HeadPooling(report);
    HeadEntropy(report);
    HeadResemblance(report);
    HeadCommunities(report);
}
