// SPDX-License-Identifier: GPL-3.0-or-later
// The subset search in its plain form: each matrix made anew for each subset, by loops that follow
// the definitions. The search must give the same bits; the benchmark measures what it gains.
#pragma once

#include <algorithm>
#include <cmath>
#include <vector>

#include "numeric/adjust.hpp"
#include "numeric/congruence.hpp"
#include "numeric/gower.hpp"
#include "numeric/resemblance.hpp"
#include "numeric/statistics.hpp"
#include "session/session.hpp"
#include "shell/arrays.hpp"
#include "shell/preferences.hpp"

namespace plain {

using Table = std::vector<std::vector<double>>;

inline Table Zeros(int rows, int columns)
{
    return Table(static_cast<std::size_t>(rows),
                 std::vector<double>(static_cast<std::size_t>(columns)));
}

inline double& At(Table& M, int i, int j)
{
    return M[static_cast<std::size_t>(i)][static_cast<std::size_t>(j)];
}
inline double At(const Table& M, int i, int j)
{
    return M[static_cast<std::size_t>(i)][static_cast<std::size_t>(j)];
}
inline bool Missing(double x)
{
    return x == -999.0;
}

inline void Euclid(int n, int p, const Table& M, Table& D)
{
    for (int i = 0; i < n; i++)
        for (int k = i + 1; k < n; k++) {
            double sum = 0.0;
            for (int j = 0; j < p; j++) {
                if (Missing(At(M, i, j)) || Missing(At(M, k, j))) continue;
                sum += (At(M, i, j) - At(M, k, j)) * (At(M, i, j) - At(M, k, j));
            }
            At(D, i, k) = sum > 0.0 ? std::sqrt(sum) : 0.0;
        }
}

inline void Manhattan(int n, int p, const Table& M, Table& D)
{
    for (int i = 0; i < n; i++)
        for (int k = i + 1; k < n; k++) {
            At(D, i, k) = 0.0;
            for (int j = 0; j < p; j++)
                if (!Missing(At(M, i, j)) && !Missing(At(M, k, j)))
                    At(D, i, k) += std::fabs(At(M, i, j) - At(M, k, j));
        }
}

/// Columns (or with `ofRows` rows) of unit length; with `holes` missing cells stay out of it.
inline void UnitLength(int n, int p, Table& M, bool ofRows, bool holes)
{
    for (int a = 0; a < (ofRows ? n : p); a++) {
        double sum = 0.0;
        const int m = ofRows ? p : n;
        for (int b = 0; b < m; b++) {
            const double x = ofRows ? At(M, a, b) : At(M, b, a);
            if (!holes || !Missing(x)) sum += x * x;
        }
        for (int b = 0; b < m && sum > 0.0; b++) {
            double& x = ofRows ? At(M, a, b) : At(M, b, a);
            if (!holes || !Missing(x)) x /= std::sqrt(sum);
        }
    }
}

inline double Mantel(int n, const Table& A, const Table& B)
{
    if (n < 3) { // the one cell of each
        const double a = At(A, 0, 1), b = At(B, 0, 1);
        return 1.0 - std::fabs(a - b) / (a > b ? a : b);
    }
    double sumA = 0.0, sumB = 0.0;
    int m = 0;
    for (int i = 0; i < n; i++)
        for (int k = i + 1; k < n; k++) {
            if (Missing(At(A, i, k)) || Missing(At(B, i, k))) continue;
            sumA += At(A, i, k);
            sumB += At(B, i, k);
            m++;
        }
    double aa = 0.0, bb = 0.0, ab = 0.0;
    for (int i = 0; i < n; i++)
        for (int k = i + 1; k < n; k++) {
            if (Missing(At(A, i, k)) || Missing(At(B, i, k))) continue;
            const double a = At(A, i, k) - sumA / m, b = At(B, i, k) - sumB / m;
            aa += a * a;
            bb += b * b;
            ab += b * a;
        }
    return aa == 0.0 || bb == 0.0 ? 0.0 : ab / std::sqrt(aa * bb);
}

/// Criteria 1, 9, 10, 11, 16 and 17 under Mantel, 9 and 10 under Procrustes and RV, for the session's
/// data with quantitative E.
class Ranking {
public:
    explicit Ranking(bool withPhylogeny)
        : n(session.ncsm), s(session.tcst), t(session.nch), g(session.nMinCSTGroupsChRank),
          DE(Zeros(n, n)), W0(Zeros(n, s)), W1(Zeros(n, s)), P(Zeros(n, g)), DP(Zeros(n, n)),
          T(Zeros(n, t)), DT(Zeros(n, n)), S(Zeros(s, s)), Q(Zeros(s, g)), X(Zeros(n, g)),
          DX(Zeros(n, n)), Rao(Zeros(n, 1)), DR(Zeros(n, n)),
          type(session.partition_OTUs, session.partition_OTUs + s)
    {
        FillEnvironment();
        for (int c = 0; c < n; c++) {
            double total = 0.0;
            for (int i = 0; i < s; i++) total += session.cadat[i][c];
            for (int i = 0; i < s; i++) {
                At(W1, c, i) = session.cadat[i][c] / (total == 0.0 ? 1.0 : total);
                At(W0, c, i) = session.optUnitTotalAdjust2 ? At(W1, c, i) : session.cadat[i][c];
            }
        }
        std::vector<int> labels = type;
        std::sort(labels.begin(), labels.end());
        labels.erase(std::unique(labels.begin(), labels.end()), labels.end());
        for (int& label : type)
            label = static_cast<int>(std::find(labels.begin(), labels.end(), label) - labels.begin());
        FillLayers();
        if (!withPhylogeny) return;
        for (int i = 0; i < s; i++)
            for (int j = 0; j < s; j++) At(S, i, j) = session.phylogenyRese[i][j];
        Fuzzy(true);
        Compose(P);
        Resemble(P, DP);
    }

