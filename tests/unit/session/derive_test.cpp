// SPDX-License-Identifier: GPL-3.0-or-later
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
const std::string similarities = "3\n0 .1 .2 .3\n.1 0 .4 .5\n.2 .4 0 .6\n.3 .5 .6 0\n";
/// The same without the nominal variable.
std::string WithoutNominal() { return Replaced(source, "5\n3 2 1", "5\n3 3 1"); }

/// The session "a" is derived from "s".
struct Derived : SessionTest {
    Derived()
    {
        WriteText("sFormda.txt", source);
        WriteText("sTrk.txt", "sFormda.txt\n07Jul17\n");
        session.emptyReleves = 5; // of another data set
    }
};

void Derive()
{
    std::strcpy(session.tempSession, "s");
    std::strcpy(session.whichFormda, "sFormda.txt");
    PickSomeFormda();
    CHECK(std::string(session.whichFormda) == "aFormda.txt");
    CHECK(std::string(session.whichTrack) == "aTrk.txt");
}

/// The source with five communities.
std::string Odd()
{
    Derived test;
    CHECK(CodeWith("1 1 2 5 k a1 a2 b1 b2 c1 y 1 n", Derive) == 0);
    return TextOfFile("aFormda.txt");
}

/// E as it is stored.
std::string Stored(const std::string& types, const std::string& cells)
{
    return "97Sep08 \n5 \n" + types + "\t\npH\tsoil\tmown\t\nE.txt \n" + cells;
}

} // namespace

