#include "session/rawdata.hpp"

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstring>
#include <optional>
#include <string>

#include "session/checks.hpp"
#include "session/derive.hpp"
#include "session/formda.hpp"
#include "session/merge.hpp"
#include "session/session.hpp"
#include "session/track.hpp"
#include "shell/arrays.hpp"
#include "shell/console.hpp"
#include "shell/files.hpp"
#include "shell/prompts.hpp"
#include "shell/scanners.hpp"

namespace {

constexpr double missing = -999.0;
constexpr int fileNameLength = 51;

// --- The files of raw data

struct RawFile {
    char name[fileNameLength + 1] = "";
    std::optional<InputStream> stream; // empty: the user has no such data

    void Ask() { stream.emplace(ReadDataFileName(name)); }
    bool IsGiven() const { return stream.has_value(); }
};

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

// --- Small questions

int AskOption(const char* accepted) { return ToInt(ReadNumberIn("%d\n", accepted)); }

int AskCount(const char* prompt)
{
    std::fprintf(console.out, "%s", prompt);
    return ToInt(ReadNumberIn("%d\n", "-", 1.0, 2147483647.0));
}

void PrintRule() { std::fprintf(console.out, "%s\n", lineL); }

void PrintLabels(int n, char** labels)
{
    for (int i = 0; i < n; i++)
        std::fprintf(console.out, "%*.*s\t", labelSize - 1, labelSize - 1, labels[i]);
    std::fprintf(console.out, "\n");
}

void NumberLabels(int n, char** labels)
{
    for (int i = 0; i < n; i++) {
        const std::string number = std::to_string(i + 1);
        std::strcpy(labels[i], number.c_str()); // 10 digits at most: they fit
    }
}

/// Words at the end of a matrix's file; those that are not there stay empty.
void ReadLabelsForgiving(RawFile& file, int n, char** labels)
{
    for (int i = 0; i < n; i++)
        if (!freadck1Word(*file.stream, labels[i], labelSize, file.name)) return;
}

/// `rows` rows of `columns` cells, of which at(row, column) gives the place in the session. Text
/// between numbers is stepped over; cells behind the end of the file stay as they are.
template <typename At>
void ReadCells(RawFile& file, int rows, int columns, At at)
{
    for (int i = 0; i < rows; i++)
        for (int k = 0; k < columns; k++) {
            double value = 0.0;
            if (!freadck1(*file.stream, value, file.name)) return;
            at(i, k) = value;
        }
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

/// Asks where the labels of traits come from; true if they stand at the end of the file of B.
bool AskTraitLabels(const RawFile& file)
{
    std::FILE* out = console.out;
    std::fprintf(out, "Labels for traits: \n");
    std::fprintf(out, "   1  given by default \n");
    std::fprintf(out, "   2  read labels at the end of file %s\n", file.name);
    std::fprintf(out, "Type option no.: ");
    return AskOption("1 2") == 2;
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
        ReadCells(file, session.nch, session.tcst,
                  [B](int j, int i) -> double& { return B[i][j]; });
    else
        ReadCells(file, session.tcst, session.nch,
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
    const bool labelsInFile = AskTraitLabels(file);
    ReadB(file);
    if (labelsInFile)
        ReadLabelsForgiving(file, s.nch, s.chLabel);
    else
        NumberLabels(s.nch, s.chLabel);
    file.stream->Close();
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
        ReadCells(file, 1, i + 1, [F, i](int, int k) -> double& { return F[i][k]; });
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
        ReadCells(file, s.tcst, s.tcst, [F](int i, int k) -> double& { return F[i][k]; });
        s.phylogenyMatrixType = format == 1 ? 3 : 1;
        if (format == 1) NormalizeDistances();
    }
    file.stream->Close();
    PrintRule();
}

// --- Communities

bool AskCommunityLabels(const RawFile& file)
{
    std::FILE* out = console.out;
    std::fprintf(out, "Labels for communities: \n");
    std::fprintf(out, "   1  given by default \n");
    std::fprintf(out, "   2  read labels at the end of file %s\n", file.name);
    std::fprintf(out, "Type option no.: ");
    return AskOption("1 2") == 2;
}

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
        ReadCells(file, 1, s.ncst[j],
                  [&](int, int) -> double& { return row < s.tcst ? s.cadat[row++][j] : dropped; });
}

void ReadW(RawFile& file)
{
    Session& s = session;
    const int format = AskFormatOfW();
    s.cadat = dim2Double(s.tcst, s.ncsm);
    double** W = s.cadat;
    if (format == 1)
        ReadCells(file, s.ncsm, s.tcst, [W](int j, int i) -> double& { return W[i][j]; });
    else if (format == 2)
        ReadCells(file, s.tcst, s.ncsm, [W](int i, int j) -> double& { return W[i][j]; });
    else
        ReadVectorsOfW(file);
}

bool IsMissing(double w) { return w == missing; }
bool IsZero(double w) { return w == 0.0; }

void WarnOfW()
{
    // Deliberate: a value would have to be missing and zero at once, so this warning never shows.
    // The dialogues that users have recorded go without it.
    for (int j = 0; j < session.ncsm; j++)
        for (int i = 0; i < session.tcst; i++) {
            const double w = session.cadat[i][j];
            if (!(IsMissing(w) && IsZero(w))) break;
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
    const bool labelsInFile = AskCommunityLabels(file);
    ReadW(file);
    if (labelsInFile)
        ReadLabelsForgiving(file, s.ncsm, s.reLabel);
    else
        NumberLabels(s.ncsm, s.reLabel);
    file.stream->Close();
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
    file.stream->Close();
    s.sppRelMap = dim2Dchar(s.tcst, s.ncsm);
    s.cstSppMap = dim2Dchar(s.tcst, s.tcst);
    CheckSpecies(option);
    SpeciesReleveMap();
}

// --- Ecosystem variables

/// Asks for the type of each variable until they are of several kinds, or the user lets them be
/// of one, which then is the type of all the data.
void AskMixedTypes()
{
    Session& s = session;
    std::FILE* out = console.out;
    for (;;) {
        std::fprintf(
            out,
            "Enter variable type (1:binary, 2:nominal, 3:quantitative interval or ratio scale, 4:ordinal): \n");
        std::fprintf(out, "Variable:    \t");
        // Deliberate: the labels are read or made only later, so blanks show.
        for (int k = 0; k < s.nenv; k++)
            std::fprintf(out, "%*.*s ", labelSize - 1, labelSize - 1, s.envLabel[k]);
        ReadLongInput(s.nenv, s.envVarType, "variable type", "1 2 3 4");
        s.temEnvBin = s.temEnvQual = s.temEnvQuant = 0;
        for (int k = 0; k < s.nenv; k++) {
            if (s.envVarType[k] == 1) s.temEnvBin = 1;
            if (s.envVarType[k] == 2) s.temEnvQual = 1;
            if (s.envVarType[k] >= 3) s.temEnvQuant = 1;
        }
        if (s.temEnvBin + s.temEnvQual + s.temEnvQuant >= 2) return;
        std::fprintf(out, "Data not mixed as indicated!!!\n");
        std::fprintf(out, "Wish to correct manually? y/n ");
        if (ReadCharIn("y n") == 'y') continue;
        s.optEnvVarType = s.temEnvQual != 0 ? 3 : s.temEnvQuant != 0 ? 2 : 4;
        return;
    }
}

void AskVariableTypes()
{
    Session& s = session;
    std::FILE* out = console.out;
    std::fprintf(
        out,
        "Types of variables: \n   1 only quantitative variables, same units \n   2 only quantitative variables, different units \n   3 only qualitative, non binary variables\n   4 only binary variables\n   5 several types \n");
    std::fprintf(out, "Type option no.: ");
    s.optEnvVarType = AskOption("1 2 3 4 5");
    s.temEnvQuant = s.temEnvQual = s.temEnvBin = 0;
    switch (s.optEnvVarType) {
    case 1:
    case 2:
        std::fill_n(s.envVarType, s.nenv, 3);
        s.temEnvQuant = 1;
        break;
    case 3:
        std::fill_n(s.envVarType, s.nenv, 2);
        s.temEnvQual = 1;
        break;
    case 4:
        std::fill_n(s.envVarType, s.nenv, 1);
        s.temEnvBin = 1;
        break;
    default: AskMixedTypes();
    }
}

/// The names nan and inf are words like any other: E must hold numbers.
void RefuseWord(RawFile& file)
{
    InputStream& stream = *file.stream;
    int next = stream.Get();
    while (next == ' ' || (next >= '\t' && next <= '\r')) next = stream.Get();
    const bool hasSign = next == '+' || next == '-';
    const int first = hasSign ? stream.Get() : next;
    const bool isWord = first > 0 && std::strchr("iInN", first) != nullptr;
    if (hasSign) stream.Unget(first);
    stream.Unget(next);
    int unread = 0;
    if (isWord) freadck(stream, unread, file.name); // no integer stands here: complaint, code 2
}

void ReadE(RawFile& file, bool byVariables)
{
    Session& s = session;
    const int rows = byVariables ? s.nenv : s.ncsm;
    const int columns = byVariables ? s.ncsm : s.nenv;
    for (int i = 0; i < rows; i++)
        for (int k = 0; k < columns; k++) {
            RefuseWord(file);
            freadck(*file.stream, byVariables ? s.env[k][i] : s.env[i][k], file.name);
        }
}

void WarnOfE()
{
    // Deliberate: one warning for each missing value before the first that is present, whatever
    // follows it. The dialogues that users have recorded have it so.
    for (int i = 0; i < session.ncsm; i++)
        for (int k = 0; k < session.nenv; k++) {
            if (!IsMissing(session.env[i][k])) break;
            std::fprintf(
                console.out,
                "\nPlease check matrix E. Sampling unit %s has all values missing (-999), which will generate unreliable results.",
                session.reLabel[i]);
        }
}

void AllocateVariables()
{
    Session& s = session;
    s.allocatedVariables = s.nenv;
    s.env = dim2Double(s.ncsm, s.nenv);
    s.envLabel = dim2Dchar(s.nenv, labelSize);
    s.envVarType = dim1Dint(s.nenv);
}

bool AskVariableLabels(const RawFile& file)
{
    std::FILE* out = console.out;
    std::fprintf(out, "Labels for environmental variables: \n");
    std::fprintf(out, "   1  given by default\n");
    std::fprintf(out, "   2  read labels at the end of file %s\n", file.name);
    std::fprintf(out, "Type option no.: ");
    return AskOption("1 2") == 2;
}

bool AskByVariables()
{
    if (session.nenv <= 1) return true;
    std::fprintf(console.out, "Data entered by communities(N) or by variables(T)?: ");
    return ReadCharIn("n t") == 't';
}

void SpecifyEnvironment(RawFile& file)
{
    if (!file.IsGiven()) return;
    Session& s = session;
    PrintRule();
    s.nenv = AskCount("Number of environmental variables: ");
    std::strcpy(s.envName, file.name);
    AllocateVariables();
    const bool labelsInFile = AskVariableLabels(file);
    AskVariableTypes();
    ReadE(file, AskByVariables());
    for (int k = 0; labelsInFile && k < s.nenv; k++)
        freadckWord(*file.stream, s.envLabel[k], labelSize, file.name);
    if (!labelsInFile) NumberLabels(s.nenv, s.envLabel);
    file.stream->Close();
    WarnOfE();
}

// --- The data set

/// Nothing of a data set formatted or loaded before may get into this one.
void ClearDataSet()
{
    Session& s = session;
    s.tcst = s.nch = s.nSpp = s.ncsm = s.nenv = 0;
    s.hasPhylogeny = s.hasTraitGroups = false;
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

// --- Ways to set up the data

/// Asks for a session's name and puts the name of its formatted data file into fileName (80
/// characters). False, after the complaint, if there is no such file.
bool AskFormattedFile(char* fileName)
{
    Session& s = session;
    ReadStringIn("%s\n", s.tempSession, 62);
    std::strcpy(fileName, s.tempSession);
    std::strcat(fileName, formdaExt);
    return OutputFile(fopenck(fileName, nullptr, "r")).file != nullptr;
}

bool FormatRawData()
{
    SessionFileName(session.whichFormda, formdaExt);
    IFFormat();
    WriteTrack(0);
    return true;
}

bool UseOtherSession()
{
    std::FILE* out = console.out;
    std::fprintf(out, "\nEnter name of the session from which data is to be extracted: ");
    if (!AskFormattedFile(session.whichFormda)) return false;
    std::fprintf(out, "\nUse file %s:\n", session.whichFormda);
    std::fprintf(out, "   1  as it is \n");
    std::fprintf(out, "   2  modified \n");
    std::fprintf(out, "   3  return to main menu \n");
    std::fprintf(out, "Type option no.: ");
    const int option = AskOption("1 2 3");
    std::fprintf(out, "\n\n");
    if (option == 3) return false; // back to the ways, whatever the line says
    if (option == 2) {
        PickSomeFormda();
    } else {
        OpenFormda(1);
        ClearLine();
    }
    WriteTrack(0);
    FreeGlobals1();
    return true;
}

bool MergeSessions()
{
    std::FILE* out = console.out;
    std::fprintf(out, "\nEnter names of the sessions from which data is to be merged:");
    std::fprintf(out, "\nFirst session name: ");
    if (!AskFormattedFile(session.whichFormda)) return false;
    OpenFormda(1);
    ClearLine();
    std::fprintf(out, "Second session name: ");
    char second[sizeof session.whichFormda];
    const bool found = AskFormattedFile(second);
    std::strcpy(session.dataName, session.whichFormda);
    const bool isMerged = found && MergeFormda(second) == 1;
    if (isMerged) {
        WriteTrack(0);
        FreeGlobals1();
    }
    FreeGlobals2();
    return isMerged;
}

} // namespace

int SetFormda()
{
    std::FILE* out = console.out;
    Menu("DATA FOR SESSION");
    for (;;) {
        std::fprintf(out, "Options:\n");
        std::fprintf(out, "   1  format raw data \n");
        std::fprintf(out, "   2  use formatted data from another session\n");
        std::fprintf(out, "   3  merge formatted data from two sessions\n");
        std::fprintf(out, "   4  return to main menu \n");
        std::fprintf(out, "Type option no.: ");
        const int way = AskOption("1 2 3 4");
        if (way == 4) return 1;
        const bool isSetUp = way == 1   ? FormatRawData()
                             : way == 2 ? UseOtherSession()
                                        : MergeSessions();
        if (isSetUp) return 0;
    }
}

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

std::FILE* ReadDataFileName(char* name)
{
    for (;;) {
        std::fprintf(console.out, "Enter data file name: ");
        ReadLineIn(name, fileNameLength);
        std::FILE* opened = fopenck(name, nullptr, "r");
        if (opened != nullptr) return opened;
    }
}
