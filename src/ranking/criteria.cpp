// SPDX-License-Identifier: GPL-3.0-or-later
#include "ranking/criteria.hpp"

#include "numeric/congruence.hpp"
#include "numeric/statistics.hpp"
#include "session/session.hpp"
#include "shell/preferences.hpp"

namespace {

bool IsMantel()
{
    return session.opt_ro == mantel;
}

/// Procrustes or RV coefficient of A and B; 0 under measures that rank nothing.
double Coefficient(int n, const Columns& A, const Columns& B, CongruenceRoom& room)
{
    switch (session.opt_ro) {
    case procrustes: return ProcrustesCoeff(n, A.number, B.number, A.rows, B.rows, room);
    case rvCoefficient: return RVcoeff(n, A.number, B.number, A.rows, B.rows, room);
    default: return 0.0;
    }
}

double Coefficient(SubsetMatrices& m, Part first, Part second)
{
    return Coefficient(m.all.n, m.Of(first), m.Of(second), m.room);
}

/// The same between the residuals of both on T and, if wanted, on the entropy.
double CoefficientWithout(SubsetMatrices& m, Part first, Part second, Without without)
{
    if (session.opt_ro != procrustes && session.opt_ro != rvCoefficient) return 0.0;
    const bool withRao = without == Without::TandRao;
    const ControlBlock control[2] = {{m.all.t, m.select, m.T()},
                                     {1, nullptr, withRao ? m.Rao() : nullptr}};
    const Columns A = m.Of(first);
    const Columns B = m.Of(second);
    return PartialMatrixCorrelation(m.all.n, A.number, B.number, A.rows, B.rows, session.opt_ro,
                                    preferences.overfitFactorPCARegr, withRao ? 2 : 1, control,
                                    m.room);
}

/// X and another structure without T. Deliberate: under Mantel the entropy is never taken out, and
/// the value of beta divergence is that of divergence; users' earlier rankings depend on it.
double MantelWithoutT(SubsetMatrices& m, Part other, double* withT, double* withX, double* XT)
{
    CongruenceOfThree(m.Resemblance(other), m.DT(), m.DX(), withT, withX, XT);
    return PartialCorrelation(*withX, *XT, *withT);
}

double Mantel(const Criterion& criterion, SubsetMatrices& m)
{
    Structure& first = m.Resemblance(criterion.first);
    Structure& second = m.Resemblance(criterion.second);
    const bool comparesVectors = criterion.second == Part::Rao || criterion.second == Part::Dark;
    return comparesVectors ? MantelCorr(first, second) : Congruence(first, second);
}

bool IsOfSubset(Part part)
{
    return part == Part::X || part == Part::wideX || part == Part::T;
}

// --- Statistics that rows show beside the value

void CompleteDivergence(SubsetMatrices& m, SubsetStatistics& r)
{
    if (IsMantel())
        r.value = MantelWithoutT(m, Part::E, &r.TE, &r.XE, &r.XT);
    else
        r.TE = Congruence(m.all.DE, m.DT()); // by Mantel under every measure
}

void CompleteAlphaBeta(const Criterion& criterion, SubsetMatrices& m, SubsetStatistics& r)
{
    r.TE = IsMantel() ? Congruence(m.all.DE, m.DT()) : Coefficient(m, Part::T, Part::E);
    if (!ComparesX(criterion)) return;
    r.XE = Congruence(m.all.DE, m.DX());
    r.XT = Congruence(m.DT(), m.DX());
}

void CompletePhylogeny(SubsetMatrices& m, SubsetStatistics& r)
{
    if (IsMantel()) {
        r.PX_T = MantelWithoutT(m, Part::P, &r.PT, &r.PX, &r.XT);
        return;
    }
    r.PT = Coefficient(m, Part::T, Part::P);
    r.PX = Coefficient(m, Part::X, Part::P);
    r.XT = Coefficient(m, Part::X, Part::T);
    r.PX_T = CoefficientWithout(m, Part::P, Part::X, Without::T);
}

/// Mantel correlations under every measure.
void CompleteNiche(SubsetMatrices& m, SubsetStatistics& r)
{
    r.PT = Congruence(m.all.DP, m.DT());
    r.TE = Congruence(m.all.DE, m.DT());
    r.PX = Congruence(m.all.DP, m.DX());
    r.XE = Congruence(m.all.DE, m.DX());
    r.XT = Congruence(m.DT(), m.DX());
    r.XE_T = PartialCorrelation(r.XE, r.XT, r.TE);
    r.TE_P = PartialCorrelation(r.TE, r.PT, r.PE);
    r.PX_T = PartialCorrelation(r.PX, r.PT, r.XT);
    r.PE_T = PartialCorrelation(r.PE, r.PT, r.TE);
    r.XE_PT = PartialCorrelation(r.XE_T, r.PX_T, r.PE_T);
    r.XE_P = PartialCorrelation(r.XE, r.PX, r.PE);
    r.betaNiche = r.TE * r.PT;
    r.alphaBetaNiche = r.PX * r.XE;
    r.alphaNiche = r.XE_T * r.PX_T;
}

// --- The table

const double lowest = -1.7976931348623157e308;
const RankingOrder signedValue = {false, RankVector};
const RankingOrder signedByMagnitude = {false, RankVectorAbs};
const RankingOrder magnitude = {true, RankVectorAbs};

RankingNeeds ForEnvironment()
{
    return RankingNeeds();
}

RankingNeeds ForAverages()
{
    RankingNeeds needs;
    needs.types = false;
    needs.holesInT = true;
    return needs;
}

RankingNeeds ForSmoothing(int mode)
{
    RankingNeeds needs;
    needs.smoothing = mode;
    return needs;
}

RankingNeeds ForPhylogeny()
{
    RankingNeeds needs;
    needs.environment = false;
    needs.phylogeny = true;
    return needs;
}

RankingNeeds ForNiche()
{
    RankingNeeds needs;
    needs.phylogeny = true;
    needs.holesInE = false;
    needs.resemblance = true;
    return needs;
}

const int byOdds = 2, byAbundance = 1; // modes of the smoothing

// clang-format off
const Criterion criteria[] = {
    {convergenceAndDivergence, Family::both, "ChRank_TDAP_TCAP.txt", lowest, signedValue, false, ForEnvironment(), Part::E, Part::X, Without::nothing, {}},
    {divergence, Family::divergence, "ChRank_TDAP.txt", 0.0, magnitude, true, ForEnvironment(), Part::wideX, Part::E, Without::T,
     {"\n\nTrait subsets with maximum partial Mantel correlation ro(XE.T):\nTRC\toptimal subset of traits\n",
      "\n\nTrait subsets with maximum partial congruence in a symmetric Procrustes rotation r(XE.T):\nTRC\toptimal subset of traits\n",
      "\n\nTrait subsets with maximum partial congruence in RV r(XE.T):\nTRC\toptimal subset of traits\n"}},
    {convergence, Family::convergence, "ChRank_TCAP.txt", lowest, signedValue, false, ForAverages(), Part::E, Part::T, Without::nothing, {}},
    {phylogenyAndX, Family::phylogeny, "ChRank_PSAP_X.txt", lowest, signedValue, false, ForPhylogeny(), Part::X, Part::P, Without::nothing, {}},
    {phylogenyAndXWithoutT, Family::phylogeny, "ChRank_PSAP_X_T.txt", 0.0, magnitude, true, ForPhylogeny(), Part::P, Part::X, Without::T, {}},
    {phylogenyAndT, Family::phylogeny, "ChRank_PSAP_T.txt", lowest, signedValue, false, ForPhylogeny(), Part::T, Part::P, Without::nothing, {}},
    {betaNicheConservation, Family::niche, "ChRank_BetaNicheConserv.txt", lowest, signedByMagnitude, false, ForNiche(), Part::T, Part::E, Without::nothing, {}},
    {alphaBetaNicheConservation, Family::niche, "ChRank_AlphaBetaNicheConserv.txt", lowest, signedByMagnitude, false, ForNiche(), Part::X, Part::E, Without::nothing, {}},
    {alphaDivergence, Family::alphaBeta, "ChRank_AlphaDivergence.txt", lowest, signedByMagnitude, false, ForEnvironment(), Part::E, Part::Rao, Without::nothing,
     {"\n\nTrait subsets with maximum Mantel correlation ro(RE):\nTRC\toptimal subset of traits\n",
      "\n\nTrait subsets with maximum congruence in a symmetric Procrustes rotation ro(RE):\nTRC\toptimal subset of traits\n",
      "\n\nTrait subsets with maximum congruence measured by the RV coefficient r(RE):\nTRC\toptimal subset of traits\n"}},
    {betaDivergence, Family::alphaBeta, "ChRank_BetaDivergence.txt", 0.0, magnitude, true, ForEnvironment(), Part::X, Part::E, Without::TandRao,
     {"\n\nTrait subsets with maximum partial Mantel correlation ro(XE.TR):\nTRC\toptimal subset of traits\n",
      "\n\nTrait subsets with maximum partial congruence in a partial Procrustes correlation ro(XE.TR):\nTRC\toptimal subset of traits\n",
      "\n\nTrait subsets with maximum partial congruence measured by a partial RV coefficient r(XE.TR):\nTRC\toptimal subset of traits\n"}},
    {oddsAndX, Family::alphaBeta, "ChRank_roXZ.txt", lowest, signedByMagnitude, false, ForSmoothing(byOdds), Part::X, Part::Z, Without::nothing,
     {"\n\nTrait subsets with maximum Mantel correlation ro(XZ):\nTRC\toptimal subset of traits\n",
      "\n\nTrait subsets with maximum congruence in a symmetric Procrustes rotation ro(XZ):\nTRC\toptimal subset of traits\n",
      "\n\nTrait subsets with maximum congruence measured by the RV coefficient r(XZ):\nTRC\toptimal subset of traits\n"}},
    {oddsAndT, Family::alphaBeta, "ChRank_roTZ.txt", lowest, signedByMagnitude, false, ForSmoothing(byOdds), Part::T, Part::Z, Without::nothing,
     {"\n\nTrait subsets with maximum Mantel correlation ro(TZ):\nTRC\toptimal subset of traits\n",
      "\n\nTrait subsets with maximum congruence in a symmetric Procrustes rotation ro(TZ):\nTRC\toptimal subset of traits\n",
      "\n\nTrait subsets with maximum congruence measured by the RV coefficient r(TZ):\nTRC\toptimal subset of traits\n"}},
    {oddsAndXWithoutT, Family::alphaBeta, "ChRank_roXZ_T.txt", 0.0, magnitude, true, ForSmoothing(byOdds), Part::X, Part::Z, Without::T,
     {"\n\nTrait subsets with maximum partial Mantel correlation ro(XZ.T):\nTRC\toptimal subset of traits\n",
      "\n\nTrait subsets with maximum congruence in a partial Procrustes correlation ro(XZ.T):\nTRC\toptimal subset of traits\n",
      "\n\nTrait subsets with maximum partial congruence measured by a partial RV coefficient r(XZ.T):\nTRC\toptimal subset of traits\n"}},
    {smoothedAndX, Family::alphaBeta, "ChRank_roXY.txt", lowest, signedByMagnitude, false, ForSmoothing(byAbundance), Part::X, Part::Z, Without::nothing,
     {"\n\nTrait subsets with maximum Mantel correlation ro(XY):\nTRC\toptimal subset of traits\n",
      "\n\nTrait subsets with maximum congruence in a symmetric Procrustes rotation ro(XY):\nTRC\toptimal subset of traits\n",
      "\n\nTrait subsets with maximum congruence measured by the RV coefficient r(XY):\nTRC\toptimal subset of traits\n"}},
    {smoothedAndT, Family::alphaBeta, "ChRank_roTY.txt", lowest, signedByMagnitude, false, ForSmoothing(byAbundance), Part::T, Part::Z, Without::nothing,
     {"\n\nTrait subsets with maximum Mantel correlation ro(TY):\nTRC\toptimal subset of traits\n",
      "\n\nTrait subsets with maximum congruence in a symmetric Procrustes rotation ro(TY):\nTRC\toptimal subset of traits\n",
      "\n\nTrait subsets with maximum congruence measured by the RV coefficient r(TY):\nTRC\toptimal subset of traits\n"}},
    {smoothedAndXWithoutT, Family::alphaBeta, "ChRank_roXY_T.txt", 0.0, magnitude, true, ForSmoothing(byAbundance), Part::X, Part::Z, Without::T,
     {"\n\nTrait subsets with maximum partial Mantel correlation ro(XY.T):\nTRC\toptimal subset of traits\n",
      "\n\nTrait subsets with maximum congruence in a partial Procrustes correlation ro(XY.T):\nTRC\toptimal subset of traits\n",
      "\n\nTrait subsets with maximum partial congruence measured by a partial RV coefficient r(XY.T):\nTRC\toptimal subset of traits\n"}},
    {darkDiversity, Family::alphaBeta, "ChRank_DarkDiversity.txt", lowest, signedByMagnitude, false, ForEnvironment(), Part::E, Part::Dark, Without::nothing,
     {"\n\nTrait subsets with maximum Mantel correlation ro(SE):\nTRC\toptimal subset of traits\n",
      "\n\nTrait subsets with maximum congruence in a symmetric Procrustes rotation ro(SE):\nTRC\toptimal subset of traits\n",
      "\n\nTrait subsets with maximum congruence measured by the RV coefficient r(SE):\nTRC\toptimal subset of traits\n"}},
};
// clang-format on

} // namespace

