// SPDX-License-Identifier: GPL-3.0-or-later
#include "plain_permtest.hpp"

#include <cmath>
#include <cstdint>
#include <cstring>
#include <memory>

#include <gsl/gsl_rng.h>

#include "numeric/congruence.hpp"
#include "numeric/regression.hpp"
#include "shell/arrays.hpp"

namespace {

using Input = PermTest_FunctionalPhyl_Correl_Input;

constexpr int euclidean = 6; // the option of the dialogues

bool Missing(double x) { return x == -999.0; }

bool IsMantelLike(const Input& in)
{
    return in.measure == mantel || in.measure == varianceAnalysis;
}

bool IsCorrelation(const Input& in)
{
    return in.measure == mantel || in.measure == procrustes || in.measure == rvCoefficient;
}

// --- Resemblance

bool AnyMissing(int n, int p, double** data)
{
    for (int i = 0; i < n; i++)
        for (int j = 0; j < p; j++)
            if (Missing(data[i][j])) return true;
    return false;
}

void Euclidean(int n, int p, double** data, double** out)
{
    for (int i = 0; i < n; i++)
        for (int k = i; k < n; k++) {
            double sum = 0.0;
            for (int j = 0; j < p; j++) {
                if (Missing(data[i][j]) || Missing(data[k][j])) continue;
                const double difference = data[i][j] - data[k][j];
                sum += difference * difference;
            }
            out[i][k] = k > i && sum > 0.0 ? std::sqrt(sum) : 0.0;
        }
}

void CityBlock(int n, int p, double** data, double** out)
{
    for (int i = 0; i < n; i++)
        for (int k = i; k < n; k++) {
            double sum = 0.0;
            for (int j = 0; j < p; j++) {
                if (Missing(data[i][j]) || Missing(data[k][j])) continue;
                sum += std::fabs(data[i][j] - data[k][j]);
            }
            out[i][k] = k > i ? sum : 0.0;
        }
}

void CrossProduct(int n, int p, double** data, double** out)
{
    for (int i = 0; i < n; i++)
        for (int k = i; k < n; k++) {
            double sum = 0.0;
            for (int j = 0; j < p; j++) {
                if (Missing(data[i][j]) || Missing(data[k][j])) continue;
                sum += data[i][j] * data[k][j];
            }
            out[i][k] = sum;
        }
}

void RowsToUnitLength(int n, int p, double** in, double** out)
{
    for (int i = 0; i < n; i++) {
        double sum = 0.0;
        for (int j = 0; j < p; j++)
            if (!Missing(in[i][j])) sum += in[i][j] * in[i][j];
        const double length = sum > 0.0 ? std::sqrt(sum) : 1.0;
        for (int j = 0; j < p; j++) out[i][j] = Missing(in[i][j]) ? -999.0 : in[i][j] / length;
    }
}

double SquaredChordOfPair(int p, const double* x, const double* y)
{
    double sumX = 0.0, sumY = 0.0;
    for (int j = 0; j < p; j++) {
        if (Missing(x[j]) || Missing(y[j])) continue;
        sumX += x[j] * x[j];
        sumY += y[j] * y[j];
    }
    const double lengthX = std::sqrt(sumX), lengthY = std::sqrt(sumY);
    double sum = 0.0;
    for (int j = 0; j < p; j++) {
        if (Missing(x[j]) || Missing(y[j])) continue;
        const double difference = x[j] / lengthX - y[j] / lengthY;
        sum += difference * difference;
    }
    return sum;
}

// The square of the distance when a cell is missing anywhere: see numeric/resemblance.hpp.
void Chord(int n, int p, double** data, double** out)
{
    if (AnyMissing(n, p, data)) {
        for (int i = 0; i < n; i++)
            for (int k = i; k < n; k++) out[i][k] = SquaredChordOfPair(p, data[i], data[k]);
        return;
    }
    OwnedRows unit(n, p);
    RowsToUnitLength(n, p, data, unit);
    Euclidean(n, p, unit, out);
}

double CorrelationOfPair(int p, const double* x, const double* y)
{
    double sumX = 0.0, sumY = 0.0;
    int m = 0;
    for (int j = 0; j < p; j++) {
        if (Missing(x[j]) || Missing(y[j])) continue;
        sumX += x[j];
        sumY += y[j];
        m++;
    }
    const double meanX = sumX / m, meanY = sumY / m;
    double squaresX = 0.0, squaresY = 0.0;
    for (int j = 0; j < p; j++) {
        if (Missing(x[j]) || Missing(y[j])) continue;
        squaresX += (x[j] - meanX) * (x[j] - meanX);
        squaresY += (y[j] - meanY) * (y[j] - meanY);
    }
    const double rootX = std::sqrt(squaresX), rootY = std::sqrt(squaresY);
    double r = 0.0;
    for (int j = 0; j < p; j++) {
        if (Missing(x[j]) || Missing(y[j])) continue;
        r += ((x[j] - meanX) / rootX) * ((y[j] - meanY) / rootY);
    }
    return r;
}

void Correlation(int n, int p, double** data, double** out)
{
    if (AnyMissing(n, p, data)) {
        for (int i = 0; i < n; i++)
            for (int k = i; k < n; k++) out[i][k] = CorrelationOfPair(p, data[i], data[k]);
        return;
    }
    OwnedRows standard(n, p);
    for (int i = 0; i < n; i++) {
        double sum = 0.0;
        for (int j = 0; j < p; j++) sum += data[i][j];
        const double mean = sum / p;
        for (int j = 0; j < p; j++) standard[i][j] = data[i][j] - mean;
    }
    RowsToUnitLength(n, p, standard, standard);
    CrossProduct(n, p, standard, out);
}

// --- One arrangement: matrices of communities and the statistics they give

struct Arrangement {
    explicit Arrangement(const Input& in)
        : T(in.nCommunities, in.nTraits + 2), X(in.nCommunities, in.nTypes),
          P(in.nCommunities, in.nTaxa), R(in.nCommunities, 1), Rp(in.nCommunities, 1),
          DT(in.nCommunities, in.nCommunities), DX(in.nCommunities, in.nCommunities),
          DP(in.nCommunities, in.nCommunities), DR(in.nCommunities, in.nCommunities),
          DRp(in.nCommunities, in.nCommunities)
    {
    }

