// SPDX-License-Identifier: GPL-3.0-or-later
#include "functional/report.hpp"

#include <cstdio>

#include "functional/scaling.hpp"
#include "numeric/congruence.hpp"
#include "numeric/matrix.hpp"
#include "session/session.hpp"
#include "shell/preferences.hpp"
#include "shell/table.hpp"

namespace {

void PrintTable(std::FILE* report, int rows, int columns, double** matrix)
{
    PrintMatrix(report, rows, columns, matrix, SignificantDigits(), 0);
    std::fprintf(report, "\n");
}

/// A resemblance matrix of which only the upper triangle holds values.
void PrintResemblance(std::FILE* report, int n, double** matrix)
{
    TransposeSqMatrix(n, matrix, matrix);
    PrintLowerHalfMatrixTab(report, n, matrix, SignificantDigits());
    TransposeSqMatrix(n, matrix, matrix);
}

void PrintSelectedLabels(std::FILE* report)
{
    for (int j = 0; j < session.nch; j++)
        if (session.weight[j] > 0.0) std::fprintf(report, "%s\t", session.chLabel[j]);
}

void PhylogenyResemblance(std::FILE* report, const Scaling& a)
{
    const int kind = session.phylogenyMatrixType;
    if (kind == phylogenySimilarities)
        std::fprintf(report, "\nSimilarity matrix, in the range 0-1, between %d OTUs based on their phylogeny:\n", a.s);
    if (kind == phylogenyDistances)
        std::fprintf(report, "\nDissimilarity matrix, in the range 0-1, between %d OTUs based on their phylogeny:\n", a.s);
    if (kind == phylogenyVariables) {
        std::fprintf(report, "\nPhylogeny matrix with %d OTUs by %d phylogenetic variables: \n", a.s,
                     session.nClados);
        PrintTable(report, a.s, session.nClados, session.phylogenyData);
        std::fprintf(report, "\nSimilarity matrix (Gower index) between %d OTUs, based on %d phylogenetic variables:\n",
                     a.s, session.nClados);
    }
    UpperToLowerMatrix(a.s, session.phylogenyRese);
    PrintMatrixTab(report, a.s, a.s, session.phylogenyRese, SignificantDigits());
}

/// Labels of species beside the numbers of types that stand for them.
void SpeciesOfTypes(std::FILE* report, const Scaling& a)
{
    std::fprintf(report, "\nThe types are species (# labels are used later in these results to identify the species) :\n");
    std::fprintf(report, "#\tSpecies\n");
    // Deliberate: the name is the one at the type's place in the list, also where a species
    // without OTUs makes labels and places differ; earlier reports show it so.
    for (int c = 0; c < a.g && c < session.nSpp; c++)
        std::fprintf(report, "%d\t%s\n", a.typeLabels[c], session.spp[c]);
}

/// The observed statistics without tests: r(TE) alone is computed then, the others show 0.
void StatisticsWithoutTests(std::FILE* report, const Scaling& a)
{
    std::fprintf(report, "\nStatistics:\nConvergence (TCAP): r(TE)=\t%g\nBoth TCAP and TDAP: r(XE)=\t%g\nDivergence (TDAP): r(XE.T)=\t%g\n",
                 a.results[rTE], 0.0, 0.0);
    std::fprintf(report, "Alpha divergence (correlation between environmental variables and Rao entropy): r(RE)=\t%g\nBeta divergence: r(XE.TR)=\t%g\n",
                 0.0, 0.0);
}

void TypeCounts(std::FILE* report, const Scaling& a)
{
    if (session.fuzzy == 3)
        std::fprintf(report, "\nNumber of fuzzy types:\t%d\nTraits:\t", a.g);
    else
        std::fprintf(report, "\nNumber of crisp types:\t%d\nTraits:\t", a.g);
    for (int j = 0; j < a.t; j++)
        if (a.selectedTraits[j] == 1) std::fprintf(report, "%-2s\t", session.chLabel[j]);
    std::fprintf(report, "\nNumber of OTUs in each type:\t");
    for (int c = 0; c < a.g; c++) std::fprintf(report, "%d\t", a.typeSizes[c]);
    std::fprintf(report, "\n");
}

/// The phylogenetic statistics without tests, all 0: they are computed with the tests only.
void PhylogenyWithoutTests(std::FILE* report)
{
    std::fprintf(report, "\nPhylogenetic signal at OTU (species) level ro(BF) = \t%g", 0.0);
    std::fprintf(report, "\n\nPhylogenetically structured assembly patterns (PSAP):\n");
    std::fprintf(report, "\nCorrelation of PSAP to ecological variables: ro(PE)=\t%g", 0.0);
    std::fprintf(report, "\nCorrelation of PSAP to TCAP (phylogenetic signal at metacommunity level): ro(PT)=\t%g", 0.0);
    std::fprintf(report, "\nCorrelation of PSAP to both TCAP and TDAP (phylogenetic signal at metacommunity level): ro(PX)=\t%g", 0.0);
    std::fprintf(report, "\nCorrelation of PSAP to TDAP: ro(PX.T)=\t%g", 0.0);
    std::fprintf(report, "\nRemoving phylogeny from TCAP: ro(TE.P)=\t%g\nRemoving phylogeny from both TCAP and TDAP: ro(XE.P)=\t%g\nRemoving phylogeny from TDAP: ro(XE.TP)=\t%g",
                 0.0, 0.0, 0.0);
    std::fprintf(report, "\nRemoving TCAP from phylogeny: ro(PE.T)=\t%g\nRemoving TCAP and TDAP from phylogeny: ro(PE.X)=\t%g\n",
                 0.0, 0.0);
    std::fprintf(report, "Alpha divergence (correlation between environmental variables and Rao entropy based on phylogeny): r(FE)=\t%g\n",
                 0.0);
}

void StatisticsTitle(std::FILE* report)
{
    switch (session.opt_ro) {
    case mantel:
        std::fprintf(report, "\nThe statistics shown below are matrix (Mantel) correlations.\n");
        break;
    case procrustes:
        std::fprintf(report, "\nThe statistics shown below are Procrustes correlations (traceW).\n");
        break;
    case rvCoefficient:
        std::fprintf(report, "\nThe statistics shown below are RV coefficients (Escoufier 1973).\n");
        break;
    case linearRegression:
        std::fprintf(report, "\nThe statistics shown below are the r square and regression coefficients with corresponding p-values.\n");
        break;
    case varianceAnalysis:
        std::fprintf(report, "\nThe statistics shown below are pseudo-F values (between/within groups sum of squares) and corresponding p-values.\n");
        break;
    default: break;
    }
}

} // namespace

