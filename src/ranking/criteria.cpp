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

/// Procrustes or RV coefficient of A (n x p1) and B (n x p2); 0 under measures that rank nothing.
double Coefficient(int n, int p1, int p2, double** A, double** B)
{
    switch (session.opt_ro) {
    case procrustes: return ProcrustesCoeff(n, p1, p2, A, B);
    case rvCoefficient: return RVcoeff(n, p1, p2, A, B);
    default: return 0.0;
    }
}

/// The same between the residuals of A and B on T and, with `other`, on one variable more.
double CoefficientWithoutT(RankingMatrices& m, int p1, int p2, double** A, double** B,
                           double** other = nullptr)
{
    if (session.opt_ro != procrustes && session.opt_ro != rvCoefficient) return 0.0;
    const ControlBlock control[2] = {{m.t, m.select, m.T()}, {1, nullptr, other}};
    return PartialMatrixCorrelation(m.n, p1, p2, A, B, session.opt_ro,
                                    preferences.overfitFactorPCARegr, other == nullptr ? 1 : 2,
                                    control);
}

// --- Convergence and divergence along E

double ConvergenceAndDivergence(RankingMatrices& m, SubsetStatistics&)
{
    if (IsMantel()) return Congruence(m.DE, m.DX());
    return Coefficient(m.n, m.e, m.g, m.E, m.X());
}

double Convergence(RankingMatrices& m, SubsetStatistics&)
{
    if (IsMantel()) return Congruence(m.DE, m.DT());
    return Coefficient(m.n, m.e, m.t, m.E, m.T());
}

double MantelDivergence(RankingMatrices& m, SubsetStatistics& r)
{
    CongruenceOfThree(m.DE, m.DT(), m.DX(), &r.TE, &r.XE, &r.XT);
    return PartialCorrelation(r.XE, r.XT, r.TE);
}

double Divergence(RankingMatrices& m, SubsetStatistics& r)
{
    if (IsMantel()) return MantelDivergence(m, r);
    // Deliberate: X goes in with as many columns as there are OTUs, those behind the types being 0.
    return CoefficientWithoutT(m, m.s, m.e, m.X(), m.E);
}

double AlphaDivergence(RankingMatrices& m, SubsetStatistics&)
{
    if (IsMantel()) return MantelCorr(m.DE, m.DR());
    return Coefficient(m.n, m.e, 1, m.E, m.Rao());
}

double BetaDivergenceOfSubset(RankingMatrices& m, SubsetStatistics& r)
{
    // Deliberate: under Mantel the entropy is not partialled out, and the value is that of the
    // criterion of divergence; users' earlier rankings depend on it.
    if (IsMantel()) return MantelDivergence(m, r);
    return CoefficientWithoutT(m, m.g, m.e, m.X(), m.E, m.Rao());
}

double DarkDiversity(RankingMatrices& m, SubsetStatistics&)
{
    if (IsMantel()) return MantelCorr(m.DE, m.DS());
    return Coefficient(m.n, m.e, 1, m.E, m.Dark());
}

// --- Agreement with the smoothed composition

double SmoothedX(RankingMatrices& m, SubsetStatistics&)
{
    if (IsMantel()) return Congruence(m.DZ, m.DX());
    return Coefficient(m.n, m.g, m.s, m.X(), m.Z);
}

double SmoothedT(RankingMatrices& m, SubsetStatistics&)
{
    if (IsMantel()) return Congruence(m.DZ, m.DT());
    return Coefficient(m.n, m.t, m.s, m.T(), m.Z);
}

double SmoothedXWithoutT(RankingMatrices& m, SubsetStatistics& r)
{
    if (!IsMantel()) return CoefficientWithoutT(m, m.g, m.s, m.X(), m.Z);
    CongruenceOfThree(m.DZ, m.DT(), m.DX(), &r.TZ, &r.XZ, &r.XT);
    return PartialCorrelation(r.XZ, r.XT, r.TZ);
}

// --- Phylogenetic structure

double PhylogenyAndX(RankingMatrices& m, SubsetStatistics& r)
{
    r.PX = IsMantel() ? Congruence(m.DP, m.DX()) : Coefficient(m.n, m.g, m.f, m.X(), m.P);
    return r.PX;
}

double PhylogenyAndT(RankingMatrices& m, SubsetStatistics& r)
{
    r.PT = IsMantel() ? Congruence(m.DP, m.DT()) : Coefficient(m.n, m.t, m.f, m.T(), m.P);
    return r.PT;
}

double PhylogenyAndXWithoutT(RankingMatrices& m, SubsetStatistics& r)
{
    if (!IsMantel()) {
        r.PX_T = CoefficientWithoutT(m, m.f, m.g, m.P, m.X());
        return r.PX_T;
    }
    CongruenceOfThree(m.DP, m.DT(), m.DX(), &r.PT, &r.PX, &r.XT);
    r.PX_T = PartialCorrelation(r.PX, r.XT, r.PT);
    return r.PX_T;
}

