// SPDX-License-Identifier: GPL-3.0-or-later
// The part of the report that needs permutation tests: statistics with their probabilities, the
// regression and variance models, and how the test was done.
#include <cstdio>

#include "functional/report.hpp"
#include "functional/scaling.hpp"
#include "numeric/congruence.hpp"
#include "session/session.hpp"
#include "shell/preferences.hpp"
#include "shell/table.hpp"

namespace {

bool VariableIsSelected(int j)
{
    return session.eVarSelect[j] == 1;
}

void VariableStatistics(std::FILE* report, const double* r, const double* P)
{
    std::fprintf(report, "\nStatistics and probabilities*:\nConvergence (TCAP): r(TE)=\t%g\tP=\t%g\nBoth TCAP and Divergence (TDAP): r(XE)=\t%g\tP=\t%g\nTDAP: r(XE.T)=\t%g\tP=\t%g\n",
                 r[rTE], P[rTE], r[rXE], P[rXE], r[rXE_T], P[rXE_T]);
    std::fprintf(report, "Alpha divergence (correlation between environmental variables and Rao entropy): r(RE)=\t%g\tP=\t%g\nBeta divergence: r(XE.TR)=\t%g\tP=\t%g\n",
                 r[rRE], P[rRE], r[rXE_TR], P[rXE_TR]);
}

void SmoothingStatistics(std::FILE* report, const double* r, const double* P)
{
    std::fprintf(report, "\nCorrelations with Beals smoothed community matrix (Y) considering OTU's co-occurences weighted by their abundances according to DeCaceres&Legendre (2008):\n");
    std::fprintf(report, "r(TY)=\t%g\tP=\t%g\n", r[rTY], P[rTY]);
    std::fprintf(report, "r(XY)=\t%g\tP=\t%g\n", r[rXY], P[rXY]);
    std::fprintf(report, "r(XY_T)=\t%g\tP=\t%g\n", r[rXY_T], P[rXY_T]);
}

void Tails(std::FILE* report)
{
    if (preferences.twoTailedTestMantel)
        std::fprintf(report, "Permutation tests generated TWO-tailed p-values based on Mantel correlations.\n");
    else
        std::fprintf(report, "Permutation tests generated ONE-tailed p-values based on Mantel correlations, except for partial correlations, which are always two-tailed tests.\n");
}

void PhylogenyStatistics(std::FILE* report, bool hasVariables, const double* r, const double* P)
{
    std::fprintf(report, "\nPhylogenetic signal at OTU (species) level ro(BF) = \t%g\tP=\t%g",
                 r[roBF], P[roBF]);
    std::fprintf(report, "\n\nPhylogenetically structured assembly patterns (PSAP):\n");
    if (hasVariables)
        std::fprintf(report, "Correlation of PSAP to ecological variables: ro(PE)=\t%g\tP=\t%g\n",
                     r[roPE], P[roPE]);
    std::fprintf(report, "Correlation of PSAP to TCAP: ro(PT)=\t%g\tP=\t%g\n", r[roPT], P[roPT]);
    std::fprintf(report, "Correlation of PSAP to both TCAP and TDAP: ro(PX)=\t%g\tP=\t%g\n",
                 r[roPX], P[roPX]);
    std::fprintf(report, "Correlation of PSAP to TDAP: ro(PX.T)=\t%g\tP=\t%g\n", r[roPX_T],
                 P[roPX_T]);
    if (!hasVariables) return;
    std::fprintf(report, "Removing phylogeny from TCAP: ro(TE.P)=\t%g\tP=\t%g\nRemoving phylogeny from both TCAP and TDAP: ro(XE.P)=\t%g\tP=\t%g\nRemoving phylogeny from TDAP: ro(XE.TP)=\t%g\tP=\t%g\n",
                 r[roTE_P], P[roTE_P], r[roXE_P], P[roXE_P], r[roXE_TP], P[roXE_TP]);
    std::fprintf(report, "Removing TCAP from phylogeny: ro(PE.T)=\t%g\tP=\t%g\nRemoving TCAP and TDAP from phylogeny: ro(PE.X)=\t%g\tP=\t%g\n",
                 r[roPE_T], P[roPE_T], r[roPE_X], P[roPE_X]);
    std::fprintf(report, "Alpha divergence (correlation between environmental variables and Rao entropy based on phylogeny): r(FE)=\t%g\tP=\t%g\n",
                 r[rFE], P[rFE]);
}

void NullModelNote(std::FILE* report, const Scaling& a)
{
    if (a.withPhylogeny) {
        std::fprintf(report, "\n(*)Probability of finding more extreme correlations involving matrices T, X and P, and vector R, under null models described in Tolvane et al. (2009) and Tolvane & Ranheim (2010).\n");
        std::fprintf(report, "Null model involved (1) permutation among OTUs vectors in matrix B for those correlations involving matrices T and X and vector R, (2) permutation among vectors in matrix Q for those correlations involving matrix P (ro(PE), ro(PT) and ro(PE.X)), and (3) identical permutation among row vectors in both matrices U and Q, for ro(PX) and ro(PX.T). Matrix W and, if present, environmental matrix E are not permuted.\n");
    } else {
        std::fprintf(report, "\n(*)Probability of finding more extreme correlations involving matrices T and X, and vector R, under null model described in Tolvane et al. (2009).\n");
        std::fprintf(report, "Null model involved permutation among OTUs vectors in matrix B, keeping fixed the community matrix W and, if present, environmental matrix E.\n");
    }
    if (session.optWeightedNullModel)
        std::fprintf(report, "Probability of an OTU occurring in a community was weighted by its frequency in the community set.\n");
    // Deliberate: with the weighted model both lines stand, as in all earlier reports.
    std::fprintf(report, "Probability of an OTU occurring in a community was NOT weighted by its frequency in the community set.\n");
}

// --- Regression

void RegressionFactors(std::FILE* report, const RegressionResults& model, int response)
{
    int place = 0;
    for (int j = 0; j < session.nenv; j++) {
        if (!VariableIsSelected(j)) continue;
        std::fprintf(report, "Factor:\t%s\tcoeff=\t%g\tp-value=\t%g\n", session.envLabel[j],
                     model.coefficient[place][response], model.pCoefficient[place][response]);
        place++;
    }
    std::fprintf(report, "Intercept=\t%g\n", model.intercept[response]);
}

void RegressionModels(std::FILE* report, const Scaling& a)
{
    const RegressionResults& model = *a.regression;
    std::fprintf(report, "\n\nREGRESSION MODELS");
    std::fprintf(report, "\nFor each response variable, the r square, and regression coefficients for each environmental factor, and corresponding p-values are shown below:\n");
    for (int j = 0; j < a.t; j++) {
        if (a.selectedTraits[j] != 1) continue;
        std::fprintf(report, "\nTrait:\t%s\tr-square=\t%g\tp-value=\t%g\n", session.chLabel[j],
                     model.rSquare[j], model.pRSquare[j]);
        RegressionFactors(report, model, j);
    }
    std::fprintf(report, "\nFunctional diversity:\t\tr-square=\t%g\tp-value=\t%g\n",
                 model.rSquare[a.t], model.pRSquare[a.t]);
    RegressionFactors(report, model, a.t);
    if (!a.withPhylogeny) return;
    std::fprintf(report, "\nPhylogenentic diversity:\t\tr-square=\t%g\tp-value=\t%g\n",
                 model.rSquare[a.t + 1], model.pRSquare[a.t + 1]);
    RegressionFactors(report, model, a.t + 1);
}

// --- Analysis of variance

void AnovaHead(std::FILE* report, const Scaling& a)
{
    std::fprintf(report, "\n\nANALYSIS OF VARIANCE\n");
    std::fprintf(report, "Selected communities:\n");
    for (int k = 0; k < a.n; k++) std::fprintf(report, "%d\t", session.relSelect[k]);
    std::fprintf(report, "\nSelected traits:\t");
    for (int j = 0; j < a.t; j++)
        if (a.selectedTraits[j] == 1) std::fprintf(report, "%s\t", session.chLabel[j]);
    std::fprintf(report, "\nSelected factors and observation states in %d communities:\n", a.n);
    int place = 0;
    for (int j = 0; j < a.e; j++) {
        if (!VariableIsSelected(j)) continue;
        std::fprintf(report, "Factor:\t%s\tStates:\t", session.envLabel[j]);
        for (int k = 0; k < a.n; k++)
            std::fprintf(report, "%d\t", static_cast<int>(a.factors->table[k][place]));
        std::fprintf(report, "\n");
        place++;
    }
}

void AnovaOfTraits(std::FILE* report, const Scaling& a)
{
    std::fprintf(report, "\nMANOVA using matrix T (community weighted means) as multivariate response:\n");
    for (int j = 0; j < a.e; j++) {
        if (VariableIsSelected(j)) {
            // Deliberate: read at the factor's place among all variables, though they are stored by
            // the place among the selected ones, so a selection shifts them; as in all earlier
            // reports.
            std::fprintf(report, "Factor:\t%s\tPseudo-F=\t%g\tp-value=\t%g\n", session.envLabel[j],
                         a.anovaF->T[j], a.anovaP->T[j]);
            std::fprintf(report, "ANOVA for each selected individual trait the pseudo-F (between/within groups sum of squares) and corresponding p-values are shown below:\n");
            for (int trait = 0; trait < a.t; trait++) {
                if (a.selectedTraits[trait] != 1) continue;
                std::fprintf(report, "Trait:\t%s\tPseudo-F=\t%g\tp-value=\t%g\n",
                             session.chLabel[trait], a.anovaF->traits[j][trait],
                             a.anovaP->traits[j][trait]);
            }
        }
        std::fprintf(report, "\n");
    }
}

void AnovaFactors(std::FILE* report, const double* F, const double* P)
{
    int place = 0;
    for (int j = 0; j < session.nenv; j++) {
        if (!VariableIsSelected(j)) continue;
        std::fprintf(report, "Factor:\t%s\tPseudo-F=\t%g\tp-value=\t%g\n", session.envLabel[j],
                     F[place], P[place]);
        place++;
    }
}

void VarianceModels(std::FILE* report, const Scaling& a)
{
    AnovaHead(report, a);
    AnovaOfTraits(report, a);
    std::fprintf(report, "MANOVA using matrix X (fuzzy-weighted community composition using all selected traits) as multivariate response:\n");
    AnovaFactors(report, a.anovaF->X, a.anovaP->X);
    if (a.withPhylogeny) {
        std::fprintf(report, "MANOVA using matrix P (phylogenetically fuzzy-weighted community composition) as multivariate response:\n");
        AnovaFactors(report, a.anovaF->P, a.anovaP->P);
    }
    std::fprintf(report, "\nANOVA using Rao funtional diversity (using all selected traits) as univariate response:\n");
    AnovaFactors(report, a.anovaF->Rf, a.anovaP->Rf);
    if (!a.withPhylogeny) return;
    std::fprintf(report, "ANOVA using Rao phylogenetic diversity as univariate response:\n");
    AnovaFactors(report, a.anovaF->Rp, a.anovaP->Rp);
}

} // namespace

