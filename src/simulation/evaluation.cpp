// SPDX-License-Identifier: GPL-3.0-or-later
#include "simulation/evaluation.hpp"

#include <algorithm>

#include "functional/belonging.hpp"
#include "functional/smoothing.hpp"
#include "numeric/adjust.hpp"
#include "numeric/congruence.hpp"
#include "numeric/gower.hpp"
#include "numeric/information.hpp"
#include "numeric/matrix.hpp"
#include "numeric/resemblance.hpp"
#include "numeric/statistics.hpp"
#include "session/session.hpp"
#include "shell/preferences.hpp"
#include "shell/scanners.hpp"

namespace {

const int nClassesOfFactor = 5;

/// Sizes, options and places of the results, which are the same for every set.
void FillTest(const Simulation& run, SetAnalysis& a)
{
    PermTest_FunctionalPhyl_Correl_Input& test = a.test;
    GiveSettings(test);
    test.nTraits = run.nTraits;
    test.selectedTraits = a.selectedTraits;
    test.nOTUs = test.nTypes = run.nOTUs; // each OTU is its own type
    test.nEnvSelected = run.nSelected;
    test.nCommunities = run.nSites;
    test.Sb = a.Sb;
    test.U = a.U;
    test.E = a.selectedE;
    test.W = a.relativeW;
    test.DE = a.DE;
    test.DY = a.DY;
    test.DZ = a.DZ;
    test.Y = a.Y;
    test.Z = a.Z;
    test.regression = {a.rSquare, a.intercept, a.pRSquare, a.coefficient, a.pCoefficient};
    test.anovaF = {a.fX, a.fT, a.fTraits, a.unused, a.fRf, a.unused};
    test.anovaP = {a.pX, a.pT, a.pTraits, a.unused, a.pRf, a.unused};
    test.hasPhylogenyInput = false;
    test.T = a.T;
    test.X = a.X;
    test.Rf = a.Rf;
}

/// Similarity of OTUs, which entropy needs whatever the belonging, and belonging to types.
void CompareOtus(const Metacommunity& m, SetAnalysis& a)
{
    GowerMV(m.nOTUs, m.nTraits, session.chtype, m.B, a.Sb, nullptr, nullptr);
    if (session.fuzzy == 3)
        FuzzyBelonging(m.nOTUs, m.nOTUs, a.Sb, nullptr, a.U, false);
    else
        CrispBelonging(m.nOTUs, m.nOTUs, nullptr, a.U);
}

void SmoothComposition(const Metacommunity& m, SetAnalysis& a)
{
    UnitSumRowsAdjMV(m.nSites, m.nOTUs, a.relativeW, m.W);
    BealsSmoothing(m.nSites, m.nOTUs, a.relativeW, a.relativeW, a.Y, preferences.BealsIncludeOpt,
                   1);
    BealsSmoothing(m.nSites, m.nOTUs, a.relativeW, a.relativeW, a.Z, preferences.BealsIncludeOpt,
                   2);
}

void SelectEcosystem(const Simulation& run, Metacommunity& m, SetAnalysis& a)
{
    int column = 0;
    for (int q = 0; q < m.nPredictors; q++) {
        if (run.selected[q] != 1) continue;
        double* const row = m.E[q];
        if (session.opt_ro == varianceAnalysis) ClassesMV(m.nSites, row, row, nClassesOfFactor);
        for (int s = 0; s < m.nSites; s++) a.selectedE[s][column] = row[s];
        column++;
    }
}

void CompareCommunities(const Simulation& run, SetAnalysis& a)
{
    if (session.opt_ro == varianceAnalysis) return;
    CorrAdj(run.nSites, run.nSelected, a.selectedE, a.selectedE);
    EucliDist(run.nSites, run.nSelected, a.selectedE, a.DE);
    NominalReseNonHier(run.nSites, run.nOTUs, a.Y, a.DY, session.rese_opt);
    NominalReseNonHier(run.nSites, run.nOTUs, a.Z, a.DZ, session.rese_opt);
}

void Count(double p, const Simulation& run, double& counter)
{
    if (IsRejected(p, run.alpha)) counter += 1.0;
}

int NRegressionResponses(const Simulation& run)
{
    return run.nTraits + 1;
}

void CountRegressions(const Simulation& run, const SetAnalysis& a, Rejections& n)
{
    for (int y = 0; y < NRegressionResponses(run); y++) {
        Count(a.pRSquare[y], run, n.rSquare[y]);
        for (int e = 0; e < run.nSelected; e++)
            Count(a.pCoefficient[e][y], run, n.coefficient[e][y]);
    }
}

void CountFactors(const Simulation& run, const SetAnalysis& a, Rejections& n)
{
    for (int e = 0; e < run.nSelected; e++) {
        Count(a.pX[e], run, n.X[e]);
        Count(a.pT[e], run, n.T[e]);
        for (int t = 0; t < run.nTraits; t++)
            Count(a.pTraits[e][t], run, n.traits[e][t]);
        Count(a.pRf[e], run, n.Rf[e]);
    }
}

void Divide(int n, double* counts, double divisor)
{
    for (int i = 0; i < n; i++) counts[i] /= divisor;
}

} // namespace

