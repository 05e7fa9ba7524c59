// SPDX-License-Identifier: GPL-3.0-or-later
#include "session/track.hpp"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "session/datafile.hpp"
#include "session/session.hpp"
#include "shell/arrays.hpp"
#include "shell/complaint.hpp"
#include "shell/failure.hpp"
#include "shell/files.hpp"
#include "shell/scanners.hpp"

const char* const versionTrack = "07Jul17";

namespace {

constexpr int fileNameSize = sizeof session.whichFormda;
constexpr int wordSize = 64;

// Writer and reader go through the same tables, in the order of the file.

char* const resultFiles[] = {
    session.whichEnvRese,  session.whichEnvScores,    session.whichEnvRank,
    session.whichHier,     session.whichCstRese,      session.whichNRese,
    session.whichPRese,    session.whichRo,           session.whichProbRo,
    session.whichScores,   session.whichProbN,        session.whichReClus,
    session.whichCstClus,  session.whichAOCScor,      session.whichComplexity,
    session.whichVelocity, session.whichRoVelComplex,
};

int* const resultFlags[] = {
    &session.isHierarchical,   &session.traitBasedOpt,
    &session.hasEnvRese,       &session.hasEnvScores,
    &session.hasEnvRank,       &session.hasHier,
    &session.hasCstRese,       &session.hasNRese,
    &session.hasPRese,         &session.hasRo,
    &session.hasProbRo,        &session.hasScores,
    &session.hasProbN,         &session.hasReClus,
    &session.hasCstClus,       &session.hasAOCScor,
    &session.hasVegOrdiCorrel, &session.hasEnvOrdiCorrel,
    &session.hasComplexity,    &session.hasVelocity,
    &session.hasRoVelComplex,  &session.hasRoVelComplexPROB,
    &session.optEnvStruct,     &session.rese_opt,
    &session.reseCstOpt,       &session.part,
};

int* const resemblanceOptions[] = {
    &session.reseTypeOrd,   &session.reseTypeClus,  &session.reseTypeEv,
    &session.reseTypeRnd,   &session.reseTypeERank, &session.cohe,
    &session.groupDissMeth, &session.empir_opt,     &session.keepRichness,
};

int* const lastOptions[] = {
    &session.adjacentRelOpt,   &session.whichLevelCst, &session.poolCSTopt,
    &session.clusMethPoolCSTs, &session.SMWSize,
};

/// Number of groups of OTUs at the level of an OTU partition: the length of its row of groups.
/// 0 for a level that does not exist.
int GroupsAtLevel(int partition)
{
    const int level = session.whichLevelGrCstP[partition];
    return level >= 1 && level <= session.nch ? session.rcst[level - 1] : 0;
}

// --- Writing

void WriteRow(std::FILE* file, int n, const int* values)
{
    for (int i = 0; i < n; i++) std::fprintf(file, "%d ", values[i]);
}

void WriteLine(std::FILE* file, int n, const int* values)
{
    WriteRow(file, n, values);
    std::fprintf(file, "\n");
}

void WriteLine(std::FILE* file, int n, char** words)
{
    for (int i = 0; i < n; i++) std::fprintf(file, "%s ", words[i]);
    std::fprintf(file, "\n");
}

template <int n>
void WriteItems(std::FILE* file, int* const (&items)[n])
{
    for (const int* item : items) std::fprintf(file, "%d\n", *item);
}

void WriteSettings(std::FILE* file)
{
    const Session& s = session;
    for (const char* name : resultFiles) std::fprintf(file, "%s\n", name);
    WriteItems(file, resultFlags);
    WriteLine(file, s.nch, s.nchor);
    WriteLine(file, s.nch, s.rcst);
    WriteRow(file, s.nch, s.nGrPoly);
    std::fprintf(file, "\n%d\n", s.fuzzy);
    std::fprintf(file, "%g\n", s.fuzziness);
    WriteItems(file, resemblanceOptions);
}

void WriteCommunityPartitions(std::FILE* file)
{
    const Session& s = session;
    std::fprintf(file, "%d\n", s.nPart);
    std::fprintf(file, "%d\n", s.whichPart);
    WriteLine(file, s.nPart, s.partLabel);
    WriteLine(file, s.nPart, s.nGroupsP);
    for (int i = 0; i < s.nPart; i++) WriteLine(file, s.nGroupsP[i], s.grLabelP[i]);
    for (int i = 0; i < s.nPart; i++) WriteLine(file, s.ncsm, s.groupRelP[i]);
    std::fprintf(file, "%d ", s.whichPartAOC);
    std::fprintf(file, "%d ", s.whichPartCstAOC);
}

void WriteOTUPartitions(std::FILE* file)
{
    const Session& s = session;
    std::fprintf(file, "\n%d\n", s.whichLevelGrCST);
    std::fprintf(file, "%d\n", s.nPartCst);
    std::fprintf(file, "%d\n", s.whichCstPart);
    WriteLine(file, s.nPartCst, s.partCstLabel);
    WriteLine(file, s.nPartCst, s.nGroupsCstP);
    for (int i = 0; i < s.nPartCst; i++) {
        // Deliberate: nothing stands between the labels, so one of three characters runs into the
        // next and the file falls out of step; existing files are read by the same rule.
        for (int k = 0; k < s.nGroupsCstP[i]; k++) std::fprintf(file, "%-3s", s.grCstLabelP[i][k]);
        std::fprintf(file, "\n");
    }
    WriteLine(file, s.nPartCst, s.whichLevelGrCstP);
    for (int i = 0; i < s.nPartCst; i++)
        WriteLine(file, std::min(GroupsAtLevel(i), s.allocatedOTUs), s.groupCstP[i]);
}

void WriteSelections(std::FILE* file)
{
    WriteRow(file, session.ncsm, session.relSelect);
    std::fprintf(file, "\n%d\n", session.doDistrib);
    WriteItems(file, lastOptions);
}

// --- Reading

/// n numbers, of which `values` has room for `room`; the others are dropped.
void ReadRow(DataFile& file, int n, int* values, int room)
{
    for (int i = 0; i < n; i++) {
        const int value = file.ReadInt();
        if (i < room) values[i] = value;
    }
}

/// n words, of which `words` has room for `room`; the others are dropped.
void ReadRow(DataFile& file, int n, char** words, int room, int size)
{
    char dropped[wordSize];
    for (int i = 0; i < n; i++) {
        if (i < room)
            file.ReadWord(words[i], size);
        else
            file.ReadWord(dropped, sizeof dropped);
    }
}

template <int n>
void ReadItems(DataFile& file, int* const (&items)[n])
{
    for (int* item : items) *item = file.ReadInt();
}

/// Reads the group counts of all partitions in the file (those beyond the tenth are needed to step
/// over what belongs to them) and keeps those that there is room for. A partition keeps no more
/// groups than it has objects.
void ReadGroupCounts(DataFile& file, int n, int* counts, int nObjects, int* kept)
{
    for (int i = 0; i < n; i++) {
        counts[i] = file.ReadCount();
        if (i < nPartitionsMax) kept[i] = std::min(counts[i], nObjects);
    }
}

/// The rows of labels of n partitions; labels beyond the number of objects are dropped.
void ReadGroupLabels(DataFile& file, int n, const int* counts, char*** labels, int nObjects)
{
    for (int i = 0; i < n; i++) {
        if (i < nPartitionsMax)
            ReadRow(file, counts[i], labels[i], nObjects, groupLabelSize);
        else
            ReadRow(file, counts[i], nullptr, 0, groupLabelSize);
    }
}

void ReadSettings(DataFile& file)
{
    Session& s = session;
    for (char* name : resultFiles) file.ReadWord(name, fileNameSize);
    ReadItems(file, resultFlags);
    file.ReadInts(s.nch, s.nchor);
    file.ReadInts(s.nch, s.rcst);
    file.ReadInts(s.nch, s.nGrPoly);
    s.fuzzy = file.ReadInt();
    s.fuzziness = file.ReadDouble();
    ReadItems(file, resemblanceOptions);
}

void ReadCommunityPartitions(DataFile& file)
{
    Session& s = session;
    const int n = file.ReadCount();
    s.nPart = std::min(n, nPartitionsMax);
    s.whichPart = file.ReadIntWithin(0, nPartitionsMax - 1);
    ReadRow(file, n, s.partLabel, nPartitionsMax, partitionLabelSize);
    const OwnedInts counts(n);
    ReadGroupCounts(file, n, counts, s.ncsm, s.nGroupsP);
    ReadGroupLabels(file, n, counts, s.grLabelP, s.ncsm);
    for (int i = 0; i < n; i++)
        ReadRow(file, s.ncsm, i < nPartitionsMax ? s.groupRelP[i] : nullptr,
                i < nPartitionsMax ? s.ncsm : 0);
    s.whichPartAOC = file.ReadInt();
    s.whichPartCstAOC = file.ReadInt();
    s.nGroups = s.nGroupsP[s.whichPart];
    s.grLabel = s.grLabelP[s.whichPart];
    s.groupRel = s.groupRelP[s.whichPart];
}

/// The rows of groups are as long as there were groups of OTUs at the level of each partition.
void ReadGroupsOfOTUs(DataFile& file, int n)
{
    Session& s = session;
    const OwnedInts levels(n);
    for (int i = 0; i < n; i++) {
        levels[i] = file.ReadIntWithin(1, s.nch);
        if (i < nPartitionsMax) s.whichLevelGrCstP[i] = levels[i];
    }
    for (int i = 0; i < n; i++) {
        const int length = s.rcst[levels[i] - 1];
        if (length < 0) file.Refuse();
        ReadRow(file, length, i < nPartitionsMax ? s.groupCstP[i] : nullptr,
                i < nPartitionsMax ? s.tcst : 0);
    }
}

void ReadOTUPartitions(DataFile& file)
{
    Session& s = session;
    s.whichLevelGrCST = file.ReadIntWithin(1, s.nch);
    const int n = file.ReadCount();
    s.nPartCst = std::min(n, nPartitionsMax);
    s.whichCstPart = file.ReadIntWithin(0, nPartitionsMax - 1);
    ReadRow(file, n, s.partCstLabel, nPartitionsMax, partitionLabelSize);
    const OwnedInts counts(n);
    ReadGroupCounts(file, n, counts, s.tcst, s.nGroupsCstP);
    ReadGroupLabels(file, n, counts, s.grCstLabelP, s.tcst);
    ReadGroupsOfOTUs(file, n);
    s.nCstGroups = s.nGroupsCstP[s.whichCstPart];
    s.grCstLabel = s.grCstLabelP[s.whichCstPart];
    s.groupCst = s.groupCstP[s.whichCstPart];
}

void ReadSelections(DataFile& file)
{
    file.ReadInts(session.ncsm, session.relSelect);
    session.doDistrib = file.ReadInt();
    ReadItems(file, lastOptions);
}

void SayOtherVersion()
{
    std::printf("\n");
    Bell();
    // Blanks wipe a progress line that may stand there.
    std::printf(
        "Formda file is compatible, but other files of the session are not compatible with this program version.                    \n");
}

/// True if the file ends here, white space having been skipped.
bool AtEndOfFile(InputStream& stream)
{
    const int next = stream.Get();
    stream.Unget(next);
    return next == EOF;
}

} // namespace

