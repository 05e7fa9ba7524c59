// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>

#include "numeric/adjust.hpp"
#include "numeric/matrix.hpp"
#include "numeric/random.hpp"
#include "numeric/statistics.hpp"
#include "shell/console.hpp"
#include "simulation/model.hpp"
#include "simulation/step_kernels.hpp"
#include "simulation/stepfiles.hpp"

namespace {

const double capFraction = 0.95; // farther than 95 % of all distances counts as no farther

double UnitLogistic(double x, const LogisticFunctions& functions, int otu)
{
    const double* const parameters = functions.parameters[otu];
    return Logistic(x, 0.0, 1.0, 0.0, 1.0, parameters[1], parameters[0]);
}

// --- Conditions of a step

void ExpectAverages(const Simulation& run, Metacommunity& m)
{
    MatrixProdMV(m.nTraits, m.nPredictors, m.nPredictors, m.nSites, run.responses, m.E,
                 m.expected);
    // The linear models are on the raw scale of the traits.
    ZStandardizationRowsMV(m.nTraits, m.nSites, m.traitMeans, m.traitDeviations, m.expected,
                           m.expected);
}

double LargestCell(int rows, int cols, double** M)
{
    double largest = 0.0;
    for (int i = 0; i < rows; i++)
        for (int j = 0; j < cols; j++)
            if (M[i][j] > largest) largest = M[i][j];
    return largest;
}

/// Distances, and how they will be capped and scaled. A step reads two cells a site at most, so
/// capping and scaling wait until a cell is read.
void MeasureDistances(Metacommunity& m)
{
    ActiveStepKernels().distances(m.nSites, m.nOTUs, m.nTraits, m.traitsByOTU, m.expected,
                                  m.dist);
    m.cap = m.percentile.Select(m.dist, capFraction);
    // The cap is a cell of the matrix, hence the largest one after capping, unless no value has a
    // rank as high as that (most cells are equal).
    const bool isCell = m.cap < static_cast<double>(std::numeric_limits<float>::max());
    m.scale = isCell ? m.cap : Fmin(m.cap, LargestCell(m.nSites, m.nOTUs, m.dist));
}

void StartRecording(const Simulation& run, Metacommunity& m, int step)
{
    if (m.recording) return;
    const bool isFull = m.total > run.threshold * run.maxAvg * m.nSites;
    const bool isLate = step > run.threshold * run.totalSteps;
    if (!isFull && !isLate) return;
    m.recording = true;
    m.recordStep = step;
    for (int s = 0; s < m.nSites; s++) m.richness[s] = m.nPresent[s];
}

// --- Arrivals and deaths

void EnterPresent(Metacommunity& m, int s, int o)
{
    int* const begin = m.present[s];
    int* const end = begin + m.nPresent[s];
    int* const place = std::lower_bound(begin, end, o);
    std::copy_backward(place, end, end + 1);
    *place = o;
    m.nPresent[s]++;
    m.isAt[o][s] = 1;
}

void LeavePresent(Metacommunity& m, int s, int o)
{
    int* const begin = m.present[s];
    int* const end = begin + m.nPresent[s];
    int* const place = std::lower_bound(begin, end, o);
    std::copy(place + 1, end, place);
    m.nPresent[s]--;
    m.isAt[o][s] = 0;
}

void AddBirth(double& average, double n, int birth)
{
    average = (average * n + birth) / (n + 1.0);
}

void RemoveBirth(double& average, double n, int birth)
{
    average = n - 1.0 > 0.0 ? (n * average - birth) / (n - 1.0) : 0.0;
}

void Establish(Metacommunity& m, int s, int o, int step)
{
    double** const W = m.W;
    double** const births = m.averageBirth;
    m.individuals[static_cast<std::size_t>(s)].push_back({o, step});
    AddBirth(births[s][o], W[s][o], step);
    AddBirth(births[m.nSites][o], W[m.nSites][o], step);
    AddBirth(births[s][m.nOTUs], m.siteTotal[s], step);
    W[s][o] += 1.0;
    W[m.nSites][o] += 1.0;
    m.siteTotal[s]++;
    m.total++;
    m.hasChanged[s] = 1;
    if (W[s][o] == 1.0) {
        EnterPresent(m, s, o);
        if (m.recording) m.colonisations[s]++;
    }
}

void Die(Metacommunity& m, int s, int o, std::size_t individual)
{
    double** const W = m.W;
    double** const births = m.averageBirth;
    std::vector<Individual>& living = m.individuals[static_cast<std::size_t>(s)];
    const int birth = living[individual].birth;
    RemoveBirth(births[s][o], W[s][o], birth);
    RemoveBirth(births[m.nSites][o], W[m.nSites][o], birth);
    if (m.siteTotal[s] > 1) RemoveBirth(births[s][m.nOTUs], m.siteTotal[s], birth);
    living.erase(living.begin() + static_cast<std::ptrdiff_t>(individual));
    W[s][o] -= 1.0;
    W[m.nSites][o] -= 1.0;
    m.siteTotal[s]--;
    m.total--;
    m.hasChanged[s] = 1;
    if (W[s][o] == 0.0) {
        LeavePresent(m, s, o);
        if (m.recording) m.extinctions[s]++;
    }
}

/// Distance of a site without the OTU to the nearest one where it lives.
double NearestSource(const Metacommunity& m, int s, int o)
{
    double nearest = 1.0;
    for (int t = 0; t < m.nSites; t++)
        if (m.isAt[o][t] != 0 && m.D[s][t] < nearest) nearest = m.D[s][t];
    return nearest;
}

/// Whether a propagule of the OTU reaches the site. An OTU that is nowhere comes from outside, for
/// certain; it takes its draw all the same.
bool Arrives(const Simulation& run, const Metacommunity& m, int s, int o, std::FILE* record)
{
    double probability = 1.0;
    if (m.W[m.nSites][o] != 0.0) {
        if (m.isAt[o][s] != 0) return true;
        probability = UnitLogistic(NearestSource(m, s, o), run.dispersal, o);
        if (record != nullptr)
            std::fprintf(record, "Community:\t%d\tOTU:\t%d\tProb dispersal:\t%g\n", s + 1, o + 1,
                         probability);
    }
    const double draw = gsl_rng_uniform(r);
    return probability > draw;
}

void Colonise(const Simulation& run, Metacommunity& m, int step, std::FILE* record)
{
    for (int s = 0; s < m.nSites; s++) {
        const int o = UniformInt(m.nOTUs);
        if (!Arrives(run, m, s, o, record)) continue;
        const double draw = gsl_rng_uniform(r);
        if (SurvivalProbability(run, m, s, o) > draw) Establish(m, s, o, step);
    }
}

/// Deliberate: a division of whole numbers. A site below maxAvg has density 0, one below twice that
/// has 1: the curve sees steps, and results of earlier runs rest on them.
void MeasureDensity(const Simulation& run, Metacommunity& m)
{
    for (int s = 0; s < m.nSites; s++) m.density[s] = m.siteTotal[s] / run.maxAvg;
}

/// OTU of the i-th individual of a site, counted from 0, when they stand by OTUs.
int OtuOfIndividual(const Metacommunity& m, int s, int i)
{
    double sum = 0.0;
    for (int k = 0; k < m.nPresent[s]; k++) {
        const int o = m.present[s][k];
        sum += m.W[s][o];
        if (sum > i) return o;
    }
    return m.present[s][m.nPresent[s] - 1]; // not reached: the sum is the site's total
}

/// Place among the individuals of a site of the j-th of an OTU, counted from 0.
std::size_t PlaceOfIndividual(const Metacommunity& m, int s, int o, int j)
{
    const std::vector<Individual>& living = m.individuals[static_cast<std::size_t>(s)];
    std::size_t place = 0;
    for (int seen = 0;; place++)
        if (living[place].otu == o && seen++ == j) return place;
}

void Mortality(const Simulation& run, Metacommunity& m, int step, std::FILE* record)
{
    for (int s = 0; s < m.nSites; s++) {
        if (m.siteTotal[s] <= 0) continue;
        const int i = UniformInt(m.siteTotal[s]);
        const int o = OtuOfIndividual(m, s, i);
        const double densitySurvival = UnitLogistic(m.density[s], run.density, o);
        if (record != nullptr)
            std::fprintf(record, "Community:\t%d\tDensity dependence survival probability:\t%g\n",
                         s + 1, densitySurvival);

        const int j = UniformInt(static_cast<int>(m.W[s][o]));
        const std::size_t place = PlaceOfIndividual(m, s, o, j);
        const int birth = m.individuals[static_cast<std::size_t>(s)][place].birth;
        const double ageYears = static_cast<double>(step - birth) / run.perYear;
        const double ageSurvival = UnitLogistic(ageYears / run.lifespans[o], run.age, o);
        if (record != nullptr)
            std::fprintf(record, "Community:\t%d\tOTU:\t%d\tIndividual age (years):\t%g\tAge-related survival probability:\t%g\n",
                         s + 1, o + 1, ageYears, ageSurvival);

        const double probability =
            1.0 - densitySurvival * ageSurvival * SurvivalProbability(run, m, s, o);
        const double draw = gsl_rng_uniform(r);
        if (probability > draw) Die(m, s, o, place);
    }
}

// --- Feedback

/// Trait averages of a site from the OTUs present; the others would add zeros.
void AverageSite(Metacommunity& m, int s)
{
    const int n = m.nPresent[s];
    for (int k = 0; k < n; k++)
        m.shares[k] = m.W[s][m.present[s][k]] / m.siteTotal[s];
    for (int t = 0; t < m.nTraits; t++) {
        const double* const trait = m.traitsByOTU[t];
        double sum = 0.0;
        for (int k = 0; k < n; k++) sum += m.shares[k] * trait[m.present[s][k]];
        m.cwm[t][s] = sum;
    }
}

/// The same with missing or infinite traits, whose zeros count.
void AverageSiteMV(Metacommunity& m, int s)
{
    for (int o = 0; o < m.nOTUs; o++)
        m.shares[o] = m.siteTotal[s] > 0 ? m.W[s][o] / m.siteTotal[s] : 0.0;
    double* row = m.shares;
    double* out = m.means;
    MatrixProdMV(1, m.nOTUs, m.nOTUs, m.nTraits, &row, m.B, &out);
    for (int t = 0; t < m.nTraits; t++) m.cwm[t][s] = out[t];
}

void AverageTraits(Metacommunity& m)
{
    for (int s = 0; s < m.nSites; s++) {
        if (m.hasChanged[s] == 0) continue;
        if (m.wholeB)
            AverageSite(m, s);
        else
            AverageSiteMV(m, s);
        m.hasChanged[s] = 0;
    }
}

void ChangeEcosystem(const Simulation& run, Metacommunity& m)
{
    MatrixSum(m.nTraits, m.nSites, m.nTraits, m.nSites, m.cwm, m.previousCwm, m.change, -1);
    MatrixProdMV(m.nFactors, m.nTraits, m.nTraits, m.nSites, run.effects, m.change, m.delta);
    for (int f = 0; f < m.nFactors; f++)
        for (int s = 0; s < m.nSites; s++) m.E[f][s] += m.delta[f][s];
    CopyMatrix(m.nTraits, m.nSites, m.cwm, m.previousCwm);
    ComputeInteractions(run, m.E);
}

/// Makes room for the one arrival that a step may bring to each site, so that the step itself
/// allocates nothing.
void MakeRoom(Metacommunity& m)
{
    for (std::vector<Individual>& living : m.individuals)
        if (living.size() == living.capacity())
            living.reserve(std::max<std::size_t>(64, 2 * living.capacity()));
}

void ShowProgress(const Simulation& run, const Metacommunity& m, int set)
{
    char text[64];
    std::snprintf(text, sizeof text, "Iteration: %d %d Abundance: %d", run.nSets, set, m.total);
    HandleEventInfoWhere2(text);
}

} // namespace

