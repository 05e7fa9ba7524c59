// SPDX-License-Identifier: GPL-3.0-or-later
// The open session: every matrix, label, setting and file name that belongs to it.
//
// The words: an OTU (operational taxonomic unit) is a species, a population or an individual, in
// names a CST; a type of OTUs is a PFT; a community is a sampling unit, in names a releve; a trait
// is a character. -999 is a missing cell.
#pragma once

#include <cstddef>
#include <cstdio>

#include "shell/console.hpp"

/// Numbers that the format of the data file reserves.
constexpr int nReservedNumbers = 7;

/// What matrix F holds, by the numbers of phylogenyMatrixType; 0 if there is no usable one.
enum PhylogenyMatrix { phylogenySimilarities = 1, phylogenyVariables, phylogenyDistances };

/// The session as OpenFormda and ReadTrack load it; rebuilt from disk after each analysis, since
/// analyses overwrite it in place.
struct Session {
    // Sizes
    int nch = 0;     // traits (t)
    int ncsm = 0;    // communities (n)
    int tcst = 0;    // OTUs (s)
    int nenv = 0;    // ecosystem variables (e); 0 without matrix E
    int nSpp = 0;    // species; 0 without names
    int nClados = 0; // phylogeny variables, with phylogenyMatrixType 2
    int nTaxa = 0;   // taxa of the analysis at hand

    // Matrices; all of double, in spite of the name csm_Float
    double** csm_Float = nullptr;     // B, tcst x nch: trait values
    double** cadat = nullptr;         // W stored OTUs by communities, tcst x ncsm: performances
    double** env = nullptr;           // E, ncsm x nenv; null if nenv is 0
    double** phylogenyRese = nullptr; // F, tcst x tcst; null without phylogeny
    double** phylogenyData = nullptr; // tcst x nClados; null unless phylogenyMatrixType is 2

    // Vectors and labels
    char** chLabel = nullptr;        // nch labels, at most 10 characters
    char** reLabel = nullptr;        // ncsm labels, at most 10 characters
    char** envLabel = nullptr;       // nenv labels, at most 10 characters
    int* chtype = nullptr;           // nch: 1 dichotomous, 2 nominal, 3 interval or ratio, 4 ordinal
    int* onsta = nullptr;            // nch: distinct states
    double* chrange = nullptr;       // nch: range of a type 3 trait; never stored on file
    int* traitGroups = nullptr;      // nch: group of each trait, if hasTraitGroups
    double* weight = nullptr;        // nch: trait weights of the analysis
    int* nchor = nullptr;            // nch: trait order of the last analysis
    int* rcst = nullptr;             // nch: OTU groups at each hierarchical level
    int* nGrPoly = nullptr;          // nch: types at each level; [0] is the number of types
    int* ncst = nullptr;             // ncsm: OTUs present; zeros as read from file
    int* relSelect = nullptr;        // ncsm: selected communities, 0 or 1
    int* eVarSelect = nullptr;       // larger of ncsm and nenv: selected variables, 0 or 1
    int* weight_OTUs = nullptr;      // tcst: selected OTUs, 0 or 1
    int* partition_OTUs = nullptr;   // tcst: type of each OTU, any integers
    int* envVarType = nullptr;       // nenv: 1 binary, 2 nominal, 3 quantitative, 4 ordinal
    int* phylogenyVarType = nullptr; // nClados: trait types of the phylogeny variables
    char** spp = nullptr;            // nSpp names, at most 70 characters as loaded
    char** sppRelMap = nullptr;      // nSpp x ncsm: '1' species present in community, else '0'
    char** cstSppMap = nullptr;      // tcst x nSpp: '1' OTU is of the species, else '0'
    int** cstTrack = nullptr;        // nch x tcst: carried along, read by nothing
    double ca_code[nReservedNumbers] = {}; // reserved numbers of the file format

