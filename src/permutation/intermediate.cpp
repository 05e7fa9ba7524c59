// SPDX-License-Identifier: GPL-3.0-or-later
#include "permutation/intermediate.hpp"

#include <cstdio>

#include "numeric/congruence.hpp"
#include "numeric/matrix.hpp"
#include "permutation/general.hpp"
#include "shell/table.hpp"

namespace {

constexpr int digits = 6;

void PrintTriangle(std::FILE* file, int n, double** matrix)
{
    TransposeSqMatrix(n, matrix, matrix);
    PrintLowerHalfMatrixTab(file, n, matrix, digits);
    TransposeSqMatrix(n, matrix, matrix);
}

void PrintOrder(std::FILE* file, int n, const int* list)
{
    for (int i = 0; i < n; i++) std::fprintf(file, "%d\t", list[i]);
}

bool IsMantel(const PermutationInputs& in)
{
    return in.record.measure == mantel;
}

void ObservedTraits(std::FILE* file, const PermutationInputs& in, GeneralWorkspace& w)
{
    const PermTest_FunctionalPhyl_Correl_Input& record = in.record;
    const double rTEvalue = w.statistics.value[rTE];
    std::fprintf(file, "\nObserved trait matrix (B):\n");
    PrintMatrixTab(file, in.s, in.t, record.B, digits);
    std::fprintf(file, "\nMatrix W (%d communities by %d OTUs):\n", in.n, in.s);
    PrintMatrixTab(file, in.n, in.s, record.W, digits);
    std::fprintf(file, "\n\nMatrix T (comunity weighted means traits in %d communities by %d traits) computed after B (T = W x B):\n",
                 in.n, in.t);
    PrintMatrixTab(file, in.n, in.t, w.T, digits);
    if (IsMantel(in)) {
        std::fprintf(file, "\nResemblance matrix DT between %d communities (based on matrix T of traits by communities):\n",
                     in.n);
        PrintTriangle(file, in.n, w.DT);
        std::fprintf(file, "\nResemblance matrix DE between %d communities (based on matrix E of ecological variables by communities):\n",
                     in.n);
        PrintTriangle(file, in.n, record.DE);
        std::fprintf(file, "\nMatrix correlation between DT and DE:\t%g\n", rTEvalue);
    } else if (record.measure <= rvCoefficient) {
        std::fprintf(file, "\nMatrix E of communities by ecological variables):\n");
        PrintMatrixTab(file, in.n, in.e, record.E, digits);
        if (record.measure == rvCoefficient)
            std::fprintf(file, "\nRV coefficient between T and E:\t%g\n", rTEvalue);
        else
            std::fprintf(file, "\nProcrustes correlation between T and E:\t%g\n", rTEvalue);
    }
}

void ObservedTypes(std::FILE* file, const PermutationInputs& in, GeneralWorkspace& w)
{
    std::fprintf(file, "\nObserved belonging matrix (U):\n");
    PrintMatrixTab(file, in.s, in.g, in.record.U, digits);
    std::fprintf(file, "\nObserved ro(XT)=\t%g\n", w.statistics.rXT);
    std::fprintf(file, "Observed ro(XE)=\t%g\n", w.statistics.value[rXE]);
    std::fprintf(file, "Observed ro(XE.T)=\t%g\n", w.statistics.value[rXE_T]);
}

void ObservedEntropy(std::FILE* file, const PermutationInputs& in, GeneralWorkspace& w)
{
    std::fprintf(file, "\nObserved similarity matrix (Sb) between OTUs, based on the traits:\n:");
    PrintTriangle(file, in.s, in.record.Sb);
    std::fprintf(file, "\n\nRao entropy vector R (%d communities) computed after Sb:\n", in.n);
    PrintMatrixTab(file, in.n, 1, w.R, digits);
    if (!IsMantel(in)) return;
    std::fprintf(file, "\nResemblance matrix DR comparing communities based on their Rao entropy: \n");
    PrintTriangle(file, in.n, w.DR);
}

void ObservedPhylogeny(std::FILE* file, const PermutationInputs& in, GeneralWorkspace& w)
{
    if (in.record.phylIsDissimilarity)
        std::fprintf(file, "\nObserved dissimilarity matrix (Sf) in the range 0-1 between OTUs, based on the phylogeny:\n:");
    else
        std::fprintf(file, "\nObserved similarity matrix (Sf) in the range 0-1 between OTUs, based on the phylogeny:\n:");
    PrintTriangle(file, in.s, in.record.Sf);
    std::fprintf(file, "\n\nRao entropy vector R (%d communities) computed after Sf:\n", in.n);
    PrintMatrixTab(file, in.n, 1, w.Rp, digits);
    if (!IsMantel(in)) return;
    std::fprintf(file, "\nResemblance matrix DRaoPhyl comparing communities after based on their Rao entropy using phylogenetic distances: \n");
    PrintTriangle(file, in.n, w.DRp);
}

void RandomTraits(std::FILE* file, int iteration, const int* list, const double* counts,
                  const PermutationInputs& in, GeneralWorkspace& w)
{
    if (in.moveTaxa) {
        std::fprintf(file, "\n\nITERATION\t%d\n", iteration);
        std::fprintf(file, "Permuted trait matrix (Brnd):\n");
        PrintMatrixTab(file, in.s, in.t, w.rowsB.data(), digits);
        std::fprintf(file, "\nOrder of original OTUs in permuted traits matrix Brnd:\t");
        PrintOrder(file, in.s, list);
        std::fprintf(file, "\n\nMatrix Trnd (%d communities by %d traits) generated after Brnd (Trnd = W x Brnd):\n",
                     in.n, in.t);
    } else {
        std::fprintf(file, "\nOrder of original communities in permuted traits matrix Trnd:\t");
        PrintOrder(file, in.n, list);
        std::fprintf(file, "\n\nMatrix Trnd (%d communities by %d traits) permuted by site shuffle:\n",
                     in.n, in.t);
    }
    PrintMatrixTab(file, in.n, in.t, w.T, digits);
    if (IsMantel(in)) {
        std::fprintf(file, "\nResemblance matrix DT between %d communities:\n", in.n);
        PrintTriangle(file, in.n, w.DT);
    }
    std::fprintf(file, "\nIteration %d\tRandom ro(TE) =\t%g\tCummulative frequency for ro(TE)=%g\n",
                 iteration, w.statistics.value[rTE], counts[rTE]);
}

void RandomTypes(std::FILE* file, int iteration, const int* list, const double* counts,
                 const PermutationInputs& in, GeneralWorkspace& w)
{
    std::fprintf(file, "\n\nITERATION\t%d\n", iteration);
    if (in.moveTaxa) {
        std::fprintf(file, "Permuted belonging matrix (Urnd) based on traits:\n");
        PrintMatrixTab(file, in.s, in.g, w.rowsU.data(), digits);
        std::fprintf(file, "\nOrder of original OTUs in permuted belongin matrix Urnd:\t");
        PrintOrder(file, in.s, list);
        std::fprintf(file, "\n\nMatrix Xrnd (%d communities by %d PFTs) generated after Urnd (Xrnd = W x Urnd):\n",
                     in.n, in.g);
    } else {
        std::fprintf(file, "\nOrder of original communities in permuted matrix Xrnd:\t");
        PrintOrder(file, in.n, list);
        std::fprintf(file, "\n\nMatrix Xrnd (%d communities by %d PFTs) generated by site shuffle:\n",
                     in.n, in.g);
    }
    PrintMatrixTab(file, in.n, in.g, w.X, digits);
    if (IsMantel(in)) {
        std::fprintf(file, "\nResemblance matrix DX between %d communities:\n", in.n);
        PrintTriangle(file, in.n, w.DX);
    }
    const std::vector<double>& r = w.statistics.value;
    std::fprintf(file, "\nIteration %d\tRandom ro(XT) =\t%g\tRandom ro(XE) =\t%g\tRandom ro(XE.T) =\t%g\tCummulative frequency for ro(XE)=%g\tCummulative frequency for ro(XE.T)=%g\n",
                 iteration, w.statistics.rXT, r[rXE], r[rXE_T], counts[rXE], counts[rXE_T]);
}

void RandomTaxa(std::FILE* file, int iteration, const int* list, const double* counts,
                const PermutationInputs& in, GeneralWorkspace& w)
{
    if (in.moveTaxa) {
        std::fprintf(file, "Permuted belonging matrix (Qrnd) based on phylogeny:\n");
        PrintMatrixTab(file, in.s, in.f, w.rowsQ.data(), digits);
        std::fprintf(file, "\nOrder of original OTUs in permuted belongin matrix Qrnd:\t");
        PrintOrder(file, in.s, list);
        std::fprintf(file, "\n\nMatrix Prnd (%d communities by %d taxa) generated after Qrnd (Prnd = W x Qrnd):\n",
                     in.n, in.f);
    } else {
        std::fprintf(file, "\n\nITERATION\t%d\n", iteration);
        std::fprintf(file, "\nOrder of original communities in permuted matrix Prnd:\t");
        PrintOrder(file, in.n, list);
        std::fprintf(file, "\n\nMatrix Prnd (%d communities by %d taxa) generated site shuffle:\n",
                     in.n, in.f);
    }
    PrintMatrixTab(file, in.n, in.f, w.P, digits);
    if (IsMantel(in)) {
        std::fprintf(file, "\nResemblance matrix DP between %d communities:\n", in.n);
        PrintTriangle(file, in.n, w.DP);
    }
    const std::vector<double>& r = w.statistics.value;
    std::fprintf(file, "\nIteration %d\tRandom values and cummulative frequencies for the following:\n ro(PE) =\t%g\t%g\nRandom ro(PT) =\t%g\t%g\nRandom ro(PX) =\t%g\t%g\nRandom ro(PX.T) =\t%g\t%g\nRandom ro(TE.P) =\t%g\t%g\nRandom ro(XE.P) =\t%g\t%g\nRandom ro(XE.TP) =\t%g\t%g\nRandom ro(PE.T) =\t%g\t%g\nRandom ro(PE.X) =\t%g\t%g\n",
                 iteration, r[roPE], counts[roPE], r[roPT], counts[roPT], r[roPX], counts[roPX],
                 r[roPX_T], counts[roPX_T], r[roTE_P], counts[roTE_P], r[roXE_P], counts[roXE_P],
                 r[roXE_TP], counts[roXE_TP], r[roPE_T], counts[roPE_T], r[roPE_X],
                 counts[roPE_X]);
}

void RandomEntropy(std::FILE* file, int iteration, const int* list, const double* counts,
                   const PermutationInputs& in, GeneralWorkspace& w)
{
    std::fprintf(file, "\n\nITERATION\t%d\n", iteration);
    if (in.moveTaxa) {
        std::fprintf(file, "Permuted similarity matrix (Srnd):\n");
        PrintTriangle(file, in.s, *w.Srnd);
        std::fprintf(file, "\nOrder of original OTUs in permuted similarity matrix Srnd:\t");
        PrintOrder(file, in.s, list);
        std::fprintf(file, "\n\nRao entropy vector Rrnd (%d communities) generated after Srnd:\n", in.n);
    } else {
        // Deliberate: these are communities, in spite of the word.
        std::fprintf(file, "\nOrder of original OTUs in permuted Rao diversity vector:\t");
        PrintOrder(file, in.n, list);
        std::fprintf(file, "\n\nRao entropy vector Rrnd (%d communities) generated by site shuffle:\n", in.n);
    }
    PrintMatrixTab(file, in.n, 1, w.R, digits);
    if (IsMantel(in)) {
        std::fprintf(file, "\nResemblance matrix DR between %d communities:\n", in.n);
        PrintTriangle(file, in.n, w.DR);
    }
    const ArrangementStatistics& x = w.statistics;
    std::fprintf(file, "\nIteration %d\tRandom ro(RE) =\t%g\tRandom ro(XR) =\t%g\tRandom ro(TR) =\t%g\tRandom ro(XE.R) =\t%g\tRandom ro(TE.R) =\t%g\tRandom ro(XT.R) =\t%g\tRandom ro(XE.TR) =\t%g\tCummulative frequency for ro(RE)=%g\tCummulative frequency for ro(XE.TR)=%g\n",
                 iteration, x.value[rRE], x.rXR, x.rTR, x.rXE_R, x.rTE_R, x.rXT_R, x.value[rXE_TR],
                 counts[rRE], counts[rXE_TR]);
}

void RandomPhylogeny(std::FILE* file, int iteration, const int* list, const double* counts,
                     const PermutationInputs& in, GeneralWorkspace& w)
{
    if (in.moveTaxa) {
        std::fprintf(file, "Permuted phylogenetic similarity matrix (Sf_rnd):\n");
        PrintTriangle(file, in.s, *w.SfRnd);
        std::fprintf(file, "\nOrder of original OTUs in permuted similarity matrix Sf_rnd:\t");
        PrintOrder(file, in.s, list);
        std::fprintf(file, "\n\nRao entropy vector Rrnd (%d communities) generated after Sf_rnd:\n", in.n);
    } else {
        std::fprintf(file, "\nOrder of original communities in permuted phylogenetic diversity vector:\t");
        PrintOrder(file, in.n, list);
        std::fprintf(file, "\n\nRao entropy vector Rrnd (%d communities) generated by site shuffle:\n", in.n);
    }
    PrintMatrixTab(file, in.n, 1, w.Rp, digits);
    if (IsMantel(in)) {
        std::fprintf(file, "\nResemblance matrix DR between %d communities:\n", in.n);
        PrintTriangle(file, in.n, w.DRp);
    }
    std::fprintf(file, "\nIteration %d\tRandom ro(FE) =\t%g\tCummulative frequency for ro(FE)=%g\n",
                 iteration, w.statistics.value[rFE], counts[rFE]);
}

} // namespace

void WriteObserved(const PermutationInputs& in, GeneralWorkspace& w)
{
    std::FILE* file = in.record.intermediateFile;
    std::fprintf(file, "\nPERMUTATION TEST FOR CORRELATIONS ro(XE), ro(TE) AND ro(RE), AND PARTIAL CORRELATIONS ro(XE.T), ro(XE.TR)\n");
    std::fprintf(file, "INTERMEDIATE RESULTS\n");
    ObservedTraits(file, in, w);
    ObservedTypes(file, in, w);
    ObservedEntropy(file, in, w);
    if (in.withPhylogeny) ObservedPhylogeny(file, in, w);
}

void WriteArrangement(int iteration, const int* list, const double* counts,
                      const PermutationInputs& in, GeneralWorkspace& w)
{
    std::FILE* file = in.record.intermediateFile;
    RandomTraits(file, iteration, list, counts, in, w);
    RandomTypes(file, iteration, list, counts, in, w);
    if (in.withPhylogeny) RandomTaxa(file, iteration, list, counts, in, w);
    RandomEntropy(file, iteration, list, counts, in, w);
    if (in.withPhylogeny) RandomPhylogeny(file, iteration, list, counts, in, w);
}
