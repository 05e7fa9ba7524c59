// SPDX-License-Identifier: GPL-3.0-or-later
#include "functional/typing.hpp"

#include <algorithm>
#include <vector>

#include "numeric/clustering.hpp"
#include "numeric/ordination.hpp"
#include "shell/arrays.hpp"

namespace {

/// Records of a clustering of n objects, with room for their members.
class FusionRecords
{
public:
    explicit FusionRecords(int n) : members(n - 1, n), records(static_cast<std::size_t>(n))
    {
        for (int i = 0; i < n - 1; i++) records[static_cast<std::size_t>(i)].members = members[i];
    }
    operator clusterReport*() { return records.data(); }

private:
    const OwnedTable<int> members;
    std::vector<clusterReport> records;
};

void Cluster(int m, double** R, bool isDissimilarity, int method, clusterReport* report)
{
    if (method != 3) {
        LinkageCluster(m, R, report, isDissimilarity, false, method, true);
    } else if (isDissimilarity) {
        SumSqCluster(m, R, report, false);
    } else {
        CorrToSqDist(m, R, R);
        SumSqCluster(m, R, report, true);
    }
}

} // namespace

int PartitionFromResemblance(int n, double** S, bool isDissimilarity, int method, int nTypes,
                             int* partition)
{
    OwnedInts monothetic(n);
    int m = 0;
    ClusterIdenticals(n, S, monothetic, &m, isDissimilarity);
    if (nTypes >= m) {
        std::copy_n(monothetic.values, n, partition);
        return m;
    }
    OwnedRows R(m, m);
    TrimRese(n, m, monothetic, S, R);
    FusionRecords report(m);
    Cluster(m, R, isDissimilarity, method, report);
    const int k = std::max(nTypes, 1);
    OwnedInts types(m);
    GetClusterPartitionNew(m, k, types, report, method);
    for (int i = 0; i < n; i++) partition[i] = types[monothetic[i] - 1];
    return k;
}