    // Flags and small items
    bool hasPhylogeny = false;     // the data set holds a matrix F
    bool includePhylogeny = false; // the analysis uses it
    int phylogenyMatrixType = 0; // a PhylogenyMatrix; similarities and distances are 0..1
    bool hasTraitGroups = false;
    int optEnvVarType = 0; // 1 same units, 2 different units, 3 qualitative, 4 binary, 5 several
    int temEnvQuant = 0;   // E holds quantitative variables
    int temEnvQual = 0;    // E holds nominal variables
    int temEnvBin = 0;     // E holds binary variables
    int SMWSize = 1;       // half the split-moving-window size
    int emptyReleves = 0;  // communities left without OTUs
    char dataName[320] = "";
    char envName[64] = "";
    char whichSpp[52] = "";
    char tempSession[64] = ""; // name of the session that data are taken from
    int dirtyOrig = 0;         // 1 after an analysis: memory differs from the files

    // Partitions, room for 10 of communities and 10 of OTUs from the start
    int nPart = 0, whichPart = 0;
    char** partLabel = nullptr;  // 10 names of at most 20 characters
    int* nGroupsP = nullptr;     // 10
    int** groupRelP = nullptr;   // 10 x ncsm, groups from 1
    char*** grLabelP = nullptr;  // 10 x ncsm labels of at most 4 characters
    int nGroups = 0;             // the current partition
    int* groupRel = nullptr;     // borrowed: a row of groupRelP
    char** grLabel = nullptr;    // borrowed: a table of grLabelP
    int nPartCst = 0, whichCstPart = 0;
    char** partCstLabel = nullptr;   // 10 names of at most 20 characters
    int* nGroupsCstP = nullptr;      // 10
    int** groupCstP = nullptr;       // 10 x tcst
    char*** grCstLabelP = nullptr;   // 10 x tcst labels of at most 4 characters
    int* whichLevelGrCstP = nullptr; // 10: hierarchical level of each
    int nCstGroups = 0;
    int* groupCst = nullptr;     // borrowed: a row of groupCstP
    char** grCstLabel = nullptr; // borrowed: a table of grCstLabelP
    int whichLevelGrCST = 1;

    // Settings of the analyses
    char optmain1 = 0, optmain = 0; // last answers of the session and analysis menus, upper case
    int isHierarchical = 0;
    int traitBasedOpt = 0;  // 1 composition of types, 2 trait averages
    int poolCSTopt = 0;     // 1 monothetic, 2 polythetic
    int clusMethPoolCSTs = 0; // 0: types are given by the user
    int reseCSTopt = 0;     // 1 Gower index, 2 Euclidean distance
    int part = 0;
    bool OTUsTypesAreSpecies = false;
    int fuzzy = 0;          // 0 crisp, 3 fuzzy belonging of OTUs to types
    double fuzziness = 0.0;
    bool optRndTests = false;
    int niter = 0;          // iterations, the observed arrangement included
    bool optWeightedNullModel = false;
    int optTaxaSiteShuffle = 't'; // 't' taxa, 's' site
    int optRestrictPermutNullModel = 0; // 1: within nesting groups
    int* nestingMembershipOTUs = nullptr; // tcst, while an analysis with nesting groups runs
    int seedOpt = 0;        // 1 clock, 2 user
    unsigned long rseed = 0;
    int opt_ro = 0;         // congruence: 1 Mantel, 2 Procrustes, 3 RV, 4 regression, 5 anova
    char whichObj = 'r';    // objects of the resemblance: 'r' communities, 'c' OTUs
    int rese_opt = 0;       // resemblance between communities, 1..10
    int reseCstOpt = 0;
    bool restrictRaoWithinOpt = false;
    bool keepAdditivity = true;
    bool optUnitTotalAdjust1 = true;  // W to unit totals for T
    bool optUnitTotalAdjust2 = false; // W to unit totals for all else
    int* partition_OTUs_Phyl = nullptr; // tcst: taxon of each OTU, while an analysis runs
    int fuzzyPhyl = 0;
    bool optCoVariable = false;
    int printDetail = 0;
    char prindaMode[2] = "w"; // "w" new report, "a" append
    int opt_struct = 0;       // ranking criterion; 9 in the functional analysis
    int rankingAlgorithm = 0; // 1 stepwise, 2 all trait combinations
    char printRankIntermedResults = 'n'; // 'y': a line of the report for each trait subset
    int nMinCSTGroupsChRank = 0, nMaxCSTGroupsChRank = 0;
    int nMinTraitsChRank = 0, nMaxTraitsChRank = 0;
    int nKeepTrack = 0;
    int rndTestOpt = 0;
    int saveStructChRank = 0;

