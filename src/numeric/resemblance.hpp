// SPDX-License-Identifier: GPL-3.0-or-later
// Resemblance between objects: the numbered dispatcher and the measures behind it. Chief header of
// the measures; the Gower family is in numeric/gower.hpp.
//
// Common to all: n objects described by p variables, `data` n x p, `out` n x n. Unless said
// otherwise a measure writes the upper triangle with the diagonal and leaves the lower triangle
// alone (UpperToLowerMatrix completes it). -999 is a missing cell; a variable enters the comparison
// of two objects only if both cells are present.
#pragma once

#include "shell/arrays.hpp"

// clang-format off
/// Measures of ResemblanceLib by number.
enum ResemblanceMeasure {
    noMeasure = 0,
    crossProductMeasure,           ///< 1
    absoluteValueMeasure,          ///< 2
    euclideanMeasure,              ///< 3
    mutualInformationMeasure,      ///< 4
    gowerMeasure,                  ///< 5
    minimumDiscriminationMeasure,  ///< 6 information statistic
    mutualEntropyMeasure,          ///< 7
    coherenceDistanceMeasure,      ///< 8 root of 1 - c squared
    coherenceMeasure,              ///< 9
    chiSquareMeasure,              ///< 10
    jaccardMeasure,                ///< 11
    simpleMatchingMeasure,         ///< 12
    sokalMichenerMeasure,          ///< 13
    ochiaiMeasure,                 ///< 14
    sorensenMeasure,               ///< 15
    meanSquareContingencyMeasure,  ///< 16
    correlationMeasure,            ///< 17
    chordMeasure,                  ///< 18
    legendreChodorowskiMeasure,    ///< 19
    brayCurtisMeasure,             ///< 20
    secondEigenvalueMeasure,       ///< 21 of two standardised rows
    covarianceMeasure,             ///< 22
    jaccardDissimilarityMeasure,   ///< 23
    jaccardTurnoverMeasure,        ///< 24
    jaccardNestednessMeasure,      ///< 25
    sorensenDissimilarityMeasure,  ///< 26
    sorensenTurnoverMeasure,       ///< 27
    sorensenNestednessMeasure,     ///< 28
};
// clang-format on

/// Resemblance of communities by the numbers of the dialogues and reports (rese_opt).
enum CommunityResemblance {
    divergenceWithinRows = 1,
    mutualDivergence,
    plainCrossProduct,
    centredCrossProduct,
    correlationCoefficient,
    euclideanDistance,
    relativeEuclideanDistance,
    absoluteValueFunction,
    relativeAbsoluteValueFunction,
    chordDistance
};

/// Resemblance of OTUs by the numbers of the dialogues (reseCSTopt).
enum OtuResemblance { otusByGower = 1, otusByDistance };

/// Words of the reports, indexed by option number minus 1.
extern const char* const rese_optInfo[10];
extern const char* const rese_typeInfo[3];
extern const char* const reseCSToptInfo[2];

/// Resemblance matrix by number of the measure (ResemblanceMeasure); returns true.
///
/// objectsAre  2: the objects are the p columns of `data` and out is p x p; else the rows
/// option      a number without a measure leaves the upper triangle of `out` as it was
/// power       2: the upper triangle with the diagonal becomes its square root; 1: its square
/// types       trait types of the Gower index, which also ranks ordinal traits in `data`
/// base        order alpha of mutual entropy and coherence, in the latter rounded to single
///             precision
/// informationFlag  measures 6 to 10 write their contingency tables to "Tables.txt"
/// legendreK   of Legendre-Chodorowski, rounded to single precision
/// out         complete: the upper triangle is copied to the lower one at the end
/// rows        work space of chord distances and correlations; may be null
bool ResemblanceLib(int n, int p, double** data, double** out, int objectsAre, int option,
                    int power, int* types, double base, double legendreK, int countDoubleAbsence,
                    bool informationFlag, KeptRows* rows = nullptr);

/// Measure of ResemblanceLib for an option of the dialogues (CommunityResemblance): noMeasure if
/// there is no such one, the cross product for an option outside 1..10.
int TranslateReseOpt_KELPRA_DORNEL(int option);

// Distances between quantitative descriptions

/// Euclidean distance, root of the sum of (x - y)^2; -999 is a number like any other. A sum that is
/// not above 0 (a NaN too) gives 0. Parallel over rows: the same bits for any number of threads;
/// no allocation.
void EucliDist(int n, int p, double** data, double** out);
/// The same over the variables present in both objects, not rescaled by their share: objects
/// without a common variable are at distance 0.
void EucliDistMV(int n, int p, double** data, double** out);
/// The same over the variables with select[j] not 0.
void EucliDistMVSelect(int n, int p, double** data, double** out, int* select);
/// On one variable, counted from 1: the absolute difference. Serial.
void EucliDistMVSelectOne(int n, int p, double** data, double** out, int which);

