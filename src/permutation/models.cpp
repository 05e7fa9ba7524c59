// SPDX-License-Identifier: GPL-3.0-or-later
#include "permutation/models.hpp"

#include "numeric/regression.hpp"
#include "numeric/resemblance.hpp"
#include "permutation/general.hpp"

namespace {

/// Sum of squared dissimilarities over the pairs of members, divided by the number of members.
template <typename IsMember>
double SumWithin(int n, double** D, bool squared, IsMember isMember)
{
    double sum = 0.0;
    int nMembers = 0;
    for (int i = 0; i < n; i++) {
        if (!isMember(i)) continue;
        nMembers++;
        for (int j = i + 1; j < n; j++)
            if (isMember(j)) sum += squared ? D[i][j] : D[i][j] * D[i][j];
    }
    return nMembers > 0 ? sum / nMembers : sum;
}

/// Pseudo-F of one factor on a resemblance between communities: between over within sum of
/// squares, without degrees of freedom. A factor whose states hold one community each divides by 0.
double PseudoF(const PermutationInputs& in, double** D, int factor)
{
    double between = 0.0;
    double total = 0.0;
    BetweenGrSqDissim(in.n, D, in.factors[static_cast<std::size_t>(factor)], &between, &total,
                      in.record.relSelect, false);
    return between / (total - between);
}

void FOfResponse(const PermutationInputs& in, double** D, ModelSizes::Response response,
                 GeneralWorkspace& w)
{
    for (int factor = 0; factor < in.e; factor++)
        w.statistics.value[static_cast<std::size_t>(in.model.F(response, factor))] =
            PseudoF(in, D, factor);
}

/// DT is overwritten with the distances of one trait after the other.
void FOfTraits(const PermutationInputs& in, GeneralWorkspace& w)
{
    for (int j = 0; j < in.t; j++) {
        if (in.record.selectedTraits[j] != 1) continue;
        EucliDistMVSelectOne(in.n, in.t, w.T, w.DT, j + 1);
        for (int factor = 0; factor < in.e; factor++)
            w.statistics.value[static_cast<std::size_t>(in.model.TraitF(factor, j))] =
                PseudoF(in, w.DT, factor);
    }
}

} // namespace

double WithinGrSqDissim(int n, double** D, int* mask, bool squared)
{
    return SumWithin(n, D, squared, [mask](int i) { return mask[i] == 1; });
}

double BetweenGrSqDissim(int n, double** D, int* groups, double* between, double* total, int* mask,
                         bool squared)
{
    *total = WithinGrSqDissim(n, D, mask, squared);
    *between = *total;
    for (int i = 0; i < n; i++) {
        if (mask[i] != 1) continue;
        bool metBefore = false;
        for (int j = 0; j < i && !metBefore; j++) metBefore = mask[j] == 1 && groups[j] == groups[i];
        if (metBefore) continue;
        const int group = groups[i];
        *between -= SumWithin(n, D, squared, [mask, groups, group](int j) {
            return mask[j] == 1 && groups[j] == group;
        });
    }
    return *between;
}

void EvaluateRegression(const PermutationInputs& in, GeneralWorkspace& w)
{
    for (int k = 0; k < in.n; k++) {
        w.T[k][in.t] = w.R[k][0];
        if (in.withPhylogeny) w.T[k][in.t + 1] = w.Rp[k][0];
    }
    regression(in.n, in.model.nResponses, in.e, w.T, in.record.E, w.coefficient.data(), w.intercept,
               *w.fitted, w.statistics.value.data() + in.model.RSquare(0), w.fit);
}

void EvaluateAnova(const PermutationInputs& in, GeneralWorkspace& w)
{
    FOfResponse(in, w.DX, ModelSizes::X, w);
    FOfResponse(in, w.DR, ModelSizes::Rf, w);
    if (in.withPhylogeny) {
        FOfResponse(in, w.DP, ModelSizes::P, w);
        FOfResponse(in, w.DRp, ModelSizes::Rp, w);
    }
    FOfResponse(in, w.DT, ModelSizes::T, w);
    FOfTraits(in, w);
}
