// SPDX-License-Identifier: GPL-3.0-or-later
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

/// Merges "s" and "b" into "a"; a refusal counts as a quiet return.
void Merge()
{
    std::strcpy(session.whichFormda, "sFormda.txt");
    OpenFormda(1);
    std::strcpy(session.dataName, session.whichFormda);
    if (MergeFormda("bFormda.txt") == 1) return;
    CHECK(session.cadat[1][1] == 6); // the first data set is still there
    CHECK(std::string(session.dataName) == "sFormda.txt");
    CHECK(std::string(session.envName).find(' ') == std::string::npos);
    throw Failure{quietReturn};
}

int CodeOfMerge(const std::string& one, const std::string& other)
{
    WriteText("sFormda.txt", one);
    WriteText("bFormda.txt", other);
    return CodeOf(Merge);
}

} // namespace

TEST_CASE("what is stored of two data sets")
{
    const std::string one = WithoutSpecies(first), other = WithoutSpecies(second);
    const std::string small =
        "d\n1\nT\n3\n0\n2\n1\na\n2\n0\n0 0 0 0 0 0 0\n25Jun2016\n1 2 3 4\n0 0 SMW 1 0 0";
    // clang-format off
    const Played cases[] = {
        // The second W lies under the first session's communities. States are counted anew.
        {"no species", {{"sFormda.txt", one}, {"bFormda.txt", other}}, "",
         {"sFormda.txt two \n2 \nheight\tcolour\t\n 3\t 2\t\n0\t0\t\n 5\t 2\t\n4 \na1\ta2\tb1\tb2\t\n5 \n",
          "\n1\t1\t\n2\t2\t\n3\t1\t\n4\t2\t\n5\t1\t\n\n3\t4\t0\t0\t\n5\t6\t0\t0\t\n7\t8\t0\t0\t\n9\t10\t0\t0\t\n0\t11\t0\t0\t\n\n0 \n0 \n",
          "\n1\n1\n1\t0.5\t0\t0\t0\t\n0.5\t1\t0\t0\t0\t\n0\t0\t0\t0\t0\t\n0\t0\t0\t0\t0\t\n0\t0\t0\t0\t0\t\n1\n7\t8\t\n"}},
        {"phylogeny variables; an absent OTU; W takes as many numbers as the first has communities",
         {{"sFormda.txt", Replaced(one, "1\n1 .5\n.5 1\n1\n7 8", "2\n2\n3 1\n11 12\n21 22\n0")},
          {"bFormda.txt", Replaced(Replaced(other, "7 8\n9 10", "0 0\n9 10"), "2\nb1 b2\n3\n0 0", "1\nb1\n3\n0")}}, "",
         {"\n1\t1\t\n2\t2\t\n4\t2\t\n5\t1\t\n\n3\t4\t0\t\n5\t6\t0\t\n9\t10\t0\t\n0\t11\t0\t\n\n",
          "\n1\n2\n2\n3\t1\t\n11\t12\t\n21\t22\t\n0\t0\t\n0\t0\t\n0\n"}},
        {"two characters a trait: 3. and 1, 4. and 02, 12 and nothing",
         {{"sFormda.txt", one}, {"bFormda.txt", Replaced(other, "18Jan2008\n3 1\n4 2\n5 1\n7 8\n9 10\n0 11",
                                                       "3.1 7 8\n4.02 9 10\n12 0 11")}}, "",
         {"\n1\t1\t\n2\t2\t\n3\t1\t\n4\t2\t\n12\t0\t\n\n3\t4\t0\t0\t\n5\t6\t0\t0\t\n7\t8\t0\t0\t\n9\t10\t0\t0\t\n0\t11\t0\t0\t\n\n"}},
        // No name twice: the joining of equal ones has tests of its own. OTUs of the second session
        // have no performance in its communities, where alone their species are marked, so they
        // lose their marks.
        {"species of both, their maps each in its corner",
         {{"sFormda.txt", first}, {"bFormda.txt", Replaced(second, "Cedrus\nAbies alba", "Cedrus\nFagus")}}, "",
         {"4 \nnames1 \nAbies alba\nBetula pendula\nCedrus\nFagus\n1000\n1100\n0011\n0001\n1000\n0100\n0000\n0000\n0000\nSMW"}},
        // A word and a number for each OTU, as the matrices have, and what is left over of W, a 0,
        // is taken for the number of variables. 25 is of 25Jun2016.
        {"a second file of the present layout that fits by chance gives wrong data",
         {{"sFormda.txt", small}, {"bFormda.txt", Replaced(Replaced(small, "\na\n", "\nb\n"), "1 2 3 4", "5 6 7 0")}}, "",
         {"\n1\t\n2\t\n25\t\n6\t\n\n3\t0\t\n4\t0\t\n5\t0\t\n7\t0\t\n\n"}},
    };
    // clang-format on
    for (const Played& c : cases) Play<SessionTest>(c, Merge);
}

