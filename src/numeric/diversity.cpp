// SPDX-License-Identifier: GPL-3.0-or-later
#include "numeric/diversity.hpp"

#include <cmath>
#include <limits>

#include "numeric/matrix.hpp"
#include "numeric/statistics.hpp"

double Dissimilarity(double resemblance, bool isDissimilarity, bool sqrtDissim)
{
    double d = isDissimilarity ? resemblance : 1.0 - resemblance;
    if (!sqrtDissim) return d;
    // Averages of rounded similarities end a hair above 1: identical OTUs, not a NaN.
    if (!isDissimilarity && d < 0.0) d = 0.0;
    return std::sqrt(d);
}

int PairWeight(int a, int b, bool restrictWithin)
{
    if (restrictWithin) return a * b;
    return a == 1 || b == 1 ? 1 : 0;
}

namespace {

struct Sums {
    double Q = 0.0;       // entropy
    double counted = 0.0; // A: share of pairs in Q, by their weights
    double known = 0.0;   // B: share of pairs with a dissimilarity
    double full = 0.0;    // share of all pairs
};

/// Nothing missing, negative, infinite or NaN.
bool IsPlainComposition(int s, const double* x)
{
    for (int i = 0; i < s; i++)
        if (!(x[i] >= 0.0 && x[i] <= std::numeric_limits<double>::max())) return false;
    return true;
}

/// The OTUs to visit; none if the total of the present cells is not above 0. An absent OTU adds
/// zeros to every sum, which changes no bit, so presentOnly leaves it out.
const std::vector<RaoMember>& CollectMembers(int s, const double* x, const int* weights,
                                             bool presentOnly, RaoRoom& room)
{
    room.Reserve(s);
    std::vector<RaoMember>& members = room.members;
    members.clear();
    double total = 0.0;
    for (int i = 0; i < s; i++)
        if (!IsMissing(x[i])) total += x[i];
    if (!(total > 0.0)) return members;
    for (int i = 0; i < s; i++)
        if (!presentOnly || x[i] > 0.0)
            members.push_back({i, x[i] / total, !IsMissing(x[i]), weights[i]});
    return members;
}

/// Adds up all ordered pairs, i outer, j inner: (i, j) and (j, i) round differently, so both stay.
/// `pair` writes d of two OTUs and returns false if the pair has none.
template <typename Pair>
Sums AddPairs(const std::vector<RaoMember>& members, bool restrictWithin, const Pair& pair)
{
    Sums sums;
    for (const RaoMember& i : members)
        for (const RaoMember& j : members) {
            double d = 0.0;
            const bool known = pair(i.otu, j.otu, d) && i.present && j.present;
            if (known) {
                const double w = PairWeight(i.weight, j.weight, restrictWithin);
                sums.Q += w * j.share * d * i.share;
                sums.counted += w * j.share * i.share;
                sums.known += j.share * i.share;
            }
            sums.full += j.share * i.share;
        }
    return sums;
}

double Scaled(const Sums& sums, bool keepScale)
{
    if (!keepScale && sums.known > 0.0) return sums.Q / (sums.known / sums.full);
    if (keepScale && sums.counted > 0.0) return sums.Q / (sums.counted / sums.full);
    return sums.Q;
}

/// Copies the upper triangle into the lower one; false if some dissimilarity is infinite or NaN.
bool MirrorAndCheck(int s, double** M, bool isDissimilarity, bool sqrtDissim)
{
    bool allFinite = true;
    for (int i = 0; i < s; i++)
        for (int j = i; j < s; j++) {
            M[j][i] = M[i][j];
            allFinite =
                allFinite && (IsMissing(M[i][j]) ||
                              std::isfinite(Dissimilarity(M[i][j], isDissimilarity, sqrtDissim)));
        }
    return allFinite;
}

Sums EntropySums(int s, const double* x, double** M, bool isDissimilarity, bool sqrtDissim,
                 const int* weights, bool restrictWithin, RaoRoom& room)
{
    const bool allFinite = MirrorAndCheck(s, M, isDissimilarity, sqrtDissim);
    // Zero times infinity is no zero: absent OTUs stay out only where all d are finite.
    const bool presentOnly = allFinite && IsPlainComposition(s, x);
    return AddPairs(CollectMembers(s, x, weights, presentOnly, room), restrictWithin,
                    [&](int i, int j, double& d) {
                        if (IsMissing(M[i][j])) return false;
                        d = Dissimilarity(M[i][j], isDissimilarity, sqrtDissim);
                        return true;
                    });
}

} // namespace

