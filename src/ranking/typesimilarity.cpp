// SPDX-License-Identifier: GPL-3.0-or-later
#include "ranking/typesimilarity.hpp"

#include <algorithm>
#include <limits>

#include "numeric/resemblance.hpp"
#include "ranking/correlationkernels.hpp"
#include "session/session.hpp"

namespace {

const int mostTraits = 64; // bits of a mask

std::size_t Place(int i)
{
    return static_cast<std::size_t>(i);
}

/// Columns of a row: one more than types.
std::size_t WidthFor(int nTypes)
{
    return static_cast<std::size_t>(nTypes / columnBlock + 1) * columnBlock;
}

double LayerBytes(const SharedMatrices& all)
{
    return 8.0 * all.t * all.s * static_cast<double>(WidthFor(all.g));
}

bool IsSummable(const SharedMatrices& all)
{
    const bool isChord = session.rese_opt == chordDistance;
    return all.form == Form::quick && all.needs.types && !all.crisp && all.wholeTraits &&
           !isChord && all.t <= mostTraits && LayerBytes(all) <= SharedMatrices::largestTable;
}

} // namespace

std::unique_ptr<TypeSimilarity> TypeSimilarity::Of(const SharedMatrices& all)
{
    if (!IsSummable(all)) return nullptr;
    std::unique_ptr<TypeSimilarity> made(new TypeSimilarity(all));
    return made->FillLayers() ? std::move(made) : nullptr;
}

TypeSimilarity::TypeSimilarity(const SharedMatrices& shared)
    : width(WidthFor(shared.g)), nCells(static_cast<long>(width) * shared.s), all(shared),
      layers(shared.t, nCells), types(TypeColumns(shared.s, session.partition_OTUs)),
      members(Place(shared.g))
{
    for (const int type : types) members[Place(type)]++;
}

/// False if a similarity of a trait in use is not 0 to 1.
bool TypeSimilarity::FillLayers()
{
    for (int trait = 0; trait < all.t; trait++) {
        if (!(session.weight[trait] > 0.0)) continue;
        const float* const cells = all.partial->layer[trait];
        for (int i = 0; i < all.s; i++) {
            for (int j = i + 1; j < all.s; j++) {
                const float cell = cells[PairIndex(all.s, i, j)];
                if (!(cell >= 0.0F && cell <= 1.0F)) return false;
            }
            FillRow(trait, i);
        }
    }
    NotePools();
    BoundError();
    return true;
}

/// OTU i by one trait; with itself it agrees.
void TypeSimilarity::FillRow(int trait, int i)
{
    const float* const cells = all.partial->layer[trait];
    double* const row = layers[trait] + Place(i) * width;
    for (int j = 0; j < all.s; j++) {
        const std::size_t pair = PairIndex(all.s, std::min(i, j), std::max(i, j));
        row[types[Place(j)]] += i == j ? 1.0 : static_cast<double>(cells[pair]);
    }
    for (int c = 0; c < all.g; c++) {
        row[c] /= members[Place(c)];
        row[all.g] += row[c];
    }
}

/// Identity is a mean similarity that single precision takes for 1 or its neighbour. As no cell is
/// above 1, all those of up to 64 traits are then above `nearly`.
void TypeSimilarity::NotePools()
{
    const float nearly = 0.999F;
    for (int i = 0; i < all.s; i++)
        for (int j = i + 1; j < all.s; j++) {
            if (types[Place(i)] != types[Place(j)]) continue;
            std::uint64_t mask = 0;
            for (int trait = 0; trait < all.t; trait++)
                if (all.partial->layer[trait][PairIndex(all.s, i, j)] > nearly)
                    mask |= std::uint64_t{1} << trait;
            if (mask != 0) alike.push_back(mask);
        }
    std::sort(alike.begin(), alike.end());
    alike.erase(std::unique(alike.begin(), alike.end()), alike.end());
}

bool TypeSimilarity::MayPool(const int* traits, int k) const
{
    std::uint64_t subset = 0;
    for (int j = 0; j < k; j++) subset |= std::uint64_t{1} << traits[j];
    return std::any_of(alike.begin(), alike.end(),
                       [subset](std::uint64_t mask) { return (subset & ~mask) == 0; });
}

/// Nothing is subtracted on the way to X, so every step of either form adds a rounding unit to the
/// relative error of its cells: k + 3s + g + 6 of them in the exact form and k + 3s + g + 9 in this
/// one. The memberships of an OTU sum up to 1, so the cells of a community to its total, which the
/// length of its row does not exceed. A distance is then off by the error of two rows, and by the
/// g + 4 units of its own sum in either form.
void TypeSimilarity::BoundError()
{
    double largest = 0.0;
    for (const SharedMatrices::Present& present : all.present) {
        double total = 0.0;
        for (const double share : present.shares) total += share;
        largest = std::max(largest, total);
    }
    const double nUnits = 2.0 * all.t + 6.0 * all.s + 4.0 * all.g + 30.0;
    cellError = 2.0 * largest * nUnits * std::numeric_limits<double>::epsilon();
}

TypeComposition::TypeComposition(const TypeSimilarity& similarity, int nSearchers)
    : shared(similarity), sums(shared.nCells, SharedMatrices::Levels(shared.nCells, nSearchers)),
      belonging(static_cast<std::size_t>(shared.nCells)), row(shared.width),
      columns(Place(shared.all.g) * Place(shared.all.n) + kernelBlock)
{
}

const double* TypeComposition::Columns(const int* traits, int k)
{
    const SharedMatrices& all = shared.all;
    ActiveCorrelations().unitRows(all.s, shared.width, all.g, sums.Sum(shared.layers, traits, k),
                                  belonging);
    for (int i = 0; i < all.n; i++) {
        const SharedMatrices::Present& present = all.present[Place(i)];
        ActiveKernels().weightedRows(belonging, shared.width, static_cast<int>(present.otus.size()),
                                     present.otus.data(), present.shares.data(), all.inOrder.data(),
                                     row);
        for (int c = 0; c < all.g; c++) columns[Place(c) * Place(all.n) + Place(i)] = row[c];
    }
    return columns;
}
