#include "numeric/resemblance.hpp"

#include <algorithm>
#include <cfloat>
#include <cmath>

#include "numeric/adjust.hpp"
#include "numeric/clustering.hpp"
#include "numeric/gower.hpp"
#include "numeric/information.hpp"
#include "numeric/matrix.hpp"
#include "numeric/statistics.hpp"
#include "shell/arrays.hpp"

// clang-format off
const char* const rese_optInfo[10] = {
    "1 (information divergence within rows)",
    "2 (information divergence mutual)",
    "3 (cross product uncentered data)",
    "4 (cross product centered data)",
    "5 (correlation coefficient)",
    "6 (Euclidean distance)",
    "7 (relative Euclidean distance)",
    "8 (absolute value function)",
    "9 (relative absolute value function)",
    "10 (chord distance)",
};
// clang-format on
const char* const rese_typeInfo[3] = {"nominal resemblances", "partial resemblances",
                                      "probabilities of nominal resemblances"};
const char* const reseCSToptInfo[2] = {"1 (Gower index)", "2 (Euclidean distance)"};

namespace {

bool BothPresent(double x, double y)
{
    return !IsMissing(x) && !IsMissing(y);
}

bool AnyMissing(int n, int p, double** data)
{
    for (int i = 0; i < n; i++)
        for (int j = 0; j < p; j++)
            if (IsMissing(data[i][j])) return true;
    return false;
}

/// Writes measure(row i, row k) into the upper triangle with the diagonal.
template <typename Measure>
void EachPairOfRows(int n, double** data, double** out, Measure measure)
{
    for (int i = 0; i < n; i++)
        for (int k = i; k < n; k++) out[i][k] = measure(data[i], data[k]);
}

// Euclidean distances

double RootOfSum(double sumSquares)
{
    return sumSquares > 0.0 ? std::sqrt(sumSquares) : 0.0;
}

/// x - y where the variable counts, else 0, which leaves a sum of squares as it is.
template <typename Counts>
inline double Difference(Counts counts, int j, double x, double y)
{
    return counts(j, x, y) ? x - y : 0.0;
}

template <typename Counts>
double Distance(int p, const double* x, const double* y, Counts counts)
{
    double sumSquares = 0.0;
    for (int j = 0; j < p; j++) {
        const double d = Difference(counts, j, x[j], y[j]);
        sumSquares += d * d;
    }
    return RootOfSum(sumSquares);
}

/// Distances from x to four rows. Each sum runs alone, j ascending; side by side they need not wait
/// for one another.
template <typename Counts>
void FourDistances(int p, const double* x, double* const* rows, double* out, Counts counts)
{
    const double* y0 = rows[0];
    const double* y1 = rows[1];
    const double* y2 = rows[2];
    const double* y3 = rows[3];
    double s0 = 0.0;
    double s1 = 0.0;
    double s2 = 0.0;
    double s3 = 0.0;
    for (int j = 0; j < p; j++) {
        const double d0 = Difference(counts, j, x[j], y0[j]);
        const double d1 = Difference(counts, j, x[j], y1[j]);
        const double d2 = Difference(counts, j, x[j], y2[j]);
        const double d3 = Difference(counts, j, x[j], y3[j]);
        s0 += d0 * d0;
        s1 += d1 * d1;
        s2 += d2 * d2;
        s3 += d3 * d3;
    }
    out[0] = RootOfSum(s0);
    out[1] = RootOfSum(s1);
    out[2] = RootOfSum(s2);
    out[3] = RootOfSum(s3);
}

template <typename Counts>
void EuclideanDistances(int n, int p, double** data, double** out, Counts counts)
{
    for (int i = 0; i < n; i++) out[i][i] = 0.0;

    // A thread owns whole rows and adds up each sum alone, so the bits are the same for any team.
    // Nothing here may allocate, draw or fail. Below some thousand differences, waking a team takes
    // longer than the work.
    const bool isWorthATeam = static_cast<double>(n) * n * p > 5000.0;
#pragma omp parallel for schedule(static) if (isWorthATeam)
    for (int i = 0; i < n; i++) {
        int k = i + 1;
        for (; k + 4 <= n; k += 4) FourDistances(p, data[i], data + k, out[i] + k, counts);
        for (; k < n; k++) out[i][k] = Distance(p, data[i], data[k], counts);
    }
}

// Presence and absence

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

/// Partial similarity of two values d apart: 1 if equal, falling to 0 beyond k.
double PartialAgreement(double d, double k)
{
    return 2.0 * (k + 1.0 - d) / (d * k + 2.0 * k + 2.0);
}

void TransformUpper(int n, double** out, int power)
{
    for (int i = 0; i < n; i++)
        for (int k = i; k < n; k++) {
            if (power == 2) out[i][k] = std::sqrt(out[i][k]);
            if (power == 1) out[i][k] = out[i][k] * out[i][k];
        }
}

/// Coherence c as a distance: root of 1 - c squared, 0 where that is no number above 0.
void CoherenceToDistance(int n, double** out)
{
    for (int i = 0; i < n; i++)
        for (int k = i; k < n; k++) {
            const double distance = std::sqrt(1.0 - out[i][k] * out[i][k]);
            out[i][k] = distance > 0.0 ? distance : 0.0;
        }
}

/// Second eigenvalue of the cross-products of two centred rows of unit length; the diagonal is left
/// alone.
void SecondEigenvalue(int n, int p, double** data, double** out)
{
    OwnedRows rows(n, p);
    CenterRowsMV(n, p, data, rows);
    NormalizeRowsMV(n, p, rows, rows);
    for (int i = 0; i < n; i++)
        for (int k = i + 1; k < n; k++)
            HierFactorialEigen(p, rows.table[i], rows.table[k], nullptr, &out[i][k], nullptr,
                               nullptr);
}

/// What single measures want to know.
struct Parameters {
    int* types;
    double base;
    double legendreK;
    int countDoubleAbsence;
    char informationFlag;
};

void Measure(int n, int p, double** data, double** out, int option, const Parameters& with)
{
    const float base = static_cast<float>(with.base);
    const char flag = with.informationFlag;
    switch (option) {
    case crossProductMeasure: CrossProductMV(n, p, data, out); break;
    case absoluteValueMeasure: AbsValFunctionMV(n, p, data, out); break;
    case euclideanMeasure: EucliDistMV(n, p, data, out); break;
    case mutualInformationMeasure: MutualInformationMV(n, p, data, out); break;
    case gowerMeasure:
        GowerMVOpt(n, p, with.types, data, out, nullptr, nullptr, with.countDoubleAbsence);
        break;
    case minimumDiscriminationMeasure: MDISMV(n, p, data, out, flag); break;
    case mutualEntropyMeasure: MutualEntropyPairwiseMV(n, p, data, out, with.base, flag); break;
    case coherenceDistanceMeasure:
        CoheCoefPairwiseMV(n, p, data, out, base, flag);
        CoherenceToDistance(n, out);
        break;
    case coherenceMeasure: CoheCoefPairwiseMV(n, p, data, out, base, flag); break;
    case chiSquareMeasure: QuiSquareMV(n, p, data, out, flag); break;
    case jaccardMeasure: Jaccard(n, p, data, out); break;
    case simpleMatchingMeasure: SimpleMatching(n, p, data, out); break;
    case sokalMichenerMeasure: SokalMichener(n, p, data, out); break;
    case ochiaiMeasure: Ochiai(n, p, data, out); break;
    case sorensenMeasure: Sorensen(n, p, data, out); break;
    case meanSquareContingencyMeasure: MeanSquareContingency(n, p, data, out); break;
    case correlationMeasure: CorrelationMV(n, p, data, out); break;
    case chordMeasure: ChordDistMV(n, p, data, out); break;
    case legendreChodorowskiMeasure:
        LegendreChodorowski(n, p, data, out, nullptr, static_cast<float>(with.legendreK));
        break;
    case brayCurtisMeasure: BrayCurtisMV(n, p, data, out); break;
    case secondEigenvalueMeasure: SecondEigenvalue(n, p, data, out); break;
    case covarianceMeasure: CovarianceMV(n, p, data, out); break;
    case jaccardDissimilarityMeasure: JaccardDissimilarity(n, p, data, out); break;
    case jaccardTurnoverMeasure: JaccardTurnover(n, p, data, out); break;
    case jaccardNestednessMeasure: JaccardNestedness(n, p, data, out); break;
    case sorensenDissimilarityMeasure: SorensenDissimilarity(n, p, data, out); break;
    case sorensenTurnoverMeasure: SorensenTurnover(n, p, data, out); break;
    case sorensenNestednessMeasure: SorensenNestedness(n, p, data, out); break;
    default: break;
    }
}

} // namespace