const Criterion* FindCriterion(int number)
{
    for (const Criterion& criterion : criteria)
        if (criterion.number == number) return &criterion;
    return nullptr;
}

bool ComparesX(const Criterion& criterion)
{
    if (criterion.family == Family::niche || criterion.family == Family::phylogeny) return true;
    const bool comparesVectors = criterion.second == Part::Rao || criterion.second == Part::Dark;
    return IsMantel() && !comparesVectors;
}

SubsetStatistics SharedStatistics(const Criterion& criterion, SharedMatrices& all)
{
    SubsetStatistics r;
    if (criterion.family == Family::niche) r.PE = Congruence(all.DP, all.DE);
    return r;
}

void ReserveRoom(const Criterion& criterion, SubsetMatrices& m)
{
    if (IsMantel() || criterion.family == Family::niche) return;
    const int p1 = m.WidthOf(criterion.first), p2 = m.WidthOf(criterion.second);
    m.room.Reserve(session.opt_ro, m.all.n, p1, p2);
    if (criterion.without == Without::nothing) return;
    const int withRao = criterion.without == Without::TandRao ? 1 : 0;
    for (int k = session.nMinTraitsChRank; k <= session.nMaxTraitsChRank; k++)
        m.room.ReservePartial(session.opt_ro, m.all.n, p1, p2, k + withRao);
}

double ValueOf(const Criterion& criterion, SubsetMatrices& m)
{
    const Part first = criterion.first;
    const Part second = criterion.second;
    if (criterion.family == Family::niche)
        return Congruence(m.all.DP, m.Resemblance(first)) *
               Congruence(m.all.DE, m.Resemblance(first));
    if (criterion.without == Without::nothing)
        return IsMantel() ? Mantel(criterion, m) : Coefficient(m, first, second);
    if (!IsMantel()) return CoefficientWithout(m, first, second, criterion.without);
    double withT = 0.0, withX = 0.0, XT = 0.0;
    return MantelWithoutT(m, IsOfSubset(first) ? second : first, &withT, &withX, &XT);
}

void Complete(const Criterion& criterion, SubsetMatrices& m, SubsetStatistics& r)
{
    r.value = ValueOf(criterion, m);
    switch (criterion.family) {
    case Family::both:
    case Family::convergence: break;
    case Family::divergence: CompleteDivergence(m, r); break;
    case Family::alphaBeta: CompleteAlphaBeta(criterion, m, r); break;
    case Family::phylogeny: CompletePhylogeny(m, r); break;
    case Family::niche: CompleteNiche(m, r); break;
    }
}
