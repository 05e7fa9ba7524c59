// SPDX-License-Identifier: GPL-3.0-or-later
#include <doctest/doctest.h>

#include "ranking/ranking.hpp"
#include "ranking/settings.hpp"
#include "shell/console.hpp"
#include "unit/ranking/ranking_fixture.hpp"

using namespace ranking_test;

namespace {

void Load(bool environment, bool phylogeny, bool nominalTrait)
{
    RankingData data = MixedData(8, 6, 5);
    if (!environment) data.E.clear();
    if (!phylogeny) data.F.clear();
    if (nominalTrait) data.traitTypes[0] = 2;
    LoadRanking(data);
    session.optmain = 'K';
}

} // namespace

TEST_CASE("what the menu of criteria offers and what it refuses")
{
    struct Case {
        const char* fact;
        bool environment, phylogeny, nominalTrait;
        const char* shown;   // numbers of the first list, and of the explanations
        const char* refused; // these show the menu again; 17 passes everywhere
    };
    const Case cases[] = {
        {"E alone", true, false, false, " 1 9 10 16", "11 12 13 14 15"},
        {"E and a nominal trait", true, false, true, " 1 16", "11"},
        {"phylogeny alone", false, true, false, " 11 12 13", "1 14 15 16 24"},
        {"phylogeny and a nominal trait", false, true, true, " 11", "1 9 10 14 15 16 24"},
        {"both", true, true, false, " 1 9 10 11 12 13 16", ""},
        {"neither", false, false, false, "", "15"},
    };
    for (const Case& c : cases) {
        CAPTURE(c.fact);
        SessionTest test;
        Load(c.environment, c.phylogeny, c.nominalTrait);
        // Then crisp types, Mantel, all traits; 2, 8 and 25 are numbers of no criterion.
        Type(std::string(c.refused) + " 2 8 25 17 k 1 1 1 2 2 2 0 1 6 1 " + (c.environment ? "1 " : "") +
             "y 1 5 n ");
        SettingsChRank();
        CHECK(session.opt_struct == 17);
        std::string screen = test.screen.Text();
        std::istringstream numbers(c.refused);
        int nMenus = 1;
        for (std::string number; numbers >> number;) nMenus++;
        CHECK(TimesIn(screen, "CHARACTER RANKING SETTINGS") == nMenus);
        CHECK(TimesIn(test.complaints.Text(), "Incorrect input") == 3);
        screen.resize(screen.find("\nType option no.: "));
        std::string options, explanations;
        for (const int number : {1, 9, 10, 11, 12, 13, 16}) {
            const std::string text = std::to_string(number);
            if (screen.find("\n   " + text + " ") != std::string::npos) options += " " + text;
            if (screen.find("\n" + text + ". ") != std::string::npos) explanations += " " + text;
        }
        CHECK(options == c.shown);
        CHECK(explanations == c.shown);
    }
}

TEST_CASE("settings that the answers lead to")
{
    struct Case {
        const char* fact;
        const char* answers;
        int rese_opt, measure, smallest, largest, fuzzy;
    };
    const Case cases[] = {
        // Of 5 traits 4 are used: 5 and 0 are out of range, then 2 to 3.
        {"sizes between 1 and the traits in use", "12 k 1 1 1 2 2 9 1 1 10 2 1 0 2 1 1 1 0 1 n 5 0 2 1 3 y ", 10, 1, 2, 3, 3},
        {"averages take Euclidean distance without a question", "10 1 1 1 1 5 n ", 6, 1, 1, 5, 0},
        {"entropies, too; nominal variables rule out Procrustes and RV", "16 k 1 1 1 2 2 2 0 2 3 1 1 1 y 1 1 n ", 6, 1, 1, 1, 0},
    };
    for (const Case& c : cases) {
        CAPTURE(c.fact);
        SessionTest test;
        Load(true, true, false);
        session.fuzzy = 0;
        session.rese_opt = 9;
        session.temEnvQual = 1;
        session.optUnitTotalAdjust1 = false;
        Type(c.answers);
        SettingsChRank();
        CHECK((session.rese_opt == c.rese_opt && session.opt_ro == c.measure));
        CHECK((session.nMinTraitsChRank == c.smallest && session.nMaxTraitsChRank == c.largest));
        CHECK((session.fuzzy == c.fuzzy && session.optUnitTotalAdjust1));
        const bool withTypes = session.opt_struct != 10;
        CHECK(session.traitBasedOpt == (withTypes ? 1 : 2));
        if (withTypes) CHECK(session.nMaxCSTGroupsChRank == session.nMinCSTGroupsChRank);
        CHECK(TimesIn(test.screen.Text(), "Standardize") == (withTypes ? 1 : 0));
    }
}

TEST_CASE("the longest name of a session leaves room for the longest suffix")
{
    SessionTest test;
    Load(true, true, false);
    const std::string name(51, 'n');
    std::snprintf(console.sessionName, sizeof console.sessionName, "%s", name.c_str());
    Type("15 k 1 1 1 2 2 2 1 1 6 1 1 y 1 1 n\n");
    IFChOrderSearch();
    const std::string file = name + "ChRank_AlphaBetaNicheConserv.txt";
    CHECK(test.screen.Text().find("\n\nResults on file " + file + "\n") != std::string::npos);
    CHECK(TimesIn(TextOfFile(file), "Elapsed") == 1);
    CHECK(session.dirtyOrig == 1);
    CHECK(StandardInput().Get() == '\n'); // the character that ended the pause
    console.sessionName[0] = '\0';
}
