// SPDX-License-Identifier: GPL-3.0-or-later
#include "ranking/ranking.hpp"

#include <cstdio>

#include "ranking/criteria.hpp"
#include "ranking/search.hpp"
#include "ranking/settings.hpp"
#include "session/session.hpp"
#include "shell/arrays.hpp"
#include "shell/console.hpp"

void IFChOrderSearch()
{
    SettingsChRank();
    const Criterion* const criterion = FindCriterion(session.opt_struct);
    if (criterion == nullptr) return;
    SessionFileName(session.whichChorder, criterion->suffix);
    RankTraitSubsets(*criterion);
    free1D(session.partition_OTUs_Phyl);
    session.partition_OTUs_Phyl = nullptr;
    session.dirtyOrig = 1;
    ClearLine();
    std::fprintf(console.out, "\n\nResults on file %s%s\n", console.volumeName,
                 session.whichChorder);
    if (!console.runMacro) Wait();
}
