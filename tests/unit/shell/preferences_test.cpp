#include "shell/preferences.hpp"

#include <doctest/doctest.h>

#include "shell/console.hpp"
#include "shell/failure.hpp"
#include "unit/shell/shell_fixture.hpp"

namespace {

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
