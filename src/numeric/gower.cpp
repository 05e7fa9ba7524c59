// SPDX-License-Identifier: GPL-3.0-or-later
#include "numeric/gower.hpp"

#include <cfloat>
#include <cmath>

#include "numeric/statistics.hpp"
#include "shell/arrays.hpp"

namespace {

enum TraitType { dichotomous = 1, nominal, interval, ordinal };

/// Largest minus smallest present value, the two searches starting from the given values.
/// Deliberate: the search for the maximum starts at the smallest positive number, not at the most
/// negative one, so the range of negative values reaches up to 0; users' earlier results depend on
/// it (test "ranges").
class RangeSearch
{
public:
    RangeSearch(double smallestPositive, double largest)
        : maximum(smallestPositive), minimum(largest)
    {
    }
    void Add(double value)
    {
        if (IsMissing(value)) return;
        if (value > maximum) maximum = value;
        if (value < minimum) minimum = value;
    }
    double Range() const { return maximum - minimum; }

private:
    double maximum;
    double minimum;
};

double ColumnRange(int n, double** data, int j, double smallestPositive, double largest)
{
    RangeSearch search(smallestPositive, largest);
    for (int i = 0; i < n; i++) search.Add(data[i][j]);
    return search.Range();
}

/// Agreement of two present cells on a quantitative trait, 0..1 within the range.
inline double Closeness(double a, double b, double range)
{
    return range > 0.0 ? 1.0 - std::fabs(a - b) / range : 1.0;
}

/// What the traits say about one pair: num / den is its similarity.
struct Comparison {
    double num = 0.0;
    double den = 0.0;

    void Add(int type, double a, double b, double range, double weight, bool jointAbsencesCount)
    {
        if (IsMissing(a) || IsMissing(b)) return;
        switch (type) {
        case dichotomous:
            if (a == b && a == 0.0 && !jointAbsencesCount) return;
            [[fallthrough]];
        case nominal:
            if (a == b) num += weight;
            break;
        case interval:
        case ordinal: num += weight * Closeness(a, b, range); break;
        default: return;
        }
        den += weight;
    }
};

void SimilarityOfPairs(int n, int p, const int* types, double** data, double** out,
                       const double* ranges, const double* weights, bool jointAbsencesCount)
{
    for (int i = 0; i < n; i++) {
        out[i][i] = 1.0;
        for (int k = i + 1; k < n; k++) {
            Comparison pair;
            for (int j = 0; j < p; j++)
                pair.Add(types[j], data[i][j], data[k][j], ranges[j], weights[j],
                         jointAbsencesCount);
            if (pair.den > 0.0) out[i][k] = pair.num / pair.den;
            out[k][i] = out[i][k];
        }
    }
}

void ColumnToRanks(int n, double** data, int j)
{
    OwnedVector column(n);
    OwnedVector ranks(n);
    for (int i = 0; i < n; i++) column[i] = data[i][j];
    RankVectorAdjMV(n, column, ranks);
    for (int i = 0; i < n; i++) data[i][j] = ranks[i];
}

/// Range of one trait given as a vector, in single precision as the per-trait matrices hold it.
double VectorRange(int n, const double* values)
{
    RangeSearch search(DBL_MIN, DBL_MAX);
    for (int i = 0; i < n; i++) search.Add(values[i]);
    return SinglePrecision(search.Range());
}

constexpr double saysNothing = -999.0;

/// Hands store(i, k, similarity) every pair with i <= k, row by row.
template <typename Compare, typename Store>
void EachPair(int n, const double* values, Compare compare, Store store)
{
    for (int i = 0; i < n; i++)
        for (int k = i; k < n; k++) {
            const bool present = !IsMissing(values[i]) && !IsMissing(values[k]);
            const double d = present ? compare(values[i], values[k]) : saysNothing;
            // Single precision: the matrices of many traits are kept side by side.
            store(i, k, static_cast<float>(d));
        }
}

template <typename Store>
void PartialSimilarities(int n, int type, double* values, double range, double weight,
                         int countDoubleAbsence, Store store)
{
    if (type == ordinal) {
        OwnedVector ranks(n);
        RankVectorAdjMV(n, values, ranks);
        for (int i = 0; i < n; i++) values[i] = ranks[i];
        range = VectorRange(n, values);
    } else if (type == interval && range == 0.0) {
        range = VectorRange(n, values);
    }
    const double w = weight < 0.0 ? 1.0 : weight;
    const auto agreement = [w](double a, double b) { return a == b ? w : 0.0; };
    const auto agreementIfPresent = [w](double a, double b) {
        if (a != b) return 0.0;
        return a != 0.0 ? w : saysNothing;
    };
    const auto closeness = [w, range](double a, double b) { return Closeness(a, b, range) * w; };
    const auto nothing = [](double, double) { return saysNothing; };

    const bool quantitative = type == interval || type == ordinal;
    const bool hasWeight = w > 0.0; // without, a trait says nothing about any pair
    if (hasWeight && quantitative)
        EachPair(n, values, closeness, store);
    else if (hasWeight && (type == nominal || (type == dichotomous && countDoubleAbsence == 1)))
        EachPair(n, values, agreement, store);
    else if (hasWeight && type == dichotomous && countDoubleAbsence == 0)
        EachPair(n, values, agreementIfPresent, store);
    else
        EachPair(n, values, nothing, store);
}

} // namespace

void GowerMV(int n, int p, int* types, double** data, double** out, double* ranges, double* weights)
{
    OwnedVector usedRanges(p);
    OwnedVector usedWeights(p);
    OwnedInts usedTypes(p);
    for (int j = 0; j < p; j++) {
        usedTypes[j] = types[j] == ordinal ? 0 : types[j]; // ordinal traits are not compared here
        usedWeights[j] = weights == nullptr ? 1.0 : weights[j];
        if (types[j] != interval) continue;
        usedRanges[j] = ranges == nullptr ? ColumnRange(n, data, j, static_cast<double>(FLT_MIN),
                                                        static_cast<double>(FLT_MAX))
                                          : ranges[j];
    }
    SimilarityOfPairs(n, p, usedTypes, data, out, usedRanges, usedWeights, false);
}

void GowerMVOpt(int n, int p, int* types, double** data, double** out, float* /*ranges*/,
                float* weights, int countDoubleAbsence)
{
    OwnedVector ranges(p);
    OwnedVector usedWeights(p);
    for (int j = 0; j < p; j++) {
        if (types[j] == ordinal) ColumnToRanks(n, data, j);
        if (types[j] == interval || types[j] == ordinal)
            ranges[j] = SinglePrecision(ColumnRange(n, data, j, DBL_MIN, DBL_MAX));
        usedWeights[j] = weights == nullptr ? 1.0 : static_cast<double>(weights[j]);
    }
    SimilarityOfPairs(n, p, types, data, out, ranges, usedWeights, countDoubleAbsence != 0);
}

void GowerMVPartial_dAbsences(int n, int type, double* values, double** out, double range,
                              double weight, int countDoubleAbsence)
{
    PartialSimilarities(n, type, values, range, weight, countDoubleAbsence,
                        [out](int i, int k, float similarity) {
                            out[i][k] = static_cast<double>(similarity);
                            out[k][i] = out[i][k];
                        });
}

void GowerMVPartial_dAbsences(int n, int type, double* values, float* packed, double range,
                              double weight, int countDoubleAbsence)
{
    float* next = packed;
    PartialSimilarities(n, type, values, range, weight, countDoubleAbsence,
                        [&next](int, int, float similarity) { *next++ = similarity; });
}
