#include "session/derive.hpp"

#include <chrono>

#include "session/groups.hpp"
#include "session/track.hpp"
#include "unit/session/session_fixture.hpp"

namespace {

// 3 traits in 2 groups, 6 communities, 4 OTUs of 3 species, the third OTU nowhere; 3 variables.
const std::string source =
    "raw\n3\nheight colour mass\n3 2 3\n0 0 0\n4 2 4\n6\na1 a2 b1 b2 c1 c2\n4\n0 0 0 0 0 0\n"
    "0 0 0 0 0 0 0\n25Jun2016\n"
    "1 1 5\n2 2 6\n3 1 7\n4 2 -999\n"
    "1 2 3 4 5 6\n0 0 0 8 0 1\n0 0 0 0 0 0\n2 4 8 16 32 64\n"
    "3\n97Sep08\n5\n3 2 1\npH soil mown\nE.txt\n1 2 4 8 16 32\n1 2 2 2 3 1\n0 1 1 1 0 0\n"
    "3\nnames.txt\nAbies alba\nBetula pendula\nCedrus\n111111\n000101\n110011\n100\n010\n100\n001\n"
    "SMW 1\n1\n3\n0 .1 .2 .3\n.1 0 .4 .5\n.2 .4 0 .6\n.3 .5 .6 0\n1\n1 1 2\n";
/// The same without the nominal variable.
std::string WithoutNominal() { return Replaced(source, "5\n3 2 1", "5\n3 3 1"); }

/// The session "a" is derived from "s".
struct Derived : SessionTest {
    explicit Derived(const std::string& data = source)
    {
        WriteText("sFormda.txt", data);
        WriteText("sTrk.txt", "sFormda.txt\n07Jul17\n");
    }

    static int Derive(const std::string& answers)
    {
        std::strcpy(session.tempSession, "s");
        std::strcpy(session.whichFormda, "sFormda.txt");
        return CodeWith(answers, [] { PickSomeFormda(); });
    }

    /// Derives and takes the written data set back in.
    static void DeriveAndLoad(const std::string& answers)
    {
        REQUIRE(Derive(answers) == 0);
        REQUIRE(std::string(session.whichFormda) == "aFormda.txt");
        REQUIRE(std::string(session.whichTrack) == "aTrk.txt");
        REQUIRE(CodeOf([] { OpenFormda(1); }) == 0);
    }
};

Rows W() { return RowsOf(session.cadat, session.tcst, session.ncsm); }
Rows E() { return RowsOf(session.env, session.ncsm, session.nenv); }
Words SpeciesMarks() { return MarksOf(session.sppRelMap, session.nSpp, session.ncsm); }

} // namespace

TEST_CASE("traits, OTUs, communities and variables are chosen, in any order")
{
    Derived test;
    session.emptyReleves = 5; // of another data set
    Derived::DeriveAndLoad("2 2 k mass height y\n2 3 k 4 2 1 y\n2 3 k c2 b2 a1 y\n"
                           "2 2 k mown pH y\nn\n");
    const Session& s = session;
    CHECK(std::string(s.dataName) == "sFormda.txt "); // the derived file names its source
    CHECK(WordsOf(s.chLabel, 2) == Words{"mass", "height"});
    CHECK(RowsOf(s.csm_Float, 3, 2) == Rows{{-999, 4}, {6, 2}, {5, 1}});
    CHECK(IntsOf(s.chtype, 2) == Ints{3, 3});
    CHECK(IntsOf(s.onsta, 2) == Ints{4, 4}); // without trimming they are not recounted
    CHECK(IntsOf(s.traitGroups, 2) == Ints{2, 1});
    CHECK(WordsOf(s.reLabel, 3) == Words{"c2", "b2", "a1"});
    CHECK(W() == Rows{{64, 16, 2}, {1, 8, 0}, {6, 4, 1}});
    CHECK(WordsOf(s.envLabel, 2) == Words{"mown", "pH"});
    CHECK(IntsOf(s.envVarType, 2) == Ints{1, 3});
    CHECK(E() == Rows{{0, 32}, {1, 8}, {0, 1}});
    CHECK(SpeciesMarks() == Words{"111", "110", "101"});
    CHECK(MarksOf(s.cstSppMap, 3, 3) == Words{"001", "010", "100"});
    CHECK(RowsOf(s.phylogenyRese, 3, 3) == Rows{{0, .5, .3}, {.5, 0, .1}, {.3, .1, 0}});
    CHECK(TimesIn(test.screen.Text(), "empty communities") == 0);
}

