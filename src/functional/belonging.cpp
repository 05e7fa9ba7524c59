// SPDX-License-Identifier: GPL-3.0-or-later
#include "functional/belonging.hpp"

#include <algorithm>
#include <limits>
#include <vector>

#include "numeric/adjust.hpp"
#include "numeric/gower.hpp"
#include "numeric/matrix.hpp"
#include "numeric/resemblance.hpp"
#include "numeric/statistics.hpp"
#include "numeric/vectors.hpp"
#include "shell/arrays.hpp"

PartialSimilarity::PartialSimilarity(int traits, int OTUs)
    : nTraits(traits), nOTUs(OTUs), layer(traits, static_cast<long>(OTUs) * (OTUs + 1L) / 2)
{
}

void gower_similarityPartial(int nTraits, double** B, int nOTUs, PartialSimilarity& out, int* types,
                             double* ranges, double* weights, int countDoubleAbsence)
{
    OwnedVector values(nOTUs);  // a copy: ordinal values are replaced by their ranks
    for (int trait = 0; trait < nTraits; trait++) {
        for (int i = 0; i < nOTUs; i++) values[i] = B[i][trait];
        GowerMVPartial_dAbsences(nOTUs, types[trait], values, out.layer[trait], ranges[trait],
                                 weights[trait], countDoubleAbsence);
    }
}

namespace
{

struct WeightedTrait {
    int trait;
    double weight;  // what the trait adds to the divisor
};

bool AnyTraitHasValue(const PartialSimilarity& partial, int nTraits, std::size_t pair)
{
    for (int trait = 0; trait < nTraits; trait++)
        if (!IsMissing(static_cast<double>(partial.layer[trait][pair]))) return true;
    return false;
}

/// Row i of the upper triangle, cell by cell the sums over traits in ascending order. The traits
/// are the outer loop because the cells of a layer's row lie behind one another.
void AverageRow(int i, int nTraits, int nOTUs, const PartialSimilarity& partial, double* row,
                const std::vector<WeightedTrait>& used, double* numerator, double* denominator)
{
    const std::size_t diagonal = PairIndex(nOTUs, i, i);
    const int length = nOTUs - i;
    std::fill_n(numerator, length, 0.0);
    std::fill_n(denominator, length, 0.0);
    for (const WeightedTrait& one : used) {
        const float* cells = partial.layer[one.trait] + diagonal;
        for (int k = 1; k < length; k++) {
            const double cell = static_cast<double>(cells[k]);
            const bool present = !IsMissing(cell);
            numerator[k] += present ? cell : 0.0;  // adding 0 changes no bit
            denominator[k] += present ? one.weight : 0.0;
        }
    }
    row[i] = 1.0;
    for (int k = 1; k < length; k++) {
        if (denominator[k] > 0.0)
            row[i + k] = numerator[k] / denominator[k];
        else
            row[i + k] = AnyTraitHasValue(partial, nTraits, diagonal + static_cast<std::size_t>(k))
                             ? 0.0
                             : -999.0;
    }
}

void Average(int nTraits, int nOTUs, const PartialSimilarity& partial, double** S,
             const std::vector<WeightedTrait>& used)
{
    OwnedVector numerator(nOTUs);
    OwnedVector denominator(nOTUs);
    for (int i = 0; i < nOTUs; i++)
        AverageRow(i, nTraits, nOTUs, partial, S[i], used, numerator, denominator);
}

}  // namespace

void gower_similarityAverage(int nTraits, int nOTUs, const PartialSimilarity& partial, double** S,
                             double* weights)
{
    std::vector<WeightedTrait> used;
    for (int trait = 0; trait < nTraits; trait++)
        if (weights[trait] > 0.0) used.push_back({trait, weights[trait]});
    Average(nTraits, nOTUs, partial, S, used);
}

void gower_similarityAverage(int nTraits, int nOTUs, const PartialSimilarity& partial, double** S,
                             int* selected)
{
    std::vector<WeightedTrait> used;
    for (int trait = 0; trait < nTraits; trait++)
        if (selected[trait] == 1) used.push_back({trait, 1.0});
    Average(nTraits, nOTUs, partial, S, used);
}

namespace
{

std::size_t Place(int i)
{
    return static_cast<std::size_t>(i);
}

}  // namespace

