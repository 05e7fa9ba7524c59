// SPDX-License-Identifier: GPL-3.0-or-later
#include "functional/settings.hpp"

#include <doctest/doctest.h>

#include <cstdio>
#include <cstring>

#include "shell/console.hpp"
#include "unit/session/session_fixture.hpp"

namespace {

/// An open session of 4 OTUs, 3 traits, 2 communities, 2 variables, in a folder of its own, whose
/// user has typed all answers ahead.
class Dialogue
{
public:
    explicit Dialogue(const std::string& typed) : answers(FileOf(typed)), screen(std::tmpfile())
    {
        session = Session();
        session.optmain = 'H';
        session.tcst = 4;
        session.nch = 3;
        session.ncsm = 2;
        session.nenv = 2;
        AllocateSettings();
        session.allocatedVariables = 2;
        session.eVarSelect = dim1Dint(2);
        session.chLabel = Labels({"sla", "height", "seed"});
        session.envLabel = Labels({"ph", "slope"});
        std::strcpy(session.whichPrinda, "gammaPrinda.txt");
        console.in = &answers;
        console.out = screen;
    }
    ~Dialogue()
    {
        FreeGlobals2();
        session = Session();
        console.in = &StandardInput();
        console.out = stdout;
        console.runMacro = false;
    }
    Dialogue(const Dialogue&) = delete;
    Dialogue& operator=(const Dialogue&) = delete;

    /// Two species: OTUs 1 and 3 of the first, 2 and 3 of the second, 4 of none.
    static void AddSpecies()
    {
        session.nSpp = 2;
        session.cstSppMap = dim2Dchar(4, 2);
        const char* const marks[] = {"10", "01", "11", "00"};
        for (int i = 0; i < 4; i++) std::memcpy(session.cstSppMap[i], marks[i], 2);
    }

    std::string Screen() { return TextOf(screen); }
    /// What the dialogue left unread.
    std::string Rest() { return ::Rest(answers); }

private:
    static char** Labels(const std::vector<const char*>& texts)
    {
        char** labels = dim2Dchar(static_cast<long>(texts.size()), labelSize);
        for (std::size_t i = 0; i < texts.size(); i++) std::strcpy(labels[i], texts[i]);
        return labels;
    }

    ScratchFolder folder;
    InputStream answers;
    OutputFile screen;
};

} // namespace

TEST_CASE("the functional analysis asks everything in order") {
    // types, fuzzy, tests, iterations, taxon shuffle, nesting, seed, measure, function, variables,
    // traits, weights by groups, OTUs, unit totals, detail
    Dialogue dialogue("k 3 1 3 2  1 y 999 t 1 k 1 1 2 2  2 4294967295  1 10  2 0 1  2 1 0 1 y "
                      "2 1 1 0 1 y y  y y rest");
    session.hasTraitGroups = session.hasPhylogeny = true;
    session.traitGroups = dim1Dint(3);
    session.traitGroups[0] = session.traitGroups[1] = session.traitGroups[2] = 7;
    SettingsHierarchy();

    CHECK(dialogue.Rest() == " rest");
    CHECK(IntsOf(session.partition_OTUs, 4) == std::vector<int>{3, 1, 3, 2});
    CHECK(IntsOf(session.nGrPoly, 3) == std::vector<int>{3, 2, 2});
    CHECK((session.fuzzy == 3 && session.fuzziness == 1.0));
    CHECK((session.optRndTests && session.niter == 999 && session.optTaxaSiteShuffle == 't'));
    REQUIRE(session.optRestrictPermutNullModel == 1);
    CHECK(IntsOf(session.nestingMembershipOTUs, 4) == std::vector<int>{1, 1, 2, 2});
    CHECK(session.rseed == 4294967295UL);
    CHECK((session.opt_ro == 1 && session.rese_opt == 10));
    CHECK(IntsOf(session.eVarSelect, 2) == std::vector<int>{0, 1});
    // by hand: two traits of one group are selected, each weighs a half
    CHECK((session.weight[0] == 0.5 && session.weight[1] == 0.0 && session.weight[2] == 0.5));
    CHECK(IntsOf(session.weight_OTUs, 4) == std::vector<int>{1, 1, 0, 1});
    CHECK((session.restrictRaoWithinOpt && !session.keepAdditivity));
    CHECK((session.optUnitTotalAdjust2 && session.printDetail == 1));
    CHECK(std::string(session.prindaMode) == "w");
    REQUIRE(session.includePhylogeny);
    CHECK(IntsOf(session.partition_OTUs_Phyl, 4) == std::vector<int>{3, 1, 3, 2});
    CHECK(session.nTaxa == 3);

    // What each question reads, a dialogue shows; here are those that no dialogue comes to.
    const std::string screen = dialogue.Screen();
    for (const char* const prompt :
         {"Enter the group of each OTU:\nOTU:    \t1\t2\t3\t4\nGroups: ",
          "Enter the nesting group of each OTU:\nOTU:            \t1\t2\t3\t4\n",
          "\nEnter seed (integer in the 0 to 4294967295 interval):\n", "ph slope \n"})
        CHECK(TimesIn(screen, prompt) == 1);
}

