#!/usr/bin/python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Recomputes a report of the functional analysis from the raw matrices, and compares each number.

All statistics are written out here from their definitions with NumPy; nothing comes from the
program but the settings that its report echoes and, with --intermediate, its file of permutations.
Needs python3-numpy of Debian or Ubuntu. Of a report with several analyses the last one is checked.

    report_check.py REPORT --b B.txt --w W.txt --types types.txt [--e E.txt --e-kind 2]
                    [--f F.txt --f-kind 1] ...     (see --help)

For each table the largest difference in units of the sixth digit is printed; half a unit is
rounding. The exit status is 1 if any is above 0.51, or if a table to be checked is not there.
"""
import argparse
import re
import sys

import numpy as np

MISSING = -999.0
np.seterr(all="ignore")


# --- Reading

def numbers(path, rows, columns):
    """First rows x columns numbers, to the 6 digits that the formatted data file keeps."""
    found = []
    for word in open(path).read().split():
        if len(found) == rows * columns:
            break
        found.append(float("%.6g" % float(word)))
    return np.array(found + [0.0] * (rows * columns - len(found))).reshape(rows, columns)


class Report:
    def __init__(self, path):
        self.lines = open(path, errors="replace").read().split("\n")
        for head in self.every(r"^EXPLORATION OF COMMUNITY")[-1:]:
            self.lines = self.lines[head:]

    def last(self, pattern):
        """Index of the last line that matches, and the match."""
        for i in range(len(self.lines) - 1, -1, -1):
            match = re.search(pattern, self.lines[i])
            if match:
                return i, match
        return None, None

    def every(self, pattern):
        return [i for i, line in enumerate(self.lines) if re.search(pattern, line)]

    def rows(self, start, count):
        values = []
        for line in self.lines[start:start + count]:
            values.append([float(word) for word in line.split("\t") if word.strip()])
        return values

    def table(self, pattern, count, skip=1):
        i, _ = self.last(pattern)
        return None if i is None else self.rows(i + skip, count)

    def setting(self, pattern, default=None):
        _, match = self.last(pattern)
        return match.group(1) if match else default


# --- Comparison

class Comparison:
    def __init__(self, quiet):
        self.worst = 0.0
        self.missing = 0
        self.quiet = quiet

    def __call__(self, name, printed, computed):
        if printed is None:
            print("%-60s NOT IN THE REPORT" % name)
            self.missing += 1
            return
        printed = np.concatenate([np.asarray(row, float).ravel() for row in printed])
        computed = np.concatenate([np.asarray(row, float).ravel() for row in computed])
        if len(printed) != len(computed):
            print("%-60s %d numbers instead of %d" % (name, len(printed), len(computed)))
            self.missing += 1
            return
        worst = 0.0
        for p, c in zip(printed, computed):
            if np.isnan(p) and np.isnan(c) or p == c or abs(p - c) < 1e-13:
                continue
            if not np.isfinite(p) or not np.isfinite(c):
                worst = np.inf
                continue
            unit = 10.0 ** (np.floor(np.log10(max(abs(p), abs(c)))) - 5)
            worst = max(worst, abs(p - c) / unit)
        self.worst = max(self.worst, worst)
        if not self.quiet or worst > 0.51:
            print("%-60s %6d numbers, largest difference %.3g units%s"
                  % (name, len(printed), worst, "   <<<<<" if worst > 0.51 else ""))

    def scalar(self, name, printed, computed):
        self(name, None if printed is None else [[float(printed)]], [[computed]])


def lower(matrix):
    return [row[:i + 1] for i, row in enumerate(matrix)]


# --- Measures

def present(x):
    return x != MISSING


def euclid(X):
    both = present(X)[:, None, :] & present(X)[None, :, :]
    return np.sqrt((np.where(both, X[:, None, :] - X[None, :, :], 0.0) ** 2).sum(axis=2))


def city_block(X):
    both = present(X)[:, None, :] & present(X)[None, :, :]
    return np.abs(np.where(both, X[:, None, :] - X[None, :, :], 0.0)).sum(axis=2)


def chord(X):
    length = np.sqrt((X ** 2).sum(axis=1))
    return euclid(X / np.where(length > 0, length, 1.0)[:, None])


def unit_rows(X):
    total = np.where(present(X), X, 0.0).sum(axis=1)
    return np.where(present(X), X / np.where(total == 0, 1.0, total)[:, None], MISSING)


def unit_length_columns(X):
    length = np.sqrt((X ** 2).sum(axis=0))
    return X / np.where(length > 0, length, 1.0)


def mantel(A, B):
    upper = np.triu_indices(len(A), 1)
    a, b = A[upper], B[upper]
    keep = present(a) & present(b)
    a, b = a[keep], b[keep]
    if len(A) < 2:
        return 0.0
    a, b = a - a.mean(), b - b.mean()
    if (a ** 2).sum() == 0 or (b ** 2).sum() == 0:
        return 0.0
    return (a * b).sum() / np.sqrt((a ** 2).sum() * (b ** 2).sum())


def relative_closeness(A, B):
    a, b = (A[0, 1], B[0, 1]) if len(A) > 1 else (0.0, 0.0)
    return 1.0 - abs(a - b) / max(a, b) if max(a, b) != 0 else np.nan


def centred(X):
    means = np.where(present(X), X, 0.0).sum(axis=0) / present(X).sum(axis=0)
    return np.where(present(X), X - means, 0.0)


def rv(A, B):
    """Escoufier (1973)."""
    a, b = centred(A), centred(B)
    a, b = a @ a.T, b @ b.T
    return (a * b).sum() / np.sqrt((b * b).sum() * (a * a).sum())


def procrustes(A, B):
    """Sum of singular values, each configuration centred and of unit total variance."""
    a, b = centred(A), centred(B)
    a = a / np.sqrt((a ** 2).sum() / (len(A) - 1))
    b = b / np.sqrt((b ** 2).sum() / (len(B) - 1))
    product = a.T @ b / (len(A) - 1)
    return np.linalg.svd(product, compute_uv=False).sum() if np.isfinite(product).all() else np.nan


def partial(rxy, rxz, ryz):
    if abs(rxz - 1.0) < 1e-9 or abs(ryz - 1.0) < 1e-9:
        return 0.0
    return (rxy - rxz * ryz) / (np.sqrt(1.0 - ryz * ryz) * np.sqrt(1.0 - rxz * rxz))


def axes_residuals(Y, controls, factor):
    """Residuals on the first principal axes of the controls' correlation matrix."""
    n = len(Y)
    Z = unit_length_columns(centred(controls))
    values, vectors = np.linalg.eigh(Z.T @ Z)
    order = np.argsort(-values)
    values, vectors = values[order], vectors[:, order]
    count = int((values * 100.0 / values[values > 0].sum() > 1e-6).sum())
    if (n - 2) / factor < count:
        count = int((n - 2) / factor)
    scores = Z @ vectors[:, :count]
    # A missing cell tells nothing about the slopes, but counts as -999 in the mean and as Y.
    fit = scores @ np.linalg.lstsq(scores, centred(Y), rcond=None)[0] + Y.mean(axis=0)
    return Y - fit


