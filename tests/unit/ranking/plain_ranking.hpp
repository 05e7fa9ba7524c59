// The subset search in its plain form: each matrix made anew for each subset by the routines of the
// analysis, which have tests of their own. The search must give the same bits; the benchmark
// measures what it gains.
#pragma once

#include <algorithm>
#include <cmath>
#include <vector>

#include "functional/belonging.hpp"
#include "functional/diversity.hpp"
#include "numeric/adjust.hpp"
#include "numeric/congruence.hpp"
#include "numeric/matrix.hpp"
#include "numeric/resemblance.hpp"
#include "session/session.hpp"
#include "shell/arrays.hpp"
#include "shell/preferences.hpp"

namespace plain {

inline double Mantel(int n, double** A, double** B)
{
    if (n >= 3) return MatrixCorr(n, A, B);
    return 1.0 - std::fabs(A[0][1] - B[0][1]) / std::max(A[0][1], B[0][1]); // one cell of each
}

/// Criteria 1, 9, 10, 11, 16 and 17 under Mantel, for the session's data with quantitative E.
class Ranking {
public:
    explicit Ranking(bool withPhylogeny)
        : n(session.ncsm), s(session.tcst), t(session.nch), g(session.nMinCSTGroupsChRank),
          E(n, session.nenv), DE(n, n), W0(n, s), W1(n, s), P(n, g), DP(n, n), T(n, t), DT(n, n),
          S(s, s), Q(s, g), X(n, g), DX(n, n), Rao(n, 1), DR(n, n), partial(t, s),
          all(static_cast<std::size_t>(s), 1)
    {
        CopyMatrix(n, session.nenv, session.env, E);
        CorrAdj(n, session.nenv, E, E);
        EucliDistMV(n, session.nenv, E, DE);
        TransposeMatrix(s, n, session.cadat, W0);
        UnitSumRowsAdjMV(n, s, W1, W0);
        if (session.optUnitTotalAdjust2) CopyMatrix(n, s, W1, W0);
        gower_similarityPartial(t, session.csm_Float, s, partial, session.chtype, session.chrange,
                                session.weight, preferences.countDoubleAbsence);
        if (!withPhylogeny) return;
        CopyMatrix(s, s, session.phylogenyRese, S);
        Fuzzy(true);
        Compose(P, DP);
    }

    /// select: 0 or 1 for each trait
    double Value(int criterion, const int* select)
    {
        if (criterion != 1 && criterion != 16 && criterion != 11) {
            MatrixProdSelectMV_Adjust_Weight(n, s, s, t, W1, session.csm_Float, T, select,
                                             session.weight_OTUs);
            (criterion == 10 ? NormalizeColsMV : NormalizeCols)(n, t, T, T);
            EucliDistMV(n, t, T, DT);
        }
        if (criterion == 10) return Mantel(n, DE, DT);
        Average(select);
        if (criterion == 16) return AlphaDivergence();
        if (session.fuzzy == 3) Fuzzy(false);
        else CrispBelonging(s, g, session.partition_OTUs, Q);
        Compose(X, DX);
        if (criterion == 1) return Mantel(n, DE, DX);
        if (criterion == 11) return Mantel(n, DP, DX);
        return PartialCorrelation(Mantel(n, DE, DX), Mantel(n, DT, DX), Mantel(n, DE, DT));
    }

    /// Similarity of all OTU pairs on a subset of traits; public for the benchmark, like Fuzzy.
    void Average(const int* select)
    {
        std::vector<int> selected(select, select + t);
        gower_similarityAverage(t, s, partial, S, selected.data());
    }
    void Fuzzy(bool isDissimilarity)
    {
        FuzzyBelonging(s, g, S, session.partition_OTUs, Q, isDissimilarity);
    }

private:
    void Compose(double** out, double** D)
    {
        MatrixProdMV_Weight(n, s, s, g, W0, Q, out, session.weight_OTUs);
        NominalReseNonHier(n, g, out, D, session.rese_opt);
    }

    double AlphaDivergence()
    {
        for (int c = 0; c < n; c++) // of the first g OTUs
            Rao[c][0] = RaoIndex_Weight(g, W0[c], S, false, true, all.data(), false);
        NominalReseNonHier(n, 1, Rao, DR, 8); // absolute differences
        return MatrixCorr(n, DE, DR);
    }

    const int n, s, t, g;
    const OwnedRows E, DE, W0, W1, P, DP, T, DT, S, Q, X, DX, Rao, DR;
    PartialSimilarity partial;
    std::vector<int> all;
};

} // namespace plain
