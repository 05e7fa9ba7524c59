// SPDX-License-Identifier: GPL-3.0-or-later
#include "session/track.hpp"

#include "unit/session/session_fixture.hpp"

namespace {

const std::string head = "otherFormda.txt\n07Jul17\n";
const std::string settings =
    "NULL\nNULL\nNULL\naHie.txt\nNULL\nNULL\nNULL\nNULL\nNULL\nNULL\nNULL\nNULL\nNULL\nNULL\nNULL\n"
    "NULL\nNULL\n"
    "0\n1\n0\n0\n0\n1\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n0\n21\n6\n1\n23\n"
    "2 1 \n3 2 \n3 0 \n3\n1.25\n31\n32\n33\n34\n35\n36\n37\n38\n39\n";
const std::string partitions =
    "2\n1\nsoil site \n2 3 \nwet dry \na b c \n1 2 2 \n3 1 2 \n41 42 \n"
    "2\n1\n0\ntypes \n3 \nx  yy z  \n1 \n1 3 2 \n";
const std::string selections = "1 0 1 \n51\n52\n53\n54\n55\n2\n";
const std::string whole = head + settings + partitions + selections;

int Load(const std::string& track)
{
    WriteText("Trk.txt", track);
    std::strcpy(session.whichTrack, "Trk.txt");
    REQUIRE(LoadData(HeadOf(2, 3, 4) + std::string("1 2 3 4 5 6 7 8 9 0 1 2 3 4 5 6 7 8 9 0 0 0 SMW 1 0 0")) == 0);
    return CodeOf([] { ReadTrack(); });
}

} // namespace

TEST_CASE("a full track file loads item by item, and is written as it was")
{
    SessionTest test;
    REQUIRE(Load(whole) == 0);
    const Session& s = session;
    CHECK(std::string(s.whichHier) == "aHie.txt");
    CHECK(Ints{s.traitBasedOpt, s.hasHier, s.optEnvStruct, s.rese_opt, s.reseCstOpt, s.part,
               s.fuzzy, s.reseTypeOrd, s.keepRichness} == Ints{1, 1, 21, 6, 1, 23, 3, 31, 39});
    CHECK(IntsOf(s.nchor, 2) == Ints{2, 1});
    CHECK(IntsOf(s.rcst, 2) == Ints{3, 2});
    CHECK((s.nGrPoly[0] == 3 && s.fuzziness == 1.25));
    CHECK(std::string(s.partLabel[1]) == "site");
    CHECK(s.nGroups == 3); // the second partition is the current one
    CHECK(WordsOf(s.grLabel, 3) == Words{"a", "b", "c"});
    CHECK(IntsOf(s.groupRel, 3) == Ints{3, 1, 2});
    CHECK(Ints{s.whichPartCstAOC, s.whichLevelGrCST, s.nCstGroups} == Ints{42, 2, 3});
    CHECK(WordsOf(s.grCstLabel, 3) == Words{"x", "yy", "z"});
    CHECK(IntsOf(s.groupCst, 4) == Ints{1, 3, 2, 0});
    CHECK(Ints{s.relSelect[2], s.doDistrib, s.adjacentRelOpt, s.clusMethPoolCSTs, s.SMWSize} ==
          Ints{1, 51, 52, 55, 2});

    WriteTrack(1);
    CHECK(TextOfFile("Trk.txt") == whole);
    WriteTrack(0);
    CHECK(TextOfFile("Trk.txt") == head);
    std::strcpy(session.grCstLabel[0], "abc"); // of three characters: no blank behind it
    WriteTrack(1);
    CHECK(TimesIn(TextOfFile("Trk.txt"), "\nabcyy z  \n") == 1);
    std::strcpy(session.whichTrack, "nowhere/Trk.txt");
    CHECK(CodeOf([] { ReadTrack(); }) == cannotOpen);
    CHECK(CodeOf([] { WriteTrack(0); }) == cannotOpen);
}

