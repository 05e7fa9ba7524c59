// SPDX-License-Identifier: GPL-3.0-or-later
// P1 to P5: whole permutations, through the permutation test itself; R1, R2: whole tests; L1: a
// large one, and the memory that it takes.
#include <cstring>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include <omp.h>

#include "lines.hpp"
#include "numeric/random.hpp"
#include "permtest_data.hpp"
#include "permutation/estimating.hpp"
#include "permutation/lists.hpp"
#include "plain_permtest.hpp"

namespace {

constexpr unsigned long seed = 42;
constexpr int checkedIterations = 9; // one group of eight lists, and the observed arrangement

struct Variant {
    const char* id;
    const PermTestShape* shape;
    const char* what;
    bool phylogeny;
    int shuffleKind;
    bool weightedNull;
    int restrictKind;
    int measure;
    bool plain; // compared with the plain form
};

// clang-format off
const Variant variants[] = {
    {"P1", &tinyShape,    "taxa move",                 false, 't', false, 0, 1, true},
    {"P1", &smallShape,   "taxa move",                 false, 't', false, 0, 1, true},
    {"P1", &missingShape, "taxa move",                 false, 't', false, 0, 1, true},
    {"P1", &largeShape,   "taxa move",                 false, 't', false, 0, 1, true},
    {"P2", &smallShape,   "taxa move, phylogeny",      true,  't', false, 0, 1, true},
    {"P2", &largeShape,   "taxa move, phylogeny",      true,  't', false, 0, 1, true},
    {"P3", &smallShape,   "sites move",                false, 's', false, 0, 1, true},
    {"P4", &smallShape,   "occurrences are drawn",     false, 't', true,  0, 1, true},
    {"P4", &smallShape,   "taxa move within groups",   false, 't', false, 1, 1, true},
    {"P5", &tinyShape,    "Procrustes",                false, 't', false, 0, 2, true},
    {"P5", &tinyShape,    "RV",                        false, 't', false, 0, 3, true},
    {"P5", &tinyShape,    "regression",                false, 't', false, 0, 4, true},
    {"P5", &tinyShape,    "analysis of variance",      false, 't', false, 0, 5, true},
    {"P5", &smallShape,   "Procrustes",                false, 't', false, 0, 2, true},
    {"P5", &smallShape,   "RV",                        false, 't', false, 0, 3, true},
    {"P5", &smallShape,   "regression",                false, 't', false, 0, 4, true},
    {"P5", &smallShape,   "analysis of variance",      false, 't', false, 0, 5, true},
    {"P5", &largeShape,   "Procrustes",                false, 't', false, 0, 2, true},
    {"P5", &largeShape,   "RV",                        false, 't', false, 0, 3, true},
    {"P5", &largeShape,   "regression",                false, 't', false, 0, 4, true},
    {"P5", &largeShape,   "analysis of variance",      false, 't', false, 0, 5, true},
    {"P5", &smallShape,   "Procrustes, phylogeny",     true,  't', false, 0, 2, true},
    {"P5", &smallShape,   "RV, phylogeny",             true,  't', false, 0, 3, true},
    {"P5", &smallShape,   "Procrustes, sites move",    false, 's', false, 0, 2, true},
    {"P5", &smallShape,   "RV, sites move",            false, 's', false, 0, 3, true},
};
// clang-format on

std::unique_ptr<PermTestData> Prepare(const Variant& variant)
{
    auto data = MakePermTestData(*variant.shape, seed);
    if (variant.phylogeny) DeriveFromPhylogeny(*data, false);
    data->input.shuffleKind = variant.shuffleKind;
    data->input.weightedNull = variant.weightedNull;
    data->input.restrictKind = variant.restrictKind;
    data->input.measure = variant.measure;
    return data;
}

void RunPlain(PermTestData& data, long nIter)
{
    data.input.nIter = static_cast<int>(nIter);
    PlainPermTest(&data.input, seed);
}

void RunFast(PermTestData& data, long nIter)
{
    data.input.nIter = static_cast<int>(nIter);
    InitRndNumberGenerator(seed);
    PermTest_FunctionalPhyl_Correl(&data.input);
}

bool SameResults(const PermTestData& a, const PermTestData& b)
{
    return std::memcmp(a.input.results, b.input.results, sizeof a.input.results) == 0 &&
           std::memcmp(a.input.probabilities, b.input.probabilities,
                       sizeof a.input.probabilities) == 0;
}

// One permutation under matrix correlation. With z cells of W above 0, c columns of T and X, m
// pairs of communities, q ordered pairs of different OTUs present in a community:
//   products z c; distances 2 m c adds, m c multiplications, a root each;
//   the moving DT, DX, DR: mean, deviations, sum of squares; ten sums of products; DR itself;
//   Rao entropy q adds, 2 q multiplications.
// Phylogeny adds the f columns of P, DP, DRp, four sums of products, a second entropy, and mean,
// deviations, sum of squares and product over the pairs of OTUs.
Operations Count(const PermTestData& data)
{
    double z = 0.0, q = 0.0;
    for (int k = 0; k < data.n; k++) {
        double richness = 0.0;
        for (int i = 0; i < data.s; i++)
            if (data.W[k][i] > 0.0) richness += 1.0;
        z += richness;
        q += richness * (richness - 1.0);
    }
    const double n = data.n, s = data.s, f = data.g, c = data.t + data.g;
    const double m = n * (n - 1.0) / 2.0, M = s * (s - 1.0) / 2.0;
    Operations count;
    count.adds = z * c + 2.0 * m * c + 21.0 * m + q;
    count.multiplications = z * c + m * c + 13.0 * m + 2.0 * q;
    count.roots = 2.0 * m;
    if (data.input.hasPhylogenyInput) {
        count.adds += z * f + 2.0 * m * f + 12.0 * m + q + 4.0 * M;
        count.multiplications += z * f + m * f + 6.0 * m + 2.0 * q + 2.0 * M;
        count.roots += m;
    }
    return count;
}

/// Of random orders, the share that the estimates did not decide by themselves.
double ShareInDoubt(PermTestData& data, int nOrders)
{
    const PermutationInputs in(data.input);
    GeneralWorkspace observed(in, false);
    EvaluateObserved(in, observed);
    const auto form = EstimatingForm::Make(
        in, {observed.DT, observed.DX, observed.DP, observed.DR, observed.DRp});
    if (!form) return 1.0;
    EstimatingEvaluator evaluator(*form);
    std::vector<double> counts(in.comparisons.size());
    std::vector<int> order(static_cast<std::size_t>(in.orderLength));
    InitRndNumberGenerator(seed);
    ListDrawer drawer(in);
    for (int i = 0; i < nOrders; i++) {
        drawer.Draw(order.data());
        evaluator.Evaluate(order.data(), 1, counts.data());
    }
    return static_cast<double>(evaluator.InDoubt()) / static_cast<double>(evaluator.Evaluated());
}

void PermutationLine(const Options& options, Report& report, const Variant& variant)
{
    auto plain = Prepare(variant), fast = Prepare(variant);
    Timed timed;
    bool same = true;
    {
        const DrainedOutput drained;
        if (variant.plain) {
            RunPlain(*plain, checkedIterations);
            RunFast(*fast, checkedIterations);
            same = SameResults(*plain, *fast);
        }
        const Work plainWork = [&plain](long permutations) { RunPlain(*plain, permutations + 1); };
        const Work fastWork = [&fast](long permutations) { RunFast(*fast, permutations + 1); };
        timed = TimeInTurn(options, variant.plain ? plainWork : Work(), fastWork);
    }
    report.Same(variant.id, variant.shape->name, same);
    const bool counted = std::strcmp(variant.id, "P1") == 0 || std::strcmp(variant.id, "P2") == 0;
    const Operations operations = Count(*fast);
    report.Line(variant.id, variant.shape->name, variant.what, "us/permutation", 1e6,
                options.threads, timed, counted ? &operations : nullptr);
    report.Value(variant.id, std::string(variant.shape->name) + ", " + variant.what, "in doubt",
                 ShareInDoubt(*fast, options.quick ? 100 : 1000));
}

struct WholeRun {
    const char* id;
    const PermTestShape* shape;
    const char* what;
    bool phylogeny;
    int nIter;
};

std::vector<int> TeamSizes()
{
    std::vector<int> sizes = {1, 2};
    if (omp_get_num_procs() > 2) sizes.push_back(omp_get_num_procs());
    return sizes;
}

void WholeRunLine(const Options& options, Report& report, const WholeRun& run)
{
    const Variant variant = {run.id, run.shape, run.what, run.phylogeny, 't', false, 0, 1, false};
    const int nIter = options.quick ? run.nIter / 10 : run.nIter;
    auto reference = Prepare(variant);
    for (const int threads : TeamSizes()) {
        omp_set_num_threads(threads);
        auto data = threads == 1 ? nullptr : Prepare(variant);
        PermTestData& used = data ? *data : *reference;
        Timed timed;
        {
            const DrainedOutput drained;
            timed.fast = TimeWhole(options, [&used, nIter] { RunFast(used, nIter); });
        }
        report.Same(run.id, run.shape->name, SameResults(*reference, used));
        report.Line(run.id, run.shape->name, run.what + (", " + std::to_string(nIter)), "s", 1.0,
                    threads, timed);
    }
    omp_set_num_threads(options.threads);
}

/// From here on PeakMemory tells of what is to come.
void ForgetPeakMemory()
{
    std::ofstream("/proc/self/clear_refs") << "5";
}

/// The most memory that this process had at a time, in GB; negative if the system does not tell.
double PeakMemory()
{
    std::ifstream status("/proc/self/status");
    std::string word;
    double kilobytes = 0.0;
    while (status >> word)
        if (word == "VmHWM:" && status >> kilobytes) return kilobytes * 1024.0 / 1e9;
    return -1.0;
}

/// One run with each number of threads, on the same data: the memory is that of the matrices of a
/// session and of the test on them.
void ScaleRun(const Options& options, Report& report, const Variant& variant, PermTestData& data,
              int permutations)
{
    std::vector<double> before;
    const std::string what = std::to_string(permutations) + " permutations";
    for (const int threads : {1, 2}) {
        omp_set_num_threads(threads);
        ForgetPeakMemory();
        const double start = Now();
        {
            const DrainedOutput drained;
            RunFast(data, permutations + 1L);
        }
        const double taken = Now() - start, peak = PeakMemory();
        const double* const P = data.input.probabilities;
        const std::vector<double> own(P, P + nStatistics);
        report.Same(variant.id, variant.shape->name, before.empty() || own == before);
        before = own;
        report.Line(variant.id, variant.shape->name, what, "s", 1.0, threads, {-1.0, taken});
        report.Line(variant.id, variant.shape->name, what, "GB", 1.0, threads, {-1.0, peak});
    }
    omp_set_num_threads(options.threads);
}

} // namespace