bool ResemblanceLib(int n, int p, double** data, double** out, int objectsAre, int option,
                    int power, int* types, double base, double legendreK, int countDoubleAbsence,
                    bool informationFlag)
{
    const Parameters with = {types, base, legendreK, countDoubleAbsence,
                             static_cast<char>(informationFlag)};
    const bool objectsAreColumns = objectsAre == 2;
    const int nObjects = objectsAreColumns ? p : n;
    if (objectsAreColumns) {
        OwnedRows transposed(p, n);
        TransposeMatrix(n, p, data, transposed);
        Measure(p, n, transposed, out, option, with);
        TransposeMatrix(p, n, transposed, data); // a measure may have put ranks in
    } else {
        Measure(n, p, data, out, option, with);
    }
    TransformUpper(nObjects, out, power);
    UpperToLowerMatrix(nObjects, out);
    return true;
}

int TranslateReseOpt_KELPRA_DORNEL(int option)
{
    static const int measures[10] = {
        noMeasure,          noMeasure, crossProductMeasure,  noMeasure, correlationMeasure,
        euclideanMeasure,   noMeasure, absoluteValueMeasure, noMeasure, chordMeasure};
    return option >= 1 && option <= 10 ? measures[option - 1] : crossProductMeasure;
}

void EucliDist(int n, int p, double** data, double** out)
{
    EuclideanDistances(n, p, data, out, [](int, double, double) { return true; });
}

