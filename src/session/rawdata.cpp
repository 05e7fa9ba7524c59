// SPDX-License-Identifier: GPL-3.0-or-later
#include "session/rawdata.hpp"

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstring>

#include "numeric/statistics.hpp"
#include "session/checks.hpp"
#include "session/formda.hpp"
#include "session/rawenvironment.hpp"
#include "session/rawfile.hpp"
#include "session/session.hpp"
#include "shell/arrays.hpp"
#include "shell/console.hpp"
#include "shell/prompts.hpp"
#include "shell/scanners.hpp"

namespace {

/// All files are opened before the first question about their content.
struct RawFiles {
    RawFile B, F, W, speciesNames, E;
};

/// The session's arrays live here as long as the dialogue; whatever way it ends they are released.
struct ArraysOfDialogue {
    ArraysOfDialogue() { FreeGlobals2(); }
    ~ArraysOfDialogue() { FreeGlobals2(); }
    ArraysOfDialogue(const ArraysOfDialogue&) = delete;
    ArraysOfDialogue& operator=(const ArraysOfDialogue&) = delete;
};

void PrintLabels(int n, char** labels)
{
    for (int i = 0; i < n; i++)
        std::fprintf(console.out, "%*.*s\t", labelSize - 1, labelSize - 1, labels[i]);
    std::fprintf(console.out, "\n");
}

// --- Files

void SpecifyFiles(RawFiles& files)
{
    std::FILE* out = console.out;
    Menu("SPECIFYING THE AVAILABLE INPUT DATA:\n");
    std::fprintf(out, "For each data specified below indicate by 0/1 which are available\n\n");
    std::fprintf(
        out,
        "OTUs = Operational Taxonomic Units, refer to species, populations, individuals or other taxonomic rank\n");
    std::fprintf(out, "A matrix (B) with trait description of OTUs should be always specified.\n");
    files.B.Ask();
    std::fprintf(out, "A matrix (F) with phylogenetic resemblances of the OTUs 0/1\t");
    if (AskOption("0 1") == 1) files.F.Ask();
    std::fprintf(out,
                 "A matrix (W) with records of OTUS in commmunities should be always specified.\n");
    files.W.Ask();
    std::fprintf(out, "Species names of OTUs 0/1\t");
    if (AskOption("0 1") == 1) files.speciesNames.Ask();
    std::fprintf(out, "A matrix (E) with ecosystem variables of the community sites 0/1\t");
    if (AskOption("0 1") == 1) files.E.Ask();
}

// --- Traits

void AllocateTraits()
{
    Session& s = session;
    const long nEntries = s.nch + 1L; // long: nch may be the largest int
    s.allocatedTraits = static_cast<int>(std::min<long>(nEntries, INT_MAX));
    s.allocatedOTUs = s.tcst;
    s.chLabel = dim2Dchar(nEntries, labelSize);
    s.onsta = dim1Dint(nEntries);
    s.chtype = dim1Dint(nEntries);
    s.chrange = dim1Double(nEntries);
    s.traitGroups = dim1Dint(nEntries);
    s.csm_Float = dim2Double(s.tcst, s.nch);
}

void ReadB(RawFile& file)
{
    std::FILE* out = console.out;
    std::fprintf(out, "Trait matrix (B) format (OTUs = Operational Taxonomic Units): \n");
    std::fprintf(out, "   1  OTUs as columns / traits as rows \n");
    std::fprintf(out, "   2  OTUs as rows / traits as columns \n");
    std::fprintf(out, "Type option no.: ");
    const bool traitsAsRows = AskOption("1 2") == 1;
    double** B = session.csm_Float;
    if (traitsAsRows)
        file.ReadCells(session.nch, session.tcst,
                  [B](int j, int i) -> double& { return B[i][j]; });
    else
        file.ReadCells(session.tcst, session.nch,
                  [B](int i, int j) -> double& { return B[i][j]; });
}

void AskTraitTypes()
{
    Session& s = session;
    std::FILE* out = console.out;
    std::fprintf(
        out,
        "Trait type (1 for dichotomous, 2 for nominal, 3 for interval or ratio scale, 4 for ordinal): \n");
    std::fprintf(out, "Traits:     \t");
    PrintLabels(s.nch, s.chLabel);
    ReadLongInput(s.nch, s.chtype, "trait types", "1 2 3 4");
}

void AskTraitGroups()
{
    Session& s = session;
    std::FILE* out = console.out;
    std::fprintf(out, "Wish to specify groups of traits? 0/1 ");
    s.hasTraitGroups = AskOption("0 1") == 1;
    if (!s.hasTraitGroups) return;
    std::fprintf(out, "Traits:     \t");
    PrintLabels(s.nch, s.chLabel);
    ReadLongInput(s.nch, s.traitGroups, "trait groups", nullptr);
}

void SpecifyTraits(RawFile& file)
{
    Session& s = session;
    PrintRule();
    s.tcst = AskCount("Number of OTUs: ");
    s.nch = AskCount("Enter number of traits (characters): ");
    AllocateTraits();
    const bool labelsInFile =
        AskLabelsInFile(file, "Labels for traits: \n", "   1  given by default \n");
    ReadB(file);
    if (labelsInFile)
        file.ReadLabels(s.nch, s.chLabel);
    else
        NumberLabels(s.nch, s.chLabel, labelSize);
    file.Finish();
    AskTraitTypes();
    AskTraitGroups();
}

// --- Phylogeny

/// Divides F by the largest cell of its upper triangle, diagonal included, if that is above 1.
void NormalizeDistances()
{
    const int n = session.tcst;
    double** F = session.phylogenyRese;
    double largest = F[0][0];
    for (int i = 0; i < n; i++)
        for (int k = i; k < n; k++) largest = std::max(largest, F[i][k]);
    if (!(largest > 1.0)) return;
    for (int i = 0; i < n; i++)
        for (int k = 0; k < n; k++) F[i][k] /= largest;
    std::fprintf(
        console.out,
        "\nPhylogenetic distances were normalized to values in the range [0,1] by Dnorm = D/Dmax\n");
}

/// A half matrix: row i holds i + 1 cells.
void ReadLowerHalf(RawFile& file)
{
    double** F = session.phylogenyRese;
    for (int i = 0; i < session.tcst; i++)
        file.ReadCells(1, i + 1, [F, i](int, int k) -> double& { return F[i][k]; });
    for (int i = 0; i < session.tcst; i++)
        for (int k = 0; k < i; k++) F[k][i] = F[i][k];
}

int AskPhylogenyFormat()
{
    std::FILE* out = console.out;
    const int n = session.tcst;
    std::fprintf(out, "Format of phylogenetic resemblance matrix:\n");
    std::fprintf(
        out,
        "   1  a full matrix of phylogenetic distances of %d OTUs by %d OTUs (e.g. as given by PHYLOCOM)\n",
        n, n);
    std::fprintf(
        out,
        "   2  a full matrix of phylogenetic similarities of %d OTUs by %d OTUs in the 0-1 range\n",
        n, n);
    std::fprintf(
        out,
        "   3  a half, lower-diagonal matrix of phylogenetic similarities of %d OTUs by %d OTUs in the 0-1 range\n",
        n, n);
    std::fprintf(out, "Type option no.: ");
    return AskOption("1 2 3");
}

void SpecifyPhylogeny(RawFile& file)
{
    Session& s = session;
    PrintRule();
    if (!file.IsGiven()) return;
    s.hasPhylogeny = true;
    s.phylogenyRese = dim2Double(s.tcst, s.tcst);
    const int format = AskPhylogenyFormat();
    if (format == 3) {
        // Deliberate: the matrix type stays 0, so no matrix is stored and the data set ends up
        // with a phylogeny of zeros. Users' earlier results depend on it.
        ReadLowerHalf(file);
    } else {
        double** F = s.phylogenyRese;
        file.ReadCells(s.tcst, s.tcst, [F](int i, int k) -> double& { return F[i][k]; });
        s.phylogenyMatrixType = format == 1 ? 3 : 1;
        if (format == 1) NormalizeDistances();
    }
    file.Finish();
    PrintRule();
}

// --- Communities

int AskFormatOfW()
{
    std::FILE* out = console.out;
    std::fprintf(out, "Format of matrix (W) with OTUs performances: \n");
    std::fprintf(out, "   1  Communities as rows \n");
    std::fprintf(out, "   2  Communities as columns\n");
    std::fprintf(out, "   3  Community data is a vector of OTUs performances in each community\n");
    std::fprintf(out, "Type option no.: ");
    return AskOption("1 2 3");
}

/// The vector format: each community has OTUs of its own, which follow those of the community
/// before it. Counts that add up to more than the number of OTUs read on, into nowhere.
void ReadVectorsOfW(RawFile& file)
{
    Session& s = session;
    std::fprintf(console.out, "Number of OTUs in each community:\n");
    std::fprintf(console.out, "Communities:       \t");
    for (int j = 0; j < s.ncsm; j++) std::fprintf(console.out, "%d\t", j + 1);
    std::fprintf(console.out, "\n");
    ReadLongInput(s.ncsm, s.ncst, "number of OTUs", nullptr);
    int row = 0;
    double dropped = 0.0;
    for (int j = 0; j < s.ncsm; j++)
        file.ReadCells(1, s.ncst[j],
                  [&](int, int) -> double& { return row < s.tcst ? s.cadat[row++][j] : dropped; });
}

void ReadW(RawFile& file)
{
    Session& s = session;
    const int format = AskFormatOfW();
    s.cadat = dim2Double(s.tcst, s.ncsm);
    double** W = s.cadat;
    if (format == 1)
        file.ReadCells(s.ncsm, s.tcst, [W](int j, int i) -> double& { return W[i][j]; });
    else if (format == 2)
        file.ReadCells(s.tcst, s.ncsm, [W](int i, int j) -> double& { return W[i][j]; });
    else
        ReadVectorsOfW(file);
}

void WarnOfW()
{
    // Deliberate: a value would have to be missing and zero at once, so this warning never shows.
    // The dialogues that users have recorded go without it.
    for (int j = 0; j < session.ncsm; j++)
        for (int i = 0; i < session.tcst; i++) {
            const double w = session.cadat[i][j];
            if (!(IsMissing(w) && w == 0.0)) break;
            std::fprintf(
                console.out,
                "\nPlease check matrix W. Sampling unit %s has all values zero or missing (-999), which will generate unreliable results.",
                session.reLabel[j]);
        }
}

void SpecifyCommunities(RawFile& file)
{
    Session& s = session;
    s.ncsm = s.allocatedCommunities = AskCount("Enter number of communities:    ");
    s.reLabel = dim2Dchar(s.ncsm, labelSize);
    s.ncst = dim1Dint(s.ncsm);
    const bool labelsInFile =
        AskLabelsInFile(file, "Labels for communities: \n", "   1  given by default \n");
    ReadW(file);
    if (labelsInFile)
        file.ReadLabels(s.ncsm, s.reLabel);
    else
        NumberLabels(s.ncsm, s.reLabel, labelSize);
    file.Finish();
    WarnOfW();
}

// --- Species

void SpecifySpecies(RawFile& file)
{
    if (!file.IsGiven()) return;
    Session& s = session;
    std::FILE* out = console.out;
    s.nSpp = s.allocatedSpecies = s.tcst;
    std::strcpy(s.whichSpp, file.name);
    PrintRule();
    std::fprintf(out, "Species labels are: \n");
    std::fprintf(out, "   1  the first 4 characters preceding each species name\n");
    std::fprintf(out, "   2  to be created by the program\n");
    std::fprintf(out, "Type option no.: ");
    const int option = AskOption("1 2");
    s.spp = dim2Dchar(s.tcst, speciesNameSize);
    for (int i = 0; i < s.tcst; i++)
        freadlineckTEMP(*file.stream, speciesNameSize - 1, s.spp[i], file.name);
    CheckPlainText(*file.stream, file.name);
    file.stream->Close();
    s.sppRelMap = dim2Dchar(s.tcst, s.ncsm);
    s.cstSppMap = dim2Dchar(s.tcst, s.tcst);
    CheckSpecies(option);
    SpeciesReleveMap();
}

// --- The data set

/// Nothing of a data set formatted or loaded before may get into this one.
void ClearDataSet()
{
    Session& s = session;
    s.tcst = s.nch = s.nSpp = s.ncsm = s.nenv = 0;
    s.hasPhylogeny = false;
    s.phylogenyMatrixType = 0;
    s.SMWSize = 1;
}

void WriteDataSet(const RawFile& fileOfB)
{
    Session& s = session;
    CountStates(s.nch, s.tcst, s.onsta, s.csm_Float);
    std::strcpy(s.dataName, fileOfB.name);
    WriteFormda(s.tcst, s.whichFormda, s.dataName, s.csm_Float, s.cadat);
}

} // namespace

void IFFormat()
{
    const ArraysOfDialogue arrays;
    RawFiles files;
    ClearDataSet();
    SpecifyFiles(files);
    SpecifyTraits(files.B);
    SpecifyPhylogeny(files.F);
    SpecifyCommunities(files.W);
    SpecifySpecies(files.speciesNames);
    SpecifyEnvironment(files.E);
    WriteDataSet(files.B);
}