    OwnedRows T, X, P, R, Rp;         // n rows; T has room for R and Rp behind the traits
    OwnedRows DT, DX, DP, DR, DRp;    // n x n
    double statistics[nStatistics] = {};
    double rXT = 0.0, rXR = 0.0, rTR = 0.0;
};

// What an arrangement is computed from: the matrices of OTUs, in the order of a list.
struct OtuMatrices {
    explicit OtuMatrices(const Input& in)
        : B(in.nOTUs, in.nTraits), U(in.nOTUs, in.nTypes), Q(in.nOTUs, in.nTaxa),
          Sb(in.nOTUs, in.nOTUs), Sf(in.nOTUs, in.nOTUs), scores(in.nOTUs, in.nPCoA)
    {
    }

    OwnedRows B, U, Q, Sb, Sf, scores;
};

void MoveRows(int rows, int columns, double** from, const std::vector<int>& list, double** to)
{
    for (int i = 0; i < rows; i++) {
        const bool drawn = i < static_cast<int>(list.size());
        for (int j = 0; j < columns; j++)
            to[i][j] = drawn ? from[list[static_cast<std::size_t>(i)] - 1][j] : 0.0;
    }
}

double Coefficient(const Input& in, int n, int p1, int p2, double** A, double** B)
{
    return in.measure == procrustes ? ProcrustesCoeff(n, p1, p2, A, B) : RVcoeff(n, p1, p2, A, B);
}

double Between(const Input& in, int p1, int p2, double** A, double** B)
{
    return Coefficient(in, in.nCommunities, p1, p2, A, B);
}

double Partial(const Input& in, int p1, int p2, double** A, double** B, ControlBlock given)
{
    return PartialMatrixCorrelation(in.nCommunities, p1, p2, A, B, in.measure, in.overfitFactor, 1,
                                    &given);
}

double Partial(const Input& in, int p1, int p2, double** A, double** B, ControlBlock given,
               ControlBlock andGiven)
{
    const ControlBlock both[] = {given, andGiven};
    return PartialMatrixCorrelation(in.nCommunities, p1, p2, A, B, in.measure, in.overfitFactor, 2,
                                    both);
}

// Two communities have one distance each way: how close the two are, relative to the larger.
double Mantel(const Input& in, double** A, double** B)
{
    if (in.nCommunities > 2) return PlainMatrixCorr(in.nCommunities, A, B);
    const bool single = in.nCommunities < 2; // no distance at all: 0 / 0
    const double a = single ? 0.0 : A[0][1], b = single ? 0.0 : B[0][1];
    return 1.0 - std::fabs(a - b) / (a > b ? a : b);
}

void MantelStatistics(const Input& in, Arrangement& a)
{
    double* r = a.statistics;
    r[rTE] = Mantel(in, in.DE, a.DT);
    r[rTY] = Mantel(in, in.DY, a.DT);
    r[rTZ] = Mantel(in, in.DZ, a.DT);

    r[rXE] = Mantel(in, in.DE, a.DX);
    a.rXT = Mantel(in, a.DX, a.DT);
    r[rXY] = Mantel(in, a.DX, in.DY);
    r[rXZ] = Mantel(in, a.DX, in.DZ);
    r[rXE_T] = PlainPartial(r[rXE], a.rXT, r[rTE]);
    r[rXY_T] = PlainPartial(r[rXY], a.rXT, r[rTY]);
    r[rXZ_T] = PlainPartial(r[rXZ], a.rXT, r[rTZ]);

    const int n = in.nCommunities;
    r[rRE] = PlainMatrixCorr(n, in.DE, a.DR);
    a.rXR = PlainMatrixCorr(n, a.DX, a.DR);
    a.rTR = PlainMatrixCorr(n, a.DT, a.DR);
    const double rXE_R = PlainPartial(r[rXE], a.rXR, r[rRE]);
    const double rTE_R = PlainPartial(r[rTE], a.rTR, r[rRE]);
    const double rXT_R = PlainPartial(a.rXT, a.rXR, a.rTR);
    r[rXE_TR] = PlainPartial(rXE_R, rXT_R, rTE_R);
}

void MantelStatisticsOfPhylogeny(const Input& in, Arrangement& a)
{
    double* r = a.statistics;
    r[roPE] = Mantel(in, in.DE, a.DP);
    r[roPT] = Mantel(in, a.DP, a.DT);
    r[roPX] = Mantel(in, a.DP, a.DX);
    r[roPX_T] = PlainPartial(r[roPX], a.rXT, r[roPT]);
    r[roTE_P] = PlainPartial(r[rTE], r[roPT], r[roPE]);
    r[roXE_P] = PlainPartial(r[rXE], r[roPX], r[roPE]);
    const double rXT_P = PlainPartial(a.rXT, r[roPX], r[roPT]);
    r[roXE_TP] = PlainPartial(r[roXE_P], rXT_P, r[roTE_P]);
    r[roPE_T] = PlainPartial(r[roPE], r[roPT], r[rTE]);
    r[roPE_X] = PlainPartial(r[roPE], r[roPX], r[rXE]);
    r[rFE] = PlainMatrixCorr(in.nCommunities, in.DE, a.DRp);
}

void CoefficientStatistics(const Input& in, Arrangement& a)
{
    const int t = in.nTraits, g = in.nTypes, e = in.nEnvSelected, s = in.nOTUs;
    const ControlBlock givenT = {t, in.selectedTraits, a.T};
    const ControlBlock givenR = {1, nullptr, a.R};
    double* r = a.statistics;
    r[rTE] = Between(in, t, e, a.T, in.E);
    r[rTY] = Between(in, t, s, a.T, in.Y);
    r[rTZ] = Between(in, t, s, a.T, in.Z);
    r[rXE] = Between(in, g, e, a.X, in.E);
    r[rXY] = Between(in, g, s, a.X, in.Y);
    r[rXZ] = Between(in, g, s, a.X, in.Z);
    r[rXE_T] = Partial(in, g, e, a.X, in.E, givenT);
    r[rXY_T] = Partial(in, g, s, a.X, in.Y, givenT);
    r[rXZ_T] = Partial(in, g, s, a.X, in.Z, givenT);
    r[rRE] = Between(in, 1, e, a.R, in.E);
    r[rXE_TR] = Partial(in, g, e, a.X, in.E, givenT, givenR);
}

void CoefficientStatisticsOfPhylogeny(const Input& in, Arrangement& a)
{
    const int t = in.nTraits, g = in.nTypes, e = in.nEnvSelected, f = in.nTaxa;
    const ControlBlock givenT = {t, in.selectedTraits, a.T};
    const ControlBlock givenX = {g, nullptr, a.X};
    const ControlBlock givenP = {f, nullptr, a.P};
    double* r = a.statistics;
    r[roPE] = Between(in, e, f, in.E, a.P);
    r[roPT] = Between(in, t, f, a.T, a.P);
    r[roPX] = Between(in, g, f, a.X, a.P);
    r[roPX_T] = Partial(in, f, g, a.P, a.X, givenT);
    r[roTE_P] = Partial(in, t, e, a.T, in.E, givenP);
    r[roXE_P] = Partial(in, g, e, a.X, in.E, givenP);
    r[roXE_TP] = Partial(in, g, e, a.X, in.E, givenT, givenP);
    r[roPE_T] = Partial(in, f, e, a.P, in.E, givenT);
    r[roPE_X] = Partial(in, f, e, a.P, in.E, givenX);
    r[rFE] = Between(in, 1, e, a.Rp, in.E);
}

// Phylogenetic signal of the OTUs: traits as they are against phylogeny as given.
double SignalAmongOtus(const Input& in, double** Sf, double** scores)
{
    if (in.measure == mantel) return PlainMatrixCorr(in.nOTUs, in.Sb, Sf);
    OwnedRows unitB(in.nOTUs, in.nTraits);
    for (int i = 0; i < in.nOTUs; i++)
        for (int j = 0; j < in.nTraits; j++) unitB[i][j] = in.B[i][j];
    PlainNormalizeColumns(in.nOTUs, in.nTraits, unitB);
    return Coefficient(in, in.nOTUs, in.nTraits, in.nPCoA, unitB, scores);
}

void FillDistances(const Input& in, Arrangement& a)
{
    const int n = in.nCommunities;
    PlainResemblance(euclidean, n, in.nTraits, a.T, a.DT);
    PlainResemblance(in.communityResemblance, n, in.nTypes, a.X, a.DX);
    CityBlock(n, 1, a.R, a.DR);
    if (!in.hasPhylogenyInput) return;
    PlainResemblance(in.communityResemblance, n, in.nTaxa, a.P, a.DP);
    CityBlock(n, 1, a.Rp, a.DRp);
}

void FillStatistics(const Input& in, Arrangement& a)
{
    if (IsMantelLike(in)) FillDistances(in, a);
    if (in.measure == mantel) {
        MantelStatistics(in, a);
        if (in.hasPhylogenyInput) MantelStatisticsOfPhylogeny(in, a);
    } else if (IsCorrelation(in)) {
        CoefficientStatistics(in, a);
        if (in.hasPhylogenyInput) CoefficientStatisticsOfPhylogeny(in, a);
    }
}

// Matrices of communities after OTUs in a given arrangement.
void ScaleUp(const Input& in, double** B, double** U, double** Q, double** Sb, double** Sf,
             Arrangement& a)
{
    const int n = in.nCommunities, s = in.nOTUs;
    PlainTraitAverages(n, s, in.nTraits, in.W, B, a.T, in.selectedTraits, in.otuWeights,
                       in.keepScale);
    PlainNormalizeColumns(n, in.nTraits, a.T);
    PlainComposition(n, s, in.nTypes, in.W, U, a.X, in.otuWeights, in.keepScale);
    for (int k = 0; k < n; k++)
        a.R[k][0] = PlainRao(s, in.W[k], Sb, false, in.sqrtTraits, in.otuWeights, in.restrictRao,
                             in.keepScale);
    if (!in.hasPhylogenyInput) return;
    PlainComposition(n, s, in.nTaxa, in.W, Q, a.P, in.otuWeights, in.keepScale);
    for (int k = 0; k < n; k++)
        a.Rp[k][0] = PlainRao(s, in.W[k], Sf, in.phylIsDissimilarity, in.sqrtPhyl, in.otuWeights,
                              in.restrictRao, in.keepScale);
}

// --- Regression and analysis of variance

struct RegressionFit {
    explicit RegressionFit(const Input& in)
        : coefficients(in.nEnvSelected, in.nTraits + 2), intercepts(in.nTraits + 2),
          rSquare(in.nTraits + 2)
    {
    }
    OwnedRows coefficients;
    OwnedVector intercepts, rSquare;
};

int Responses(const Input& in) { return in.nTraits + (in.hasPhylogenyInput ? 2 : 1); }

void FitRegression(const Input& in, Arrangement& a, RegressionFit& fit)
{
    for (int k = 0; k < in.nCommunities; k++) {
        a.T[k][in.nTraits] = a.R[k][0];
        if (in.hasPhylogenyInput) a.T[k][in.nTraits + 1] = a.Rp[k][0];
    }
    OwnedRows predicted(in.nCommunities, in.nTraits + 2);
    OwnedVector sums(in.nTraits + 2);
    regression(in.nCommunities, Responses(in), in.nEnvSelected, a.T, in.E, fit.coefficients,
               fit.intercepts, predicted, fit.rSquare, sums, false, nullptr, 0, false);
}

void StoreRegression(const Input& in, const RegressionFit& fit, const RegressionResults& to)
{
    for (int j = 0; j < Responses(in); j++) {
        to.rSquare[j] = fit.rSquare[j];
        to.intercept[j] = fit.intercepts[j];
        to.pRSquare[j] = 1.0;
        for (int v = 0; v < in.nEnvSelected; v++) {
            to.coefficient[v][j] = fit.coefficients[v][j];
            to.pCoefficient[v][j] = 1.0;
        }
    }
}

void CountRegression(const Input& in, const RegressionFit& fit, const RegressionResults& observed)
{
    for (int j = 0; j < Responses(in); j++) {
        if (PlainReaches(fit.rSquare[j], observed.rSquare[j], false)) observed.pRSquare[j] += 1.0;
        for (int v = 0; v < in.nEnvSelected; v++)
            if (PlainReaches(fit.coefficients[v][j], observed.coefficient[v][j], true))
                observed.pCoefficient[v][j] += 1.0;
    }
}

void DivideRegressionCounts(const Input& in, const RegressionResults& counts)
{
    for (int j = 0; j < Responses(in); j++) {
        counts.pRSquare[j] /= in.nIter;
        for (int v = 0; v < in.nEnvSelected; v++) counts.pCoefficient[v][j] /= in.nIter;
    }
}

double SumOfSquaresWithin(int n, double** D, const std::vector<bool>& member)
{
    double sum = 0.0;
    int count = 0;
    for (int i = 0; i < n; i++) {
        if (!member[static_cast<std::size_t>(i)]) continue;
        count++;
        for (int k = i + 1; k < n; k++)
            if (member[static_cast<std::size_t>(k)]) sum += D[i][k] * D[i][k];
    }
    return count > 0 ? sum / count : sum;
}

double PseudoF(const Input& in, double** D, int variable)
{
    const int n = in.nCommunities;
    std::vector<bool> taken(static_cast<std::size_t>(n)), done(static_cast<std::size_t>(n), false);
    for (int i = 0; i < n; i++) taken[static_cast<std::size_t>(i)] = in.relSelect[i] == 1;
    const double total = SumOfSquaresWithin(n, D, taken);
    double between = total;
    for (int i = 0; i < n; i++) {
        if (!taken[static_cast<std::size_t>(i)] || done[static_cast<std::size_t>(i)]) continue;
        std::vector<bool> group(static_cast<std::size_t>(n), false);
        for (int k = i; k < n; k++) {
            const bool same =
                static_cast<int>(in.E[k][variable]) == static_cast<int>(in.E[i][variable]);
            if (!same || !taken[static_cast<std::size_t>(k)]) continue;
            group[static_cast<std::size_t>(k)] = true;
            done[static_cast<std::size_t>(k)] = true;
        }
        between -= SumOfSquaresWithin(n, D, group);
    }
    return between / (total - between);
}

struct AnovaTable {
    explicit AnovaTable(const Input& in)
        : X(in.nEnvSelected), T(in.nEnvSelected), P(in.nEnvSelected), Rf(in.nEnvSelected),
          Rp(in.nEnvSelected), traits(in.nEnvSelected, in.nTraits)
    {
    }
    OwnedVector X, T, P, Rf, Rp;
    OwnedRows traits;
};

void FillAnova(const Input& in, Arrangement& a, AnovaTable& f)
{
    const int n = in.nCommunities;
    OwnedRows oneTrait(n, 1), D(n, n);
    for (int v = 0; v < in.nEnvSelected; v++) {
        f.T[v] = PseudoF(in, a.DT, v);
        f.X[v] = PseudoF(in, a.DX, v);
        f.Rf[v] = PseudoF(in, a.DR, v);
        for (int j = 0; j < in.nTraits; j++) {
            if (in.selectedTraits[j] != 1) continue;
            for (int k = 0; k < n; k++) oneTrait[k][0] = a.T[k][j];
            Euclidean(n, 1, oneTrait, D);
            f.traits[v][j] = PseudoF(in, D, v);
        }
        if (!in.hasPhylogenyInput) continue;
        f.P[v] = PseudoF(in, a.DP, v);
        f.Rp[v] = PseudoF(in, a.DRp, v);
    }
}

// Calls change(place in the table, place in the results, place of the P, tails) for every F.
template <typename Change>
void ForEachF(const Input& in, const AnovaTable& f, Change change)
{
    for (int v = 0; v < in.nEnvSelected; v++) {
        change(f.T[v], in.anovaF.T[v], in.anovaP.T[v], false);
        change(f.X[v], in.anovaF.X[v], in.anovaP.X[v], false);
        change(f.Rf[v], in.anovaF.Rf[v], in.anovaP.Rf[v], in.twoTailed);
        for (int j = 0; j < in.nTraits; j++)
            if (in.selectedTraits[j] == 1)
                change(f.traits[v][j], in.anovaF.traits[v][j], in.anovaP.traits[v][j], false);
        if (!in.hasPhylogenyInput) continue;
        change(f.P[v], in.anovaF.P[v], in.anovaP.P[v], false);
        change(f.Rp[v], in.anovaF.Rp[v], in.anovaP.Rp[v], false);
    }
}

// --- Lists

using Generator = std::unique_ptr<gsl_rng, void (*)(gsl_rng*)>;

void Shuffle(gsl_rng* generator, std::vector<int>& list)
{
    const std::size_t n = list.size();
    for (std::size_t i = 0; i + 1 < n; i++) {
        const std::size_t j = i + gsl_rng_uniform_int(generator, n - i);
        const int kept = list[i];
        list[i] = list[j];
        list[j] = kept;
    }
}

std::vector<int> Ascending(int n)
{
    std::vector<int> list;
    for (int i = 1; i <= n; i++) list.push_back(i);
    return list;
}

std::vector<int> StartingList(const Input& in)
{
    if (in.shuffleKind == 's') return Ascending(in.nCommunities);
    if (!in.weightedNull) return Ascending(in.nOTUs);
    std::vector<int> pool; // an OTU stands in it as often as communities hold it
    for (int k = 0; k < in.nCommunities; k++)
        for (int i = 0; i < in.nOTUs; i++)
            if (in.W[k][i] > 0.0) pool.push_back(i + 1);
    return pool;
}

int SmallestAbove(const Input& in, bool any, int limit, bool* found)
{
    int smallest = 0;
    *found = false;
    for (int i = 0; i < in.nOTUs; i++) {
        const int label = in.nestingGroups[i];
        if (!any && label <= limit) continue;
        if (!*found || label < smallest) smallest = label;
        *found = true;
    }
    return smallest;
}

// Within each group, labels ascending, the members change places among themselves.
void ShuffleWithinGroups(const Input& in, gsl_rng* generator, std::vector<int>& list)
{
    list = Ascending(in.nOTUs);
    bool found = false;
    int label = SmallestAbove(in, true, 0, &found);
    while (found) {
        std::vector<int> members;
        for (int i = 0; i < in.nOTUs; i++)
            if (in.nestingGroups[i] == label) members.push_back(i + 1);
        std::vector<int> order = Ascending(static_cast<int>(members.size()));
        Shuffle(generator, order);
        for (std::size_t m = 0; m < members.size(); m++)
            list[static_cast<std::size_t>(members[m] - 1)] =
                members[static_cast<std::size_t>(order[m] - 1)];
        label = SmallestAbove(in, false, label, &found);
    }
}

void DrawList(const Input& in, gsl_rng* generator, std::vector<int>& list)
{
    if (in.shuffleKind == 't' && !in.weightedNull && in.restrictKind == 1)
        ShuffleWithinGroups(in, generator, list);
    else
        Shuffle(generator, list);
}

// --- Arrangements

void Observe(Input& in, Arrangement& a)
{
    ScaleUp(in, in.B, in.U, in.Q, in.Sb, in.Sf, a);
    FillStatistics(in, a);
    if (IsCorrelation(in) && in.hasPhylogenyInput) {
        double signal = SignalAmongOtus(in, in.Sf, in.pcoaScores);
        // Deliberate: the observed value alone is reversed, and under Mantel only.
        if (in.measure == mantel && in.phylIsDissimilarity) signal = -signal;
        a.statistics[roBF] = signal;
    }
}

void Store(Input& in, const Arrangement& a)
{
    for (int k = 0; k < in.nCommunities; k++) {
        for (int j = 0; j < in.nTraits; j++) in.T[k][j] = a.T[k][j];
        for (int j = 0; j < in.nTypes; j++) in.X[k][j] = a.X[k][j];
        in.Rf[k] = a.R[k][0];
        if (!in.hasPhylogenyInput) continue;
        for (int j = 0; j < in.nTaxa; j++) in.P[k][j] = a.P[k][j];
        in.Rp[k] = a.Rp[k][0];
    }
}

void ArrangeOtus(const Input& in, const std::vector<int>& list, OtuMatrices& random,
                 Arrangement& a)
{
    const int s = in.nOTUs;
    MoveRows(s, in.nTraits, in.B, list, random.B);
    MoveRows(s, in.nTypes, in.U, list, random.U);
    PlainPermuteResemblance(s, in.Sb, list, random.Sb);
    if (in.hasPhylogenyInput) {
        MoveRows(s, in.nTaxa, in.Q, list, random.Q);
        PlainPermuteResemblance(s, in.Sf, list, random.Sf);
        if (in.pcoaScores != nullptr) MoveRows(s, in.nPCoA, in.pcoaScores, list, random.scores);
    }
    ScaleUp(in, random.B, random.U, random.Q, random.Sb, random.Sf, a);
}

void ArrangeCommunities(const Input& in, const std::vector<int>& list,
                        const Arrangement& observed, Arrangement& a)
{
    const int n = in.nCommunities;
    MoveRows(n, in.nTraits, observed.T, list, a.T);
    MoveRows(n, in.nTypes, observed.X, list, a.X);
    MoveRows(n, 1, observed.R, list, a.R);
    if (!in.hasPhylogenyInput) return;
    MoveRows(n, in.nTaxa, observed.P, list, a.P);
    MoveRows(n, 1, observed.Rp, list, a.Rp);
}

bool IsPhylogenetic(int statistic) { return statistic >= roBF; }

bool IsPartial(int statistic)
{
    switch (statistic) {
    case rXE_T: case rXE_TR: case rXY_T: case rXZ_T: case roPX_T: case roTE_P: case roXE_P:
    case roXE_TP: case roPE_T: case roPE_X:
        return true;
    default:
        return false;
    }
}

void Count(const Input& in, const Arrangement& observed, const Arrangement& random, double* counts)
{
    if (!IsCorrelation(in)) return;
    for (int which = 0; which < nStatistics; which++) {
        if (IsPhylogenetic(which) && !in.hasPhylogenyInput) continue;
        // Moving communities moves no OTU, so the signal among OTUs has no null distribution.
        if (which == roBF && in.shuffleKind == 's') continue;
        const bool absolute = IsPartial(which) || in.twoTailed;
        if (PlainReaches(random.statistics[which], observed.statistics[which], absolute))
            counts[which] += 1.0;
    }
}

} // namespace