void ReportTestedCorrelations(std::FILE* report, const Scaling& a)
{
    if (a.e > 0) VariableStatistics(report, a.results, a.probabilities);
    SmoothingStatistics(report, a.results, a.probabilities);
    if (a.e > 0 && session.opt_ro == mantel) Tails(report);
}

void ReportTestedPhylogeny(std::FILE* report, const Scaling& a)
{
    if (a.withPhylogeny) PhylogenyStatistics(report, a.e > 0, a.results, a.probabilities);
    NullModelNote(report, a);
}

void ReportModels(std::FILE* report, const Scaling& a)
{
    if (a.e == 0) return;
    if (session.opt_ro == linearRegression) RegressionModels(report, a);
    if (session.opt_ro == varianceAnalysis) VarianceModels(report, a);
}

void ReportTestSummary(std::FILE* report, const Scaling& a)
{
    std::fprintf(report, "\nNumber of iterations for permutation tests: %d\n", session.niter);
    std::fprintf(report, "Random generator seed: %u\n", static_cast<unsigned>(session.rseed));
    std::fprintf(report, "Elapsed time for the test(s): %g seconds\n", a.testSeconds);
    if (session.optTaxaSiteShuffle == 't') {
        std::fprintf(report, "Null model based on taxa shuffle, i.e. among OTU vectors in the traits or phylogenentic matrix, keeping compositional matrix W and, if present, environmental matrix E constant.\n");
        if (session.optRestrictPermutNullModel == 1) {
            std::fprintf(report, "Permutations of OTUs: Restricted within the following groups:\nNesting groups for %d OTUs:\t",
                         a.s);
            PrintVectorTab(report, a.s, session.nestingMembershipOTUs, nullptr);
        } else {
            std::fprintf(report, "Permutations of OTUs: Unrestricted\n");
        }
    } else {
        std::fprintf(report, "Null model based on site shuffle, i.e. among community vectors in the resulting matrix of communities by weighted mean traits, fuzzy-weighted composition, functional diversity or phylogenetic diversity, keeping constant the trait or phylogenetic matrices.\n");
    }
}