void EucliDistMV(int n, int p, double** data, double** out)
{
    if (!AnyMissing(n, p, data)) { // without the test in the inner loop, three times as fast
        EucliDist(n, p, data, out);
        return;
    }
    EuclideanDistances(n, p, data, out, [](int, double x, double y) { return BothPresent(x, y); });
}

void EucliDistMVSelect(int n, int p, double** data, double** out, int* select)
{
    if (!AnyMissing(n, p, data)) {
        EuclideanDistances(n, p, data, out,
                           [select](int j, double, double) { return select[j] != 0; });
        return;
    }
    EuclideanDistances(n, p, data, out, [select](int j, double x, double y) {
        return select[j] != 0 && BothPresent(x, y);
    });
}

void EucliDistMVSelectOne(int n, int /*p*/, double** data, double** out, int which)
{
    const int j = which - 1;
    for (int i = 0; i < n; i++) {
        out[i][i] = 0.0;
        for (int k = i + 1; k < n; k++) {
            const double x = data[i][j];
            const double y = data[k][j];
            out[i][k] = BothPresent(x, y) ? std::fabs(x - y) : 0.0;
        }
    }
}

void AbsValFunctionMV(int n, int p, double** data, double** out)
{
    for (int i = 0; i < n; i++) {
        out[i][i] = 0.0;
        for (int k = i + 1; k < n; k++) {
            double sum = 0.0;
            for (int j = 0; j < p; j++)
                if (BothPresent(data[i][j], data[k][j])) sum += std::fabs(data[i][j] - data[k][j]);
            out[i][k] = sum;
        }
    }
}

void BrayCurtisMV(int n, int p, double** data, double** out)
{
    double smallest = DBL_MAX;
    for (int i = 0; i < n; i++)
        for (int j = 0; j < p; j++)
            if (!IsMissing(data[i][j]) && data[i][j] < smallest) smallest = data[i][j];
    const double s = smallest <= 0.0 ? smallest : 0.0; // shifts negative data up to 0

    for (int i = 0; i < n; i++) {
        out[i][i] = 0.0;
        for (int k = i + 1; k < n; k++) {
            double num = 0.0;
            double den = 0.0;
            for (int j = 0; j < p; j++) {
                const double x = data[i][j];
                const double y = data[k][j];
                if (!BothPresent(x, y)) continue;
                num += std::fabs(x - y);
                den += (x - s) + y - s;
            }
            if (den > 0.0) out[i][k] = num / den;
        }
    }
}

void ChordDistMV(int n, int p, double** data, double** out)
{
    // Deliberate: the square of the distance if a cell is missing, else the distance itself; users'
    // earlier results depend on it (test "chord distance").
    if (AnyMissing(n, p, data)) {
        EachPairOfRows(n, data, out,
                       [p](double* x, double* y) { return ChordDistSq2VecMV(p, x, y); });
        return;
    }
    OwnedRows unitRows(n, p);
    NormalizeRowsMV(n, p, data, unitRows);
    EucliDistMV(n, p, unitRows, out);
}

void CrossProductMV(int n, int p, double** data, double** out)
{
    if (AnyMissing(n, p, data)) {
        EachPairOfRows(n, data, out,
                       [p](double* x, double* y) { return CrossProduct2VecMV(p, x, y); });
    } else {
        EachPairOfRows(n, data, out, [p](const double* x, const double* y) {
            double sum = 0.0;
            for (int j = 0; j < p; j++) sum += x[j] * y[j];
            return sum;
        });
    }
    UpperToLowerMatrix(n, out);
}