    // Stored in the track file, of use to no analysis at present
    int hasEnvRese = 0, hasEnvScores = 0, hasEnvRank = 0, hasHier = 0, hasCstRese = 0, hasNRese = 0,
        hasPRese = 0, hasRo = 0, hasProbRo = 0, hasScores = 0, hasProbN = 0, hasReClus = 0,
        hasCstClus = 0, hasAOCScor = 0, hasVegOrdiCorrel = 0, hasEnvOrdiCorrel = 0,
        hasComplexity = 0, hasVelocity = 0, hasRoVelComplex = 0, hasRoVelComplexPROB = 0;
    int optEnvStruct = 0, reseTypeOrd = 0, reseTypeClus = 0, reseTypeEv = 0, reseTypeRnd = 0,
        reseTypeERank = 0, cohe = 0, groupDissMeth = 0, empir_opt = 0, keepRichness = 0,
        whichPartAOC = 0, whichPartCstAOC = 0, doDistrib = 0, adjacentRelOpt = 0, whichLevelCst = 0;

    // File names; "NULL" while not in use
    char whichFormda[80] = "NULL", whichTrack[80] = "NULL", whichPrinda[80] = "NULL",
         whichEnvPrinda[80] = "NULL", whichHier[80] = "NULL", whichRndData[80] = "NULL",
         whichStructures[80] = "NULL", whichChorder[96] = "NULL", whichEnvRese[80] = "NULL",
         whichEnvScores[80] = "NULL", whichEnvRank[80] = "NULL", whichCstRese[80] = "NULL",
         whichNRese[80] = "NULL", whichPRese[80] = "NULL", whichRo[80] = "NULL",
         whichProbRo[80] = "NULL", whichScores[80] = "NULL", whichProbN[80] = "NULL",
         whichReClus[80] = "NULL", whichCstClus[80] = "NULL", whichAOCScor[80] = "NULL",
         whichComplexity[80] = "NULL", whichVelocity[80] = "NULL", whichRoVelComplex[80] = "NULL";

    // Row counts as allocated: analyses may lower tcst, nch or ncsm in place
    int allocatedTraits = 0, allocatedCommunities = 0, allocatedOTUs = 0, allocatedVariables = 0,
        allocatedSpecies = 0;
};
extern Session session;

/// Partitions of each kind that a session has room for.
constexpr int nPartitionsMax = 10;
/// Storage of labels of traits, communities and variables; of groups; of partitions; of species.
constexpr int labelSize = 11, groupLabelSize = 5, partitionLabelSize = 21, speciesNameSize = 71;

// Suffixes of a session's files: session name + suffix.
extern const char* const formdaExt;
extern const char* const trackExt;
extern const char* const prindaExt;
extern const char* const hierExt;
extern const char* const rndDataExt;
extern const char* const structExt;

/// Writes sessionName + suffix into a file-name variable; the longest name and the longest suffix
/// have to fit into it.
template <std::size_t size>
void SessionFileName(char (&name)[size], const char* suffix)
{
    std::snprintf(name, size, "%s%s", console.sessionName, suffix);
}

/// The labels become the numbers from 1, cut to the storage of size characters.
void NumberLabels(int n, char** labels, int size);

/// 1 if E holds variables of a type, else 0.
int HasVariableOfType(int type);

/// Allocates, zero-filled, what depends on nch, ncsm and tcst alone: nchor, weight, rcst, nGrPoly,
/// weight_OTUs, the partition tables, relSelect, partition_OTUs, cstTrack; points the current
/// partitions at the first entries. eVarSelect is allocated when nenv is known.
void AllocateSettings();

/// Releases what AllocateSettings allocated, and eVarSelect.
void FreeSettings();

/// Back to "no results": file names "NULL", result flags 0, no partitions, level 1.
void FreeGlobals1();

/// Releases every array of the session with the row counts it was made with and forgets them; may
/// be called at any time, also twice.
void FreeGlobals2();
