#include "session/rawdata.hpp"

#include <doctest/doctest.h>

#include <cstring>

#include "session/formda.hpp"
#include "session/rawfile.hpp"
#include "session/setup.hpp"
#include "shell/console.hpp"
#include "unit/session/session_fixture.hpp"

namespace {

struct Dialogue : SessionTest {
    Dialogue()
    {
        std::strcpy(console.sessionName, "a");
        std::strcpy(session.whichFormda, "aFormda.txt");
        std::strcpy(session.whichTrack, "aTrk.txt");
        // 2 traits of 3 OTUs, 2 communities
        WriteText("B", "1 2 3\n4 5 6\nHeight Colour");
        WriteText("W", "1 0 2\n0 3 4\nmeadow wood");
        WriteText("E", "7 8\n-999 9\npH soil");
        WriteText("names", "Abies alba\nBetula pendula\nAbies alba\n");
    }
    ~Dialogue() { console.sessionName[0] = '\0'; }

    /// The code that the dialogue ends with, and the answers that it did not take.
    static int Format(const std::string& answers, std::string* left = nullptr)
    {
        Type(answers + '#');
        const int code = CodeOf([] { IFFormat(); });
        for (int c = StandardInput().Get(); c != '#'; c = StandardInput().Get())
            if (left != nullptr && c != '\n') *left += static_cast<char>(c);
        return code;
    }

    /// Formats, takes the stored data set back in, and expects that all answers were used up.
    static void FormatAndLoad(const std::string& answers)
    {
        std::string left;
        REQUIRE(Format(answers, &left) == 0);
        REQUIRE(left.empty());
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
        std::vector<std::string> traitLabels, communityLabels;
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
        Dialogue dialogue;
        WriteText("B", c.B);
        WriteText("W", c.W);
        Dialogue::FormatAndLoad(onlyBAndW + c.answers);
        CHECK(RowsOf(session.csm_Float, 3, 2) == c.traits);
        CHECK(RowsOf(session.cadat, 3, 2) == c.performances);
        CHECK(WordsOf(session.chLabel, 2) == c.traitLabels);
        CHECK(WordsOf(session.reLabel, 2) == c.communityLabels);
        CHECK(IntsOf(session.chtype, 2) == std::vector<int>{3, 2});
        CHECK(IntsOf(session.onsta, 2) == std::vector<int>{3, 3});
        CHECK(std::string(session.dataName) == "B ");
        CHECK_FALSE(session.hasPhylogeny);
    }
}

TEST_CASE("short raw matrices leave zeros, with one complaint a file")
{
    Dialogue dialogue;
    WriteText("B", "1 2 3 4");
    WriteText("W", "5");
    // Labels by default; those missing at the end of B would throw the stored file out of step.
    Dialogue::FormatAndLoad(onlyBAndW + "3\n2\n1\n1\nk\n3 2\ny\n0\n2\n1\n1\n");
    CHECK(RowsOf(session.csm_Float, 3, 2) == Rows{{1, 4}, {2, 0}, {3, 0}});
    CHECK(RowsOf(session.cadat, 3, 2) == Rows{{5, 0}, {0, 0}, {0, 0}});
    CHECK(dialogue.complaints.Text() == "\nEnd of file B\n\nEnd of file W\n");
    CHECK(TimesIn(dialogue.screen.Text(), "\a") == 2);
}

TEST_CASE("trait groups are asked for and stored")
{
    Dialogue dialogue;
    Dialogue::FormatAndLoad(onlyBAndW + "3\n2\n2\n1\nk\n1 4\ny\n1\nk\n12 11\ny\n" + communities);
    CHECK(session.hasTraitGroups);
    CHECK(IntsOf(session.traitGroups, 2) == std::vector<int>{12, 11});
    CHECK(TimesIn(dialogue.screen.Text(), "Traits:     \t    Height\t    Colour\t\n") == 2);
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
        Dialogue dialogue;
        WriteText("F", c.F);
        Dialogue::FormatAndLoad("B\n1\nF\nW\n0\n0\n" + traits + c.format + "\n" + communities);
        CHECK(session.hasPhylogeny);
        CHECK(session.phylogenyMatrixType == c.type);
        CHECK(RowsOf(session.phylogenyRese, 3, 3) == c.stored);
        CHECK((TimesIn(dialogue.screen.Text(), "\nPhylogenetic distances were normalized") == 1) ==
              c.normalized);
    }
}

TEST_CASE("nothing of an earlier data set gets into the next")
{
    Dialogue dialogue;
    session.hasPhylogeny = true;
    session.phylogenyMatrixType = 3;
    session.SMWSize = 9;
    Dialogue::FormatAndLoad(onlyBAndW + traits + communities);
    CHECK_FALSE(session.hasPhylogeny);
    CHECK((session.SMWSize == 1 && session.nSpp == 0 && session.nenv == 0));
}

