// SPDX-License-Identifier: GPL-3.0-or-later
#include "permtest_data.hpp"

#include <cmath>
#include <cstdio>
#include <stdexcept>
#include <vector>

#include <gsl/gsl_rng.h>

#include "functional/belonging.hpp"
#include "functional/smoothing.hpp"
#include "numeric/adjust.hpp"
#include "numeric/matrix.hpp"
#include "numeric/resemblance.hpp"
#include "shell/files.hpp"

// clang-format off
const PermTestShape smallShape   = {"small",    75,  82,  8, 6, 10, 0.21, 0.0,  false};
const PermTestShape largeShape   = {"large",   200, 400, 10, 5, 12, 0.10, 0.0,  true};
const PermTestShape tinyShape    = {"tiny",     10,  12,  3, 2,  3, 0.5,  0.0,  false};
const PermTestShape missingShape = {"missing",  75,  82,  8, 6, 10, 0.21, 0.02, false};
// clang-format on

namespace {

constexpr int nScores = 4; // columns of the stand-in for principal coordinates

using Generator = std::unique_ptr<gsl_rng, void (*)(gsl_rng*)>;

double Uniform(Generator& generator) { return gsl_rng_uniform(generator.get()); }

// Box and Muller 1958, Annals of Mathematical Statistics 29:610.
double Normal(Generator& generator)
{
    const double radius = std::sqrt(-2.0 * std::log(1.0 - Uniform(generator)));
    const double angle = 6.283185307179586 * Uniform(generator);
    return radius * std::cos(angle);
}

// Communities differ in richness by a factor of up to 5; none stays empty.
void FillComposition(const PermTestShape& shape, Generator& generator, PermTestData& data)
{
    for (int k = 0; k < shape.n; k++) {
        const double share = shape.occupancy * (1.0 / 3.0 + 4.0 / 3.0 * Uniform(generator));
        bool any = false;
        for (int i = 0; i < shape.s; i++) {
            const double draw = Uniform(generator);
            const double abundance = shape.logNormal ? std::exp(Normal(generator))
                                                     : 1.0 + std::floor(5.0 * Uniform(generator));
            data.W[k][i] = draw < share ? abundance : 0.0;
            any = any || draw < share;
        }
        if (!any) data.W[k][k % shape.s] = 1.0;
    }
}

void FillTraits(const PermTestShape& shape, Generator& generator, PermTestData& data)
{
    for (int i = 0; i < shape.s; i++)
        for (int j = 0; j < shape.t; j++) {
            const double value = std::exp(Normal(generator));
            const bool missing = Uniform(generator) < shape.missingTraits;
            data.rawB[i][j] = missing ? -999.0 : value;
        }
    for (int i = 0; i < shape.s; i++) {
        data.partition[i] = i % shape.g + 1;
        data.nesting[i] = i % 4;
        for (int a = 0; a < nScores; a++) data.scores[i][a] = Normal(generator);
    }
}

// Lineages coalesce two at a time, at equal steps of age: similarity 1 minus the age.
void FillPhylogeny(Generator& generator, PermTestData& data)
{
    std::vector<std::vector<int>> lineages;
    for (int i = 0; i < data.s; i++) {
        lineages.push_back({i});
        data.Sf[i][i] = 1.0;
    }
    for (int step = 1; lineages.size() > 1; step++) {
        const double age = static_cast<double>(step) / data.s;
        std::vector<int> joined;
        for (int part = 0; part < 2; part++) {
            const std::size_t which =
                gsl_rng_uniform_int(generator.get(), lineages.size());
            for (int a : lineages[which])
                for (int b : joined) data.Sf[a][b] = data.Sf[b][a] = 1.0 - age;
            joined.insert(joined.end(), lineages[which].begin(), lineages[which].end());
            lineages.erase(lineages.begin() + static_cast<long>(which));
        }
        lineages.push_back(joined);
    }
}

void ReadTypes(const std::string& file, PermTestData& data)
{
    OwnedRows types(data.s, 1);
    ReadExample(file, data.s, 1, types);
    for (int i = 0; i < data.s; i++) data.partition[i] = static_cast<int>(types[i][0]);
}

} // namespace

