#include "session/derive.hpp"

#include <doctest/doctest.h>

#include <chrono>
#include <cstring>

#include "session/formda.hpp"
#include "session/groups.hpp"
#include "session/track.hpp"
#include "shell/console.hpp"
#include "unit/session/session_fixture.hpp"

namespace {

using Words = std::vector<std::string>;

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
std::string WithoutNominal()
{
    return Replaced(source, "5\n3 2 1", "5\n3 3 1");
}

const std::string keepTraitsAndOTUs = "1\n1\n";

struct Derived : SessionTest {
    explicit Derived(const std::string& data = source)
    {
        std::strcpy(console.sessionName, "d");
        std::strcpy(session.whichTrack, "dTrk.txt");
        WriteText("sFormda.txt", data);
        WriteText("sTrk.txt", "sFormda.txt\n07Jul17\n");
    }
    ~Derived() { console.sessionName[0] = '\0'; }

    /// The code that the dialogue ends with, and the answers that it did not take.
    static int Derive(const std::string& answers, std::string* left = nullptr)
    {
        std::strcpy(session.tempSession, "s");
        std::strcpy(session.whichFormda, "sFormda.txt");
        Type(answers + '#');
        const int code = CodeOf([] { PickSomeFormda(); });
        for (int c = StandardInput().Get(); c != '#' && c != EOF; c = StandardInput().Get())
            if (left != nullptr && c != '\n') *left += static_cast<char>(c);
        return code;
    }

    /// Derives with all answers used up, and takes the written data set back in.
    static void DeriveAndLoad(const std::string& answers)
    {
        std::string left;
        REQUIRE(Derive(answers, &left) == 0);
        REQUIRE(left.empty());
        REQUIRE(std::string(session.whichFormda) == "dFormda.txt");
        REQUIRE(std::string(session.whichTrack) == "dTrk.txt");
        REQUIRE(CodeOf([] { OpenFormda(1); }) == 0);
    }
};

Words MarksOf(char** marks, int rows, int columns)
{
    Words copy;
    for (int i = 0; i < rows; i++) copy.emplace_back(marks[i], static_cast<std::size_t>(columns));
    return copy;
}

std::vector<int> Ints(const int* values, int n) { return {values, values + n}; }
Rows W() { return RowsOf(session.cadat, session.tcst, session.ncsm); }
Rows E() { return RowsOf(session.env, session.ncsm, session.nenv); }
Words Communities() { return WordsOf(session.reLabel, session.ncsm); }
Words SpeciesMarks() { return MarksOf(session.sppRelMap, session.nSpp, session.ncsm); }

} // namespace

TEST_CASE("a data set taken as it is")
{
    Derived test;
    Derived::DeriveAndLoad("1\n1\n1\n1\nn\n");
    const Session& s = session;
    CHECK(std::string(s.dataName) == "sFormda.txt "); // the derived file names its source
    CHECK(RowsOf(s.csm_Float, 4, 3) == Rows{{1, 1, 5}, {2, 2, 6}, {3, 1, 7}, {4, 2, -999}});
    CHECK(W() == Rows{{1, 2, 3, 4, 5, 6}, {0, 0, 0, 8, 0, 1}, {0, 0, 0, 0, 0, 0},
                      {2, 4, 8, 16, 32, 64}});
    CHECK(s.optEnvVarType == 5);
    CHECK(s.SMWSize == 1);
    CHECK(TimesIn(test.screen.Text(), "empty communities") == 0);
    CHECK(test.complaints.Text().empty());
}

