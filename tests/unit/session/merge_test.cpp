#include "session/merge.hpp"

#include "unit/session/session_fixture.hpp"

namespace {

// 2 traits, 2 communities, 2 OTUs, 2 species, similarities, trait groups.
const std::string first =
    "one\n2\nheight colour\n3 2\n0 0\n2 2\n2\na1 a2\n2\n0 0\n0 0 0 0 0 0 0\n25Jun2016\n"
    "1 1\n2 2\n3 4\n5 6\n0\n"
    "2\nnames1\nAbies alba\nBetula pendula\n10\n11\n10\n01\n"
    "SMW 1\n1\n1\n1 .5\n.5 1\n1\n7 8\n";
// The same traits, 2 other communities, 3 OTUs. A layout of before the present one.
const std::string second =
    "two\n2\nheight colour\n3 2\n0 0\n3 2\n2\nb1 b2\n3\n0 0\n0 0 0 0 0 0 0\n18Jan2008\n"
    "3 1\n4 2\n5 1\n7 8\n9 10\n0 11\n0\n"
    "2\nnames2\nCedrus\nAbies alba\n11\n01\n10\n01\n10\n"
    "SMW 1\n0\n";

const std::string noVariables = "5 6\n0\n2\n";
const std::string variables = "5 6\n2\n97Sep08\n5\n3 2\npH soil\nE1\n1 2\n1 1\n2\n";
const std::string noVariablesOfSecond = "0 11\n0\n2\n";
const std::string variablesOfSecond = "0 11\n2\n97Sep08\n5\n3 2\npH soil\nE2\n5 6\n2 3\n2\n";

std::string WithVariables(const std::string& text)
{
    const bool isFirst = text.find(noVariables) != std::string::npos;
    return isFirst ? Replaced(text, noVariables, variables)
                   : Replaced(text, noVariablesOfSecond, variablesOfSecond);
}

/// The data set without species.
std::string WithoutSpecies(const std::string& text)
{
    const std::size_t from = text.find("2\nnames"), to = text.find("SMW");
    return text.substr(0, from) + "0\n" + text.substr(to);
}
/// As files without types of variables take them to be.
std::string Quantitative() { return Replaced(WithVariables(first), "5\n3 2\npH", "2\n3 3\npH"); }

/// The code that the merge into session "a" ends with; `result` is what it returned.
int Merge(const std::string& one, const std::string& other, int& result)
{
    WriteText("bFormda.txt", other);
    const int code = LoadData(one);
    if (code != 0) return code;
    std::strcpy(session.dataName, session.whichFormda);
    return CodeOf([&result] { result = MergeFormda("bFormda.txt"); });
}

void MergeAndLoad(const std::string& one, const std::string& other)
{
    int result = 0;
    REQUIRE(Merge(one, other, result) == 0);
    REQUIRE(result == 1);
    REQUIRE(std::string(session.whichFormda) == "aFormda.txt");
    REQUIRE(CodeOf([] { OpenFormda(1); }) == 0);
}

} // namespace

TEST_CASE("two data sets without species in one")
{
    const std::string one = WithoutSpecies(first), other = WithoutSpecies(second);
    const Session& s = session;
    SessionTest test;
    MergeAndLoad(one, other);
    CHECK(std::string(s.dataName) == "sFormda.txt two ");
    CHECK(WordsOf(s.reLabel, s.ncsm) == Words{"a1", "a2", "b1", "b2"});
    CHECK(RowsOf(s.csm_Float, s.tcst, 2) == Rows{{1, 1}, {2, 2}, {3, 1}, {4, 2}, {5, 1}});
    // The second W lies under the first session's communities.
    CHECK(RowsOf(s.cadat, 5, 4) ==
          Rows{{3, 4, 0, 0}, {5, 6, 0, 0}, {7, 8, 0, 0}, {9, 10, 0, 0}, {0, 11, 0, 0}});
    CHECK(IntsOf(s.onsta, 2) == Ints{5, 2}); // counted anew
    CHECK(s.phylogenyMatrixType == 1);
    CHECK(RowsOf(s.phylogenyRese, 3, 5) == Rows{{1, .5, 0, 0, 0}, {.5, 1, 0, 0, 0}, {0, 0, 0, 0, 0}});
    CHECK(IntsOf(s.traitGroups, 2) == Ints{7, 8});
    CHECK(test.screen.Text().empty());

    // Phylogeny variables; an OTU that is absent everywhere; a row of W takes as many numbers as
    // the first session has communities, whatever the second has.
    MergeAndLoad(Replaced(one, "1\n1 .5\n.5 1\n1\n7 8", "2\n2\n3 1\n11 12\n21 22\n0"),
                 Replaced(Replaced(other, "7 8\n9 10", "0 0\n9 10"), "2\nb1 b2\n3\n0 0", "1\nb1\n3\n0"));
    CHECK(RowsOf(s.cadat, s.tcst, s.ncsm) == Rows{{3, 4, 0}, {5, 6, 0}, {9, 10, 0}, {0, 11, 0}});
    CHECK(RowsOf(s.csm_Float, s.tcst, 2) == Rows{{1, 1}, {2, 2}, {4, 2}, {5, 1}});
    CHECK(RowsOf(s.phylogenyData, 4, 2) == Rows{{11, 12}, {21, 22}, {0, 0}, {0, 0}});

    // A word of two characters a trait: "3." and "1", "4." and "02", "12" and nothing.
    MergeAndLoad(one, Replaced(other, "18Jan2008\n3 1\n4 2\n5 1\n7 8\n9 10\n0 11",
                               "3.1 7 8\n4.02 9 10\n12 0 11"));
    CHECK(RowsOf(s.csm_Float, 5, 2) == Rows{{1, 1}, {2, 2}, {3, 1}, {4, 2}, {12, 0}});
    CHECK(RowsOf(s.cadat, 5, 2) == Rows{{3, 4}, {5, 6}, {7, 8}, {9, 10}, {0, 11}});
}