def partial_matrices(A, B, controls, coefficient, factor):
    control = np.hstack(controls)
    return coefficient(axes_residuals(A, control, factor), axes_residuals(B, control, factor))


def mid_ranks(x):
    ranks = np.full(len(x), MISSING)
    known = np.flatnonzero(present(x))
    for i in known:
        ranks[i] = (x[known] < x[i]).sum() + ((x[known] == x[i]).sum() + 1) / 2.0
    return ranks


def value_range(x):
    known = x[present(x)]
    return float(max(known.max(initial=0.0), 2.2250738585072014e-308) - known.min())


def gower_parts(x, kind, joint_absence, own_range=None):
    """Similarity of all pairs on one variable and whether it tells anything (Gower 1971)."""
    if kind == 4:
        x = mid_ranks(x)
    tells = present(x)[:, None] & present(x)[None, :]
    same = x[:, None] == x[None, :]
    if kind in (3, 4):
        span = own_range if own_range is not None and kind == 3 else np.float32(value_range(x))
        difference = np.abs(x[:, None] - x[None, :])
        similarity = 1.0 - difference / float(span) if span > 0 else np.ones_like(difference)
    else:
        similarity = same * 1.0
        if kind == 1 and not joint_absence:
            tells = tells & ~(same & (x[:, None] == 0))
    return np.where(tells, similarity, 0.0), tells


def gower(X, kinds, joint_absence):
    above, below = np.zeros((len(X), len(X))), np.zeros((len(X), len(X)))
    for j, kind in enumerate(kinds):
        similarity, tells = gower_parts(X[:, j], kind, joint_absence)
        above += similarity
        below += tells
    S = np.where(below > 0, above / below, 0.0)
    np.fill_diagonal(S, 1.0)
    return S


def trait_similarity(B, kinds, weights, joint_absence):
    above, below = np.zeros((len(B), len(B))), np.zeros((len(B), len(B)))
    for j, kind in enumerate(kinds):
        if weights[j] <= 0:
            continue
        known = B[present(B[:, j]), j]
        span = known.max() - known.min() if len(known) else 0.0
        similarity, tells = gower_parts(B[:, j], kind, joint_absence, span if span > 0 else None)
        above += np.float32(similarity * weights[j]).astype(float) * tells
        below += tells * weights[j]
    S = np.where(below > 0, above / below, MISSING)
    np.fill_diagonal(S, 1.0)
    return S


def reaches(a, b, absolute):
    """At the grain of single precision: above, or within one unit of the last place."""
    if absolute:
        a, b = abs(a), abs(b)

    def place(x):
        bits = int(np.float32(x).view(np.int32))
        return bits if bits >= 0 else -(bits & 0x7FFFFFFF)
    return a > b or abs(place(a) - place(b)) <= 1


# --- Communities

def trait_averages(W, B, selected, weights, keep_scale):
    T = np.zeros((len(W), B.shape[1]))
    for j in np.flatnonzero(selected):
        both = present(W) & present(B[:, j])[None, :]
        cell = np.where(both, W * np.where(present(B[:, j]), B[:, j], 0.0) * weights, 0.0).sum(axis=1)
        share, weighted = np.where(both, W, 0).sum(axis=1), np.where(both, W * weights, 0).sum(axis=1)
        divisor = (weighted if keep_scale else share) / W.sum(axis=1)
        T[:, j] = np.where((weighted if keep_scale else share) > 0, cell / divisor, cell)
    return T


def composition(W, U, weights, keep_scale):
    X = np.zeros((len(W), U.shape[1]))
    for c in range(U.shape[1]):
        both = present(W) & present(U[:, c])[None, :]
        cell = np.where(both, W * U[:, c] * weights, 0.0).sum(axis=1)
        if keep_scale:
            cell = cell / (np.where(both, W * weights, 0.0).sum(axis=1)
                           / np.where(both, W, 0.0).sum(axis=1))
        X[:, c] = np.where((cell == 0) & ~both.all(axis=1), MISSING, cell)
    return X