// Mantel correlations under every measure.

double BetaNiche(RankingMatrices& m, SubsetStatistics& r)
{
    r.PT = Congruence(m.DP, m.DT());
    r.TE = Congruence(m.DE, m.DT());
    r.betaNiche = r.TE * r.PT;
    return r.betaNiche;
}

double AlphaBetaNiche(RankingMatrices& m, SubsetStatistics& r)
{
    r.PX = Congruence(m.DP, m.DX());
    r.XE = Congruence(m.DE, m.DX());
    r.alphaBetaNiche = r.PX * r.XE;
    return r.alphaBetaNiche;
}

// --- Statistics that rows show beside the value

void CompleteAlphaBeta(int number, RankingMatrices& m, SubsetStatistics& r)
{
    const bool comparesX = number != 16 && number != 24;
    if (IsMantel()) {
        r.TE = Congruence(m.DE, m.DT());
        if (!comparesX) return;
        r.XE = Congruence(m.DE, m.DX());
        r.XT = Congruence(m.DT(), m.DX());
    } else {
        r.TE = Coefficient(m.n, m.t, m.e, m.T(), m.E);
    }
}

void CompletePhylogeny(RankingMatrices& m, SubsetStatistics& r)
{
    PhylogenyAndT(m, r);
    PhylogenyAndX(m, r);
    PhylogenyAndXWithoutT(m, r);
    if (!IsMantel()) r.XT = Coefficient(m.n, m.g, m.t, m.X(), m.T());
}

void CompleteNiche(RankingMatrices& m, SubsetStatistics& r)
{
    BetaNiche(m, r);
    AlphaBetaNiche(m, r);
    r.XT = Congruence(m.DT(), m.DX());
    r.XE_T = PartialCorrelation(r.XE, r.XT, r.TE);
    r.TE_P = PartialCorrelation(r.TE, r.PT, r.PE);
    r.PX_T = PartialCorrelation(r.PX, r.PT, r.XT);
    r.PE_T = PartialCorrelation(r.PE, r.PT, r.TE);
    r.XE_PT = PartialCorrelation(r.XE_T, r.PX_T, r.PE_T);
    r.XE_P = PartialCorrelation(r.XE, r.PX, r.PE);
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
    return needs;
}

const int byOdds = 2, byAbundance = 1; // modes of the smoothing

