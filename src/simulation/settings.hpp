// SPDX-License-Identifier: GPL-3.0-or-later
// The one record that holds every setting and parameter of a simulation of community assembly.
//
// Sizes in the words of the shapes: S sites, N OTUs, K traits, F factors (ecosystem variables), Q
// predictors: the factors, then, if considered, their double interactions 1x2, 1x3, ..., 2x3, ...
#pragma once

#include "session/rawfile.hpp"
#include "shell/arrays.hpp"

struct StepFiles;

/// A logistic function for each OTU: read from a file or generated for every data set.
struct LogisticFunctions {
    bool isGenerated = false;
    double minCenter = 0.0, maxCenter = 0.0; // limits of what is generated
    double minSlope = 0.0, maxSlope = 0.0;
    RawFile file;
    OwnedRows parameters; // N x 2: center (0 to 1) and slope (negative)
};

/// Settings and parameters of a run. Files named in the dialogue are open until they are read; until
/// then matrices are empty.
struct Simulation {
    int nSites = 0, nOTUs = 0, nTraits = 0, nFactors = 0, nPredictors = 0;

    int traitSource = 't';       // 't' traits, 'c' their correlations, 'b' also those of OTUs
    int traitDistribution = 'n'; // 'u' or 'n'
    int siteSource = 'r';        // 'c' coordinates from a file, 'r' generated
    int ecosystemSource = 'e';   // 'e' data, 'c' correlations of factors
    int ecosystemDistribution = 'n';
    bool withInteractions = false;
    bool lifespansGenerated = false;
    int minLifespan = 1, maxLifespan = 1; // years
    int maxAvg = 1;  // maximum average number of individuals per community
    int years = 1, perYear = 1, totalSteps = 1;
    double threshold = 0.0; // share of maxAvg, or of the steps, after which events are recorded
    bool evaluate = false;  // rates of rejection over many data sets
    int nSets = 1;
    double alpha = 0.0;
    bool saveIntermediate = false; // files are written at every step
    StepFiles* stepFiles = nullptr; // these files; borrowed, null without them

    RawFile traitFile, traitCorrelationFile, otuCorrelationFile, siteFile, ecosystemFile,
        factorCorrelationFile, responseFile, effectFile, lifespanFile;
    LogisticFunctions dispersal, survival, density, age;

    OwnedRows traits;            // N x K, not standardised
    OwnedRows traitCorrelation;  // K x K, sources 'c' and 'b'
    OwnedRows otuCorrelation;    // N x N, source 'b'
    OwnedRows factorCorrelation; // F x F, source 'c'
    OwnedRows sites;             // 2 x S: X, then Y
    OwnedRows ecosystem;         // F x S, source 'e', not standardised
    OwnedRows initialE;          // Q x S, factors standardised
    OwnedRows responses;         // K x Q: of community traits to the ecosystem
    OwnedRows effects;           // F x K: of community traits on the ecosystem
    OwnedInts lifespans;         // N, years
    OwnedInts isResponding;      // K, 1 for a trait with a response that is not 0
    OwnedInts selected;          // Q, 1 for a predictor in the analysis
    int nSelected = 0;

    /// Whether the data of each set go to the report.
    bool ReportsSets() const;
};

/// Number of predictors: the factors and, if considered, their double interactions.
int CountPredictors(int nFactors, bool withInteractions);

/// Name of a predictor, counted from 0, as the reports show it: "3", or "1x2" for an interaction.
/// name has room for 24 characters.
void PredictorName(const Simulation& run, int predictor, char* name);

/// Product of the rows of both factors, cell by cell, for each interaction; E is Q x S.
void ComputeInteractions(const Simulation& run, double** E);
