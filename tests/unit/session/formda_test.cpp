#include "session/formda.hpp"

#include <doctest/doctest.h>

#include <cstring>

#include "unit/session/session_fixture.hpp"

namespace {

// Written by hand, item by item.
const std::string whole =
    "meadow \n2 \nHeight\tColour\t\n 3\t 2\t\n0\t0\t\n 3\t 2\t\n2 \nSite1\tSite2\t\n3 \n0\t0\t\n"
    "0\t0\t0\t0\t0\t0\t0\t\n\n25Jun2016 \n"
    "1.5\t1\t\n-999\t2\t\n3.25\t1\t\n\n0.25\t0\t\n0\t1\t\n0.75\t2e+06\t\n\n"
    "2 \n97Sep08 \n5 \n3\t1\t\npH\tmown\t\nE.txt \n   5.5\t  -999\t\n     1\t     0\t\n"
    "2 \nnames.txt \nAbal Abies alba\nBepe Betula pendula\n10\n11\n10\n01\n01\n"
    "SMW 4\n1\n3\n0\t0.5\t1\t\n0.5\t0\t0.125\t\n1\t0.125\t0\t\n1\n7\t8\t\n";
const std::string stamp = "Sun Nov 22 10:11:12 2020\n";

int Load(const std::string& text)
{
    WriteText("aFormda.txt", text);
    std::strcpy(session.whichFormda, "aFormda.txt");
    return CodeOf([] { OpenFormda(1); });
}

void WriteLoaded(const char* fileName)
{
    WriteFormda(session.tcst, fileName, "meadow", session.csm_Float, session.cadat);
}

/// A set of 1 trait, 2 communities and 2 OTUs, from B to the end.
std::string Small(const std::string& rest)
{
    return "d\n1\nT\n3\n0\n2\n2\nA B\n2\n0 0\n0 0 0 0 0 0 0\n" + rest;
}

} // namespace

TEST_CASE("a formatted data file loads item by item")
{
    SessionTest test;
    session.dirtyOrig = 1;
    REQUIRE(Load(whole + stamp) == 0);
    const Session& s = session;
    CHECK(std::string(s.dataName) == "meadow ");
    CHECK(WordsOf(s.chLabel, 2) == std::vector<std::string>{"Height", "Colour"});
    CHECK((s.chtype[1] == 2 && s.onsta[0] == 3));
    CHECK(RowsOf(s.csm_Float, 3, 2) == Rows{{1.5, 1}, {-999, 2}, {3.25, 1}});
    CHECK(RowsOf(s.cadat, 3, 2) == Rows{{0.25, 0}, {0, 1}, {0.75, 2e6}});
    CHECK(RowsOf(s.env, 2, 2) == Rows{{5.5, 1}, {-999, 0}}); // stored with variables as rows
    CHECK((s.optEnvVarType == 5 && s.temEnvBin == 1 && s.temEnvQual == 0 && s.temEnvQuant == 1));
    CHECK(std::string(s.envName) == "E.txt");
    CHECK(std::string(s.whichSpp) == "names.txt ");
    CHECK(std::string(s.spp[1]) == "Bepe Betula pendula");
    CHECK(std::string(s.sppRelMap[0], 2) + std::string(s.cstSppMap[2], 2) == "1001");
    CHECK((s.SMWSize == 4 && s.phylogenyMatrixType == 3));
    CHECK(RowsOf(s.phylogenyRese, 3, 3) == Rows{{0, 0.5, 1}, {0.5, 0, 0.125}, {1, 0.125, 0}});
    CHECK((s.hasTraitGroups && s.traitGroups[1] == 8 && s.dirtyOrig == 0));
    CHECK(Load(whole) == 0); // over a loaded session, and without a time stamp
}

