// SPDX-License-Identifier: GPL-3.0-or-later
#include "session/formda.hpp"

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "session/datafile.hpp"
#include "session/session.hpp"
#include "shell/arrays.hpp"
#include "shell/console.hpp"
#include "shell/failure.hpp"
#include "shell/files.hpp"
#include "shell/scanners.hpp"
#include "shell/table.hpp"

const char* const versionFormda = "97Sep08";

namespace {

// Words that tell the layouts of the file apart.
const char* const versionWithTraitGroups = "25Jun2016";
const char* const versionMatrices = "18Jan2008";
const char* const markerSMW = "SMW";

constexpr int significantDigits = 6;
constexpr int versionWordSize = 64;

// --- Writing

/// A label without a character would be missing from the words of the file, so its number stands
/// for it.
void WriteLabels(std::FILE* file, int n, char** labels)
{
    for (int i = 0; i < n; i++) {
        if (labels[i][0] == '\0')
            std::fprintf(file, "%d\t", i + 1);
        else
            std::fprintf(file, "%s\t", labels[i]);
    }
    std::fprintf(file, "\n");
}

void WriteWideInts(std::FILE* file, int n, const int* values)
{
    for (int i = 0; i < n; i++) std::fprintf(file, "%2d\t", values[i]);
    std::fprintf(file, "\n");
}

void WriteInts(std::FILE* file, int n, const int* values)
{
    for (int i = 0; i < n; i++) std::fprintf(file, "%d\t", values[i]);
    std::fprintf(file, "\n");
}

void WriteZeros(std::FILE* file, int n)
{
    for (int i = 0; i < n; i++) std::fprintf(file, "0\t");
    std::fprintf(file, "\n");
}

void WriteCharacters(std::FILE* file, int rows, int columns, char** table)
{
    for (int i = 0; i < rows; i++) {
        for (int j = 0; j < columns; j++) std::fprintf(file, "%c", table[i][j]);
        std::fprintf(file, "\n");
    }
}

void WriteNumbers(std::FILE* file, int rows, int columns, double** matrix)
{
    for (int i = 0; i < rows; i++) {
        for (int j = 0; j < columns; j++) std::fprintf(file, "%g\t", matrix[i][j]);
        std::fprintf(file, "\n");
    }
}

/// Traits and communities as they are named, typed and counted. Ranges of traits and OTU counts
/// of communities are worked out again after each load, so zeros stand in their places.
void WriteHead(std::FILE* file, int nOTUs, const char* description)
{
    const Session& s = session;
    std::fprintf(file, "%s \n", description);
    std::fprintf(file, "%d \n", s.nch);
    WriteLabels(file, s.nch, s.chLabel);
    WriteWideInts(file, s.nch, s.chtype);
    WriteZeros(file, s.nch);
    WriteWideInts(file, s.nch, s.onsta);
    std::fprintf(file, "%d \n", s.ncsm);
    WriteLabels(file, s.ncsm, s.reLabel);
    std::fprintf(file, "%d \n", nOTUs);
    WriteZeros(file, s.ncsm);
    WriteZeros(file, nReservedNumbers);
    std::fprintf(file, "\n");
    std::fprintf(file, "%s \n", versionWithTraitGroups);
}

void WriteMatrices(std::FILE* file, int nOTUs, double** B, double** W)
{
    PrintMatrixTab(file, nOTUs, session.nch, B, significantDigits);
    std::fprintf(file, "\n");
    PrintMatrixTab(file, nOTUs, session.ncsm, W, significantDigits);
    std::fprintf(file, "\n");
}

/// E stands with variables as rows, though it is kept with communities as rows.
void WriteEnvironment(std::FILE* file)
{
    const Session& s = session;
    std::fprintf(file, "%d \n", s.nenv);
    if (s.nenv > 0) {
        std::fprintf(file, "%s \n", versionFormda);
        std::fprintf(file, "%d \n", s.optEnvVarType);
        WriteInts(file, s.nenv, s.envVarType);
        WriteLabels(file, s.nenv, s.envLabel);
        std::fprintf(file, "%s \n", s.envName);
        for (int k = 0; k < s.nenv; k++) {
            for (int i = 0; i < s.ncsm; i++) std::fprintf(file, "%6g\t", s.env[i][k]);
            std::fprintf(file, "\n");
        }
    }
}

void WriteSpecies(std::FILE* file, int nOTUs)
{
    const Session& s = session;
    std::fprintf(file, "%d \n", s.nSpp);
    if (s.nSpp > 0) {
        std::fprintf(file, "%s \n", s.whichSpp);
        for (int a = 0; a < s.nSpp; a++) std::fprintf(file, "%-s\n", s.spp[a]);
        WriteCharacters(file, s.nSpp, s.ncsm, s.sppRelMap);
        WriteCharacters(file, nOTUs, s.nSpp, s.cstSppMap);
    }
}

void WritePhylogeny(std::FILE* file, int nOTUs)
{
    const Session& s = session;
    std::fprintf(file, "%d\n", s.hasPhylogeny ? 1 : 0);
    if (s.hasPhylogeny) {
        std::fprintf(file, "%d\n", s.phylogenyMatrixType);
        if (s.phylogenyMatrixType == 1 || s.phylogenyMatrixType == 3)
            WriteNumbers(file, nOTUs, nOTUs, s.phylogenyRese);
        if (s.phylogenyMatrixType == 2) {
            std::fprintf(file, "%d\n", s.nClados);
            WriteInts(file, s.nClados, s.phylogenyVarType);
            WriteNumbers(file, nOTUs, s.nClados, s.phylogenyData);
        }
    }
}

void WriteTraitGroups(std::FILE* file)
{
    std::fprintf(file, "%d\n", session.hasTraitGroups ? 1 : 0);
    if (session.hasTraitGroups) WriteInts(file, session.nch, session.traitGroups);
}

// --- Reading

void ReadHead(DataFile& file)
{
    Session& s = session;
    freadlineck(file.stream, sizeof s.dataName - 1, s.dataName, file.name);
    s.nch = s.allocatedTraits = file.ReadCount();
    s.chLabel = dim2Dchar(s.nch, labelSize);
    file.ReadWords(s.nch, s.chLabel, labelSize);
    s.chtype = dim1Dint(s.nch);
    file.ReadInts(s.nch, s.chtype);
    s.chrange = dim1Double(s.nch);
    file.ReadDoubles(s.nch, s.chrange);
    s.onsta = dim1Dint(s.nch);
    file.ReadInts(s.nch, s.onsta);
    s.ncsm = s.allocatedCommunities = file.ReadCount();
    s.reLabel = dim2Dchar(s.ncsm, labelSize);
    file.ReadWords(s.ncsm, s.reLabel, labelSize);
    s.tcst = s.allocatedOTUs = file.ReadCount();
    file.CheckRoom(s.tcst, s.nch);
    file.CheckRoom(s.tcst, s.ncsm);
}

/// Reads B and W in either layout. Returns whether trait groups follow at the end of the file.
bool ReadMatrices(DataFile& file)
{
    Session& s = session;
    s.ncst = dim1Dint(s.ncsm);
    file.ReadInts(s.ncsm, s.ncst);
    file.ReadDoubles(nReservedNumbers, s.ca_code);
    s.cadat = dim2Double(s.tcst, s.ncsm);
    s.csm_Float = dim2Double(s.tcst, s.nch);

    const Owned<char> word(OldWordSize());
    file.ReadWord(word, OldWordSize());
    const bool withTraitGroups = std::strcmp(word, versionWithTraitGroups) == 0;
    if (!withTraitGroups && std::strcmp(word, versionMatrices) != 0) {
        ReadOldMatrices(file, word, OldWordSize(), s.tcst, s.csm_Float, s.cadat);
        return false;
    }
    file.ReadMatrix(s.tcst, s.nch, s.csm_Float);
    file.ReadMatrix(s.tcst, s.ncsm, s.cadat);
    return withTraitGroups;
}

/// Types and labels of the variables. Files of old have no types, and their first label stands
/// where the layout's word stands now.
void ReadVariables(DataFile& file)
{
    Session& s = session;
    s.envVarType = dim1Dint(s.nenv);
    s.envLabel = dim2Dchar(s.nenv, labelSize);
    char word[versionWordSize];
    file.ReadWord(word, sizeof word);
    int nLabelsRead = 0;
    if (std::strcmp(word, versionFormda) == 0) {
        s.optEnvVarType = file.ReadInt();
        file.ReadInts(s.nenv, s.envVarType);
    } else {
        s.optEnvVarType = 2;
        std::fill_n(s.envVarType, s.nenv, 3);
        std::string_view(word).copy(s.envLabel[0], labelSize - 1); // the row is all zero
        nLabelsRead = 1;
    }
    file.ReadWords(s.nenv - nLabelsRead, s.envLabel + nLabelsRead, labelSize);
}

void ReadEnvironment(DataFile& file)
{
    Session& s = session;
    s.nenv = s.allocatedVariables = file.ReadCount();
    file.CheckRoom(s.nenv, s.ncsm);
    s.eVarSelect = dim1Dint(std::max(s.ncsm, s.nenv));
    if (s.nenv == 0) return;
    ReadVariables(file);
    file.ReadWord(s.envName, sizeof s.envName);
    s.env = dim2Double(s.ncsm, s.nenv);
    for (int k = 0; k < s.nenv; k++)
        for (int i = 0; i < s.ncsm; i++) s.env[i][k] = file.ReadDouble();
    // Ordinal variables (type 4) set no flag here.
    s.temEnvBin = HasVariableOfType(1);
    s.temEnvQual = HasVariableOfType(2);
    s.temEnvQuant = HasVariableOfType(3);
}

void ReadSpecies(DataFile& file)
{
    Session& s = session;
    s.nSpp = s.allocatedSpecies = file.ReadCount();
    if (s.nSpp == 0) return;
    file.CheckRoom(s.nSpp, s.ncsm);
    file.CheckRoom(s.nSpp, s.tcst);
    s.spp = dim2Dchar(s.nSpp, speciesNameSize);
    s.sppRelMap = dim2Dchar(s.nSpp, s.ncsm);
    s.cstSppMap = dim2Dchar(s.tcst, s.nSpp);
    freadlineck(file.stream, sizeof s.whichSpp - 1, s.whichSpp, file.name);
    for (int a = 0; a < s.nSpp; a++)
        freadlineckTEMP(file.stream, speciesNameSize - 1, s.spp[a], file.name);
    file.ReadMarks(s.nSpp, s.ncsm, s.sppRelMap);
    file.ReadMarks(s.tcst, s.nSpp, s.cstSppMap);
}

void ReadWindowSize(DataFile& file)
{
    char word[versionWordSize];
    file.ReadWord(word, sizeof word);
    // Files of old have the time stamp here, whose first word is lost.
    session.SMWSize = std::strcmp(word, markerSMW) == 0 ? file.ReadInt() : 1;
}

void ReadPhylogenyVariables(DataFile& file)
{
    Session& s = session;
    s.nClados = file.ReadCount();
    file.CheckRoom(s.nClados, s.tcst);
    s.phylogenyData = dim2Double(s.tcst, s.nClados);
    s.phylogenyVarType = dim1Dint(s.nClados);
    file.ReadInts(s.nClados, s.phylogenyVarType);
    file.ReadMatrix(s.tcst, s.nClados, s.phylogenyData);
}

void ReadPhylogeny(DataFile& file)
{
    Session& s = session;
    int answer = 0;
    // Not checked: files of old end here, or have the rest of the time stamp.
    TryRead(file.stream, answer);
    s.hasPhylogeny = answer != 0;
    if (!s.hasPhylogeny) return;
    s.phylogenyMatrixType = file.ReadInt();
    const bool hasMatrix = s.phylogenyMatrixType == 1 || s.phylogenyMatrixType == 3;
    if (hasMatrix) file.CheckRoom(s.tcst, s.tcst);
    s.phylogenyRese = dim2Double(s.tcst, s.tcst);
    if (hasMatrix) file.ReadMatrix(s.tcst, s.tcst, s.phylogenyRese);
    if (s.phylogenyMatrixType == 2) ReadPhylogenyVariables(file);
}

void ReadTraitGroups(DataFile& file, bool stored)
{
    Session& s = session;
    s.traitGroups = dim1Dint(s.nch);
    s.hasTraitGroups = stored && file.ReadInt() != 0;
    if (s.hasTraitGroups) file.ReadInts(s.nch, s.traitGroups);
}

} // namespace

