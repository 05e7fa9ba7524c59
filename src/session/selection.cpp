// SPDX-License-Identifier: GPL-3.0-or-later
#include "session/selection.hpp"

#include <cstring>
#include <numeric>

#include "session/session.hpp"

namespace {

/// Position of a label, -1 if there is none like it; the first of equal ones.
int Position(const char* label, int n, char** labels)
{
    for (int i = 0; i < n; i++)
        if (std::strcmp(label, labels[i]) == 0) return i;
    return -1;
}

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

} // namespace

List All(int n)
{
    List list(static_cast<std::size_t>(n));
    std::iota(list.begin(), list.end(), 0);
    return list;
}

bool Identify(int nNames, char** names, int n, char** labels, int* positions)
{
    for (int i = 0; i < nNames; i++) {
        positions[i] = Position(names[i], n, labels);
        if (positions[i] < 0) return false;
    }
    return true;
}

void TakeChosen(const Choice& choice)
{
    TakeTraits(choice.traits);
    TakeOTUs(choice.OTUs);
    TakeCommunities(choice.communities);
    TakeVariables(choice.variables);
}