TEST_CASE("the writer gives back the bytes that were read")
{
    SessionTest test;
    REQUIRE(Load(whole + stamp) == 0);
    session.chrange[0] = session.ncst[0] = 5; // not stored
    WriteLoaded("b.txt");
    const std::string written = TextOfFile("b.txt");
    // The name of the species file keeps the blank behind it at each reading.
    const std::string expected = Replaced(whole, "names.txt ", "names.txt  ");
    CHECK(written.substr(0, expected.size()) == expected);
    CHECK(TimesIn(written.substr(expected.size()), ":") == 2); // the time of the stamp
}

TEST_CASE("layouts of the formatted data file")
{
    struct Case {
        const char* fact;
        std::string text;
        Rows B, W;
        int nenv, nSpp, SMWSize;
        bool hasPhylogeny, hasTraitGroups;
    };
    const Rows B = {{1}, {2}}, W = {{3, 4}, {5, 6}};
    const std::string matrices = "1 2  3 4 5 6\n";
    // clang-format off
    const Case cases[] = {
        {"no variables, no species",
         Small("25Jun2016 " + matrices + "0 0 SMW 1 0 0"), B, W, 0, 0, 1,
         false, false},
        {"before trait groups: numbers behind are not read",
         Small("18Jan2008 " + matrices + "0 0 SMW 2 0 1 9"), B, W, 0, 0, 2, false, false},
        {"a time stamp where SMW stands now", Small("18Jan2008 " + matrices + "0 0 " + stamp), B, W,
         0, 0, 1, false, false},
        {"two characters a trait", Small("12 3 4\n.5 5 6\n0 0 SMW 1 0 1 9"), {{12}, {.5}}, W, 0, 0,
         1, false, false},
        {"variables of old have no types",
         Small("25Jun2016 " + matrices + "1 Label E 7 8 0 SMW 1 0 0"), B, W, 1, 0, 1, false, false},
        {"phylogeny of no type has no matrix", Small("25Jun2016 " + matrices + "0 0 SMW 1 1 0 1 4"),
         B, W, 0, 0, 1, true, true},
        {"a tab inside a species name", Small("25Jun2016 " + matrices +
         "0 1\nf\nLonga\tspecies\n11\n1\n1 SMW 1 0 0"), B, W, 0, 1, 1, false, false},
    };
    // clang-format on
    for (const Case& c : cases) {
        CAPTURE(c.fact);
        SessionTest test;
        REQUIRE(Load(c.text) == 0);
        CHECK(RowsOf(session.csm_Float, 2, 1) == c.B);
        CHECK(RowsOf(session.cadat, 2, 2) == c.W);
        CHECK(std::vector<int>{session.nenv, session.nSpp, session.SMWSize} ==
              std::vector<int>{c.nenv, c.nSpp, c.SMWSize});
        CHECK(session.hasPhylogeny == c.hasPhylogeny);
        CHECK(session.hasTraitGroups == c.hasTraitGroups);
        if (c.nSpp > 0) CHECK(std::string(session.spp[0]) == "Longa species");
        if (c.hasPhylogeny) CHECK(RowsOf(session.phylogenyRese, 2, 2) == Rows{{0, 0}, {0, 0}});
        if (c.nenv > 0) {
            CHECK(std::string(session.envLabel[0]) == "Label");
            CHECK((session.optEnvVarType == 2 && session.envVarType[0] == 3));
            CHECK(RowsOf(session.env, 2, 1) == Rows{{7}, {8}});
        }
    }
}

TEST_CASE("phylogeny variables are stored and come back")
{
    SessionTest test;
    const std::string text = Replaced(whole, "3\n0\t0.5\t1\t\n0.5\t0\t0.125\t\n1\t0.125\t0\t\n",
                                      "2\n2\n3\t2\t\n1.5\t1\t\n2.5\t1\t\n-999\t2\t\n");
    REQUIRE(Load(text) == 0);
    CHECK(RowsOf(session.phylogenyData, 3, 2) == Rows{{1.5, 1}, {2.5, 1}, {-999, 2}});
    CHECK(session.phylogenyVarType[1] == 2);
    CHECK(RowsOf(session.phylogenyRese, 1, 3) == Rows{{0, 0, 0}});
    WriteLoaded("b.txt");
    const std::string expected = Replaced(text, "names.txt ", "names.txt  ");
    CHECK(TextOfFile("b.txt").substr(0, expected.size()) == expected);
}