def rao(W, S, dissimilarity, root, weights, within, keep_scale):
    """Rao (1982), pairs of excluded OTUs left out."""
    d = np.where(present(S), S if dissimilarity else np.maximum(1.0 - S, 0.0), 0.0)
    if root:
        d = np.sqrt(d)
    w = np.asarray(weights)
    pair = np.outer(w, w) if within else ((w[:, None] == 1) | (w[None, :] == 1)) * 1
    Q = np.zeros(len(W))
    for k, x in enumerate(W):
        total = x[present(x)].sum()
        if not total > 0:
            continue
        p = x / total
        product = np.outer(p, p)
        known = present(S) & present(x)[:, None] & present(x)[None, :]
        Q[k] = (product * pair * d * known).sum()
        divisor = (product * pair * known).sum() if keep_scale else (product * known).sum()
        if divisor > 0:
            Q[k] /= divisor / product.sum()
    return Q


def beals(W, include, odds):
    n, s = W.shape
    C = np.array([[(W[:, i] * (W[:, j] > 0)).sum() for j in range(s)] for i in range(s)])
    for i in range(s):
        if C[i, i] > 0:
            C[i] = C[i] / C[i, i]
        C[i, i] = 1.0
    if odds:
        C = C / C.sum(axis=1)[:, None]
    A = unit_rows(W)
    if include:
        return A @ C
    np.fill_diagonal(C, 0.0)
    if odds:
        C = C / (1.0 - C)
    Y = np.zeros((n, s))
    for k in range(n):
        for j in range(s):
            if 1.0 - A[k, j] != 0:
                Y[k, j] = ((A[k] / (1.0 - A[k, j])) * C[:, j]).sum()
    return Y


def crisp_belonging(groups):
    return np.array([[1.0 * (g == label) for label in sorted(set(groups))] for g in groups])


def fuzzy_belonging(S, groups, dissimilarity):
    """Mean similarity to the members of a type, identical members pooled; rows of unit sum."""
    s, labels = len(S), sorted(set(groups))
    S = np.triu(S) + np.triu(S, 1).T
    first = list(range(s))
    for i in range(s):
        for j in range(i + 1, s):
            if first[i] == i and first[j] == j and groups[i] == groups[j] \
                    and abs(np.float32(S[i, j]) - np.float32(1)) < 1.3e-7:
                first[j] = i
    U = np.full((s, len(labels)), MISSING)
    for c, label in enumerate(labels):
        members = [j for j in range(s) if groups[j] == label]
        count = sum(first[j] == j for j in members)
        for i in range(s):
            seen = [j for j in members if j == i or first[j] == j and first[i] != first[j]]
            seen = [j for j in seen if present(S[i, j])]
            if seen:
                U[i, c] = sum((1.0 - S[i, j] if dissimilarity else S[i, j]) for j in seen) / count
    return unit_rows(U)


def principal_coordinates(squared):
    centre = np.eye(len(squared)) - 1.0 / len(squared)
    values, vectors = np.linalg.eigh(-0.5 * centre @ squared @ centre)
    order = np.argsort(-values)
    values, vectors = values[order], vectors[:, order]
    count = int((values * 100.0 / values[values > 0].sum() > 1e-6).sum())
    return vectors[:, :count] * np.sqrt(values[:count])


# --- Random lists: see seed_lists.py

class Lists:
    def __init__(self, seed):
        self.generator = np.random.MT19937()
        self.generator._legacy_seeding(seed)

    def uniform(self, n):
        scale = 0xFFFFFFFF // n
        while True:
            k = int(self.generator.random_raw()) // scale
            if k < n:
                return k

    def shuffle(self, items):
        for i in range(len(items) - 1):
            j = i + self.uniform(len(items) - i)
            items[i], items[j] = items[j], items[i]

    def nested(self, groups):
        result = list(range(len(groups)))
        for label in sorted(set(groups)):
            members = [i for i, g in enumerate(groups) if g == label]
            order = list(range(len(members)))
            self.shuffle(order)
            for place, k in zip(members, order):
                result[place] = members[k]
        return result


# --- The analysis

MEASURES = {"matrix correlation (Mantel)": 1, "Procrustes (traceW)": 2,
            "RV coefficient (Escoufier 1973)": 3, "(null)": 4, "1 (stepwise)": 5}
ALWAYS_TWO_TAILED = {"XE.T", "XE.TR", "XY.T", "XZ.T", "PX.T", "TE.P", "XE.P", "XE.TP", "PE.T", "PE.X"}