TEST_CASE("species of both, their maps each in its corner")
{
    SessionTest test;
    // No name twice: the joining of equal ones has tests of its own.
    MergeAndLoad(first, Replaced(second, "Cedrus\nAbies alba", "Cedrus\nFagus"));
    const Session& s = session;
    CHECK(WordsOf(s.spp, s.nSpp) == Words{"Abies alba", "Betula pendula", "Cedrus", "Fagus"});
    CHECK(MarksOf(s.sppRelMap, 4, 4) == Words{"1000", "1100", "0011", "0001"});
    // OTUs of the second session have no performance in its communities, where alone their
    // species are marked, so they lose their marks.
    CHECK(MarksOf(s.cstSppMap, 5, 4) == Words{"1000", "0100", "0000", "0000", "0000"});
    CHECK(std::string(s.whichSpp) == "names1 ");
}

TEST_CASE("variables are merged, but two file names are one word too many")
{
    for (const bool old : {false, true}) {
        SessionTest test;
        const std::string other = WithVariables(second);
        int result = 0;
        REQUIRE(Merge(old ? Quantitative() : WithVariables(first),
                      old ? Replaced(other, "97Sep08\n5\n3 2\npH", "pH") : other, result) == 0);
        REQUIRE(result == 1);
        CHECK(std::string(session.envName) == "E1 E2");
        CHECK(RowsOf(session.env, 4, 2) == Rows{{1, 1}, {2, 1}, {5, 2}, {6, 3}});
        CHECK(CodeOf([] { OpenFormda(1); }) == endOfFile);
    }
}

TEST_CASE("a merge is refused at the first item that differs, though the file ends there")
{
    struct Case {
        std::string fact;
        std::string one, other;
        const char* part; // of the other file
        const char* by;   // ends with the item that differs
        const char* reason;
    };
    const std::string firstE = WithVariables(first), secondE = WithVariables(second);
    const char* const labels = "\nLabels for traits do not match (or their order).\n\n";
    const char* const types = "\nThe types of environmental variables do not match.\n\n";
    const char* const species =
        "\nOne session has species names and the other not.\nBoth files must have or not have "
        "species names.\n\n";
    // clang-format off
    const Case cases[] = {
        {"number of traits", first, second, "two\n2", "two\n3",
         "\nThe number of traits do not match.\n\n"},
        {"a trait's label", first, second, "height", "Height", labels},
        {"the last trait's label", first, second, "colour", "Colour", labels},
        {"trait types", first, second, "3 2\n0 0", "4", "\nTrait types do not match.\n\n"},
        {"a community of both", first, second, "b1 b2", "b1 a1",
         "\b\nThere are releve labels in the second session that are identical to\n"
         "labels in the first session. Change them (or reduce the second\n"
         "session labels length to 10 letters or digits) and try again.\n"},
        {"reserved numbers", first, second, "0 0 0 0 0 0 0\n18", "0 0 0 1",
         "\nTranslating values for cover-abundance scale codes do not match.\n\n"},
        {"number of variables", firstE, second, "0 11\n0", "0 11\n0",
         "\nThe number of environmental variables do not match.\n\n"},
        {"kind of variables", firstE, secondE, "5\n3 2\npH", "3", types},
        {"types of variables", firstE, secondE, "5\n3 2\npH", "5\n2", types},
        {"labels of variables", firstE, secondE, "pH soil", "PH",
         "\nLabels for environmental variables do not match.\n\n"},
        {"old variables have no types but are quantitative", firstE,
         Replaced(secondE, "97Sep08\n5\n3 2\npH", "pH"), "\npH", "\npH", types},
        {"old variables: the first label stands in the place of the word", Quantitative(), secondE,
         "97Sep08", "PH", "\nLabels for environmental variables do not match.\n\n"},
        {"species of the first only", first, WithoutSpecies(second), "0 11\n0\n0", "0 11\n0\n0",
         species},
        {"species of the second only", WithoutSpecies(first), second, "2\nnames2", "2", species},
    };
    // clang-format on
    for (const Case& c : cases) {
        CAPTURE(c.fact);
        SessionTest test;
        int result = 1;
        REQUIRE(c.other.find(c.part) != std::string::npos);
        CHECK(Merge(c.one, c.other.substr(0, c.other.find(c.part)) + c.by, result) == 0);
        CHECK(result == 0);
        CHECK(test.screen.Text() == c.reason);
        CHECK(session.cadat[1][1] == 6); // the first data set is still there
        CHECK(std::string(session.dataName) == "sFormda.txt");
        CHECK(std::string(session.envName) == (c.one == first ? "" : session.nenv > 0 ? "E1" : ""));
        CHECK_FALSE(std::filesystem::exists("aFormda.txt"));
    }
}

