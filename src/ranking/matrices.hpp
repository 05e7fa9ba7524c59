// The matrices of a ranking: those that all subsets share, made once, and those of the subset at
// hand, made when first asked for.
#pragma once

#include <memory>
#include <vector>

#include "functional/belonging.hpp"
#include "ranking/packed.hpp"
#include "shell/arrays.hpp"

/// What a criterion needs before its search starts.
struct RankingNeeds {
    bool environment = true; // E and its resemblance DE
    bool phylogeny = false;  // P, the composition by phylogeny, and DP
    int smoothing = 0;       // mode of the Beals smoothing that gives Z; 0: no Z
    bool types = true;       // OTUs are grouped into types: S, Q and X
    bool holesInE = true;    // distances leave out missing cells of E; false: they are numbers
    bool holesInT = false;   // so does the scaling of T to unit length
};

/// Reads the session and the preferences. n communities, s OTUs, t traits, e variables of E,
/// g types, f taxa; rows of W and its descendants are communities.
class RankingMatrices {
public:
    explicit RankingMatrices(const RankingNeeds& needs);
    RankingMatrices(const RankingMatrices&) = delete;
    RankingMatrices& operator=(const RankingMatrices&) = delete;

    const RankingNeeds needs;
    const int n, s, t, e, g, f;

    const OwnedRows E;   // n x e, adjusted as its kinds of variables want it
    Structure DE;        // n x n
    const OwnedRows W0;  // n x s, as the user wants it adjusted
    const OwnedRows W1;  // n x s, unit totals
    const OwnedRows B;   // s x t, columns of excluded traits 0
    const OwnedRows Z;   // n x s, smoothed composition
    Structure DZ;
    const OwnedRows QP;  // s x f, belonging to taxa
    const OwnedRows P;   // n x f
    Structure DP;        // not quite constant: see the intermediate results
    const OwnedInts select; // t: 1 for the traits of the subset

    /// Goes to the next subset: k numbers from 1, ascending.
    void Select(const int* traits, int k);

    // Of the subset; each is made at the first call after Select.
    double** RawT();         // n x t community averages; 0 in columns of other traits
    double** T();            // the same, columns scaled to unit length
    Structure& DT();
    double** S();            // s x s similarity between OTUs
    double** Q();            // s x g belonging to types
    double** X();            // n x s; columns from g on are 0
    Structure& DX();
    Structure& LastDX();     // as it was left, 0 if no subset ever had it made
    double** Rao();          // n x 1 entropy of each community
    Structure& DR();
    double** Dark();         // n x 1 distance of W and X in each community
    Structure& DS();

private:
    void FillEnvironment();
    void FillComposition();
    void FillTraits();
    void FillPhylogeny();
    void FillSmoothed();
    void ChooseForms();
    void MakeSimilarities();
    void MakeLayersOfT();
    void ListPresent();
    bool FitsPacked() const;
    bool IsCompositionPlain() const;
    bool IsEveryPairCompared() const;
    void Finish(Structure& D);

    const bool saveStruct;     // rows of every structure are printed, and some overwritten
    const bool crisp;          // Q, X and DX are those of the first subset
    bool packed = false;       // structures are made without rows
    bool wholeTraits = false;  // every trait compares all OTUs: S is a sum over a number of traits
    bool sparseX = false;      // X from the OTUs present only

    const OwnedRows allRawT, allT; // n x t, all traits in use
    const OwnedRows rawT, subsetT, similarity, Qrows, Xrows, rao, dark;
    const OwnedRows Xcolumns, unitRows; // g x n; n x g, rows of unit length
    Structure dt, dx, dr, ds;
    std::vector<int> traits; // of the subset, from 0
    int k = 0;               // traits in the subset

    std::unique_ptr<PartialSimilarity> partial;
    std::unique_ptr<PrefixSums<float>> similaritySums;
    std::unique_ptr<SubsetBelonging> belonging;
    std::unique_ptr<OwnedRows> layersT; // t x triangle: squared differences of T
    std::unique_ptr<PrefixSums<double>> squareSums;

    struct Share {
        int otu;
        double value;
    };
    std::vector<std::vector<Share>> present; // of each community, OTUs ascending

    struct Made {
        bool RawT, T, DT, S, Q, X, DX, Rao, DR, Dark, DS;
    };
    Made made = {};
};