class Analysis:
    def __init__(self, report, options):
        self.report, self.options = report, options
        self.read_settings()
        self.read_data()
        self.derive()

    def read_settings(self):
        get = self.report.setting
        self.n = int(get(r"^Number of communities: (\d+)"))
        self.kinds = [int(w) for w in get(r"^Trait type:\s+(.*)").split()]
        self.weights = [float(w) for w in get(r"^Trait weights:\s+(.*)").split()]
        self.t = len(self.kinds)
        self.selected = np.array([w > 0 for w in self.weights])
        self.measure = MEASURES[get(r"^Correlation function between matrices: \t(.*)")]
        self.rese = int(get(r"^Resemblance option between communities: (\d+)", "6"))
        self.factor = float(get(r"number of predictors = n/f\): (.*)", "2"))
        lines = self.report.lines
        self.fuzzy = any("fuzzy (fuzzy belonging" in line for line in lines)
        self.standard = any("adjusted to unit totals prior to evaluation of TDAP" in line
                            and " NOT " not in line for line in lines)
        self.joint_absence = get(r"matching absences in binary traits\? (\w+)") == "yes"
        self.root = get(r"based on traits computed on square root.*\? (\w+)") == "yes"
        self.root_phylogeny = get(r"based on phylogeny computed on square root.*\? (\w+)") == "yes"
        self.tested = any(line.startswith("Number of iterations for perm") for line in lines)
        if self.tested:
            self.iterations = int(get(r"^Number of iterations for permutation tests: (.*)"))
            self.seed = int(get(r"^Random generator seed: (.*)"))
            self.taxa = any("Null model based on taxa" in line for line in lines)
            nesting = get(r"^Nesting groups for \d+ OTUs:\t(.*)") \
                if any("Restricted within" in line for line in lines) else None
            self.nesting = [int(w) for w in nesting.split()] if nesting else None
        self.two_tailed = not any("ONE-tailed" in line for line in lines) \
            and not self.options.one_tailed

    def read_data(self):
        o = self.options
        self.groups = [int(w) for w in open(o.types).read().split()] if o.types \
            else list(range(1, o.otus + 1))
        self.s = len(self.groups)
        self.B = numbers(o.b, self.s, self.t)
        self.rawW = numbers(o.w, self.n, self.s)
        self.excluded = self.report.table(r"^OTUs weights \(zero ones", 1)
        self.keep_scale = self.within = False
        self.otu_weights = np.ones(self.s)
        if self.excluded:
            self.otu_weights = np.array(self.excluded[0])
            self.keep_scale = self.report.last(r"^Scale was maintained")[0] is not None
            self.within = self.report.last(r"RESTRICTED to dis-sim")[0] is not None
        self.env = None
        if o.e:
            i, _ = self.report.last(r"^Matrix E with ecological variables")
            columns = int(re.search(r"x (\d+) variables", self.report.lines[i]).group(1))
            self.env = numbers(o.e, self.n, columns)
            self.e_selected = [w == "1" for w in o.e_selected.split()] if o.e_selected \
                else [True] * columns
        self.phylogeny = o.f is not None

    def derive(self):
        o = self.options
        self.traitW = unit_rows(self.rawW)
        self.W = self.traitW if self.standard else self.rawW
        if self.env is not None:
            E = self.env[:, self.e_selected]
            kinds = [int(w) for w in o.e_types.split()] if o.e_types else None
            if o.e_kind == 1:
                self.E, self.DE = E, euclid(E)
            elif o.e_kind in (2, 4) or o.e_kind == 5 and 2 not in kinds:
                Z = np.full(E.shape, MISSING)
                for j in range(E.shape[1]):
                    known = present(E[:, j])
                    d = E[known, j] - E[known, j].mean()
                    length = np.sqrt((d ** 2).sum())
                    Z[known, j] = np.float32(d / (length if length > 0 else 1.0))
                self.E, self.DE = Z, euclid(Z)
            else:
                kinds = kinds or [2] * E.shape[1]
                kinds = [k for k, keep in zip(kinds, self.e_selected) if keep]
                self.E, self.DE = E, 1.0 - gower(E, kinds, self.joint_absence)
        if self.phylogeny:
            self.derive_phylogeny()
        weigh = (self.otu_weights, self.keep_scale)
        Bs = np.where(self.selected, self.B, 0.0)
        self.Bs = Bs
        self.T0 = trait_averages(self.traitW, Bs, self.selected, *weigh)
        self.Sb = trait_similarity(self.B, self.kinds, self.weights, self.joint_absence)
        self.C = crisp_belonging(self.groups)
        self.U = fuzzy_belonging(self.Sb, self.groups, False)
        self.D = rao(self.W, np.eye(self.s), False, False, self.otu_weights, self.within,
                     self.keep_scale)
        self.Y, self.Z = beals(self.W, not o.beals_without_target, False), \
            beals(self.W, not o.beals_without_target, True)
        self.DY, self.DZ = self.resemble(self.Y, False), self.resemble(self.Z, False)

    def derive_phylogeny(self):
        o = self.options
        self.dissimilarity = o.f_kind != 2
        if o.f_kind == 4:  # variables of the phylogeny
            kinds = [int(w) for w in o.f_types.split()]
            F = numbers(o.f, self.s, len(kinds))
            self.F_variables = F
            self.F = gower(F, kinds, False)
        elif o.f_kind == 3:  # the data file keeps nothing of a half matrix
            self.F = np.zeros((self.s, self.s))
        else:
            F = np.array([float(w) for w in open(o.f).read().split()[:self.s ** 2]])
            F = F.reshape(self.s, self.s)
            if o.f_kind == 1 and np.triu(F).max() > 1.0:
                F = F / np.triu(F).max()
            self.F = np.vectorize(lambda x: float("%.6g" % x))(F)
        self.F = np.triu(self.F) + np.triu(self.F, 1).T
        self.Q = fuzzy_belonging(self.F, self.groups, self.dissimilarity)
        diagonal = np.diag(self.F)
        self.coordinates = principal_coordinates(
            self.F ** 2 if self.dissimilarity
            else diagonal[:, None] + diagonal[None, :] - 2.0 * self.F)

    def resemble(self, M, in_test):
        if self.rese == 10:
            return chord(M)
        if self.rese == 6 or self.rese == 7 and not in_test:
            return euclid(M)
        if self.rese == 8 or self.rese == 9 and not in_test:
            return city_block(M)
        return np.zeros((len(M), len(M)))

    # --- One arrangement: rows of `otus` (taxa) or `sites`, indices from 0

    def arrangement(self, otus=None, sites=None):
        weigh = (self.otu_weights, self.keep_scale)
        otus = list(range(self.s)) if otus is None else otus
        sites = list(range(self.n)) if sites is None else sites
        belonging = self.U if self.fuzzy else self.C
        a = {"otus": otus, "sites": sites}
        a["T"] = unit_length_columns(
            trait_averages(self.W, self.Bs[otus], self.selected, *weigh))[sites]
        a["X"] = composition(self.W, belonging[otus], *weigh)[sites]
        a["R"] = rao(self.W, self.Sb[np.ix_(otus, otus)], False, self.root, self.otu_weights,
                     self.within, self.keep_scale)[sites]
        if self.phylogeny:
            a["P"] = composition(self.W, self.Q[otus], *weigh)[sites]
            a["F"] = rao(self.W, self.F[np.ix_(otus, otus)], self.dissimilarity,
                         self.root_phylogeny, self.otu_weights, self.within,
                         self.keep_scale)[sites]
        return a

    def statistics(self, a, observed):
        if self.measure == 1:
            return self.mantel_statistics(a, observed)
        if self.measure in (2, 3):
            return self.matrix_statistics(a)
        return self.regression(a) if self.measure == 4 else self.variance(a)

    def mantel_statistics(self, a, observed):
        close = relative_closeness if self.n < 3 else mantel
        DE = self.DE if self.env is not None else np.zeros((self.n, self.n))
        DT, DX = euclid(a["T"]), self.resemble(a["X"], True)
        DR = np.abs(a["R"][:, None] - a["R"][None, :])
        r = {"TE": close(DE, DT), "XE": close(DE, DX), "TY": close(self.DY, DT),
             "TZ": close(self.DZ, DT), "XY": close(DX, self.DY), "XZ": close(DX, self.DZ),
             "RE": mantel(DE, DR)}
        xt, xr, tr = close(DX, DT), mantel(DX, DR), mantel(DT, DR)
        r["XE.T"] = partial(r["XE"], xt, r["TE"])
        r["XY.T"] = partial(r["XY"], xt, r["TY"])
        r["XZ.T"] = partial(r["XZ"], xt, r["TZ"])
        xe_r, te_r, xt_r = partial(r["XE"], xr, r["RE"]), partial(r["TE"], tr, r["RE"]), \
            partial(xt, xr, tr)
        r["XE.TR"] = partial(xe_r, xt_r, te_r)
        r["hidden"] = (xt, xr, tr, xe_r, te_r, xt_r)
        if self.phylogeny:
            DP, DF = self.resemble(a["P"], True), np.abs(a["F"][:, None] - a["F"][None, :])
            moved = self.F[np.ix_(a["otus"], a["otus"])]
            r["BF"] = mantel(self.Sb, moved) * (-1 if observed and self.dissimilarity else 1)
            r["FE"] = mantel(DE, DF)
            r["PE"], r["PT"], r["PX"] = close(DE, DP), close(DP, DT), close(DP, DX)
            r["PX.T"] = partial(r["PX"], xt, r["PT"])
            r["PE.T"] = partial(r["PE"], r["PT"], r["TE"])
            r["PE.X"] = partial(r["PE"], r["PX"], r["XE"])
            r["TE.P"] = partial(r["TE"], r["PT"], r["PE"])
            r["XE.P"] = partial(r["XE"], r["PX"], r["PE"])
            r["XE.TP"] = partial(r["XE.P"], partial(xt, r["PX"], r["PT"]), r["TE.P"])
        return r

    def matrix_statistics(self, a):
        c = procrustes if self.measure == 2 else rv
        T, X, R = a["T"], a["X"], a["R"][:, None]
        chosen = T[:, self.selected]

        def given(A, B, *controls):
            return partial_matrices(A, B, controls, c, self.factor)
        r = {"TY": c(T, self.Y), "TZ": c(T, self.Z), "XY": c(X, self.Y), "XZ": c(X, self.Z),
             "XY.T": given(X, self.Y, chosen), "XZ.T": given(X, self.Z, chosen)}
        if self.env is not None:
            E = self.E
            r.update({"TE": c(T, E), "XE": c(X, E), "RE": c(R, E), "XE.T": given(X, E, chosen),
                      "XE.TR": given(X, E, chosen, R)})
        r["hidden"] = (c(X, T), c(X, R), c(T, R), 0, 0, 0)
        if self.phylogeny:
            P = a["P"]
            r.update({"BF": c(unit_length_columns(self.Bs), self.coordinates[a["otus"]]),
                      "PT": c(T, P), "PX": c(X, P), "PX.T": given(P, X, chosen)})
            if self.env is not None:
                r.update({"FE": c(a["F"][:, None], E), "PE": c(E, P), "PE.T": given(P, E, chosen),
                          "PE.X": given(P, E, X), "TE.P": given(T, E, P), "XE.P": given(X, E, P),
                          "XE.TP": given(X, E, chosen, P)})
        return r

    def regression(self, a):
        responses = np.column_stack([a["T"], a["R"]] + ([a["F"]] if self.phylogeny else []))
        # A missing cell of E tells nothing about the slopes, but enters the mean and the fitted
        # values as -999.
        X, means = centred(self.E), self.E.mean(axis=0)
        deviation = responses - responses.mean(axis=0)
        fit = np.linalg.solve(X.T @ X, X.T @ deviation)
        fitted = (np.where(present(self.E), X, MISSING) + means) @ fit
        fitted = fitted - fitted.mean(axis=0)
        r = {}
        for k in range(responses.shape[1]):
            r["square", k] = (fitted[:, k] ** 2).sum() / (deviation[:, k] ** 2).sum()
            for j in range(self.E.shape[1]):
                r["coefficient", j, k] = fit[j, k]
        self.intercepts = responses.mean(axis=0) - means @ fit
        return r

    def variance(self, a):
        factors = np.trunc(self.env[:, self.e_selected])

        def pseudo_f(D, states):
            def within(members):
                part = D[np.ix_(members, members)]
                return (np.triu(part, 1) ** 2).sum() / len(members)
            total = within(np.arange(self.n))
            inside = sum(within(np.flatnonzero(states == g)) for g in set(states))
            return (total - inside) / inside
        r = {}
        for j in range(factors.shape[1]):
            states = factors[:, j]
            r["T", j] = pseudo_f(euclid(a["T"]), states)
            for k in range(self.t):
                r["trait", j, k] = pseudo_f(euclid(a["T"][:, [k]]), states)
            r["X", j] = pseudo_f(self.resemble(a["X"], True), states)
            r["R", j] = pseudo_f(euclid(a["R"][:, None]), states)
            if self.phylogeny:
                r["P", j] = pseudo_f(self.resemble(a["P"], True), states)
                r["F", j] = pseudo_f(euclid(a["F"][:, None]), states)
        return r

    def absolute(self, key):
        if isinstance(key, tuple):
            return key[0] == "coefficient" or key[0] == "R" and self.two_tailed
        return key in ALWAYS_TWO_TAILED or self.two_tailed

    def test(self):
        """Observed statistics, P and the arrangements with their statistics and counts."""
        observed = self.statistics(self.arrangement(), True)
        counts = {key: 1.0 for key in observed if key != "hidden"}
        lists, items, trace = Lists(self.seed), None, []
        for _ in range(1, self.iterations):
            if self.taxa and self.nesting:
                items = lists.nested(self.nesting)
            else:
                items = items or list(range(self.s if self.taxa else self.n))
                lists.shuffle(items)
            order = list(items)
            a = self.arrangement(otus=order) if self.taxa else self.arrangement(sites=order)
            r = self.statistics(a, False)
            for key in counts:
                if key == "BF" and not self.taxa:
                    continue  # no random phylogeny under site shuffle
                counts[key] += reaches(r[key], observed[key], self.absolute(key))
            trace.append((order, a, r, dict(counts)))
        divisor = float(self.iterations)
        P = {key: c / divisor if divisor else np.inf for key, c in counts.items()}
        return observed, P, trace


