// SPDX-License-Identifier: GPL-3.0-or-later
#include "functional/settings.hpp"

#include <cstdio>
#include <cstring>
#include <ctime>
#include <string>

#include "functional/settings_selection.hpp"
#include "numeric/congruence.hpp"
#include "numeric/resemblance.hpp"
#include "numeric/statistics.hpp"
#include "session/session.hpp"
#include "shell/arrays.hpp"
#include "shell/complaint.hpp"
#include "shell/console.hpp"
#include "shell/files.hpp"
#include "shell/prompts.hpp"
#include "shell/scanners.hpp"

// Deliberate: the rows of regression and analysis of variance do not name them, since the reports
// that users have kept show these words there.
const char* const opt_roInfo[5] = {"matrix correlation (Mantel)", "Procrustes (traceW)",
                                   "RV coefficient (Escoufier 1973)", "(null)", "1 (stepwise)"};
const char* const partInfo[3] = {"mixed", "quantitative", "qualitative"};
const char* const clusMethInfo[6] = {
    "0 (none)",           "1 (single linkage)",        "2 (complete linkage)",
    "3 (sum of squares)", "4 (average linkage UPGMA)", "5 (average linkage WPGMA)"};
const char* const poolCSToptInfo[2] = {"1 (monothetic)", "2 (polythetic)"};
const char* const traitBasedOptInfo[2] = {"1 (composition of types)",
                                          "2 (trait averages at community level)"};
const char* const fuzzyInfo[4] = {"none (crisp)", "fuzzy global", "fuzzy pairwise",
                                  "fuzzy (fuzzy belonging of OTUs to types)"};
const char* const YesNotInfo[2] = {"not", "yes"};

