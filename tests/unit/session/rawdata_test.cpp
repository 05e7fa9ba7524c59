// SPDX-License-Identifier: GPL-3.0-or-later
#include "session/rawdata.hpp"

#include "session/rawfile.hpp"
#include "session/setup.hpp"
#include "unit/session/session_fixture.hpp"

namespace {

struct RawTest : SessionTest {
    RawTest()
    {
        std::strcpy(session.whichFormda, "aFormda.txt");
        // Left from another data set.
        session.hasPhylogeny = true;
        session.phylogenyMatrixType = 1;
        session.SMWSize = 9;
        // 2 traits of 3 OTUs, 2 communities
        WriteText("B", "1 2 3\n4 5 6\nHeight Colour");
        WriteText("W", "1 0 2\n0 3 4\nmeadow wood");
        WriteText("names", "Abies alba\nBetula pendula\nAbies alba\n");
    }
};

const std::string noPhylogeny = "B 0 W ", withF = "B 1 F W 0 0 ", onlyBAndW = noPhylogeny + "0 0 ";
const std::string traits = "3 2 2 1 k 3 2 y 0 "; // labels in B, traits as rows
const std::string communities = "2 2 1 ";        // labels in W, communities as rows
const std::string withE = noPhylogeny + "0 1 E " + traits + communities;
const std::string someB = "1\t4\t\n2\t5\t\n3\t6\t\n\n", someW = "1\t0\t\n0\t3\t\n2\t4\t\n\n";

/// A matrix E as it is stored: types, labels, rows of variables.
std::string Stored(const std::string& types, const std::string& labels, const std::string& cells)
{
    return "97Sep08 \n" + types + "\t\n" + labels + "\t\nE \n" + cells;
}

} // namespace

