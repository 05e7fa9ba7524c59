#!/bin/bash
# SPDX-License-Identifier: GPL-3.0-or-later
# The number of processors asked for in the preferences must change no byte of a report.
#
#   threads.sh KELPRA_BINARY
#
# Plays sessions of this folder with more permutations and 1, 2, 3, all and too many processors, and
# compares reports, formatted data and track files with those of 1. A date or an elapsed time is
# masked.
set -u
export LC_ALL=C

binary=$(realpath "$1")
here=$(realpath "$(dirname "$0")")
root=$(realpath "$here/../..")
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
sessions="functional-mantel-with-phylogeny functional-procrustes-nested
    functional-regression-site-shuffle functional-anova"
preferences=$here/functional-intermediate-results/KELPRA.prf

play() { # session, number of processors, folder
    mkdir "$3" || return 1
    while read -r path; do cp "$root/$path" "$3" || return 1; done < "$here/$1/uses"
    # Item 17 is to save intermediate results, item 25 the number of processors.
    awk -v processors="$2" 'NR == 17 { $0 = "n" } NR == 25 { $0 = processors } 1' \
        "$preferences" > "$3/KELPRA.prf"
    # The number of permutations is answered before the kind of shuffle, t or s.
    awk '/^[ts]$/ { before = "300" } NR > 1 { print before } { before = $0 } END { print before }' \
        <(sed -f "$here/$1/changes" "$here/$1/answers.txt") |
        (cd "$3" && timeout 60 "$binary" > /dev/null 2> errors) || return 1
    [ ! -s "$3/errors" ] || return 1
    grep -q '^Number of iterations for permutation tests: 300$' "$3/dunePrinda.txt" || return 1
    rm "$3/KELPRA.prf" "$3/errors"
    sed -i -E 's/^(Mon|Tue|Wed|Thu|Fri|Sat|Sun) .* [0-9]{4}$/<date>/
        s/^(Elapsed time[^:]*: ).*/\1<seconds>/' "$3"/dune*
}

faults=0
for session in $sessions; do
    for processors in 1 2 3 0 2147483647; do
        folder=$scratch/$session-$processors
        if ! play "$session" "$processors" "$folder"; then
            echo "FAULT: $session with $processors processors did not run"
            cat "$folder/errors" 2> /dev/null
            faults=1
        elif ! diff -r "$scratch/$session-1" "$folder"; then
            echo "FAULT: $session with $processors processors differs from 1"
            faults=1
        fi
    done
done
exit $faults