namespace {

constexpr int criterionTraitAverages = 10; // values of opt_struct
constexpr int criterionAlphaDivergence = 16;

bool RanksTraitAverages()
{
    return ForRanking() && session.opt_struct == criterionTraitAverages;
}

void SetDefaults()
{
    Session& s = session;
    s.traitBasedOpt = RanksTraitAverages() ? 2 : 1;
    s.poolCSTopt = RanksTraitAverages() ? 0 : 2;
    if (!RanksTraitAverages()) s.clusMethPoolCSTs = 0;
    s.reseCSTopt = otusByGower;
    s.part = 1;
    s.whichObj = 'r';
    s.OTUsTypesAreSpecies = false;
    s.optRndTests = false;
    s.niter = 0;
    s.optWeightedNullModel = false;
    s.optRestrictPermutNullModel = 0;
    s.restrictRaoWithinOpt = false;
    s.keepAdditivity = true;
    for (int k = 0; k < s.ncsm; k++) s.relSelect[k] = 1;
    for (int v = 0; v < s.nenv; v++) s.eVarSelect[v] = 1;
}

void ShowHead()
{
    if (!ForRanking()) {
        Menu("FUNCTIONAL ANALYSIS SETTINGS");
        Say("\nTrait-based scaling-up from population to communities:");
    }
    Say("\nThe partition of OTUs into types should be specified.\n");
}

// --- Permutation test

void ReadNestingFromFile()
{
    char name[membershipFileNameSize];
    Say("Enter name of file containing nesting group memberships: ");
    ReadStringIn("%s\n", name, membershipFileNameSize);
    InputStream file(fopenck(name, nullptr, "r"));
    // Deliberate: without the file there is no way on and the dialogue waits here for ever; scripts
    // of users count on no question being asked a second time. The pauses spare the processor.
    Patience patience;
    while (!file.IsOpen()) patience.Pause();
    for (int i = 0; i < session.tcst; i++)
        session.nestingMembershipOTUs[i] = ToInt(ScanNumber(file, name, nullptr));
}

void ReadNestingFromKeyboard()
{
    Say("Enter the nesting group of each OTU:\n");
    Say("OTU:            ");
    for (int i = 1; i <= session.tcst; i++) std::fprintf(console.out, "\t%d", i);
    Say("\nNesting groups: ");
    for (int i = 0; i < session.tcst; i++)
        session.nestingMembershipOTUs[i] = ToInt(ScanNumber(*console.in, "keyboard", nullptr));
}

void AskRestrictions()
{
    Say("OTU permutation restrictions: \n");
    Say("\t(0) none\n");
    Say("\t(1) permutations restricted within groups of OTUs to be specified\n");
    Say("\t\tEnter option: ");
    session.optRestrictPermutNullModel = ToInt(ScanNumber(*console.in, "keyboard", "0 1"));
    if (session.optRestrictPermutNullModel != 1) return;

    free1D(session.nestingMembershipOTUs);
    session.nestingMembershipOTUs = nullptr;
    session.nestingMembershipOTUs = dim1Dint(session.tcst);
    Say("Specify the nesting criterion (for each OTU, enter the group to which it belongs):\n");
    Say("Read nesting group memberships from file (f) or from the keyboard (k)? f/k ");
    if (ReadCharIn("f k") == 'f')
        ReadNestingFromFile();
    else
        ReadNestingFromKeyboard();
}

void AskNullModel()
{
    Say("Null model based on taxa (t) shuffle, which is recommended, or site (s) suffle? t/s ");
    session.optTaxaSiteShuffle = ReadCharIn("t s");
    if (session.optTaxaSiteShuffle == 't') AskRestrictions();
}

void AskTests()
{
    Say("\nPerform randomization tests of final statistics? y/n ");
    session.optRndTests = YesFromKeyboard();
    if (!session.optRndTests) return;
    Say("Enter number of iterations in permutation tests of final statistics: ");
    session.niter = ToInt(ReadNumberIn("%d\n", "-", 0.0, 2147483647.0));
    AskNullModel();
}

void AskSeed()
{
    Say("\nInitialization of the random number generator: \n");
    Say("   1  automatic (taken from the clock)\n");
    Say("   2  specified by the user\n");
    session.seedOpt = OptionNumber("1 2");
    if (session.seedOpt == 1) {
        session.rseed = static_cast<unsigned long>(std::time(nullptr));
        return;
    }
    std::fprintf(console.out, "\nEnter seed (integer in the 0 to %u interval):\n", 4294967295U);
    session.rseed = static_cast<unsigned long>(ReadNumberIn("%u\n", "-", 0.0, 4294967295.0));
}

// --- Congruence and resemblance

/// Whether the data, or the tests chosen, rule the measure out. A ranking only guards those of its
/// criteria that rest on E.
bool IsRefused(int measure)
{
    const bool needsQuantitativeE = measure == procrustes || measure == rvCoefficient;
    if (ForRanking()) {
        const int c = session.opt_struct;
        const bool restsOnE = c == 1 || c == 9 || c == 10 || c == 16 || c == 17;
        return needsQuantitativeE && restsOnE && session.temEnvQual == 1;
    }
    if ((needsQuantitativeE || measure == linearRegression) && session.temEnvQual == 1) return true;
    if (measure == varianceAnalysis && session.temEnvQuant == 1) return true;
    return measure >= linearRegression && !session.optRndTests;
}

int AskMeasure()
{
    Say("\nMeasuring congruence using\n");
    Say("  1 matrix correlation (Mantel)\n");
    Say("  2 Procrustes (traceW, cannot be used if matrix E contains nominal variables)\n");
    Say("  3 RV coefficient (Escoufier 1973, cannot be used if matrix E contains nominal variables)\n");
    if (session.optRndTests) {
        Say("  4 linear regression (cannot be used if matrix E contains nominal variables)\n");
        Say("  5 analysis of variance (cannot be used if matrix E defining groups contains quantitative variables) \n");
    }
    return OptionNumber("1 2 3 4 5 ");
}

void AskCongruence()
{
    do {
        session.opt_ro = AskMeasure();
    } while (IsRefused(session.opt_ro));
}

/// Only distances between communities need a function, and two of the rankings always take the
/// Euclidean one.
bool AsksResemblance()
{
    if (session.opt_ro != mantel && session.opt_ro != varianceAnalysis) return false;
    return !ForRanking() || (session.opt_struct != criterionTraitAverages &&
                             session.opt_struct != criterionAlphaDivergence);
}

void AskUnitTotals()
{
    session.optUnitTotalAdjust2 = false;
    if (session.traitBasedOpt != 1) return;
    Say("\nStandardize community data matrix (matrix W) to unit total in each community? y/n ");
    session.optUnitTotalAdjust2 = YesFromKeyboard();
}

/// The taxa of the phylogeny are the types of OTUs; belonging to them is fuzzy.
void SetPhylogeny()
{
    Session& s = session;
    if (!ForRanking()) s.includePhylogeny = false;
    if (s.hasPhylogeny && !ForSimulator()) s.includePhylogeny = true;
    if (!s.includePhylogeny) return;
    free1D(s.partition_OTUs_Phyl);
    s.partition_OTUs_Phyl = nullptr;
    s.partition_OTUs_Phyl = dim1Dint(s.tcst);
    for (int i = 0; i < s.tcst; i++) s.partition_OTUs_Phyl[i] = s.partition_OTUs[i];
    CountGroupsNew(s.tcst, s.partition_OTUs_Phyl, &s.nTaxa, nullptr);
    s.fuzzyPhyl = 1;
}

void SetHierarchy()
{
    Session& s = session;
    s.isHierarchical = 0;
    for (int t = 0; t < s.nch; t++) s.nchor[t] = t + 1;
    for (int level = 1; level < s.nch; level++) s.nGrPoly[level] = 2;
    s.optCoVariable = false;
}

void AskDetail()
{
    Say("\nInclude detailed results of the analysis in the printout y/n ");
    session.printDetail = Yes() ? 1 : 0;
}

} // namespace