SetAnalysis::SetAnalysis(const Simulation& run)
    : selectedTraits(run.nTraits), relativeW(run.nSites, run.nOTUs), Sb(run.nOTUs, run.nOTUs),
      U(run.nOTUs, run.nOTUs), Y(run.nSites, run.nOTUs), Z(run.nSites, run.nOTUs),
      selectedE(run.nSites, run.nSelected), DE(run.nSites, run.nSites),
      DY(run.nSites, run.nSites), DZ(run.nSites, run.nSites), T(run.nSites, run.nTraits + 2L),
      X(run.nSites, run.nOTUs), Rf(run.nSites), rSquare(run.nTraits + 2L),
      intercept(run.nTraits + 2L), pRSquare(run.nTraits + 2L),
      coefficient(run.nSelected, run.nTraits + 2L), pCoefficient(run.nSelected, run.nTraits + 2L),
      fX(run.nPredictors), fT(run.nPredictors), fRf(run.nPredictors), pX(run.nPredictors),
      pT(run.nPredictors), pRf(run.nPredictors), unused(run.nPredictors),
      fTraits(run.nPredictors, run.nTraits), pTraits(run.nPredictors, run.nTraits)
{
    for (int t = 0; t < run.nTraits; t++) selectedTraits[t] = ToInt(session.weight[t]);
    FillTest(run, *this);
}

Rejections::Rejections(const Simulation& run)
    : rSquare(run.nTraits + 1L), coefficient(run.nSelected, run.nTraits + 1L), X(run.nSelected),
      T(run.nSelected), Rf(run.nSelected), traits(run.nSelected, run.nTraits)
{
}

void AnalyseSet(const Simulation& run, Metacommunity& m, SetAnalysis& analysis,
                std::FILE* intermediate)
{
    CompareOtus(m, analysis);
    SmoothComposition(m, analysis);
    SelectEcosystem(run, m, analysis);
    CompareCommunities(run, analysis);
    analysis.test.B = m.B;
    analysis.test.intermediateFile = intermediate;
    PermTest_FunctionalPhyl_Correl(&analysis.test);
}

bool IsRejected(double p, double alpha)
{
    return AlmostEqual2sComplement(p, alpha, 1) || alpha > p;
}

void CountRejections(const Simulation& run, const SetAnalysis& analysis, Rejections& rejections)
{
    if (session.opt_ro == linearRegression) {
        CountRegressions(run, analysis, rejections);
    } else if (session.opt_ro == varianceAnalysis) {
        CountFactors(run, analysis, rejections);
    } else {
        for (int i = 0; i < nTested; i++)
            Count(analysis.test.probabilities[i], run, rejections.statistics[i]);
    }
}

void DivideRejections(const Simulation& run, Rejections& rejections)
{
    const double n = run.nSets;
    Divide(nTested, rejections.statistics, n);
    Divide(run.nTraits + 1, rejections.rSquare, n);
    Divide(run.nSelected, rejections.X, n);
    Divide(run.nSelected, rejections.T, n);
    Divide(run.nSelected, rejections.Rf, n);
    for (int e = 0; e < run.nSelected; e++) {
        Divide(run.nTraits + 1, rejections.coefficient[e], n);
        Divide(run.nTraits, rejections.traits[e], n);
    }
}
