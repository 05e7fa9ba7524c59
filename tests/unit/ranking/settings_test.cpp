#include <doctest/doctest.h>

#include "ranking/ranking.hpp"
#include "ranking/settings.hpp"
#include "shell/console.hpp"
#include "unit/ranking/ranking_fixture.hpp"

using namespace ranking_test;

namespace {

/// The texts stand on the screen, one behind the other.
void CheckInOrder(const std::string& screen, const std::vector<std::string>& texts)
{
    std::size_t at = 0;
    for (const std::string& text : texts) {
        CAPTURE(text);
        at = screen.find(text, at);
        REQUIRE(at != std::string::npos);
    }
}

/// The answers from the types of OTUs to the last question: crisp types, Mantel, all traits.
std::string OtherAnswers()
{
    return session.nenv > 0 ? "k 1 1 1 2 2 2 0 1 6 1 1 y 1 5 n " : "k 1 1 1 2 2 2 0 1 6 1 y 1 5 n ";
}

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

TEST_CASE("lines of the menu of criteria")
{
    struct Case {
        const char* fact;
        bool environment, phylogeny, nominalTrait;
        const char* shown; // numbers of the first list, and of the explanations
    };
    const Case cases[] = {
        {"E alone", true, false, false, "1 9 10 16"},
        {"E and a nominal trait", true, false, true, "1 16"},
        {"phylogeny alone", false, true, false, "11 12 13"},
        {"phylogeny and a nominal trait", false, true, true, "11"},
        {"both", true, true, false, "1 9 10 11 12 13 16"},
        {"neither", false, false, false, ""},
    };
    for (const Case& c : cases) {
        CAPTURE(c.fact);
        SessionTest test;
        Load(c.environment, c.phylogeny, c.nominalTrait);
        Type("17 " + OtherAnswers());
        SettingsChRank();
        std::string screen = test.screen.Text();
        screen.resize(screen.find("\nType option no.: "));
        std::string options, explanations;
        for (const int number : {1, 9, 10, 11, 12, 13, 16}) {
            const std::string text = std::to_string(number);
            if (screen.find("\n   " + text + " ") != std::string::npos) options += " " + text;
            if (screen.find("\n" + text + ". ") != std::string::npos) explanations += " " + text;
        }
        CHECK(options == (c.shown[0] == '\0' ? "" : " ") + std::string(c.shown));
        CHECK(explanations == options);
    }
}

TEST_CASE("criteria that the data refuse show the menu again")
{
    struct Case { const char* fact; bool environment, phylogeny, nominalTrait; const char* refused; };
    const Case cases[] = {
        {"without E", false, true, false, "1 14 15 16 24"},
        {"without E, with a nominal trait", false, true, true, "1 9 10 14 15 16 24"},
        {"without phylogeny", true, false, false, "11 12 13 14 15"},
        {"numbers of no criterion", true, true, false, ""},
    };
    for (const Case& c : cases) {
        CAPTURE(c.fact);
        SessionTest test;
        Load(c.environment, c.phylogeny, c.nominalTrait);
        Type(std::string(c.refused) + " 2 8 25 17 " + OtherAnswers());
        SettingsChRank();
        CHECK(session.opt_struct == 17);
        int nRefused = 0;
        std::istringstream numbers(c.refused);
        for (std::string number; numbers >> number;) nRefused++;
        CHECK(TimesIn(test.screen.Text(), "CHARACTER RANKING SETTINGS") == 1 + nRefused);
        CHECK(TimesIn(test.complaints.Text(), "Incorrect input") == 3); // 2, 8 and 25
    }
}

TEST_CASE("questions of a ranking, in order")
{
    SUBCASE("with types; no traits below 1, none above those in use")
    {
        SessionTest test;
        Load(true, true, false);
        session.optUnitTotalAdjust1 = false;
        // Of 5 traits 4 are used; 5 and 0 are out of range, then 2 to 3.
        Type("12 k 1 1 1 2 2 9 1 1 10 2 1 0 2 1 1 1 0 1 n 5 0 2 1 3 y ");
        SettingsChRank();
        CheckInOrder(test.screen.Text(), {
            "Trait ranking criterion maximized: \n", "\nType option no.: ",
            "\nThe partition of OTUs into types should be specified.\n", "Enter the group of each OTU:\n",
            "\nFuzzy set adjustment:\n", "\nMeasuring congruence using\n",
            "\nSpecify resemblance function between communities:",
            "\nVariables in matrix E to be considered in the analysis:\n",
            "\nTraits in matrix B to be used in the analysis:\n",
            "\nStandardize community data matrix (matrix W) to unit total in each community? y/n ",
            "Minimum number of traits in the trait subset (minimum: 1, maximum: 4): ",
            "Maximum number of traits in the trait subset (minimum: 2, maximum: 4): ",
            "\nPrint intermediate results of the ranking process?  y/n "});
        CHECK((session.nMinTraitsChRank == 2 && session.nMaxTraitsChRank == 3));
        CHECK((session.nMinCSTGroupsChRank == 3 && session.nMaxCSTGroupsChRank == 3));
        CHECK((session.rese_opt == 10 && session.fuzzy == 3));
        CHECK((session.includePhylogeny && session.nTaxa == 3));
        CHECK((session.optUnitTotalAdjust1 && !session.optUnitTotalAdjust2));
        CHECK(session.printRankIntermedResults == 'y');
    }
    SUBCASE("averages go straight to the congruence and take Euclidean distance")
    {
        SessionTest test;
        Load(true, false, false);
        session.rese_opt = 10;
        Type("10 1 1 1 1 5 n ");
        SettingsChRank();
        CHECK(session.traitBasedOpt == 2);
        CHECK(session.rese_opt == 6);
        for (const char* text : {"partition of OTUs", "Specify resemblance", "Standardize"})
            CHECK(TimesIn(test.screen.Text(), text) == 0);
    }
    SUBCASE("nominal variables rule out Procrustes and RV where E enters as it is")
    {
        SessionTest test;
        Load(true, true, false);
        session.temEnvQual = 1;
        Type("16 k 1 1 1 2 2 2 1 2 3 1 1 1 y 1 1 n ");
        SettingsChRank();
        CHECK(session.opt_ro == 1);
        CHECK(session.rese_opt == 6);
        CHECK(TimesIn(test.screen.Text(), "\nMeasuring congruence using\n") == 3);
    }
}

TEST_CASE("a ranking from the menu")
{
    SessionTest test;
    Load(true, true, false);
    std::snprintf(console.sessionName, sizeof console.sessionName, "tiny");
    SUBCASE("names its report by the criterion and says where it is")
    {
        Type("24 k 1 1 1 2 2 2 1 1 6 1 1 y 1 5 n\n");
        IFChOrderSearch();
        CHECK(test.screen.Text().find("\n\nResults on file tinyChRank_DarkDiversity.txt\n") != std::string::npos);
        CHECK(TimesIn(TextOfFile("tinyChRank_DarkDiversity.txt"), "Ranking criterion value, groups") == 5);
        CHECK(session.dirtyOrig == 1);
        CHECK(session.partition_OTUs_Phyl == nullptr);
        CHECK(StandardInput().Get() == '\n'); // the character that ended the pause
    }
    SUBCASE("the longest name of a session leaves room for the longest suffix")
    {
        const std::string name(51, 'n');
        name.copy(console.sessionName, name.size());
        console.sessionName[51] = '\0';
        Type("15 k 1 1 1 2 2 2 1 1 6 1 1 y 1 1 n\n");
        IFChOrderSearch();
        CHECK(TimesIn(TextOfFile(name + "ChRank_AlphaBetaNicheConserv.txt"), "Elapsed") == 1);
    }
    SUBCASE("a report that cannot be opened is failure 4")
    {
        std::filesystem::create_directory("tinyChRank_TDAP.txt");
        Type("9 k 1 1 1 2 2 2 1 1 6 1 1 y 1 5 n\n");
        CHECK(CodeOf([] { IFChOrderSearch(); }) == cannotOpen);
        CHECK(test.complaints.Text().find("\ncan't open tinyChRank_TDAP.txt \n") != std::string::npos);
        CHECK(StandardInput().Get() == '\n');
    }
    console.sessionName[0] = '\0';
}