TEST_CASE("traits, OTUs, communities and variables are chosen, in any order")
{
    Derived test;
    Derived::DeriveAndLoad("2 2 k mass height y\n2 3 k 4 2 1 y\n2 3 k c2 b2 a1 y\n"
                           "2 2 k mown pH y\nn\n");
    const Session& s = session;
    CHECK(WordsOf(s.chLabel, 2) == Words{"mass", "height"});
    CHECK(RowsOf(s.csm_Float, 3, 2) == Rows{{-999, 4}, {6, 2}, {5, 1}});
    CHECK(Ints(s.chtype, 2) == std::vector<int>{3, 3});
    CHECK(Ints(s.onsta, 2) == std::vector<int>{4, 4}); // without trimming they are not recounted
    CHECK(Ints(s.traitGroups, 2) == std::vector<int>{2, 1});
    CHECK(Communities() == Words{"c2", "b2", "a1"});
    CHECK(W() == Rows{{64, 16, 2}, {1, 8, 0}, {6, 4, 1}});
    CHECK(WordsOf(s.envLabel, 2) == Words{"mown", "pH"});
    CHECK(Ints(s.envVarType, 2) == std::vector<int>{1, 3});
    CHECK(E() == Rows{{0, 32}, {1, 8}, {0, 1}});
    CHECK(SpeciesMarks() == Words{"111", "110", "101"});
    CHECK(MarksOf(s.cstSppMap, 3, 3) == Words{"001", "010", "100"});
    CHECK(RowsOf(s.phylogenyRese, 3, 3) == Rows{{0, .5, .3}, {.5, 0, .1}, {.3, .1, 0}});
}

TEST_CASE("a trait named twice stands twice")
{
    Derived test;
    Derived::DeriveAndLoad("2 3 k mass mass colour y\n1\n1\n1\nn\n");
    CHECK(WordsOf(session.chLabel, 3) == Words{"mass", "mass", "colour"});
    CHECK(RowsOf(session.csm_Float, 2, 3) == Rows{{5, 5, 1}, {6, 6, 2}});
}

TEST_CASE("variables of phylogeny follow their OTUs")
{
    const std::string matrix = "3\n0 .1 .2 .3\n.1 0 .4 .5\n.2 .4 0 .6\n.3 .5 .6 0\n";
    Derived test(Replaced(source, matrix, "2\n2\n3 1\n1 10\n2 20\n3 30\n4 40\n"));
    Derived::DeriveAndLoad("1\n2 2 k 4 2 y\n1\n1\nn\n");
    CHECK(session.nClados == 2);
    CHECK(RowsOf(session.phylogenyData, 2, 2) == Rows{{4, 40}, {2, 20}});
}

TEST_CASE("what kind of E is left")
{
    struct Case {
        const char* fact;
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
        Derived::DeriveAndLoad(keepTraitsAndOTUs + "1\n2 " + c.variables + "\nn\n");
        CHECK(session.optEnvVarType == c.option);
    }
}

TEST_CASE("communities pooled by groups")
{
    struct Case {
        const char* fact;
        const char* answers; // number of groups to the end of the partition
        Words labels;
        Rows W, E;
        Words species;
    };
    // By hand.
    const Rows betweenE = {{2.5, 1.5, .5}, {14.5, 2, .5}};
    const Case cases[] = {
        {"membership by label", "2 2 k wet dry y n k wet dry wet dry dry dry y", {"wet", "dry"},
         {{2, 4.25}, {0, 2.25}, {0, 0}, {5, 29}}, betweenE, {"11", "01", "11"}},
        {"membership by number", "2 1 n k 1 2 1 2 2 2 y", {"1", "2"},
         {{2, 4.25}, {0, 2.25}, {0, 0}, {5, 29}}, betweenE, {"11", "01", "11"}},
        {"ordered by groups; sizes of 5 in all are reentered", "2 1 y 2 3 2 4", {"1", "2"},
         {{1.5, 4.5}, {0, 2.25}, {0, 0}, {3, 30}}, {{1.5, 1.5, .5}, {15, 2, .5}},
         {"11", "01", "11"}},
        {"one group", "1 1 y 6", {"1"}, {{3.5}, {1.5}, {0}, {21}},
         {{10.5, 11.0 / 6, .5}}, {"1", "1", "1"}},
    };
    for (const Case& c : cases) {
        CAPTURE(c.fact);
        Derived test(WithoutNominal());
        Derived::DeriveAndLoad(keepTraitsAndOTUs + "3\n" + c.answers + "\n1\nn\n");
        const bool reentered = TimesIn(c.fact, "reentered") == 1;
        CHECK(test.complaints.Text() == (reentered ? "\nError!! Reenter!!\n" : ""));
        CHECK(Communities() == c.labels);
        CHECK(W() == c.W);
        for (std::size_t i = 0; i < c.E.size(); i++)
            for (std::size_t k = 0; k < 3; k++)
                CHECK(E()[i][k] == doctest::Approx(c.E[i][k]).epsilon(1e-5)); // 6 digits stored
        CHECK(Ints(session.envVarType, 3) == std::vector<int>{3, 3, 3}); // no longer binary
        CHECK(SpeciesMarks() == c.species);
    }
}

