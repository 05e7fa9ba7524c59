#include "shell/preferences.hpp"

#include <cstdio>

#include "shell/console.hpp"
#include "shell/failure.hpp"
#include "shell/files.hpp"
#include "shell/prompts.hpp"
#include "shell/scanners.hpp"

Preferences preferences;

const char* const KELPRAPrefsName = "KELPRA.prf";

namespace {

// First word of the file: another one, and the file is taken for that of another version.
const char* const versionPref = "18Nov2016";

} // namespace