# --- The report, table by table

LABELS = {"TE": r"r\(TE\)", "XE": r"r\(XE\)", "XE.T": r"r\(XE\.T\)", "RE": r"r\(RE\)",
          "XE.TR": r"r\(XE\.TR\)", "TY": r"r\(TY\)", "XY": r"r\(XY\)", "XY.T": r"r\(XY_T\)",
          "BF": r"ro\(BF\) ", "FE": r"r\(FE\)", "PE": r"ro\(PE\)", "PT": r"ro\(PT\)",
          "PX": r"ro\(PX\)", "PX.T": r"ro\(PX\.T\)", "TE.P": r"ro\(TE\.P\)",
          "XE.P": r"ro\(XE\.P\)", "XE.TP": r"ro\(XE\.TP\)", "PE.T": r"ro\(PE\.T\)",
          "PE.X": r"ro\(PE\.X\)"}
NUMBER = r"\t(-?nan|-?inf|[-+.0-9e]+)"


def check_tables(a, check):
    report, n, s = a.report, a.n, a.s
    detail = any(line.startswith("Trait matrix B with") for line in report.lines)
    weigh = (a.otu_weights, a.keep_scale)
    if detail:
        check("W", report.table(r"^Community matrix W with .* OTUs: $", n), a.rawW)
        check("W of unit totals", report.table(r"^Community matrix W .* adjusted", n), a.traitW)
        check("Y", report.table(r"^Community matrix Y", n), a.Y)
        check("B", report.table(r"^Trait matrix B", s), a.B)
        check("Sb", report.table(r"^Similarity matrix between", s), lower(a.Sb.T))
        if a.measure == 1:
            check("DY", report.table(r"\(DY\)", n), lower(a.DY))
    if a.phylogeny:
        if detail:
            i, m = report.last(r"^PCoA scores .* by (\d+) ordination")
            scores = np.array(report.rows(i + 1, s))
            check.scalar("number of principal coordinates", m.group(1), a.coordinates.shape[1])
            # Signs, and rotations within equal eigenvalues, are free: distances are not.
            difference = np.abs(euclid(scores) - euclid(a.coordinates)).max()
            print("%-60s %.3g" % ("principal coordinates: largest difference of distances", difference))
            if difference > 1e-4:
                check.missing += 1
            if a.options.f_kind != 3:  # no heading then
                check("F", report.table(r"imilarity matrix.*between \d+ OTUs.* phylogen", s), a.F)
            check("Q", report.table(r"^Fuzzy belonging of", s), a.Q)
        check("taxa", report.table(r"^Partition vector .* taxa", 1), [a.groups])
        P = composition(a.W, a.Q, *weigh)
        check("P", report.table(r"^Pooled performance matrix P", n), P)
        if a.measure == 1:
            check("DP", report.table(r"\(DP\)", n), lower(a.resemble(P, False)))
    if a.env is not None:
        check("E", report.table(r"^Matrix E", n), a.env)
        if a.measure == 1:
            check("DE", report.table(r"\(DE\)", n), lower(a.DE))
    normal = unit_length_columns(a.T0)
    check("T", report.table(r"^Matrix T with trait averages", n), a.T0)
    check("T normalised", report.table(r"^Matrix T with normalized", n), normal)
    if a.measure == 1:
        check("DT", report.table(r"\(DT\)", n), lower(euclid(normal)))
    labels = sorted(set(a.groups))
    sizes = [a.groups.count(label) for label in labels]
    check("partition", report.table(r"^Partition vector .* specified types", 1), [a.groups])
    check("labels of types", report.table(r"^Labels of", 1), [labels])
    check("sizes of types", report.table(r"^Number of OTUs in each type:$", 1), [sizes])
    filled = np.where(present(a.B), a.B, 0.0)  # the product skips missing cells
    average = (a.C.T @ filled) / np.array(sizes)[:, None]
    check("average traits", report.table(r"^Average trait matrix", len(labels)), average)
    crisp = composition(a.W, a.C, *weigh)
    if detail:
        check("U", report.table(r"^Fuzzy degrees of belonging", s), a.U)
        check("C", report.table(r"^Crisp degrees of belonging", s), a.C)
    check("X without weighting", report.table(r"^Pooled performance community matrix", n), crisp)
    if a.fuzzy:
        check("X", report.table(r"^Pooled performance matrix X", n, 2),
              composition(a.W, a.U, *weigh))
    else:
        check("X", report.table(r"^Pooled performance matrix X", n), crisp)


