#include "session/merge.hpp"

#include <doctest/doctest.h>

#include <cstring>

#include "session/formda.hpp"
#include "shell/console.hpp"
#include "unit/session/session_fixture.hpp"

namespace {

using Words = std::vector<std::string>;

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

struct Merged : SessionTest {
    Merged() { std::strcpy(console.sessionName, "m"); }
    ~Merged() { console.sessionName[0] = '\0'; }

    /// The code that the merge ends with; `result` is what it returned.
    static int Merge(const std::string& one, const std::string& other, int& result)
    {
        WriteText("aFormda.txt", one);
        WriteText("bFormda.txt", other);
        std::strcpy(session.whichFormda, "aFormda.txt");
        return CodeOf([&] {
            OpenFormda(1);
            std::strcpy(session.dataName, session.whichFormda);
            result = MergeFormda("bFormda.txt");
        });
    }

    static void MergeAndLoad(const std::string& one, const std::string& other)
    {
        int result = 0;
        REQUIRE(Merge(one, other, result) == 0);
        REQUIRE(result == 1);
        REQUIRE(std::string(session.whichFormda) == "mFormda.txt");
        REQUIRE(CodeOf([] { OpenFormda(1); }) == 0);
    }
};

Words MarksOf(char** marks, int rows, int columns)
{
    Words copy;
    for (int i = 0; i < rows; i++) copy.emplace_back(marks[i], static_cast<std::size_t>(columns));
    return copy;
}

} // namespace

TEST_CASE("two data sets without variables in one")
{
    Merged test;
    Merged::MergeAndLoad(WithoutSpecies(first), WithoutSpecies(second));
    const Session& s = session;
    CHECK(std::string(s.dataName) == "aFormda.txt two ");
    CHECK(WordsOf(s.reLabel, s.ncsm) == Words{"a1", "a2", "b1", "b2"});
    CHECK(RowsOf(s.csm_Float, s.tcst, 2) == Rows{{1, 1}, {2, 2}, {3, 1}, {4, 2}, {5, 1}});
    // The second W lies under the first session's communities.
    CHECK(RowsOf(s.cadat, 5, 4) ==
          Rows{{3, 4, 0, 0}, {5, 6, 0, 0}, {7, 8, 0, 0}, {9, 10, 0, 0}, {0, 11, 0, 0}});
    CHECK(std::vector<int>(s.onsta, s.onsta + 2) == std::vector<int>{5, 2}); // counted anew
    CHECK(s.phylogenyMatrixType == 1);
    CHECK(RowsOf(s.phylogenyRese, 5, 5) ==
          Rows{{1, .5, 0, 0, 0},
               {.5, 1, 0, 0, 0},
               {0, 0, 0, 0, 0},
               {0, 0, 0, 0, 0},
               {0, 0, 0, 0, 0}});
    CHECK(std::vector<int>(s.traitGroups, s.traitGroups + 2) == std::vector<int>{7, 8});
    CHECK(test.screen.Text().empty());
}

TEST_CASE("OTUs that are absent everywhere are not merged")
{
    Merged test;
    Merged::MergeAndLoad(WithoutSpecies(first),
                         WithoutSpecies(Replaced(second, "7 8\n9 10", "0 0\n9 10")));
    CHECK(RowsOf(session.csm_Float, session.tcst, 2) == Rows{{1, 1}, {2, 2}, {4, 2}, {5, 1}});
}

TEST_CASE("species of both, their maps each in its corner")
{
    Merged test;
    // No name twice: the joining of equal ones has tests of its own.
    Merged::MergeAndLoad(first, Replaced(second, "Cedrus\nAbies alba", "Cedrus\nFagus"));
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
    Merged test;
    int result = 0;
    REQUIRE(Merged::Merge(WithVariables(first), WithVariables(second), result) == 0);
    REQUIRE(result == 1);
    CHECK(std::string(session.envName) == "E1 E2");
    CHECK(RowsOf(session.env, 4, 2) == Rows{{1, 1}, {2, 1}, {5, 2}, {6, 3}});
    CHECK(CodeOf([] { OpenFormda(1); }) == endOfFile);
}

TEST_CASE("the layout of two characters a trait")
{
    Merged test;
    Merged::MergeAndLoad(WithoutSpecies(first),
                         WithoutSpecies(Replaced(second, "18Jan2008\n3 1\n4 2\n5 1\n7 8\n9 10\n0 11",
                                                 "3.1 7 8\n4.02 9 10\n12 0 11")));
    // Pairs of characters: "3." and "1", "4." and "02", "12" and nothing.
    CHECK(RowsOf(session.csm_Float, 5, 2) == Rows{{1, 1}, {2, 2}, {3, 1}, {4, 2}, {12, 0}});
    CHECK(RowsOf(session.cadat, 5, 2) == Rows{{3, 4}, {5, 6}, {7, 8}, {9, 10}, {0, 11}});
}

TEST_CASE("variables of a file without their types")
{
    const std::string old = Replaced(WithVariables(second), "97Sep08\n5\n3 2\npH", "pH");
    const std::string quantitative = Replaced(WithVariables(first), "5\n3 2\npH", "2\n3 3\npH");
    Merged test;
    int result = 0;
    SUBCASE("are quantitative with different units")
    {
        CHECK(Merged::Merge(quantitative, old, result) == 0);
        CHECK(result == 1);
    }
    SUBCASE("which the first session's are not")
    {
        CHECK(Merged::Merge(WithVariables(first), old, result) == 0);
        CHECK(test.screen.Text() == "\nThe types of environmental variables do not match.\n\n");
    }
    SUBCASE("the first label stands in the place of the word")
    {
        CHECK(Merged::Merge(quantitative, Replaced(old, "\npH", "\nPH"), result) == 0);
        CHECK(test.screen.Text() == "\nLabels for environmental variables do not match.\n\n");
    }
}

