// SPDX-License-Identifier: GPL-3.0-or-later
// Gower similarity between objects described by traits of mixed kinds.
//
// Trait types: 1 dichotomous (1 presence, 0 absence), 2 nominal, 3 interval, 4 ordinal.
// A pair of objects is compared on the traits where both cells are present; each such trait gives a
// score of 0..1 and a weight, and the similarity is sum(weight x score) / sum(weight). On a
// dichotomous trait a joint absence is no evidence: unless joint absences count, it adds no weight.
// Gower 1971, Biometrics 27:857-871; ordinal traits by ranks: Podani 1999, Taxon 48:331-340.
#pragma once

/// Similarity of the rows of `data`, joint absences never counting; ordinal traits are ignored.
///
/// data     n x p
/// out      n x n, both triangles; the diagonal is 1 whatever the data. A pair without a single
///          comparable trait keeps the value that out[i][k] had, which is copied to out[k][i].
/// ranges   p ranges of the interval traits; null: taken from the data (see GowerMVOpt)
/// weights  p weights; null: all 1
void GowerMV(int n, int p, int* types, double** data, double** out, double* ranges,
             double* weights);

/// The same with ordinal traits, whose columns of `data` are replaced by their ranks (ties share
/// their mean rank), in the caller's matrix.
///
/// ranges   not used: the ranges always come from the data, rounded to single precision
///          Deliberate: the search for the maximum starts just above 0, so a trait with negative
///          values only has the range 0 - minimum; users' earlier results depend on it.
/// weights  p weights; null: all 1
/// countDoubleAbsence  not 0: a joint absence on a dichotomous trait is an agreement
/// cost     n * n * p, two work vectors; changes `data`, so one matrix must not be used by two
///          threads at once
void GowerMVOpt(int n, int p, int* types, double** data, double** out, float* ranges,
                float* weights, int countDoubleAbsence);

/// Weighted similarity on a single trait, or -999 where the trait says nothing about a pair.
/// Summing these over traits and dividing by the weights of the traits that say something gives the
/// similarity of GowerMVOpt.
///
/// values   n trait values; an ordinal trait is replaced by its ranks
/// out      n x n, both triangles and the diagonal, which is treated like any pair; rounded to
///          single precision
/// range    of an interval trait; 0: taken from `values`. Not used for ordinal traits, whose range
///          comes from the ranks
/// weight   below 0: 1. With weight 0 every cell is -999.
/// countDoubleAbsence  1: a joint absence is an agreement; 0: it says nothing; anything else: a
///          dichotomous trait says nothing at all
void GowerMVPartial_dAbsences(int n, int type, double* values, double** out, double range,
                              double weight, int countDoubleAbsence);

/// The same cells as a packed upper triangle with the diagonal, row by row: n (n + 1) / 2 values,
/// pair i <= k at i * n - i * (i - 1) / 2 + (k - i).
void GowerMVPartial_dAbsences(int n, int type, double* values, float* packed, double range,
                              double weight, int countDoubleAbsence);