void PermutationLines(const Options& options, Report& report)
{
    for (const Variant& variant : variants)
        if (options.Wants(variant.id) && !(options.quick && variant.shape == &largeShape))
            PermutationLine(options, report, variant);
}

void WholeTestLines(const Options& options, Report& report)
{
    const WholeRun runs[] = {
        {"R1", &smallShape, "whole test", false, 9999},
        {"R2", &smallShape, "whole test with phylogeny", true, 9999},
        {"R2", &largeShape, "whole test with phylogeny", true, 999},
    };
    for (const WholeRun& run : runs)
        if (options.Wants(run.id) && !(options.quick && run.shape == &largeShape))
            WholeRunLine(options, report, run);
}

void ScaleLines(const Options& options, Report& report)
{
    if (options.quick || !options.Wants("L1")) return;
    const PermTestShape huge = {"5,000 OTUs", 500, 5000, 10, 5, 20, 0.05, 0.0, true};
    const Variant variant = {"L1", &huge, "taxa move", false, 't', false, 0, 1, false};
    auto data = Prepare(variant);
    ScaleRun(options, report, variant, *data, 99);
    if (options.only == "L1") ScaleRun(options, report, variant, *data, 999);
    report.Value("L1", "5,000 OTUs, taxa move", "in doubt", ShareInDoubt(*data, 50));
}
