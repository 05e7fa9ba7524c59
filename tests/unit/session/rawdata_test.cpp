#include "session/rawdata.hpp"

#include "session/rawfile.hpp"
#include "session/setup.hpp"
#include "unit/session/session_fixture.hpp"

namespace {

struct RawTest : SessionTest {
    RawTest()
    {
        std::strcpy(session.whichFormda, "aFormda.txt");
        // 2 traits of 3 OTUs, 2 communities
        WriteText("B", "1 2 3\n4 5 6\nHeight Colour");
        WriteText("W", "1 0 2\n0 3 4\nmeadow wood");
        WriteText("E", "7 8\n-999 9\npH soil");
        WriteText("names", "Abies alba\nBetula pendula\nAbies alba\n");
    }

    static int Format(const std::string& answers) { return CodeWith(answers, IFFormat); }

    /// Formats and takes the stored data set back in.
    static void FormatAndLoad(const std::string& answers)
    {
        REQUIRE(Format(answers) == 0);
        REQUIRE(CodeOf([] { OpenFormda(1); }) == 0);
    }
};

const std::string noPhylogeny = "B\n0\nW\n";
const std::string onlyBAndW = noPhylogeny + "0\n0\n";
const std::string traits = "3\n2\n2\n1\nk\n3 2\ny\n0\n"; // labels in B, traits as rows
const std::string communities = "2\n2\n1\n";             // labels in W, communities as rows

} // namespace

TEST_CASE("layouts of raw B and W")
{
    struct Case {
        const char* fact;
        std::string B, W, answers;
        Rows traits, performances; // OTUs as rows
        Words traitLabels, communityLabels;
    };
    const Rows someB = {{1, 4}, {2, 5}, {3, 6}}, someW = {{1, 0}, {0, 3}, {2, 4}};
    // clang-format off
    const Case cases[] = {
        {"traits as rows, communities as rows", "1 2 3 4 5 6 Height Colour", "1 0 2 0 3 4 m w",
         traits + communities, someB, someW, {"Height", "Colour"}, {"m", "w"}},
        {"OTUs as rows, communities as columns", "1 4 2 5 3 6", "1 0 0 3 2 4",
         "3\n2\n1\n2\nk\n3 2\ny\n0\n2\n1\n2\n", someB, someW, {"1", "2"}, {"1", "2"}},
        {"a vector longer than there are OTUs", "1 4 2 5 3 6", "7 8 9 10 11",
         "3\n2\n1\n2\nk\n3 2\ny\n0\n2\n1\n3\nk\n2 3\ny\n", someB, {{7, 0}, {8, 0}, {0, 9}},
         {"1", "2"}, {"1", "2"}},
        {"words between the numbers, digits in them count", "NA 1 2ergs 3 x4 5 6 A B",
         "tall1 0 2 0 3 4 m w", traits + communities, someB, someW, {"A", "B"}, {"m", "w"}},
        {"long labels are cut", "1 2 3 4 5 6 elevencharac B", "1 0 2 0 3 4 m meadow-and-wood",
         traits + communities, someB, someW, {"elevenchar", "B"}, {"m", "meadow-and"}},
        {"six digits are stored", "1.23456789 2 3 4 5 6 A B", "1e-7 0 2 0 3 1234567 m w",
         traits + communities, {{1.23457, 4}, {2, 5}, {3, 6}}, {{1e-7, 0}, {0, 3}, {2, 1.23457e6}},
         {"A", "B"}, {"m", "w"}},
    };
    // clang-format on
    for (const Case& c : cases) {
        CAPTURE(c.fact);
        RawTest test;
        WriteText("B", c.B);
        WriteText("W", c.W);
        RawTest::FormatAndLoad(onlyBAndW + c.answers);
        CHECK(RowsOf(session.csm_Float, 3, 2) == c.traits);
        CHECK(RowsOf(session.cadat, 3, 2) == c.performances);
        CHECK(WordsOf(session.chLabel, 2) == c.traitLabels);
        CHECK(WordsOf(session.reLabel, 2) == c.communityLabels);
        CHECK(IntsOf(session.chtype, 2) == Ints{3, 2});
        CHECK(IntsOf(session.onsta, 2) == Ints{3, 3});
        CHECK(std::string(session.dataName) == "B ");
        CHECK_FALSE(session.hasPhylogeny);
    }
}

