#!/usr/bin/python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Lists of a seed, drawn from NumPy's Mersenne Twister instead of GSL's.

NumPy's legacy seeding is the same initialisation (Matsumoto and Nishimura, 2002) as that of
gsl_rng_mt19937. A number below n is the raw 32-bit output divided by floor((2^32 - 1) / n), drawn
again when it reaches n (GSL manual, gsl_rng_uniform_int). The shuffle swaps place i with a place
at or after it (Durstenfeld 1964, Commun. ACM 7:420), and each list starts from the one before.

    seed_lists.py SEED LENGTH COUNT      one list a line
"""
import sys

import numpy


def uniform_int(generator, n):
    scale = 0xFFFFFFFF // n
    while True:
        k = int(generator.random_raw()) // scale
        if k < n:
            return k


seed, length, count = (int(word) for word in sys.argv[1:4])
generator = numpy.random.MT19937()
generator._legacy_seeding(seed)
numbers = list(range(1, length + 1))
for _ in range(count):
    for i in range(length - 1):
        j = i + uniform_int(generator, length - i)
        numbers[i], numbers[j] = numbers[j], numbers[i]
    print(*numbers)