double SurvivalProbability(const Simulation& run, const Metacommunity& m, int site, int otu)
{
    return UnitLogistic(m.ScaledDistance(site, otu), run.survival, otu);
}

void SimulateStep(const Simulation& run, Metacommunity& m, int step)
{
    MakeRoom(m);
    ExpectAverages(run, m);
    MeasureDistances(m);
    SaveConditions(run, m, step);
    StartRecording(run, m, step);
    Colonise(run, m, step, StartDispersalRecord(run, m, step));
    SaveCommunities(run, m, step, beforeMortality);
    MeasureDensity(run, m);
    Mortality(run, m, step, StartMortalityRecord(run, m, step));
    SaveCommunities(run, m, step, afterMortality);
    AverageTraits(m);
    SaveAverages(run, m, step);
    if (run.stepFiles != nullptr) run.stepFiles->Check();
    ChangeEcosystem(run, m);
}

void SimulateSteps(const Simulation& run, Metacommunity& m, int set)
{
    for (int done = 0; done < run.totalSteps; done++) {
        ShowProgress(run, m, set);
        SimulateStep(run, m, done + 1);
    }
}

void MeasureExtrapolation(Metacommunity& m)
{
    for (int t = 0; t < m.nTraits; t++)
        for (int s = 0; s < m.nSites; s++) {
            const double value = m.expected[t][s];
            if (value > m.traitMaxima[t])
                m.extrapolation[t][s] = value - m.traitMaxima[t];
            else if (value < m.traitMinima[t])
                m.extrapolation[t][s] = value - m.traitMinima[t];
        }
}