void WriteTrack(char full)
{
    OutputFile file(session.whichTrack, nullptr, "w", Unfinished::removed);
    std::fprintf(file, "%s\n", session.whichFormda);
    std::fprintf(file, "%s\n", versionTrack);
    if (full != 0) {
        WriteSettings(file);
        WriteCommunityPartitions(file);
        WriteOTUPartitions(file);
        WriteSelections(file);
    }
    file.Close();
}

int ReadTrack()
{
    std::FILE* opened = fopenck(session.whichTrack, nullptr, "r");
    if (opened == nullptr) Fail(cannotOpen);
    DataFile file(session.whichTrack, opened);
    file.ReadWord(session.whichFormda, fileNameSize);
    char fileVersion[wordSize];
    file.ReadWord(fileVersion, sizeof fileVersion);
    const bool sameVersion = std::strcmp(fileVersion, versionTrack) == 0;
    if (!sameVersion) SayOtherVersion();
    // Older programs had an integer here. A file of this one goes on with a name or ends, so the
    // attempt takes nothing, unless a name began with a digit, which none does.
    int unused = 0;
    const bool hasInteger = TryRead(file.stream, unused);
    if (!sameVersion || (!hasInteger && AtEndOfFile(file.stream))) return 1;
    ReadSettings(file);
    ReadCommunityPartitions(file);
    ReadOTUPartitions(file);
    ReadSelections(file);
    return 1;
}
