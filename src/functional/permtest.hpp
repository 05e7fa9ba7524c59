// The permutation test: how traits, types, diversity and phylogeny of communities follow the
// ecosystem variables, and how often a null model does as well.
#pragma once

#include <cstdio>

/// The statistics of the test, named by the matrices they relate: T community weighted means, X
/// composition by types, R and F Rao entropy on traits and on phylogeny, P composition by taxa, E
/// ecosystem variables, Y and Z smoothed composition, B traits and F phylogeny of OTUs in roBF.
/// What stands behind the last underscore is partialled out.
enum Statistic {
    rXE, rTE, rXE_T, rRE, rXE_TR, rTY, rTZ, rXY, rXZ, rXY_T, rXZ_T, roBF, rFE, roPE, roPT, roPX,
    roPX_T, roTE_P, roXE_P, roXE_TP, roPE_T, roPE_X,
    nStatistics
};

/// Regression of each trait average and diversity vector on the ecosystem variables. Vectors have
/// a place for each of the t traits, then Rf, then Rp; matrices a row for each variable.
struct RegressionResults {
    double* rSquare = nullptr;     // t + 2
    double* intercept = nullptr;   // t + 2
    double* pRSquare = nullptr;    // t + 2
    double** coefficient = nullptr;  // e' x (t + 2)
    double** pCoefficient = nullptr; // e' x (t + 2)
};

/// Pseudo-F, or its P, of each ecosystem variable taken as a factor, on each response.
struct AnovaResults {
    double* X = nullptr;       // e'
    double* T = nullptr;       // e'
    double** traits = nullptr; // e' x t
    double* P = nullptr;       // e'
    double* Rf = nullptr;      // e'
    double* Rp = nullptr;      // e'
};

/// Everything the test reads and returns. The caller allocates, fills the inputs and reads the
/// outputs; the test releases nothing of it. n communities, s OTUs, t traits, e' variables in use,
/// g types, f taxa. All inputs are left as they are (lower triangles of Sb and Sf may be filled
/// from the upper ones).
struct PermTest_FunctionalPhyl_Correl_Input {
    int nIter = 0;                   // iterations, the observed arrangement included
    int nTraits = 0;                 // t
    int* selectedTraits = nullptr;   // t, 1 for a trait in use
    int nOTUs = 0;                   // s
    int nTypes = 0;                  // g
    int nTaxa = 0;                   // f
    int nEnvSelected = 0;            // e'
    int* eVarSelect = nullptr;       // carried, not read
    int nCommunities = 0;            // n
    int* relSelect = nullptr;        // n, mask of the sums of squares
    int nPCoA = 0;                   // columns of pcoaScores in use
    double** B = nullptr;            // s x t, unselected columns 0
    double** Sb = nullptr;           // s x s, similarity on traits, upper triangle
    double** pcoaScores = nullptr;   // s x nPCoA; read under Procrustes and RV only
    double** Sf = nullptr;           // s x s, phylogenetic resemblance, upper triangle
    double** E = nullptr;            // n x e'
    double** U = nullptr;            // s x g, belonging by traits
    double** Q = nullptr;            // s x f, belonging by phylogeny
    double** W = nullptr;            // n x s
    double** DE = nullptr;           // n x n; DE, DY, DZ are read under Mantel only
    double** DY = nullptr;           // n x n
    double** DZ = nullptr;           // n x n
    double** Y = nullptr;            // n x s
    double** Z = nullptr;            // n x s

    double results[nStatistics] = {};       // out: observed statistics
    double probabilities[nStatistics] = {}; // out: P of each
    RegressionResults regression;           // out, measure 4
    AnovaResults anovaF, anovaP;            // out, measure 5

    int communityResemblance = 6; // rese_opt
    int measure = 1;              // opt_ro: 1 Mantel, 2 Procrustes, 3 RV, 4 regression, 5 anova
    double overfitFactor = 2.0;   // predictors of partial coefficients: at most (n - 2) / factor
    bool saveIntermediate = false;
    bool weightedNull = false;      // OTUs are drawn by their frequency in the communities
    bool keepScale = false;
    bool hasPhylogenyInput = false;
    bool phylIsDissimilarity = false;
    bool sqrtTraits = true;         // Rao entropy on square-rooted dissimilarities, traits
    bool sqrtPhyl = false;          // the same, phylogeny
    int restrictKind = 0;           // 1: permutations within nesting groups
    int* nestingGroups = nullptr;   // s
    int shuffleKind = 't';          // 't' OTUs move, 's' communities move
    bool resultsFlag = false;       // set by the caller, read by no one
    bool twoTailed = true;          // of the statistics that are no partials

    double** T = nullptr;  // out, n x t or wider: normalised T of the composition in W
    double** X = nullptr;  // out, n x g
    double** P = nullptr;  // out, n x f
    double* Rf = nullptr;  // out, n
    double* Rp = nullptr;  // out, n
    int* otuWeights = nullptr; // s, 1 or 0
    bool restrictRao = false;
    std::FILE* intermediateFile = nullptr; // open; written when saveIntermediate
};

/// Runs the test: observed statistics, then nIter - 1 random arrangements drawn from the
/// generator, which the caller has initialised; P = count / nIter, the observed one counting as
/// one. nIter below 2 permutes nothing (P is 1, or infinity for 0). Statistics that do not belong
/// to the measure stay 0.
/// returns true
bool PermTest_FunctionalPhyl_Correl(PermTest_FunctionalPhyl_Correl_Input* input);

/// Sum of squared dissimilarities within one group of objects, over their number: the sum of
/// D[i][j] squared (unsquared if `squared`: D holds squares already) over the pairs i < j with
/// mask 1, upper triangle; the empty sum if no object has mask 1.
/// Anderson 2001, Austral Ecology 26:32-46.
double WithinGrSqDissim(int n, double** D, int* mask, bool squared);

/// Sum of squares between groups of the objects with mask 1; *total gets the total sum of squares,
/// *between what is returned.
double BetweenGrSqDissim(int n, double** D, int* groups, double* between, double* total, int* mask,
                         bool squared);