TEST_CASE("species names in raw data")
{
    Dialogue dialogue;
    Dialogue::FormatAndLoad(noPhylogeny + "1\nnames\n0\n" + traits + communities + "2\n");
    CHECK(session.nSpp == 2); // the first and third OTU are of one species
    CHECK(WordsOf(session.spp, 2) ==
          std::vector<std::string>{"Abal Abies alba", "Bepe Betula pendula"});
    CHECK(std::string(session.sppRelMap[0], 2) + std::string(session.sppRelMap[1], 2) == "1101");
    CHECK(std::string(session.cstSppMap[2], 2) == "10");
    CHECK(std::string(session.whichSpp) == "names ");
}

TEST_CASE("ecosystem variables")
{
    struct Case {
        const char* fact;
        std::string E, answers; // answers from the number of variables on
        Rows env;
        std::vector<std::string> labels;
        int option;
        std::vector<int> types;
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
        Dialogue dialogue;
        WriteText("E", c.E);
        WriteText("W", "0 0 0 0 -999 -999 m w"); // a community without OTUs gets no warning
        Dialogue::FormatAndLoad(noPhylogeny + "0\n1\nE\n" + traits + communities + c.answers);
        const int nenv = static_cast<int>(c.types.size());
        REQUIRE(session.nenv == nenv);
        CHECK(RowsOf(session.env, 2, nenv) == c.env);
        CHECK(WordsOf(session.envLabel, nenv) == c.labels);
        CHECK(session.optEnvVarType == c.option);
        CHECK(IntsOf(session.envVarType, nenv) == c.types);
        const std::string screen = dialogue.screen.Text();
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
        Dialogue dialogue;
        WriteText("E", E);
        CHECK(Dialogue::Format(noPhylogeny + "0\n1\nE\n" + traits + communities + "2\n2\n2\nn\n") ==
              endOfFile);
        CHECK(dialogue.complaints.Text() == "\nfile E ");
        CHECK(session.csm_Float == nullptr);
        CHECK_FALSE(std::filesystem::exists("aFormda.txt"));
    }
}

TEST_CASE("counts that no machine can hold end in code 1")
{
    const std::string huge = "2147483647\n";
    for (const std::string& counts : {huge + "2\n", "3\n" + huge, huge + huge}) {
        CAPTURE(counts);
        Dialogue dialogue;
        CHECK(Dialogue::Format(onlyBAndW + counts) == outOfMemory);
    }
    Dialogue dialogue;
    CHECK(Dialogue::Format(onlyBAndW + traits + huge) == outOfMemory);
    CHECK(Dialogue::Format(noPhylogeny + "0\n1\nE\n" + traits + communities + huge) == outOfMemory);
}

TEST_CASE("running out of memory at any allocation of the dialogue")
{
    Dialogue dialogue;
    WriteText("F", "0 1 4 1 0 2 4 2 0");
    const std::string answers =
        "B\n1\nF\nW\n1\nnames\n1\nE\n" + traits + "1\n" + communities + "2\n2\n2\n2\nn\n";
    int code = outOfMemory;
    int nFailures = -1;
    for (long k = 1; code != 0; k++) {
        FailAllocation(k);
        code = Dialogue::Format(answers);
        FailAllocation(0);
        REQUIRE((code == outOfMemory || code == 0));
        nFailures++;
    }
    CHECK(nFailures > 30);
}

TEST_CASE("a file name is asked for until the file opens")
{
    Dialogue dialogue;
    std::filesystem::create_directory("folder");
    Type("none\nfolder\nB\n");
    char name[52];
    const OutputFile file(ReadDataFileName(name));
    CHECK(std::string(name) == "B");
    CHECK(TimesIn(dialogue.screen.Text(), "Enter data file name: ") == 3);
    CHECK(dialogue.complaints.Text() == "\ncan't open none \n\ncan't open folder \n");
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
        Dialogue dialogue;
        REQUIRE(Dialogue::Format(onlyBAndW + traits + communities) == 0);
        std::filesystem::rename("aFormda.txt", "otherFormda.txt");
        const std::string other = TextOfFile("otherFormda.txt");
        WriteText("oldFormda.txt", Replaced(Replaced(other, "meadow\twood", "lake\tshore"),
                                            "25Jun2016", "18Jan2008"));
        Type(c.answers);
        int result = -1;
        CHECK(CodeOf([&result] { result = SetFormda(); }) == 0);
        CHECK(result == c.result);
        CHECK(TextOfFile("aTrk.txt") == c.track);
        const std::string screen = dialogue.screen.Text();
        CHECK(TimesIn(screen, "   3  merge formatted data from two sessions\n") == c.nMenus);
        CHECK(TimesIn(screen, "DATA FOR SESSION") == 1);
    }
}

