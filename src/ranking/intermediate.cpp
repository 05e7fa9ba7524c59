// SPDX-License-Identifier: GPL-3.0-or-later
#include "ranking/intermediate.hpp"

#include "numeric/congruence.hpp"
#include "numeric/matrix.hpp"
#include "numeric/regression.hpp"
#include "numeric/resemblance.hpp"
#include "ranking/report.hpp"
#include "session/session.hpp"
#include "shell/console.hpp"
#include "shell/failure.hpp"
#include "shell/preferences.hpp"
#include "shell/table.hpp"

namespace {

void PrintTable(std::FILE* file, int rows, int columns, double** M)
{
    PrintMatrixTab(file, rows, columns, M, SignificantDigits());
}

/// The lower half of a symmetric matrix of which the upper half is filled.
void PrintResemblance(std::FILE* file, int n, double** D)
{
    TransposeSqMatrix(n, D, D);
    PrintLowerHalfMatrixTab(file, n, D, SignificantDigits());
    TransposeSqMatrix(n, D, D);
}

/// Replaces D by its residuals on DT and prints them.
void TakeOutT(std::FILE* file, SubsetMatrices& m, Structure& D)
{
    ResidualsMatrixRegression(m.all.n, m.DT().rows, D.rows, D.rows);
    UpperToLowerMatrix(m.all.n, D.rows);
    PrintTable(file, m.all.n, m.all.n, D.rows);
}

} // namespace

IntermediateFile::IntermediateFile(const Criterion& ranked) : criterion(ranked)
{
    if (preferences.saveStruct != 'y') return;
    const char* const name = criterion.family == Family::phylogeny ? "IntermediateRankResults.txt"
                                                                   : session.whichStructures;
    file.Open(name, console.volumeName, "w");
}

void IntermediateFile::PrintShared(SharedMatrices& all)
{
    if (!IsOpen()) return;
    if (all.needs.phylogeny) PrintPhylogeny(all);
    if (all.needs.environment) {
        std::fprintf(file,
                     "Resemblance matrix between %d communities based on %d environmental variables:\n",
                     all.n, all.e);
        PrintResemblance(file, all.n, all.DE.rows);
    }
    if (criterion.family == Family::divergence) {
        std::fprintf(file, "\nTrait matrix with %d OTUs by %d traits: \n", all.s, all.t);
        PrintTable(file, all.s, all.t, all.B);
    }
}

void IntermediateFile::PrintPhylogeny(SharedMatrices& all)
{
    enum { similarities = 1, variables, distances };
    const int nVariables = session.nClados;
    switch (session.phylogenyMatrixType) {
    case similarities: std::fprintf(file, "\nSimilarity matrix between %d OTUs:\n", all.s); break;
    case distances: std::fprintf(file, "\nDissimilarity matrix between %d OTUs:\n", all.s); break;
    case variables:
        std::fprintf(file,
                     "\nVariable types in the phylogeny matrix with %d OTUs by %d phylogenetic variables: \n",
                     all.s, nVariables);
        PrintVectorTab(file, nVariables, session.phylogenyVarType, nullptr);
        std::fprintf(file, "\nPhylogeny matrix with %d OTUs by %d phylogenetic variables: \n", all.s,
                     nVariables);
        PrintTable(file, all.s, nVariables, session.phylogenyData);
        std::fprintf(file,
                     "\nSimilarity matrix (Gower index) between %d OTUs, based on %d phylogenetic variables:\n",
                     all.s, nVariables);
        break;
    default: break;
    }
    PrintResemblance(file, all.s, session.phylogenyRese);
    std::fprintf(file, "\nPartition vector of %d OTUs in %d taxa:\n", all.s, all.f);
    PrintVectorTab(file, all.s, session.partition_OTUs_Phyl, nullptr);
    std::fprintf(file,
                 "\nFuzzy belonging of %d OTUs (rows) in %d taxa (columns) according to their phylogeny:\n",
                 all.s, all.f);
    PrintTable(file, all.s, all.f, all.QP);
    std::fprintf(file,
                 "\nPooled performance matrix P (%d communities x %d taxa) after fuzzy-weighting by the specified phylogeny:\n",
                 all.n, all.f);
    PrintTable(file, all.n, all.f, all.P);
    std::fprintf(file,
                 "\nResemblance matrix (DP) between communities based on matrix P, the composition of OTUs weighted by their phylogeny:\n");
    PrintResemblance(file, all.n, all.DP.rows);
}

