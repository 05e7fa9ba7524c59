// What the tests of the permutation test share: changes of random data, and runs of both forms.
#pragma once

#include <cstdio>
#include <functional>
#include <memory>
#include <string>

#include "numeric/random.hpp"
#include "permutation/permtest.hpp"
#include "reference/permtest_data.hpp"
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
