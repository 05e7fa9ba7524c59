// SPDX-License-Identifier: GPL-3.0-or-later
#include "functional/analysis.hpp"

#include <cstdio>

#include "functional/scaling.hpp"
#include "functional/settings.hpp"
#include "session/session.hpp"
#include "session/track.hpp"
#include "shell/arrays.hpp"
#include "shell/console.hpp"

namespace {

void NameResultFiles()
{
    SessionFileName(session.whichPrinda, prindaExt);
    SessionFileName(session.whichHier, hierExt);
}

void ForgetOlderResults()
{
    Session& s = session;
    s.hasHier = 1;
    s.hasCstRese = s.hasCstClus = s.hasNRese = s.hasPRese = s.hasScores = s.hasReClus = 0;
    s.hasAOCScor = s.hasProbN = s.hasProbRo = s.hasRo = 0;
    s.hasComplexity = s.hasVelocity = s.hasRoVelComplex = s.hasRoVelComplexPROB = 0;
    s.nCstGroups = 0;
    s.whichLevelGrCST = 1;
}

/// Items of the track file that belong to resemblances of other analyses.
void ResetResemblanceTypes()
{
    Session& s = session;
    s.cohe = 0;
    s.reseTypeOrd = s.reseTypeClus = s.reseTypeEv = s.reseTypeRnd = s.reseTypeERank = 1;
    s.reseCstOpt = 0;
}

/// What the dialogue allocated for this analysis alone.
void ReleaseSettings()
{
    if (session.optRestrictPermutNullModel == 1) {
        free1D(session.nestingMembershipOTUs);
        session.nestingMembershipOTUs = nullptr;
    }
    if (session.includePhylogeny) {
        free1D(session.partition_OTUs_Phyl);
        session.partition_OTUs_Phyl = nullptr;
    }
}

void RecordAnalysis()
{
    session.dirtyOrig = 1;
    WriteTrack(1);
    ClearLine();
    std::fprintf(console.out, "\n\nResults on file %s%s\n", console.volumeName,
                 session.whichPrinda);
    if (!console.runMacro) Wait();
}

} // namespace

void IFHierarchicalAccum()
{
    NameResultFiles();
    ForgetOlderResults();
    SettingsHierarchy();
    ResetResemblanceTypes();
    PFTs_ScalingUp();
    for (int level = 0; level < session.nch; level++) session.rcst[level] = session.nGrPoly[level];
    ReleaseSettings();
    RecordAnalysis();
}
