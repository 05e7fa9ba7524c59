// S1 to S3: the search for the best trait subset, against the plain form of each matrix.
#include <cstring>
#include <memory>
#include <vector>

#include "lines.hpp"
#include "numeric/random.hpp"
#include "plain_ranking.hpp"
#include "ranking/criteria.hpp"
#include "ranking/matrices.hpp"
#include "session/checks.hpp"
#include "session/session.hpp"
#include "unit/ranking/ranking_data.hpp"

namespace {

using namespace ranking_test;

const int nPlainSubsets = 500; // the plain form does the first of the search only

/// 75 communities, 82 OTUs of 10 types, a fifth of the cells of W filled, 6 variables.
RankingData SmallData(int nTraits)
{
    Numbers numbers(42);
    RankingData data;
    for (int i = 0; i < 82; i++) {
        data.B.emplace_back();
        for (int j = 0; j < nTraits; j++) data.B.back().push_back(numbers.Next());
        data.types.push_back(1 + i % 10);
    }
    for (int c = 0; c < 75; c++) {
        data.W.emplace_back();
        for (int i = 0; i < 82; i++) {
            const bool isThere = numbers.Next() < 0.21;
            data.W.back().push_back(isThere ? 1.0 + static_cast<int>(5.0 * numbers.Next()) : 0.0);
        }
        data.E.emplace_back();
        for (int v = 0; v < 6; v++) data.E.back().push_back(numbers.Next());
    }
    return data;
}

struct Subset {
    std::vector<int> traits, select;
};

/// All subsets in the order of the search.
std::vector<Subset> AllSubsets(int t)
{
    std::vector<Subset> all;
    OwnedInts list(t);
    for (int k = 1; k <= t; k++) {
        const long n = static_cast<long>(Factorial(t) / (Factorial(t - k) * Factorial(k)));
        for (long c = 0; c < n; c++) {
            PermuteArray(t, k, list, c == 0);
            Subset one = {{list.values, list.values + k}, std::vector<int>(static_cast<std::size_t>(t))};
            for (const int trait : one.traits) one.select[static_cast<std::size_t>(trait) - 1] = 1;
            all.push_back(one);
        }
    }
    return all;
}

/// The session of the data while this lives.
struct Loaded {
    explicit Loaded(int nTraits)
    {
        LoadRanking(SmallData(nTraits));
        RangeStates(session.nch, session.tcst, session.csm_Float, session.chtype, session.chrange);
    }
    ~Loaded()
    {
        FreeGlobals2();
        session = Session();
    }
    Loaded(const Loaded&) = delete;
    Loaded& operator=(const Loaded&) = delete;
};

void SearchLine(const Options& options, Report& report, const char* id, int number, int nTraits)
{
    const Loaded loaded(nTraits);
    session.opt_struct = number;
    const Criterion& criterion = *FindCriterion(number);
    const std::vector<Subset> subsets = AllSubsets(nTraits);
    const std::size_t nPlain = std::min<std::size_t>(subsets.size(), nPlainSubsets);
    plain::Ranking plainly(false);
    SharedMatrices shared(criterion.needs);
    SubsetMatrices matrices(shared);
    std::vector<double> expected(nPlain), found(subsets.size());
    std::size_t nextPlain = 0, next = 0;
    const auto plainOne = [&] {
        expected[nextPlain] = plainly.Value(number, subsets[nextPlain].select.data());
        nextPlain = (nextPlain + 1) % nPlain;
    };
    const auto fastOne = [&] {
        const std::vector<int>& traits = subsets[next].traits;
        matrices.Select(traits.data(), static_cast<int>(traits.size()));
        found[next] = ValueOf(criterion, matrices);
        next = (next + 1) % subsets.size();
    };
    const Timed timed = TimeInTurn(
        options, [&](long count) { while (count-- > 0) plainOne(); },
        [&](long count) { while (count-- > 0) fastOne(); });
    nextPlain = next = 0;
    for (std::size_t i = 0; i < nPlain; i++) {
        plainOne();
        fastOne();
    }
    const std::string data = "small, t=" + std::to_string(nTraits);
    report.Line(id, data, "criterion " + std::to_string(number), "us/subset", 1e6, 1, timed);
    const Timed whole = {-1.0, timed.fast * static_cast<double>(subsets.size())};
    report.Line(id, data, "all subsets, criterion " + std::to_string(number), "s", 1.0, 1, whole);
    report.Same(id, data,
                std::memcmp(expected.data(), found.data(), nPlain * sizeof(double)) == 0);
}

/// The average over all traits but one, so that nothing of it is at hand, and belonging to types.
void SimilarityLines(const Options& options, Report& report)
{
    const int nTraits = 8;
    const Loaded loaded(nTraits);
    const int s = session.tcst;
    plain::Ranking plainly(false);
    PartialSimilarity partial(nTraits, s);
    const auto layers = [&](long count) {
        while (count-- > 0)
            gower_similarityPartial(nTraits, session.csm_Float, s, partial, session.chtype,
                                    session.chrange, session.weight, 1);
    };
    layers(1);
    report.Line("S3", "small, t=8", "Gower layers of all traits", "us", 1e6, 1,
                TimeInTurn(options, Work(), layers));

    const long nPairs = static_cast<long>(s) * (s + 1L) / 2;
    PrefixSums<float> sums(nPairs, nTraits);
    const OwnedRows S(s, s), U(s, session.nMinCSTGroupsChRank);
    const int traits[2][4] = {{0, 2, 4, 6}, {1, 3, 5, 7}};
    const int select[2][8] = {{1, 0, 1, 0, 1, 0, 1, 0}, {0, 1, 0, 1, 0, 1, 0, 1}};
    const Timed average = TimeInTurn(
        options, [&](long count) { while (count-- > 0) plainly.Average(select[count % 2]); },
        [&](long count) {
            while (count-- > 0)
                AverageSimilarity(s, sums.Sum(partial.layer, traits[count % 2], 4), 4, S);
        });
    report.Line("S3", "small, t=8", "similarity on 4 new traits", "us", 1e6, 1, average);

    TypeBelonging belonging(s, session.nMinCSTGroupsChRank, session.partition_OTUs);
    const Timed fuzzy = TimeInTurn(
        options, [&](long count) { while (count-- > 0) plainly.Fuzzy(false); },
        [&](long count) { while (count-- > 0) belonging.Fill(S, U); });
    report.Line("S3", "small, t=8", "fuzzy belonging", "us", 1e6, 1, fuzzy);
}

} // namespace

void SubsetLines(const Options& options, Report& report)
{
    for (const int nTraits : {8, 15}) {
        if (options.Wants("S1")) SearchLine(options, report, "S1", 10, nTraits);
        if (options.Wants("S2")) SearchLine(options, report, "S2", 9, nTraits);
    }
    if (options.Wants("S3")) SimilarityLines(options, report);
}