def check_diversity(a, check):
    report = a.report
    Rf = rao(a.W, a.Sb, False, a.root, a.otu_weights, a.within, a.keep_scale)
    check("D", report.table(r"with null, crisp, similarities", 1), [a.D])
    check("Rf", report.table(r"considering trait dissimilarities \[", 1), [Rf])
    check("FR", report.table(r"FR = D-Rf", 1), [np.maximum(0.0, a.D - Rf)])
    check("effective D", report.table(r"with null, crisp, dissimilarties", 1), [1 / (1 - a.D)])
    check("effective Rf", report.table(r"trait dissimilarties \(Qf", 1), [1 / (1 - Rf)])
    check("effective FR", report.table(r"FR = D-Qf", 1), [1 / (1 - a.D) - 1 / (1 - Rf)])
    if a.phylogeny:
        Rp = rao(a.W, a.F, a.dissimilarity, a.root_phylogeny, a.otu_weights, a.within,
                 a.keep_scale)
        check("Rp", report.table(r"entropy \(Rp\)", 1), [Rp])
        check("PR", report.table(r"PR = D-Rp", 1), [np.maximum(0.0, a.D - Rp)])
        check("effective Rp", report.table(r"entropy \(Qp\)", 1), [1 / (1 - Rp)])
        check("effective PR", report.table(r"PR = D-Qp", 1), [1 / (1 - a.D) - 1 / (1 - Rp)])


