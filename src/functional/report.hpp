// SPDX-License-Identifier: GPL-3.0-or-later
// The report of the functional analysis, one routine per section in the order of the page.
// Printing leaves every matrix as it was.
#pragma once

#include <cstdio>

struct Scaling;

void ReportHead(std::FILE* report);
/// W as it stands in the session, before any adjustment. Detailed report only.
void ReportRawComposition(std::FILE* report, const Scaling& a);
/// Adjusted W, smoothed Y and DY. Detailed report only.
void ReportSmoothing(std::FILE* report, const Scaling& a);
void ReportPhylogeny(std::FILE* report, const Scaling& a);
/// B, E and DE.
void ReportTraitsAndVariables(std::FILE* report, const Scaling& a);
/// T before its columns are brought to unit length.
void ReportAverages(std::FILE* report, const Scaling& a);
/// T with columns of unit length, and DT.
void ReportNormalizedAverages(std::FILE* report, const Scaling& a);
/// Sb.
void ReportOtuSimilarity(std::FILE* report, const Scaling& a);
/// Types, belonging of OTUs to them, average traits, crisp and fuzzy X.
void ReportTypes(std::FILE* report, const Scaling& a);
void ReportStatistics(std::FILE* report, const Scaling& a);
// The pieces of it that need tests:
void ReportTestedCorrelations(std::FILE* report, const Scaling& a);
/// Phylogenetic statistics and the note on the null model.
void ReportTestedPhylogeny(std::FILE* report, const Scaling& a);
/// Regression models or analysis of variance.
void ReportModels(std::FILE* report, const Scaling& a);
/// Iterations, seed, time and null model.
void ReportTestSummary(std::FILE* report, const Scaling& a);
void ReportDiversity(std::FILE* report, const Scaling& a);