TEST_CASE("short raw matrices leave zeros, with one complaint a file")
{
    RawTest test;
    WriteText("B", "1 2 3 4");
    WriteText("W", "5");
    // Labels by default; those missing at the end of B would throw the stored file out of step.
    RawTest::FormatAndLoad(onlyBAndW + "3\n2\n1\n1\nk\n3 2\ny\n0\n2\n1\n1\n");
    CHECK(RowsOf(session.csm_Float, 3, 2) == Rows{{1, 4}, {2, 0}, {3, 0}});
    CHECK(RowsOf(session.cadat, 3, 2) == Rows{{5, 0}, {0, 0}, {0, 0}});
    CHECK(test.complaints.Text() == "\nEnd of file B\n\nEnd of file W\n");
    CHECK(TimesIn(test.screen.Text(), "\a") == 2);
}

TEST_CASE("trait groups and species; nothing of an earlier data set")
{
    RawTest test;
    session.hasPhylogeny = true;
    session.phylogenyMatrixType = 3;
    session.SMWSize = 9;
    RawTest::FormatAndLoad(noPhylogeny + "1\nnames\n0\n3\n2\n2\n1\nk\n1 4\ny\n1\nk\n12 11\ny\n" +
                           communities + "2\n");
    CHECK(session.hasTraitGroups);
    CHECK(IntsOf(session.traitGroups, 2) == Ints{12, 11});
    CHECK(TimesIn(test.screen.Text(), "Traits:     \t    Height\t    Colour\t\n") == 2);
    CHECK_FALSE(session.hasPhylogeny);
    CHECK(Ints{session.SMWSize, session.nenv, session.nSpp} == Ints{1, 0, 2});
    // The first and third OTU are of one species.
    CHECK(WordsOf(session.spp, 2) == Words{"Abal Abies alba", "Bepe Betula pendula"});
    CHECK(MarksOf(session.sppRelMap, 2, 2) == Words{"11", "01"});
    CHECK(MarksOf(session.cstSppMap, 3, 2) == Words{"10", "01", "10"});
    CHECK(std::string(session.whichSpp) == "names ");
    // Labels that the names begin with.
    RawTest::FormatAndLoad(noPhylogeny + "1\nnames\n0\n" + traits + communities + "1\n");
    CHECK_FALSE(session.hasTraitGroups);
    CHECK(WordsOf(session.spp, 2) == Words{"Abies alba", "Betula pendula"});
}

TEST_CASE("formats of phylogenetic resemblances")
{
    struct Case {
        const char* fact;
        const char* F;
        const char* format;
        int type;
        Rows stored;
        bool normalized;
    };
    // clang-format off
    const Case cases[] = {
        {"distances above 1 are divided by the largest", "0 1 4\n1 0 2\n4 2 0", "1", 3,
         {{0, 0.25, 1}, {0.25, 0, 0.5}, {1, 0.5, 0}}, true},
        {"only the upper triangle is looked at", "0 1 .5\n5 0 .2\n.4 9 0", "1", 3,
         {{0, 1, .5}, {5, 0, .2}, {.4, 9, 0}}, false},
        {"the diagonal belongs to it", "2 1 .5\n8 0 .2\n.4 .2 0", "1", 3,
         {{1, .5, .25}, {4, 0, .1}, {.2, .1, 0}}, true},
        {"similarities", "1 .5 3\n.5 1 .25\n0 .25 1", "2", 1,
         {{1, .5, 3}, {.5, 1, .25}, {0, .25, 1}}, false},
        {"a half matrix is not stored", "1\n.5 1\n0 .25 1", "3", 0,
         {{0, 0, 0}, {0, 0, 0}, {0, 0, 0}}, false},
    };
    // clang-format on
    for (const Case& c : cases) {
        CAPTURE(c.fact);
        RawTest test;
        WriteText("F", c.F);
        RawTest::FormatAndLoad("B\n1\nF\nW\n0\n0\n" + traits + c.format + "\n" + communities);
        CHECK(session.hasPhylogeny);
        CHECK(session.phylogenyMatrixType == c.type);
        CHECK(RowsOf(session.phylogenyRese, 3, 3) == c.stored);
        CHECK((TimesIn(test.screen.Text(), "\nPhylogenetic distances were normalized") == 1) ==
              c.normalized);
    }
}