std::vector<int> TypeColumns(int n, const int* partition)
{
    std::vector<int> column(static_cast<std::size_t>(n));
    if (partition == nullptr) {
        for (int i = 0; i < n; i++) column[static_cast<std::size_t>(i)] = i;
        return column;
    }
    OwnedInts labels(n);
    int nLabels = 0;
    CountGroupsNew(n, partition, &nLabels, labels);
    const int* first = labels.values;
    for (int i = 0; i < n; i++)
        column[static_cast<std::size_t>(i)] =
            static_cast<int>(std::lower_bound(first, first + nLabels, partition[i]) - first);
    return column;
}

int CrispBelonging(int n, int nGroups, int* partition, double** C)
{
    const std::vector<int> column = TypeColumns(n, partition);
    for (int i = 0; i < n; i++) {
        const int type = column[static_cast<std::size_t>(i)];
        std::fill_n(C[i], nGroups, 0.0);
        if (type < nGroups) C[i][type] = 1.0;
    }
    return 1;
}

namespace
{

/// OTUs whose rows of U a thread fills at a time.
const int blockSize = 64;

/// With few OTUs, waking a team of threads takes longer than the work.
bool IsWorthATeam(int nOTUs)
{
    return nOTUs > 40;
}

bool IsIdentity(double similarity)
{
    const double nearlyOne = 0.999;  // below it, no rounding to single precision gives 1
    if (similarity >= 0.0 && similarity < nearlyOne) return false;
    return AlmostEqual2sComplement(similarity, 1.0, 1);
}

}  // namespace

TypeBelonging::TypeBelonging(int OTUs, int types, const int* partition)
    : n(OTUs),
      nGroups(types),
      column(TypeColumns(OTUs, partition)),
      representative(column.size()),
      count(column.size()),
      members(column.size()),
      hasDuplicates(column.size()),
      reached(types, OTUs),
      sums(types, OTUs)
{
    for (int i = 0; i < n; i++) members[Place(column[Place(i)])].push_back(i);
}

/// Every duplicate joins the first OTU before it that is identical to it and none itself: almost
/// equal is not transitive, so an OTU may resemble a duplicate and not the OTU that this one
/// joined.
///
/// Deliberate: 1.0 stands for identity also when S holds dissimilarities, where it pools the OTUs
/// of a type that share nothing; users' earlier results depend on it.
void TypeBelonging::Pool(double** S)
{
    std::fill(hasDuplicates.begin(), hasDuplicates.end(), '\0');
    for (std::size_t c = 0; c < members.size(); c++) {
        count[c] = static_cast<int>(members[c].size());
        for (const int j : members[c]) {
            representative[Place(j)] = j;
            for (const int i : members[c]) {
                if (i >= j) break;
                if (representative[Place(i)] != i || !IsIdentity(S[i][j])) continue;
                representative[Place(j)] = i;
                hasDuplicates[Place(i)] = 1;
                count[c]--;
                break;
            }
        }
    }
}

/// Adds the similarity of OTU j to the sums of its type for all OTUs of a block, side by side: each
/// OTU still meets the members of a type in ascending order. A missing cell adds 0, which changes
/// no bit.
void TypeBelonging::AddMember(int j, int first, int last, const double* S, bool isDissimilarity)
{
    const int type = column[Place(j)];
    if (type >= nGroups) return;
    const double nMembers = count[Place(type)];
    double share[blockSize];
    bool anyHole = false;
#pragma omp simd reduction(|| : anyHole)
    for (int i = first; i < last; i++) {
        const bool hole = IsMissing(S[i]);
        share[i - first] = hole ? 0.0 : (isDissimilarity ? 1.0 - S[i] : S[i]) / nMembers;
        anyHole = anyHole || hole;
    }
    double* const sum = sums[type];
    char* const isReached = reached[type];
    const bool isDuplicate = representative[Place(j)] != j;
    if (!isDuplicate && hasDuplicates[Place(j)] == 0 && !anyHole) {
#pragma omp simd
        for (int i = first; i < last; i++) sum[i] += share[i - first];
        std::fill(isReached + first, isReached + last, '\1');
        return;
    }
    for (int i = first; i < last; i++) {
        // i meets itself once; neither its duplicates nor the OTU it duplicates add it again.
        const bool counts = i == j || (!isDuplicate && representative[Place(i)] != j);
        if (!counts || IsMissing(S[i])) continue;
        sum[i] += share[i - first];
        isReached[i] = 1;
    }
}

void TypeBelonging::FillBlock(int block, double** S, double** U, bool isDissimilarity)
{
    const int first = block * blockSize;
    const int last = std::min(n, first + blockSize);
    for (int c = 0; c < nGroups; c++) {
        std::fill(sums[c] + first, sums[c] + last, 0.0);
        std::fill(reached[c] + first, reached[c] + last, '\0');
    }
    for (int j = 0; j < n; j++) AddMember(j, first, last, S[j], isDissimilarity);
    for (int i = first; i < last; i++)
        for (int c = 0; c < nGroups; c++) U[i][c] = reached[c][i] == 1 ? sums[c][i] : -999.0;
}