void SettingsHierarchy()
{
    SetDefaults();
    if (!RanksTraitAverages()) {
        ShowHead();
        AskTypes();
        AskFuzziness();
    }
    if (!ForRanking()) {
        AskTests();
        if (session.optRndTests || ForSimulator()) AskSeed();
    }
    AskCongruence();
    if (AsksResemblance()) SettingsRese();
    if (!ForSimulator()) AskVariables();
    AskTraitWeights();
    AskOtus();
    AskUnitTotals();
    SetPhylogeny();
    SetHierarchy();
    if (ForRanking()) return;
    AskDetail();
    GetPrindaMode(session.whichPrinda);
}

void SettingsRese()
{
    if (session.whichObj == 'c') {
        SettingReseFunction(&session.reseCstOpt, "\nSpecify resemblance function between OTUs:");
        SettingWhichLevel(&session.whichLevelCst);
    } else {
        SettingReseFunction(&session.rese_opt,
                            "\nSpecify resemblance function between communities:");
    }
}

void SettingReseFunction(int* target, const char* label)
{
    for (;;) {
        Say(label);
        Say("\nResemblance function option:\n");
        Say("\t6   Euclidean distance\n");
        Say("\t10  chord distance\n");
        *target = OptionNumber("6 7 8 9 10");
        if (session.part == 1 || *target > 2) return;
        Bell();
        Say("Data partitioned. Information divergence not available.\n");
    }
}

void SettingWhichLevel(int* target)
{
    *target = 1;
    if (session.nch <= 1 || session.poolCSTopt != 1 || session.isHierarchical != 1) return;
    Say("Specify hierarchical level: ");
    *target = ToInt(ReadNumberIn("%d\n", "-", 1.0, session.nch));
}

void GetPrindaMode(const char* fileName)
{
    const std::string path = std::string(console.volumeName) + fileName;
    const InputStream previous(OpenFile(path.c_str(), "r"));
    std::strcpy(session.prindaMode, previous.IsOpen() ? "a" : "w");
    if (!previous.IsOpen()) return;
    if (console.runMacro) return;
    std::fprintf(console.out, "\nThis session has a previous %s file.\n", fileName);
    Say("Options:\n");
    Say("   w  erase file and create a new one\n");
    Say("   a  append results to same file\n");
    Say("Type option: ");
    if (ScanChar(*console.in, "W A", "input") == 'w') std::strcpy(session.prindaMode, "w");
}