TEST_CASE("each kind of analysis asks its own questions") {
    struct Case { const char* fact; char who; int criterion; const char* typed; const char* rest; };
    const Case cases[] = {
        {"functional, no tests: no seed either", 'H', 0, "k 1 1 2 2 0 n 3 1 1 1 n n|", "|"},
        {"functional, site shuffle: no nesting", 'H', 0, "k 1 1 2 2 0 y 9 s 1 2 1 1 1 n n|", "|"},
        {"ranking: no tests, OTUs, detail or report mode", 'K', 9, "k 1 1 2 2 0 1 6 1 1 n|", "|"},
        {"ranking by trait averages: from the measure on", 'K', 10, "1 1 1|", "|"},
        {"ranking by alpha divergence: Euclidean", 'K', 16, "k 1 1 2 2 0 1 1 1 n|", "|"},
        {"simulator: no types, no variables, always a seed", 'A', 0, "0 n 2 5 1 6 1 1 n n|", "|"},
    };
    for (const Case& c : cases) {
        CAPTURE(c.fact);
        Dialogue dialogue(c.typed);
        session.optmain = c.who;
        session.opt_struct = c.criterion;
        session.niter = 77;
        session.rseed = 1234;
        SettingsHierarchy();
        CHECK(dialogue.Rest() == c.rest);
        CHECK(session.niter == (session.optRndTests ? 9 : 0));
        CHECK(session.traitBasedOpt == (c.criterion == 10 ? 2 : 1));
        CHECK(session.poolCSTopt == (c.criterion == 10 ? 0 : 2));
        CHECK(IntsOf(session.weight_OTUs, 4) == std::vector<int>{1, 1, 1, 1});
        CHECK_FALSE(session.includePhylogeny);
        if (c.who == 'A') CHECK((session.nGrPoly[0] == 4 && session.rseed == 5)); // no two alike
        if (c.who == 'H' && !session.optRndTests) CHECK(session.rseed == 1234);
        const std::string screen = dialogue.Screen();
        CHECK(TimesIn(screen, "FUNCTIONAL ANALYSIS SETTINGS") == (c.who == 'K' ? 0 : 1));
        CHECK(TimesIn(screen, "\nThe partition of OTUs") == (c.criterion == 10 ? 0 : 1));
        CHECK(TimesIn(screen, "  4 linear regression") == (session.optRndTests ? 1 : 0));
    }
}