void CorrelationMV(int n, int p, double** data, double** out)
{
    if (AnyMissing(n, p, data)) {
        EachPairOfRows(n, data, out,
                       [p](double* x, double* y) { return Correlation2VecMV(p, x, y); });
        return;
    }
    OwnedRows standardised(n, p);
    CenterRowsMV(n, p, data, standardised);
    NormalizeRowsMV(n, p, standardised, standardised);
    CrossProductMV(n, p, standardised, out);
}

void CovarianceMV(int n, int p, double** data, double** out)
{
    if (AnyMissing(n, p, data)) {
        EachPairOfRows(n, data, out,
                       [p](double* x, double* y) { return Covariance2VecMV(p, x, y); });
        return;
    }
    OwnedRows centred(n, p);
    CenterRowsCovMV(n, p, data, centred);
    CrossProductMV(n, p, centred, out);
}

double CrossProduct2VecMV(int n, double* x, double* y)
{
    double sum = 0.0;
    for (int j = 0; j < n; j++)
        if (BothPresent(x[j], y[j])) sum += x[j] * y[j];
    return sum;
}

namespace {

/// Means of two vectors over the m positions present in both.
struct CommonMeans {
    int m = 0;
    double x = 0.0;
    double y = 0.0;

    CommonMeans(int n, const double* xs, const double* ys)
    {
        double sumX = 0.0;
        double sumY = 0.0;
        for (int j = 0; j < n; j++) {
            if (!BothPresent(xs[j], ys[j])) continue;
            sumX += xs[j];
            sumY += ys[j];
            m++;
        }
        x = sumX / m;
        y = sumY / m;
    }
};

} // namespace

double Covariance2VecMV(int n, double* x, double* y)
{
    const CommonMeans mean(n, x, y);
    double sum = 0.0;
    for (int j = 0; j < n; j++)
        if (BothPresent(x[j], y[j])) sum += (y[j] - mean.y) * (x[j] - mean.x) / (mean.m - 1);
    return sum;
}

double Correlation2VecMV(int n, double* x, double* y)
{
    const CommonMeans mean(n, x, y);
    double Sxx = 0.0;
    double Syy = 0.0;
    for (int j = 0; j < n; j++) {
        if (!BothPresent(x[j], y[j])) continue;
        Sxx += (x[j] - mean.x) * (x[j] - mean.x);
        Syy += (y[j] - mean.y) * (y[j] - mean.y);
    }
    const double Sx = std::sqrt(Sxx);
    const double Sy = std::sqrt(Syy);
    double r = 0.0;
    for (int j = 0; j < n; j++)
        if (BothPresent(x[j], y[j])) r += ((x[j] - mean.x) / Sx) * ((y[j] - mean.y) / Sy);
    return r;
}

double ChordDistSq2VecMV(int n, double* x, double* y)
{
    double sumX = 0.0;
    double sumY = 0.0;
    for (int j = 0; j < n; j++) {
        if (!BothPresent(x[j], y[j])) continue;
        sumX += x[j] * x[j];
        sumY += y[j] * y[j];
    }
    const double lengthX = std::sqrt(sumX);
    const double lengthY = std::sqrt(sumY);
    double sum = 0.0;
    for (int j = 0; j < n; j++) {
        if (!BothPresent(x[j], y[j])) continue;
        const double difference = x[j] / lengthX - y[j] / lengthY;
        sum += difference * difference;
    }
    return sum;
}

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

void LegendreChodorowski(int n, int p, double** data, double** out, double* weights, float k)
{
    const double largestPartial = static_cast<double>(k);
    for (int i = 0; i < n; i++) {
        out[i][i] = 1.0;
        for (int h = i + 1; h < n; h++) {
            double num = 0.0;
            double den = 0.0;
            for (int j = 0; j < p; j++) {
                const double w = weights == nullptr ? 1.0 : weights[j];
                // Deliberate: the comparison ends here, later variables are not looked at; users'
                // earlier results depend on it.
                if (!(w > 0.0)) break;
                const double x = data[i][j];
                const double y = data[h][j];
                if (!BothPresent(x, y) || !(x + y > 0.0)) continue;
                const double d = std::fabs(x - y);
                if (d <= largestPartial && x * y > 0.0)
                    num += w * PartialAgreement(d, largestPartial);
                den += w;
            }
            if (den > 0.0) out[i][h] = SinglePrecision(num / den);
            out[h][i] = out[i][h];
        }
    }
}
