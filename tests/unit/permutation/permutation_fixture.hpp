// SPDX-License-Identifier: GPL-3.0-or-later
// What the tests of the permutation test share: changes of random data, and runs of both forms.
#pragma once

#include <cstdio>
#include <functional>
#include <memory>
#include <string>

#include "numeric/random.hpp"
#include "permutation/permtest.hpp"
#include "permtest_data.hpp"
#include "unit/shell/shell_fixture.hpp"

using Change = std::function<void(PermTestData&)>;

struct Variant {
    std::string fact;
    Change change;
};

constexpr unsigned long testSeed = 7;

inline void AsSimilarity(PermTestData& data)
{
    DeriveFromPhylogeny(data, false);
}

inline void AsDissimilarity(PermTestData& data)
{
    for (int i = 0; i < data.s; i++)
        for (int j = 0; j < data.s; j++) data.Sf[i][j] = 1.0 - data.Sf[i][j];
    data.input.sqrtPhyl = true;
    DeriveFromPhylogeny(data, true);
}

// States for the analysis of variance, which truncates them; one community does not count.
inline void AsFactors(PermTestData& data)
{
    for (int k = 0; k < data.n; k++)
        for (int v = 0; v < data.e; v++) data.E[k][v] = k % (v + 2) + (k % 2 == 0 ? 0.9 : 0.0);
    data.relSelect[1] = 0;
}

constexpr int every = -1;

/// Cells of a matrix take a value, in one row or column or in all; what rests on raw traits follows.
inline Change Set(OwnedRows PermTestData::*matrix, int row, int column, double value)
{
    return [=](PermTestData& data) {
        OwnedRows& M = data.*matrix;
        const bool isRaw = matrix == &PermTestData::rawB;
        const int columns = isRaw || matrix == &PermTestData::B ? data.t
                            : matrix == &PermTestData::W        ? data.s
                            : matrix == &PermTestData::U        ? data.g
                                                                : static_cast<int>(M.nRows);
        for (int i = 0; i < M.nRows; i++)
            for (int j = 0; j < columns; j++)
                if ((row == every || row == i) && (column == every || column == j)) M[i][j] = value;
        if (isRaw) DeriveFromTraits(data);
    };
}

inline Change Both(const Change& first, const Change& second)
{
    return [=](PermTestData& data) {
        first(data);
        second(data);
    };
}

// Three OTUs occur, once in a community; the pool of occurrences is shorter than the list of OTUs.
inline void FewOccurrences(PermTestData& data)
{
    for (int k = 0; k < data.n; k++)
        for (int i = 0; i < data.s; i++) data.W[k][i] = i == k % 3 && k < 7 ? 1.0 : 0.0;
    data.input.weightedNull = true;
}

inline std::unique_ptr<PermTestData> Prepared(const PermTestShape& shape, const Change& change)
{
    auto data = MakePermTestData(shape);
    change(*data);
    return data;
}

/// The test in the form that the driver picks.
inline void RunTest(PermTestData& data, unsigned long seed = testSeed)
{
    const Captured progress(stdout);
    InitRndNumberGenerator(seed);
    PermTest_FunctionalPhyl_Correl(&data.input);
}

/// The general form, which saved intermediate results take.
inline void RunGeneral(PermTestData& data, std::FILE* file)
{
    data.input.saveIntermediate = true;
    data.input.intermediateFile = file;
    RunTest(data);
}