def check_untested(a, check):
    normal = unit_length_columns(a.T0)
    if a.env is None or a.measure > 3:
        return
    if a.measure == 1:
        rte = (relative_closeness if a.n < 3 else mantel)(a.DE, euclid(normal))
    else:
        rte = (procrustes if a.measure == 2 else rv)(a.E, normal)
    for key in ["TE", "XE", "XE.T", "RE", "XE.TR"] + \
            (list(LABELS)[8:] if a.phylogeny and a.measure == 1 else []):
        check.scalar(key, a.report.setting(LABELS[key] + r"= ?" + NUMBER),
                     rte if key == "TE" else 0.0)


def check_tested(a, check, observed, P):
    for key, label in LABELS.items():
        if key not in observed or a.env is None and ("E" in key):
            continue
        if a.options.f_kind == 3 and ("P" in key or "F" in key):
            continue  # all OTUs are alike: rounding alone decides
        line, match = a.report.last(label + "= ?" + NUMBER + r"\tP=" + NUMBER)
        check.scalar(key, match.group(1) if match else None, observed[key])
        check.scalar("P of " + key, match.group(2) if match else None, P[key])


def check_regression(a, check, observed, P):
    lines, k = a.report.lines, -1
    start, _ = a.report.last("^REGRESSION MODELS")
    order = list(np.flatnonzero(a.selected)) + [a.t] + ([a.t + 1] if a.phylogeny else [])
    for line in lines[start:]:
        words = line.split("\t")
        if "r-square=" in line:
            k, j = k + 1, 0
            check.scalar(line[:20].strip() + " r2", words[3], observed["square", order[k]])
            check.scalar(line[:20].strip() + " P", words[5], P["square", order[k]])
        elif line.startswith("Factor:"):
            check.scalar("  " + words[1], words[3], observed["coefficient", j, order[k]])
            check.scalar("  " + words[1] + " P", words[5], P["coefficient", j, order[k]])
            j += 1
        elif line.startswith("Intercept="):
            check.scalar("  intercept", words[1], a.observed_intercepts[order[k]])
    if k != len(order) - 1:
        check.missing += 1


def check_variance(a, check, observed, P):
    start, _ = a.report.last("^ANALYSIS OF VARIANCE")
    states = [line.split("\t")[3:-1] for line in a.report.lines[start:] if "\tStates:\t" in line]
    check("states", [[float(x) for x in row] for row in states],
          np.trunc(a.env[:, a.e_selected]).T)
    section = place = trait = None
    every, seen = np.flatnonzero(a.e_selected), 0
    for line in a.report.lines[start:]:
        words = line.split("\t")
        for title, name in (("MANOVA using matrix T", "T"), ("MANOVA using matrix X", "X"),
                            ("MANOVA using matrix P", "P"), ("ANOVA using Rao fun", "R"),
                            ("ANOVA using Rao phyl", "F")):
            if line.startswith(title):
                section, place = name, 0
        if section and line.startswith("Factor:"):
            # The F of T stand at the factor's place among all variables, the others among the chosen.
            j = every[place] if section == "T" else place
            expected, p = (observed.get((section, j), 0.0), P.get((section, j), 0.0))
            check.scalar(section + " " + words[1], words[3], expected)
            check.scalar(section + " " + words[1] + " P", words[5], p)
            place, trait, seen = place + 1, 0, seen + 1
        elif section == "T" and line.startswith("Trait:"):
            k = np.flatnonzero(a.selected)[trait]
            check.scalar("  " + words[1], words[3], observed.get(("trait", j, k), 0.0))
            check.scalar("  " + words[1] + " P", words[5], P.get(("trait", j, k), 0.0))
            trait += 1
    if seen != len(every) * (5 if a.phylogeny else 3):
        check.missing += 1


