#include "session/formda.hpp"

#include "session/datafile.hpp"
#include "unit/session/session_fixture.hpp"

namespace {

// Written by hand, item by item.
const std::string whole =
    "meadow \n2 \nHeight\tColour\t\n 3\t 2\t\n0\t0\t\n 3\t 2\t\n2 \nSite1\tSite2\t\n3 \n0\t0\t\n"
    "0\t0\t0\t0\t0\t0\t0\t\n\n25Jun2016 \n"
    "1.5\t1\t\n-999\t2\t\n3.25\t1\t\n\n0.25\t0\t\n0\t1\t\n0.75\t2e+06\t\n\n"
    "2 \n97Sep08 \n5 \n4\t1\t\npH\tmown\t\nE.txt \n   5.5\t  -999\t\n     1\t     0\t\n"
    "2 \nnames.txt \nAbal Abies alba\nBepe Betula pendula\n10\n11\n10\n01\n01\n"
    "SMW 4\n1\n3\n0\t0.5\t1\t\n0.5\t0\t0.125\t\n1\t0.125\t0\t\n1\n7\t8\t\n";
const std::string stamp = "Sun Nov 22 10:11:12 2020\n";
const std::string similarities = "3\n0\t0.5\t1\t\n0.5\t0\t0.125\t\n1\t0.125\t0\t\n";

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
    REQUIRE(LoadData(whole + stamp) == 0);
    const Session& s = session;
    CHECK(std::string(s.dataName) == "meadow ");
    CHECK(WordsOf(s.chLabel, 2) == Words{"Height", "Colour"});
    CHECK(RowsOf(s.csm_Float, 3, 2) == Rows{{1.5, 1}, {-999, 2}, {3.25, 1}});
    CHECK(RowsOf(s.cadat, 3, 2) == Rows{{0.25, 0}, {0, 1}, {0.75, 2e6}});
    CHECK(RowsOf(s.env, 2, 2) == Rows{{5.5, 1}, {-999, 0}}); // stored with variables as rows
    // An ordinal variable sets no flag.
    CHECK(Ints{s.optEnvVarType, s.temEnvBin, s.temEnvQual, s.temEnvQuant} == Ints{5, 1, 0, 0});
    CHECK(Words{s.envName, s.whichSpp, s.spp[1]} ==
          Words{"E.txt", "names.txt ", "Bepe Betula pendula"});
    CHECK(MarksOf(s.sppRelMap, 2, 2) == Words{"10", "11"});
    CHECK(MarksOf(s.cstSppMap, 3, 2) == Words{"10", "01", "01"});
    CHECK(Ints{s.SMWSize, s.phylogenyMatrixType, s.dirtyOrig} == Ints{4, 3, 0});
    CHECK(RowsOf(s.phylogenyRese, 3, 3) == Rows{{0, .5, 1}, {.5, 0, .125}, {1, .125, 0}});
    CHECK((s.hasTraitGroups && s.traitGroups[1] == 8));
}

TEST_CASE("the writer gives back the bytes that were read")
{
    for (const std::string& phylogeny :
         {similarities, std::string("2\n2\n3\t2\t\n1.5\t1\t\n2.5\t1\t\n-999\t2\t\n"),
          std::string("0\n")}) {
        SessionTest test;
        const std::string text = Replaced(whole, similarities, phylogeny);
        REQUIRE(LoadData(text) == 0); // no time stamp is needed
        session.chrange[0] = session.ncst[0] = 5; // not stored
        WriteLoaded("b.txt");
        const std::string written = TextOfFile("b.txt");
        // The name of the species file keeps the blank behind it at each reading.
        const std::string expected = Replaced(text, "names.txt ", "names.txt  ");
        CHECK(written.substr(0, expected.size()) == expected);
        CHECK(TimesIn(written.substr(expected.size()), ":") == 2); // the time of the stamp
    }
}

TEST_CASE("layouts of the formatted data file")
{
    struct Case {
        std::string fact;
        std::string text;
        Rows B;
        Ints sizes; // nenv, nSpp, SMWSize, hasPhylogeny, hasTraitGroups
    };
    const Rows B = {{1}, {2}};
    const std::string matrices = "1 2  3 4 5 6\n";
    // clang-format off
    const Case cases[] = {
        {"no variables, no species", "25Jun2016 " + matrices + "0 0 SMW 1 0 0", B, {0, 0, 1, 0, 0}},
        {"before trait groups: numbers behind are not read",
         "18Jan2008 " + matrices + "0 0 SMW 2 0 1 9", B, {0, 0, 2, 0, 0}},
        {"a time stamp where SMW stands now", "18Jan2008 " + matrices + "0 0 " + stamp, B,
         {0, 0, 1, 0, 0}},
        {"two characters a trait", "12 3 4\n.5 5 6\n0 0 SMW 1 0 1 9", {{12}, {.5}}, {0, 0, 1, 0, 0}},
        {"a short word leaves zeros, as single precision", "1 3 4\n.1 5 6\n0 0 SMW 1",
         {{1}, {static_cast<double>(.1F)}}, {0, 0, 1, 0, 0}},
        {"variables of old have no types", "25Jun2016 " + matrices + "1 Label E 7 8 0 SMW 1 0 0", B,
         {1, 0, 1, 0, 0}},
        {"a tab inside a species name",
         "25Jun2016 " + matrices + "0 1\nf\nLonga\tspecies\n11\n1\n1 SMW 1 0 0", B,
         {0, 1, 1, 0, 0}},
    };
    // clang-format on
    for (const Case& c : cases) {
        CAPTURE(c.fact);
        SessionTest test;
        REQUIRE(LoadData(Small(c.text)) == 0);
        const Session& s = session;
        CHECK(RowsOf(s.csm_Float, 2, 1) == c.B);
        CHECK(RowsOf(s.cadat, 2, 2) == Rows{{3, 4}, {5, 6}});
        CHECK(Ints{s.nenv, s.nSpp, s.SMWSize, s.hasPhylogeny, s.hasTraitGroups} == c.sizes);
        if (s.nSpp > 0) CHECK(std::string(s.spp[0]) == "Longa species");
        if (s.nenv == 0) continue;
        CHECK(std::string(s.envLabel[0]) == "Label");
        CHECK(Ints{s.optEnvVarType, s.envVarType[0]} == Ints{2, 3});
        CHECK(RowsOf(s.env, 2, 1) == Rows{{7}, {8}});
    }
}

