#include "shell/preferences.hpp"

#include <doctest/doctest.h>

#include "shell/console.hpp"
#include "shell/failure.hpp"
#include "unit/shell/shell_fixture.hpp"

namespace {

/// A file with every item different from its default.
const char* const allChanged =
    "18Nov2016\n1\n1.5\n2.5\n3\n4.5\n5.5\n6\ny\n7\n8.5\n9.5\n"
    "4\n120\n5\ny\nY\ny\n0\n0\n1\n0\n2.75\n1\n3\n";

/// The items of a file, without its time stamp.
std::string Items()
{
    const std::string text = TextOfFile(KELPRAPrefsName);
    return text.substr(0, text.rfind('\n', text.size() - 2) + 1);
}

struct Fresh {
    Fresh() { preferences = Preferences{}; }
    ~Fresh() { preferences = Preferences{}; }
    ScratchFolder folder;
};

} // namespace

TEST_CASE("preferences: without a file, or with an empty one or one of another version, the defaults stay") {
    Fresh fresh;
    Captured errors(stderr), screen(stdout);
    ReadPreferences();
    CHECK(preferences.twoTailedTestMantel);
    for (const char* text : {"", "\n", "19Nov2016\n1\n"}) {
        WriteText(KELPRAPrefsName, text);
        ReadPreferences();
    }
    CHECK(preferences.isHierarchicalPref == 0);
    CHECK(preferences.twoTailedTestMantel);
    std::filesystem::remove(KELPRAPrefsName);
    std::filesystem::create_directory(KELPRAPrefsName);
    ReadPreferences();
    CHECK(errors.Text() == "");
    CHECK(screen.Text() == "");
    WritePreferences(); // cannot be opened: told, and the program goes on
    CHECK(errors.Text() == "\ncan't open KELPRA.prf \n");
}

TEST_CASE("preferences: every item is read and written, the tests become one-tailed") {
    Fresh fresh;
    std::ofstream(KELPRAPrefsName) << allChanged;
    ReadPreferences();
    const Preferences& p = preferences; // written back below in the order of the file
    CHECK((p.profileType == 6 && p.sDigits == 4 && p.maxColsPrint == 120 && p.nProcessors == 3));
    CHECK((p.sqrtDissimOpt_RaoPhyl && !p.sqrtDissimOpt_RaoTraits && !p.BealsIncludeOpt));
    CHECK_FALSE(p.twoTailedTestMantel);
    WritePreferences();
    CHECK(Items() == "18Nov2016\n1\n1.500000\n2.500000\n3\n4.500000\n5.500000\n6\ny\n7\n8.500000\n"
                     "9.500000\n4\n120\n5\ny\ny\ny\n0\n0\n1\n0\n2.75\n0\n3\n");
    preferences = Preferences{};
    WritePreferences();
    CHECK(Items() == "18Nov2016\n0\n0.000000\n0.000000\n0\n0.000000\n0.000000\n1\nn\n0\n0.000000\n"
                     "0.000000\n6\n2147483647\n6\nn\nn\nn\n1\n1\n0\n1\n2\n1\n0\n");
}

TEST_CASE("preferences: a broken file ends in code 2") {
    struct Case { const char* fact; std::string text; };
    const std::string all = allChanged;
    const Case cases[] = {
        {"cut before the last item", all.substr(0, all.size() - 2)},
        {"cut at a letter", all.substr(0, all.find("y"))},
        {"a word for a number", "18Nov2016\n1\nwide\n"},
    };
    for (const Case& c : cases) {
        CAPTURE(c.fact);
        Fresh fresh;
        std::ofstream(KELPRAPrefsName) << c.text;
        Captured errors(stderr), screen(stdout);
        CHECK(CodeOf(ReadPreferences) == endOfFile);
        CHECK(errors.Text() == "\nfile KELPRA.prf ");
    }
}

TEST_CASE("preferences: what each letter sets") {
    struct Case { const char* typed; bool (*holds)(const Preferences&); };
    const Case cases[] = {
        {"F 0 y c", [](const Preferences& p) { return p.sDigits == 6 && p.saveRndData == 'y'; }},
        {"F 8.7 n c", [](const Preferences& p) { return p.sDigits == 8; }},
        {"g y g n c", [](const Preferences& p) { return p.countDoubleAbsence == 0; }},
        {"R n y C", [](const Preferences& p) {
             return !p.sqrtDissimOpt_RaoTraits && p.sqrtDissimOpt_RaoPhyl; }},
        {"B n C", [](const Preferences& p) { return !p.BealsIncludeOpt; }},
        {"O 0.9 1.5 C", [](const Preferences& p) { return p.overfitFactorPCARegr == 1.5; }},
        {"T n C", [](const Preferences& p) { return !p.twoTailedTestMantel; }},
        {"M -1 4 C", [](const Preferences& p) { return p.nProcessors == 4; }},
    };
    for (const Case& c : cases) {
        CAPTURE(c.typed);
        Fresh fresh;
        Captured errors(stderr), screen(stdout);
        InputStream answers(FileOf(c.typed));
        console.in = &answers;
        SetPreferences();
        console.in = &StandardInput();
        CHECK(c.holds(preferences));
        CHECK(std::filesystem::exists(KELPRAPrefsName));
        const Preferences set = preferences;
        preferences = Preferences{};
        ReadPreferences(); // what was set outlives the process
        preferences.twoTailedTestMantel = set.twoTailedTestMantel; // the one item that does not
        CHECK(c.holds(preferences));
    }
}