TEST_CASE("a trait named twice stands twice; phylogeny variables follow their OTUs")
{
    const std::string matrix = "3\n0 .1 .2 .3\n.1 0 .4 .5\n.2 .4 0 .6\n.3 .5 .6 0\n";
    Derived test(Replaced(source, matrix, "2\n2\n3 1\n1 10\n2 20\n3 30\n4 40\n"));
    Derived::DeriveAndLoad("2 3 k mass mass colour y\n2 2 k 4 2 y\n1\n1\nn\n");
    CHECK(WordsOf(session.chLabel, 3) == Words{"mass", "mass", "colour"});
    CHECK(RowsOf(session.csm_Float, 2, 3) == Rows{{-999, -999, 2}, {6, 6, 2}});
    CHECK(RowsOf(session.phylogenyData, 2, 2) == Rows{{4, 40}, {2, 20}});
}

TEST_CASE("what kind of E is left")
{
    struct Case {
        std::string fact;
        const char* kinds; // option and types
        const char* variables;
        int option;
    };
    const Case cases[] = {
        {"quantitative and nominal", "5\n3 2 1", "2 k pH soil y", 5},
        {"nominal only", "5\n3 2 1", "1 k soil y", 3},
        {"binary only", "5\n3 2 1", "1 k mown y", 4},
        {"quantitative twice", "5\n3 2 1", "2 k pH pH y", 2},
        {"a single quantitative one has one unit", "5\n3 2 1", "1 k pH y", 1},
        {"ordinal ones do not count beside quantitative ones", "5\n3 4 1", "2 k pH soil y", 2},
        {"ordinal ones do not count beside binary ones", "5\n3 4 1", "2 k mown soil y", 4},
        {"ordinal only: stays", "5\n3 4 1", "1 k soil y", 5},
        {"different units, two of them", "2\n3 3 3", "2 k pH soil y", 2},
        {"different units, one of them", "2\n3 3 3", "1 k pH y", 1},
        {"nominal stays nominal", "3\n2 2 2", "1 k pH y", 3},
    };
    for (const Case& c : cases) {
        CAPTURE(c.fact);
        Derived test(Replaced(source, "5\n3 2 1", c.kinds));
        Derived::DeriveAndLoad(std::string("1\n1\n1\n2 ") + c.variables + "\nn\n");
        CHECK(session.optEnvVarType == c.option);
    }
}

