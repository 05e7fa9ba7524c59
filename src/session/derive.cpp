#include "session/derive.hpp"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <numeric>
#include <string>
#include <vector>

#include "session/checks.hpp"
#include "session/formda.hpp"
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

/// What becomes of the communities.
enum CommunityOption { keepAll = 1, chooseSome, poolByGroups, computeChange, poolByWindow };

/// Positions from 0 of what is taken, in the order it is to stand. Something may stand twice, but
/// the list is never longer than what it is taken from.
using List = std::vector<int>;

struct Choice {
    List traits, OTUs, communities, variables;
    int communityOption = keepAll;
};

// --- Small questions

int AskOption(const char* accepted) { return ToInt(ReadNumberIn("%d\n", accepted)); }

int AskNumber(const char* macroFormat, int lowest, int highest)
{
    return ToInt(ReadNumberIn(macroFormat, "-", lowest, highest));
}

int AskCount(const char* prompt, int highest)
{
    std::fprintf(console.out, "%s", prompt);
    return AskNumber("%d\n", 1, highest);
}

void PrintRule() { std::fprintf(console.out, "%s\n", lineL); }

bool WantsToModify()
{
    std::fprintf(console.out, "   1  keep the same \n");
    std::fprintf(console.out, "   2  modify \n");
    std::fprintf(console.out, "Type option no.: ");
    return AskOption("1 2") == 2;
}

List All(int n)
{
    List list(static_cast<std::size_t>(n));
    std::iota(list.begin(), list.end(), 0);
    return list;
}

/// Position of a label, -1 if there is none like it; the first of equal ones.
int Position(const char* label, int n, char** labels)
{
    for (int i = 0; i < n; i++)
        if (std::strcmp(label, labels[i]) == 0) return i;
    return -1;
}

