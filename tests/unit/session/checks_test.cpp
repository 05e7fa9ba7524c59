#include "session/checks.hpp"

#include <random>

#include "unit/session/session_fixture.hpp"

namespace {

/// A session in memory; what depends on sizes is allocated with them. Marks are rows of '0' and
/// '1': species by communities, OTUs by species.
void Make(const Rows& B, const Rows& W, const Words& species, const Words& inCommunities = {},
          const Words& ofOTUs = {})
{
    FreeGlobals2();
    Session& s = session;
    s.tcst = static_cast<int>(W.size());
    s.ncsm = static_cast<int>(W[0].size());
    s.nch = static_cast<int>(B[0].size());
    s.nSpp = s.allocatedSpecies = static_cast<int>(species.size());
    AllocateSettings();
    s.csm_Float = dim2Double(s.tcst, s.nch);
    s.cadat = dim2Double(s.tcst, s.ncsm);
    for (std::size_t i = 0; i < W.size(); i++) {
        std::copy(B[i].begin(), B[i].end(), s.csm_Float[i]);
        std::copy(W[i].begin(), W[i].end(), s.cadat[i]);
    }
    s.chLabel = dim2Dchar(s.nch, labelSize);
    s.chtype = dim1Dint(s.nch);
    s.chrange = dim1Double(s.nch);
    s.onsta = dim1Dint(s.nch);
    s.ncst = dim1Dint(s.ncsm);
    if (s.nSpp == 0) return;
    s.spp = dim2Dchar(s.nSpp, speciesNameSize);
    s.sppRelMap = dim2Dchar(s.nSpp, s.ncsm);
    s.cstSppMap = dim2Dchar(s.tcst, s.nSpp);
    for (std::size_t a = 0; a < species.size(); a++) std::strcpy(s.spp[a], species[a].c_str());
    for (std::size_t a = 0; a < inCommunities.size(); a++)
        std::memcpy(s.sppRelMap[a], inCommunities[a].data(), inCommunities[a].size());
    for (std::size_t i = 0; i < ofOTUs.size(); i++)
        std::memcpy(s.cstSppMap[i], ofOTUs[i].data(), ofOTUs[i].size());
}

/// A session whose every OTU stands in every community, for lists of species.
void MakeSpecies(const Words& species)
{
    const Rows one(species.size(), std::vector<double>{1});
    Make(one, one, species);
}

Words Names() { return WordsOf(session.spp, session.nSpp); }

Words MarksOfOTUs() { return MarksOf(session.cstSppMap, session.tcst, session.nSpp); }
Words MarksOfSpecies() { return MarksOf(session.sppRelMap, session.nSpp, session.ncsm); }

} // namespace

TEST_CASE("species made unique")
{
    struct Case {
        const char* fact;
        int option;
        Words names, unique, ofOTUs;
    };
    // clang-format off
    const Case cases[] = {
        {"the first of equal names stays, in order", 1, {"a", "b", "a", "c", "a", "b"},
         {"a", "b", "c"}, {"100", "010", "100", "001", "100", "010"}},
        {"case tells names apart", 1, {"a", "A"}, {"a", "A"}, {"10", "01"}},
        {"labels", 2, {"Abies alba", "Poa", "Poa x annua", "A b c", " Acer rubrum"},
         {"Abal Abies alba", "Po Poa", "Pox  Poa x annua", "A c A b c", " Aru  Acer rubrum"},
         {"10000", "01000", "00100", "00010", "00001"}},
        // Characters 1 to 4 are upper-cased in turn, then raised by one code in turn.
        {"labels of the same letters", 2,
         {"Abies a", "Abies alba", "Abies alta", "Abies alma", "Abius alia", "Abies alga",
          "Abies alda"},
         {"Aba Abies a", "Abal Abies alba", "ABal Abies alta", "ABAl Abies alma",
          "ABAL Abius alia", "BBAL Abies alga", "BCAL Abies alda"},
         {"1000000", "0100000", "0010000", "0001000", "0000100", "0000010", "0000001"}},
        // Short labels are never the first four characters of an earlier name with its label.
        {"labels of one word may be alike", 2, {"Poa", "Polygonum"}, {"Po Poa", "Po Polygonum"},
         {"10", "01"}},
        {"a name keeps 65 characters behind its label", 2, {"Ab " + std::string(67, 'x')},
         {"Abxx Ab " + std::string(62, 'x')}, {"1"}},
    };
    // clang-format on
    for (const Case& c : cases) {
        CAPTURE(c.fact);
        SessionTest test;
        MakeSpecies(c.names);
        CheckSpecies(c.option);
        CHECK(Names() == c.unique);
        CHECK(MarksOfOTUs() == c.ofOTUs);
    }
}

