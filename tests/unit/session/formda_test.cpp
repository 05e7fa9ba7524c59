// SPDX-License-Identifier: GPL-3.0-or-later
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
    WriteFormda(session.tcst, fileName, session.dataName, session.csm_Float, session.cadat);
}

void Copy()
{
    std::strcpy(session.whichFormda, "sFormda.txt");
    session.SMWSize = 9; // of another data set
    OpenFormda(1);
    session.chrange[0] = session.ncst[0] = 5; // not stored
    WriteLoaded("aFormda.txt");
}

/// A set of 1 trait, 2 communities and 2 OTUs, from B to the end.
std::string Small(const std::string& rest)
{
    return "d\n1\nT\n3\n0\n2\n2\nA B\n2\n0 0\n0 0 0 0 0 0 0\n" + rest;
}

/// Names that are read as lines keep the blank that is written behind them.
std::string Rewritten(const std::string& text)
{
    return Replaced(Replaced(text, "meadow ", "meadow  "), "names.txt ", "names.txt  ");
}

} // namespace

TEST_CASE("formatted data files of all layouts, loaded and written")
{
    const std::string variables = Replaced(whole, similarities, "2\n2\n3\t2\t\n1.5\t1\t\n2.5\t1\t\n-999\t2\t\n");
    const std::string none = Replaced(whole, similarities, "0\n"), start(70, 'x');
    const std::string matrices = "1 2  3 4 5 6\n", stored = "\n25Jun2016 \n1\t\n2\t\n\n3\t4\t\n5\t6\t\n\n";
    const auto file = [](const std::string& text) { return std::vector<Words>{{"sFormda.txt", text}}; };
    // clang-format off
    const Played cases[] = {
        {"whole", file(whole + stamp), "", {Rewritten(whole)}},
        {"phylogeny variables, no time stamp", file(variables), "", {Rewritten(variables)}},
        {"phylogeny of no type has no matrix", file(none), "", {Rewritten(none)}},
        {"no variables, no species", file(Small("25Jun2016 " + matrices + "0 0 SMW 1 0 0")), "",
         {"d \n1 \nT\t\n", stored + "0 \n0 \nSMW 1\n0\n0\n"}},
        {"before trait groups: numbers behind are not read",
         file(Small("18Jan2008 " + matrices + "0 0 SMW 2 0 1 9")), "", {stored + "0 \n0 \nSMW 2\n0\n0\n"}},
        {"a time stamp where SMW stands now", file(Small("18Jan2008 " + matrices + "0 0 " + stamp)), "",
         {stored + "0 \n0 \nSMW 1\n0\n0\n"}},
        {"two characters a trait", file(Small("12 3 4\n.5 5 6\n0 0 SMW 1 0 1 9")), "",
         {"\n12\t\n0.5\t\n\n3\t4\t\n5\t6\t\n\n"}},
        {"variables of old have no types", file(Small("25Jun2016 " + matrices + "1 Label E 7 8 0 SMW 1 0 0")), "",
         {stored + "1 \n97Sep08 \n2 \n3\t\nLabel\t\nE \n     7\t     8\t\n0 \n"}},
        {"a tab inside a species name",
         file(Small("25Jun2016 " + matrices + "0 1\nf\nLonga\tspecies\n11\n1\n1 SMW 1 0 0")), "",
         {"\n1 \nf \nLonga species\n11\n1\n1\nSMW"}},
        {"a long label is cut", file(Replaced(whole, "Height", "Heightened12")), "", {"\nHeightened\tColour\t\n"}},
        {"70 characters make a name", file(Replaced(whole, "Bepe Betula pendula", start)), "", {"\n" + start + "\n10\n"}},
        // The rest is taken for the next name, and that for marks.
        {"a longer one", file(Replaced(whole, "Abal Abies alba", start + "rest")), "", {}, {}, "\nfile sFormda.txt ", endOfFile},
        {"a NUL byte", file(Replaced(whole, "Height", std::string("Hei\0ght", 7))), "", {}, {},
         "\nfile sFormda.txt line 3: NUL byte; save it as plain text, not as UTF-16\n", endOfFile},
    };
    // clang-format on
    for (const Played& c : cases) Play<SessionTest>(c, Copy);
    SessionTest test;
    session.dirtyOrig = 1;
    REQUIRE(LoadData(whole) == 0);
    const Session& s = session;
    CHECK(RowsOf(s.env, 2, 2) == Rows{{5.5, 1}, {-999, 0}}); // stored with variables as rows
    // An ordinal variable sets no flag.
    CHECK(Ints{s.dirtyOrig, s.temEnvBin, s.temEnvQual, s.temEnvQuant} == Ints{0, 1, 0, 0});
    REQUIRE(LoadData(Small("1 3 4\n.1 5 6\n0 0 SMW 1")) == 0);
    CHECK(s.csm_Float[1][0] == static_cast<double>(.1F)); // that layout's precision
    // Its word has two characters for each of however many traits.
    REQUIRE(LoadData(Replaced(HeadOf(99, 1, 1), "25Jun2016", std::string(197, '1') + "7 5 0 0 SMW 1")) == 0);
    CHECK(s.csm_Float[0][98] == 17);
}

TEST_CASE("what cannot be a data set ends in code 2")
{
    SessionTest test;
    const std::size_t end = whole.find_last_of('8') + 1; // the last item is the group of a trait
    for (std::size_t length = 0; length <= whole.size(); length++) {
        CAPTURE(length);
        CHECK(LoadData(whole.substr(0, length)) == (length < end ? endOfFile : 0));
    }
    const char* const faults[][2] = {
        {"meadow \n2", "\xff\x01\x80 \n \xfe"},        {"0.75", "tall"},
        {"Site1", "Site 1"},                           {"meadow \n2", "meadow \n-2"},
        {"meadow \n2", "meadow \n2147483647"},         {"\n3 \n", "\n-3 \n"},
        {"\n2 \n97Sep08", "\n-2 \n97Sep08"},           {"\n2 \nnames", "\n999999999 \nnames"},
        {"SMW 4\n1\n3", "SMW 4\n1\n2\n-1"},            {"10\n11\n", "10\n1x\n"},
    };
    for (const auto& fault : faults) {
        CAPTURE(std::string(fault[1]));
        CHECK(LoadData(Replaced(whole, fault[0], fault[1])) == endOfFile);
    }
    CHECK(TimesIn(test.complaints.Text(), "\nfile sFormda.txt ") == static_cast<int>(end) + 10);
    // An F of more cells than the file has characters is refused before memory is asked for it.
    std::string large = "d\n1\nT\n3\n0\n2\n1\nA\n100000\n0\n0 0 0 0 0 0 0\n25Jun2016\n";
    for (int i = 0; i < 200000; i++) large += "1 ";
    CHECK(LoadData(large + "0 0 SMW 1 1 3 0 1") == endOfFile);
    DataFile file("text", FileOf("twelve chars"));
    file.CheckRoom(4, 3);
    CHECK(CodeOf([&] { file.CheckRoom(4, 4); }) == endOfFile);
    DataFile pipe("pipe", popen("echo 7", "r")); // of no size that could be known
    CHECK(pipe.ReadCount(9) == 7);
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