TEST_CASE("pooling is refused with a nominal variable, and only that")
{
    Derived test;
    Derived::DeriveAndLoad(keepTraitsAndOTUs + "3\n1\n1\nn\n");
    const std::string menu =
        "----------------------------------------------------------------------\nCommunities:\n";
    const std::string screen = test.screen.Text();
    CHECK(TimesIn(screen, menu) == 2);
    CHECK(TimesIn(screen,
                  "Type option no.: "
                  "\nWarning! Binary environmental variables will be averaged, and therefore "
                  "will become quantitative."
                  "\nThis option not allowed with this data: pooling environmental variables "
                  "that are qualitative is not possible.\n" +
                      menu) == 1);
}

TEST_CASE("change between the communities of a pair")
{
    struct Case {
        const char* fact;
        std::string answers; // labels and order
        Words labels;
        Rows W, E;
        Words species;
    };
    // By hand. Nominal soil: 1 where it has changed.
    const Case cases[] = {
        {"second halves behind first halves", "2 wood mead lake y 1", {"wood", "mead", "lake"},
         {{3, 3, 3}, {8, 0, 1}, {0, 0, 0}, {14, 28, 56}}, {{7, 1, 1}, {14, 1, -1}, {28, 1, -1}},
         {"111", "101", "111"}},
        {"following one another: odd ones are pairs, even ones stay zero", "1 2", {"1", "2", "3"},
         {{1, 0, 1}, {0, 0, 8}, {0, 0, 0}, {2, 0, 8}}, {{1, 1, 1}, {0, 0, 0}, {4, 0, 0}},
         {"101", "001", "100"}},
        {"labels typed again, a long word splits", "2 x y z n woodland mead y 1",
         {"wood", "land", "mead"}, {{3, 3, 3}, {8, 0, 1}, {0, 0, 0}, {14, 28, 56}},
         {{7, 1, 1}, {14, 1, -1}, {28, 1, -1}}, {"111", "101", "111"}},
    };
    for (const Case& c : cases) {
        CAPTURE(c.fact);
        Derived test;
        Derived::DeriveAndLoad(keepTraitsAndOTUs + "4\n" + c.answers + "\n1\nn\n");
        CHECK(Communities() == c.labels);
        CHECK(W() == c.W);
        CHECK(E() == c.E);
        CHECK(Ints(session.envVarType, 3) == std::vector<int>{3, 1, 1});
        CHECK(SpeciesMarks() == c.species);
        CHECK(TimesIn(test.screen.Text(),
                      "\nWarning! Change in environmental variables that are qualitative\nwill "
                      "result in a binary variable: 1 if there is change, 0 if there is not.\n") ==
              1);
        CHECK(TimesIn(test.screen.Text(), "must be even") == 0);
    }
}

TEST_CASE("change with an odd number of communities leaves the last one out")
{
    std::string odd = Replaced(source, "6\na1 a2 b1 b2 c1 c2", "5\na1 a2 b1 b2 c1");
    odd = Replaced(odd, "0 0 0 0 0 0\n0 0 0 0 0 0 0\n25", "0 0 0 0 0\n0 0 0 0 0 0 0\n25");
    odd = Replaced(odd, "1 2 3 4 5 6\n0 0 0 8 0 1\n0 0 0 0 0 0\n2 4 8 16 32 64\n",
                   "1 2 3 4 9\n0 0 0 8 9\n0 0 0 0 9\n2 4 8 16 9\n");
    odd = Replaced(odd, "1 2 4 8 16 32\n1 2 2 2 3 1\n0 1 1 1 0 0\n",
                   "1 2 4 8 16\n1 2 2 2 3\n0 1 1 1 0\n");
    odd = Replaced(odd, "111111\n000101\n110011\n", "11111\n00010\n11001\n");
    for (const bool follow : {false, true}) {
        CAPTURE(follow);
        Derived test(odd);
        Derived::DeriveAndLoad(keepTraitsAndOTUs + (follow ? "4\n1 2\n1\nn\n" : "4\n1 1\n1\nn\n"));
        CHECK(W() == (follow ? Rows{{1, 0}, {0, 0}, {0, 0}, {2, 0}}
                             : Rows{{2, 2}, {0, 8}, {0, 0}, {6, 12}}));
        CHECK(TimesIn(test.screen.Text(),
                      "\nThis option is not possible, for the number of communities must be "
                      "even.\nTo compute change") == 1);
    }
}