void PlainTraitAverages(int n, int s, int t, double** W, double** B, double** T,
                        const int* selected, const int* weights, bool keepScale)
{
    for (int k = 0; k < n; k++)
        for (int j = 0; j < t; j++) {
            double cell = 0.0, weighted = 0.0, present = 0.0, total = 0.0;
            if (selected[j] == 1) {
                for (int i = 0; i < s; i++) {
                    const double a = W[k][i], b = B[i][j];
                    if (!Missing(a) && !Missing(b)) {
                        cell += b * a * weights[i];
                        weighted += weights[i] * a;
                        present += a;
                    }
                    total += a;
                }
                if (!keepScale && present > 0.0) cell /= present / total;
                if (keepScale && weighted > 0.0) cell /= weighted / total;
            }
            T[k][j] = cell;
        }
}

void PlainNormalizeColumns(int n, int p, double** M)
{
    for (int j = 0; j < p; j++) {
        double sum = 0.0;
        for (int k = 0; k < n; k++) sum += M[k][j] * M[k][j];
        const double length = sum > 0.0 ? std::sqrt(sum) : 1.0;
        for (int k = 0; k < n; k++) M[k][j] = M[k][j] / length;
    }
}

void PlainComposition(int n, int s, int g, double** W, double** U, double** X, const int* weights,
                      bool keepScale)
{
    for (int k = 0; k < n; k++)
        for (int c = 0; c < g; c++) {
            double cell = 0.0, weighted = 0.0, present = 0.0;
            int missing = 0;
            for (int i = 0; i < s; i++) {
                const double a = W[k][i], b = U[i][c];
                if (Missing(a) || Missing(b)) {
                    missing++;
                    continue;
                }
                cell += a * b * weights[i];
                weighted += weights[i] * a;
                present += a;
            }
            if (keepScale) cell /= weighted / present;
            X[k][c] = cell == 0.0 && missing > 0 ? -999.0 : cell;
        }
}