    /// select: 0 or 1 for each trait
    double Value(int criterion, const int* select)
    {
        if (criterion != 1 && criterion != 16 && criterion != 11) {
            Averages(select, criterion == 10);
            Euclid(n, t, T, DT);
        }
        if (criterion == 10)
            return session.opt_ro == 1 ? Mantel(n, DE, DT) : Coefficient(session.nenv, E, t, Copy(T));
        Average(select);
        if (criterion == 16) return AlphaDivergence();
        if (session.fuzzy == 3)
            Fuzzy(false);
        else
            for (int i = 0; i < s; i++)
                for (int c = 0; c < g; c++) At(Q, i, c) = type[Index(i)] == c ? 1.0 : 0.0;
        Compose(X);
        if (session.opt_ro != 1) {
            const OwnedRows control = Copy(T);
            std::vector<int> selected(select, select + t);
            const ControlBlock block = {t, selected.data(), control};
            return PartialMatrixCorrelation(n, s, session.nenv, Copy(X), E, session.opt_ro,
                                            preferences.overfitFactorPCARegr, 1, &block);
        }
        Resemble(X, DX);
        if (criterion == 1) return Mantel(n, DE, DX);
        if (criterion == 11) return Mantel(n, DP, DX);
        return PartialCorrelation(Mantel(n, DE, DX), Mantel(n, DT, DX), Mantel(n, DE, DT));
    }

    /// Similarity of all OTU pairs on a subset of traits; public for the benchmark, like Fuzzy.
    void Average(const int* select)
    {
        for (int i = 0; i < s; i++) {
            At(S, i, i) = 1.0;
            for (int j = i + 1; j < s; j++) {
                double sum = 0.0, count = 0.0;
                bool any = false;
                for (int k = 0; k < t; k++) {
                    const double cell = At(layers[Index(k)], i, j);
                    if (Missing(cell)) continue;
                    any = true;
                    if (select[k] != 1) continue;
                    sum += cell;
                    count += 1.0;
                }
                At(S, i, j) = count > 0.0 ? sum / count : any ? 0.0 : -999.0;
            }
        }
    }

    /// Mean similarity to the members of each type, OTUs at 1.0 of each other pooled.
    void Fuzzy(bool isDissimilarity)
    {
        std::vector<int> count(Index(g)), representative(Index(s)), duplicate(Index(s));
        for (int i = 0; i < s; i++) {
            count[Index(type[Index(i)])]++;
            representative[Index(i)] = i;
        }
        for (int i = 0; i < s; i++)
            for (int j = i + 1; j < s; j++) {
                if (duplicate[Index(i)] || duplicate[Index(j)] || type[Index(i)] != type[Index(j)] ||
                    !AlmostEqual2sComplement(At(S, i, j), 1.0, 1))
                    continue;
                duplicate[Index(j)] = 1;
                representative[Index(j)] = i;
                count[Index(type[Index(i)])]--;
            }
        for (int i = 0; i < s; i++)
            for (int j = i + 1; j < s; j++) At(S, j, i) = At(S, i, j);
        for (int i = 0; i < s; i++) {
            std::fill(Q[Index(i)].begin(), Q[Index(i)].end(), -999.0);
            for (int j = 0; j < s; j++) {
                const bool counts = j == i || (!duplicate[Index(j)] && representative[Index(i)] !=
                                                                           representative[Index(j)]);
                if (!counts || Missing(At(S, i, j))) continue;
                double& cell = At(Q, i, type[Index(j)]);
                if (Missing(cell)) cell = 0.0;
                cell += (isDissimilarity ? 1.0 - At(S, i, j) : At(S, i, j)) /
                        count[Index(type[Index(j)])];
            }
            double total = 0.0;
            for (const double cell : Q[Index(i)]) total += Missing(cell) ? 0.0 : cell;
            for (double& cell : Q[Index(i)])
                if (!Missing(cell)) cell /= total == 0.0 ? 1.0 : total;
        }
    }

private:
    /// With as many columns as there are OTUs at least, those behind the table's own being 0.
    OwnedRows Copy(const Table& M) const
    {
        OwnedRows rows(n, std::max<long>(s, static_cast<long>(M[0].size())));
        for (int i = 0; i < n; i++) std::copy(M[Index(i)].begin(), M[Index(i)].end(), rows[i]);
        return rows;
    }