TEST_CASE("a merge is refused at the first item that differs, though the file ends there")
{
    struct Case {
        const char* fact;
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
        {"species of the first only", first, WithoutSpecies(second), "0 11\n0\n0", "0 11\n0\n0",
         species},
        {"species of the second only", WithoutSpecies(first), second, "2\nnames2", "2", species},
    };
    // clang-format on
    for (const Case& c : cases) {
        CAPTURE(c.fact);
        Merged test;
        int result = 1;
        REQUIRE(c.other.find(c.part) != std::string::npos);
        CHECK(Merged::Merge(c.one, c.other.substr(0, c.other.find(c.part)) + c.by, result) == 0);
        CHECK(result == 0);
        CHECK(test.screen.Text() == c.reason);
        CHECK(session.tcst == 2); // the first data set is still there
        CHECK(session.cadat[1][1] == 6);
        CHECK_FALSE(std::filesystem::exists("mFormda.txt"));
    }
}

TEST_CASE("a second file of the present layout falls out of step")
{
    struct Case {
        const char* fact;
        const char* matrices;
        int code;
        const char* reason; // on the screen, for a refusal
    };
    // Each OTU takes a word and two numbers, the first of the words being the version: the number
    // of variables is then read from the third last cell of W, that of species from the next.
    const Case cases[] = {
        {"another number of variables is read", "3 1\n4 2\n5 1\n7 8\n9 10\n0 11", 0,
         "\nThe number of environmental variables do not match.\n\n"},
        {"another number of species is read", "3 1\n4 2\n5 1\n7 8\n0 10\n0 11", endOfFile, ""},
        {"no count is read", "3 1\n4 2\n5 1\n7 8\n.5 10\n0 11", endOfFile, ""},
    };
    for (const Case& c : cases) {
        CAPTURE(c.fact);
        Merged test;
        int result = 0;
        const std::string other =
            Replaced(second, "18Jan2008\n3 1\n4 2\n5 1\n7 8\n9 10\n0 11",
                     std::string("25Jun2016\n") + c.matrices);
        CHECK(Merged::Merge(first, other, result) == c.code);
        CHECK(result == 0);
        const std::string complaints = test.complaints.Text();
        CHECK(TimesIn(complaints, "\nfile bFormda.txt ") == (c.code == endOfFile ? 1 : 0));
        if (c.code == 0) CHECK(test.screen.Text() == c.reason);
        CHECK_FALSE(std::filesystem::exists("mFormda.txt"));
    }
}

TEST_CASE("a second file of the present layout that fits by chance gives wrong data")
{
    // One trait, one community: a word and a number for each OTU, as the matrices have, and what
    // is left over of W, a 0, is taken for the number of variables.
    const std::string one =
        "1\nT\n3\n0\n2\n1\na\n2\n0\n0 0 0 0 0 0 0\n25Jun2016\n1 2 3 4\n0 0 SMW 1 0 0";
    Merged test;
    Merged::MergeAndLoad("d\n" + one, "e\n" + Replaced(Replaced(one, "\na\n", "\nb\n"), "1 2 3 4",
                                                     "5 6 7 0"));
    CHECK(RowsOf(session.csm_Float, 4, 1) == Rows{{1}, {2}, {25}, {6}}); // 25 of 25Jun2016
    CHECK(RowsOf(session.cadat, 4, 2) == Rows{{3, 0}, {4, 0}, {5, 0}, {7, 0}});
}

TEST_CASE("a second file that ends early, anywhere")
{
    const std::string whole = WithVariables(second);
    // Nothing is read behind the word after the species.
    const std::size_t needed = whole.find("SMW") + 1;
    for (std::size_t length = 0; length < needed; length++) {
        CAPTURE(length);
        Merged test;
        int result = 1;
        const int code = Merged::Merge(WithVariables(first), whole.substr(0, length), result);
        // What is cut within a word or a number may be refused before the end is met.
        CHECK((code == endOfFile || (code == 0 && result == 0)));
        CHECK_FALSE(std::filesystem::exists("mFormda.txt"));
    }
}

TEST_CASE("counts that cannot be")
{
    for (const char* count : {"-1", "2000000000", "nan"}) {
        CAPTURE(count);
        for (const std::string& other :
             {Replaced(second, "2\nb1", std::string(count) + "\nb1"),
              Replaced(second, "b1 b2\n3", "b1 b2\n" + std::string(count)),
              Replaced(second, "2\nnames", std::string(count) + "\nnames")}) {
            Merged test;
            int result = 1;
            const int code = Merged::Merge(first, other, result);
            CHECK(code == endOfFile);
        }
    }
}

TEST_CASE("a merge without its file or its memory")
{
    Merged test;
    int result = 1;
    SUBCASE("the second file is not there")
    {
        WriteText("aFormda.txt", first);
        std::strcpy(session.whichFormda, "aFormda.txt");
        OpenFormda(1);
        CHECK(CodeOf([] { MergeFormda("none"); }) == cannotOpen);
        CHECK(test.complaints.Text() == "\ncan't open none \n");
    }
    SUBCASE("memory ends, at any allocation")
    {
        int code = outOfMemory, nFailures = -1;
        for (long k = 1; code != 0; k++) {
            CHECK_FALSE(std::filesystem::exists("mFormda.txt"));
            FailAllocation(k);
            code = Merged::Merge(WithVariables(first), WithVariables(second), result);
            FailAllocation(0);
            REQUIRE((code == outOfMemory || code == 0));
            FreeGlobals2();
            nFailures++;
        }
        CHECK(nFailures > 100);
    }
}