void PlainResemblance(int option, int n, int p, double** data, double** out)
{
    switch (option) {
    case 6: Euclidean(n, p, data, out); break;
    case 8: CityBlock(n, p, data, out); break;
    case 10: Chord(n, p, data, out); break;
    case 5: Correlation(n, p, data, out); break;
    // Deliberate: these have no measure, and out keeps what it held.
    case 1: case 2: case 4: case 7: case 9: break;
    default: CrossProduct(n, p, data, out); break;
    }
    for (int i = 0; i < n; i++)
        for (int k = i + 1; k < n; k++) out[k][i] = out[i][k];
}

double PlainMatrixCorr(int n, double** A, double** B)
{
    if (n < 2) return 0.0;
    double sumA = 0.0, sumB = 0.0;
    int m = 0;
    for (int i = 0; i < n; i++)
        for (int k = i + 1; k < n; k++) {
            if (Missing(A[i][k]) || Missing(B[i][k])) continue;
            sumA += A[i][k];
            sumB += B[i][k];
            m++;
        }
    const double meanA = sumA / m, meanB = sumB / m;
    double Saa = 0.0, Sbb = 0.0, Sab = 0.0;
    for (int i = 0; i < n; i++)
        for (int k = i + 1; k < n; k++) {
            if (Missing(A[i][k]) || Missing(B[i][k])) continue;
            const double a = A[i][k] - meanA;
            const double b = B[i][k] - meanB;
            Saa += a * a;
            Sbb += b * b;
            Sab += b * a;
        }
    if (Saa == 0.0 || Sbb == 0.0) return 0.0;
    return Sab / std::sqrt(Saa * Sbb);
}

