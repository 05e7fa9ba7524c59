#include "ranking/ranking.hpp"

#include <cstdio>

#include "ranking/criteria.hpp"
#include "ranking/search.hpp"
#include "ranking/settings.hpp"
#include "session/session.hpp"
#include "shell/arrays.hpp"
#include "shell/console.hpp"

namespace {

const int alphaBetaCriteria[9] = {16, 17, 24, 18, 19, 20, 21, 22, 23};

void RankBy(int number)
{
    const Criterion* const criterion = FindCriterion(number);
    if (criterion != nullptr) RankTraitSubsets(*criterion);
}

void RunDriver(const Criterion& criterion)
{
    switch (criterion.family) {
    case Family::both: ChRankTDAP_TCAP(); break;
    case Family::convergence: ChRankTCAP(); break;
    case Family::divergence: ChRankTDAP(); break;
    case Family::alphaBeta:
        for (int argument = 1; argument <= 9; argument++)
            if (alphaBetaCriteria[argument - 1] == criterion.number)
                ChRankAlphaBetaDivergence(argument);
        break;
    case Family::phylogeny: ChRankPhylogenyAssembly(); break;
    case Family::niche: ChRank_Phylogeny_x_Trait_Assembly(); break;
    }
}

} // namespace

void IFChOrderSearch()
{
    SettingsChRank();
    const Criterion* const criterion = FindCriterion(session.opt_struct);
    if (criterion == nullptr) return;
    SessionFileName(session.whichChorder, criterion->suffix);
    RunDriver(*criterion);
    free1D(session.partition_OTUs_Phyl);
    session.partition_OTUs_Phyl = nullptr;
    session.dirtyOrig = 1;
    ClearLine();
    std::fprintf(console.out, "\n\nResults on file %s%s\n", console.volumeName,
                 session.whichChorder);
    if (!console.runMacro) Wait();
}

void ChRankTDAP_TCAP()
{
    RankBy(1);
}

void ChRankTCAP()
{
    RankBy(10);
}

void ChRankTDAP()
{
    RankBy(9);
}

void ChRankAlphaBetaDivergence(int criterion)
{
    RankBy(alphaBetaCriteria[criterion - 1]);
}

void ChRankPhylogenyAssembly()
{
    RankBy(session.opt_struct);
}

void ChRank_Phylogeny_x_Trait_Assembly()
{
    RankBy(session.opt_struct);
}
