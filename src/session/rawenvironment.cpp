// SPDX-License-Identifier: GPL-3.0-or-later
#include "session/rawenvironment.hpp"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "numeric/statistics.hpp"
#include "session/rawfile.hpp"
#include "session/session.hpp"
#include "shell/arrays.hpp"
#include "shell/console.hpp"
#include "shell/files.hpp"
#include "shell/prompts.hpp"
#include "shell/scanners.hpp"

namespace {

/// Asks for the type of each variable until they are of several kinds, or the user lets them be
/// of one, which then is the type of all the data.
void AskMixedTypes()
{
    Session& s = session;
    std::FILE* out = console.out;
    for (;;) {
        std::fprintf(
            out,
            "Enter variable type (1:binary, 2:nominal, 3:quantitative interval or ratio scale, 4:ordinal): \n");
        std::fprintf(out, "Variable:    \t");
        // Deliberate: the labels are read or made only later, so blanks show.
        for (int k = 0; k < s.nenv; k++)
            std::fprintf(out, "%*.*s ", labelSize - 1, labelSize - 1, s.envLabel[k]);
        ReadLongInput(s.nenv, s.envVarType, "variable type", "1 2 3 4");
        s.temEnvBin = s.temEnvQual = s.temEnvQuant = 0;
        for (int k = 0; k < s.nenv; k++) {
            if (s.envVarType[k] == 1) s.temEnvBin = 1;
            if (s.envVarType[k] == 2) s.temEnvQual = 1;
            if (s.envVarType[k] >= 3) s.temEnvQuant = 1;
        }
        if (s.temEnvBin + s.temEnvQual + s.temEnvQuant >= 2) return;
        std::fprintf(out, "Data not mixed as indicated!!!\n");
        std::fprintf(out, "Wish to correct manually? y/n ");
        if (ReadCharIn("y n") == 'y') continue;
        s.optEnvVarType = s.temEnvQual != 0 ? 3 : s.temEnvQuant != 0 ? 2 : 4;
        return;
    }
}

void AskVariableTypes()
{
    Session& s = session;
    std::FILE* out = console.out;
    std::fprintf(
        out,
        "Types of variables: \n   1 only quantitative variables, same units \n   2 only quantitative variables, different units \n   3 only qualitative, non binary variables\n   4 only binary variables\n   5 several types \n");
    std::fprintf(out, "Type option no.: ");
    s.optEnvVarType = AskOption("1 2 3 4 5");
    s.temEnvQuant = s.temEnvQual = s.temEnvBin = 0;
    switch (s.optEnvVarType) {
    case 1:
    case 2:
        std::fill_n(s.envVarType, s.nenv, 3);
        s.temEnvQuant = 1;
        break;
    case 3:
        std::fill_n(s.envVarType, s.nenv, 2);
        s.temEnvQual = 1;
        break;
    case 4:
        std::fill_n(s.envVarType, s.nenv, 1);
        s.temEnvBin = 1;
        break;
    default: AskMixedTypes();
    }
}

/// The names nan and inf are words like any other: E must hold numbers.
void RefuseWord(RawFile& file)
{
    InputStream& stream = *file.stream;
    int next = stream.Get();
    while (next == ' ' || (next >= '\t' && next <= '\r')) next = stream.Get();
    const bool hasSign = next == '+' || next == '-';
    const int first = hasSign ? stream.Get() : next;
    const bool isWord = first > 0 && std::strchr("iInN", first) != nullptr;
    if (hasSign) stream.Unget(first);
    stream.Unget(next);
    int unread = 0;
    if (isWord) freadck(stream, unread, file.name); // no integer stands here: complaint, code 2
}

void ReadE(RawFile& file, bool byVariables)
{
    Session& s = session;
    const int rows = byVariables ? s.nenv : s.ncsm;
    const int columns = byVariables ? s.ncsm : s.nenv;
    for (int i = 0; i < rows; i++)
        for (int k = 0; k < columns; k++) {
            RefuseWord(file);
            freadck(*file.stream, byVariables ? s.env[k][i] : s.env[i][k], file.name);
        }
}

void WarnOfE()
{
    // Deliberate: one warning for each missing value before the first that is present, whatever
    // follows it. The dialogues that users have recorded have it so.
    for (int i = 0; i < session.ncsm; i++)
        for (int k = 0; k < session.nenv; k++) {
            if (!IsMissing(session.env[i][k])) break;
            std::fprintf(
                console.out,
                "\nPlease check matrix E. Sampling unit %s has all values missing (-999), which will generate unreliable results.",
                session.reLabel[i]);
        }
}

void AllocateVariables()
{
    Session& s = session;
    s.allocatedVariables = s.nenv;
    s.env = dim2Double(s.ncsm, s.nenv);
    s.envLabel = dim2Dchar(s.nenv, labelSize);
    s.envVarType = dim1Dint(s.nenv);
}

bool AskByVariables()
{
    if (session.nenv <= 1) return true;
    std::fprintf(console.out, "Data entered by communities(N) or by variables(T)?: ");
    return ReadCharIn("n t") == 't';
}

} // namespace

void SpecifyEnvironment(RawFile& file)
{
    if (!file.IsGiven()) return;
    Session& s = session;
    PrintRule();
    s.nenv = AskCount("Number of environmental variables: ");
    std::strcpy(s.envName, file.name);
    AllocateVariables();
    const bool labelsInFile = AskLabelsInFile(file, "Labels for environmental variables: \n",
                                              "   1  given by default\n");
    AskVariableTypes();
    ReadE(file, AskByVariables());
    for (int k = 0; labelsInFile && k < s.nenv; k++)
        freadckWord(*file.stream, s.envLabel[k], labelSize, file.name);
    if (!labelsInFile) NumberLabels(s.nenv, s.envLabel, labelSize);
    file.Finish();
    WarnOfE();
}