TEST_CASE("pooling by a moving window")
{
    struct Case {
        const char* fact;
        const char* sizes;
        int half;
        Words labels;
        Rows W, E;
        Words species;
    };
    const Rows sameW = {{1, 2, 3, 4, 5, 6}, {0, 0, 0, 8, 0, 1}, {0, 0, 0, 0, 0, 0},
                        {2, 4, 8, 16, 32, 64}};
    // By hand.
    const Case cases[] = {
        {"size 2 changes nothing", "2", 1, {"a1", "a2", "b1", "b2", "c1", "c2"}, sameW,
         {{1, 1, 0}, {2, 2, 1}, {4, 2, 1}, {8, 2, 1}, {16, 3, 0}, {32, 1, 0}},
         {"111111", "000101", "110011"}},
        {"size 4 means pairs of neighbours; odd sizes are refused", "3 5 4", 2,
         {"a1", "a2", "b1", "b2", "c1"},
         {{1.5, 2.5, 3.5, 4.5, 5.5}, {0, 0, 4, 4, .5}, {0, 0, 0, 0, 0}, {3, 6, 12, 24, 48}},
         {{1.5, 1.5, .5}, {3, 2, 1}, {6, 2, 1}, {12, 2.5, .5}, {24, 2, 0}},
         {"11111", "00111", "11011"}},
        {"size of the whole series", "6", 3, {"a1", "a2", "b1", "b2"},
         {{2, 3, 4, 5}, {0, 8 / 3.0, 8 / 3.0, 3}, {0, 0, 0, 0}, {14 / 3.0, 28 / 3.0, 56 / 3.0,
         112 / 3.0}}, {{7 / 3.0, 5 / 3.0, 2 / 3.0}, {14 / 3.0, 2, 1}, {28 / 3.0, 7 / 3.0, 2 / 3.0},
         {56 / 3.0, 2, 1 / 3.0}}, {"1111", "0111", "1111"}},
    };
    for (const Case& c : cases) {
        CAPTURE(c.fact);
        Derived test;
        Derived::DeriveAndLoad(keepTraitsAndOTUs + "5\n" + c.sizes + "\n1\nn\n");
        CHECK(session.SMWSize == c.half);
        CHECK(Communities() == c.labels);
        const int nNew = static_cast<int>(c.labels.size());
        REQUIRE(session.ncsm == nNew);
        for (int i = 0; i < 4; i++)
            for (int k = 0; k < nNew; k++)
                CHECK(session.cadat[i][k] ==
                      doctest::Approx(c.W[static_cast<std::size_t>(i)][static_cast<std::size_t>(k)])
                          .epsilon(1e-5)); // 6 digits stored
        for (int i = 0; i < nNew; i++)
            for (int k = 0; k < 3; k++)
                CHECK(session.env[i][k] ==
                      doctest::Approx(c.E[static_cast<std::size_t>(i)][static_cast<std::size_t>(k)])
                          .epsilon(1e-5));
        CHECK(Ints(session.envVarType, 3) == std::vector<int>{3, 2, 1}); // as they were
        CHECK(SpeciesMarks() == c.species);
        const std::string screen = test.screen.Text();
        const std::string count = std::to_string(nNew), half = std::to_string(c.half);
        CHECK(TimesIn(screen, "\nEnter again. Must be even.") == TimesIn(c.sizes, " "));
        CHECK(TimesIn(screen, "\nA formda file for this session, with " + count +
                                  " communities, has been created.\n\nThe first new community is "
                                  "the average of the first " + half + " communities in the "
                                  "series,\n the second new one is an average of the " + half +
                                  " communities starting at the second\n community in the series, "
                                  "and so on.\n\nReleve labels correspond to the labels of the "
                                  "first\n " + count + " previous communities in the series.\n") ==
              1);
    }
}

