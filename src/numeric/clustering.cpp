// SPDX-License-Identifier: GPL-3.0-or-later
#include "numeric/clustering.hpp"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <optional>
#include <vector>

#include "numeric/ordination.hpp"
#include "numeric/resemblance.hpp"
#include "numeric/statistics.hpp"
#include "shell/arrays.hpp"
#include "shell/console.hpp"

namespace {

enum Method { singleLinkage = 1, completeLinkage, sumOfSquares, upgma, wpgma };

/// The cell of two positions, which stands above the diagonal.
double& Cell(double** matrix, int a, int b)
{
    return a < b ? matrix[a][b] : matrix[b][a];
}

void CopyAboveDiagonal(int n, double** from, double** to)
{
    for (int i = 0; i < n; i++) std::copy(from[i] + i + 1, from[i] + n, to[i] + i + 1);
}

/// Replaces each value above the diagonal by function(value).
template <typename Function>
void TransformAboveDiagonal(int n, double** matrix, Function function)
{
    for (int i = 0; i < n; i++)
        std::transform(matrix[i] + i + 1, matrix[i] + n, matrix[i] + i + 1, function);
}

/// The groups at hand: position by position a chain of objects, numbered from 0 here.
struct Groups {
    explicit Groups(int n) : first(n), last(n), next(n), sizes(n)
    {
        for (int i = 0; i < n; i++) {
            first[i] = last[i] = i;
            next[i] = -1;
            sizes[i] = 1;
        }
    }

    /// The objects of j follow those of i, and the positions above j move down. `sizes` is left to
    /// the routine that brings the matrix up to date.
    void Join(int count, int i, int j)
    {
        next[last[i]] = first[j];
        last[i] = last[j];
        std::copy(first + j + 1, first + count, first + j);
        std::copy(last + j + 1, last + count, last + j);
    }

    const OwnedInts first, last, next, sizes;
};

/// Joins positions i and j and records the new group.
void RecordFusion(Groups& groups, int count, int i, int j, clusterReport& record)
{
    record.lastOfFirst = groups.last[i] + 1;
    groups.Join(count, i, j);
    record.nMembers = 0;
    for (int object = groups.first[i]; object >= 0; object = groups.next[object])
        record.members[record.nMembers++] = object + 1;
}

/// A pair of positions, at first the one that fuses when no value compares.
struct Pair {
    int i = 0;
    int j = 1;
    double value;

    explicit Pair(double start) : value(start) {}
    void Take(int p, int q, double better)
    {
        i = p;
        j = q;
        value = better;
    }
};

/// The pair whose fusion adds least to the sum of squares, with what it adds.
Pair CheapestFusion(int count, const int* sizes, double** D)
{
    Pair best(DBL_MAX);
    for (int p = 0; p < count - 1; p++)
        for (int q = p + 1; q < count; q++) {
            const double cost = sizes[q] * (D[p][q] * sizes[p]) / (sizes[p] + sizes[q]);
            if (cost < best.value) best.Take(p, q, cost);
        }
    return best;
}

Pair ClosestGroups(int count, double** matrix, bool dissimilarity)
{
    Pair best(dissimilarity ? DBL_MAX : -DBL_MAX);
    for (int p = 0; p < count - 1; p++)
        for (int q = p + 1; q < count; q++) {
            const double value = matrix[p][q];
            if (dissimilarity ? value < best.value : value > best.value) best.Take(p, q, value);
        }
    return best;
}

/// Sum of squared distances between the objects of groups i and j.
double SquaresBetween(const Groups& groups, int i, int j, double** rese, bool alreadySquared)
{
    double sum = 0.0;
    for (int a = groups.first[i]; a >= 0; a = groups.next[a])
        for (int b = groups.first[j]; b >= 0; b = groups.next[b]) {
            const double d = Cell(rese, a, b);
            sum += alreadySquared ? d : d * d;
        }
    return sum;
}

/// Gives position i the values update(its own, that of position j) against every other position.
template <typename Update>
void UpdateGroup(int n, int i, int j, double** matrix, Update update)
{
    for (int x = 0; x < n; x++) {
        if (x == i || x == j) continue;
        double& value = Cell(matrix, x, i);
        value = update(value, Cell(matrix, x, j));
    }
}

/// Position j has become part of i: takes out its row, which goes to the end, its column and its
/// size.
void RemovePosition(int n, int* sizes, int i, int j, double** matrix)
{
    std::rotate(matrix + j, matrix + j + 1, matrix + n);
    for (int row = 0; row < n - 1; row++) {
        const int from = std::max(row, j - 1) + 2; // first column that moves
        if (from < n) std::copy(matrix[row] + from, matrix[row] + n, matrix[row] + from - 1);
    }
    sizes[i] += sizes[j];
    std::copy(sizes + j + 1, sizes + n, sizes + j);
}

} // namespace