double PlainPartial(double rxy, double rxz, double ryz)
{
    if (1e-9 > std::fabs(rxz - 1.0)) return 0.0;
    if (1e-9 > std::fabs(ryz - 1.0)) return 0.0;
    return (rxy - rxz * ryz) / (std::sqrt(1.0 - ryz * ryz) * std::sqrt(1.0 - rxz * rxz));
}

double PlainRao(int s, const double* x, double** M, bool isDissimilarity, bool sqrtDissim,
                const int* weights, bool restrictWithin, bool keepScale)
{
    for (int i = 0; i < s; i++)
        for (int j = i + 1; j < s; j++) M[j][i] = M[i][j];
    double total = 0.0;
    for (int i = 0; i < s; i++)
        if (!Missing(x[i])) total += x[i];
    if (!(total > 0.0)) return 0.0;

    double Q = 0.0, counted = 0.0, known = 0.0, full = 0.0;
    for (int i = 0; i < s; i++)
        for (int j = 0; j < s; j++) {
            const double pi = x[i] / total, pj = x[j] / total;
            const bool either = weights[i] == 1 || weights[j] == 1;
            const double pairWeight = restrictWithin ? weights[i] * weights[j] : either ? 1.0 : 0.0;
            double d = isDissimilarity ? M[i][j] : 1.0 - M[i][j];
            // A similarity that rounding left above 1 is a similarity of 1.
            if (sqrtDissim && !isDissimilarity && d < 0.0) d = 0.0;
            if (sqrtDissim) d = std::sqrt(d);
            if (!Missing(M[i][j]) && !Missing(x[i]) && !Missing(x[j])) {
                Q += pairWeight * pj * d * pi;
                counted += pairWeight * pj * pi;
                known += pj * pi;
            }
            full += pj * pi;
        }
    if (!keepScale && known > 0.0) Q /= known / full;
    if (keepScale && counted > 0.0) Q /= counted / full;
    return Q;
}