TEST_CASE("OTUs that are absent everywhere are trimmed before communities are pooled")
{
    SUBCASE("F and species follow")
    {
        Derived test(WithoutNominal());
        Derived::DeriveAndLoad(keepTraitsAndOTUs + "3\n1 1 y 6\n1\ny\n");
        CHECK(W() == Rows{{3.5}, {1.5}, {21}});
        CHECK(Ints(session.onsta, 3) == std::vector<int>{3, 2, 2}); // recounted; a hole is no state
        CHECK(RowsOf(session.phylogenyRese, 3, 3) == Rows{{0, .1, .3}, {.1, 0, .5}, {.3, .5, 0}});
        CHECK(MarksOf(session.cstSppMap, 3, 3) == Words{"100", "010", "001"});
        CHECK(TimesIn(test.screen.Text(), "empty communities") == 0);
    }
    SUBCASE("communities that lose all their OTUs are told")
    {
        Derived test;
        Derived::DeriveAndLoad("1\n2 2 k 2 3 y\n1\n1\ny\n");
        CHECK(W() == Rows{{0, 0, 0, 8, 0, 1}});
        CHECK(WordsOf(session.spp, session.nSpp) == Words{"Betula pendula"});
        CHECK(TimesIn(test.screen.Text(), "\nWarning!! There are 4 empty communities!!\n"
                                          "Inspect file dFormda.txt\n") == 1);
    }
    SUBCASE("no OTU is left: the file is written all the same")
    {
        Derived test;
        Derived::DeriveAndLoad("1\n2 1 k 3 y\n1\n1\ny\n");
        CHECK(session.tcst == 0);
        CHECK(session.nSpp == 0);
        CHECK(session.ncsm == 6);
        CHECK(TimesIn(test.screen.Text(), "There are 6 empty communities!!") == 1);
    }
}