void ReportRawComposition(std::FILE* report, const Scaling& a)
{
    if (!a.wholeReport) return;
    std::fprintf(report, "\nCommunity matrix W with %d communities by %d OTUs: \n", a.n, a.s);
    PrintTable(report, a.n, a.s, a.W);
}

void ReportSmoothing(std::FILE* report, const Scaling& a)
{
    if (!a.wholeReport) return;
    std::fprintf(report, "\nCommunity matrix W with %d communities by %d OTUs adjusted to unit sum within each community: \n",
                 a.n, a.s);
    PrintTable(report, a.n, a.s, a.traitW);
    std::fprintf(report, "\nCommunity matrix Y with Beals (1984) smoothing of matrix W, with %d communities by %d OTUs ",
                 a.n, a.s);
    if (preferences.BealsIncludeOpt)
        std::fprintf(report, "(abundance of target OTU included in its own estimation):\n");
    else
        std::fprintf(report, "(abundance of target OTU NOT included in its own estimation):\n");
    PrintTable(report, a.n, a.s, *a.Y);
    if (session.opt_ro != mantel) return;
    std::fprintf(report, "Resemblance matrix (DY) between communities:\n");
    PrintResemblance(report, a.n, *a.DY);
}

void ReportPhylogeny(std::FILE* report, const Scaling& a)
{
    if (a.wholeReport) {
        std::fprintf(report, "\nPCoA scores based on the phylogenetic resemblance matrix with %d OTUs by %d ordination dimensions: \n",
                     a.s, a.nPCoA);
        PrintTable(report, a.s, a.nPCoA, *a.pcoaScores);
    }
    if (session.phylogenyMatrixType == phylogenyVariables) {
        std::fprintf(report, "\nVariable types in the phylogeny matrix with %d OTUs by %d phylogenetic variables: \n",
                     a.s, session.nClados);
        PrintVectorTab(report, session.nClados, session.phylogenyVarType, nullptr);
    }
    if (a.wholeReport) PhylogenyResemblance(report, a);
    std::fprintf(report, "\nPartition vector of %d OTUs in %d taxa:\n", a.s, a.f);
    PrintVectorTab(report, a.s, session.partition_OTUs_Phyl, nullptr);
    if (a.wholeReport) {
        std::fprintf(report, "\nFuzzy belonging of %d OTUs (rows) in %d taxa (columns) according to their phylogeny:\n",
                     a.s, a.f);
        PrintTable(report, a.s, a.f, *a.Q);
    }
    std::fprintf(report, "\nPooled performance matrix P (%d communities x %d taxa) after fuzzy-weighting by the specified phylogeny:\n",
                 a.n, a.f);
    PrintTable(report, a.n, a.f, *a.P);
    if (session.opt_ro != mantel) return;
    std::fprintf(report, "\nResemblance matrix (DP) between communities based on matrix P, the composition of OTUs weighted by their phylogeny:\n");
    PrintResemblance(report, a.n, *a.DP);
}

