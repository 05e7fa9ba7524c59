// SPDX-License-Identifier: GPL-3.0-or-later
#include "session/transform.hpp"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <numeric>
#include <string>
#include <utility>

#include "session/session.hpp"
#include "shell/arrays.hpp"
#include "shell/console.hpp"

namespace {

bool IsGroup(int number, int nGroups) { return number >= 1 && number <= nGroups; }

/// Number of members of the groups 1 to nGroups.
void CountMembers(int n, const int* groups, int nGroups, int* counts)
{
    for (int i = 0; i < n; i++)
        if (IsGroup(groups[i], nGroups)) counts[groups[i] - 1]++;
}

double Total(int rows, int columns, double** matrix)
{
    double total = 0.0;
    for (int i = 0; i < rows; i++)
        for (int j = 0; j < columns; j++) total += matrix[i][j];
    return total;
}

void Transpose(int rows, int columns, double** in, double** out)
{
    for (int i = 0; i < rows; i++)
        for (int j = 0; j < columns; j++) out[j][i] = in[i][j];
}

void CopyRows(int rows, int columns, double** from, double** to)
{
    for (int i = 0; i < rows; i++) std::copy_n(from[i], columns, to[i]);
}

/// A species is marked in a new community if it was in any of the old ones that went into it.
/// into(j) gives the new communities, first and behind the last, that the old community j went to.
template <typename Into>
void PoolMarks(int nNew, Into into)
{
    const Session& s = session;
    for (int a = 0; a < s.nSpp; a++) {
        std::string marks(static_cast<std::size_t>(nNew), '0');
        for (int j = 0; j < s.ncsm; j++) {
            if (s.sppRelMap[a][j] != '1') continue;
            const std::pair<int, int> range = into(j);
            for (int k = range.first; k < range.second; k++)
                marks[static_cast<std::size_t>(k)] = '1';
        }
        std::memcpy(s.sppRelMap[a], marks.data(), marks.size());
    }
}

void PoolMarksByGroups()
{
    PoolMarks(session.nGroups, [](int j) {
        const int group = session.groupRel[j];
        return IsGroup(group, session.nGroups) ? std::make_pair(group - 1, group)
                                               : std::make_pair(0, 0);
    });
}

template <typename IsPresent>
void CountPresent(IsPresent isPresent)
{
    Session& s = session;
    for (int j = 0; j < s.ncsm; j++) {
        s.ncst[j] = 0;
        for (int i = 0; i < s.tcst; i++)
            if (isPresent(s.cadat[i][j])) s.ncst[j]++;
    }
}

bool IsAboveZero(double w) { return w > 0.0; }
bool IsNotZero(double w) { return w != 0.0; }

void TakeGroupLabels()
{
    for (int g = 0; g < session.nGroups; g++)
        std::snprintf(session.reLabel[g], labelSize, "%s", session.grLabel[g]);
}

void PoolVariables()
{
    Session& s = session;
    if (s.nenv == 0) return;
    const OwnedInts ownGroups(s.nenv);
    std::iota(static_cast<int*>(ownGroups), ownGroups + s.nenv, 1);
    const OwnedRows pooled(s.nGroups, s.nenv);
    ConcentrateGroups(s.ncsm, s.nenv, s.env, pooled, s.nGroups, s.groupRel, s.nenv, ownGroups, 2);
    CopyRows(s.nGroups, s.nenv, pooled, s.env);
    if (s.temEnvBin == 0) return;
    std::replace(s.envVarType, s.envVarType + s.nenv, 1, 3);
    s.temEnvBin = 0;
}

void ChangeVariables()
{
    Session& s = session;
    if (s.nenv == 0) return;
    const OwnedRows variables(s.nenv, s.ncsm);
    const OwnedRows changed(s.nenv, s.nGroups);
    Transpose(s.ncsm, s.nenv, s.env, variables);
    ReleveChange(s.ncsm, variables, changed, s.nenv, s.nGroups, s.groupRel);
    for (int k = 0; s.temEnvQual != 0 && k < s.nenv; k++) {
        if (s.envVarType[k] != 2) continue;
        std::replace_if(changed[k], changed[k] + s.nGroups, IsNotZero, 1.0);
        s.envVarType[k] = 1;
    }
    s.temEnvQual = 0;
    Transpose(s.nenv, s.nGroups, changed, s.env);
}

} // namespace