// Groups by label, second halves behind first ones and a window of 4 are in whole sessions.
TEST_CASE("communities pooled, as change, or averaged along the series")
{
    struct Case {
        std::string fact;
        std::string data, answers; // answers from the option for communities on
        Words labels;
        Rows W, E;
        Ints types;
        Words species;
        std::string text; // on the screen, once
    };
    const std::string binary = "\nWarning! Change in environmental variables that are qualitative\n"
                               "will result in a binary variable: 1 if there is change, 0 if there "
                               "is not.\n\nTo compute change";
    const auto window = [](const std::string& count, const std::string& half) {
        return "\nA formda file for this session, with " + count + " communities, has been created."
               "\n\nThe first new community is the average of the first " + half +
               " communities in the series,\n the second new one is an average of the " + half +
               " communities starting at the second\n community in the series, and so on.\n\n"
               "Releve labels correspond to the labels of the first\n " + count +
               " previous communities in the series.\n";
    };
    const Rows same = {{1, 2, 3, 4, 5, 6}, {0, 0, 0, 8, 0, 1}, {0, 0, 0, 0, 0, 0},
                       {2, 4, 8, 16, 32, 64}};
    const double third = 1 / 3.0;
    // By hand.
    const Case cases[] = {
        {"groups of known size", WithoutNominal(), "3\n2 1 y 2 4", {"1", "2"},
         {{1.5, 4.5}, {0, 2.25}, {0, 0}, {3, 30}}, {{1.5, 1.5, .5}, {15, 2, .5}}, {3, 3, 3},
         {"11", "01", "11"}, "\nWarning! Binary environmental variables will be averaged"},
        // A long word splits into the next label. Nominal soil: 1 where it has changed.
        {"following one another: odd ones are pairs, even ones stay zero", source,
         "4\n2 x y z n woodland mead y 2", {"wood", "land", "mead"}, {{1, 0, 1}, {0, 0, 8}, {0, 0, 0}, {2, 0, 8}},
         {{1, 1, 1}, {0, 0, 0}, {4, 0, 0}}, {3, 1, 1}, {"101", "001", "100"}, binary},
        {"a window of 2 changes nothing", source, "5\n2", {"a1", "a2", "b1", "b2", "c1", "c2"},
         same, {{1, 1, 0}, {2, 2, 1}, {4, 2, 1}, {8, 2, 1}, {16, 3, 0}, {32, 1, 0}}, {3, 2, 1},
         {"111111", "000101", "110011"}, window("6", "1")},
        {"a window of the whole series", source, "5\n6", {"a1", "a2", "b1", "b2"},
         {{2, 3, 4, 5}, {0, 8 * third, 8 * third, 3}, {0, 0, 0, 0},
          {14 * third, 28 * third, 56 * third, 112 * third}},
         {{7 * third, 5 * third, 2 * third}, {14 * third, 2, 1}, {28 * third, 7 * third, 2 * third},
          {56 * third, 2, third}}, {3, 2, 1}, {"1111", "0111", "1111"}, window("4", "3")},
    };
    for (const Case& c : cases) {
        CAPTURE(c.fact);
        Derived test(c.data);
        Derived::DeriveAndLoad("1\n1\n" + c.answers + "\n1\nn\n");
        const int n = static_cast<int>(c.labels.size());
        REQUIRE(session.ncsm == n);
        CHECK(WordsOf(session.reLabel, n) == c.labels);
        CheckRows(session.cadat, c.W);
        CheckRows(session.env, c.E);
        CHECK(IntsOf(session.envVarType, 3) == c.types);
        CHECK(SpeciesMarks() == c.species);
        CHECK(session.SMWSize == (c.answers[0] == '5' ? (c.answers[2] - '0') / 2 : 1));
        const std::string screen = test.screen.Text();
        CHECK(TimesIn(screen, c.text) == 1);
        CHECK(TimesIn(screen, "must be even.") == 0);
        CHECK(TimesIn(screen, "\nWarning! Binary") == (c.answers[0] == '4' ? 0 : 1));
    }
}

TEST_CASE("change with an odd number of communities leaves the last one out")
{
    for (const bool follow : {false, true}) {
        CAPTURE(follow);
        Derived test;
        Derived::DeriveAndLoad("1\n1\n2 5 k a1 a2 b1 b2 c1 y\n1\nn\n");
        std::filesystem::rename("aFormda.txt", "sFormda.txt");
        Derived::DeriveAndLoad(follow ? "1\n1\n4\n1 2\n1\nn\n" : "1\n1\n4\n1 1\n1\nn\n");
        CHECK(W() == (follow ? Rows{{1, 0}, {0, 0}, {0, 0}, {2, 0}}
                             : Rows{{2, 2}, {0, 8}, {0, 0}, {6, 12}}));
        CHECK(TimesIn(test.screen.Text(), "\nThis option is not possible, for the number of "
                                          "communities must be even.\nTo compute change") == 1);
    }
}

TEST_CASE("pooling is refused with a nominal variable, and only that")
{
    Derived test;
    Derived::DeriveAndLoad("1\n1\n3\n1\n1\nn\n");
    const std::string menu =
        "----------------------------------------------------------------------\nCommunities:\n";
    const std::string notes =
        "\nWarning! Binary environmental variables will be averaged, and therefore will become "
        "quantitative.\nThis option not allowed with this data: pooling environmental variables "
        "that are qualitative is not possible.\n";
    CHECK(TimesIn(test.screen.Text(), "Type option no.: " + notes + menu) == 1);
}

