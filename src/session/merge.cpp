// SPDX-License-Identifier: GPL-3.0-or-later
#include "session/merge.hpp"

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "session/checks.hpp"
#include "session/datafile.hpp"
#include "session/formda.hpp"
#include "session/session.hpp"
#include "shell/arrays.hpp"
#include "shell/failure.hpp"
#include "shell/files.hpp"
#include "shell/scanners.hpp"

namespace {

constexpr int wordSize = 64;

/// The second file while it is read, and the arrays of both data sets together: the first session
/// stands at the top left of each. Nothing of `session` changes before all of it was read.
struct Merge {
    Merge(const char* name, std::FILE* opened) : file(name, opened) {}

    DataFile file;
    std::string description, envName; // of both files
    int nCommunities = 0;             // of the second file, and so on
    int nOTUs = 0;
    int nSpecies = 0;
    OwnedTable<char> reLabel;
    OwnedInts ncst;
    OwnedRows B, W, E;
    OwnedRows F, phylogenyData;
    OwnedTable<char> spp, sppRelMap, cstSppMap;
};

bool Refuse(const char* reason)
{
    std::fputs(reason, stdout);
    return false;
}

/// Reads a line of the second file, as far as a text of the session has room, and puts it behind
/// that of the first, with a blank between.
template <std::size_t size>
std::string ReadBehind(DataFile& file, const char (&first)[size])
{
    char line[size];
    freadlineck(file.stream, size - 1, line, file.name);
    return std::string(first) + " " + line;
}

template <typename T>
void CopyCorner(int rows, int columns, T** from, T** to)
{
    for (int i = 0; i < rows; i++) std::copy_n(from[i], columns, to[i]);
}

// Each item is compared as it is read: nothing is read behind the first difference, so a file that
// is cut there is refused for what it says, not for its end.

bool SameInts(DataFile& file, int n, const int* values)
{
    return std::all_of(values, values + n, [&](int value) { return file.ReadInt() == value; });
}

bool SameDoubles(DataFile& file, int n, const double* values)
{
    return std::all_of(values, values + n,
                       [&](double value) { return file.ReadDouble() == value; });
}

/// `first` is a label that was read before, or null.
bool SameLabels(DataFile& file, const char* first, int n, char** labels)
{
    for (int i = 0; i < n; i++) {
        char label[labelSize] = "";
        if (i == 0 && first != nullptr)
            std::snprintf(label, sizeof label, "%s", first);
        else
            file.ReadWord(label, sizeof label);
        if (std::strcmp(label, labels[i]) != 0) return false;
    }
    return true;
}

// --- Steps in the order of the file; each false step has told its reason

bool ReadDescription(Merge& merge)
{
    merge.description = ReadBehind(merge.file, session.dataName);
    return true;
}

bool ReadTraits(Merge& merge)
{
    const Session& s = session;
    if (merge.file.ReadInt() != s.nch)
        return Refuse("\nThe number of traits do not match.\n\n");
    if (!SameLabels(merge.file, nullptr, s.nch, s.chLabel))
        return Refuse("\nLabels for traits do not match (or their order).\n\n");
    if (!SameInts(merge.file, s.nch, s.chtype))
        return Refuse("\nTrait types do not match.\n\n");
    // Ranges and numbers of states are worked out again.
    for (int j = 0; j < s.nch; j++) merge.file.ReadDouble();
    for (int j = 0; j < s.nch; j++) merge.file.ReadInt();
    return true;
}

bool ReadCommunityLabels(Merge& merge)
{
    const Session& s = session;
    const int n2 = merge.nCommunities = merge.file.ReadCount(INT_MAX - s.ncsm);
    const int n = s.ncsm + n2;
    merge.reLabel = OwnedTable<char>(n, labelSize);
    CopyCorner(s.ncsm, labelSize, s.reLabel, static_cast<char**>(merge.reLabel));
    merge.file.ReadWords(n2, merge.reLabel + s.ncsm, labelSize);
    for (int j = s.ncsm; j < n; j++)
        for (int i = 0; i < s.ncsm; i++) {
            if (std::strcmp(merge.reLabel[i], merge.reLabel[j]) != 0) continue;
            std::printf("\b\nThere are releve labels in the second session that are identical to\n");
            std::printf("labels in the first session. Change them (or reduce the second\n");
            std::printf("session labels length to %d letters or digits) and try again.\n",
                        labelSize - 1);
            return false;
        }
    return true;
}

bool ReadCounts(Merge& merge)
{
    const Session& s = session;
    merge.nOTUs = merge.file.ReadCount(INT_MAX - s.tcst);
    merge.file.CheckRoom(merge.nOTUs, s.nch);
    merge.ncst = OwnedInts(s.ncsm + merge.nCommunities);
    std::copy_n(s.ncst, s.ncsm, merge.ncst.values);
    merge.file.ReadInts(merge.nCommunities, merge.ncst.values + s.ncsm);
    if (!SameDoubles(merge.file, nReservedNumbers, s.ca_code))
        return Refuse(
            "\nTranslating values for cover-abundance scale codes do not match.\n\n");
    return true;
}

/// B and W of the second file.
///
/// Deliberate: the only word taken for the layout of two matrices is 18Jan2008. A file of the
/// present writer is read as one of two-character codes and falls out of step, which ends in a
/// failure of the reader or in wrong data. Deliberate, too: a row of W takes as many numbers as
/// the first session has communities, into their columns; the columns of the second session's
/// communities stay zero. Users' earlier merged data depend on both.
bool ReadMatrices(Merge& merge)
{
    const Session& s = session;
    const int nOTUs = s.tcst + merge.nOTUs;
    merge.B = OwnedRows(nOTUs, s.nch);
    merge.W = OwnedRows(nOTUs, s.ncsm + merge.nCommunities);
    CopyCorner(s.tcst, s.nch, s.csm_Float, static_cast<double**>(merge.B));
    CopyCorner(s.tcst, s.ncsm, s.cadat, static_cast<double**>(merge.W));

    double** newB = merge.B + s.tcst;
    double** newW = merge.W + s.tcst;
    std::vector<char> word(static_cast<std::size_t>(OldWordSize()));
    merge.file.ReadWord(word.data(), OldWordSize());
    if (std::strcmp(word.data(), "18Jan2008") == 0) {
        merge.file.ReadMatrix(merge.nOTUs, s.nch, newB);
        merge.file.ReadMatrix(merge.nOTUs, s.ncsm, newW);
    } else {
        ReadOldMatrices(merge.file, word.data(), OldWordSize(), merge.nOTUs, newB, newW);
    }
    return true;
}

bool SameVariables(Merge& merge)
{
    const Session& s = session;
    char word[wordSize];
    merge.file.ReadWord(word, sizeof word);
    const bool hasTypes = std::strcmp(word, versionFormda) == 0;
    // Files of old have their first label here and nothing but quantitative variables.
    const bool sameTypes =
        hasTypes ? merge.file.ReadInt() == s.optEnvVarType &&
                       SameInts(merge.file, s.nenv, s.envVarType)
                 : s.optEnvVarType == 2 && std::count(s.envVarType, s.envVarType + s.nenv, 3) == s.nenv;
    if (!sameTypes)
        return Refuse("\nThe types of environmental variables do not match.\n\n");
    if (!SameLabels(merge.file, hasTypes ? nullptr : word, s.nenv, s.envLabel))
        return Refuse("\nLabels for environmental variables do not match.\n\n");
    return true;
}

bool ReadEnvironment(Merge& merge)
{
    const Session& s = session;
    if (merge.file.ReadInt() != s.nenv)
        return Refuse("\nThe number of environmental variables do not match.\n\n");
    if (s.nenv == 0) return true;
    if (!SameVariables(merge)) return false;
    // Deliberate: two names with a blank between, though the name is read back as a word, so the
    // merged data set of two sessions with variables cannot be loaded again.
    merge.envName = ReadBehind(merge.file, s.envName);

    const int n = s.ncsm + merge.nCommunities;
    merge.E = OwnedRows(n, s.nenv);
    CopyCorner(s.ncsm, s.nenv, s.env, static_cast<double**>(merge.E));
    for (int k = 0; k < s.nenv; k++)
        for (int i = s.ncsm; i < n; i++) merge.E[i][k] = merge.file.ReadDouble();
    return true;
}

/// A table of marks, all '0' but for the first session's in the top left corner.
void MakeMarks(OwnedTable<char>& marks, int rows, int columns, int rowsNow, int columnsNow,
               char** now)
{
    marks = OwnedTable<char>(rows, columns);
    for (int i = 0; i < rows; i++) std::fill_n(marks[i], columns, '0');
    CopyCorner(rowsNow, columnsNow, now, static_cast<char**>(marks));
}

bool ReadSpecies(Merge& merge)
{
    const Session& s = session;
    merge.nSpecies = merge.file.ReadCount(INT_MAX - s.nSpp);
    if ((merge.nSpecies > 0) != (s.nSpp > 0))
        return Refuse(
            "\nOne session has species names and the other not.\nBoth files must have or not have species names.\n\n");
    if (merge.nSpecies == 0) return true;
    merge.file.CheckRoom(merge.nSpecies, merge.nCommunities);
    merge.file.CheckRoom(merge.nSpecies, merge.nOTUs);
    const int nSpecies = s.nSpp + merge.nSpecies;
    const int nCommunities = s.ncsm + merge.nCommunities;
    const int nOTUs = s.tcst + merge.nOTUs;
    merge.spp = OwnedTable<char>(nSpecies, speciesNameSize);
    CopyCorner(s.nSpp, speciesNameSize, s.spp, static_cast<char**>(merge.spp));
    MakeMarks(merge.sppRelMap, nSpecies, nCommunities, s.nSpp, s.ncsm, s.sppRelMap);
    MakeMarks(merge.cstSppMap, nOTUs, nSpecies, s.tcst, s.nSpp, s.cstSppMap);

    char fileOfNames[sizeof s.whichSpp]; // the first session's stays
    freadlineck(merge.file.stream, sizeof fileOfNames - 1, fileOfNames, merge.file.name);
    for (int a = s.nSpp; a < nSpecies; a++)
        freadlineckTEMP(merge.file.stream, speciesNameSize - 1, merge.spp[a], merge.file.name);
    merge.file.ReadMarks(merge.nSpecies, merge.nCommunities, merge.sppRelMap + s.nSpp, s.ncsm);
    merge.file.ReadMarks(merge.nOTUs, merge.nSpecies, merge.cstSppMap + s.tcst, s.nSpp);
    return true;
}

/// Nothing behind the species is taken over; the word that stands there has to be there.
bool ReadEnd(Merge& merge)
{
    char word[wordSize];
    merge.file.ReadWord(word, sizeof word);
    merge.file.CheckText();
    merge.file.stream.Close();
    return true;
}

/// F of the first session, with no resemblance to the OTUs of the second.
void MakePhylogeny(Merge& merge)
{
    const Session& s = session;
    const int nOTUs = s.tcst + merge.nOTUs;
    if (s.phylogenyRese != nullptr) {
        merge.F = OwnedRows(nOTUs, nOTUs);
        CopyCorner(s.tcst, s.tcst, s.phylogenyRese, static_cast<double**>(merge.F));
    }
    if (s.phylogenyData != nullptr) {
        merge.phylogenyData = OwnedRows(nOTUs, s.nClados);
        CopyCorner(s.tcst, s.nClados, s.phylogenyData, static_cast<double**>(merge.phylogenyData));
    }
}

/// The session becomes the merged one. Up to the last two lines nothing can fail, so the row
/// counts of the arrays always fit what there is.
void TakeOver(Merge& merge)
{
    Session& s = session;
    FreeSettings();
    merge.reLabel.SwapWith(s.reLabel, s.allocatedCommunities);
    std::swap(merge.ncst.values, s.ncst);
    merge.B.SwapWith(s.csm_Float, s.allocatedOTUs);
    merge.W.SwapWith(s.cadat, s.allocatedOTUs);
    merge.E.SwapWith(s.env, s.allocatedCommunities);
    merge.F.SwapWith(s.phylogenyRese, s.allocatedOTUs);
    merge.phylogenyData.SwapWith(s.phylogenyData, s.allocatedOTUs);
    merge.spp.SwapWith(s.spp, s.allocatedSpecies);
    merge.sppRelMap.SwapWith(s.sppRelMap, s.allocatedSpecies);
    merge.cstSppMap.SwapWith(s.cstSppMap, s.allocatedOTUs);
    s.tcst += merge.nOTUs;
    s.ncsm += merge.nCommunities;
    s.nSpp += merge.nSpecies;
    s.allocatedOTUs = s.tcst;
    s.allocatedCommunities = s.ncsm;
    s.allocatedSpecies = s.nSpp;
    std::snprintf(s.dataName, sizeof s.dataName, "%s", merge.description.c_str());
    if (s.nenv > 0) std::snprintf(s.envName, sizeof s.envName, "%s", merge.envName.c_str());
    s.dirtyOrig = 0;
    AllocateSettings();
    s.eVarSelect = dim1Dint(std::max(s.ncsm, s.nenv));
}

void WriteMerged()
{
    Session& s = session;
    SessionFileName(s.whichFormda, formdaExt);
    WriteFormda(s.tcst, s.whichFormda, s.dataName, s.csm_Float, s.cadat);
}

} // namespace

int MergeFormda(const char* second)
{
    std::FILE* opened = fopenck(second, nullptr, "r");
    if (opened == nullptr) Fail(cannotOpen);
    Merge merge(second, opened);
    for (auto* step : {ReadDescription, ReadTraits, ReadCommunityLabels, ReadCounts, ReadMatrices,
                       ReadEnvironment, ReadSpecies, ReadEnd})
        if (!step(merge)) return 0;
    MakePhylogeny(merge);
    TakeOver(merge);
    if (merge.nSpecies > 0) {
        CheckSpeciesMerge();
        CheckCSTsSameSpecies();
    }
    CheckData(1);
    WriteMerged();
    return 1;
}
