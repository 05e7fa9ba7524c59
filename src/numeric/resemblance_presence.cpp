// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <cmath>

#include "numeric/resemblance.hpp"
#include "numeric/resemblance_pairs.hpp"

namespace {

struct JointFrequencies {
    int a, b, c, d;
};

/// Writes measure(joint frequencies) into the upper triangle with the diagonal.
template <typename Measure>
void EachPresencePair(int n, int p, double** data, double** out, Measure measure)
{
    EachPairOfRows(n, data, out, [p, measure](double* x, double* y) {
        JointFrequencies f = {0, 0, 0, 0};
        JointFreq(p, x, y, &f.a, &f.b, &f.c, &f.d);
        return measure(f);
    });
}

double RatioOr(int numerator, int denominator, double otherwise)
{
    return denominator > 0 ? static_cast<double>(numerator) / denominator : otherwise;
}

/// Product of two counts in 32 bits, which wraps around.
int Product32(int x, int y)
{
    return static_cast<int>(static_cast<unsigned>(x) * static_cast<unsigned>(y));
}

int Smaller(const JointFrequencies& f)
{
    return std::min(f.b, f.c);
}

int Larger(const JointFrequencies& f)
{
    return std::max(f.b, f.c);
}

constexpr double undefinedShare = -999.0; // turnover or nestedness of two empty objects

/// a ((M - m) / all) / part, the nestedness component of beta diversity.
double Nestedness(const JointFrequencies& f, int all, int part)
{
    if (all <= 0 || part <= 0) return undefinedShare;
    return f.a * (static_cast<double>(Larger(f) - Smaller(f)) / all) / part;
}

} // namespace

void JointFreq(int n, double* x, double* y, int* a, int* b, int* c, int* d)
{
    *a = *b = *c = *d = 0;
    for (int j = 0; j < n; j++) {
        if (x[j] == 1.0 && y[j] == 1.0) (*a)++;
        if (x[j] == 1.0 && y[j] == 0.0) (*b)++;
        if (x[j] == 0.0 && y[j] == 1.0) (*c)++;
        if (x[j] == 0.0 && y[j] == 0.0) (*d)++;
    }
}

void Jaccard(int n, int p, double** data, double** out)
{
    EachPresencePair(n, p, data, out,
                     [](const JointFrequencies& f) { return RatioOr(f.a, f.a + f.b + f.c, 0.0); });
}

void SimpleMatching(int n, int p, double** data, double** out)
{
    EachPairOfRows(n, data, out, [p](const double* x, const double* y) {
        int matches = 0;
        int compared = 0;
        for (int j = 0; j < p; j++) {
            if (!BothPresent(x[j], y[j])) continue;
            compared++;
            if (x[j] == y[j]) matches++;
        }
        return RatioOr(matches, compared, 0.0);
    });
}

void SokalMichener(int n, int p, double** data, double** out)
{
    // Deliberate: the published coefficient is (a + d) / (a + b + c + d); here joint absences are
    // in the denominator alone, and users' earlier results depend on it.
    EachPresencePair(n, p, data, out, [](const JointFrequencies& f) {
        return RatioOr(f.a, f.a + f.b + f.c + f.d, 0.0);
    });
}

void Ochiai(int n, int p, double** data, double** out)
{
    EachPresencePair(n, p, data, out, [](const JointFrequencies& f) {
        const int product = Product32(f.a + f.c, f.a + f.b);
        return product < 1 ? 0.0 : f.a / std::sqrt(static_cast<double>(product));
    });
}

void Sorensen(int n, int p, double** data, double** out)
{
    EachPresencePair(n, p, data, out, [](const JointFrequencies& f) {
        return RatioOr(2 * f.a, 2 * f.a + f.b + f.c, 0.0);
    });
}

void MeanSquareContingency(int n, int p, double** data, double** out)
{
    // Deliberate: 32-bit products, wrapping around for long vectors; users' earlier results depend
    // on it.
    EachPresencePair(n, p, data, out, [](const JointFrequencies& f) {
        const int rows = Product32(f.c + f.a, f.b + f.a);
        const int denominator = Product32(Product32(rows, f.d + f.c), f.d + f.b);
        if (denominator < 1) return 0.0;
        const double difference =
            static_cast<double>(Product32(f.a, f.d)) - static_cast<double>(Product32(f.c, f.b));
        return difference * difference / denominator;
    });
}

void JaccardDissimilarity(int n, int p, double** data, double** out)
{
    EachPresencePair(n, p, data, out, [](const JointFrequencies& f) {
        return RatioOr(f.b + f.c, f.a + f.b + f.c, 1.0);
    });
}

void JaccardTurnover(int n, int p, double** data, double** out)
{
    EachPresencePair(n, p, data, out, [](const JointFrequencies& f) {
        return RatioOr(2 * Smaller(f), f.a + 2 * Smaller(f), undefinedShare);
    });
}

void JaccardNestedness(int n, int p, double** data, double** out)
{
    EachPresencePair(n, p, data, out, [](const JointFrequencies& f) {
        return Nestedness(f, f.a + f.b + f.c, f.a + 2 * Smaller(f));
    });
}

void SorensenDissimilarity(int n, int p, double** data, double** out)
{
    EachPresencePair(n, p, data, out, [](const JointFrequencies& f) {
        return RatioOr(f.b + f.c, 2 * f.a + f.b + f.c, 1.0);
    });
}

void SorensenTurnover(int n, int p, double** data, double** out)
{
    EachPresencePair(n, p, data, out, [](const JointFrequencies& f) {
        return RatioOr(Smaller(f), f.a + Smaller(f), undefinedShare);
    });
}

void SorensenNestedness(int n, int p, double** data, double** out)
{
    EachPresencePair(n, p, data, out, [](const JointFrequencies& f) {
        return Nestedness(f, 2 * f.a + f.b + f.c, f.a + Smaller(f));
    });
}