int TypeBelonging::Blocks() const
{
    return (n + blockSize - 1) / blockSize;
}

void TypeBelonging::Fill(double** S, double** U)
{
    Pool(S);
    for (int c = 0; c < nGroups; c++) std::fill_n(sums[c], n, 0.0);
    for (int j = 0; j < n; j++) AddKnownMember(j, S[j]);
    for (int i = 0; i < n; i++)
        for (int c = 0; c < nGroups; c++) U[i][c] = sums[c][i];
    UnitSumRowsAdjMV(n, nGroups, U, U);
}

/// AddMember for all OTUs at once, where no cell is missing.
void TypeBelonging::AddKnownMember(int j, const double* S)
{
    const int type = column[Place(j)];
    double* const sum = sums[type];
    const double nMembers = count[Place(type)];
    if (representative[Place(j)] != j) {
        sum[j] += S[j] / nMembers;  // a duplicate is of use to nobody but itself
    } else if (hasDuplicates[Place(j)] == 0) {
        ActiveVectors().addQuotients(n, S, nMembers, sum);
    } else {
        for (int i = 0; i < n; i++)
            if (i == j || representative[Place(i)] != j) sum[i] += S[i] / nMembers;
    }
}

int FuzzyBelonging(int n, int nGroups, double** S, int* partition, double** U, bool isDissimilarity)
{
    UpperToLowerMatrix(n, S);
    TypeBelonging types(n, nGroups, partition);
    types.Pool(S);

// A thread owns whole rows of U and adds up each alone, j ascending: the same bits for any
// team.
#pragma omp parallel for schedule(static) if (IsWorthATeam(n))
    for (int block = 0; block < types.Blocks(); block++)
        types.FillBlock(block, S, U, isDissimilarity);

    UnitSumRowsAdjMV(n, nGroups, U, U);
    return 1;
}

void NominalReseNonHier(int n, int p, double** M, double** D, int rese_opt)
{
    switch (rese_opt) {
    // Deliberate: two are called relative and are not, here; users' earlier results depend on
    // it.
    case euclideanDistance:
    case relativeEuclideanDistance: EucliDistMV(n, p, M, D); break;
    case absoluteValueFunction:
    case relativeAbsoluteValueFunction: AbsValFunctionMV(n, p, M, D); break;
    case chordDistance: {
        OwnedRows unitLength(n, p);
        NormalizeRowsMV(n, p, M, unitLength);
        EucliDistMV(n, p, unitLength, D);
        break;
    }
    default: break;
    }
}

double AverageDissim(int n, double** D, int* groups, int* mask)
{
    double sum = 0.0;
    double nPairs = 0.0;
    for (int i = 0; i < n; i++)
        for (int j = i + 1; j < n; j++)
            if (mask[i] == 1 && mask[j] == 1 && groups[i] != groups[j]) {
                sum += D[i][j];
                nPairs += 1.0;
            }
    return sum / nPairs;
}

namespace
{

/// Dissimilarity of object i to the nearest masked member of a group.
double Nearest(int n, double** D, const int* groups, const int* mask, int i, int group)
{
    double nearest = std::numeric_limits<double>::max();
    for (int j = 0; j < n; j++) {
        if (mask[j] != 1 || groups[j] != group) continue;
        const double d = D[std::min(i, j)][std::max(i, j)];
        if (d < nearest) nearest = d;
    }
    return nearest;
}

std::vector<int> GroupsInOrderOfAppearance(int n, const int* groups, const int* mask)
{
    std::vector<int> found;
    for (int i = 0; i < n; i++)
        if (mask[i] == 1 && std::find(found.begin(), found.end(), groups[i]) == found.end())
            found.push_back(groups[i]);
    return found;
}

}  // namespace

double NearNeighDist(int n, double** D, int* groups, int* mask)
{
    const std::vector<int> found = GroupsInOrderOfAppearance(n, groups, mask);
    double sum = 0.0;
    double nMinima = 0.0;
    for (const int a : found)
        for (const int b : found) {
            if (a == b) continue;
            for (int i = 0; i < n; i++) {
                if (mask[i] != 1 || groups[i] != a) continue;
                sum += Nearest(n, D, groups, mask, i, b);
                nMinima += 1.0;
            }
        }
    return sum / nMinima;
}
