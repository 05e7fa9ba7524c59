// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/prompts.hpp"

#include <algorithm>
#include <cinttypes>
#include <cstdlib>
#include <cstring>
#include <string>

#include "shell/complaint.hpp"
#include "shell/console.hpp"
#include "shell/files.hpp"
#include "shell/scanners.hpp"

namespace {

const int fileNameLength = 51;

bool MacroMode()
{
    return console.createMacro || console.runMacro;
}

std::uint64_t ToUnsigned(double value)
{
    if (!(value > 0.0)) return 0;
    if (value >= 18446744073709551615.0) return UINT64_MAX;
    return static_cast<std::uint64_t>(value);
}

// The formats come from the callers of the prompts, who pass literals; the conversion put in here
// is always the one that the value has.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"

/// Copies a number to the macro in the caller's format. Its first d, f, g, l or u decides: an
/// int, a float, an unsigned number, or the double as it stands.
void RecordNumber(const char* format, double value)
{
    const char* letter = std::strpbrk(format, "dfglu");
    if (letter == nullptr) return;
    const std::string before(format, letter);
    const char* rest = *letter == 'l' ? letter + 1 : letter;
    const std::string after = *rest == '\0' ? rest : rest + 1;
    if (*letter == 'd')
        std::fprintf(console.outm, format, ToInt(value));
    else if (*rest == 'u' || *rest == 'd')
        std::fprintf(console.outm, (before + PRIu64 + after).c_str(), ToUnsigned(value));
    else if (*letter == 'f')
        std::fprintf(console.outm, format, static_cast<double>(static_cast<float>(value)));
    else
        std::fprintf(console.outm, format, value);
}

void RecordWord(const char* format, const char* word)
{
    std::fprintf(console.outm, format, word);
}

#pragma GCC diagnostic pop

/// Width of a format like "%4s "; 0 if it has none.
int FieldWidth(const char* format)
{
    const char* digits = format + std::strspn(format, "%-");
    return static_cast<int>(std::strtol(digits, nullptr, 10));
}

/// True if the row is to come from a file.
bool WantsFile()
{
    std::fprintf(console.out, "Read input from file (f) or from the keyboard (k)? f/k ");
    const int answer = ScanChar(StandardInput(), "f k", "keyboard");
    std::fprintf(console.out, "\n");
    return answer == 'f';
}

bool IsConfirmed()
{
    std::printf("Are these correct? y/n ");
    return ScanChar(StandardInput(), "y n", "input") != 'n';
}

/// The frame of both rows. `fromFile` asks for the file's name, reads the open file and shows the
/// row; `byHand` asks and reads. Either returns false to give the row up.
template <typename AskName, typename FromFile, typename ByHand, typename Record>
int ReadRow(AskName askName, FromFile fromFile, ByHand byHand, Record record)
{
    Patience patience;
    for (;;) {
        bool isRead = false;
        if (!console.runMacro && WantsFile()) {
            askName();
            char name[fileNameLength + 1] = "";
            ScanString(StandardInput(), fileNameLength, name, nullptr, 1, "keyboard");
            InputStream file(fopenck(name, nullptr, "r"));
            isRead = file.IsOpen() && fromFile(file, name);
        } else {
            isRead = byHand();
        }
        if (!isRead) {
            std::fprintf(console.out, "\n");
            if (console.runMacro) patience.Pause(); // a macro that was cut short retries for ever
        } else if (console.runMacro || IsConfirmed()) {
            break;
        }
    }
    if (MacroMode()) {
        record();
        std::fprintf(console.outm, "\n");
    }
    return 1;
}

void PrintRow(std::FILE* stream, int n, char** labels)
{
    for (int i = 0; i < n; i++) std::fprintf(stream, "%s\t", labels[i]);
}

void PrintRow(std::FILE* stream, int n, const int* numbers)
{
    for (int i = 0; i < n; i++) std::fprintf(stream, "%d\t", numbers[i]);
}

/// n words through the shared buffer of typed words.
///
/// Deliberate: the read is not checked, so a file with fewer words repeats its last word in the
/// rest of the labels; a file without words gives its own name, the last word typed, to all.
void ReadLabels(InputStream& file, int n, int maxLength, char** labels)
{
    for (int i = 0; i < n; i++) {
        TryReadWord(file, console.tempName, sizeof console.tempName);
        std::strncpy(labels[i], console.tempName, static_cast<std::size_t>(maxLength));
        labels[i][maxLength] = '\0';
    }
}

/// n numbers, truncated; false at the number -1, which gives the row up.
bool ReadNumbers(InputStream& stream, int n, int* numbers, const char* name, const char* accept)
{
    for (int i = 0; i < n; i++) {
        numbers[i] = ToInt(ScanNumber(stream, name, accept));
        if (numbers[i] == -1) return false;
    }
    return true;
}

} // namespace

