// SPDX-License-Identifier: GPL-3.0-or-later
#include <cstdio>

#include "functional/settings.hpp"
#include "numeric/congruence.hpp"
#include "session/session.hpp"
#include "shell/preferences.hpp"
#include "simulation/evaluation.hpp"
#include "simulation/report.hpp"
#include "simulation/report_parts.hpp"
#include "simulation/settings.hpp"

namespace {

void ReportTargetInclusion(File f)
{
    if (preferences.BealsIncludeOpt)
        std::fprintf(f, "(abundance of target OTU included in its own estimation):\n");
    else
        std::fprintf(f, "(abundance of target OTU NOT included in its own estimation):\n");
}

void ReportCorrelationRates(File f, const double* rate)
{
    std::fprintf(f, "\nConvergence (TCAP): r(TE)\tP=\t%g\nBoth TCAP and Divergence (TDAP): r(XE)\tP=\t%g\nTDAP: r(XE.T)\tP=\t%g\n", rate[rTE], rate[rXE], rate[rXE_T]);
    std::fprintf(f, "Correlation function between matrices: \t%s\n", opt_roInfo[session.opt_ro - 1]);
    if (session.opt_ro == procrustes || session.opt_ro == rvCoefficient)
        std::fprintf(f, "Factor (f) for limiting the number of predictors in PCA regression in relation to sample size n (number of predictors = n/f): %g\n", preferences.overfitFactorPCARegr);
    std::fprintf(f, "Alpha divergence (correlation between ecosystem variables and Rao entropy): r(RE)\tP=\t%g\nBeta divergence: r(XE.TR)\tP=\t%g\n", rate[rRE], rate[rXE_TR]);
    std::fprintf(f, "\nCorrelations with Beals smoothed community matrix (Y) considering OTU's co-occurences weighted by their abundances ");
    ReportTargetInclusion(f);
    std::fprintf(f, "r(TY)\tP=\t%g\n", rate[rTY]);
    std::fprintf(f, "r(XY)\tP=\t%g\n", rate[rXY]);
    std::fprintf(f, "r(XY_T)\tP=\t%g\n", rate[rXY_T]);
    std::fprintf(f, "\nCorrelations with fuzzy-weighted smoothed community matrix (Z) considering OTU's cross-products based on their abundances ");
    ReportTargetInclusion(f);
    std::fprintf(f, "r(TZ)\tP=\t%g\n", rate[rTZ]);
    std::fprintf(f, "r(XZ)\tP=\t%g\n", rate[rXZ]);
    std::fprintf(f, "r(XZ_T)\tP=\t%g\n", rate[rXZ_T]);
}

void ReportRegressionRates(File f, const Simulation& run, const Rejections& rates)
{
    std::fprintf(f, "\nFor each CWM trait and functional diversity as response variables, the corresponding probabilities of H0 rejection of regression adjustment (r-square) and beta coefficients are shown below:\n");
    const auto coefficients = [&](int y) {
        ForFactors(run, [&](const char* name, int e) {
            std::fprintf(f, "Factor:\t%s\tcoeff\tP=\t%g\n", name, rates.coefficient[e][y]);
        });
    };
    ForTraits(run, [&](const char* label, int t) {
        std::fprintf(f, "\nTrait:\t%s\tr-square\tP=\t%g\n", label, rates.rSquare[t]);
        coefficients(t);
    });
    std::fprintf(f, "\nFunctional diversity:\t\tr-square\tP=\t%g\n", rates.rSquare[run.nTraits]);
    coefficients(run.nTraits);
}

void ReportVarianceRates(File f, const Simulation& run, const Rejections& rates)
{
    const auto report = [f](const char* factor, double rate) {
        std::fprintf(f, "Factor:\t%s\tPseudo-F\tP=\t%g\n", factor, rate);
    };
    std::fprintf(f, "\nMANOVA using matrix T (community weighted means) as multivariate response:\n");
    ForFactors(run, [&](const char* name, int e) {
        report(name, rates.T[e]);
        std::fprintf(f, "ANOVA for each selected individual trait using pseudo-F (between/within groups sum of squares):\n");
        ForTraits(run, [&](const char* label, int t) {
            std::fprintf(f, "Trait:\t%s\tPseudo-F\tP=\t%g\n", label, rates.traits[e][t]);
        });
        std::fprintf(f, "\n");
    });
    std::fprintf(f, "MANOVA using matrix X (fuzzy-weighted community composition using all selected traits) as multivariate response:\n");
    ForFactors(run, [&](const char* name, int e) { report(name, rates.X[e]); });
    std::fprintf(f, "\nANOVA using Rao funtional diversity (using all selected traits) as univariate response:\n");
    ForFactors(run, [&](const char* name, int e) { report(name, rates.Rf[e]); });
}

void ReportRunSummary(File f, const Simulation& run, double seconds)
{
    std::fprintf(f, "Specified maximum average number of individuals per community:\t%d\n", run.maxAvg);
    std::fprintf(f, "Number of simulated data sets:\t%d\n", run.nSets);
    std::fprintf(f, "Number of random permutations in each test:\t%d\n", session.niter);
    std::fprintf(f, "Alpha threshold for Ho rejection:\t%g\n", run.alpha);
    std::fprintf(f, "Elapsed time (seconds): %g\n", seconds);
    ReportTraitWeights(f, run);
    ReportPredictors(f, run);
    std::fprintf(f, "\nWeights:                                                  ");
    PrintPredictorWeights(f, run);
    std::fprintf(f, "\n\nPROBABILITIES OF Ho REJECTION (type I error or power depending on the specified model context) based on %d tests using %d permutations each:", run.nSets, session.niter);
}

} // namespace

void ReportRates(File f, const Simulation& run, const Rejections& rates, double seconds)
{
    PrintTitle(f, "FINAL RESULTS\n");
    if (run.ReportsSets()) ReportInputs(f, run);
    ReportRunSummary(f, run, seconds);
    if (session.opt_ro == linearRegression)
        ReportRegressionRates(f, run, rates);
    else if (session.opt_ro == varianceAnalysis)
        ReportVarianceRates(f, run, rates);
    else
        ReportCorrelationRates(f, rates.statistics);
}
