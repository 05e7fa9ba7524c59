// SPDX-License-Identifier: GPL-3.0-or-later
// Data sets of the ranking in memory, and a session made of them. For tests and the benchmark.
#pragma once

#include <algorithm>
#include <string>
#include <vector>

#include "numeric/statistics.hpp"
#include "session/session.hpp"
#include "shell/arrays.hpp"

namespace ranking_test {

using Rows = std::vector<std::vector<double>>;

struct RankingData {
    Rows B, W, E, F; // OTUs x traits, communities x OTUs, communities x variables, OTUs x OTUs
    std::vector<int> types, traitTypes;
    int phylogenyMatrixType = 3;
};

inline double** TableOf(const Rows& rows, std::size_t columns)
{
    double** const table = dim2Double(static_cast<long>(rows.size()), static_cast<long>(columns));
    for (std::size_t i = 0; i < rows.size(); i++)
        std::copy_n(rows[i].begin(), columns, table[i]);
    return table;
}

/// Types, taxa and limits of the number of types follow the partition.
inline void SetPartition(const std::vector<int>& types)
{
    Session& s = session;
    std::copy(types.begin(), types.end(), s.partition_OTUs);
    CountGroupsNew(s.tcst, s.partition_OTUs, &s.nMinCSTGroupsChRank, nullptr);
    s.nMaxCSTGroupsChRank = s.nMinCSTGroupsChRank;
    free1D(s.partition_OTUs_Phyl);
    s.partition_OTUs_Phyl = dim1Dint(s.tcst);
    std::copy(types.begin(), types.end(), s.partition_OTUs_Phyl);
    s.nTaxa = s.nMinCSTGroupsChRank;
    s.fuzzyPhyl = 1;
}

/// The session as the dialogue leaves it: all traits, fuzzy types, Mantel, Euclidean distance, W to
/// unit totals, subsets of every size.
inline void LoadRanking(const RankingData& data)
{
    Session& s = session;
    s.tcst = static_cast<int>(data.B.size());
    s.nch = static_cast<int>(data.B[0].size());
    s.ncsm = static_cast<int>(data.W.size());
    s.nenv = data.E.empty() ? 0 : static_cast<int>(data.E[0].size());
    AllocateSettings();
    s.eVarSelect = dim1Dint(std::max(s.ncsm, s.nenv));
    const std::size_t nTraits = data.B[0].size();
    const std::size_t nOTUs = data.B.size();
    s.csm_Float = TableOf(data.B, nTraits);
    s.cadat = dim2Double(s.tcst, s.ncsm);
    for (int i = 0; i < s.tcst; i++)
        for (int c = 0; c < s.ncsm; c++)
            s.cadat[i][c] = data.W[static_cast<std::size_t>(c)][static_cast<std::size_t>(i)];
    if (s.nenv > 0) {
        s.env = TableOf(data.E, data.E[0].size());
        s.allocatedVariables = s.nenv;
        s.envLabel = dim2Dchar(s.nenv, labelSize);
        s.envVarType = dim1Dint(s.nenv);
        std::fill_n(s.envVarType, s.nenv, 3);
        s.optEnvVarType = 2;
        s.temEnvQuant = 1;
    }
    if (!data.F.empty()) {
        s.hasPhylogeny = s.includePhylogeny = true;
        s.phylogenyMatrixType = data.phylogenyMatrixType;
        s.phylogenyRese = TableOf(data.F, nOTUs);
    }
    s.chtype = dim1Dint(s.nch);
    s.onsta = dim1Dint(s.nch);
    s.chrange = dim1Double(s.nch);
    s.chLabel = dim2Dchar(s.nch, labelSize);
    for (int t = 0; t < s.nch; t++) {
        s.chtype[t] = data.traitTypes.empty() ? 3 : data.traitTypes[static_cast<std::size_t>(t)];
        s.chLabel[t][0] = static_cast<char>('1' + t); // trait numbers serve as labels
        s.weight[t] = 1.0;
    }
    std::fill_n(s.weight_OTUs, s.tcst, 1);
    SetPartition(data.types);
    s.traitBasedOpt = 1;
    s.poolCSTopt = 2;
    s.reseCSTopt = 1;
    s.fuzzy = 3;
    s.opt_ro = 1;
    s.rese_opt = 6;
    s.optUnitTotalAdjust2 = true;
    s.rankingAlgorithm = 2;
    s.nMinTraitsChRank = 1;
    s.nMaxTraitsChRank = s.nch;
}

/// Numbers that look random and are the same everywhere.
class Numbers {
public:
    explicit Numbers(unsigned seed) : state(seed) {}
    double Next()
    {
        state = state * 1103515245U + 12345U;
        return static_cast<double>(state >> 8 & 0xFFFFU) / 65536.0;
    }

private:
    unsigned state;
};

/// A data set with every kind of trait; the last trait equals the first.
inline RankingData MixedData(int n, int s, unsigned seed)
{
    Numbers numbers(seed);
    RankingData data;
    data.traitTypes = {3, 1, 3, 4, 3};
    for (int i = 0; i < s; i++) {
        const double first = numbers.Next();
        const double second = numbers.Next() < 0.5 ? 0.0 : 1.0;
        const double third = 100.0 * numbers.Next();
        const double fourth = static_cast<int>(4.0 * numbers.Next());
        data.B.push_back({first, second, third, fourth, first});
        data.types.push_back(1 + i % 3);
    }
    for (int c = 0; c < n; c++) {
        data.W.emplace_back();
        for (int i = 0; i < s; i++)
            data.W.back().push_back(numbers.Next() < 0.5 ? 0.0 : static_cast<int>(1.0 + 9.0 * numbers.Next()));
        data.W.back()[static_cast<std::size_t>(c % s)] += 1.0;
        data.E.push_back({10.0 * numbers.Next(), numbers.Next()});
    }
    for (int i = 0; i < s; i++) {
        data.F.emplace_back(static_cast<std::size_t>(s));
        for (int k = 0; k < i; k++)
            data.F[static_cast<std::size_t>(i)][static_cast<std::size_t>(k)] =
                data.F[static_cast<std::size_t>(k)][static_cast<std::size_t>(i)] = numbers.Next();
    }
    return data;
}

} // namespace ranking_test