int ReadCharIn(const char* accepted)
{
    const int answer = ScanChar(*console.in, accepted, "input");
    if (MacroMode()) std::fprintf(console.outm, "%c\n", answer);
    return answer;
}

double ReadNumberIn(const char* macroFormat, const char* accept, double lo, double hi)
{
    const double number = ScanNumber(*console.in, "input", accept, lo, hi);
    if (MacroMode()) RecordNumber(macroFormat, number);
    return number;
}

int AskOption(const char* accepted) { return ToInt(ReadNumberIn("%d\n", accepted)); }

void ReadSelection(int n, int* selected)
{
    for (int i = 0; i < n; i++) selected[i] = ToInt(ReadNumberIn("%-3d", "0 1"));
    if (MacroMode()) std::fputs("\n", console.outm);
}

int AskNumber(const char* macroFormat, double lowest, double highest)
{
    return ToInt(ReadNumberIn(macroFormat, "-", lowest, highest));
}

int AskCount(const char* prompt, double highest)
{
    std::fprintf(console.out, "%s", prompt);
    return AskNumber("%d\n", 1.0, highest);
}

void ReadStringIn(const char* macroFormat, char* destination, int size)
{
    const int width = std::min(FieldWidth(macroFormat), size - 1);
    if (width <= 0)
        freadckWord(*console.in, destination, size, "input");
    else
        freadckPart(*console.in, destination, width, "input");
    if (MacroMode()) RecordWord(macroFormat, destination);
}

void ReadLineIn(char* destination, int maxLength)
{
    freadlineck(*console.in, maxLength, destination, "input");
    if (MacroMode()) std::fprintf(console.outm, "%s\n", destination);
}

int ReadLongInput(int n, int maxLength, char** labels, const char* what)
{
    const auto askName = [] {
        std::fprintf(console.out, "Enter name of file containing the labels: ");
    };
    const auto fromFile = [&](InputStream& file, const char* name) {
        ReadLabels(file, n, maxLength, labels);
        if (!IsPlainText(file, name)) return false;
        std::fprintf(console.out, "%s:\t", what);
        PrintRow(console.out, n, labels);
        std::fprintf(console.out, "\n");
        return true;
    };
    const auto byHand = [&] {
        std::fprintf(console.out, "Enter %s:\t", what);
        for (int i = 0; i < n; i++)
            if (ScanString(*console.in, maxLength, labels[i], nullptr, 1, "input") == nullptr)
                return false;
        return true;
    };
    return ReadRow(askName, fromFile, byHand, [&] { PrintRow(console.outm, n, labels); });
}

int ReadLongInput(int n, int* numbers, const char* what, const char* accept)
{
    const auto askName = [&] {
        std::fprintf(console.out, "Enter name of file containing %s: ", what);
    };
    const auto fromFile = [&](InputStream& file, const char* name) {
        const bool isComplete = ReadNumbers(file, n, numbers, name, accept);
        if (!IsPlainText(file, name)) return false;
        std::fprintf(console.out, "%s:\t", what);
        PrintRow(console.out, n, numbers);
        std::fprintf(console.out, "\n");
        return isComplete;
    };
    const auto byHand = [&] {
        std::fprintf(console.out, "Enter %s: \t", what);
        return ReadNumbers(*console.in, n, numbers, "keyboard", accept);
    };
    return ReadRow(askName, fromFile, byHand, [&] { PrintRow(console.outm, n, numbers); });
}
