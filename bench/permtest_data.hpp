// SPDX-License-Identifier: GPL-3.0-or-later
// Data for the permutation test: random sets of a given shape, and sets read from the examples.
// The same data serve the tests and the benchmark.
#pragma once

#include <memory>
#include <string>

#include "permutation/permtest.hpp"
#include "shell/arrays.hpp"

/// n communities, s OTUs, t traits, e variables, g types.
struct PermTestShape {
    const char* name;
    int n, s, t, e, g;
    double occupancy;     // share of cells of W above 0
    double missingTraits; // share of cells of B without a value
    bool logNormal;       // abundances: log-normal, else classes 1 to 5
};

extern const PermTestShape smallShape;   // the shape of a published alpine data set
extern const PermTestShape largeShape;   // log-normal abundances
extern const PermTestShape tinyShape;    // mostly overhead
extern const PermTestShape missingShape; // smallShape with 2 % of the traits unknown

/// All matrices of one test and the record that points to them. Taxa are the types.
struct PermTestData {
    PermTestData(int n, int s, int t, int e, int g);
    PermTestData(const PermTestData&) = delete;
    PermTestData& operator=(const PermTestData&) = delete;

    const int n, s, t, e, g;
    OwnedRows rawB, B, W, E, U, Q, Sb, Sf, scores, DE, DY, DZ, Y, Z;
    OwnedInts traitTypes, selected, weights, partition, nesting, relSelect;
    OwnedRows T, X, P;
    OwnedVector Rf, Rp;
    OwnedRegression regression;
    OwnedAnova F, pOfF;
    PermTest_FunctionalPhyl_Correl_Input input; // Euclidean, Mantel, no phylogeny, 1 iteration
};

/// Fills what rests on rawB, W, E, partition and selected: W to unit totals, B, Sb, U (fuzzy), Y,
/// Z and the distances DE (on standardised variables), DY and DZ.
void DeriveFromTraits(PermTestData& data);
/// Fills Q (fuzzy) from Sf and partition, and turns the phylogeny on.
void DeriveFromPhylogeny(PermTestData& data, bool isDissimilarity);

/// Random data of a shape, with an ultrametric phylogeny ready but turned off; the same for a seed.
std::unique_ptr<PermTestData> MakePermTestData(const PermTestShape& shape,
                                               unsigned long seed = 42);
/// From examples/dune, the phylogeny as distances 0 to 1; from examples/aravo, no phylogeny.
std::unique_ptr<PermTestData> DuneData();
std::unique_ptr<PermTestData> AravoData();
/// Reads the first rows x columns numbers of a file of the examples, "dune/F.txt" for one.
void ReadExample(const std::string& file, int rows, int columns, double** to);