TEST_CASE("raw data and what is stored of them")
{
    const std::string byDefault = "3 2 1 2 k 3 2 y 0 2 1 "; // OTUs as rows
    const std::string hole = "\nPlease check matrix E. Sampling unit wood has all values missing "
                             "(-999), which will generate unreliable results.";
    const std::string left = ": check the counts\n", over = "numbers left over in file ";
    const std::string normalized = "\nPhylogenetic distances were normalized to values in the range "
                                   "[0,1] by Dnorm = D/Dmax\n";
    const std::string cells = "     7\t  -999\t\n     8\t     9\t\n";
    // By hand.
    // clang-format off
    const Played cases[] = {
        {"traits as rows, communities as rows", {}, onlyBAndW + traits + communities,
         {"B \n2 \nHeight\tColour\t\n 3\t 2\t\n0\t0\t\n 3\t 3\t\n2 \nmeadow\twood\t\n3 \n",
          someB + someW + "0 \n0 \nSMW 1\n0\n0\n"}},
        {"OTUs as rows, communities as columns", {{"B", "1 4 2 5 3 6"}, {"W", "1 0 0 3 2 4"}},
         onlyBAndW + byDefault + "2 ", {"\n1\t2\t\n 3\t 2\t\n", someB + someW}},
        {"a vector longer than there are OTUs", {{"B", "1 4 2 5 3 6"}, {"W", "7 8 9 10 11"}},
         onlyBAndW + byDefault + "3 k 2 3 y ", {someB + "7\t0\t\n8\t0\t\n0\t9\t\n\n"},
         {"Communities:       \t1\t2\t\n"}},
        {"words between the numbers, digits in them count; six digits are stored; labels are cut",
         {{"B", "NA 1.23456789 2ergs 3 x4 5 6 elevencharac B"},
          {"W", "tall1e-7 0 2 0 3 1234567 m meadow-and-wood"}}, onlyBAndW + traits + communities,
         {"\nelevenchar\tB\t\n", "\nm\tmeadow-and\t\n",
          "1.23457\t4\t\n2\t5\t\n3\t6\t\n\n1e-07\t0\t\n0\t3\t\n2\t1.23457e+06\t\n\n"}},
        {"short files: zeros, and numbers for labels", {{"B", "1 2 3 4"}, {"W", "1 0 2 0 3 4 m"}},
         onlyBAndW + traits + communities,
         {"\n1\t2\t\n 3\t 2\t\n", "\nm\t2\t\n", "\n1\t4\t\n2\t0\t\n3\t0\t\n\n" + someW},
         {"Traits:     \t         1\t         2\t\n"}, "\nEnd of file B\n\nEnd of file W\n"},
        {"numbers left over", {{"B", "1 2 3 4 5 6 Height Colour x -7"}, {"W", "1 0 2 0 3 4 m w 5,5"},
          {"F", "1 0 0 0 1 0 0 0 1 .5"}, {"E", "1 2 pH 3"}},
         "B 1 F W 0 1 E " + traits + "2 " + communities + "1 2 1 ", {"\nHeight\tColour\t\n", "\npH\t\n"},
         {}, over + "B" + left + over + "F" + left + over + "W" + left + over + "E" + left},
        {"words left over are none, not even with digits",
         {{"B", "1 4 2 5 3 6 x1 sp-2 .a"}, {"W", "1 0 0 3 2 4 tall3 -"}}, onlyBAndW + byDefault + "2 ",
         {someB + someW}},
        {"trait groups, and species with labels", {},
         noPhylogeny + "1 names 0 3 2 2 1 k 1 4 y 1 k 12 11 y " + communities + "2 ",
         {"2 \nnames \nAbal Abies alba\nBepe Betula pendula\n11\n01\n10\n01\n10\nSMW",
          "\n0\n1\n12\t11\t\n"}, {"groups of traits? 0/1 Traits:     \t    Height\t    Colour\t\n"}},
        {"names that begin with their labels", {}, noPhylogeny + "1 names 0 " + traits + communities + "1 ",
         {"\nAbies alba\nBetula pendula\n11\n"}},
        {"distances above 1 are divided by the largest", {{"F", "0 1 4\n1 0 2\n4 2 0"}},
         withF + traits + "1 " + communities, {"\n1\n3\n0\t0.25\t1\t\n0.25\t0\t0.5\t\n1\t0.5\t0\t\n"},
         {normalized}},
        {"the upper triangle counts, and the diagonal", {{"F", "1 1 .5\n8 2 .2\n.4 .2 0"}},
         withF + traits + "1 " + communities, {"\n1\n3\n0.5\t0.5\t0.25\t\n4\t1\t0.1\t\n0.2\t0.1\t0\t\n"},
         {normalized}},
        {"the lower triangle does not", {{"F", "0 1 .5\n5 0 .2\n.4 9 0"}}, withF + traits + "1 " + communities,
         {"\n1\n3\n0\t1\t0.5\t\n5\t0\t0.2\t\n0.4\t9\t0\t\n"}, {"!normalized"}},
        {"similarities are not divided", {{"F", "1 .5 3\n.5 1 .25\n0 .25 1"}},
         withF + traits + "2 " + communities, {"\n1\n1\n1\t0.5\t3\t\n0.5\t1\t0.25\t\n0\t0.25\t1\t\n"}, {"!normalized"}},
        {"a half matrix is not stored", {{"F", "1\n.5 1\n0 .25 1"}}, withF + traits + "3 " + communities,
         {"SMW 1\n1\n0\n0\n"}},
        {"E by communities, labels in the file", {{"E", "7 8 -999 9 pH soil"}}, withE + "2 2 2 n ",
         {"97Sep08 \n2 \n3\t3\t\npH\tsoil\t\nE \n" + cells}, {hole}},
        {"E by variables, default labels", {{"E", "7 -999 8 9"}}, withE + "2 1 1 t ",
         {Stored("1 \n3\t3", "1\t2", cells)}, {hole}},
        {"one variable: its layout is not asked for", {{"E", "7 8 pH"}}, withE + "1 2 3 ",
         {Stored("3 \n2", "pH", "     7\t     8\t\n")}, {"!Please check"}},
        {"several types, ordinal ones being quantitative", {{"E", "7 8 -999 9"}}, withE + "2 1 5 k 4 2 y n ",
         {Stored("5 \n4\t2", "1\t2", cells)}, {"Variable:    \t" + std::string(22, ' ') + "Read"}},
        {"said to be several, all nominal", {{"E", "7 8 -999 9"}}, withE + "2 1 5 k 2 2 y n n ",
         {Stored("3 \n2\t2", "1\t2", cells)}, {"Data not mixed as indicated!!!\n"}},
        {"corrected: the first try leaves no trace", {{"E", "7 8 -999 9"}},
         withE + "2 1 5 k 1 1 y y k 3 3 y n n ", {Stored("2 \n3\t3", "1\t2", cells)}},
        {"all binary", {{"E", "7 8 -999 9"}}, withE + "2 1 5 k 1 1 y n n ",
         {Stored("4 \n1\t1", "1\t2", cells)}},
        {"a warning for each leading hole, and none for W",
         {{"E", "5 -999 1 -999 -999 2"}, {"W", "0 0 0 0 -999 -999 m wood"}}, withE + "3 1 1 n ", {},
         {hole + hole, "!unit m has", "!matrix W. Sampling"}},
    };
    // clang-format on
    for (const Played& c : cases) Play<RawTest>(c, IFFormat);
}

