// SPDX-License-Identifier: GPL-3.0-or-later
#include "numeric/resemblance.hpp"

#include <cmath>

#include "numeric/adjust.hpp"
#include "numeric/clustering.hpp"
#include "numeric/gower.hpp"
#include "numeric/information.hpp"
#include "numeric/matrix.hpp"
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
    KeptRows& rows;
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
    case correlationMeasure: CorrelationMV(n, p, data, out, with.rows); break;
    case chordMeasure: ChordDistMV(n, p, data, out, with.rows); break;
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
                    bool informationFlag, KeptRows* rows)
{
    KeptRows own;
    KeptRows& room = rows != nullptr ? *rows : own;
    const char flag = static_cast<char>(informationFlag);
    const Parameters with = {types, base, legendreK, countDoubleAbsence, flag, room};
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