void IntermediateFile::PrintSubsetMatrices(SubsetMatrices& m, const int* traits, int k)
{
    if (!IsOpen() || criterion.family == Family::both) return;
    const bool averagesOnly = criterion.family == Family::convergence;
    if (!averagesOnly) {
        std::fprintf(file, "\nTraits:\t");
        for (int j = 0; j < k; j++) std::fprintf(file, "%s\t", session.chLabel[traits[j] - 1]);
    }
    if (session.optUnitTotalAdjust1)
        std::fprintf(file,
                     "\nMatrix with trait averages at community level (%d communities x %d traits):\n",
                     m.all.n, m.all.t);
    else
        std::fprintf(file,
                     "\nMatrix with trait totals at community level (%d communities x %d traits):\n",
                     m.all.n, m.all.t);
    PrintTable(file, m.all.n, m.all.t, m.RawT());
    if (averagesOnly) {
        std::fprintf(file, "Resemblance matrix between communities:\n");
        PrintResemblance(file, m.all.n, m.DT().rows);
        return;
    }
    std::fprintf(file,
                 "\nMatrix with normalized traits at community level (%d communities x %d traits adjusted to unit length):\n",
                 m.all.n, m.all.t);
    PrintTable(file, m.all.n, m.all.t, m.T());
    std::fprintf(file,
                 "Resemblance matrix between communities based on selected traits (matrix T):\n");
    PrintResemblance(file, m.all.n, m.DT().rows);
    std::fprintf(file, "\nSimilarity matrix between %d populations, based on %d traits:\n", m.all.s, k);
    std::fprintf(file, "Traits:\t");
    PrintSubset(file, traits, k);
    std::fprintf(file, "\n");
    PrintResemblance(file, m.all.s, m.S());
}

/// The matrices of the criterion that takes convergence and divergence together.
void IntermediateFile::PrintBoth(SubsetMatrices& m)
{
    std::fprintf(file, "\nPartition vector of %d populations in %d groups:\n", m.all.s, m.all.g);
    PrintVectorTab(file, m.all.s, session.partition_OTUs, nullptr);
    std::fprintf(file,
                 "\nDegrees of belonging of %d populations (rows) in %d groups (columns):\n", m.all.s,
                 m.all.g);
    PrintTable(file, m.all.s, m.all.g, m.Q());
    std::fprintf(file, "\nPooled performance matrix (%d relevés x %d population groups):\n", m.all.n,
                 m.all.g);
    PrintTable(file, m.all.n, m.all.g, m.X());
    std::fprintf(file, "Resemblance matrix between relevés:\n");
    PrintResemblance(file, m.all.n, m.DX().rows);
}

/// Crisp belonging, the sizes of the types and the average traits of their OTUs.
void IntermediateFile::PrintAverageTraits(SubsetMatrices& m, const std::vector<int>& typeSizes)
{
    const OwnedRows belonging(m.all.s, m.all.g);
    const OwnedRows transposed(m.all.g, m.all.s);
    const OwnedRows averages(m.all.g, m.all.t);
    CrispBelonging(m.all.s, m.all.g, session.partition_OTUs, belonging);
    TransposeMatrix(m.all.s, m.all.g, belonging, transposed);
    MatrixProdMV(m.all.g, m.all.s, m.all.s, m.all.t, transposed, m.all.B, averages);
    for (int c = 0; c < m.all.g; c++)
        for (int j = 0; j < m.all.t; j++) averages[c][j] /= typeSizes[static_cast<std::size_t>(c)];
    std::fprintf(file,
                 "\nDegrees of belonging (crisp) of %d populations (rows) in %d types (columns):\n",
                 m.all.s, m.all.g);
    PrintTable(file, m.all.s, m.all.g, belonging);
    std::fprintf(file, "\nGroup sizes:\n");
    PrintVectorTab(file, m.all.g, typeSizes.data(), nullptr);
    std::fprintf(file, "\nAverage trait matrix (%d types x %d traits):\n", m.all.g, m.all.t);
    PrintTable(file, m.all.g, m.all.t, averages);
}

void IntermediateFile::PrintTypesMatrices(SubsetMatrices& m, const std::vector<int>& typeSizes,
                                          std::FILE* report)
{
    if (!IsOpen() || criterion.family == Family::convergence) return;
    if (criterion.family == Family::both) {
        PrintBoth(m);
        return;
    }
    std::fprintf(file, "\nPartition vector of %d populations in %d specified groups (types):\n",
                 m.all.s, m.all.g);
    PrintVectorTab(file, m.all.s, session.partition_OTUs, nullptr);
    std::fprintf(file, "\nDegrees of belonging of %d populations (rows) in %d types (columns):\n",
                 m.all.s, m.all.g);
    PrintTable(file, m.all.s, m.all.g, m.Q());
    PrintAverageTraits(m, typeSizes);
    std::fprintf(file, "\nPooled performance matrix X (%d communities x %d types):\n", m.all.n, m.all.g);
    PrintTable(file, m.all.n, m.all.g, m.X());
    if (!ComparesX(criterion)) return;
    if (criterion.family == Family::alphaBeta) {
        std::fprintf(report,
                     "\nResemblance matrix DR comparing communities based on their Rao entropy expressed as equivalent numbers of OTUs (Jost 2007): \n");
        PrintResemblance(report, m.all.n, m.DR().rows);
    }
    std::fprintf(file,
                 "Resemblance matrix between communities based on composition of types (matrix X):\n");
    PrintResemblance(file, m.all.n, m.DX().rows);
}