void WriteFormda(int nOTUs, const char* fileName, const char* description, double** B, double** W)
{
    OutputFile file(fileName, nullptr, "w", Unfinished::removed);
    WriteHead(file, nOTUs, description);
    WriteMatrices(file, nOTUs, B, W);
    WriteEnvironment(file);
    WriteSpecies(file, nOTUs);
    std::fprintf(file, "SMW ");
    std::fprintf(file, "%d\n", session.SMWSize);
    WritePhylogeny(file, nOTUs);
    WriteTraitGroups(file);
    TimeStamp(file);
    file.Close();
}

void OpenFormda(int /*mode*/)
{
    FreeGlobals2();
    std::FILE* opened = fopenck(session.whichFormda, nullptr, "r");
    if (opened == nullptr) Fail(cannotOpen);
    DataFile file(session.whichFormda, opened);
    ReadHead(file);
    AllocateSettings();
    const bool hasStoredGroups = ReadMatrices(file);
    ReadEnvironment(file);
    ReadSpecies(file);
    ReadWindowSize(file);
    ReadPhylogeny(file);
    ReadTraitGroups(file, hasStoredGroups);
    file.CheckText();
    session.dirtyOrig = 0;
}

int OldWordSize()
{
    const long size = std::max<long>(versionWordSize, 2L * session.nch + 1);
    return static_cast<int>(std::min<long>(size, INT_MAX));
}

void ReadOldMatrices(DataFile& file, char* word, int wordSize, int nOTUs, double** B, double** W)
{
    for (int i = 0; i < nOTUs; i++) {
        if (i > 0) file.ReadWord(word, wordSize);
        const int length = static_cast<int>(std::strlen(word));
        for (int j = 0; j < session.nch && 2 * j < length; j++) {
            const char pair[] = {word[2 * j], word[2 * j + 1], '\0'};
            B[i][j] = static_cast<float>(std::atof(pair)); // that layout's precision
        }
        file.ReadDoubles(session.ncsm, W[i]);
    }
}