TEST_CASE("more equal labels than there are changes")
{
    SessionTest test;
    Words names;
    for (char c = 'a'; c <= 'z'; c++) names.push_back(std::string("Carex ca") + c);
    MakeSpecies(names);
    CheckSpecies(2);
    REQUIRE(session.nSpp == 26);
    CHECK(std::string(session.spp[7]) == "DBDB Carex cah"); // by hand: Caca, all changes spent
    CHECK(std::string(session.spp[25]) == "DBDB\x01 Carex caz");
}

TEST_CASE("a label is compared with the first four characters")
{
    char first[] = "Abal Abies alba", second[] = "Po";
    char* names[] = {first, second};
    CHECK(CheckIdenticalLabels("Abal", names, 1) == 1);
    CHECK(CheckIdenticalLabels("Aba", names, 2) == 0);
    CHECK(CheckIdenticalLabels("Po", names, 1) == 0);
    CHECK(CheckIdenticalLabels("Po", names, 2) == 1);
}

TEST_CASE("communities of species: missing counts as present, marks stay")
{
    SessionTest test;
    Make({{1}, {1}, {1}}, {{0, 2, 0, 0}, {0, 0, -999, 0}, {5, 0, 0, 0}}, {"a", "b"},
         {"0001", "0000"}, {"10", "10", "01"});
    SpeciesReleveMap();
    CHECK(MarksOfSpecies() == Words{"0111", "1000"});
}

TEST_CASE("distinct states and ranges of traits")
{
    const double nan = std::numeric_limits<double>::quiet_NaN();
    double rows[4][4] = {
        {-999, 2.5, 7, nan}, {-999, 1.5, 7, nan}, {-999, 2.5, -999, 1}, {-999, -3, 7, 1}};
    double* matrix[] = {rows[0], rows[1], rows[2], rows[3]};
    OwnedInts counts(4);
    CountStates(4, 4, counts, matrix);
    CHECK(IntsOf(counts, 4) == Ints{0, 3, 1, 3});

    const int types[] = {3, 3, 3, 2};
    double ranges[] = {9, 9, 9, 9};
    RangeStates(4, 4, matrix, types, ranges);
    CHECK(std::vector<double>(ranges, ranges + 4) == std::vector<double>{0, 5.5, 0, 9});
}

TEST_CASE("empty OTUs leave, and all that belongs to OTUs follows")
{
    SessionTest test;
    Make({{10}, {11}, {12}, {13}, {14}},
         {{0, 0, 0}, {1, 0, 0}, {1e-13, -1e-13, 0}, {0, -999, 0}, {0, 2e-13, 0}}, {});
    session.chtype[0] = 3;
    session.phylogenyRese = dim2Double(5, 5);
    session.phylogenyData = dim2Double(5, 1);
    for (int i = 0; i < 5; i++) {
        session.phylogenyData[i][0] = i;
        for (int k = 0; k < 5; k++) session.phylogenyRese[i][k] = 10 * i + k;
    }
    session.emptyReleves = 7;
    CheckData(1);
    CHECK(session.tcst == 3);
    // Those that stay keep their order; those that leave keep their rows behind them.
    CHECK(RowsOf(session.csm_Float, 5, 1) == Rows{{11}, {13}, {14}, {12}, {10}});
    CHECK(RowsOf(session.cadat, 3, 3) == Rows{{1, 0, 0}, {0, -999, 0}, {0, 2e-13, 0}});
    CHECK(RowsOf(session.phylogenyRese, 3, 3) == Rows{{11, 13, 14}, {31, 33, 34}, {41, 43, 44}});
    CHECK(RowsOf(session.phylogenyData, 3, 1) == Rows{{1}, {3}, {4}});
    CHECK(IntsOf(session.ncst, 3) == Ints{1, 2, 0});
    CHECK(session.emptyReleves == 1);
    CHECK(session.onsta[0] == 3);
    CHECK(session.chrange[0] == 3);

    session.onsta[0] = 99;
    CheckData(0);
    CHECK(session.onsta[0] == 99);
}

