// SPDX-License-Identifier: GPL-3.0-or-later
#include <cstdio>

#include "functional/report.hpp"
#include "functional/scaling.hpp"
#include "session/session.hpp"
#include "shell/preferences.hpp"
#include "shell/table.hpp"

namespace {

void PrintVector(std::FILE* report, int n, double* vector)
{
    PrintVectorTab(report, n, vector, SignificantDigits(), nullptr);
}

/// Jost's (2006) effective number: 1 / (1 - entropy). An entropy of 1 gives infinity.
double EffectiveNumber(double entropy)
{
    return 1.0 / (1.0 - entropy);
}

void FunctionalDiversity(std::FILE* report, const Scaling& a)
{
    std::fprintf(report, "\n\nFUNCTIONAL DIVERSITY");
    std::fprintf(report, "\nGini-Simpson index (D) within each community (equivalent to Rao quadratic entropy with null, crisp, similarities):\n");
    PrintVector(report, a.n, a.D);
    if (preferences.sqrtDissimOpt_RaoTraits)
        std::fprintf(report, "\nRao quadratic entropy within each community, considering trait dissimilarities [D=sqrt(1-GowerIndex)] between OTUs (Rf):\n");
    else
        std::fprintf(report, "\nRao quadratic entropy within each community, considering trait dissimilarities [D=1-GowerIndex] between OTUs (Rf):\n");
    PrintVector(report, a.n, a.Rf);
    std::fprintf(report, "\nFunctional redundancy in each community (FR = D-Rf):\n");
    PrintVector(report, a.n, a.FR);
}

void PhylogeneticDiversity(std::FILE* report, const Scaling& a)
{
    std::fprintf(report, "\n\nPHYLOGENETIC DIVERSITY");
    if (session.phylogenyMatrixType == phylogenySimilarities)
        std::fprintf(report, "\nRao quadratic entropy (Rp) within each community, considering phylogenetic dissimilarities obtained by transformation of input similarities [D= sqrt(1-S)] between OTUs:\n");
    else
        std::fprintf(report, "\nRao quadratic entropy (Rp) within each community, considering phylogenetic dissimilarities between OTUs:\n");
    PrintVector(report, a.n, a.Rp);
    std::fprintf(report, "\nPhylogenetic redundancy in each community (PR = D-Rp):\n");
    PrintVector(report, a.n, a.PR);
}

void OtuWeights(std::FILE* report, const Scaling& a)
{
    bool someExcluded = false;
    for (int i = 0; i < a.s; i++) someExcluded |= session.weight_OTUs[i] < 1;
    if (!someExcluded) {
        std::fprintf(report, "\nAll OTUs were equally considered in the computation of Rao entropy, Simpson diversity, and matrices T, X and P.\n");
        return;
    }
    std::fprintf(report, "\nOTUs weights (zero ones not considered in the computation of Rao entropy, Simpson diversity, and matrices T, X and P):\n");
    for (int i = 0; i < a.s; i++) std::fprintf(report, "%d\t", session.weight_OTUs[i]);
    if (a.keepScale)
        std::fprintf(report, "\nScale was maintained, but additivity is lost for complementary sets of OTUs' weights.\n");
    else
        std::fprintf(report, "\nAdditivity was maintained but the scales of T, X, P and diversity measures are not comparable between complementary sets of OTUs' weights.\n");
    if (session.restrictRaoWithinOpt)
        std::fprintf(report, "\nFuzzy-weighting and Rao entropy RESTRICTED to dis-similarities WITHIN subset of selected OTUs.\n");
    else
        std::fprintf(report, "\nFuzzy-weighting and Rao entropy included dis-similarities WITHIN subset of selected OTUs and also BETWEEN selected and unselected subsets of OTUs.\n");
}

void PrintEffectiveNumbers(std::FILE* report, int n, const double* entropy)
{
    for (int k = 0; k < n; k++) std::fprintf(report, "%g\t", EffectiveNumber(entropy[k]));
}

void PrintEffectiveRedundancy(std::FILE* report, int n, const double* diversity,
                              const double* entropy)
{
    for (int k = 0; k < n; k++)
        std::fprintf(report, "%g\t", EffectiveNumber(diversity[k]) - EffectiveNumber(entropy[k]));
}

void CorrectedDiversity(std::FILE* report, const Scaling& a)
{
    std::fprintf(report, "\n\nDiversity using Jost (2006) correction");
    std::fprintf(report, "\nGini-Simpson index (D) within each community (equivalent to Rao quadratic entropy with null, crisp, dissimilarties):\n");
    PrintEffectiveNumbers(report, a.n, a.D);
    std::fprintf(report, "\nRao quadratic entropy within each community, considering trait dissimilarties (Qf):\n");
    PrintEffectiveNumbers(report, a.n, a.Rf);
    std::fprintf(report, "\nFunctional redundancy in each community (FR = D-Qf):\n");
    PrintEffectiveRedundancy(report, a.n, a.D, a.Rf);
    if (!a.withPhylogeny) return;
    std::fprintf(report, "\n\nPHYLOGENETIC REDUNDANCY");
    std::fprintf(report, "\nRao quadratic entropy (Qp) within each community, considering phylogenetic dissimilarties:\n");
    PrintEffectiveNumbers(report, a.n, a.Rp);
    std::fprintf(report, "\nPhylogenetic redundancy in each community (PR = D-Qp):\n");
    PrintEffectiveRedundancy(report, a.n, a.D, a.Rp);
}

} // namespace

void ReportDiversity(std::FILE* report, const Scaling& a)
{
    FunctionalDiversity(report, a);
    if (a.withPhylogeny) PhylogeneticDiversity(report, a);
    OtuWeights(report, a);
    CorrectedDiversity(report, a);
}
