// SPDX-License-Identifier: GPL-3.0-or-later
#include "permutation/record.hpp"

#include <algorithm>

#include "session/session.hpp"
#include "shell/preferences.hpp"

OwnedRegression::OwnedRegression(int e, int t)
    : rSquare(t + 2L), intercept(t + 2L), pRSquare(t + 2L), coefficient(e, t + 2L),
      pCoefficient(e, t + 2L)
{
}

OwnedRegression::operator RegressionResults() const
{
    return {rSquare, intercept, pRSquare, coefficient, pCoefficient};
}

OwnedAnova::OwnedAnova(int e, int t) : X(e), T(e), traits(e, t), P(e), Rf(e), Rp(e)
{
}

OwnedAnova::operator AnovaResults() const
{
    return {X, T, traits, P, Rf, Rp};
}

bool KeepsScale()
{
    const int* const begin = session.weight_OTUs;
    const bool someExcluded =
        std::any_of(begin, begin + session.tcst, [](int weight) { return weight < 1; });
    return someExcluded && !session.keepAdditivity;
}

void GiveSettings(PermTest_FunctionalPhyl_Correl_Input& test)
{
    test.nIter = session.niter;
    test.eVarSelect = session.eVarSelect;
    test.relSelect = session.relSelect;
    test.otuWeights = session.weight_OTUs;
    test.communityResemblance = session.rese_opt;
    test.measure = session.opt_ro;
    test.overfitFactor = preferences.overfitFactorPCARegr;
    test.saveIntermediate = preferences.saveRndData == 'y';
    test.weightedNull = session.optWeightedNullModel;
    test.keepScale = KeepsScale();
    test.sqrtTraits = preferences.sqrtDissimOpt_RaoTraits;
    test.sqrtPhyl = preferences.sqrtDissimOpt_RaoPhyl;
    test.restrictKind = session.optRestrictPermutNullModel;
    test.nestingGroups = session.nestingMembershipOTUs;
    test.shuffleKind = session.optTaxaSiteShuffle;
    test.resultsFlag = true;
    test.twoTailed = preferences.twoTailedTestMantel;
    test.restrictRao = session.restrictRaoWithinOpt;
}