TEST_CASE("an empty OTU takes its species along")
{
    SessionTest test;
    Make({{1, 5}, {2, 5}, {3, 5}}, {{0, 0}, {1, 0}, {1, 1}}, {"a", "b", "c"}, {"01", "11", "00"},
         {"100", "011", "010"});
    std::strcpy(session.chLabel[1], "sp");
    CheckData(1);
    CHECK(session.tcst == 2);
    CHECK(Names() == Words{"b"}); // a had only the empty OTU, c no community
    CHECK(MarksOfOTUs() == Words{"1", "1"});
    CHECK(MarksOfSpecies() == Words{"11"});
    CHECK(session.spp[1] == nullptr);
    CHECK(RowsOf(session.csm_Float, 2, 2) == Rows{{2, 0}, {3, 0}}); // one species, one code
}

TEST_CASE("joining species with equal names")
{
    struct Case {
        const char* fact;
        Words names, inCommunities, ofOTUs;
        Words joined, joinedInCommunities, joinedOfOTUs;
    };
    // clang-format off
    const Case cases[] = {
        {"the last name but one", {"a", "a", "b"}, {"10", "01", "11"}, {"100", "010", "001"},
         {"a", "b"}, {"11", "11"}, {"10", "10", "01"}},
        {"the last name is not looked at", {"a", "b", "a"}, {"10", "01", "11"},
         {"100", "010", "001"}, {"a", "b", "a"}, {"10", "01", "11"}, {"100", "010", "001"}},
        // By hand: b moves up, a's double gets b's marks, and the last name falls off.
        {"an earlier name: one step of shifting only", {"a", "a", "b", "c"},
         {"1000", "0100", "0010", "0001"}, {"1000", "0100", "0010", "0001"}, {"a", "b", "a"},
         {"1100", "0010", "0010"}, {"100", "100", "011", "000"}},
    };
    // clang-format on
    for (const Case& c : cases) {
        CAPTURE(c.fact);
        SessionTest test;
        const std::size_t n = c.ofOTUs.size();
        Make(Rows(n, {1}), Rows(n, std::vector<double>(c.inCommunities[0].size(), 1.0)), c.names,
             c.inCommunities, c.ofOTUs);
        CheckSpeciesMerge();
        CHECK(Names() == c.joined);
        CHECK(MarksOfSpecies() == c.joinedInCommunities);
        CHECK(MarksOfOTUs() == c.joinedOfOTUs);
    }
}

TEST_CASE("the trait that codes species agrees with the pairwise rule")
{
    SessionTest test;
    std::mt19937 draw(5);
    const int n = 40, nSpecies = 12;
    Words ofOTUs;
    for (int i = 0; i < n; i++) {
        std::string marks;
        for (int a = 0; a < nSpecies; a++) marks += draw() % 9 == 0 ? '1' : '0';
        ofOTUs.push_back(marks);
    }
    Make(Rows(n, {7, 7, 7}), Rows(n, {1}), Words(nSpecies, "x"), Words(nSpecies, "1"), ofOTUs);
    CheckCSTsSameSpecies();
    CHECK(session.csm_Float[n - 1][1] == 7); // no trait is labelled so

    std::strcpy(session.chLabel[0], "sp");
    std::strcpy(session.chLabel[1], "sp"); // the last one counts
    std::strcpy(session.chLabel[2], "SP");
    CheckCSTsSameSpecies();
    std::vector<double> code;
    for (int i = 0; i < n; i++) code.push_back(i);
    for (std::size_t i = 0; i < code.size(); i++)
        for (std::size_t j = i + 1; j < code.size(); j++)
            for (std::size_t a = 0; a < nSpecies; a++)
                if (ofOTUs[i][a] == '1' && ofOTUs[j][a] == '1') code[j] = code[i];
    for (std::size_t i = 0; i < code.size(); i++)
        CHECK(RowsOf(session.csm_Float, n, 3)[i] == std::vector<double>{7, code[i], 7});
}

TEST_CASE("trimming species")
{
    SessionTest test;
    // a: no OTU; b: no community; c: its second OTU is never where it is; d: in order; e: its OTU
    // is behind those that count.
    Make({{1}, {1}, {1}}, {{1, 0}, {0, 1}, {1, 1}}, {"a", "b", "c", "d", "e"},
         {"11", "00", "10", "01", "11"}, {"01100", "00110", "00001"});
    TrimSpecies(2);
    session.tcst = 2;
    CHECK(Names() == Words{"c", "d"});
    CHECK(MarksOfSpecies() == Words{"10", "01"});
    CHECK(MarksOfOTUs() == Words{"10", "01"});
    for (int a = 2; a < 5; a++)
        CHECK((session.spp[a] == nullptr && session.sppRelMap[a] == nullptr));
}