void ConcentrateGroups(int n, int m, double** in, double** out, int nRowGroups,
                       const int* rowGroups, int nColumnGroups, const int* columnGroups, int mode)
{
    const OwnedInts rowsIn(nRowGroups);
    const OwnedInts columnsIn(nColumnGroups);
    CountMembers(n, rowGroups, nRowGroups, rowsIn);
    CountMembers(m, columnGroups, nColumnGroups, columnsIn);

    for (int g = 0; g < nRowGroups; g++) std::fill_n(out[g], nColumnGroups, 0.0);
    for (int i = 0; i < n; i++) {
        if (!IsGroup(rowGroups[i], nRowGroups)) continue;
        double* sums = out[rowGroups[i] - 1];
        for (int j = 0; j < m; j++)
            if (IsGroup(columnGroups[j], nColumnGroups)) sums[columnGroups[j] - 1] += in[i][j];
    }

    const double totalOfSums = Total(nRowGroups, nColumnGroups, out);
    for (int g = 0; g < nRowGroups; g++)
        for (int h = 0; h < nColumnGroups; h++)
            out[g][h] /= static_cast<double>(rowsIn[g]) * columnsIn[h];
    if (mode != 1) return;
    const double totalOfMeans = Total(nRowGroups, nColumnGroups, out);
    for (int g = 0; g < nRowGroups; g++)
        for (int h = 0; h < nColumnGroups; h++) out[g][h] *= totalOfSums / totalOfMeans;
}

void ReleveChange(int nCommunities, double** in, double** out, int nRows, int nPairs,
                  const int* pairs)
{
    for (int p = 0; p < nPairs; p++)
        for (int j = 0; j < nCommunities; j++) {
            if (pairs[j] != p + 1) continue;
            for (int i = 0; i < nRows; i++) out[i][p] = in[i][j] - out[i][p];
        }
}

void SplitMovingWinPool(int rows, int columns, double** in, double** out, int width, int& newCount,
                        bool poolRows)
{
    newCount = (poolRows ? rows : columns) - width + 1;
    const int nAcross = poolRows ? columns : rows;
    for (int k = 0; k < newCount; k++)
        for (int i = 0; i < nAcross; i++) {
            double sum = 0.0;
            for (int j = k; j < k + width; j++) sum += poolRows ? in[j][i] : in[i][j];
            (poolRows ? out[k][i] : out[i][k]) = sum / width;
        }
}

void PoolCommunities()
{
    Session& s = session;
    std::iota(s.groupCst, s.groupCst + s.tcst, 1); // each OTU stays a row of its own
    const OwnedRows pooled(s.tcst, s.nGroups);
    ConcentrateGroups(s.tcst, s.ncsm, s.cadat, pooled, s.tcst, s.groupCst, s.nGroups, s.groupRel,
                      2);
    CopyRows(s.tcst, s.nGroups, pooled, s.cadat);
    PoolVariables();
    PoolMarksByGroups();
    TakeGroupLabels();
    s.ncsm = s.nGroups;
    CountPresent(IsAboveZero);
}

void ComputeChange()
{
    Session& s = session;
    const OwnedRows changed(s.tcst, s.nGroups);
    ReleveChange(s.ncsm, s.cadat, changed, s.tcst, s.nGroups, s.groupRel);
    CopyRows(s.tcst, s.nGroups, changed, s.cadat);
    ChangeVariables();
    PoolMarksByGroups();
    TakeGroupLabels();
    s.ncsm = s.nGroups;
    CountPresent(IsNotZero);
}

void PoolMovingWindow()
{
    Session& s = session;
    int nNew = 0;
    const OwnedRows pooledW(s.tcst, s.ncsm);
    SplitMovingWinPool(s.tcst, s.ncsm, s.cadat, pooledW, s.SMWSize, nNew, false);
    CopyRows(s.tcst, nNew, pooledW, s.cadat);
    if (s.nenv > 0) {
        const OwnedRows pooledE(s.ncsm, s.nenv);
        SplitMovingWinPool(s.ncsm, s.nenv, s.env, pooledE, s.SMWSize, nNew, true);
        CopyRows(nNew, s.nenv, pooledE, s.env);
    }
    PoolMarks(nNew, [nNew](int j) {
        return std::make_pair(std::max(0, j - session.SMWSize + 1), std::min(j + 1, nNew));
    });
    s.ncsm = nNew;
    CountPresent(IsNotZero);
    std::fprintf(console.out,
                 "\nA formda file for this session, with %d communities, has been created.\n",
                 s.ncsm);
    std::fprintf(
        console.out,
        "\nThe first new community is the average of the first %d communities in the series,\n the second new one is an average of the %d communities starting at the second\n community in the series, and so on.\n",
        s.SMWSize, s.SMWSize);
    std::fprintf(
        console.out,
        "\nReleve labels correspond to the labels of the first\n %d previous communities in the series.\n",
        s.ncsm);
}
