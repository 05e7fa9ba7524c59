// SPDX-License-Identifier: GPL-3.0-or-later
#include "session/checks.hpp"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <string_view>

#include "numeric/statistics.hpp"
#include "session/session.hpp"
#include "shell/arrays.hpp"

namespace {

// Deliberate: this value counts as no state; users' earlier data sets depend on it.
constexpr double reservedState = 99999999.0;
// Performances this small are absences that arithmetic left behind.
constexpr double absent = 1e-13;
// A label of four characters and the one that the search for a free label may append.
constexpr int speciesLabelSize = 6;
constexpr int labelCharacters = 4;
constexpr int labelSteps = 2 * labelCharacters + speciesLabelSize - 1;

char UpperAscii(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }

bool Marked(char mark) { return mark == '1'; }

/// Drops species b of the list and, by shifting columns, of cstSppMap; its name goes to the end.
void DropSpecies(int b)
{
    Session& s = session;
    const int last = s.nSpp - 1;
    std::rotate(s.spp + b, s.spp + b + 1, s.spp + s.nSpp);
    for (int i = 0; i < s.tcst; i++)
        for (int k = b; k < last; k++) s.cstSppMap[i][k] = s.cstSppMap[i][k + 1];
    s.nSpp = last;
}

/// First two characters of the name and two more from the first word that starts at the fourth
/// character or later; a name of one word gives two characters.
void MakeLabel(const char* name, char* label)
{
    std::memset(label, 0, speciesLabelSize);
    const std::size_t length = std::strlen(name);
    std::memcpy(label, name, std::min<std::size_t>(2, length));
    for (std::size_t k = 3; k < length; k++)
        if (name[k] != ' ' && name[k - 1] == ' ') {
            std::strncat(label, name + k, 2);
            return;
        }
}

/// Step k of the search for a label that no earlier species has.
void ChangeLabel(char* label, int k)
{
    if (k < labelCharacters) {
        label[k] = UpperAscii(label[k]);
    } else if (k >= 2 * labelCharacters) {
        // Deliberate: after all four characters the step goes on to the place behind them, and the
        // longer label equals no four characters. Users' earlier species lists depend on it.
        char& character = label[k - 2 * labelCharacters];
        character = static_cast<char>(static_cast<unsigned char>(character) + 1);
    } // Deliberate: steps 4 to 7 would upper-case the same characters again, so they do nothing.
}

void PutLabelBefore(char* name, const char* label)
{
    // The name as stored, label and blank included, has room for 70 characters.
    const std::size_t room = speciesNameSize - 2 - std::strlen(label);
    char labelled[speciesNameSize];
    std::snprintf(labelled, sizeof labelled, "%s %.*s", label,
                  static_cast<int>(std::min<std::size_t>(65, room)), name);
    std::strcpy(name, labelled);
}

void LabelSpecies()
{
    for (int a = 0; a < session.nSpp; a++) {
        char label[speciesLabelSize];
        MakeLabel(session.spp[a], label);
        int k = 0;
        while (k < labelSteps && CheckIdenticalLabels(label, session.spp, a) == 1)
            ChangeLabel(label, k++);
        PutLabelBefore(session.spp[a], label);
    }
}

bool IsEmptyOTU(const double* performances)
{
    return std::all_of(performances, performances + session.ncsm,
                       [](double w) { return std::fabs(w) <= absent; });
}

/// Puts what belongs to OTUs in the given order. F and the phylogeny variables describe the same
/// OTUs, so they follow.
void ReorderOTUs(int n, const int* order)
{
    Session& s = session;
    OwnedInts rank(n); // place that the row now at a place is to take
    for (int i = 0; i < n; i++) rank[order[i]] = i;
    for (int i = 0; i < n; i++)
        while (rank[i] != i) {
            const int k = rank[i];
            std::swap(s.csm_Float[i], s.csm_Float[k]);
            std::swap(s.cadat[i], s.cadat[k]);
            if (s.nSpp > 0) std::swap(s.cstSppMap[i], s.cstSppMap[k]);
            if (s.phylogenyRese != nullptr) std::swap(s.phylogenyRese[i], s.phylogenyRese[k]);
            if (s.phylogenyData != nullptr) std::swap(s.phylogenyData[i], s.phylogenyData[k]);
            std::swap(rank[i], rank[k]);
        }
    if (s.phylogenyRese == nullptr) return;
    OwnedVector row(n);
    for (int i = 0; i < n; i++) {
        std::copy_n(s.phylogenyRese[i], n, static_cast<double*>(row));
        for (int k = 0; k < n; k++) s.phylogenyRese[i][k] = row[order[k]];
    }
}

/// Moves OTUs that are absent everywhere behind the others, the last one met first, and lowers
/// tcst; those that stay keep their order.
void DropEmptyOTUs()
{
    Session& s = session;
    OwnedInts order(s.tcst);
    int nKept = 0;
    int firstDropped = s.tcst;
    for (int i = 0; i < s.tcst; i++) {
        if (IsEmptyOTU(s.cadat[i]))
            order[--firstDropped] = i;
        else
            order[nKept++] = i;
    }
    if (nKept == s.tcst) return;
    ReorderOTUs(s.tcst, order);
    s.tcst = nKept;
}

void CountOTUs()
{
    Session& s = session;
    s.emptyReleves = 0;
    for (int j = 0; j < s.ncsm; j++) {
        s.ncst[j] = 0;
        for (int i = 0; i < s.tcst; i++)
            if (s.cadat[i][j] != 0.0) s.ncst[j]++;
        if (s.ncst[j] == 0) s.emptyReleves++;
    }
}

bool AnyOTUMarks(int species, int nOTUs)
{
    for (int i = 0; i < nOTUs; i++)
        if (Marked(session.cstSppMap[i][species])) return true;
    return false;
}

bool AnyCommunityMarks(int species)
{
    const char* marks = session.sppRelMap[species];
    return std::any_of(marks, marks + session.ncsm, Marked);
}

/// Moves the species that `keep` refuses behind the others and lowers nSpp; those that stay keep
/// their order.
template <typename Keep>
void DropSpeciesUnless(int nOTUs, Keep keep)
{
    Session& s = session;
    int nKept = 0;
    for (int a = 0; a < s.nSpp; a++) {
        if (!keep(a)) continue;
        std::swap(s.spp[nKept], s.spp[a]);
        std::swap(s.sppRelMap[nKept], s.sppRelMap[a]);
        for (int i = 0; i < nOTUs; i++) std::swap(s.cstSppMap[i][nKept], s.cstSppMap[i][a]);
        nKept++;
    }
    s.nSpp = nKept;
}

bool ShareCommunity(int otu, int species)
{
    for (int j = 0; j < session.ncsm; j++)
        if (session.cadat[otu][j] != 0.0 && Marked(session.sppRelMap[species][j])) return true;
    return false;
}

} // namespace