TEST_CASE("ecosystem variables")
{
    struct Case {
        const char* fact;
        std::string E, answers; // answers from the number of variables on
        Rows env;
        Words labels;
        int option;
        Ints types;
        int nWarnings;
    };
    const Rows byCommunities = {{7, 8}, {-999, 9}};
    // clang-format off
    const Case cases[] = {
        {"by communities", "7 8 -999 9 pH soil", "2\n2\n2\nn\n", byCommunities, {"pH", "soil"}, 2,
         {3, 3}, 1},
        {"by variables, default labels", "7 -999 8 9", "2\n1\n1\nt\n", byCommunities, {"1", "2"},
         1, {3, 3}, 1},
        {"one variable: its layout is not asked for", "7 8 pH", "1\n2\n3\n", {{7}, {8}}, {"pH"}, 3,
         {2}, 0},
        {"several types", "7 8 -999 9", "2\n1\n5\nk\n4 2\ny\nn\n", byCommunities, {"1", "2"}, 5,
         {4, 2}, 1},
        {"said to be several, all nominal", "7 8 -999 9", "2\n1\n5\nk\n2 2\ny\nn\nn\n",
         byCommunities, {"1", "2"}, 3, {2, 2}, 1},
        {"said to be several, all binary", "7 8 -999 9", "2\n1\n5\nk\n1 1\ny\nn\nn\n",
         byCommunities, {"1", "2"}, 4, {1, 1}, 1},
        {"corrected: the first try leaves no trace", "7 8 -999 9",
         "2\n1\n5\nk\n1 1\ny\ny\nk\n3 3\ny\nn\nn\n", byCommunities, {"1", "2"}, 2, {3, 3}, 1},
        {"a warning for each leading hole", "-999 -999 5 1 -999 -999", "3\n1\n1\nn\n",
         {{-999, -999, 5}, {1, -999, -999}}, {"1", "2", "3"}, 1, {3, 3, 3}, 2},
    };
    // clang-format on
    for (const Case& c : cases) {
        CAPTURE(c.fact);
        RawTest test;
        WriteText("E", c.E);
        WriteText("W", "0 0 0 0 -999 -999 m w"); // a community without OTUs gets no warning
        RawTest::FormatAndLoad(noPhylogeny + "0\n1\nE\n" + traits + communities + c.answers);
        const int nenv = static_cast<int>(c.types.size());
        REQUIRE(session.nenv == nenv);
        CHECK(RowsOf(session.env, 2, nenv) == c.env);
        CHECK(WordsOf(session.envLabel, nenv) == c.labels);
        CHECK(session.optEnvVarType == c.option);
        CHECK(IntsOf(session.envVarType, nenv) == c.types);
        const std::string screen = test.screen.Text();
        CHECK(TimesIn(screen, "\nPlease check matrix E. Sampling unit ") == c.nWarnings);
        CHECK(TimesIn(screen, "Please check matrix W.") == 0);
    }
}

TEST_CASE("an E that cannot be read ends in code 2")
{
    // All but the last two have two labels behind the numbers, so only the numbers can be wrong.
    for (const char* E : {"7 8 -999 pH soil", "7 8 nan 9 pH soil", "7 8 -inf 9 pH soil",
                          "--8 8 9 1 pH soil", "++8 8 9 1 pH soil", "+-8 8 9 1 pH soil", "",
                          "7 8 9 10 label"}) {
        CAPTURE(E);
        RawTest test;
        WriteText("E", E);
        CHECK(RawTest::Format(noPhylogeny + "0\n1\nE\n" + traits + communities + "2\n2\n2\nn\n") ==
              endOfFile);
        CHECK(test.complaints.Text() == "\nfile E ");
        CHECK(session.csm_Float == nullptr);
        CHECK_FALSE(std::filesystem::exists("aFormda.txt"));
    }
}

