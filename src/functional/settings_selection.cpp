// SPDX-License-Identifier: GPL-3.0-or-later
#include "functional/settings_selection.hpp"

#include <cstdio>

#include "numeric/statistics.hpp"
#include "session/session.hpp"
#include "shell/arrays.hpp"
#include "shell/console.hpp"
#include "shell/files.hpp"
#include "shell/prompts.hpp"
#include "shell/scanners.hpp"

namespace {

int FileOrKeyboard()
{
    return ScanChar(*console.in, "f k", "keyboard");
}

void SayLabels(int n, char** labels)
{
    for (int i = 0; i < n; i++) std::fprintf(console.out, "%s ", labels[i]);
    Say("\n");
}

// --- Types of OTUs

bool AskTypesAreSpecies()
{
    if (session.nSpp <= 0) return false;
    Say("Wish to use as OTUs types the species specified in the session's formatted file? y/n ");
    return YesFromKeyboard();
}

/// An OTU of several species is of the last one.
void TakeSpeciesAsTypes()
{
    for (int i = 0; i < session.tcst; i++)
        for (int species = 0; species < session.nSpp; species++)
            if (session.cstSppMap[i][species] == '1') session.partition_OTUs[i] = species + 1;
}

void ReadTypesFromKeyboard()
{
    Say("Enter the group of each OTU:\n");
    Say("OTU:    ");
    for (int i = 1; i <= session.tcst; i++) std::fprintf(console.out, "\t%d", i);
    Say("\nGroups: ");
    for (int i = 0; i < session.tcst; i++)
        session.partition_OTUs[i] = ToInt(ScanNumber(*console.in, "teclado", nullptr));
}

/// False if the file cannot be opened. A file that ends early leaves the rest of the types as they
/// were.
bool ReadTypesFromFile()
{
    char name[membershipFileNameSize];
    Say("Enter name of file containing group memberships: ");
    ReadStringIn("%s\n", name, membershipFileNameSize);
    InputStream file(fopenck(name, nullptr, "r"));
    if (!file.IsOpen()) return false;
    int i = 0;
    while (i < session.tcst && freadck1(file, session.partition_OTUs[i], name)) i++;
    return true;
}

void ReadTypes()
{
    for (;;) {
        Say("Read group memberships from file (f) or from the keyboard (k)? f/k ");
        if (FileOrKeyboard() == 'k') {
            ReadTypesFromKeyboard();
            return;
        }
        if (ReadTypesFromFile()) return;
    }
}

void EachOtuIsItsOwnType()
{
    for (int i = 0; i < session.tcst; i++) session.partition_OTUs[i] = i + 1;
}

// --- Variables, traits and OTUs in use

void AskTraits(int* selected)
{
    for (int t = 0; t < session.nch; t++) selected[t] = 1;
    Say("\nTraits in matrix B to be used in the analysis:\n");
    Say("   1  all traits \n");
    Say("   2  select traits \n");
    if (OptionNumber("1 2") == 2) {
        Say("Select traits:\n");
        Say("(enter 0 for exclusion or 1 for inclusion)\n");
        SayLabels(session.nch, session.chLabel);
        ReadSelection(session.nch, selected);
    }
    for (int t = 0; t < session.nch; t++) session.weight[t] = selected[t] == 1 ? 1.0 : 0.0;
}

/// A group of traits that say much the same weighs as much as a single trait.
void WeightByGroups(int* selected)
{
    const int nTraits = session.nch;
    OwnedInts groups(nTraits);
    int nGroups = 0;
    CountGroupsSelect(nTraits, session.traitGroups, selected, &nGroups, groups);
    for (int g = 0; g < nGroups; g++) {
        int groupSize = 0;
        for (int t = 0; t < nTraits; t++)
            if (session.traitGroups[t] == groups[g] && selected[t] == 1) groupSize++;
        for (int t = 0; t < nTraits; t++)
            if (session.traitGroups[t] == groups[g]) session.weight[t] /= groupSize;
    }
}

} // namespace

bool ForRanking()
{
    return session.optmain == 'K';
}

bool ForSimulator()
{
    return session.optmain == 'A';
}

bool YesFromKeyboard()
{
    return ScanChar(*console.in, "y n", "keyboard") == 'y';
}

bool Yes()
{
    return ReadCharIn("y n") == 'y';
}

int OptionNumber(const char* accept)
{
    Say("Type option no.: ");
    return AskOption(accept);
}

void AskTypes()
{
    session.OTUsTypesAreSpecies = AskTypesAreSpecies();
    if (session.OTUsTypesAreSpecies)
        TakeSpeciesAsTypes();
    else if (ForSimulator())
        EachOtuIsItsOwnType();
    else
        ReadTypes();
    CountGroupsNew(session.tcst, session.partition_OTUs, session.nGrPoly, nullptr);
}

void AskFuzziness()
{
    Say("\nFuzzy set adjustment:\n");
    Say("   0  no adjustment (crisp belonging of OTUs to types)\n");
    Say("   1  fuzzy types (fuzzy belonging of OTUs to types)\n");
    session.fuzzy = 0;
    if (OptionNumber("0 1") == 1) {
        session.fuzzy = 3;
        session.fuzziness = 1.0;
    }
}

void AskVariables()
{
    if (session.nenv <= 0) return;
    Say("\nVariables in matrix E to be considered in the analysis:\n");
    Say("   1  all variables \n");
    Say("   2  select variables \n");
    if (OptionNumber("1 2") == 1) return;
    Say("Select variables:\n");
    Say("(enter 0 for exclusion or 1 for inclusion)\n");
    SayLabels(session.nenv, session.envLabel);
    ReadSelection(session.nenv, session.eVarSelect);
}

void AskTraitWeights()
{
    OwnedInts selected(session.nch);
    AskTraits(selected);
    if (!session.hasTraitGroups) return;
    Say("Set weights for traits inversely proportional to effective trait group sizes? y/n ");
    if (Yes()) WeightByGroups(selected);
}

void AskOtus()
{
    for (int i = 0; i < session.tcst; i++) session.weight_OTUs[i] = 1;
    if (ForRanking()) return;
    Say("\nOTUs in matrix B to be used in the analysis (useful for partitioning community structure):\n");
    Say("   1  all OTUs \n");
    Say("   2  select OTUs \n");
    if (OptionNumber("1 2") == 1) return;
    std::fprintf(console.out, "Enter 0 for exclusion or 1 for inclusion for %d OTUs\n",
                 session.tcst);
    ReadSelection(session.tcst, session.weight_OTUs);
    Say("Restrict fuzzy-weighting and diversity measures to within subset of selected OTUs? y/n ");
    session.restrictRaoWithinOpt = Yes();
    Say("Despite excluding OTUs, keep the original scale in fuzzy-weighting, community weighted means and diversity measures? y/n ");
    session.keepAdditivity = !Yes();
}