void SumSqCluster(int n, double** rese, clusterReport* report, bool alreadySquared)
{
    HandleEventInfoWhere("SumSqCluster");
    OwnedRows D(n, n);
    CopyAboveDiagonal(n, rese, D);
    if (!alreadySquared) TransformAboveDiagonal(n, D, [](double d) { return d * d; });
    Groups groups(n);
    OwnedVector Q(n); // sum of squared distances within each group
    for (int step = 0; step < n - 1; step++) {
        HandleEventInfoWhere("SumSqCluster");
        const int count = n - step;
        const auto [i, j, cost] = CheapestFusion(count, groups.sizes, D);
        const double withinFirst = Q[i] / groups.sizes[i];
        const double withinSecond = Q[j] / groups.sizes[j];
        Q[i] = Q[i] + Q[j] + SquaresBetween(groups, i, j, rese, alreadySquared);
        std::copy(Q + j + 1, Q + count, Q + j);

        clusterReport& record = report[step];
        RecordFusion(groups, count, i, j, record);
        record.fusionLevel = SinglePrecision(Q[i] / record.nMembers);
        record.fusionCost = SinglePrecision(cost);
        record.branchFirst = record.fusionLevel - withinFirst;
        record.branchSecond = record.fusionLevel - withinSecond;
        FusionMatrix(count, groups.sizes, i, j, D, true);
    }
}

void LinkageCluster(int n, double** rese, clusterReport* report, bool dissimilarity, bool squared,
                    int method, bool copy)
{
    HandleEventInfoWhere("LinkageCluster");
    std::optional<OwnedRows> own;
    double** matrix = rese; // borrowed, or the rows of `own`
    if (copy) {
        own.emplace(n, n);
        matrix = *own;
        CopyAboveDiagonal(n, rese, matrix);
    }
    if ((method == upgma || method == wpgma) && dissimilarity && squared) {
        TransformAboveDiagonal(n, matrix, [](double d) { return std::sqrt(d); });
        squared = false; // averages are of plain dissimilarities
    }
    Groups groups(n);
    for (int step = 0; step < n - 1; step++) {
        HandleEventInfoWhere("LinkageCluster");
        const int count = n - step;
        const Pair best = ClosestGroups(count, matrix, dissimilarity);
        RecordFusion(groups, count, best.i, best.j, report[step]);
        report[step].fusionLevel =
            SinglePrecision(dissimilarity && squared ? std::sqrt(best.value) : best.value);
        LinkageFusion(count, groups.sizes, best.i, best.j, matrix, dissimilarity, method);
    }
}

void FusionMatrix(int n, int* sizes, int i, int j, double** matrix, bool dissimilarity)
{
    const int N = sizes[i] + sizes[j];
    const double wi = static_cast<double>(sizes[i]) / N;
    const double wj = static_cast<double>(sizes[j]) / N;
    const double d = matrix[i][j];
    const double e = -(static_cast<double>(sizes[i]) * sizes[j]) /
                     static_cast<double>(static_cast<long>(N) * N);
    const double correction = dissimilarity ? e * d : -(e * (1.0 - d));
    UpdateGroup(n, i, j, matrix,
                [=](double a, double b) { return wi * a + wj * b + correction; });
    RemovePosition(n, sizes, i, j, matrix);
}