void CheckSpecies(int option)
{
    Session& s = session;
    for (int i = 0; i < s.tcst; i++)
        for (int k = 0; k < s.tcst; k++) s.cstSppMap[i][k] = i == k ? '1' : '0';
    s.nSpp = s.tcst;
    for (int a = 0; a < s.nSpp; a++)
        for (int b = a + 1; b < s.nSpp;) {
            if (std::strcmp(s.spp[a], s.spp[b]) != 0) {
                b++;
                continue;
            }
            for (int i = 0; i < s.tcst; i++)
                if (Marked(s.cstSppMap[i][b])) s.cstSppMap[i][a] = '1';
            DropSpecies(b);
        }
    if (option == 2) LabelSpecies();
}

int CheckIdenticalLabels(const char* label, char** names, int count)
{
    for (int a = 0; a < count; a++) {
        const std::string_view start(names[a],
                                     std::min<std::size_t>(labelCharacters, std::strlen(names[a])));
        if (start == label) return 1;
    }
    return 0;
}

void SpeciesReleveMap()
{
    Session& s = session;
    for (int a = 0; a < s.nSpp; a++)
        for (int i = 0; i < s.tcst; i++) {
            if (!Marked(s.cstSppMap[i][a])) continue;
            for (int j = 0; j < s.ncsm; j++) {
                char& mark = s.sppRelMap[a][j];
                mark = s.cadat[i][j] != 0.0 || Marked(mark) ? '1' : '0';
            }
        }
}