TEST_CASE("a label or a name that is too long is cut")
{
    SessionTest test;
    REQUIRE(Load(Replaced(whole, "Height", "Heightened12")) == 0);
    CHECK(std::string(session.chLabel[0]) == "Heightened");
    CHECK(std::string(session.chLabel[1]) == "Colour");
    // 70 characters make a name; the rest of the line is taken for the next one, and the name that
    // follows stands among the marks, where its characters are stepped over.
    const std::string start(70, 'x');
    REQUIRE(Load(Replaced(whole, "Abal Abies alba", start + "rest")) == 0);
    CHECK(std::string(session.spp[0]) == start);
    CHECK(std::string(session.spp[1]) == "rest");
    CHECK(std::string(session.sppRelMap[0], 2) == "10");
}

TEST_CASE("a file cut short anywhere ends in code 2")
{
    SessionTest test;
    const std::size_t end = whole.find_last_of('8') + 1; // the last item is the group of a trait
    for (std::size_t length = 0; length <= whole.size(); length++) {
        CAPTURE(length);
        CHECK(Load(whole.substr(0, length)) == (length < end ? endOfFile : 0));
    }
}

TEST_CASE("what cannot be a data set")
{
    struct Case {
        const char* fact;
        std::string text;
    };
    // clang-format off
    const Case cases[] = {
        {"empty", ""},
        {"junk", std::string("\x00\xff\x01\x80 \n \xfe", 8)},
        {"a word for a number", Replaced(whole, "0.75", "tall")},
        {"a blank in a label", Replaced(whole, "Site1", "Site 1")},
        {"negative traits", Replaced(whole, "meadow \n2", "meadow \n-2")},
        {"more traits than characters", Replaced(whole, "meadow \n2", "meadow \n2147483647")},
        {"negative OTUs", Replaced(whole, "\n3 \n", "\n-3 \n")},
        {"more cells than characters", Replaced(whole, "\n3 \n", "\n300 \n")},
        {"negative variables", Replaced(whole, "\n2 \n97Sep08", "\n-2 \n97Sep08")},
        {"more species than characters", Replaced(whole, "\n2 \nnames", "\n999999999 \nnames")},
        {"negative phylogeny variables", Replaced(whole, "SMW 4\n1\n3", "SMW 4\n1\n2\n-1")},
    };
    // clang-format on
    for (const Case& c : cases) {
        CAPTURE(c.fact);
        SessionTest test;
        CHECK(Load(c.text) == endOfFile);
        CHECK(test.complaints.Text().find("\nfile aFormda.txt ") == 0);
    }
}

TEST_CASE("running out of memory at any allocation of a load")
{
    SessionTest test;
    int code = outOfMemory;
    int nFailures = 0;
    for (long k = 1; code != 0; k++) {
        FailAllocation(k);
        code = Load(whole);
        FailAllocation(0);
        REQUIRE((code == outOfMemory || code == 0));
        nFailures++;
    }
    CHECK(nFailures > 50);
    CHECK(session.csm_Float[2][0] == 3.25);
}

TEST_CASE("files that cannot be opened or written")
{
    SessionTest test;
    std::filesystem::create_directory("folder");
    for (const char* name : {"nowhere", "folder"}) {
        std::strcpy(session.whichFormda, name);
        CHECK(CodeOf([] { OpenFormda(1); }) == cannotOpen);
    }
    REQUIRE(Load(whole) == 0);
    CHECK(CodeOf([] { WriteLoaded("nowhere/b.txt"); }) == cannotOpen);
    CHECK(CodeOf([] { WriteLoaded("folder"); }) == cannotOpen);
    CHECK(CodeOf([] { WriteLoaded("/dev/full"); }) == failedPrint);
}