void IntermediateFile::PrintValueLine(const SubsetStatistics& r, int nTypes)
{
    const int width = ValueWidth();
    const int digits = SignificantDigits();
    const int measure = session.opt_ro;
    switch (criterion.family) {
    case Family::both:
        std::fprintf(file, "\nTrait ranking criterion:\t%-*.*g\tTrait subset used:\t", width,
                     digits, r.value);
        break;
    case Family::convergence:
        if (measure == mantel)
            std::fprintf(file, "\nTrait ranking criterion ro(TE)=\t%-*.*g\tTrait subset used:\t",
                         width, digits, r.value);
        else if (measure == procrustes)
            std::fprintf(file, "\nTrait ranking criterion traceW=\t%-*.*g\tTrait subset used:\t",
                         width, digits, r.value);
        else if (measure == rvCoefficient)
            std::fprintf(file, "\nTrait ranking criterion RV=\t%-*.*g\tTrait subset used:\t",
                         width, digits, r.value);
        break;
    case Family::divergence:
    case Family::alphaBeta:
        if (measure == mantel)
            std::fprintf(file,
                         "\nTrait ranking criterion:\tro(TE)=\t%g\tro(XE)=\t%g\tro(XT)=\t%g\tro(XE.T)=\t%g\t%d groups\tTraits:\t",
                         r.TE, r.XE, r.XT, r.value, nTypes);
        else if (measure == procrustes && criterion.family == Family::divergence)
            std::fprintf(file, "\nTrait ranking criterion:\tro(XE.T)=\t%g\t%d groups\tTraits:\t",
                         r.value, nTypes);
        else if (measure == rvCoefficient || criterion.family == Family::alphaBeta)
            std::fprintf(file, "\nTrait ranking criterion:\tr(XE.T)=\t%g\t%d groups\tTraits:\t",
                         r.value, nTypes);
        break;
    case Family::phylogeny:
        std::fprintf(file,
                     "\nTrait ranking criterion:\tro(PT)=\t%g\tro(PX)=\t%g\tro(XT)=\t%g\tro(PX.T)=\t%g\t%d groups\tTraits:\t",
                     r.PT, r.PX, r.XT, r.PX_T, nTypes);
        break;
    case Family::niche:
        std::fprintf(file, "\nTrait ranking criterion:\t");
        PrintNicheStatistics(file, r, nTypes);
        break;
    }
}

void IntermediateFile::PrintResiduals(SubsetMatrices& m)
{
    switch (criterion.family) {
    case Family::both:
    case Family::convergence: return;
    case Family::divergence:
    case Family::alphaBeta:
        if (session.opt_ro != mantel) return;
        std::fprintf(file,
                     "\nResemblance matrix between communities (residuals after removing the effect of DT):\n");
        break;
    case Family::phylogeny:
        std::fprintf(file,
                     "\nResemblance matrix between communities based lon phylogeny (residuals after removing the effect of DT):\n");
        TakeOutT(file, m, m.all.DP);
        std::fprintf(file,
                     "\nResemblance matrix between communities based on traits (residuals after removing the effect of DT):\n");
        break;
    case Family::niche:
        std::fprintf(file,
                     "\nResemblance matrix between communities based on phylogeny (residuals after removing the effect of DT):\n");
        TakeOutT(file, m, m.all.DP);
        std::fprintf(file,
                     "\nResemblance matrix between communities based on traits (residuals after removing the effect of DT):\n");
        break;
    }
    // Deliberate: a criterion that does not compare X shows residuals of a DX that is 0.
    TakeOutT(file, m, ComparesX(criterion) ? m.DX() : m.LastDX());
}

void IntermediateFile::PrintValueAndResiduals(SubsetMatrices& m, const SubsetStatistics& r,
                                              const int* traits, int k,
                                              const std::vector<int>& typeSizes)
{
    if (!IsOpen()) return;
    PrintValueLine(r, static_cast<int>(typeSizes.size()));
    PrintSubset(file, traits, k);
    if (criterion.family == Family::both || criterion.family == Family::convergence)
        std::fprintf(file, "\n");
    else
        PrintTypeSizes(file, typeSizes);
    PrintResiduals(m);
}
