// SPDX-License-Identifier: GPL-3.0-or-later
// K1 to K5: the steps of one permutation, on lists drawn beforehand.
#include <cmath>
#include <cstring>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

#include <gsl/gsl_rng.h>

#include "lines.hpp"
#include "permtest_data.hpp"
#include "permutation/estimatedmantel.hpp"
#include "plain_permtest.hpp"

namespace {

constexpr int nLists = 64, nChecked = 8;
constexpr int euclidean = 6; // as the dialogues count resemblances

std::vector<std::vector<int>> DrawLists(int s)
{
    gsl_rng* generator = gsl_rng_alloc(gsl_rng_mt19937);
    gsl_rng_set(generator, 42);
    std::vector<int> list;
    for (int i = 1; i <= s; i++) list.push_back(i);
    std::vector<std::vector<int>> lists;
    for (int l = 0; l < nLists; l++) {
        for (std::size_t i = 0; i + 1 < list.size(); i++)
            std::swap(list[i], list[i + gsl_rng_uniform_int(generator, list.size() - i)]);
        lists.push_back(list);
    }
    gsl_rng_free(generator);
    return lists;
}

bool Same(double a, double b)
{
    return std::memcmp(&a, &b, sizeof a) == 0;
}

// The steps as they are defined.
struct PlainSteps {
    explicit PlainSteps(PermTestData& data)
        : d(data), B(d.s, d.t), U(d.s, d.g), T(d.n, d.t), X(d.n, d.g), DT(d.n, d.n), DX(d.n, d.n),
          DR(d.n, d.n), S(d.s, d.s), R(d.n, 1)
    {
    }

    void Products(const std::vector<int>& list)
    {
        for (int i = 0; i < d.s; i++) {
            const int from = list[static_cast<std::size_t>(i)] - 1;
            for (int j = 0; j < d.t; j++) B[i][j] = d.B[from][j];
            for (int j = 0; j < d.g; j++) U[i][j] = d.U[from][j];
        }
        PlainTraitAverages(d.n, d.s, d.t, d.W, B, T, d.selected, d.weights, false);
        PlainNormalizeColumns(d.n, d.t, T);
        PlainComposition(d.n, d.s, d.g, d.W, U, X, d.weights, false);
    }
    void Distances()
    {
        PlainResemblance(euclidean, d.n, d.t, T, DT);
        PlainResemblance(euclidean, d.n, d.g, X, DX);
    }
    void Entropies(const std::vector<int>& list)
    {
        PlainPermuteResemblance(d.s, d.Sb, list, S);
        for (int k = 0; k < d.n; k++)
            R[k][0] = PlainRao(d.s, d.W[k], S, false, true, d.weights, false, false);
        PlainResemblance(euclidean, d.n, 1, R, DR); // of one column: the absolute difference
    }
    void Correlations()
    {
        r.value[rTE] = PlainMatrixCorr(d.n, d.DE, DT);
        r.value[rTY] = PlainMatrixCorr(d.n, d.DY, DT);
        r.value[rTZ] = PlainMatrixCorr(d.n, d.DZ, DT);
        r.value[rXE] = PlainMatrixCorr(d.n, d.DE, DX);
        r.value[rXY] = PlainMatrixCorr(d.n, DX, d.DY);
        r.value[rXZ] = PlainMatrixCorr(d.n, DX, d.DZ);
        r.value[rRE] = PlainMatrixCorr(d.n, d.DE, DR);
        r.rXT = PlainMatrixCorr(d.n, DX, DT);
        r.rXR = PlainMatrixCorr(d.n, DX, DR);
        r.rTR = PlainMatrixCorr(d.n, DT, DR);
    }
    void Signal(const std::vector<int>& list)
    {
        PlainPermuteResemblance(d.s, d.Sf, list, S);
        signal = PlainMatrixCorr(d.s, d.Sb, S);
    }

    PermTestData& d;
    OwnedRows B, U, T, X, DT, DX, DR, S, R;
    ArrangementStatistics r = ArrangementStatistics(0);
    double signal = 0.0;
};

// The steps as the test takes them.
struct FastSteps {
    FastSteps(PermTestData& data, PermTestData& dataWithPhylogeny)
        : in(data.input), inWithPhylogeny(dataWithPhylogeny.input), arrangement(in),
          columns(arrangement), prepared(in, {}), preparedWithPhylogeny(inWithPhylogeny, {}),
          estimator(prepared), withPhylogeny(preparedWithPhylogeny), r(in.comparisons.size())
    {
    }

    void Products(const std::vector<int>& list)
    {
        QuickProducts(arrangement, columns, list.data());
    }
    void Distances() { estimator.TakeDistances(columns); }
    void Entropies(const std::vector<int>& list)
    {
        QuickEntropies(arrangement, columns, list.data());
        estimator.TakeDifferences(columns);
    }
    void Correlations() { estimator.Correlate(r.data()); }
    void Signal(const std::vector<int>& list) { signal = withPhylogeny.Signal(list.data()); }