/// Position of each name among the labels; false if one is not there.
bool Identify(int nNames, char** names, int n, char** labels, int* positions)
{
    for (int i = 0; i < nNames; i++) {
        positions[i] = Position(names[i], n, labels);
        if (positions[i] < 0) return false;
    }
    return true;
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

// --- Taking it

/// Cell (i, k) becomes the cell (rows[i], columns[k]) of before. The table keeps its storage, so
/// the row counts that it is released with stay true.
template <typename T>
void Take(T** table, const List& rows, const List& columns)
{
    if (table == nullptr) return;
    std::vector<T> taken;
    taken.reserve(rows.size() * columns.size());
    for (const int row : rows)
        for (const int column : columns) taken.push_back(table[row][column]);
    auto next = taken.begin();
    for (std::size_t i = 0; i < rows.size(); i++)
        for (std::size_t k = 0; k < columns.size(); k++) table[i][k] = *next++;
}

template <typename T>
void Take(T* values, const List& list)
{
    if (values != nullptr) Take(&values, {0}, list);
}

void TakeLabels(char** labels, const List& list) { Take(labels, list, All(labelSize)); }

void TakeTraits(const List& traits)
{
    Session& s = session;
    Take(s.csm_Float, All(s.tcst), traits);
    TakeLabels(s.chLabel, traits);
    Take(s.chtype, traits);
    Take(s.onsta, traits);
    Take(s.chrange, traits);
    Take(s.traitGroups, traits);
    s.nch = static_cast<int>(traits.size());
}

/// F and the variables of phylogeny describe the same OTUs, so they follow.
void TakeOTUs(const List& OTUs)
{
    Session& s = session;
    Take(s.csm_Float, OTUs, All(s.nch));
    Take(s.cadat, OTUs, All(s.ncsm));
    if (s.nSpp > 0) Take(s.cstSppMap, OTUs, All(s.nSpp));
    Take(s.phylogenyRese, OTUs, OTUs);
    Take(s.phylogenyData, OTUs, All(s.nClados));
    s.tcst = static_cast<int>(OTUs.size());
}

void TakeCommunities(const List& communities)
{
    Session& s = session;
    Take(s.cadat, All(s.tcst), communities);
    if (s.nenv > 0) Take(s.env, communities, All(s.nenv));
    if (s.nSpp > 0) Take(s.sppRelMap, All(s.nSpp), communities);
    Take(s.ncst, communities);
    TakeLabels(s.reLabel, communities);
    s.ncsm = static_cast<int>(communities.size());
}

int HasVariableOfType(int type)
{
    const int* types = session.envVarType;
    return std::find(types, types + session.nenv, type) != types + session.nenv ? 1 : 0;
}

/// What kind of E is left when variables were dropped.
void SetEnvironmentType()
{
    Session& s = session;
    if (s.optEnvVarType == 5) {
        s.temEnvBin = HasVariableOfType(1);
        s.temEnvQual = HasVariableOfType(2);
        s.temEnvQuant = HasVariableOfType(3); // Deliberate: ordinal variables count for no kind
        const bool isMixed = s.temEnvBin + s.temEnvQual + s.temEnvQuant >= 2;
        if (!isMixed && s.temEnvQual != 0)
            s.optEnvVarType = 3;
        else if (!isMixed && s.temEnvQuant != 0)
            s.optEnvVarType = 2;
        else if (!isMixed && s.temEnvBin != 0)
            s.optEnvVarType = 4;
    }
    if (s.optEnvVarType == 2 && s.nenv <= 1) s.optEnvVarType = 1;
}

void TakeVariables(const List& variables)
{
    Session& s = session;
    if (s.nenv == 0) return;
    Take(s.env, All(s.ncsm), variables);
    TakeLabels(s.envLabel, variables);
    Take(s.envVarType, variables);
    s.nenv = static_cast<int>(variables.size());
    SetEnvironmentType();
}

void TakeChosen(const Choice& choice)
{
    TakeTraits(choice.traits);
    TakeOTUs(choice.OTUs);
    TakeCommunities(choice.communities);
    TakeVariables(choice.variables);
}

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

// --- The source and the result

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

// --- Groups of objects

void NumberLabels(int n, char** labels)
{
    for (int i = 0; i < n; i++) {
        const std::string number = std::to_string(i + 1);
        std::snprintf(labels[i], groupLabelSize, "%s", number.c_str());
    }
}

bool WantsNewLabels()
{
    std::fprintf(console.out, "   1  given by default \n");
    std::fprintf(console.out, "   2  specify new labels \n");
    std::fprintf(console.out, "Type option no.: ");
    return AskOption("1 2") == 2;
}

void SetGroupLabels(int groups, char** labels)
{
    std::fprintf(console.out, "\nLabels for groups: \n");
    if (!WantsNewLabels()) {
        NumberLabels(groups, labels);
        return;
    }
    std::fprintf(console.out, "\nEnter labels (max. %d alphanumeric characters):\n",
                 groupLabelSize - 1);
    ReadLongInput(groups, groupLabelSize - 1, labels, "group labels");
}

/// Asks, where a cluster analysis was recorded, whether the partition is to come from it.
bool WantsClusterRecord(bool areCommunities)
{
    if ((areCommunities ? session.hasReClus : session.hasCstClus) != 1) return false;
    std::fprintf(console.out, "\nGet partition from: \n");
    std::fprintf(console.out, "   1  keyboard or file \n");
    std::fprintf(console.out, "   2  cluster analysis record \n");
    std::fprintf(console.out, "Type option no.: ");
    return AskOption("1 2") == 2;
}

/// Would cut the record of a cluster analysis into groups. No analysis writes such records: only
/// the track file of an old version can say that there is one, and then the groups stay as that
/// file gave them.
void GetPartition() {}

void PrintObjects(int n, bool areCommunities, const char* word)
{
    std::fprintf(console.out, "\nEnter group membership (label) for %s:", word);
    std::fprintf(console.out, "\n%s:\t", word);
    for (int i = 0; i < n; i++) {
        if (areCommunities)
            std::fprintf(console.out, "%s\t", session.reLabel[i]);
        else
            std::fprintf(console.out, "%d\t", i + 1);
    }
    std::fprintf(console.out, "\n");
}

void AskMemberships(int n, int groups, int* group, char** labels, const char* word)
{
    const OwnedTable<char> names(n, labelSize);
    for (;;) {
        PrintObjects(n, std::strcmp(word, "communities") == 0, word);
        ReadLongInput(n, groupLabelSize - 1, names, "Groups");
        if (Identify(n, names, groups, labels, group)) break;
        Complain("\nError!! Enter again. \n");
    }
    for (int i = 0; i < n; i++) group[i]++; // groups are numbered from 1
}

/// Sizes of groups that follow one another.
void AskGroupSizes(int n, int groups, int* group, char** labels, const char* word)
{
    std::FILE* out = console.out;
    List sizes(static_cast<std::size_t>(groups));
    std::fprintf(out, "\nEnter number of %s per group:", word);
    Patience patience;
    for (;;) {
        std::fprintf(out, "\nGroups:            ");
        for (int g = 0; g < groups; g++) std::fprintf(out, "%-3s ", labels[g]);
        std::fprintf(out, "\nNumber of %s: ", word);
        for (int& size : sizes) size = AskNumber("%-3d ", 0, n);
        if (std::accumulate(sizes.begin(), sizes.end(), 0L) == n) break;
        Complain("\nError!! Reenter!!\n");
        if (groups == 0) patience.Pause(); // nothing is read and nothing can ever add up
    }
    for (int g = 0; g < groups; g++)
        group = std::fill_n(group, sizes[static_cast<std::size_t>(g)], g + 1);
}

void AskPairLabels(int groups, char** labels)
{
    std::FILE* out = console.out;
    do {
        std::fprintf(out, "\nEnter labels (max. 4 alphanumeric characters):\n");
        for (int p = 0; p < groups; p++) std::fprintf(out, "%2d ", p + 1);
        std::fprintf(out, "\n");
        for (int p = 0; p < groups; p++) ReadStringIn("%4s ", labels[p], groupLabelSize);
        std::fprintf(out, "Are these correct? y/n ");
    } while (ReadCharIn("y n") == 'n');
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

void SettingAnyGroups(int n, int& groups, int* group, char** labels, const char* word)
{
    const bool areCommunities = std::strcmp(word, "communities") == 0;
    Menu("SET GROUP PARTITION");
    std::fprintf(console.out, "Specify the number of groups of %s: ", word);
    groups = AskNumber("%d\n", 0, n);
    SetGroupLabels(groups, labels);
    if (WantsClusterRecord(areCommunities)) {
        GetPartition();
        return;
    }
    std::fprintf(console.out, "Are the %s ordered by groups? y/n ", word);
    if (ReadCharIn("y n") == 'y')
        AskGroupSizes(n, groups, group, labels, word);
    else
        AskMemberships(n, groups, group, labels, word);
}

void SettingNewReleves(int n, int& groups, int* group, char** labels)
{
    std::FILE* out = console.out;
    groups = n / 2;
    std::fprintf(out, "\nLabels for new communities: \n");
    if (WantsNewLabels())
        AskPairLabels(groups, labels);
    else
        NumberLabels(groups, labels);
    std::fprintf(out, "\nOrder of the communities in the formda file: \n");
    std::fprintf(
        out,
        "   1  all 2nd communities are after all 1st communities, in the same order \n");
    std::fprintf(out, "   2  each 2nd community follows the corresponding 1st community \n");
    std::fprintf(out, "Type option no.: ");
    const bool follow = AskOption("1 2") == 2;
    // Deliberate: pairs that follow one another get the numbers 1, 3, 5, ..., though change is
    // worked out for 1 to n/2 only. So new communities of even number stay all zero and the later
    // pairs are not used; users' earlier results depend on it.
    for (int i = 0; i < n; i++)
        group[i] = follow ? i / 2 * 2 + 1 : i < groups ? i + 1 : i - groups + 1;
}
