// SPDX-License-Identifier: GPL-3.0-or-later
#include "session/groups.hpp"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <numeric>
#include <vector>

#include "session/selection.hpp"
#include "session/session.hpp"
#include "shell/arrays.hpp"
#include "shell/complaint.hpp"
#include "shell/console.hpp"
#include "shell/files.hpp"
#include "shell/prompts.hpp"

namespace {

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
        NumberLabels(groups, labels, groupLabelSize);
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
        NumberLabels(groups, labels, groupLabelSize);
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