void LinkageFusion(int n, int* sizes, int i, int j, double** matrix, bool dissimilarity,
                   int method)
{
    const double ni = sizes[i];
    const double nj = sizes[j];
    const bool takesSmaller = dissimilarity == (method == singleLinkage);
    UpdateGroup(n, i, j, matrix, [=](double a, double b) {
        switch (method) {
        case singleLinkage:
        case completeLinkage: return takesSmaller ? Fmin(a, b) : Fmax(a, b);
        case upgma: return (nj * b + ni * a) / (nj + ni);
        case wpgma: return (a + b) * 0.5;
        default: return a;
        }
    });
    RemovePosition(n, sizes, i, j, matrix);
}

void GetClusterPartitionNew(int n, int k, int* partition, clusterReport* report, int method)
{
    std::vector<clusterReport> fusions(report, report + std::max(n - 1, 0));
    for (int x = 0; x < n; x++) partition[x] = x + 1;
    if (method == sumOfSquares) {
        // Exchange sort: the order in which it leaves equal levels decides the groups.
        for (std::size_t a = 0; a < fusions.size(); a++)
            for (std::size_t b = a + 1; b < fusions.size(); b++)
                if (fusions[a].fusionLevel > fusions[b].fusionLevel)
                    std::swap(fusions[a], fusions[b]);
    }
    int nGroups = n;
    for (const clusterReport& fusion : fusions) {
        if (nGroups == k) break;
        for (int m = 1; m < fusion.nMembers; m++)
            partition[fusion.members[m] - 1] = fusion.members[0];
        nGroups--;
    }
    RenamePartitionLabels(n, k, partition);
}

void RenamePartitionLabels(int n, int k, int* labels)
{
    int* const end = labels + n;
    int g = 1;
    while (g <= k) {
        if (std::find(labels, end, g) != end) {
            g++;
            continue;
        }
        bool isLast = true; // no label above g: there are fewer than k
        for (int x = 0; x < n; x++) {
            if (labels[x] <= g) continue;
            labels[x]--;
            isLast = false;
        }
        if (isLast) return;
    }
}

void ClusterIdenticals(int n, double** rese, int* labels, int* nGroups, bool dissimilarity)
{
    const double target = dissimilarity ? 0.0 : 1.0;
    for (int x = 0; x < n; x++) labels[x] = x + 1;
    for (int row = 0; row < n; row++)
        for (int col = row + 1; col < n; col++)
            if (rese[row][col] == target) labels[col] = labels[row];
    CountGroupsNew(n, labels, nGroups, nullptr);
    RenamePartitionLabels(n, *nGroups, labels);
}

void TrimRese(int n, int nGroups, int* labels, double** rese, double** trimmed)
{
    OwnedInts first(nGroups);
    for (int g = 0; g < nGroups; g++)
        first[g] = static_cast<int>(std::find(labels, labels + n, g + 1) - labels);
    for (int a = 0; a < nGroups; a++)
        for (int b = a; b < nGroups; b++) trimmed[a][b] = rese[first[a]][first[b]];
}

void HierFactorialEigen(int n, double* a, double* b, double* firstValue, double* secondValue,
                        double* firstVector, double* secondVector)
{
    HandleEventInfoWhere("HierFactorialEigen");
    OwnedRows products(2, 2);
    OwnedRows vectors(2, 2);
    double values[2] = {0.0, 0.0};
    double** const M = products;
    M[0][0] = CrossProduct2VecMV(n, a, a);
    M[1][1] = CrossProduct2VecMV(n, b, b);
    M[0][1] = M[1][0] = CrossProduct2VecMV(n, a, b);
    EigenHouseholderQL_GSL_D(2, M, vectors, values);
    *secondValue = values[1];
    if (firstValue != nullptr) *firstValue = values[0];
    if (firstVector != nullptr) std::copy_n(vectors.table[0], 2, firstVector);
    if (secondVector != nullptr) std::copy_n(vectors.table[1], 2, secondVector);
}