void PlainPermuteResemblance(int s, double** M, const std::vector<int>& list, double** out)
{
    for (int i = 0; i < s; i++)
        for (int j = 0; j < s; j++) {
            const int drawn = static_cast<int>(list.size());
            out[i][j] = i < drawn && j < drawn ? M[list[static_cast<std::size_t>(i)] - 1]
                                                  [list[static_cast<std::size_t>(j)] - 1]
                                               : 0.0;
        }
}

bool PlainReaches(double a, double b, bool absolute)
{
    if (absolute) {
        a = std::fabs(a);
        b = std::fabs(b);
    }
    if (a > b) return true;
    // Neighbouring single-precision numbers differ by 1 in their patterns, once the patterns of
    // negative numbers are mirrored below zero.
    const float single[] = {static_cast<float>(a), static_cast<float>(b)};
    std::uint32_t pattern[2];
    std::memcpy(pattern, single, sizeof pattern);
    for (std::uint32_t& p : pattern)
        if ((p & 0x80000000u) != 0) p = 0x80000000u - p;
    const std::uint32_t difference = pattern[0] - pattern[1];
    const std::uint32_t magnitude = (difference & 0x80000000u) != 0 ? 0u - difference : difference;
    return magnitude <= 1u || magnitude == 0x80000000u;
}

