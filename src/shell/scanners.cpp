// SPDX-License-Identifier: GPL-3.0-or-later
#include "shell/scanners.hpp"

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <string>

#include "shell/complaint.hpp"
#include "shell/console.hpp"
#include "shell/failure.hpp"

namespace {

// Only ASCII counts, whatever the locale: bytes above 127 belong to names and pass unchanged.
bool IsWhite(int c) { return c == ' ' || (c >= '\t' && c <= '\r'); }
bool IsDigit(int c) { return c >= '0' && c <= '9'; }
bool IsLetter(int c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
bool IsControl(int c) { return (c >= 0 && c < 32) || c == 127; }
int Lower(int c) { return c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c; }
char Upper(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }

void SkipWhite(InputStream& stream)
{
    int c = stream.Get();
    while (IsWhite(c)) c = stream.Get();
    stream.Unget(c);
}

/// Gives back what stands in `text` from position `from` on.
void GiveBack(InputStream& stream, const std::string& text, std::size_t from)
{
    for (std::size_t i = text.size(); i > from; i--)
        stream.Unget(static_cast<unsigned char>(text[i - 1]));
}

[[noreturn]] void EndOfCheckedRead(InputStream& stream, const char* name)
{
    stream.Close();
    if (IsPlainText(stream, name)) Complain("\nfile %s ", name);
    Bell();
    Fail(endOfFile);
}

/// Says once per stream that it has ended: a short matrix is one mistake, however many of its
/// cells are missing.
void AnnounceEnd(InputStream& stream, const char* name)
{
    stream.Close();
    if (stream.endAnnounced) return;
    stream.endAnnounced = true;
    Complain("\nEnd of file %s\n", name);
    Bell();
}

/// Takes digits off the stream into `text`; returns how many.
std::size_t TakeDigits(InputStream& stream, std::string& text)
{
    const std::size_t before = text.size();
    int c = stream.Get();
    for (; IsDigit(c); c = stream.Get()) text += static_cast<char>(c);
    stream.Unget(c);
    return text.size() - before;
}

/// Takes the next character if it is one of two.
bool TakeEither(InputStream& stream, std::string& text, char one, char other)
{
    const int c = stream.Get();
    if (c == one || c == other) {
        text += static_cast<char>(c);
        return true;
    }
    stream.Unget(c);
    return false;
}

/// The longest decimal number that stands next; nothing is taken if there is none. The C
/// library's own scan would swallow the beginning of a word like "NA" or "inf" with it.
bool TakeDecimal(InputStream& stream, std::string& text)
{
    TakeEither(stream, text, '+', '-');
    std::size_t nDigits = TakeDigits(stream, text);
    if (TakeEither(stream, text, '.', '.')) nDigits += TakeDigits(stream, text);
    if (nDigits == 0) {
        GiveBack(stream, text, 0);
        return false;
    }
    const std::size_t mantissa = text.size();
    if (TakeEither(stream, text, 'e', 'E')) {
        TakeEither(stream, text, '+', '-');
        if (TakeDigits(stream, text) == 0) GiveBack(stream, text, mantissa); // "5.e": 5, a letter
    }
    return true;
}

/// An optional sign and digits; nothing is taken if they do not stand next.
bool TakeInteger(InputStream& stream, std::string& text)
{
    TakeEither(stream, text, '+', '-');
    if (TakeDigits(stream, text) > 0) return true;
    GiveBack(stream, text, 0);
    return false;
}

int ClampToInt(const std::string& digits)
{
    const long value = std::strtol(digits.c_str(), nullptr, 10); // clamps to the range of long
    return static_cast<int>(std::clamp<long>(value, INT_MIN, INT_MAX));
}

/// Drops characters until `take` finds what it looks for; false at end of file.
bool Forgive(InputStream& stream, std::string& text, bool (*take)(InputStream&, std::string&),
             const char* name)
{
    for (;;) {
        SkipWhite(stream);
        if (take(stream, text)) return true;
        text.clear();
        if (stream.Get() == EOF) {
            AnnounceEnd(stream, name);
            return false;
        }
    }
}

/// True if `number` equals an entry of a list like "1 2 3".
bool IsListed(double number, const char* list)
{
    for (;;) {
        char* end = nullptr;
        const double entry = std::strtod(list, &end);
        if (end == list) return false; // nothing but blanks is left
        if (entry == number) return true;
        list = end;
    }
}

/// True if the word is one of the alternatives, which stand between slashes.
bool IsAlternative(const char* word, const char* alternatives, bool caseSensitive)
{
    const std::string all = alternatives;
    for (std::size_t start = 0; start <= all.size();) {
        const std::size_t end = std::min(all.find('/', start), all.size());
        const std::string alternative = all.substr(start, end - start);
        const int difference = caseSensitive ? std::strcmp(word, alternative.c_str())
                                             : StrCmp(word, alternative.c_str());
        if (difference == 0) return true;
        start = end + 1;
    }
    return false;
}

bool IsAcceptedCharacter(int lowered, const char* accepted)
{
    if (lowered == ' ' || lowered == 0) return false;
    for (const char* a = accepted; *a != '\0'; a++)
        if (Lower(static_cast<unsigned char>(*a)) == lowered) return true;
    return false;
}

void ReadLine(InputStream& stream, int maxLength, char* destination, const char* name,
              bool tabEndsLine)
{
    int c = stream.Get();
    while (c == '\t' || c == '\n' || c == '\r' || c == ' ') c = stream.Get();
    stream.Unget(c);
    destination[0] = '\0';
    if (maxLength <= 0) return;
    if (c == EOF) EndOfCheckedRead(stream, name);

    int length = 0;
    while (length < maxLength) { // a longer line leaves its rest in the stream
        c = stream.Get();
        if (c == EOF || c == '\n' || c == '\r' || (c == '\t' && tabEndsLine)) break;
        destination[length++] = c == '\t' ? ' ' : static_cast<char>(c);
    }
    destination[length] = '\0';
}

} // namespace

bool IsPlainText(const InputStream& stream, const char* name)
{
    if (stream.nulLine == 0) return true;
    Complain("\nfile %s line %ld: NUL byte; save it as plain text, not as UTF-16\n", name,
             stream.nulLine);
    return false;
}

void CheckPlainText(InputStream& stream, const char* name)
{
    if (stream.nulLine != 0) EndOfCheckedRead(stream, name);
}

bool HasNumberLeft(InputStream& stream)
{
    bool atStart = true;
    for (int c = stream.Get(); c != EOF; c = stream.Get()) {
        std::string number;
        if (atStart && !IsWhite(c)) {
            stream.Unget(c);
            if (TakeDecimal(stream, number)) return true; // or else the character comes again
        }
        atStart = IsWhite(c);
    }
    return false;
}

bool TryRead(InputStream& stream, int& value)
{
    std::string text;
    SkipWhite(stream);
    if (!TakeInteger(stream, text)) return false;
    value = ClampToInt(text);
    return true;
}

bool TryRead(InputStream& stream, double& value)
{
    // Whatever strtod could take: decimal and hexadecimal digits, inf, nan(...).
    const auto mayBelong = [](int c) {
        return IsDigit(c) || IsLetter(c) || (c > 0 && std::strchr("+-.()_", c) != nullptr);
    };
    std::string text;
    SkipWhite(stream);
    int c = stream.Get();
    for (; mayBelong(c); c = stream.Get()) text += static_cast<char>(c);
    stream.Unget(c);

    char* end = nullptr;
    const double read = std::strtod(text.c_str(), &end);
    const std::size_t used = static_cast<std::size_t>(end - text.c_str());
    GiveBack(stream, text, used);
    if (used == 0) return false;
    value = read;
    return true;
}

bool TryReadWord(InputStream& stream, char* word, int size)
{
    SkipWhite(stream);
    int c = stream.Get();
    if (c == EOF) return false;
    int length = 0;
    for (; c != EOF && !IsWhite(c); c = stream.Get())
        if (length < size - 1) word[length++] = static_cast<char>(c);
    stream.Unget(c);
    word[length] = '\0';
    return true;
}

void freadck(InputStream& stream, int& value, const char* name)
{
    if (!TryRead(stream, value)) EndOfCheckedRead(stream, name);
}

void freadck(InputStream& stream, double& value, const char* name)
{
    if (!TryRead(stream, value)) EndOfCheckedRead(stream, name);
}

void freadck(InputStream& stream, float& value, const char* name)
{
    double read = 0.0;
    freadck(stream, read, name);
    value = static_cast<float>(read);
}

void freadckWord(InputStream& stream, char* word, int size, const char* name)
{
    if (!TryReadWord(stream, word, size)) EndOfCheckedRead(stream, name);
}

void freadckPart(InputStream& stream, char* word, int width, const char* name)
{
    SkipWhite(stream);
    int length = 0;
    int c = stream.Get();
    if (c == EOF) EndOfCheckedRead(stream, name);
    for (; c != EOF && !IsWhite(c) && length < width; c = stream.Get())
        word[length++] = static_cast<char>(c);
    stream.Unget(c);
    word[length] = '\0';
}

bool freadck1(InputStream& stream, double& value, const char* name)
{
    std::string text;
    if (!Forgive(stream, text, TakeDecimal, name)) return false;
    value = std::strtod(text.c_str(), nullptr);
    return true;
}

bool freadck1(InputStream& stream, int& value, const char* name)
{
    std::string text;
    if (!Forgive(stream, text, TakeInteger, name)) return false;
    value = ClampToInt(text);
    return true;
}

bool freadck1Word(InputStream& stream, char* word, int size, const char* name)
{
    if (TryReadWord(stream, word, size)) return true;
    AnnounceEnd(stream, name);
    return false;
}

int ScanChar(InputStream& stream, const char* accepted, const char* name)
{
    const bool any = accepted == nullptr || accepted[0] == '\0';
    for (;;) {
        const int c = Lower(stream.Get());
        if (c == EOF) {
            stream.Close();
            Complain("\nfile %s ", name);
            Fail(endOfFile);
        }
        if (any) {
            if (c != ' ' && c != '\t' && c != '\n') return c;
        } else if (IsAcceptedCharacter(c, accepted)) {
            return c;
        } else if (c != ' ' && !IsControl(c)) {
            Bell();
            Complain("\nIncorrect input = %c. Reenter.\n", c);
            Complain("Accepted input: %s\n", accepted);
        }
    }
}

double ScanNumber(InputStream& stream, const char* name, const char* accept, double lo, double hi)
{
    double number = 0.0;
    if (accept == nullptr) {
        freadck1(stream, number, name);
        return number;
    }
    const bool isRange = accept[0] == '-';
    Patience patience;
    for (;;) {
        while (!freadck1(stream, number, name)) { // Deliberate: no way out at end of file
            Bell();
            std::fflush(stdout);
            patience.Pause();
        }
        if (accept[0] == '\0') return number;
        if (isRange ? lo <= number && number <= hi : IsListed(number, accept)) return number;
        Bell();
        Complain("\nIncorrect input = %g. Reenter.\n", number);
        if (isRange)
            Complain("Accepted input: %g to %g\n", lo, hi);
        else
            Complain("Accepted input: %s\n", accept);
    }
}

char* ScanString(InputStream& stream, int maxLength, char* destination, const char* accepted,
                 int caseSensitive, const char* name)
{
    char* const word = console.tempName;
    if (!freadck1Word(stream, word, sizeof console.tempName, name)) return nullptr;
    const std::size_t room = static_cast<std::size_t>(std::max(maxLength, 0));
    const std::size_t length = std::min(std::strlen(word), room);
    std::memcpy(destination, word, length);
    destination[length] = '\0';
    if (accepted == nullptr || accepted[0] == '\0') return destination;
    if (IsAlternative(word, accepted, caseSensitive != 0)) return destination;
    Bell();
    Complain("\nIncorrect input = %s. Reenter.\n", word);
    Complain("Accepted input: %s\n", accepted);
    destination[0] = '\0';
    return nullptr;
}

void freadlineck(InputStream& stream, int maxLength, char* destination, const char* name)
{
    ReadLine(stream, maxLength, destination, name, true);
}

void freadlineckTEMP(InputStream& stream, int maxLength, char* destination, const char* name)
{
    ReadLine(stream, maxLength, destination, name, false);
}

int StrCmp(const char* a, const char* b)
{
    std::string upperA = a;
    std::string upperB = b;
    for (char& c : upperA) c = Upper(c);
    for (char& c : upperB) c = Upper(c);
    return std::strcmp(upperA.c_str(), upperB.c_str());
}

void StrToUpper(char* text)
{
    for (char* c = text; *c != '\0'; c++) *c = Upper(*c);
}

int ToInt(double value)
{
    if (std::isnan(value)) return INT_MIN;
    if (value <= INT_MIN) return INT_MIN;
    if (value >= INT_MAX) return INT_MAX;
    return static_cast<int>(value);
}
