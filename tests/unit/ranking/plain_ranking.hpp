// The plain form of the subset matrices: each made anew for each subset by the routines of the
// functional analysis. The search must give the same bits.
#pragma once

#include "functional/belonging.hpp"
#include "functional/correlation.hpp"
#include "functional/diversity.hpp"
#include "numeric/adjust.hpp"
#include "numeric/congruence.hpp"
#include "numeric/matrix.hpp"
#include "numeric/resemblance.hpp"
#include "session/session.hpp"
#include "shell/arrays.hpp"
#include "shell/preferences.hpp"

/// Criteria 1, 9, 10, 16, 17 and 11 under Mantel, of the session's data with quantitative E.
class PlainRanking {
public:
    explicit PlainRanking(bool withPhylogeny)
        : n(session.ncsm), s(session.tcst), t(session.nch), g(session.nMinCSTGroupsChRank),
          E(n, session.nenv), DE(n, n), W0(n, s), W1(n, s), P(n, g), DP(n, n), T(n, t), DT(n, n),
          S(s, s), Q(s, g), X(n, g), DX(n, n), Rao(n, 1), DR(n, n), partial(t, s)
    {
        CopyMatrix(n, session.nenv, session.env, E);
        CorrAdj(n, session.nenv, E, E);
        EucliDistMV(n, session.nenv, E, DE);
        TransposeMatrix(s, n, session.cadat, W0);
        UnitSumRowsAdjMV(n, s, W1, W0);
        if (session.optUnitTotalAdjust2) UnitSumRowsAdjMV(n, s, W0, W0);
        gower_similarityPartial(t, session.csm_Float, s, partial, session.chtype, session.chrange,
                                session.weight, preferences.countDoubleAbsence);
        if (!withPhylogeny) return;
        FuzzyBelonging(s, g, session.phylogenyRese, session.partition_OTUs, Q, true);
        MatrixProdMV_Weight(n, s, s, g, W0, Q, P, session.weight_OTUs);
        NominalReseNonHier(n, g, P, DP, session.rese_opt);
    }

    /// traits: 0 or 1 each
    double Value(int criterion, int* traits)
    {
        MatrixProdSelectMV_Adjust_Weight(n, s, s, t, W1, session.csm_Float, T, traits,
                                         session.weight_OTUs);
        if (criterion == 10)
            NormalizeColsMV(n, t, T, T);
        else
            NormalizeCols(n, t, T, T);
        NominalReseNonHier(n, t, T, DT, 6);
        if (criterion == 10) return CommunityCorr(n, DE, DT);

        gower_similarityAverage(t, s, partial, S, traits);
        if (criterion == 16) return AlphaDivergence();
        if (session.fuzzy == 3)
            FuzzyBelonging(s, g, S, session.partition_OTUs, Q, false);
        else
            CrispBelonging(s, g, session.partition_OTUs, Q);
        MatrixProdMV_Weight(n, s, s, g, W0, Q, X, session.weight_OTUs);
        NominalReseNonHier(n, g, X, DX, session.rese_opt);
        if (criterion == 1) return CommunityCorr(n, DE, DX);
        if (criterion == 11) return CommunityCorr(n, DP, DX);
        return PartialCorrelation(CommunityCorr(n, DE, DX), CommunityCorr(n, DT, DX),
                                  CommunityCorr(n, DE, DT));
    }

private:
    double AlphaDivergence()
    {
        for (int c = 0; c < n; c++)
            Rao[c][0] = RaoIndex_Weight(g, W0[c], S, false, preferences.sqrtDissimOpt_RaoTraits,
                                        session.weight_OTUs, false);
        AbsValFunctionMV(n, 1, Rao, DR);
        return MatrixCorr(n, DE, DR);
    }

    const int n, s, t, g;
    const OwnedRows E, DE, W0, W1, P, DP, T, DT, S, Q, X, DX, Rao, DR;
    PartialSimilarity partial;
};