TEST_CASE("a measure that the data rule out is asked again without a word") {
    struct Case {
        const char* fact;
        char who;
        int criterion, qualitative, quantitative;
        bool tests;
        const char* answers;
        int chosen;
    };
    const Case cases[] = {
        {"nominal E", 'H', 0, 1, 1, true, "2 3 4 5 1", 1},
        {"nominal E alone takes groups", 'H', 0, 1, 0, true, "4 5", 5},
        {"no tests", 'H', 0, 0, 0, false, "4 5 2", 2},
        {"ranking by beta divergence, nominal E", 'K', 17, 1, 1, false, "2 3 4", 4},
        {"ranking by phylogeny, nominal E", 'K', 11, 1, 1, false, "3", 3},
    };
    for (const Case& c : cases) {
        CAPTURE(c.fact);
        std::string typed = "k 1 2 1 2 0 ";
        if (c.who == 'H') typed += c.tests ? "y 9 s 1 " : "n ";
        Dialogue dialogue(typed + c.answers + (c.chosen % 4 == 1 ? " 6" : "") + " 1 1 " +
                          (c.who == 'H' ? "1 n n" : "n"));
        session.optmain = c.who;
        session.opt_struct = c.criterion;
        session.temEnvQual = c.qualitative;
        session.temEnvQuant = c.quantitative;
        SettingsHierarchy();
        CHECK(session.opt_ro == c.chosen);
        const int nAnswers = static_cast<int>(std::strlen(c.answers) + 1) / 2;
        CHECK(TimesIn(dialogue.Screen(), "\nMeasuring congruence using\n") == nAnswers);
        CHECK(dialogue.Rest().empty());
    }
}

TEST_CASE("where the types of OTUs come from") {
    const std::string others = " 0 n 3 1 1 1 n n";
    SUBCASE("species: the last one marked; an OTU of none keeps its type") {
        Dialogue dialogue("y" + others);
        Dialogue::AddSpecies();
        session.partition_OTUs[3] = 8;
        SettingsHierarchy();
        CHECK(session.OTUsTypesAreSpecies);
        CHECK(IntsOf(session.partition_OTUs, 4) == std::vector<int>{1, 2, 2, 8});
        CHECK(session.nGrPoly[0] == 3);
    }
    SUBCASE("species refused; a file that is missing leads back to the question") {
        Dialogue dialogue("n f nowhere.txt f types.txt" + others);
        const Captured errors(stderr), bells(stdout);
        WriteText("types.txt", "2 x1.5\n9");
        Dialogue::AddSpecies();
        SettingsHierarchy();
        CHECK_FALSE(session.OTUsTypesAreSpecies);
        CHECK(IntsOf(session.partition_OTUs, 4) == std::vector<int>{2, 1, 5, 9}); // digits only
        CHECK(TimesIn(dialogue.Screen(), "Read group memberships from file") == 2);
    }
    SUBCASE("nesting groups from a file") {
        Dialogue dialogue("k 1 1 2 2 0 y 5 t 1 f nesting.txt 1 2 1 1 1 n n");
        WriteText("nesting.txt", "a: 4 4\nb: 7 7\n");
        SettingsHierarchy();
        CHECK(IntsOf(session.nestingMembershipOTUs, 4) == std::vector<int>{4, 4, 7, 7});
    }
}

TEST_CASE("an earlier report is erased, or continued: by a macro without a question") {
    struct Case { bool there, macro; const char* typed; const char* mode; };
    const Case cases[] = {{true, false, "W", "w"}, {true, true, "", "a"}, {false, false, "", "w"}};
    for (const Case& c : cases) {
        Dialogue dialogue(c.typed);
        if (c.there) WriteText("gammaPrinda.txt", "\n");
        console.runMacro = c.macro;
        GetPrindaMode("gammaPrinda.txt");
        CHECK(std::string(session.prindaMode) == c.mode);
    }
}

TEST_CASE("resemblance of communities and of OTUs") {
    Dialogue dialogue("5 8 7 9 2");
    const Captured errors(stderr), bells(stdout);
    session.part = 1;
    SettingsRese(); // of communities; 5 is not accepted
    CHECK(session.rese_opt == 8);
    session.whichObj = 'c';
    SettingsRese();
    CHECK(session.reseCstOpt == 7);
    CHECK(session.whichLevelCst == 1); // not asked
    session.poolCSTopt = session.isHierarchical = 1;
    SettingsRese();
    CHECK(session.reseCstOpt == 9);
    CHECK(session.whichLevelCst == 2);
}