// Groups by label, second halves behind first ones and a window of 4 are in whole sessions.
TEST_CASE("what is stored of a derived session")
{
    const std::string same = "1\t2\t3\t4\t5\t6\t\n0\t0\t0\t8\t0\t1\t\n0\t0\t0\t0\t0\t0\t\n2\t4\t8\t16\t32\t64\t\n\n";
    const std::string binary = "\nWarning! Binary environmental variables will be averaged, and "
                               "therefore will become quantitative.";
    const std::string change = "Type option no.: \nWarning! Change in environmental variables that "
                               "are qualitative\nwill result in a binary variable: 1 if there is "
                               "change, 0 if there is not.\n";
    const std::string odd = "\nThis option is not possible, for the number of communities must be even.";
    const auto window = [](const std::string& count, const std::string& half) {
        return "\nA formda file for this session, with " + count + " communities, has been created."
               "\n\nThe first new community is the average of the first " + half +
               " communities in the series,\n the second new one is an average of the " + half +
               " communities starting at the second\n community in the series, and so on.\n\n"
               "Releve labels correspond to the labels of the first\n " + count +
               " previous communities in the series.\n";
    };
    // By hand.
    // clang-format off
    const Played cases[] = {
        {"all kinds are chosen, in any order; the description names the source; no count is made", {},
         "2 2 k mass height y 2 3 k 4 2 1 y 2 3 k c2 b2 a1 y 2 2 k mown pH y n",
         {"sFormda.txt \n2 \nmass\theight\t\n 3\t 3\t\n0\t0\t\n 4\t 4\t\n3 \nc2\tb2\ta1\t\n3 \n",
          "-999\t4\t\n6\t2\t\n5\t1\t\n\n64\t16\t2\t\n1\t8\t0\t\n6\t4\t1\t\n\n2 \n97Sep08 \n5 \n1\t3\t\nmown\tpH\t\n"
          "E.txt \n     0\t     1\t     0\t\n    32\t     8\t     1\t\n3 \nnames.txt \nAbies alba\n"
          "Betula pendula\nCedrus\n111\n110\n101\n001\n010\n100\nSMW 1\n1\n3\n0\t0.5\t0.3\t\n"
          "0.5\t0\t0.1\t\n0.3\t0.1\t0\t\n1\n2\t1\t\n"}, {"!empty communities"}},
        {"a trait named twice stands twice; phylogeny variables follow their OTUs",
         {{"sFormda.txt", Replaced(source, similarities, "2\n2\n3 1\n1 10\n2 20\n3 30\n4 40\n")}},
         "2 3 k mass mass colour y 2 2 k 4 2 y 1 1 n",
         {"\nmass\tmass\tcolour\t\n", "\n-999\t-999\t2\t\n6\t6\t2\t\n\n", "\n1\n2\n2\n3\t1\t\n4\t40\t\n2\t20\t\n"}},
        {"groups of known size", {{"sFormda.txt", WithoutNominal()}}, "1 1 3 2 1 y 2 4 1 n",
         {"\n2 \n1\t2\t\n4 \n", "\n1.5\t4.5\t\n0\t2.25\t\n0\t0\t\n3\t30\t\n\n", "\n11\n01\n11\n100\n",
          Stored("3\t3\t3", "   1.5\t    15\t\n   1.5\t     2\t\n   0.5\t   0.5\t\n")},
         {"Type option no.: " + binary + "\n\nSET GROUP PARTITION"}},
        // A long word splits into the next label. Nominal soil: 1 where it has changed.
        {"pairs that follow one another: even ones stay zero", {}, "1 1 4 2 x y z n woodland mead y 2 1 n",
         {"\n3 \nwood\tland\tmead\t\n4 \n", "\n1\t0\t1\t\n0\t0\t8\t\n0\t0\t0\t\n2\t0\t8\t\n\n", "\n101\n001\n100\n100\n",
          Stored("3\t1\t1", "     1\t     0\t     4\t\n     1\t     0\t     0\t\n     1\t     0\t     0\t\n")},
         {change + "\nTo compute change"}},
        {"an odd number of communities leaves the last one out", {{"sFormda.txt", Odd()}}, "1 1 4 1 1 1 n",
         {"\n2 \n1\t2\t\n4 \n", "\n2\t2\t\n0\t8\t\n0\t0\t\n6\t12\t\n\n"}, {change + odd + "\nTo compute change"}},
        {"a window of the whole series", {}, "1 1 5 6 1 n",
         {"\n4 \na1\ta2\tb1\tb2\t\n4 \n", "\n2\t3\t4\t5\t\n0\t2.66667\t2.66667\t3\t\n0\t0\t0\t0\t\n4.66667\t9.33333\t18.6667\t37.3333\t\n\n",
          "\n1111\n0111\n1111\n100\n", "SMW 3\n", Stored("3\t2\t1", "2.33333\t4.66667\t9.33333\t18.6667\t\n"
          "1.66667\t     2\t2.33333\t     2\t\n0.666667\t     1\t0.666667\t0.333333\t\n")}, {window("4", "3")}},
        {"pooling is refused with a nominal variable, and only that", {}, "1 1 3 1 1 n", {"\n" + same},
         {binary + "\nThis option not allowed with this data: pooling environmental variables that are "
          "qualitative is not possible.\n" + lineL + "\nCommunities:\n"}},
        // Recounted; a hole is no state. F and species follow.
        {"absent OTUs are trimmed before pooling", {{"sFormda.txt", WithoutNominal()}}, "1 1 3 1 1 y 6 1 y",
         {"\n 3\t 2\t 2\t\n", "\n3.5\t\n1.5\t\n21\t\n\n", "\n1\n1\n1\n100\n010\n001\nSMW",
          "\n1\n3\n0\t0.1\t0.3\t\n0.1\t0\t0.5\t\n0.3\t0.5\t0\t\n1\n"}},
        {"no OTU is left: the file is written all the same", {}, "1 2 1 k 3 y 1 1 y",
         {"\n0 \n0\t0\t0\t0\t0\t0\t\n"}, {"\nWarning!! There are 6 empty communities!!\nInspect file aFormda.txt\n"}},
        {"OTUs that are left out empty communities", {}, "1 2 1 k 2 y 1 1 y", {}, {"There are 4 empty communities!!"}},
        {"it points at other data: those that were taken are named",
         {{"sTrk.txt", "otherFormda.txt\n07Jul17\n"}}, "1 1 1 1 n", {"sFormda.txt \n"}},
        {"it is cut short", {{"sTrk.txt", "sFormda.txt\n07Jul17\nNULL\n"}}, "", {}, {}, "\nfile sTrk.txt ", endOfFile},
    };
    // clang-format on
    for (const Played& c : cases) Play<Derived>(c, Derive);
}

