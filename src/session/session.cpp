// SPDX-License-Identifier: GPL-3.0-or-later
#include "session/session.hpp"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "shell/arrays.hpp"
#include "shell/console.hpp"

Session session;

const char* const formdaExt = "Formda.txt";
const char* const trackExt = "Trk.txt";
const char* const prindaExt = "Prinda.txt";
const char* const hierExt = "Hie.txt";
const char* const rndDataExt = "RDa.txt";
const char* const structExt = "Str.txt";

namespace {

void Release(int*& vector)
{
    free1D(vector);
    vector = nullptr;
}

void Release(double*& vector)
{
    free1D(vector);
    vector = nullptr;
}

template <typename T>
void Release(T**& table, int rows)
{
    free2D(table, rows);
    table = nullptr;
}

template <typename T>
void Release(T***& tables, int rows)
{
    free3D(tables, nPartitionsMax, rows);
    tables = nullptr;
}

} // namespace

void NumberLabels(int n, char** labels, int size)
{
    for (int i = 0; i < n; i++)
        std::snprintf(labels[i], static_cast<std::size_t>(size), "%d", i + 1);
}

int HasVariableOfType(int type)
{
    const int* types = session.envVarType;
    return std::find(types, types + session.nenv, type) != types + session.nenv ? 1 : 0;
}

void AllocateSettings()
{
    Session& s = session;
    s.allocatedTraits = s.nch;
    s.allocatedCommunities = s.ncsm;
    s.allocatedOTUs = s.tcst;
    s.nchor = dim1Dint(s.nch);
    s.weight = dim1Double(s.nch);
    s.rcst = dim1Dint(s.nch);
    s.nGrPoly = dim1Dint(s.nch);
    s.weight_OTUs = dim1Dint(s.tcst);
    s.nGroupsP = dim1Dint(nPartitionsMax);
    s.groupRelP = dim2Dint(nPartitionsMax, s.ncsm);
    s.grLabelP = dim3Dchar(nPartitionsMax, s.ncsm, groupLabelSize);
    s.partLabel = dim2Dchar(nPartitionsMax, partitionLabelSize);
    s.nGroupsCstP = dim1Dint(nPartitionsMax);
    s.whichLevelGrCstP = dim1Dint(nPartitionsMax);
    s.groupCstP = dim2Dint(nPartitionsMax, s.tcst);
    s.grCstLabelP = dim3Dchar(nPartitionsMax, s.tcst, groupLabelSize);
    s.partCstLabel = dim2Dchar(nPartitionsMax, partitionLabelSize);
    s.groupRel = s.groupRelP[0];
    s.grLabel = s.grLabelP[0];
    s.groupCst = s.groupCstP[0];
    s.grCstLabel = s.grCstLabelP[0];
    s.relSelect = dim1Dint(s.ncsm);
    s.partition_OTUs = dim1Dint(s.tcst);
    s.cstTrack = dim2Dint(s.nch, s.tcst);
}

void FreeGlobals1()
{
    Session& s = session;
    std::strcpy(s.whichPrinda, "NULL");
    std::strcpy(s.whichEnvPrinda, "NULL");
    s.hasHier = s.hasCstRese = s.hasCstClus = s.hasNRese = s.hasPRese = s.hasProbN = s.hasRo = 0;
    s.hasProbRo = s.hasEnvRese = s.hasScores = s.hasReClus = s.hasAOCScor = s.hasEnvScores = 0;
    s.hasEnvRank = s.hasComplexity = s.hasVelocity = s.hasRoVelComplex = 0;
    s.hasRoVelComplexPROB = 0;
    s.nPart = s.nGroups = s.nPartCst = s.nCstGroups = 0;
    s.whichLevelGrCST = 1;
}

void FreeSettings()
{
    Session& s = session;
    Release(s.grLabelP, s.allocatedCommunities);
    Release(s.grCstLabelP, s.allocatedOTUs);
    Release(s.nchor);
    Release(s.weight);
    Release(s.weight_OTUs);
    Release(s.rcst);
    Release(s.nGrPoly);
    Release(s.relSelect);
    Release(s.eVarSelect);
    Release(s.nGroupsP);
    Release(s.groupRelP, nPartitionsMax);
    Release(s.partLabel, nPartitionsMax);
    Release(s.nGroupsCstP);
    Release(s.whichLevelGrCstP);
    Release(s.groupCstP, nPartitionsMax);
    Release(s.partCstLabel, nPartitionsMax);
    Release(s.partition_OTUs);
    Release(s.cstTrack, s.allocatedTraits);
    s.groupRel = s.groupCst = nullptr;
    s.grLabel = s.grCstLabel = nullptr;
}

void FreeGlobals2()
{
    Session& s = session;
    FreeSettings();
    Release(s.chLabel, s.allocatedTraits);
    Release(s.reLabel, s.allocatedCommunities);
    Release(s.chtype);
    Release(s.traitGroups);
    Release(s.chrange);
    Release(s.onsta);
    Release(s.ncst);
    Release(s.cadat, s.allocatedOTUs);
    Release(s.csm_Float, s.allocatedOTUs);
    Release(s.env, s.allocatedCommunities);
    Release(s.envLabel, s.allocatedVariables);
    Release(s.envVarType);
    Release(s.spp, s.allocatedSpecies);
    Release(s.sppRelMap, s.allocatedSpecies);
    Release(s.cstSppMap, s.allocatedOTUs);
    Release(s.phylogenyRese, s.allocatedOTUs);
    Release(s.phylogenyData, s.allocatedOTUs);
    Release(s.phylogenyVarType);
    Release(s.nestingMembershipOTUs);
    Release(s.partition_OTUs_Phyl);
    s.allocatedTraits = s.allocatedCommunities = s.allocatedOTUs = 0;
    s.allocatedVariables = s.allocatedSpecies = 0;
}
