// SPDX-License-Identifier: GPL-3.0-or-later
#include "numeric/random.hpp"

#include <cstdlib>
#include <limits>
#include <memory>
#include <utility>

#include "numeric/statistics.hpp"
#include "shell/arrays.hpp"

gsl_rng* r = nullptr;

namespace {

void Shuffle(int n, int* list)
{
    for (int i = 0; i + 1 < n; i++) {
        const unsigned long j = gsl_rng_uniform_int(r, static_cast<unsigned long>(n - i));
        std::swap(list[i], list[i + static_cast<int>(j)]);
    }
}

void FillFromOne(int n, int* list)
{
    for (int i = 0; i < n; i++) list[i] = i + 1;
}

/// The labels of a list of positions, ascending, and where the members of each stand.
struct Groups {
    Groups(int nPositions, const int* labelOf) : n(nPositions), label(labelOf), distinct(n), size(n)
    {
        CountGroups(n, label, &nGroups, distinct);
        for (int g = 0; g < nGroups; g++)
            for (int i = 0; i < n; i++)
                if (label[i] == distinct[g]) size[g]++;
    }
    bool HaveEqualSizes() const
    {
        for (int g = 0; g + 1 < nGroups; g++)
            if (size[g] != size[g + 1]) return false;
        return true;
    }
    const int n;
    const int* const label;
    int nGroups = 0;
    OwnedInts distinct;
    OwnedInts size;
};

void ShuffleWithinGroups(const Groups& groups, int* list)
{
    Owned<bool> isMember(groups.n);
    for (int g = 0; g < groups.nGroups; g++) {
        for (int i = 0; i < groups.n; i++) isMember[i] = groups.label[i] == groups.distinct[g];
        RndListSelect(groups.n, list, isMember);
    }
}

/// Puts the values of whole groups, all of the same size, to the places of other groups.
void ExchangeGroups(const Groups& groups, int* list)
{
    const int size = groups.nGroups > 0 ? groups.size[0] : 0;
    OwnedInts places(groups.n); // places and values, group by group
    OwnedInts values(groups.n);
    int c = 0;
    for (int g = 0; g < groups.nGroups; g++)
        for (int i = 0; i < groups.n; i++) {
            if (groups.label[i] != groups.distinct[g]) continue;
            places[c] = i;
            values[c] = list[i];
            c++;
        }
    OwnedInts order(groups.nGroups);
    RndList(groups.nGroups, order);
    for (int g = 0; g < groups.nGroups; g++)
        for (int k = 0; k < size; k++)
            list[places[g * size + k]] = values[(order[g] - 1) * size + k];
}

/// What PermuteArray keeps between calls; positions count from 0, values from 1.
struct Combinations {
    explicit Combinations(int n) : list(n), arrayTemp(n), isIn(n) {}
    OwnedInts list;
    OwnedInts arrayTemp;
    OwnedInts isIn;
};
std::unique_ptr<Combinations> combinations;
long nPermutations = 0;
long counter = 0;

/// n! / ((n - k)! k!), truncated. Out of range, or inf/inf, it can never be reached by counting.
long NumberOfCombinations(int n, int k)
{
    const double number = Factorial(n) / (Factorial(n - k) * Factorial(k));
    const bool fits = number < static_cast<double>(std::numeric_limits<long>::max());
    return fits ? static_cast<long>(number) : std::numeric_limits<long>::max();
}

void StartCombinations(int n, int k)
{
    combinations.reset(); // an enumeration that was given up
    combinations = std::make_unique<Combinations>(n);
    FillFromOne(n, combinations->arrayTemp);
    for (int i = 0; i < n; i++) combinations->list[i] = i;
    nPermutations = NumberOfCombinations(n, k);
    counter = 0;
}

/// The next combination in lexicographic order; the last one stays as it is.
void StepCombination(int n, int k, int* list)
{
    int j = k - 1;
    while (j >= 0 && list[j] >= n - k + j) j--;
    if (j < 0) return;
    list[j]++;
    for (int t = j + 1; t < k; t++) list[t] = list[t - 1] + 1;
}

void WriteCombination(int n, int k, const Combinations& table, int* out)
{
    for (int i = 0; i < n; i++) table.isIn[i] = 0;
    for (int t = 0; t < k; t++) {
        out[t] = table.arrayTemp[table.list[t]];
        table.isIn[table.list[t]] = 1;
    }
    int c = k;
    for (int i = 0; i < n; i++)
        if (table.isIn[i] == 0) out[c++] = table.arrayTemp[i];
}

} // namespace

void InitRndNumberGenerator(unsigned long seed)
{
    gsl_rng* const generator = gsl_rng_alloc(gsl_rng_default);
    if (generator == nullptr) NoRoom();
    if (r != nullptr) gsl_rng_free(r);
    r = generator;
    gsl_rng_set(r, seed);
    std::srand(static_cast<unsigned int>(seed & 0xffffffffUL));
}

int UniformInt(int n)
{
    return static_cast<int>(gsl_rng_uniform_int(r, static_cast<unsigned long>(n)));
}

void RndList(int n, int* list)
{
    FillFromOne(n, list);
    Shuffle(n, list);
}

void RndListSpecified(int n, int* list)
{
    Shuffle(n, list);
}

void RndListSelect(int n, int* list, const bool* select)
{
    OwnedInts selected(n); // positions from 1, ascending
    int nSelected = 0;
    for (int i = 0; i < n; i++)
        if (select[i]) selected[nSelected++] = i + 1;
    OwnedInts order(nSelected);
    RndList(nSelected, order);
    for (int t = 0; t < nSelected; t++) list[selected[t] - 1] = selected[order[t] - 1];
}

void RndListNestedNew(int n, const int* groups, int mode, int* list)
{
    const Groups nesting(n, groups);
    FillFromOne(n, list);
    const bool within = mode == withinGroups || mode == withinAndAmongGroups;
    const bool among = mode == amongGroups || mode == withinAndAmongGroups;
    if (within) ShuffleWithinGroups(nesting, list);
    if (among && nesting.HaveEqualSizes()) ExchangeGroups(nesting, list);
}

long PermuteArray(int n, int k, int* out, bool init)
{
    if (init) {
        StartCombinations(n, k);
    } else if (combinations == nullptr) {
        return counter;
    } else {
        StepCombination(n, k, combinations->list);
    }
    WriteCombination(n, k, *combinations, out);
    counter++;
    if (counter == nPermutations) combinations.reset();
    return counter;
}