TEST_CASE("counts that no machine can hold, and memory that ends anywhere, are code 1")
{
    RawTest test;
    const std::string huge = "2147483647\n", withE = noPhylogeny + "0\n1\nE\n";
    for (const std::string& answers :
         {onlyBAndW + huge + "2\n", onlyBAndW + "3\n" + huge, onlyBAndW + huge + huge,
          onlyBAndW + traits + huge, withE + traits + communities + huge}) {
        CAPTURE(answers);
        CHECK(RawTest::Format(answers) == outOfMemory);
    }
    WriteText("F", "0 1 4 1 0 2 4 2 0");
    FailEachAllocation("aFormda.txt", [] {
        return RawTest::Format("B\n1\nF\nW\n1\nnames\n1\nE\n" + traits + "1\n" + communities +
                               "2\n2\n2\n2\nn\n");
    });
}

TEST_CASE("a file name is asked for until the file opens")
{
    RawTest test;
    std::filesystem::create_directory("folder");
    char name[fileNameLength + 1];
    CHECK(CodeWith("none\nfolder\nB\n", [&] { const OutputFile file(ReadDataFileName(name)); }) == 0);
    CHECK(std::string(name) == "B");
    CHECK(TimesIn(test.screen.Text(), "Enter data file name: ") == 3);
    CHECK(test.complaints.Text() == "\ncan't open none \n\ncan't open folder \n");
}

TEST_CASE("ways to set up the data of a session")
{
    const std::string formatted = "1\n" + onlyBAndW + traits + communities;
    struct Case {
        const char* fact;
        std::string answers;
        int result;
        const char* track; // empty: none
        int nMenus;
    };
    // clang-format off
    const Case cases[] = {
        {"back", "4\n", 1, "", 1},
        {"raw data", formatted, 0, "aFormda.txt\n07Jul17\n", 1},
        {"data of another session", "2\nother\n1\n", 0, "otherFormda.txt\n07Jul17\n", 1},
        {"no such session", "2\nnobody\n4\n", 1, "", 2},
        {"a name that is too long", "2\n" + std::string(300, 'x') + "\n4\n", 1, "", 2},
        {"modified data of another session", "2\nother\n2\n1\n1\n1\nn\n", 0,
         "aFormda.txt\n07Jul17\n", 1},
        {"merged data of two sessions", "3\nother\nold\n", 0, "aFormda.txt\n07Jul17\n", 1},
        {"merging that is refused, or finds no second or no first session",
         "3\nother\nother\n3\nother\nnobody\n3\nnobody\n4\n", 1, "", 4},
    };
    // clang-format on
    for (const Case& c : cases) {
        CAPTURE(c.fact);
        RawTest test;
        REQUIRE(RawTest::Format(onlyBAndW + traits + communities) == 0);
        std::filesystem::rename("aFormda.txt", "otherFormda.txt");
        const std::string other = TextOfFile("otherFormda.txt");
        WriteText("oldFormda.txt", Replaced(Replaced(other, "meadow\twood", "lake\tshore"),
                                            "25Jun2016", "18Jan2008"));
        session.nPart = session.nPartCst = session.nGroups = session.nCstGroups = 3;
        session.hasReClus = session.hasRo = 1;
        session.whichLevelGrCST = 2;
        int result = -1;
        CHECK(CodeWith(c.answers, [&result] { result = SetFormda(); }) == 0);
        CHECK(result == c.result);
        // Data taken over bring no results and no partitions along.
        const bool isNew = c.result == 0 && c.answers != formatted;
        CHECK(Ints{session.nPart, session.nPartCst, session.nGroups, session.nCstGroups,
                   session.hasReClus, session.hasRo, session.whichLevelGrCST} ==
              (isNew ? Ints{0, 0, 0, 0, 0, 0, 1} : Ints{3, 3, 3, 3, 1, 1, 2}));
        CHECK(TextOfFile("aTrk.txt") == c.track);
        const std::string screen = test.screen.Text();
        CHECK(TimesIn(screen, "   3  merge formatted data from two sessions\n") == c.nMenus);
        CHECK(TimesIn(screen, "DATA FOR SESSION") == 1);
    }
}