void PlainPermTest(Input* input, unsigned long seed, std::vector<PlainIteration>* iterations)
{
    Input& in = *input;
    Generator generator(gsl_rng_alloc(gsl_rng_mt19937), gsl_rng_free);
    gsl_rng_set(generator.get(), seed);

    Arrangement observed(in), random(in);
    OtuMatrices moved(in);
    Observe(in, observed);
    Store(in, observed);
    for (int which = 0; which < nStatistics; which++)
        in.results[which] = observed.statistics[which];

    RegressionFit fit(in);
    AnovaTable anova(in);
    if (in.measure == linearRegression) {
        FitRegression(in, observed, fit);
        StoreRegression(in, fit, in.regression);
    }
    if (in.measure == varianceAnalysis) {
        FillAnova(in, observed, anova);
        ForEachF(in, anova, [](double f, double& result, double& count, bool) {
            result = f;
            count = 1.0;
        });
    }

    double counts[nStatistics];
    for (double& count : counts) count = 1.0;
    std::vector<int> list = StartingList(in);
    for (int iteration = 1; iteration < in.nIter; iteration++) {
        DrawList(in, generator.get(), list);
        if (in.shuffleKind == 't')
            ArrangeOtus(in, list, moved, random);
        else
            ArrangeCommunities(in, list, observed, random);
        FillStatistics(in, random);
        if (IsCorrelation(in) && in.hasPhylogenyInput && in.shuffleKind == 't')
            random.statistics[roBF] = SignalAmongOtus(in, moved.Sf, moved.scores);
        Count(in, observed, random, counts);
        if (in.measure == linearRegression) {
            FitRegression(in, random, fit);
            CountRegression(in, fit, in.regression);
        }
        if (in.measure == varianceAnalysis) {
            FillAnova(in, random, anova);
            ForEachF(in, anova, [](double f, double result, double& count, bool absolute) {
                if (PlainReaches(f, result, absolute)) count += 1.0;
            });
        }
        if (iterations != nullptr) {
            PlainIteration record;
            record.list = list;
            for (int which = 0; which < nStatistics; which++)
                record.statistics[which] = random.statistics[which];
            iterations->push_back(record);
        }
    }

    for (int which = 0; which < nStatistics; which++)
        in.probabilities[which] = counts[which] / in.nIter;
    if (in.measure == linearRegression) DivideRegressionCounts(in, in.regression);
    if (in.measure == varianceAnalysis)
        ForEachF(in, anova, [&in](double, double, double& count, bool) { count /= in.nIter; });
}
