// SPDX-License-Identifier: GPL-3.0-or-later
// How communities resemble each other by their ecosystem variables.
#pragma once

/// Resemblance DE between n communities by p variables: Euclidean distance where all are
/// quantitative or binary, else 1 minus the Gower similarity. The choice follows the session's
/// kinds of variables (optEnvVarType, temEnvQual).
///
/// types    of the p variables, as of traits
/// E        n x p; variables of different units come back with mean 0 and length 1, ordinal ones
///          for the Gower index as their ranks
/// DE       n x n, upper triangle and diagonal
/// skipsHoles  false: distances take missing cells for numbers
/// Gower 1971, Biometrics 27:857-871.
void EnvironmentResemblance(int n, int p, int* types, double** E, double** DE,
                            bool skipsHoles = true);