def check_intermediate(a, check, path, observed, trace):
    """The file of arrangements: orders, matrices, statistics and running counts."""
    file = Report(path)
    first = a.arrangement()
    for name, pattern, matrix, rows in (
            ("B", r"^Observed trait matrix", a.Bs, a.s), ("W", r"^Matrix W \(", a.W, a.n),
            ("T", r"^Matrix T \(", first["T"], a.n),
            ("U", r"^Observed belonging", a.U if a.fuzzy else a.C, a.s),
            ("R", r"^Rao entropy .* computed after Sb", first["R"][:, None], a.n)):
        check("file: observed " + name, file.table(pattern, rows), matrix)
    check("file: Sb", [[float(x) for x in file.lines[i + 1 + k].lstrip(":").split()]
                       for i in [file.last(r"^Observed similarity matrix \(Sb")[0]]
                       for k in range(a.s)], lower(a.Sb.T))
    places = {"T": file.every(r"^Matrix Trnd"), "X": file.every(r"^Matrix Xrnd"),
              "R": file.every(r"^Rao entropy vector Rrnd")}
    if a.phylogeny:
        places["P"] = file.every(r"^Matrix Prnd")
        places["F"] = places["R"][1::2]
        places["R"] = places["R"][0::2]
    orders = file.every(r"^Order of original")
    per = len(orders) // max(1, len(trace))
    check.scalar("file: iterations", len(places["T"]), len(trace))
    check.scalar("file: orders per iteration", per, 5 if a.phylogeny else 3)
    values = []
    for i in file.every(r"^Iteration \d+\tRandom ro|^ ro\(P|^Random ro"):
        line = file.lines[i]
        found = re.findall(r"=\s*(-?nan|-?inf|[-+.0-9e]+)", line)
        values.append([float(x) for x in (found if line[0] == "I" else line.split("\t")[1:])])
    for k, (order, arranged, r, counts) in enumerate(trace):
        for i in orders[k * per:(k + 1) * per]:
            places_moved = [float(x) for x in file.lines[i].split("\t")[1:-1]]
            check("file: order %d" % (k + 1), [places_moved], [[o + 1 for o in order]])
        for name in places:
            matrix = arranged[name]
            matrix = matrix[:, None] if matrix.ndim == 1 else matrix
            check("file: %s of iteration %d" % (name, k + 1),
                  file.rows(places[name][k] + 1, a.n), matrix)
        if a.measure > 3 or a.options.f_kind == 3:
            continue  # 3: all OTUs are alike, rounding alone decides
        h = r["hidden"]
        expected = [[r.get("TE", 0), counts.get("TE", 1)],
                    [h[0], r.get("XE", 0), r.get("XE.T", 0), counts.get("XE", 1),
                     counts.get("XE.T", 1)]]
        if a.phylogeny:
            expected += [[r[key], counts[key]] for key in
                         ("PE", "PT", "PX", "PX.T", "TE.P", "XE.P", "XE.TP", "PE.T", "PE.X")]
        expected += [[r["RE"], h[1], h[2], h[3], h[4], h[5], r["XE.TR"], counts["RE"],
                      counts["XE.TR"]]]
        if a.phylogeny:
            expected += [[r["FE"], counts["FE"]]]
        size = len(expected)
        check("file: statistics of iteration %d" % (k + 1), values[k * size:(k + 1) * size],
              expected)


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("report")
    parser.add_argument("--b", required=True, help="B, OTUs as rows")
    parser.add_argument("--w", required=True, help="W, communities as rows")
    parser.add_argument("--types", help="group of each OTU; without it each OTU is its own type")
    parser.add_argument("--otus", type=int, help="number of OTUs, without --types")
    parser.add_argument("--e", help="E, communities as rows")
    parser.add_argument("--e-kind", type=int, default=2, help="answer to 'Types of variables'")
    parser.add_argument("--e-types", help="types of the variables, for kind 5: '3 4 2'")
    parser.add_argument("--e-selected", help="'1 0 1', if variables were selected")
    parser.add_argument("--f", help="F")
    parser.add_argument("--f-kind", type=int, default=1,
                        help="1 distances, 2 similarities, 3 half matrix, 4 variables")
    parser.add_argument("--f-types", help="types of the variables of kind 4")
    parser.add_argument("--one-tailed", action="store_true")
    parser.add_argument("--beals-without-target", action="store_true")
    parser.add_argument("--intermediate", help="the file of intermediate results, to check too")
    parser.add_argument("--quiet", action="store_true", help="only what differs, and the sum")
    options = parser.parse_args()

    a = Analysis(Report(options.report), options)
    check = Comparison(options.quiet)
    check_tables(a, check)
    check_diversity(a, check)
    if not a.tested:
        check_untested(a, check)
    else:
        observed, P, trace = a.test()
        if a.measure == 4:
            a.statistics(a.arrangement(), True)
            a.observed_intercepts = a.intercepts
            check_regression(a, check, observed, P)
        elif a.measure == 5:
            check_variance(a, check, observed, P)
        else:
            check_tested(a, check, observed, P)
        if options.intermediate:
            check_intermediate(a, check, options.intermediate, observed, trace)
    print("largest difference of all: %.3g units of the sixth digit; %d tables at fault"
          % (check.worst, check.missing))
    return 1 if check.worst > 0.51 or check.missing else 0


sys.exit(main())