TEST_CASE("raw data that cannot be read end in code 2 and store nothing")
{
    const auto nulAt = [](const char* file, int line) {
        return std::string("\nfile ") + file + " line " + std::to_string(line) +
               ": NUL byte; save it as plain text, not as UTF-16\n";
    };
    const std::string nul(1, '\0');
    const std::string all = "B 1 F W 1 names 1 E " + traits + "2 " + communities + "1 2 2 2 n ";
    const Words cases[] = {
        // All of E but the last two have two labels behind the numbers: only these can be wrong.
        {"E", "7 8 -999 pH soil", "\nfile E "},
        {"E", "7 8 nan 9 pH soil", "\nfile E "},
        {"E", "+-8 8 9 1 pH soil", "\nfile E "},
        {"E", "", "\nfile E "},
        {"E", "7 8 9 10 label", "\nfile E "},
        {"E", "7 8\n9" + nul + "1 pH soil", nulAt("E", 2)},
        {"E", "7 8\n9 1\npH so" + nul, nulAt("E", 3)},
        {"B", "1" + nul + "\n" + nul + "2 3 4 5 6 a b", nulAt("B", 1)},
        {"B", "1 2 3 4 5 6\n" + nul + "a b", nulAt("B", 2)},
        {"W", "1 0 2 0 3 4 m w\n\n" + nul, nulAt("W", 3)},
        {"F", "1 1 1 1 1 1 1 1 1" + nul, nulAt("F", 1)},
        {"names", "Abies\nBet" + nul + "ula\nCedrus", nulAt("names", 2)},
    };
    for (const Words& c : cases)
        Play<RawTest>({c[1],
                       {{"F", "1 0 0 0 1 0 0 0 1"}, {"E", "7 8 9 1 pH soil"}, {c[0], c[1]}},
                       all, {}, {}, c[2], endOfFile}, IFFormat);
}

TEST_CASE("counts that no machine can hold, and memory that ends anywhere, are code 1")
{
    RawTest test;
    const std::string huge = "2147483647 ";
    for (const std::string& answers :
         {onlyBAndW + huge + "2 ", onlyBAndW + "3 " + huge, onlyBAndW + huge + huge,
          onlyBAndW + traits + huge, withE + huge}) {
        CAPTURE(answers);
        WriteText("E", "");
        CHECK(CodeWith(answers, IFFormat) == outOfMemory);
    }
    WriteText("F", "0 1 4 1 0 2 4 2 0");
    WriteText("E", "7 8 -999 9 pH soil");
    FailEachAllocation("aFormda.txt", [] {
        return CodeWith("B 1 F W 1 names 1 E " + traits + "1 " + communities + "2 2 2 2 n ", IFFormat);
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
    const std::string formatted = "1 " + onlyBAndW + traits + communities;
    struct Case {
        std::string fact;
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
        {"back after one was found", "2\nother\n3\n4\n", 1, "", 2},
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
        REQUIRE(CodeWith(onlyBAndW + traits + communities, IFFormat) == 0);
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