TEST_CASE("a second file of the present layout falls out of step")
{
    // Each OTU takes a word and two numbers, the first of the words being the version: the number
    // of variables is then read from the third last cell of W, that of species from the next.
    for (const char* cells : {"9 10\n0 11", "0 10\n0 11", ".5 10\n0 11"}) {
        CAPTURE(cells);
        SessionTest test;
        int result = 0;
        const int code = cells[0] == '9' ? 0 : endOfFile;
        CHECK(Merge(first,
                    Replaced(Replaced(second, "18Jan2008", "25Jun2016"), "9 10\n0 11", cells),
                    result) == code);
        CHECK(result == 0);
        CHECK(TimesIn(test.complaints.Text(), "\nfile bFormda.txt ") == (code == 0 ? 0 : 1));
        if (code == 0)
            CHECK(test.screen.Text() ==
                  "\nThe number of environmental variables do not match.\n\n");
        CHECK_FALSE(std::filesystem::exists("aFormda.txt"));
    }
}

TEST_CASE("a second file of the present layout that fits by chance gives wrong data")
{
    // One trait, one community: a word and a number for each OTU, as the matrices have, and what
    // is left over of W, a 0, is taken for the number of variables.
    const std::string one =
        "1\nT\n3\n0\n2\n1\na\n2\n0\n0 0 0 0 0 0 0\n25Jun2016\n1 2 3 4\n0 0 SMW 1 0 0";
    SessionTest test;
    MergeAndLoad("d\n" + one,
                 "e\n" + Replaced(Replaced(one, "\na\n", "\nb\n"), "1 2 3 4", "5 6 7 0"));
    CHECK(RowsOf(session.csm_Float, 4, 1) == Rows{{1}, {2}, {25}, {6}}); // 25 of 25Jun2016
    CHECK(RowsOf(session.cadat, 4, 2) == Rows{{3, 0}, {4, 0}, {5, 0}, {7, 0}});
}

TEST_CASE("a second file that cannot be read, and a merge without memory")
{
    SessionTest test;
    int result = 1;
    const std::string one = WithVariables(first), whole = WithVariables(second);
    // Nothing is read behind the word after the species.
    for (std::size_t length = 0; length <= whole.find("SMW"); length++) {
        CAPTURE(length);
        const int code = Merge(one, whole.substr(0, length), result);
        // What is cut within a word or a number may be refused before the end is met.
        CHECK((code == endOfFile || (code == 0 && result == 0)));
    }
    for (const std::string count : {"-1", "2000000000", "nan", "2147483647"})
        for (const std::string& other :
             {Replaced(second, "2\nb1", count + "\nb1"),
              Replaced(second, "b1 b2\n3", "b1 b2\n" + count),
              Replaced(second, "2\nnames", count + "\nnames")}) {
            CAPTURE(other);
            CHECK(Merge(first, other, result) == endOfFile);
        }
    CHECK(CodeOf([] { MergeFormda("none"); }) == cannotOpen);
    CHECK(TimesIn(test.complaints.Text(), "\ncan't open none \n") == 1);
    FailEachAllocation("aFormda.txt", [&] { return Merge(one, whole, result); });
}