/// Sum of |x - y|; diagonal 0.
void AbsValFunctionMV(int n, int p, double** data, double** out);

/// Bray-Curtis dissimilarity, sum |x - y| / sum (x + y); diagonal 0. If the smallest cell of the
/// matrix is not above 0 it is taken from both terms of the denominator. A pair whose denominator
/// is not above 0 keeps what out[i][k] held. Bray & Curtis 1957, Ecol. Monogr. 27:325-349.
void BrayCurtisMV(int n, int p, double** data, double** out);

/// Chord distance: Euclidean distance of the rows after scaling to unit length. Orloci 1967,
/// J. Ecol. 55:193-206.
/// Deliberate: with a missing cell anywhere in `data` the result is the square of the distance, the
/// norms taken over the variables present in both rows; users' earlier results depend on it.
void ChordDistMV(int n, int p, double** data, double** out);
void ChordDistMV(int n, int p, double** data, double** out, KeptRows& unitRows);

// Products and correlations

/// Sum of x y; writes both triangles.
void CrossProductMV(int n, int p, double** data, double** out);

/// Correlation between rows. Without a missing cell in `data` a constant row correlates 0 with
/// everything, itself included, and both triangles are written; with one, each pair has its own
/// means, a constant vector gives NaN, and only the upper triangle is written.
void CorrelationMV(int n, int p, double** data, double** out);
void CorrelationMV(int n, int p, double** data, double** out, KeptRows& standardised);
/// Covariance between rows, divisor: positions minus 1. Triangles as in CorrelationMV.
void CovarianceMV(int n, int p, double** data, double** out);

/// Two vectors of n cells, over the positions present in both. No guards: a constant vector gives
/// a NaN correlation, a single position a NaN covariance, an empty vector a NaN chord.
double CrossProduct2VecMV(int n, double* x, double* y);
double Covariance2VecMV(int n, double* x, double* y);
double Correlation2VecMV(int n, double* x, double* y);
/// Square of the chord distance.
double ChordDistSq2VecMV(int n, double* x, double* y);

// Presence (1) and absence (0)

/// Joint frequencies: a both 1, b only x is 1, c only y is 1, d both 0. A position with any other
/// value, -999 included, is in none of them.
void JointFreq(int n, double* x, double* y, int* a, int* b, int* c, int* d);

/// a / (a + b + c); 0 if nothing is present. Jaccard 1901, Bull. Soc. Vaud. Sci. Nat. 37:547-579.
void Jaccard(int n, int p, double** data, double** out);
/// Equal cells / positions present in both, values of any kind; 0 if there is no such position.
void SimpleMatching(int n, int p, double** data, double** out);
/// a / (a + b + c + d); 0 without positions. Deliberate: the numerator is a alone, not a + d.
void SokalMichener(int n, int p, double** data, double** out);
/// a / root((a + c)(a + b)); 0 if an object is empty. Ochiai 1957.
void Ochiai(int n, int p, double** data, double** out);
/// 2a / (2a + b + c); 0 if nothing is present. Sorensen 1948, Biol. Skr. 5:1-34.
void Sorensen(int n, int p, double** data, double** out);
/// (ad - cb)^2 / ((c + a)(b + a)(d + c)(d + b)); 0 if the denominator is below 1. Deliberate: the
/// products are formed in 32-bit integers and wrap around with more than about 200 variables.
void MeanSquareContingency(int n, int p, double** data, double** out);

// The two families of beta diversity and their partition into turnover and nestedness: Baselga
// 2010, Global Ecol. Biogeogr. 19:134-143; 2012, 21:1223-1232. m, M the smaller and larger of b, c.

/// (b + c) / (a + b + c); 1 if nothing is present.
void JaccardDissimilarity(int n, int p, double** data, double** out);
/// 2m / (a + 2m); -999 if that denominator is 0.
void JaccardTurnover(int n, int p, double** data, double** out);
/// a ((M - m) / (a + b + c)) / (a + 2m); -999 if a denominator is 0.
void JaccardNestedness(int n, int p, double** data, double** out);
/// (b + c) / (2a + b + c); 1 if nothing is present.
void SorensenDissimilarity(int n, int p, double** data, double** out);
/// m / (a + m); -999 if that denominator is 0.
void SorensenTurnover(int n, int p, double** data, double** out);
/// a ((M - m) / (2a + b + c)) / (a + m); -999 if a denominator is 0.
void SorensenNestedness(int n, int p, double** data, double** out);

/// Similarity S20 for quantitative, non-normal descriptors: differences up to k count as partial
/// agreement. Writes both triangles, off-diagonal values rounded to single precision; diagonal 1.
/// weights  p weights, null: all 1; the first that is not above 0 ends the comparison there
/// A pair without a comparable variable keeps out[i][k], which is copied to out[k][i].
/// Legendre & Chodorowski 1977, Ekol. Pol. 25:297-308.
void LegendreChodorowski(int n, int p, double** data, double** out, double* weights, float k);
