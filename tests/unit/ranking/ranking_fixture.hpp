// SPDX-License-Identifier: GPL-3.0-or-later
// What the tests of the ranking share beside the data: the report of one ranking, taken apart.
#pragma once

#include <cstdio>
#include <sstream>
#include <string>

#include "ranking/criteria.hpp"
#include "ranking/search.hpp"
#include "shell/preferences.hpp"
#include "unit/ranking/ranking_data.hpp"
#include "unit/session/session_fixture.hpp"

namespace ranking_test {

const int allCriteria[] = {1, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20, 21, 22, 23, 24};

/// The report of a ranking of the loaded session; "Elapsed time" is masked.
inline std::string RankingReport(int criterion)
{
    session.opt_struct = criterion;
    std::snprintf(session.whichChorder, sizeof session.whichChorder, "ranking.txt");
    std::snprintf(session.whichStructures, sizeof session.whichStructures, "structures.txt");
    RankTraitSubsets(*FindCriterion(criterion));
    std::string text = TextOfFile("ranking.txt");
    const std::size_t elapsed = text.find("Elapsed time: ");
    if (elapsed == std::string::npos) return text;
    return text.replace(elapsed, text.find('\n', elapsed) - elapsed, "Elapsed");
}

/// The best subset of a size, as the line of that size shows it.
struct BestOfSize {
    double value = 0.0;
    std::string traits;
};

inline BestOfSize BestOf(const std::string& report, int size)
{
    const std::string text = "optimal subset with " + std::to_string(size) + " traits: \t";
    const std::size_t start = report.find(text);
    if (start == std::string::npos) return {0.0, "(missing: " + text + ")"};
    std::istringstream line(report.substr(start + text.size(), report.find('\n', start) - start - text.size()));
    BestOfSize best;
    std::string word;
    line >> best.value;
    while (line >> word) {
        if (word == "groups") best.traits.clear(); // what came before was the number of types
        else best.traits += word + " ";
    }
    return best;
}

} // namespace ranking_test
