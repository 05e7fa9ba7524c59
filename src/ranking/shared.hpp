// SPDX-License-Identifier: GPL-3.0-or-later
// The matrices that all trait subsets of a ranking share, made once before the search, and what the
// quick form of the subset matrices prepares.
#pragma once

#include <memory>
#include <vector>

#include "functional/belonging.hpp"
#include "ranking/packed.hpp"
#include "shell/arrays.hpp"

/// What a criterion needs before its search starts.
struct RankingNeeds {
    bool environment = true;  // E and its resemblance DE
    bool phylogeny = false;   // P, the composition by phylogeny, and DP
    int smoothing = 0;        // mode of the Beals smoothing that gives Z; 0: no Z
    bool types = true;        // OTUs are grouped into types: S, Q and X
    bool holesInE = true;     // distances leave out missing cells of E; false: they are numbers
    bool holesInT = false;    // so does the scaling of T to unit length
    bool resemblance = false; // communities are compared whatever the measure, by the session's
                              // last resemblance; otherwise only matrix correlation asks for one
};

/// How the matrices of a subset are made. `general` follows the definitions step by step and serves
/// all data and options; `quick` gives the same bits by sums that grow with the subset and packed
/// triangles.
enum class Form { general, quick };

/// Reads the session and the preferences. n communities, s OTUs, t traits, e variables of E,
/// g types, f taxa; rows of W and its descendants are communities.
class SharedMatrices
{
public:
    /// `wanted` quick: if the data allow it.
    explicit SharedMatrices(const RankingNeeds& needs, Form wanted = Form::quick);

    const RankingNeeds needs;
    const int n, s, t, e, g, f;
    const bool crisp;      // Q, X and DX are the same for all subsets
    const OwnedRows E;     // n x e, adjusted as its kinds of variables want it
    const OwnedRows W0;    // n x s, as the user wants it adjusted
    const OwnedRows W1;    // n x s, unit totals
    const OwnedRows B;     // s x t, columns of excluded traits 0
    const OwnedRows T;     // n x t community averages of all traits in use, the others 0
    const OwnedRows unitT; // the same, columns scaled to unit length
    const OwnedRows Z;     // n x s, smoothed composition
    const OwnedRows QP;    // s x f, belonging to taxa
    const OwnedRows P;     // n x f
    Structure DE, DZ;      // n x n
    Structure DP;          // not quite constant: see the intermediate results
    std::unique_ptr<PartialSimilarity> partial; // Gower similarities; null: Euclidean distances

    /// The conversions of a resemblance that some of the options call for.
    void Finish(Structure& D) const;

    // --- For the quick form
    Form form = Form::general;
    bool wholeTraits = true;            // every trait compares all OTUs
    std::unique_ptr<OwnedRows> layersT; // t x triangle: squared differences of T
    /// t x pairs of OTUs, only if some trait does not compare all of them: similarities, 0 where
    /// the trait says nothing, and 1 or 0 for those that it compares.
    std::unique_ptr<OwnedTable<float>> similarities, compared;
    /// Of each community, the OTUs that are there, ascending, with their shares.
    struct Present {
        std::vector<int> otus;
        std::vector<double> shares;
    };
    std::vector<Present> present;
    std::vector<int> inOrder; // 1 to s
    /// Of each community, those of the first g OTUs that are there, with their weights of
    /// selection.
    struct Member {
        int otu;
        double share;
        int weight;
    };
    std::vector<std::vector<Member>> entropyMembers;

    static constexpr double largestTable = 512e6; // bytes of layers and of sums kept for speed
    /// How many partial sums of this many cells one of several searchers may keep.
    static int Levels(long nCells, int nSearchers);
    /// Searchers whose matrices fit into memory kept for speed; at least 1.
    int MostSearchers() const;

private:
    void FillEnvironment();
    void FillComposition();
    void FillTraits();
    void FillPhylogeny();
    void FillSmoothed();
    void FillPartial();
    bool FitsQuickForm() const;
    bool IsCompositionPlain() const;
    bool IsEveryPairCompared() const;
    void PrepareQuickForm();
    void MakeLayersOfT();
    void SplitHoles();
    void ListPresent();
    void ListEntropyMembers();
};
