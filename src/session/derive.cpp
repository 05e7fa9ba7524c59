// SPDX-License-Identifier: GPL-3.0-or-later
#include "session/derive.hpp"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>

#include "session/checks.hpp"
#include "session/formda.hpp"
#include "session/groups.hpp"
#include "session/selection.hpp"
#include "session/session.hpp"
#include "session/track.hpp"
#include "session/transform.hpp"
#include "shell/arrays.hpp"
#include "shell/complaint.hpp"
#include "shell/console.hpp"
#include "shell/files.hpp"
#include "shell/prompts.hpp"
#include "shell/scanners.hpp"

namespace {

bool WantsToModify()
{
    std::fprintf(console.out, "   1  keep the same \n");
    std::fprintf(console.out, "   2  modify \n");
    std::fprintf(console.out, "Type option no.: ");
    return AskOption("1 2") == 2;
}

/// Asks for `count` of the n labels until each is known. The heading stands over each attempt.
List AskByLabels(const char* heading, const char* what, int count, int n, char** labels,
                 const char* complaint)
{
    const OwnedTable<char> typed(count, labelSize);
    List chosen(static_cast<std::size_t>(count));
    for (;;) {
        std::fprintf(console.out, "%s", heading);
        ReadLongInput(count, labelSize - 1, typed, what);
        if (Identify(count, typed, n, labels, chosen.data())) return chosen;
        Complain("%s", complaint);
    }
}

// --- Traits, OTUs and variables

List ChooseTraits()
{
    std::fprintf(console.out, "Traits:\n");
    if (!WantsToModify()) return All(session.nch);
    const int count = AskCount("Enter new number of traits: ", session.nch);
    return AskByLabels("Identify the traits by their labels: \n", "traits", count, session.nch,
                       session.chLabel, "\nError!! Enter again. \n");
}

List AskByPositions(int count, int n)
{
    List chosen(static_cast<std::size_t>(count));
    for (;;) {
        std::fprintf(console.out, "Identify the OTUs by their position on file: \n");
        ReadLongInput(count, chosen.data(), "OTUs", nullptr);
        if (std::all_of(chosen.begin(), chosen.end(), [n](int p) { return p >= 1 && p <= n; }))
            break;
        Complain("Error!! Enter again. \n");
    }
    for (int& position : chosen) position--; // typed from 1
    return chosen;
}

List ChooseOTUs()
{
    PrintRule();
    std::fprintf(console.out, "Populations:\n");
    if (!WantsToModify()) return All(session.tcst);
    const int count = AskCount("Enter new number of OTUs:   ", session.tcst);
    return AskByPositions(count, session.tcst);
}

List ChooseVariables()
{
    if (session.nenv == 0) return {};
    PrintRule();
    std::fprintf(console.out, "Environmental variables:\n");
    if (!WantsToModify()) return All(session.nenv);
    const int count = AskCount("Enter new number of environmental variables: ", session.nenv);
    return AskByLabels("Identify the variables by their labels: \n", "environmental variables",
                       count, session.nenv, session.envLabel, "Error!! Enter again. \n");
}

// --- Communities

int AskCommunityOption()
{
    std::FILE* out = console.out;
    std::fprintf(out, "Communities:\n");
    std::fprintf(out, "   1  keep the same \n");
    std::fprintf(out, "   2  modify \n");
    std::fprintf(out, "   3  pool according to groups \n");
    std::fprintf(out, "   4  compute change between communities\n");
    std::fprintf(
        out,
        "   5  pool for split moving-window edge detection (spatial or temporal series)\n");
    std::fprintf(out, "Type option no.: ");
    return AskOption("1 2 3 4 5");
}

/// What the option does to the variables. Notes of a single line leave the line open, but for the
/// one that the rule over the next menu follows.
void PrintNotes(int option)
{
    const Session& s = session;
    std::FILE* out = console.out;
    if (option == computeChange && s.temEnvQual != 0) {
        std::fprintf(out, "\nWarning! Change in environmental variables that are qualitative\n");
        std::fprintf(
            out, "will result in a binary variable: 1 if there is change, 0 if there is not.\n");
    }
    // Deliberate: the dialogue goes on and leaves the last community out.
    if (option == computeChange && s.ncsm % 2 != 0)
        std::fprintf(
            out,
            "\nThis option is not possible, for the number of communities must be even.");
    if ((option == poolByGroups || option == poolByWindow) && s.temEnvBin != 0)
        std::fprintf(
            out,
            "\nWarning! Binary environmental variables will be averaged, and therefore will become quantitative.");
    if (option == poolByGroups && s.temEnvQual != 0)
        std::fprintf(
            out,
            "\nThis option not allowed with this data: pooling environmental variables that are qualitative is not possible.\n");
}

int ChooseCommunityOption()
{
    for (;;) {
        PrintRule();
        const int option = AskCommunityOption();
        PrintNotes(option);
        if (option != poolByGroups || session.temEnvQual == 0) return option;
    }
}

/// The new partition takes the place of the first one.
void UseFirstPartition()
{
    session.whichPart = 0;
    session.grLabel = session.grLabelP[0];
    session.groupRel = session.groupRelP[0];
}

void SetGroups()
{
    UseFirstPartition();
    SettingAnyGroups(session.ncsm, session.nGroups, session.groupRel, session.grLabel,
                     "communities");
}

void SetPairs()
{
    std::FILE* out = console.out;
    std::fprintf(out, "\nTo compute change each vegetation unit must have two communities.\n");
    std::fprintf(out, "A formda file will be created with the vegetation units.\n");
    std::fprintf(
        out,
        "The new communities will contain differences between the 2nd and\n1st communities in each unit.\n");
    if (session.nenv > 0)
        std::fprintf(
            out,
            "\nThe new communities will contain changes in the environmental variables as well.\n");
    std::fprintf(
        out,
        "The user will inform how communities are ordered, but 2nd communities must\nallways come after 1st ones.\n");
    UseFirstPartition();
    SettingNewReleves(session.ncsm, session.nGroups, session.groupRel, session.grLabel);
}

void SetWindow()
{
    std::FILE* out = console.out;
    std::fprintf(
        out,
        "\nThe community set must conform a spatial or temporal series\n (see Ludwig & Cornelius 1987, Ecology v.68).\n");
    std::fprintf(
        out,
        "A formda file will be created by pooling communities according to\n the selected split moving-window size.\n");
    for (;;) {
        std::fprintf(out, "\nEnter the size of the split moving-window (must be even): ");
        const int size = AskNumber("%d\n", 1, session.ncsm);
        if (size % 2 == 0) {
            // Deliberate: the means that are stored are those of half the window, the two halves
            // being compared later; users' earlier results depend on it.
            session.SMWSize = size / 2;
            return;
        }
        std::fprintf(out, "\nEnter again. Must be even.");
    }
}

List ChooseCommunities(int option)
{
    const int n = session.ncsm;
    int count = n;
    switch (option) {
    case chooseSome: count = AskCount("Enter new number of communities:    ", n); break;
    case poolByGroups: SetGroups(); break;
    case computeChange: SetPairs(); break;
    case poolByWindow: SetWindow(); break;
    default: break;
    }
    if (option != chooseSome) return All(n);
    return AskByLabels("Identify the communities by their labels: \n", "communities", count, n,
                       session.reLabel, "Error!! Enter again. \n");
}

/// All questions about what to take, in their order.
Choice AskWhatToTake()
{
    Choice choice;
    Menu("GETTING DATA FROM ANOTHER SESSION");
    choice.traits = ChooseTraits();
    choice.OTUs = ChooseOTUs();
    choice.communityOption = ChooseCommunityOption();
    choice.communities = ChooseCommunities(choice.communityOption);
    choice.variables = ChooseVariables();
    return choice;
}

// --- The steps behind the questions

void OfferTrim()
{
    std::fprintf(console.out, "Trim OTUs absent in all communities? y/n ");
    session.emptyReleves = 0;
    if (ScanChar(StandardInput(), "y n", "keyboard") == 'y') CheckData(1);
}

void Transform(int option)
{
    switch (option) {
    case poolByGroups: PoolCommunities(); break;
    case computeChange: ComputeChange(); break;
    case poolByWindow: PoolMovingWindow(); break;
    default: break;
    }
}

bool HasFirstWord(const char* fileName)
{
    InputStream file(fopenck(fileName, nullptr, "r"));
    char word[sizeof session.whichFormda];
    return file.IsOpen() && TryReadWord(file, word, sizeof word);
}

/// Loads the data and, if the other session has a track file with something in it, its partitions.
void LoadSource()
{
    Session& s = session;
    OpenFormda(1);
    ClearLine();
    const std::string ownTrack = s.whichTrack;
    const std::string source = s.whichFormda;
    std::snprintf(s.whichTrack, sizeof s.whichTrack, "%.63s%s", s.tempSession, trackExt);
    if (HasFirstWord(s.whichTrack)) ReadTrack();
    std::strcpy(s.whichTrack, ownTrack.c_str());
    // A track file may point at the data of yet another session; those loaded are the source.
    std::strcpy(s.whichFormda, source.c_str());
}

void WriteDerived()
{
    Session& s = session;
    const std::string source = s.whichFormda;
    SessionFileName(s.whichFormda, formdaExt);
    WriteFormda(s.tcst, s.whichFormda, source.c_str(), s.csm_Float, s.cadat);
    if (s.emptyReleves == 0) return;
    std::fprintf(console.out, "\nWarning!! There are %d empty communities!!\n", s.emptyReleves);
    std::fprintf(console.out, "Inspect file %s\n", s.whichFormda);
}

} // namespace

void PickSomeFormda()
{
    LoadSource();
    const Choice choice = AskWhatToTake();
    TakeChosen(choice);
    OfferTrim();
    Transform(choice.communityOption);
    WriteDerived();
}