TEST_CASE("OTUs that are absent everywhere are trimmed before communities are pooled")
{
    Derived test(WithoutNominal());
    Derived::DeriveAndLoad("1\n1\n3\n1 1 y 6\n1\ny\n");
    CHECK(W() == Rows{{3.5}, {1.5}, {21}});
    CHECK(IntsOf(session.onsta, 3) == Ints{3, 2, 2}); // recounted; a hole is no state
    CHECK(RowsOf(session.phylogenyRese, 3, 3) == Rows{{0, .1, .3}, {.1, 0, .5}, {.3, .5, 0}});
    CHECK(MarksOf(session.cstSppMap, 3, 3) == Words{"100", "010", "001"});
    CHECK(TimesIn(test.screen.Text(), "empty communities") == 0);
    Derived::DeriveAndLoad("1\n2 2 k 2 3 y\n1\n1\ny\n");
    CHECK(W() == Rows{{0, 0, 0, 8, 0, 1}});
    CHECK(WordsOf(session.spp, session.nSpp) == Words{"Betula pendula"});
    CHECK(TimesIn(test.screen.Text(), "\nWarning!! There are 4 empty communities!!\n"
                                      "Inspect file aFormda.txt\n") == 1);
    // No OTU is left: the file is written all the same.
    Derived::DeriveAndLoad("1\n2 1 k 3 y\n1\n1\ny\n");
    CHECK(Ints{session.tcst, session.nSpp, session.ncsm} == Ints{0, 0, 6});
    CHECK(TimesIn(test.screen.Text(), "There are 6 empty communities!!") == 1);
}

TEST_CASE("what is wrong is asked again under its heading, and at once")
{
    struct Case {
        std::string fact;
        std::string before, wrong, right;
        const char* heading;
        const char* complaint;
    };
    // clang-format off
    const Case cases[] = {
        {"trait", "2 1", "k Mass y", "k mass y\n1\n1\n1\nn",
         "Identify the traits by their labels: \n", "\nError!! Enter again. \n"},
        {"OTU 0", "1\n2 2", "k 4 0 y", "k 4 1 y\n1\n1\nn",
         "Identify the OTUs by their position on file: \n", "Error!! Enter again. \n"},
        {"OTU 5", "1\n2 2", "k 5 1 y", "k 4 1 y\n1\n1\nn",
         "Identify the OTUs by their position on file: \n", "Error!! Enter again. \n"},
        {"community", "1\n1\n2 1", "k a y", "k a1 y\n1\nn",
         "Identify the communities by their labels: \n", "Error!! Enter again. \n"},
        {"variable", "1\n1\n1\n2 1", "k PH y", "k pH y\nn",
         "Identify the variables by their labels: \n", "Error!! Enter again. \n"},
        {"group", "1\n1\n3\n1 1 n", "k 1 1 1 1 1 2 y", "k 1 1 1 1 1 1 y\n1\nn",
         "\nEnter group membership (label) for communities:\ncommunities:\t"
         "a1\ta2\tb1\tb2\tc1\tc2\t\n", "\nError!! Enter again. \n"},
        {"sizes of groups", "1\n1\n3\n2 1 y", "2 3", "2 4\n1\nn",
         "\nGroups:            1   2   \nNumber of communities: ", "\nError!! Reenter!!\n"},
        {"window", "1\n1\n5", "3", "4\n1\nn",
         "\nEnter the size of the split moving-window (must be even): ",
         "\nEnter again. Must be even."},
    };
    // clang-format on
    const int nWrong = 10; // a pause that doubled each time would take a second by then
    for (const Case& c : cases) {
        CAPTURE(c.fact);
        Derived test(WithoutNominal());
        std::string answers = c.before;
        for (int i = 0; i < nWrong; i++) answers += '\n' + c.wrong;
        const auto start = std::chrono::steady_clock::now();
        Derived::DeriveAndLoad(answers + '\n' + c.right + '\n');
        CHECK(std::chrono::steady_clock::now() - start < std::chrono::milliseconds(700));
        const std::string screen = test.screen.Text(), complaints = test.complaints.Text();
        CHECK(TimesIn(screen, c.heading) == nWrong + 1);
        CHECK(TimesIn(screen + complaints, c.complaint) == nWrong);
        CHECK(TimesIn(screen, "\a") == 0);
    }
}