void CountStates(int nTraits, int nOTUs, int* counts, double** matrix)
{
    OwnedVector states(nOTUs);
    for (int j = 0; j < nTraits; j++) {
        int nStates = 0;
        counts[j] = 0;
        for (int i = 0; i < nOTUs; i++) {
            const double value = matrix[i][j];
            if (std::isnan(value))
                counts[j]++; // equals nothing, not even another one
            else if (!IsMissing(value) && value != reservedState)
                states[nStates++] = value;
        }
        double* const first = states;
        std::sort(first, first + nStates);
        counts[j] += static_cast<int>(std::unique(first, first + nStates) - first);
    }
}

void RangeStates(int nTraits, int nOTUs, double** matrix, const int* types, double* ranges)
{
    for (int j = 0; j < nTraits; j++) {
        if (types[j] != 3) continue;
        double largest = -std::numeric_limits<double>::infinity();
        double smallest = std::numeric_limits<double>::infinity();
        for (int i = 0; i < nOTUs; i++) {
            const double value = matrix[i][j];
            if (IsMissing(value)) continue;
            if (value > largest) largest = value;
            if (value < smallest) smallest = value;
        }
        ranges[j] = largest >= smallest ? largest - smallest : 0.0;
    }
}

void CheckData(int recount)
{
    Session& s = session;
    DropEmptyOTUs();
    if (s.nSpp > 0) {
        CheckSpeciesMerge();
        CheckCSTsSameSpecies();
    }
    CountOTUs();
    if (recount == 1) CountStates(s.nch, s.tcst, s.onsta, s.csm_Float);
    RangeStates(s.nch, s.tcst, s.csm_Float, s.chtype, s.chrange);
    if (s.nSpp > 0) TrimSpecies(s.tcst);
}

void CheckSpeciesMerge()
{
    Session& s = session;
    // Deliberate: only one step of shifting is done, so unless b is the last but one, the species
    // after it stands twice (the second time under b's name) and the last one falls off the list;
    // and the last name is never looked at as b. Users' earlier merged data depend on it.
    for (int a = 0; a < s.nSpp; a++)
        for (int b = a + 1; b < s.nSpp - 1; b++) {
            if (std::strcmp(s.spp[a], s.spp[b]) != 0) continue;
            std::swap(s.spp[b], s.spp[b + 1]);
            for (int i = 0; i < s.tcst; i++) {
                if (Marked(s.cstSppMap[i][b])) s.cstSppMap[i][a] = '1';
                s.cstSppMap[i][b] = s.cstSppMap[i][b + 1];
            }
            for (int j = 0; j < s.ncsm; j++) {
                if (Marked(s.sppRelMap[b][j])) s.sppRelMap[a][j] = '1';
                s.sppRelMap[b][j] = s.sppRelMap[b + 1][j];
            }
            s.nSpp--;
        }
}

void CheckCSTsSameSpecies()
{
    Session& s = session;
    int code = s.nch - 1;
    while (code >= 0 && std::strcmp(s.chLabel[code], "sp") != 0) code--;
    if (code < 0) return;
    // An OTU takes the number of the nearest OTU before it with which it shares a species, which
    // has its final number by then; without one it has its own position.
    OwnedInts lastOf(s.nSpp);
    std::fill_n(static_cast<int*>(lastOf), s.nSpp, -1);
    for (int i = 0; i < s.tcst; i++) {
        int nearest = -1;
        for (int a = 0; a < s.nSpp; a++) {
            if (!Marked(s.cstSppMap[i][a])) continue;
            nearest = std::max(nearest, lastOf[a]);
            lastOf[a] = i;
        }
        s.csm_Float[i][code] = nearest < 0 ? i : s.csm_Float[nearest][code];
    }
}

void TrimSpecies(int nOTUs)
{
    Session& s = session;
    DropSpeciesUnless(nOTUs, [nOTUs](int species) { return AnyOTUMarks(species, nOTUs); });
    DropSpeciesUnless(nOTUs, AnyCommunityMarks);
    for (int i = 0; i < nOTUs; i++)
        for (int a = 0; a < s.nSpp; a++)
            if (Marked(s.cstSppMap[i][a]) && !ShareCommunity(i, a)) s.cstSppMap[i][a] = '0';
    for (int a = s.nSpp; a < s.allocatedSpecies; a++) {
        free1D(s.spp[a]);
        free1D(s.sppRelMap[a]);
        s.spp[a] = s.sppRelMap[a] = nullptr;
    }
}