void ReportTraitsAndVariables(std::FILE* report, const Scaling& a)
{
    if (a.wholeReport) {
        std::fprintf(report, "\nTrait matrix B with %d OTUs by %d traits: \n", a.s, a.t);
        PrintTable(report, a.s, a.t, session.csm_Float);
    }
    if (a.e == 0) return;
    std::fprintf(report, "\nEcological variables (factors or effects):\t");
    for (int j = 0; j < a.e; j++) std::fprintf(report, "%s\t", session.envLabel[j]);
    std::fprintf(report, "\nMatrix E with ecological variables (%d communities x %d variables):\n",
                 a.n, a.e);
    PrintTable(report, a.n, a.e, session.env);
    if (session.opt_ro != mantel) return;
    std::fprintf(report, "Resemblance matrix (DE) between community sites based on ecological variables:\n");
    PrintResemblance(report, a.n, a.DE);
}

void ReportAverages(std::FILE* report, const Scaling& a)
{
    std::fprintf(report, "\nTraits:\t");
    PrintSelectedLabels(report);
    std::fprintf(report, "\nMatrix T with trait averages at community level (%d communities x %d traits):\n",
                 a.n, a.t);
    PrintTable(report, a.n, a.t, a.T);
}

void ReportNormalizedAverages(std::FILE* report, const Scaling& a)
{
    std::fprintf(report, "\nMatrix T with normalized traits at community level (%d communities x %d traits adjusted to unit length):\n",
                 a.n, a.t);
    PrintTable(report, a.n, a.t, a.T);
    if (session.opt_ro == mantel) {
        std::fprintf(report, "Resemblance matrix (DT) between communities based on selected traits:\n");
        PrintResemblance(report, a.n, *a.DT);
    }
    std::fprintf(report, "\nTraits:\t");
    PrintSelectedLabels(report);
}

void ReportOtuSimilarity(std::FILE* report, const Scaling& a)
{
    if (!a.wholeReport) return;
    std::fprintf(report, "\nSimilarity matrix between %d OTUs, based on %d traits:\n", a.s,
                 a.nSelectedTraits);
    PrintResemblance(report, a.s, *a.Sb);
}

void ReportTypes(std::FILE* report, const Scaling& a)
{
    std::fprintf(report, "\nPartition vector of %d OTUs in %d specified types:\n", a.s, a.g);
    PrintVectorTab(report, a.s, session.partition_OTUs, nullptr);
    if (session.OTUsTypesAreSpecies) SpeciesOfTypes(report, a);
    if (a.wholeReport) {
        std::fprintf(report, "\nFuzzy degrees of belonging (matrix U) of %d OTUs (rows) in %d types (columns):\n",
                     a.s, a.g);
        PrintTable(report, a.s, a.g, *a.U);
        std::fprintf(report, "\nCrisp degrees of belonging (matrix C) of %d OTUs (rows) in %d types (columns):\n",
                     a.s, a.g);
        PrintTable(report, a.s, a.g, *a.C);
    }
    std::fprintf(report, "\nLabels of %d specified types:\n", a.g);
    PrintVectorTab(report, a.g, a.typeLabels, nullptr);
    std::fprintf(report, "\nNumber of OTUs in each type:\n");
    PrintVectorTab(report, a.g, a.typeSizes, nullptr);
    std::fprintf(report, "\nAverage trait matrix (%d types x %d traits):\n", a.g, a.t);
    PrintTable(report, a.g, a.t, *a.averageTraits);
    std::fprintf(report, "Pooled performance community matrix (%d communities x %d crisp types) without fuzzy-weighting by the selected traits.\n",
                 a.n, a.g);
    PrintTable(report, a.n, a.g, *a.crispX);
    if (session.fuzzy == 3) {
        std::fprintf(report, "Pooled performance matrix X (%d communities x %d types) after fuzzy-weighting by the selected traits.\n",
                     a.n, a.g);
        std::fprintf(report, "Selected traits:\t");
        PrintSelectedLabels(report);
        std::fprintf(report, "\n");
        PrintTable(report, a.n, a.g, *a.X);
    } else {
        std::fprintf(report, "\nPooled performance matrix X (%d communities x %d crisp types):\n", a.n,
                     a.g);
        PrintTable(report, a.n, a.g, *a.crispX);
    }
}

void ReportStatistics(std::FILE* report, const Scaling& a)
{
    StatisticsTitle(report);
    if (session.opt_ro <= rvCoefficient) {
        if (a.withTests)
            ReportTestedCorrelations(report, a);
        else if (a.e > 0)
            StatisticsWithoutTests(report, a);
        TypeCounts(report, a);
        if (a.withTests)
            ReportTestedPhylogeny(report, a);
        else if (a.withPhylogeny && session.opt_ro == mantel)
            PhylogenyWithoutTests(report);
    }
    if (!a.withTests) return;
    ReportModels(report, a);
    ReportTestSummary(report, a);
}