// clang-format off
const Criterion criteria[] = {
    {1, Family::both, "ChRank_TDAP_TCAP.txt", lowest, signedValue, false, ForEnvironment(), ConvergenceAndDivergence, {}},
    {9, Family::divergence, "ChRank_TDAP.txt", 0.0, magnitude, true, ForEnvironment(), Divergence,
     {"\n\nTrait subsets with maximum partial Mantel correlation ro(XE.T):\nTRC\toptimal subset of traits\n",
      "\n\nTrait subsets with maximum partial congruence in a symmetric Procrustes rotation r(XE.T):\nTRC\toptimal subset of traits\n",
      "\n\nTrait subsets with maximum partial congruence in RV r(XE.T):\nTRC\toptimal subset of traits\n"}},
    {10, Family::convergence, "ChRank_TCAP.txt", lowest, signedValue, false, ForAverages(), Convergence, {}},
    {11, Family::phylogeny, "ChRank_PSAP_X.txt", lowest, signedValue, false, ForPhylogeny(), PhylogenyAndX, {}},
    {12, Family::phylogeny, "ChRank_PSAP_X_T.txt", 0.0, magnitude, true, ForPhylogeny(), PhylogenyAndXWithoutT, {}},
    {13, Family::phylogeny, "ChRank_PSAP_T.txt", lowest, signedValue, false, ForPhylogeny(), PhylogenyAndT, {}},
    {14, Family::niche, "ChRank_BetaNicheConserv.txt", lowest, signedByMagnitude, false, ForNiche(), BetaNiche, {}},
    {15, Family::niche, "ChRank_AlphaBetaNicheConserv.txt", lowest, signedByMagnitude, false, ForNiche(), AlphaBetaNiche, {}},
    {16, Family::alphaBeta, "ChRank_AlphaDivergence.txt", lowest, signedByMagnitude, false, ForEnvironment(), AlphaDivergence,
     {"\n\nTrait subsets with maximum Mantel correlation ro(RE):\nTRC\toptimal subset of traits\n",
      "\n\nTrait subsets with maximum congruence in a symmetric Procrustes rotation ro(RE):\nTRC\toptimal subset of traits\n",
      "\n\nTrait subsets with maximum congruence measured by the RV coefficient r(RE):\nTRC\toptimal subset of traits\n"}},
    {17, Family::alphaBeta, "ChRank_BetaDivergence.txt", 0.0, magnitude, true, ForEnvironment(), BetaDivergenceOfSubset,
     {"\n\nTrait subsets with maximum partial Mantel correlation ro(XE.TR):\nTRC\toptimal subset of traits\n",
      "\n\nTrait subsets with maximum partial congruence in a partial Procrustes correlation ro(XE.TR):\nTRC\toptimal subset of traits\n",
      "\n\nTrait subsets with maximum partial congruence measured by a partial RV coefficient r(XE.TR):\nTRC\toptimal subset of traits\n"}},
    {18, Family::alphaBeta, "ChRank_roXZ.txt", lowest, signedByMagnitude, false, ForSmoothing(byOdds), SmoothedX,
     {"\n\nTrait subsets with maximum Mantel correlation ro(XZ):\nTRC\toptimal subset of traits\n",
      "\n\nTrait subsets with maximum congruence in a symmetric Procrustes rotation ro(XZ):\nTRC\toptimal subset of traits\n",
      "\n\nTrait subsets with maximum congruence measured by the RV coefficient r(XZ):\nTRC\toptimal subset of traits\n"}},
    {19, Family::alphaBeta, "ChRank_roTZ.txt", lowest, signedByMagnitude, false, ForSmoothing(byOdds), SmoothedT,
     {"\n\nTrait subsets with maximum Mantel correlation ro(TZ):\nTRC\toptimal subset of traits\n",
      "\n\nTrait subsets with maximum congruence in a symmetric Procrustes rotation ro(TZ):\nTRC\toptimal subset of traits\n",
      "\n\nTrait subsets with maximum congruence measured by the RV coefficient r(TZ):\nTRC\toptimal subset of traits\n"}},
    {20, Family::alphaBeta, "ChRank_roXZ_T.txt", 0.0, magnitude, true, ForSmoothing(byOdds), SmoothedXWithoutT,
     {"\n\nTrait subsets with maximum partial Mantel correlation ro(XZ.T):\nTRC\toptimal subset of traits\n",
      "\n\nTrait subsets with maximum congruence in a partial Procrustes correlation ro(XZ.T):\nTRC\toptimal subset of traits\n",
      "\n\nTrait subsets with maximum partial congruence measured by a partial RV coefficient r(XZ.T):\nTRC\toptimal subset of traits\n"}},
    {21, Family::alphaBeta, "ChRank_roXY.txt", lowest, signedByMagnitude, false, ForSmoothing(byAbundance), SmoothedX,
     {"\n\nTrait subsets with maximum Mantel correlation ro(XY):\nTRC\toptimal subset of traits\n",
      "\n\nTrait subsets with maximum congruence in a symmetric Procrustes rotation ro(XY):\nTRC\toptimal subset of traits\n",
      "\n\nTrait subsets with maximum congruence measured by the RV coefficient r(XY):\nTRC\toptimal subset of traits\n"}},
    {22, Family::alphaBeta, "ChRank_roTY.txt", lowest, signedByMagnitude, false, ForSmoothing(byAbundance), SmoothedT,
     {"\n\nTrait subsets with maximum Mantel correlation ro(TY):\nTRC\toptimal subset of traits\n",
      "\n\nTrait subsets with maximum congruence in a symmetric Procrustes rotation ro(TY):\nTRC\toptimal subset of traits\n",
      "\n\nTrait subsets with maximum congruence measured by the RV coefficient r(TY):\nTRC\toptimal subset of traits\n"}},
    {23, Family::alphaBeta, "ChRank_roXY_T.txt", 0.0, magnitude, true, ForSmoothing(byAbundance), SmoothedXWithoutT,
     {"\n\nTrait subsets with maximum partial Mantel correlation ro(XY.T):\nTRC\toptimal subset of traits\n",
      "\n\nTrait subsets with maximum congruence in a partial Procrustes correlation ro(XY.T):\nTRC\toptimal subset of traits\n",
      "\n\nTrait subsets with maximum partial congruence measured by a partial RV coefficient r(XY.T):\nTRC\toptimal subset of traits\n"}},
    {24, Family::alphaBeta, "ChRank_DarkDiversity.txt", lowest, signedByMagnitude, false, ForEnvironment(), DarkDiversity,
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

void PrepareStatistics(const Criterion& criterion, RankingMatrices& m, SubsetStatistics& r)
{
    if (criterion.family == Family::niche) r.PE = Congruence(m.DP, m.DE);
}

void CompleteStatistics(const Criterion& criterion, RankingMatrices& m, SubsetStatistics& r)
{
    switch (criterion.family) {
    case Family::both:
    case Family::convergence: break;
    case Family::divergence: r.TE = Congruence(m.DE, m.DT()); break;
    case Family::alphaBeta: CompleteAlphaBeta(criterion.number, m, r); break;
    case Family::phylogeny: CompletePhylogeny(m, r); break;
    case Family::niche: CompleteNiche(m, r); break;
    }
}