    double Coefficient(int p1, double** A, int p2, const OwnedRows& B) const
    {
        return session.opt_ro == 2 ? ProcrustesCoeff(n, p1, p2, A, B) : RVcoeff(n, p1, p2, A, B);
    }

    static std::size_t Index(int i) { return static_cast<std::size_t>(i); }

    void FillEnvironment()
    {
        const int e = session.nenv;
        OwnedRows D(n, n);
        E = OwnedRows(n, e);
        for (int c = 0; c < n; c++) std::copy_n(session.env[c], e, E[c]);
        CorrAdj(n, e, E, E);
        EucliDistMV(n, e, E, D);
        for (int i = 0; i < n; i++) std::copy_n(D[i], n, DE[Index(i)].begin());
    }

    /// Similarity on each trait alone.
    void FillLayers()
    {
        OwnedVector values(s);
        OwnedRows cells(s, s);
        for (int j = 0; j < t; j++) {
            for (int i = 0; i < s; i++) values[i] = session.csm_Float[i][j];
            GowerMVPartial_dAbsences(s, session.chtype[j], values, cells, session.chrange[j],
                                     session.weight[j], preferences.countDoubleAbsence);
            layers.push_back(Zeros(s, s));
            for (int i = 0; i < s; i++) std::copy_n(cells[i], s, layers.back()[Index(i)].begin());
        }
    }

    /// T: community averages of the subset's traits, columns of unit length.
    void Averages(const int* select, bool holes)
    {
        for (int c = 0; c < n; c++)
            for (int j = 0; j < t; j++) {
                At(T, c, j) = 0.0;
                if (select[j] != 1) continue;
                double sum = 0.0, used = 0.0, total = 0.0;
                for (int i = 0; i < s; i++) {
                    const double x = At(W1, c, i), y = session.csm_Float[i][j];
                    total += x;
                    if (Missing(x) || Missing(y)) continue;
                    sum += session.weight_OTUs[i] * y * x;
                    used += x;
                }
                At(T, c, j) = sum / (used / total);
            }
        UnitLength(n, t, T, false, holes);
    }

    void Compose(Table& out)
    {
        for (int c = 0; c < n; c++)
            for (int k = 0; k < g; k++) {
                double sum = 0.0;
                bool left = false;
                for (int i = 0; i < s; i++) {
                    if (Missing(At(W0, c, i)) || Missing(At(Q, i, k)))
                        left = true;
                    else
                        sum += session.weight_OTUs[i] * At(W0, c, i) * At(Q, i, k);
                }
                At(out, c, k) = sum == 0.0 && left ? -999.0 : sum;
            }
    }

    void Resemble(const Table& M, Table& D)
    {
        if (session.rese_opt == 8 || session.rese_opt == 9) {
            Manhattan(n, g, M, D);
        } else if (session.rese_opt == 10) {
            Table unit = M;
            UnitLength(n, g, unit, true, true);
            Euclid(n, g, unit, D);
        } else {
            Euclid(n, g, M, D);
        }
    }

    double AlphaDivergence()
    {
        for (int c = 0; c < n; c++) {
            double total = 0.0, Q1 = 0.0;
            for (int i = 0; i < g; i++) total += At(W0, c, i);
            for (int i = 0; i < g && total > 0.0; i++)
                for (int j = 0; j < g; j++) {
                    const double S1 = i < j ? At(S, i, j) : At(S, j, i);
                    if (Missing(S1)) continue;
                    const double d = std::sqrt(S1 > 1.0 ? 0.0 : 1.0 - S1);
                    Q1 += At(W0, c, j) / total * d * (At(W0, c, i) / total);
                }
            At(Rao, c, 0) = Q1;
        }
        Manhattan(n, 1, Rao, DR);
        if (n >= 3) return Mantel(n, DE, DR);
        return 0.0; // one pair is constant: no correlation
    }

    const int n, s, t, g;
    Table DE, W0, W1, P, DP, T, DT, S, Q, X, DX, Rao, DR;
    std::vector<int> type; // column of each OTU's type
    std::vector<Table> layers;
    OwnedRows E;
};

} // namespace plain