TEST_CASE("variables are merged, but two file names are one word too many")
{
    for (const bool old : {false, true}) {
        SessionTest test;
        const std::string other = WithVariables(second);
        REQUIRE(CodeOfMerge(old ? Quantitative() : WithVariables(first),
                            old ? Replaced(other, "97Sep08\n5\n3 2\npH", "pH") : other) == 0);
        CHECK(TimesIn(TextOfFile("aFormda.txt"), "\npH\tsoil\t\nE1 E2 \n     1\t     2\t     5\t     6\t\n"
                                                 "     1\t     1\t     2\t     3\t\n") == 1);
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
    for (const Case& c : cases)
        Play<SessionTest>({c.fact,
                           {{"sFormda.txt", c.one},
                            {"bFormda.txt", c.other.substr(0, c.other.find(c.part)) + c.by}},
                           "", {}, {c.reason}, "", quietReturn}, Merge);
}

TEST_CASE("a second file that cannot be read, and a merge without memory")
{
    SessionTest test;
    const std::string one = WithVariables(first), whole = WithVariables(second);
    // Nothing is read behind the word after the species.
    for (std::size_t length = 0; length <= whole.find("SMW"); length++) {
        CAPTURE(length);
        const int code = CodeOfMerge(one, whole.substr(0, length));
        // What is cut within a word or a number may be refused before the end is met.
        CHECK((code == endOfFile || code == quietReturn));
    }
    for (const std::string count : {"-1", "2000000000", "nan", "2147483647"})
        for (const char* before : {"0 0\n3 2\n", "b1 b2\n", "0 11\n0\n"}) {
            const std::size_t at = second.find(before) + std::strlen(before);
            CAPTURE(before);
            CHECK(CodeOfMerge(first, second.substr(0, at) + count + second.substr(at + 1)) == endOfFile);
        }
    // Of a file of the present layout each OTU takes a word and two numbers, the first word being
    // the version; the third last cell of W is then the number of variables, the next one that of
    // species, and the marks are words.
    for (const char* cells : {"9 10\n0 11", "0 10\n0 11", ".5 10\n0 11"})
        CHECK(CodeOfMerge(first, Replaced(Replaced(second, "18Jan2008", "25Jun2016"), "9 10\n0 11", cells)) ==
              (cells[0] == '9' ? quietReturn : endOfFile));
    CHECK(TimesIn(test.screen.Text(), "\nThe number of environmental variables do not match.\n\n") == 1);
    CHECK(CodeOfMerge(first, Replaced(second, "Cedrus", std::string("Ce\0drus", 7))) == endOfFile);
    CHECK(TimesIn(test.complaints.Text(), "\nfile bFormda.txt line 22: NUL byte") == 1);
    CHECK(TimesIn(test.complaints.Text(), "Reenter") == 0);
    // A description is read as far as there is room, and its rest is no number of traits.
    CHECK(CodeOfMerge(first, std::string(500, 'x') + second) == endOfFile);
    CHECK(CodeOf([] { MergeFormda("none"); }) == cannotOpen);
    FailEachAllocation("aFormda.txt", [&] { return CodeOfMerge(one, whole); });
}