    PermutationInputs in, inWithPhylogeny;
    QuickArrangement arrangement;
    ArrangementColumns columns;
    MantelEstimation prepared, preparedWithPhylogeny;
    MantelEstimator estimator, withPhylogeny;
    std::vector<Estimate> r;
    Estimate signal;
};

bool IsWithin(double exact, const Estimate& estimate)
{
    return std::fabs(exact - estimate.value) <= estimate.error;
}

bool SameProducts(const PlainSteps& a, const FastSteps& b)
{
    for (int k = 0; k < a.d.n; k++)
        for (int c = 0; c < a.d.t + a.d.g; c++) {
            const double expected = c < a.d.t ? a.T[k][c] : a.X[k][c - a.d.t];
            const std::size_t column = static_cast<std::size_t>(c) * b.columns.stride;
            if (!Same(expected, b.columns.columns[column + static_cast<std::size_t>(k)]))
                return false;
        }
    return true;
}

bool SamePairs(int n, double** square, const double* packed)
{
    for (int i = 0; i < n; i++)
        for (int k = i + 1; k < n; k++)
            if (!Same(square[i][k], *packed++)) return false;
    return true;
}

bool SameCorrelations(const PlainSteps& a, const FastSteps& b)
{
    for (const Statistic which : {rTE, rTY, rTZ, rXE, rXY, rXZ, rRE})
        if (!IsWithin(a.r.value[which], b.r[which])) return false;
    return true;
}

void CheckSteps(Report& report, const char* name, const std::vector<int>& list, PlainSteps& plain,
                FastSteps& fast)
{
    const int n = plain.d.n;
    plain.Products(list);
    fast.Products(list);
    report.Same("K1", name, SameProducts(plain, fast));
    plain.Distances();
    fast.Distances();
    report.Same("K2", name,
                SamePairs(n, plain.DT, fast.estimator.DT.cell) &&
                    SamePairs(n, plain.DX, fast.estimator.DX.cell));
    plain.Entropies(list);
    fast.Entropies(list);
    report.Same("K4", name, SamePairs(n, plain.DR, fast.estimator.DR.cell));
    plain.Correlations();
    fast.Correlations();
    report.Same("K3", name, SameCorrelations(plain, fast));
    plain.Signal(list);
    fast.Signal(list);
    report.Same("K5", name, IsWithin(plain.signal, fast.signal));
}

using Step = std::function<void(const std::vector<int>& list)>;

struct Kernel {
    const char* id;
    const char* what;
    Step plain, fast;
};

Work Repeated(const Step& step, const std::vector<std::vector<int>>& lists)
{
    return [step, &lists](long count) {
        for (long i = 0; i < count; i++) step(lists[static_cast<std::size_t>(i % nLists)]);
    };
}

void LinesOfShape(const Options& options, Report& report, const PermTestShape& shape)
{
    auto data = MakePermTestData(shape), withPhylogeny = MakePermTestData(shape);
    DeriveFromPhylogeny(*withPhylogeny, false);
    const std::vector<std::vector<int>> lists = DrawLists(data->s);
    PlainSteps plain(*data);
    FastSteps fast(*data, *withPhylogeny);
    for (std::size_t l = 0; l < nChecked; l++)
        CheckSteps(report, shape.name, lists[l], plain, fast);

    using List = const std::vector<int>&;
    const Kernel kernels[] = {
        {"K1", "T and X of a list", [&](List list) { plain.Products(list); },
         [&](List list) { fast.Products(list); }},
        {"K2", "DT and DX", [&](List) { plain.Distances(); }, [&](List) { fast.Distances(); }},
        {"K3", "ten matrix correlations", [&](List) { plain.Correlations(); },
         [&](List) { fast.Correlations(); }},
        {"K4", "Rao entropies", [&](List list) { plain.Entropies(list); },
         [&](List list) { fast.Entropies(list); }},
        {"K5", "signal over pairs of OTUs", [&](List list) { plain.Signal(list); },
         [&](List list) { fast.Signal(list); }},
    };
    for (const Kernel& kernel : kernels) {
        if (!options.Wants(kernel.id)) continue;
        const Timed timed =
            TimeInTurn(options, Repeated(kernel.plain, lists), Repeated(kernel.fast, lists));
        report.Line(kernel.id, shape.name, kernel.what, "us/permutation", 1e6, 1, timed);
    }
}

} // namespace

void KernelLines(const Options& options, Report& report)
{
    bool any = false;
    for (const char* id : {"K1", "K2", "K3", "K4", "K5"}) any = any || options.Wants(id);
    if (!any) return;
    LinesOfShape(options, report, smallShape);
}