TEST_CASE("what is wrong is asked again under its heading, and at once")
{
    struct Case {
        const char* fact;
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
    const std::string recordMenu =
        "\nGet partition from: \n   1  keyboard or file \n   2  cluster analysis record \n"
        "Type option no.: ";
    SUBCASE("is not there: complained of, and the dialogue goes on")
    {
        Derived test;
        std::filesystem::remove("sTrk.txt");
        Derived::DeriveAndLoad("1\n1\n1\n1\nn\n");
        CHECK(test.complaints.Text() == "\ncan't open sTrk.txt \n");
    }
    SUBCASE("has no word in it")
    {
        Derived test;
        WriteText("sTrk.txt", " \n");
        Derived::DeriveAndLoad("1\n1\n1\n1\nn\n");
        CHECK(test.complaints.Text().empty());
    }
    SUBCASE("points at other data: the description names those that were taken")
    {
        Derived test;
        WriteText("sTrk.txt", "otherFormda.txt\n07Jul17\n");
        Derived::DeriveAndLoad("1\n1\n1\n1\nn\n");
        CHECK(std::string(session.dataName) == "sFormda.txt ");
    }
    SUBCASE("is cut short")
    {
        Derived test;
        WriteText("sTrk.txt", "sFormda.txt\n07Jul17\nNULL\nNULL\n");
        CHECK(Derived::Derive("1\n1\n1\n1\nn\n") == endOfFile);
        CHECK(test.complaints.Text() == "\nfile sTrk.txt ");
        CHECK_FALSE(std::filesystem::exists("dFormda.txt"));
    }
    SUBCASE("tells of a cluster record: its partition is the one at hand")
    {
        Derived test(WithoutNominal());
        std::strcpy(session.whichFormda, "sFormda.txt");
        std::strcpy(session.whichTrack, "sTrk.txt");
        OpenFormda(1);
        session.hasReClus = session.nPart = 1;
        session.nGroupsP[0] = 2;
        std::strcpy(session.partLabel[0], "old");
        for (int g = 0; g < 2; g++) std::strcpy(session.grLabelP[0][g], "x");
        const int groups[] = {1, 2, 1, 2, 2, 2};
        std::copy(groups, groups + 6, session.groupRelP[0]);
        WriteTrack(1);
        std::strcpy(session.whichTrack, "dTrk.txt");
        Derived::DeriveAndLoad(keepTraitsAndOTUs + "3\n2 1 2\n1\nn\n");
        CHECK(W() == Rows{{2, 4.25}, {0, 2.25}, {0, 0}, {5, 29}}); // by hand
        CHECK(TimesIn(test.screen.Text(), recordMenu) == 1);
        CHECK(TimesIn(test.screen.Text(), "ordered by groups") == 0);
    }
}

TEST_CASE("a partition of other objects than communities")
{
    Derived test;
    char* labels[] = {new char[groupLabelSize], new char[groupLabelSize],
                      new char[groupLabelSize]};
    int group[3] = {}, groups = 0;
    SUBCASE("by number")
    {
        session.hasReClus = 1; // a record of communities
        Type("2 1 n k 2 1 2 y\n");
        SettingAnyGroups(3, groups, group, labels, "OTUs");
        CHECK(Ints(group, 3) == std::vector<int>{2, 1, 2});
        const std::string screen = test.screen.Text();
        CHECK(TimesIn(screen, "\nEnter group membership (label) for OTUs:\nOTUs:\t1\t2\t3\t\n") ==
              1);
        CHECK(TimesIn(screen, "Get partition from") == 0);
    }
    SUBCASE("by sizes, one of them 0")
    {
        Type("3 2 k elm oak ash n k elm oak ashen y y 1 0 2\n");
        SettingAnyGroups(3, groups, group, labels, "OTUs");
        CHECK(Ints(group, 3) == std::vector<int>{1, 3, 3});
        CHECK(TimesIn(test.screen.Text(), "\nEnter labels (max. 4 alphanumeric characters):\n") ==
              1);
        CHECK(TimesIn(test.screen.Text(), "\nEnter number of OTUs per group:"
                                          "\nGroups:            elm oak ashe "
                                          "\nNumber of OTUs: ") == 1);
    }
    SUBCASE("no groups of no objects")
    {
        Type("0 1 y\n");
        SettingAnyGroups(0, groups, group, labels, "OTUs");
        CHECK(groups == 0);
    }
    for (char* label : labels) delete[] label;
}

TEST_CASE("a failure before the end leaves no file")
{
    Derived test;
    SUBCASE("memory ends, at any allocation")
    {
        const std::string answers[] = {
            "2 2 k mass height y\n2 3 k 4 2 1 y\n2 3 k c2 b2 a1 y\n2 2 k mown pH y\ny\n",
            keepTraitsAndOTUs + "3\n2 1 n k 1 2 1 2 2 2 y\n1\ny\n",
            keepTraitsAndOTUs + "4\n1 1\n1\ny\n",
            keepTraitsAndOTUs + "5\n4\n1\ny\n",
        };
        WriteText("sFormda.txt", WithoutNominal());
        for (const std::string& answer : answers) {
            CAPTURE(answer);
            std::filesystem::remove("dFormda.txt");
            int code = outOfMemory, nFailures = -1;
            for (long k = 1; code != 0; k++) {
                CHECK_FALSE(std::filesystem::exists("dFormda.txt"));
                FailAllocation(k);
                code = Derived::Derive(answer);
                FailAllocation(0);
                REQUIRE((code == outOfMemory || code == 0));
                FreeGlobals2();
                nFailures++;
            }
            CHECK(nFailures > 60);
        }
    }
    SUBCASE("the file cannot be written")
    {
        std::filesystem::create_directory("dFormda.txt");
        CHECK(Derived::Derive("1\n1\n1\n1\nn\n") == cannotOpen);
        CHECK(test.complaints.Text() == "\ncan't open dFormda.txt \n");
    }
}
