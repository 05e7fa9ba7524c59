#!/usr/bin/python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Simulates the case tests/dialogue/simulation-given-inputs once more, in Python with numpy's
Mersenne Twister, and compares the communities and the ecosystem with those that the case expects.

    scripts/verify/simulation_reference.py

All parameters of that case come from files, so that every random number is one of the steps.
"""
import math
import os
import sys

import numpy as np
from scipy.special import expit

CASE = os.path.join(os.path.dirname(os.path.abspath(__file__)),
                    "../../tests/dialogue/simulation-given-inputs")
SITES, OTUS, TRAITS, FACTORS = 4, 5, 3, 2
MAX_AVG, PER_YEAR, STEPS, SEED = 3, 5, 40, 2024

twister = np.random.MT19937()
twister._legacy_seeding(SEED)


def uniform():
    return int(twister.random_raw()) / 4294967296.0


def uniform_int(n):
    """A 32-bit number over the width of a class, drawn again beyond the last class."""
    width = 0xFFFFFFFF // n
    while True:
        k = int(twister.random_raw()) // width
        if k < n:
            return k


def read(name, rows, cols):
    numbers = [float(x) for x in open(os.path.join(CASE, name)).read().split()]
    numbers += [0.0] * (rows * cols - len(numbers))  # what a short file lacks is 0
    return np.array(numbers).reshape(rows, cols)


def logistic(x, parameters):
    center, slope = parameters
    return expit(4.0 * slope * (x - center))


def z_scores(M):
    return (M - M.mean(axis=1, keepdims=True)) / M.std(axis=1, keepdims=True)


def simulate():
    traits = read("traits.txt", OTUS, TRAITS)
    means, deviations = traits.mean(axis=0), traits.std(axis=0, ddof=1)
    B = z_scores(traits.T).T
    dispersal = read("dispersal.txt", OTUS, 2)
    survival = read("survival.txt", OTUS, 2)
    density = read("density.txt", OTUS, 2)
    ageing = read("age.txt", OTUS, 2)
    lifespans = np.trunc(read("lifespans.txt", 1, OTUS)[0])
    xy = read("sites.txt", 2, SITES)
    D = np.hypot(xy[0][:, None] - xy[0], xy[1][:, None] - xy[1])
    D /= D.max()
    E = z_scores(read("ecosystem.txt", FACTORS, SITES))
    responses = read("responses.txt", TRAITS, FACTORS)
    effects = read("effects.txt", FACTORS, TRAITS)

    births = [[[] for _ in range(OTUS)] for _ in range(SITES)]
    previous = np.zeros((TRAITS, SITES))
    for step in range(1, STEPS + 1):
        W = np.array([[len(b) for b in site] for site in births], dtype=float)
        expected = ((responses @ E).T - means) / deviations
        dist = np.sqrt(((B[None, :, :] - expected[:, None, :]) ** 2).mean(axis=2))
        ordered = np.sort(dist.ravel())  # no ties among these 20
        cap = ordered[int(math.floor(0.95 * ordered.size))]
        dist = np.minimum(dist, cap) / cap
        survives = [[logistic(dist[s][o], survival[o]) for o in range(OTUS)] for s in range(SITES)]

        for s in range(SITES):
            o = uniform_int(OTUS)
            here = len(births[s][o])
            elsewhere = [D[s][t] for t in range(SITES) if t != s and births[t][o]]
            if not here:
                p = logistic(min(elsewhere), dispersal[o]) if elsewhere else 1.0
                if not p > uniform():
                    continue
            if survives[s][o] > uniform():
                births[s][o].append(step)

        crowding = [sum(map(len, site)) // MAX_AVG for site in births]
        for s in range(SITES):
            n = sum(map(len, births[s]))
            if n == 0:
                continue
            i, o = uniform_int(n), 0
            while i >= len(births[s][o]):
                i -= len(births[s][o])
                o += 1
            j = uniform_int(len(births[s][o]))
            age = (step - births[s][o][j]) / PER_YEAR
            p = (logistic(crowding[s], density[o]) * logistic(age / lifespans[o], ageing[o])
                 * survives[s][o])
            if 1.0 - p > uniform():
                del births[s][o][j]

        W = np.array([[len(b) for b in site] for site in births], dtype=float)
        totals = W.sum(axis=1, keepdims=True)
        cwm = (W / np.where(totals > 0, totals, 1.0) @ B).T
        E = E + effects @ (cwm - previous)
        previous = cwm
    return W, E


def rows_of(name, n):
    with open(os.path.join(CASE, "expected/files", name)) as f:
        return np.array([[float(x) for x in next(f).split()] for _ in range(n)])


W, E = simulate()
same_W = np.array_equal(W, rows_of("W_Simulated.txt", SITES))
same_E = np.allclose(E, rows_of("E_Simulated.txt", FACTORS), rtol=1e-5, atol=1e-9)
print("communities", "equal" if same_W else "DIFFER", "- ecosystem", "equal" if same_E else "DIFFERS")
sys.exit(0 if same_W and same_E else 1)