TEST_CASE("a label or a name that is too long is cut")
{
    SessionTest test;
    REQUIRE(LoadData(Replaced(whole, "Height", "Heightened12")) == 0);
    CHECK(WordsOf(session.chLabel, 2) == Words{"Heightened", "Colour"});
    // 70 characters make a name; the rest of a longer line is taken for the next one, and the name
    // that follows stands among the marks, where no word belongs.
    const std::string start(70, 'x');
    REQUIRE(LoadData(Replaced(whole, "Bepe Betula pendula", start)) == 0);
    CHECK(WordsOf(session.spp, 2) == Words{"Abal Abies alba", start});
    CHECK(LoadData(Replaced(whole, "Abal Abies alba", start + "rest")) == endOfFile);
    CHECK(test.complaints.Text() == "\nfile sFormda.txt ");
}

TEST_CASE("what cannot be a data set ends in code 2")
{
    SessionTest test;
    const std::size_t end = whole.find_last_of('8') + 1; // the last item is the group of a trait
    for (std::size_t length = 0; length <= whole.size(); length++) {
        CAPTURE(length);
        CHECK(LoadData(whole.substr(0, length)) == (length < end ? endOfFile : 0));
    }
    // clang-format off
    const std::string texts[] = {
        "\xff\x01\x80 \n \xfe",
        whole.substr(0, whole.find("Height") + 2) + '\0' + whole.substr(whole.find("Height") + 3),
        Replaced(whole, "0.75", "tall"),
        Replaced(whole, "Site1", "Site 1"),
        Replaced(whole, "meadow \n2", "meadow \n-2"),
        Replaced(whole, "meadow \n2", "meadow \n2147483647"),
        Replaced(whole, "\n3 \n", "\n-3 \n"),
        Replaced(whole, "\n2 \n97Sep08", "\n-2 \n97Sep08"),
        Replaced(whole, "\n2 \nnames", "\n999999999 \nnames"),
        Replaced(whole, "SMW 4\n1\n3", "SMW 4\n1\n2\n-1"),
    };
    // clang-format on
    for (const std::string& text : texts) {
        SessionTest one;
        CHECK(LoadData(text) == endOfFile);
        CHECK(one.complaints.Text().find("\nfile sFormda.txt ") == 0);
    }
    // An F of more cells than the file has characters is refused before memory is asked for it.
    std::string large = "d\n1\nT\n3\n0\n2\n1\nA\n100000\n0\n0 0 0 0 0 0 0\n25Jun2016\n";
    for (int i = 0; i < 200000; i++) large += "1 ";
    CHECK(LoadData(large + "0 0 SMW 1 1 3 0 1") == endOfFile);
    DataFile file("text", FileOf("twelve chars"));
    file.CheckRoom(4, 3);
    CHECK(CodeOf([&] { file.CheckRoom(4, 4); }) == endOfFile);
}

TEST_CASE("data files that cannot be opened, written or held in memory")
{
    SessionTest test;
    std::filesystem::create_directory("folder");
    for (const char* name : {"nowhere", "folder"}) {
        std::strcpy(session.whichFormda, name);
        CHECK(CodeOf([] { OpenFormda(1); }) == cannotOpen);
    }
    REQUIRE(LoadData(whole) == 0);
    // A label without a character would be missing from the words of the file.
    session.reLabel[1][0] = session.envLabel[0][0] = '\0';
    WriteLoaded("b.txt");
    CHECK(TimesIn(TextOfFile("b.txt"), "\nSite1\t2\t\n") + TimesIn(TextOfFile("b.txt"), "\n1\tmown\t\n") == 2);
    CHECK(CodeOf([] { WriteLoaded("nowhere/b.txt"); }) == cannotOpen);
    CHECK(CodeOf([] { WriteLoaded("folder"); }) == cannotOpen);
    CHECK(CodeOf([] { WriteLoaded("/dev/full"); }) == failedPrint);
    FailEachAllocation("none", [] { return LoadData(whole); });
}