PermTestData::PermTestData(int nCommunities, int nOTUs, int nTraits, int nVariables, int nTypes)
    : n(nCommunities), s(nOTUs), t(nTraits), e(nVariables), g(nTypes), rawB(s, t), B(s, t),
      W(n, s), E(n, e), U(s, g), Q(s, g), Sb(s, s), Sf(s, s), scores(s, nScores), DE(n, n),
      DY(n, n), DZ(n, n), Y(n, s), Z(n, s), traitTypes(t), selected(t), weights(s), partition(s),
      nesting(s), relSelect(n), T(n, t), X(n, g), P(n, g), Rf(n), Rp(n),
      regression(e, t), F(e, t), pOfF(e, t)
{
    for (int j = 0; j < t; j++) {
        traitTypes[j] = 3;
        selected[j] = 1;
    }
    for (int i = 0; i < s; i++) weights[i] = 1;
    for (int k = 0; k < n; k++) relSelect[k] = 1;
    input.nIter = 1;
    input.nTraits = t;
    input.selectedTraits = selected;
    input.nOTUs = s;
    input.nTypes = input.nTaxa = g;
    input.nEnvSelected = e;
    input.nCommunities = n;
    input.relSelect = relSelect;
    input.nPCoA = nScores;
    input.B = B;
    input.Sb = Sb;
    input.pcoaScores = scores;
    input.Sf = Sf;
    input.E = E;
    input.U = U;
    input.Q = Q;
    input.W = W;
    input.DE = DE;
    input.DY = DY;
    input.DZ = DZ;
    input.Y = Y;
    input.Z = Z;
    input.regression = regression;
    input.anovaF = F;
    input.anovaP = pOfF;
    input.nestingGroups = nesting;
    input.T = T;
    input.X = X;
    input.P = P;
    input.Rf = Rf;
    input.Rp = Rp;
    input.otuWeights = weights;
}

void DeriveFromTraits(PermTestData& data)
{
    const int n = data.n, s = data.s;
    UnitSumRowsAdjMV(n, s, data.W, data.W);
    OwnedVector weights(data.t), ranges(data.t);
    for (int j = 0; j < data.t; j++) {
        weights[j] = data.selected[j];
        for (int i = 0; i < s; i++) data.B[i][j] = data.selected[j] == 1 ? data.rawB[i][j] : 0.0;
    }
    PartialSimilarity partial(data.t, s);
    gower_similarityPartial(data.t, data.rawB, s, partial, data.traitTypes, ranges, weights, 1);
    gower_similarityAverage(data.t, s, partial, data.Sb, static_cast<double*>(weights));
    UpperToLowerMatrix(s, data.Sb);
    FuzzyBelonging(s, data.g, data.Sb, data.partition, data.U, false);
    BealsSmoothing(n, s, data.W, data.W, data.Y, true, 1, false);
    BealsSmoothing(n, s, data.W, data.W, data.Z, true, 1, true);
    EucliDistMV(n, s, data.Y, data.DY);
    EucliDistMV(n, s, data.Z, data.DZ);
    CorrAdj(n, data.e, data.E, data.E);
    EucliDistMV(n, data.e, data.E, data.DE);
}

void DeriveFromPhylogeny(PermTestData& data, bool isDissimilarity)
{
    FuzzyBelonging(data.s, data.g, data.Sf, data.partition, data.Q, isDissimilarity);
    data.input.hasPhylogenyInput = true;
    data.input.phylIsDissimilarity = isDissimilarity;
}

std::unique_ptr<PermTestData> MakePermTestData(const PermTestShape& shape, unsigned long seed)
{
    Generator generator(gsl_rng_alloc(gsl_rng_mt19937), gsl_rng_free);
    gsl_rng_set(generator.get(), seed);
    auto data = std::make_unique<PermTestData>(shape.n, shape.s, shape.t, shape.e, shape.g);
    FillComposition(shape, generator, *data);
    FillTraits(shape, generator, *data);
    FillPhylogeny(generator, *data);
    for (int k = 0; k < shape.n; k++)
        for (int j = 0; j < shape.e; j++) data->E[k][j] = 10.0 * Uniform(generator);
    DeriveFromTraits(*data);
    return data;
}

void ReadExample(const std::string& file, int rows, int columns, double** to)
{
    const std::string path = std::string(KELPRA_TEST_DIR) + "/../examples/" + file;
    OutputFile in(std::fopen(path.c_str(), "r")); // closes itself
    for (int i = 0; i < rows; i++)
        for (int j = 0; j < columns; j++)
            if (!in.IsOpen() || std::fscanf(in, "%lf", &to[i][j]) != 1)
                throw std::runtime_error("cannot read " + path);
}

std::unique_ptr<PermTestData> DuneData()
{
    auto data = std::make_unique<PermTestData>(20, 30, 7, 3, 6);
    ReadExample("dune/B.txt", 30, 7, data->rawB);
    ReadExample("dune/W.txt", 20, 30, data->W);
    ReadExample("dune/E.txt", 20, 3, data->E);
    ReadExample("dune/F.txt", 30, 30, data->Sf);
    ReadTypes("dune/types.txt", *data);
    data->traitTypes[5] = data->traitTypes[6] = 1;
    MatrixUnitMaxTransf(30, 30, data->Sf, data->Sf);
    DeriveFromTraits(*data);
    DeriveFromPhylogeny(*data, true);
    return data;
}

std::unique_ptr<PermTestData> AravoData()
{
    auto data = std::make_unique<PermTestData>(75, 82, 8, 4, 8);
    ReadExample("aravo/B.txt", 82, 8, data->rawB);
    ReadExample("aravo/W.txt", 75, 82, data->W);
    ReadExample("aravo/E.txt", 75, 4, data->E);
    ReadTypes("aravo/types.txt", *data);
    DeriveFromTraits(*data);
    return data;
}
