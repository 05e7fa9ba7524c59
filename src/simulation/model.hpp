// SPDX-License-Identifier: GPL-3.0-or-later
// The simulated metacommunity: OTUs colonise and die in sites whose ecosystem selects among them
// and changes under the influence of their traits.
//
// Every random number comes from the process's generator in a fixed order, so that equal seeds and
// settings give equal metacommunities. Serial.
#pragma once

#include <vector>

#include "shell/arrays.hpp"
#include "simulation/percentile.hpp"
#include "simulation/settings.hpp"

/// Logistic function of x on xMin..xMax:
/// yMin + range / (1 + exp(((x - xMin) - (xMax - xMin) center) k))
/// with range = yMax - yMin and k = -4 slope / range. The slope is that of the tangent in the center
/// of antisymmetry; below 0 the curve descends. No guard for an empty range.
double Logistic(double x, double xMin, double xMax, double yMin, double yMax, double slope,
                double center);

/// Centers and slopes of n logistic functions, n x 2: first all centers, then all slopes, one
/// uniform number each. No curve is flatter than one that comes within a thousandth of its
/// asymptotes at both ends of 0 to 1.
void GenerateFunctions(int n, LogisticFunctions& functions);

/// An individual is known by its OTU and the step of its birth.
struct Individual {
    int otu, birth;
};

/// State of a run; made once, kept from set to set. S sites, N OTUs, K traits, Q predictors.
struct Metacommunity {
    explicit Metacommunity(const Simulation& run);
    Metacommunity(const Metacommunity&) = delete;
    Metacommunity& operator=(const Metacommunity&) = delete;

    const int nSites, nOTUs, nTraits, nFactors, nPredictors;

    OwnedRows B;                                     // N x K, standardised traits
    OwnedRows traitsByOTU;                           // K x N: B transposed
    OwnedVector traitMeans, traitDeviations;         // K, of the raw traits, divisor N - 1
    OwnedVector traitMinima, traitMaxima;            // K, of the standardised traits
    OwnedRows D;                                     // S x S, distances between sites, largest 1
    OwnedRows E;                                     // Q x S: factors, then interactions
    OwnedRows firstE;                                // Q x S: E at the start of the set
    OwnedRows expected;                              // K x S, expected trait averages, Z scores
    OwnedRows W;                                     // (S + 1) x N, abundances; row S: all sites
    std::vector<std::vector<Individual>> individuals; // S, in order of arrival
    OwnedRows averageBirth;                          // (S + 1) x (N + 1), mean step of birth
    OwnedInts siteTotal;                             // S, individuals
    int total = 0;                                   // individuals in all sites
    OwnedVector density;                             // S
    OwnedInts richness, colonisations, extinctions;  // S, counted from recordStep on
    bool recording = false;
    int recordStep = 0; // 0: recording never began
    OwnedRows cwm, previousCwm; // K x S, community weighted means now and one step earlier
    OwnedRows extrapolation;    // K x S, expected values beyond the range of the traits

    // Conditions of the step: how far each OTU is from what a site expects of it.
    OwnedRows dist;       // S x N, before capping and scaling
    double cap = 0.0;     // distances above count as this
    double scale = 0.0;   // the largest capped distance; scaled by it unless it is 0
    PercentileSelector percentile;

    // Kept for speed: which OTUs are where.
    OwnedTable<int> present; // S x N: OTUs present, ascending
    OwnedInts nPresent;      // S
    OwnedTable<char> isAt;   // N x S: 1 where an OTU is present
    OwnedInts hasChanged;    // S, 1 if W of the site changed in the step
    bool wholeB = true;      // B has no missing and no infinite cell

    // Work space of a step.
    OwnedRows change, delta; // K x S, F x S
    OwnedVector shares;      // N
    OwnedVector means;       // K

    /// Distance of an OTU to a site's expectation, capped and scaled: 0 to 1.
    double ScaledDistance(int site, int otu) const;
};

/// Standardises the traits of the run into B and takes their means, deviations and limits.
void StandardizeTraits(const Simulation& run, Metacommunity& m);

/// Distances between the sites of the run, over the largest one.
void MeasureSites(const Simulation& run, Metacommunity& m);

/// Draws what the settings leave to chance for a set, in the fixed order (traits, dispersal, sites,
/// ecosystem, survival, density dependence, lifespans, ageing), and empties all sites. The
/// averages of the last step of the set before stay, so the first feedback starts from them.
void StartSet(Simulation& run, Metacommunity& m);

/// One step: expectations, colonisation, mortality, feedback; numbered from 1.
void SimulateStep(const Simulation& run, Metacommunity& m, int step);

/// All steps of a set, with their progress lines; sets are counted from 1.
void SimulateSteps(const Simulation& run, Metacommunity& m, int set);

/// After the last step: how far expected values lie beyond the range of the traits.
void MeasureExtrapolation(Metacommunity& m);

/// Probability of survival of an OTU at a site under the conditions of the step.
double SurvivalProbability(const Simulation& run, const Metacommunity& m, int site, int otu);