TEST_CASE("what kind of E is left")
{
    struct Case {
        const char* kinds; // option and types
        const char* variables;
        char option;
    };
    const Case cases[] = {
        {"5\n3 2 1", "1 k soil y", '3'}, {"5\n3 2 1", "1 k mown y", '4'},
        {"5\n3 2 1", "1 k pH y", '1'}, // a single quantitative variable has one unit
        // Ordinal ones do not count beside others, and stay what they were alone.
        {"5\n3 4 1", "2 k pH soil y", '2'}, {"5\n3 4 1", "2 k mown soil y", '4'},
        {"5\n3 4 1", "1 k soil y", '5'},    {"2\n3 3 3", "2 k pH soil y", '2'},
        {"2\n3 3 3", "1 k pH y", '1'},      {"3\n2 2 2", "1 k pH y", '3'},
    };
    for (const Case& c : cases)
        Play<Derived>({std::string(c.kinds) + c.variables,
                       {{"sFormda.txt", Replaced(source, "5\n3 2 1", c.kinds)}},
                       std::string("1 1 1 2 ") + c.variables + " n",
                       {std::string("97Sep08 \n") + c.option + " \n"}}, Derive);
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
        {"group", "1\n1\n3\n1 1 n", "k 1 1 1 1 1 2 y", "k 1 1 1 1 1 1 y\n1\nn",
         "\nEnter group membership (label) for communities:\ncommunities:\t"
         "a1\ta2\tb1\tb2\tc1\tc2\t\n", "\nError!! Enter again. \n"},
        {"sizes of groups", "1\n1\n3\n2 1 y", "2 5", "2 4\n1\nn",
         "\nGroups:            1   2   \nNumber of communities: ", "\nError!! Reenter!!\n"},
        {"window", "1\n1\n5", "3", "4\n1\nn",
         "\nEnter the size of the split moving-window (must be even): ",
         "\nEnter again. Must be even."},
    };
    // clang-format on
    const int nWrong = 10; // a pause that doubled each time would take a second by then
    for (const Case& c : cases) {
        CAPTURE(c.fact);
        Derived test;
        WriteText("sFormda.txt", WithoutNominal());
        std::string answers = c.before;
        for (int i = 0; i < nWrong; i++) answers += '\n' + c.wrong;
        const auto start = std::chrono::steady_clock::now();
        CHECK(CodeWith(answers + '\n' + c.right + '\n', Derive) == 0);
        CHECK(std::chrono::steady_clock::now() - start < std::chrono::milliseconds(700));
        const std::string screen = test.screen.Text(), complaints = test.complaints.Text();
        CHECK(TimesIn(screen, c.heading) == nWrong + 1);
        CHECK(TimesIn(screen + complaints, c.complaint) == nWrong);
        CHECK(TimesIn(screen, "\a") == 0);
    }
}

TEST_CASE("the record of a cluster analysis gives the partition at hand")
{
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
    CHECK(CodeWith("1 1 3 2 1 2 1 n", Derive) == 0);
    CHECK(TimesIn(TextOfFile("aFormda.txt"), "\n2\t4.25\t\n0\t2.25\t\n0\t0\t\n5\t29\t\n") == 1); // by hand
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
    Derived test;
    std::filesystem::remove("sTrk.txt"); // complained of, and the dialogue goes on
    WriteText("sFormda.txt", WithoutNominal());
    for (const char* answers : {"2 2 k mass height y 2 3 k 4 2 1 y 2 3 k c2 b2 a1 y 2 2 k mown pH y y",
                                "1 1 3 2 1 n k 1 2 1 2 2 2 y 1 y", "1 1 4 1 1 1 y", "1 1 5 4 1 y"})
        FailEachAllocation("aFormda.txt", [answers] { return CodeWith(answers, Derive); });
    std::filesystem::remove("aFormda.txt");
    std::filesystem::create_directory("aFormda.txt");
    CHECK(CodeWith("1 1 1 1 n", Derive) == cannotOpen);
    const std::string complaints = test.complaints.Text();
    CHECK(TimesIn(complaints, "\ncan't open aFormda.txt \n") == 1);
    CHECK(TimesIn(complaints, "\ncan't open sTrk.txt \n") > 1);
}
