// SPDX-License-Identifier: GPL-3.0-or-later
#include "session/checks.hpp"

#include <cmath>

#include "unit/session/session_fixture.hpp"

namespace {

/// Species with their marks: species by communities, OTUs by species.
struct Species {
    Words names, inCommunities, ofOTUs;
};

/// Loads a session with traits T1, ... of type 3.
void Load(const Rows& B, const Rows& W, const Species& species)
{
    std::ostringstream text;
    text << HeadOf(B[0].size(), W[0].size(), W.size());
    for (const Rows& matrix : {B, W})
        for (const auto& row : matrix)
            for (const double cell : row) text << cell << ' ';
    text << "0 " << species.names.size() << '\n';
    if (!species.names.empty()) text << "names\n";
    for (const Words& lines : {species.names, species.inCommunities, species.ofOTUs})
        for (const std::string& line : lines) text << line << '\n';
    text << "SMW 1 0 0";
    REQUIRE(LoadData(text.str()) == 0);
}

} // namespace

TEST_CASE("species and what belongs to them")
{
    const Rows one(9, {1});
    const auto n = [&one](std::size_t rows) { return Rows(one.begin(), one.begin() + static_cast<long>(rows)); };
    const auto unique = [] { CheckSpecies(1); };
    const auto label = [] { CheckSpecies(2); };
    const auto trim = [] {
        TrimSpecies(2);
        session.tcst = 2;
    };
    struct Case {
        std::string fact;
        Rows W;
        Species species;
        void (*work)();
        Species expected; // without communities: not compared
    };
    // By hand.
    // clang-format off
    const Case cases[] = {
        {"the first of equal names stays, in order; case tells names apart", n(7),
         {{"a", "b", "a", "c", "A", "a", "b"}, Words(7, "1"), Words(7, "0000000")}, unique,
         {{"a", "b", "c", "A"}, {}, {"1000", "0100", "1000", "0010", "0001", "1000", "0100"}}},
        {"labels; one word gives two characters, which equal no four of an earlier name", n(5),
         {{"Abies alba", "Poa", "Poa x annua", "A b c", "Polygonum"}, Words(5, "1"), Words(5, "00000")},
         label, {{"Abal Abies alba", "Po Poa", "Pox  Poa x annua", "A c A b c", "Po Polygonum"}, {},
         {"10000", "01000", "00100", "00010", "00001"}}},
        // Characters 1 to 4 are upper-cased in turn, then raised by one code in turn.
        {"labels of the same letters", n(6),
         {{"Abies alba", "Abies alta", "Abies alma", "Abius alia", "Abies alga", "Abies alda"},
          Words(6, "1"), Words(6, "000000")}, label,
         {{"Abal Abies alba", "ABal Abies alta", "ABAl Abies alma", "ABAL Abius alia",
           "BBAL Abies alga", "BCAL Abies alda"}, {},
          {"100000", "010000", "001000", "000100", "000010", "000001"}}},
        {"a name keeps 65 characters behind its label", n(1),
         {{"Ab " + std::string(67, 'x')}, {"1"}, {"0"}}, label,
         {{"Abxx Ab " + std::string(62, 'x')}, {}, {"1"}}},
        {"communities of species: missing counts as present, marks stay",
         {{0, 2, 0, 0}, {0, 0, -999, 0}, {5, 0, 0, 0}},
         {{"a", "b"}, {"0001", "0000"}, {"10", "10", "01"}}, SpeciesReleveMap,
         {{"a", "b"}, {"0111", "1000"}, {"10", "10", "01"}}},
        {"equal names joined: the last but one", Rows(3, {1, 1}),
         {{"a", "a", "b"}, {"10", "01", "11"}, {"100", "010", "001"}}, CheckSpeciesMerge,
         {{"a", "b"}, {"11", "11"}, {"10", "10", "01"}}},
        {"the last name is not looked at", Rows(3, {1, 1}),
         {{"a", "b", "a"}, {"10", "01", "11"}, {"100", "010", "001"}}, CheckSpeciesMerge,
         {{"a", "b", "a"}, {"10", "01", "11"}, {"100", "010", "001"}}},
        // b moves up, a's double gets b's marks, and the last name falls off.
        {"an earlier name: one step of shifting only", Rows(4, {1, 1, 1, 1}),
         {{"a", "a", "b", "c"}, {"1000", "0100", "0010", "0001"}, {"1000", "0100", "0010", "0001"}},
         CheckSpeciesMerge, {{"a", "b", "a"}, {"1100", "0010", "0010"}, {"100", "100", "011", "000"}}},
        // a: no OTU; b: no community; c: its second OTU is never where it is; d: in order; e: its
        // OTU is behind those that count.
        {"trimmed", {{1, 0}, {0, 1}, {1, 1}},
         {{"a", "b", "c", "d", "e"}, {"11", "00", "10", "01", "11"}, {"01100", "00110", "00001"}}, trim,
         {{"c", "d"}, {"10", "01"}, {"10", "01"}}},
        // a had only the empty OTU, c no community.
        {"an empty OTU takes its species along", {{0, 0}, {1, 0}, {1, 1}},
         {{"a", "b", "c"}, {"01", "11", "00"}, {"100", "011", "010"}}, [] { CheckData(1); },
         {{"b"}, {"11"}, {"1", "1"}}},
    };
    // clang-format on
    for (const Case& c : cases) {
        CAPTURE(c.fact);
        SessionTest test;
        Load(Rows(c.W.size(), {1}), c.W, c.species);
        c.work();
        const Session& s = session;
        CHECK(WordsOf(s.spp, s.nSpp) == c.expected.names);
        CHECK(MarksOf(s.cstSppMap, s.tcst, s.nSpp) == c.expected.ofOTUs);
        if (c.expected.inCommunities.empty()) continue;
        CHECK(MarksOf(s.sppRelMap, s.nSpp, s.ncsm) == c.expected.inCommunities);
    }
}

