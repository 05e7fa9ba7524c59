// SPDX-License-Identifier: GPL-3.0-or-later
// The file of intermediate matrices, which a session keeps when `saveStruct` is on.
#pragma once

#include <cstdio>
#include <vector>

#include "ranking/criteria.hpp"
#include "ranking/matrices.hpp"
#include "shell/files.hpp"

/// Writes what a ranking goes through, subset by subset; does nothing without a file.
class IntermediateFile {
public:
    /// Opens the file if `saveStruct` is on; one that cannot be opened is failure code 4.
    explicit IntermediateFile(const Criterion& criterion);

    bool IsOpen() const { return file.IsOpen(); }
    void Check() { file.Check(); }
    void Close() { file.Close(); }

    /// Before the search.
    void PrintShared(SharedMatrices& all);
    /// Of a subset, before its evaluation. traits: k numbers from 1.
    void PrintSubsetMatrices(SubsetMatrices& m, const int* traits, int k);
    /// Of an evaluation. `report` receives the resemblance of entropies.
    void PrintTypesMatrices(SubsetMatrices& m, const std::vector<int>& typeSizes,
                            std::FILE* report);
    /// The value, and under Mantel the residuals on DT.
    /// Deliberate: DX, and DP where there is one, are replaced by their residuals, and DP stays so
    /// for all later subsets: a ranking with this file differs from one without.
    void PrintValueAndResiduals(SubsetMatrices& m, const SubsetStatistics& r, const int* traits,
                                int k, const std::vector<int>& typeSizes);

private:
    void PrintPhylogeny(SharedMatrices& all);
    void PrintBoth(SubsetMatrices& m);
    void PrintAverageTraits(SubsetMatrices& m, const std::vector<int>& typeSizes);
    void PrintValueLine(const SubsetStatistics& r, int nTypes);
    void PrintResiduals(SubsetMatrices& m);

    const Criterion& criterion;
    OutputFile file;
};