void RaoRoom::Reserve(int s)
{
    members.reserve(static_cast<std::size_t>(s));
    rows.reserve(static_cast<std::size_t>(s));
}

double RaoIndex_Weight(int s, double* x, double** M, bool isDissimilarity, bool sqrtDissim,
                       int* weights, bool restrictWithin, bool keepScale)
{
    RaoRoom room;
    return RaoIndex_Weight(s, x, M, isDissimilarity, sqrtDissim, weights, restrictWithin, keepScale,
                           room);
}

double RaoIndex_Weight(int s, double* x, double** M, bool isDissimilarity, bool sqrtDissim,
                       int* weights, bool restrictWithin, bool keepScale, RaoRoom& room)
{
    return Scaled(EntropySums(s, x, M, isDissimilarity, sqrtDissim, weights, restrictWithin, room),
                  keepScale);
}

double RaoIndex_Weight(int s, double* x, double** M, bool isDissimilarity, bool sqrtDissim,
                       int* weights, bool restrictWithin)
{
    RaoRoom room;
    return EntropySums(s, x, M, isDissimilarity, sqrtDissim, weights, restrictWithin, room).Q;
}

RaoDissimilarity::RaoDissimilarity(int s, double** M, bool isDissimilarity, bool sqrtDissim)
    : nOTUs(s), d(s, s), hasMissing(false), hasNonFinite(false)
{
    for (int i = 0; i < s; i++)
        for (int j = i; j < s; j++) {
            double value = -999.0;
            if (IsMissing(M[i][j])) {
                hasMissing = true;
            } else {
                value = Dissimilarity(M[i][j], isDissimilarity, sqrtDissim);
                if (!std::isfinite(value)) hasNonFinite = true;
            }
            d[i][j] = value;
            d[j][i] = value;
        }
}

namespace {

/// Everything known and every pair counted with weight 1: the divisors are exactly 1.
double EntropyOfKnown(const RaoDissimilarity& prepared, const int* order, RaoRoom& room)
{
    const std::vector<RaoMember>& members = room.members;
    const std::size_t nMembers = members.size();
    std::vector<int>& row = room.rows;
    row.resize(nMembers);
    for (std::size_t i = 0; i < nMembers; i++)
        row[i] = order == nullptr ? members[i].otu : order[members[i].otu] - 1;
    double Q = 0.0;
    for (std::size_t i = 0; i < nMembers; i++) {
        const double* const d = prepared.d[row[i]];
        const double share = members[i].share;
        for (std::size_t j = 0; j < nMembers; j++) Q += members[j].share * d[row[j]] * share;
    }
    return Q;
}

bool AllSelected(const std::vector<RaoMember>& members)
{
    for (const RaoMember& member : members)
        if (member.weight != 1) return false;
    return true;
}

} // namespace

double RaoIndex_Weight(const RaoDissimilarity& prepared, const double* x, const int* weights,
                       bool restrictWithin, bool keepScale, const int* order)
{
    RaoRoom room;
    return RaoIndex_Weight(prepared, x, weights, restrictWithin, keepScale, order, room);
}

double RaoIndex_Weight(const RaoDissimilarity& prepared, const double* x, const int* weights,
                       bool restrictWithin, bool keepScale, const int* order, RaoRoom& room)
{
    const int s = prepared.nOTUs;
    const bool presentOnly = !prepared.hasNonFinite && IsPlainComposition(s, x);
    const std::vector<RaoMember>& members = CollectMembers(s, x, weights, presentOnly, room);
    if (presentOnly && !prepared.hasMissing && AllSelected(members))
        return EntropyOfKnown(prepared, order, room);

    const auto pair = [&](int i, int j, double& d) {
        d = order == nullptr ? prepared.d[i][j] : prepared.d[order[i] - 1][order[j] - 1];
        return !IsMissing(d);
    };
    return Scaled(AddPairs(members, restrictWithin, pair), keepScale);
}

bool BetaDivergence(int n, double** DE, double** DX, double* out)
{
    UpperToLowerMatrix(n, DE);
    UpperToLowerMatrix(n, DX);
    for (int i = 0; i < n; i++) {
        double nearest = std::numeric_limits<double>::max();
        for (int j = 0; j < n; j++)
            if (j != i && DE[i][j] < nearest) nearest = DE[i][j];
        double sum = 0.0;
        double nNearest = 0.0;
        for (int j = 0; j < n; j++)
            if (j != i && DE[i][j] == nearest) {
                sum += DX[i][j];
                nNearest += 1.0;
            }
        out[i] = sum / nNearest;
    }
    return true;
}