TEST_CASE("the track file of the source")
{
    struct Case {
        std::string fact;
        const char* track; // null: none
        int code;
        const char* complaint;
    };
    const Case cases[] = {
        {"is not there", nullptr, 0, "\ncan't open sTrk.txt \n"},
        {"has no word", " \n", 0, ""},
        {"points at other data", "otherFormda.txt\n07Jul17\n", 0, ""},
        {"is cut short", "sFormda.txt\n07Jul17\nNULL\n", endOfFile, "\nfile sTrk.txt "},
    };
    for (const Case& c : cases) {
        CAPTURE(c.fact);
        Derived test;
        std::filesystem::remove("sTrk.txt");
        if (c.track != nullptr) WriteText("sTrk.txt", c.track);
        CHECK(Derived::Derive("1\n1\n1\n1\nn\n") == c.code);
        CHECK(test.complaints.Text() == c.complaint);
        CHECK(TextOfFile("aFormda.txt").substr(0, 12) == (c.code == 0 ? "sFormda.txt " : ""));
    }
    // It tells of a cluster record: its partition is the one at hand.
    Derived test;
    REQUIRE(LoadData(WithoutNominal()) == 0);
    std::strcpy(session.whichTrack, "sTrk.txt");
    session.hasReClus = session.nPart = 1;
    session.nGroupsP[0] = 2;
    std::strcpy(session.partLabel[0], "old");
    for (int g = 0; g < 2; g++) std::strcpy(session.grLabelP[0][g], "x");
    for (int i = 0; i < 6; i++) session.groupRelP[0][i] = i == 0 || i == 2 ? 1 : 2;
    WriteTrack(1);
    std::strcpy(session.whichTrack, "aTrk.txt");
    Derived::DeriveAndLoad("1\n1\n3\n2 1 2\n1\nn\n");
    CHECK(W() == Rows{{2, 4.25}, {0, 2.25}, {0, 0}, {5, 29}}); // by hand
    CHECK(TimesIn(test.screen.Text(), "\nGet partition from: \n   1  keyboard or file \n   2  "
                                      "cluster analysis record \nType option no.: ") == 1);
}

TEST_CASE("a partition of other objects than communities")
{
    struct Case {
        std::string fact;
        const char* answers;
        int n;
        Ints group;
        const char* text; // on the screen
    };
    const Case cases[] = {
        {"by number", "2 1 n k 2 1 2 y", 3, {2, 1, 2},
         "\nEnter group membership (label) for OTUs:\nOTUs:\t1\t2\t3\t\n"},
        {"by sizes, one of them 0; a label is cut", "3 2 k elm oak ashen y y 1 0 2", 3, {1, 3, 3},
         "\nEnter number of OTUs per group:\nGroups:            elm oak ashe \nNumber of OTUs: "},
        {"no groups of no objects", "0 1 y", 0, {}, "\nNumber of OTUs: "},
    };
    for (const Case& c : cases) {
        CAPTURE(c.fact);
        SessionTest test;
        session.hasReClus = 1; // a record of communities, which is not asked for
        const OwnedTable<char> labels(3, groupLabelSize);
        int group[3] = {}, groups = 7;
        CHECK(CodeWith(c.answers, [&] { SettingAnyGroups(c.n, groups, group, labels, "OTUs"); }) ==
              0);
        CHECK(groups == c.answers[0] - '0');
        CHECK(IntsOf(group, c.n) == c.group);
        CHECK(TimesIn(test.screen.Text(), c.text) == 1);
    }
}

TEST_CASE("a failure before the end leaves no file")
{
    Derived test(WithoutNominal());
    for (const char* answers :
         {"2 2 k mass height y\n2 3 k 4 2 1 y\n2 3 k c2 b2 a1 y\n2 2 k mown pH y\ny\n",
          "1\n1\n3\n2 1 n k 1 2 1 2 2 2 y\n1\ny\n", "1\n1\n4\n1 1\n1\ny\n", "1\n1\n5\n4\n1\ny\n"})
        FailEachAllocation("aFormda.txt", [answers] { return Derived::Derive(answers); });
    std::filesystem::remove("aFormda.txt");
    std::filesystem::create_directory("aFormda.txt");
    CHECK(Derived::Derive("1\n1\n1\n1\nn\n") == cannotOpen);
    CHECK(test.complaints.Text() == "\ncan't open aFormda.txt \n");
}