TEST_CASE("more equal labels than there are changes")
{
    SessionTest test;
    Words names;
    for (char c = 'a'; c <= 'z'; c++) names.push_back(std::string("Carex ca") + c);
    Load(Rows(26, {1}), Rows(26, {1}), {names, Words(26, "1"), Words(26, std::string(26, '0'))});
    CheckSpecies(2);
    CHECK(std::string(session.spp[7]) == "DBDB Carex cah"); // by hand: Caca, all changes spent
    CHECK(std::string(session.spp[25]) == "DBDB\x01 Carex caz");
}

TEST_CASE("the last trait labelled sp codes species")
{
    SessionTest test;
    Load(Rows(6, {7, 7, 7}), Rows(6, {1}),
         {{"a", "b", "c", "d"}, Words(4, "1"), {"1000", "0100", "1010", "0110", "0000", "0110"}});
    CheckCSTsSameSpecies();
    CHECK(session.csm_Float[5][1] == 7); // no trait is labelled so
    for (int j = 0; j < 3; j++) std::strcpy(session.chLabel[j], j < 2 ? "sp" : "spp");
    CheckCSTsSameSpecies();
    // The fourth OTU shares b with the second and c with the third: the later pair counts.
    CHECK(RowsOf(session.csm_Float, 6, 3) ==
          Rows{{7, 0, 7}, {7, 1, 7}, {7, 0, 7}, {7, 0, 7}, {7, 4, 7}, {7, 0, 7}});
}

TEST_CASE("distinct states and ranges of traits")
{
    const double nan = std::nan("");
    double rows[4][4] = {
        {-999, 2.5, 99999999, nan}, {-999, 1.5, 7, nan}, {-999, 2.5, -999, 1}, {-999, -3, 7, 1}};
    double* matrix[] = {rows[0], rows[1], rows[2], rows[3]};
    int counts[4];
    CountStates(4, 4, counts, matrix);
    CHECK(IntsOf(counts, 4) == Ints{0, 3, 1, 3}); // 99999999 is no state, and no NaN equals another
    const int types[] = {3, 3, 4, 2};
    double ranges[] = {9, 9, 9, 9};
    RangeStates(4, 4, matrix, types, ranges);
    CHECK(Rows{{ranges, ranges + 4}} == Rows{{0, 5.5, 9, 9}});
    // A value for each of many OTUs: what takes minutes if each is looked for among the others.
    const int n = 300000;
    const OwnedRows many(n, 1);
    for (int i = 0; i < n; i++) many[i][0] = i % 200000;
    CountStates(1, n, counts, many);
    CHECK(counts[0] == 200000);
}

TEST_CASE("empty OTUs leave, and all that belongs to OTUs follows")
{
    SessionTest test;
    Load({{10}, {11}, {12}, {13}, {14}},
         {{0, 0, 0}, {1, 0, 0}, {1e-13, -1e-13, 0}, {0, -999, 0}, {0, 2e-13, 0}}, {});
    Session& s = session;
    s.phylogenyRese = dim2Double(5, 5);
    s.phylogenyData = dim2Double(5, 1);
    for (int i = 0; i < 5; i++) {
        s.phylogenyData[i][0] = i;
        for (int k = 0; k < 5; k++) s.phylogenyRese[i][k] = 10 * i + k;
    }
    s.emptyReleves = 7;
    CheckData(1);
    // Those that stay keep their order; those that leave keep their rows behind them.
    CHECK(RowsOf(s.csm_Float, 5, 1) == Rows{{11}, {13}, {14}, {12}, {10}});
    CHECK(RowsOf(s.cadat, 3, 3) == Rows{{1, 0, 0}, {0, -999, 0}, {0, 2e-13, 0}});
    CHECK(RowsOf(s.phylogenyRese, 3, 3) == Rows{{11, 13, 14}, {31, 33, 34}, {41, 43, 44}});
    CHECK(RowsOf(s.phylogenyData, 3, 1) == Rows{{1}, {3}, {4}});
    CHECK(IntsOf(s.ncst, 3) == Ints{1, 2, 0});
    CHECK(Ints{s.tcst, s.emptyReleves, s.onsta[0], static_cast<int>(s.chrange[0])} == Ints{3, 1, 3, 3});
    s.onsta[0] = 99;
    CheckData(0);
    CHECK(s.onsta[0] == 99);
}