TEST_CASE("track files that load without their settings")
{
    // The second is of another version with an integer that older programs wrote.
    for (const std::string& track : {head, std::string("otherFormda.txt\n07Jul1\n12\n"),
                                     Replaced(whole, "07Jul17", "07Jul18")}) {
        CAPTURE(track);
        SessionTest test;
        CHECK(Load(track) == 0);
        CHECK(std::string(session.whichFormda) == "otherFormda.txt");
        CHECK(session.fuzzy == 0);
        CHECK(std::string(session.whichHier) == "NULL");
        CHECK(session.groupRel == session.groupRelP[0]);
        CHECK(TimesIn(test.screen.Text(),
                      "\n\aFormda file is compatible, but other files of the session are "
                      "not compatible with this program version.") == (track == head ? 0 : 1));
    }
}

TEST_CASE("what cannot be a track file ends in code 2")
{
    SessionTest test;
    const std::size_t end = whole.size() - 1;
    for (std::size_t length = 0; length <= whole.size(); length++) {
        CAPTURE(length);
        // Two words alone, the second complete or of another version, make a short file.
        const bool isShort = length > head.find('\n') + 1 && length <= head.size();
        CHECK(Load(whole.substr(0, length)) == (isShort || length >= end ? 0 : endOfFile));
    }
    // clang-format off
    const char* const cases[][3] = {
        {"negative number of partitions", "39\n2\n1\n", "39\n-2\n1\n"},
        {"more partitions than characters", "39\n2\n1\n", "39\n2000000000\n1\n"},
        {"current partition above 9", "39\n2\n1\n", "39\n2\n10\n"},
        {"more groups than characters", "site \n2 3", "site \n2 2000000000"},
        {"current level above the traits", "41 42 \n2\n", "41 42 \n3\n"},
        {"current partition of OTUs above 9", "42 \n2\n1\n0\n", "42 \n2\n1\n10\n"},
        {"level of a partition above the traits", "z  \n1 \n", "z  \n3 \n"},
        {"negative length of a row of groups", "2 1 \n3 2 \n", "2 1 \n-3 2 \n"},
        {"endless row of groups", "2 1 \n3 2 \n", "2 1 \n2147483647 2 \n"},
        {"labels of groups that run together", "x  yy z  ", "xxxyy z  "},
    };
    // clang-format on
    for (const auto& c : cases) {
        CAPTURE(std::string(c[0]));
        SessionTest one;
        CHECK(Load(Replaced(whole, c[1], c[2])) == endOfFile);
        CHECK(one.complaints.Text() == "\nfile Trk.txt ");
    }
}

TEST_CASE("what there is no room for is read and dropped")
{
    SessionTest test;
    std::string text = head + Replaced(settings, "\n3 2 \n", "\n600 2 \n") + "12\n9\n", row;
    for (int i = 0; i < 12; i++) text += "p" + std::to_string(i) + " ";
    for (int i = 0; i < 12; i++) text += " 5"; // groups, of 3 communities
    for (int i = 0; i < 12; i++) text += " a b c d e" + std::to_string(i);
    for (int i = 0; i < 12; i++) text += " 1 2 " + std::to_string(i);
    for (int i = 0; i < 600; i++) row += "77 "; // groups at level 1, of 4 OTUs
    REQUIRE(Load(text + " 41 42 \n2\n1\n0\ntypes \n6 \nx  y  z  u  v  w  \n1 \n" + row + '\n' +
                 selections) == 0);
    const Session& s = session;
    CHECK(Ints{s.nPart, s.nGroups, s.groupRel[2], s.whichPartAOC, s.nCstGroups, s.SMWSize} ==
          Ints{10, 3, 9, 41, 4, 2});
    CHECK(std::string(s.partLabel[9]) == "p9");
    CHECK(WordsOf(s.grLabel, 3) == Words{"a", "b", "c"});
    CHECK(std::string(s.grCstLabel[3]) == "u");
    CHECK(IntsOf(s.groupCst, 4) == Ints{77, 77, 77, 77});
    CHECK(s.groupCstP[1][0] == 0);
    WriteTrack(1);
    CHECK(TimesIn(TextOfFile("Trk.txt"), "\n77 77 77 77 \n") == 1);
}

TEST_CASE("no partitions: the first entries of the tables are the current ones")
{
    SessionTest test;
    const std::string none = head + settings + "0\n0\n\n\n0 0 \n1\n0\n0\n\n\n\n" + selections;
    REQUIRE(Load(none) == 0);
    CHECK(session.nGroups == 0);
    CHECK(session.groupRel == session.groupRelP[0]);
    WriteTrack(1);
    CHECK(TextOfFile("Trk.txt") == none);
}
