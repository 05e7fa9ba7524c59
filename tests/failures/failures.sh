#!/bin/bash
# SPDX-License-Identifier: GPL-3.0-or-later
# Nothing is lost when a call fails: plays sessions of ../dialogue with one failing call each.
#
#   failures.sh KELPRA_BINARY LIBRARY EVERY KIND [SESSION...]
#
# LIBRARY is failing.cpp, KIND one of its kinds; of the calls of that kind every EVERY-th fails in
# turn. Each time the program must end by itself and say why (a failing allocation may also be made
# good, with the same results; who is killed says nothing), and every file that it writes must be either the one that was there
# before or the complete new one.
# With KIND loop none may be there to fail: nothing is allocated in parallel loops.
set -u
export LC_ALL=C OMP_WAIT_POLICY=passive

binary=$(realpath "$1")
library=$(realpath "$2")
every=$3
kind=$4
shift 4
dialogue=$(realpath "$(dirname "$0")/../dialogue")
root=$(realpath "$dialogue/../..")
[ $# -gt 0 ] || set -- functional-intermediate-results ranking-with-saved-structures \
    simulation-saved-steps preferences-all-letters merge-with-old-file
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

mask() {
    sed -E 's/(Mon|Tue|Wed|Thu|Fri|Sat|Sun) [A-Z][a-z]{2} [ 0-9]{2} [0-9:]{8} [0-9]{4}/<date>/
        s/^(Elapsed time[^:]*: ).*/\1<seconds>/' "$1"
}
prepare() { # folder: the inputs of the session
    mkdir "$1"
    find -L "$dialogue/$session" -maxdepth 1 -type f -exec cp {} "$1" \;
    [ ! -f "$1/uses" ] || (cd "$root" && xargs -a "$1/uses" cp -t "$1")
}
# After a failure the program waits for a letter or a line.
play() { # folder, settings of the environment
    (cd "$1" && { cat answers.txt; yes q; } 2> /dev/null |
        timeout 20 env "${@:2}" "$binary" > /dev/null 2> "$scratch/errors") 2> /dev/null
}
play_failing() { # folder, number of the call
    play "$1" "FAIL_KIND=$kind" "FAIL_AT=$2" "FAIL_LOG=$scratch/log" "LD_PRELOAD=$library" \
        ASAN_OPTIONS=verify_asan_link_order=0:alloc_dealloc_mismatch=0:fast_unwind_on_malloc=0
}
fault() {
    echo "FAULT: $session, $kind $k: $*"
    head -n 20 "$scratch/errors"
    faults=$((faults + 1))
}
check_end() { # status
    if grep -q Sanitizer "$scratch/errors"; then
        fault "the sanitizer reports"
    elif [ "$kind" = kill ]; then
        [ "$1" -eq 137 ] || fault "status $1"
    elif [ "$1" -eq 0 ]; then
        { [ "$kind" = alloc ] && cmp -s "$scratch/errors" "$scratch/complaints"; } ||
            fault "went on"
    elif [ "$kind" = alloc ] && grep -q "^can't open" "$scratch/errors"; then
        return # fopen had no memory; whether the file is asked for again is up to the dialogue
    elif [ "$1" -ne 1 ] || ! grep -q 'quit and restart' <(tr Q q < "$scratch/errors"); then
        fault "status $1"
    elif [ "$kind" != alloc ] && ! { grep -q '^file [^ ]* $' "$scratch/errors" &&
        grep -q '^FAIL TO PRINT ON FILE !!!$' "$scratch/errors"; }; then
        fault "not told"
    fi
}
# A track file has two steps before it is complete: empty for a new session, and two lines.
check_files() { # folder, status
    local name good
    for name in $written; do
        good=$scratch/good/$name
        [ -f "$1/$name" ] && cmp -s <(mask "$good") <(mask "$1/$name") && continue
        [ "$2" -ne 0 ] || fault "$name differs"
        case $name in
        *Trk.txt) [ ! -s "$1/$name" ] || cmp -s "$1/$name" <(head -n 2 "$good") ;;
        *) [ ! -e "$1/$name" ] && [ ! -e "$scratch/old/$name" ] ||
            cmp -s "$1/$name" "$scratch/old/$name" ;;
        esac || fault "$name is neither the old one nor the new"
    done
}

faults=0
failures=0
for session; do
    rm -rf "${scratch:?}"/*
    prepare "$scratch/good"
    inputs=$(ls "$scratch/good")
    play "$scratch/good" || { k=0; fault "does not play"; continue; }
    mv "$scratch/errors" "$scratch/complaints"
    written=$(comm -13 <(echo "$inputs") <(ls "$scratch/good"))
    prepare "$scratch/old"
    # A session with an older functional report would be asked what to do with it.
    for name in $written; do
        case $name in *Trk.txt | *Prinda.txt | *.prf) ;; *) echo old > "$scratch/old/$name" ;; esac
    done
    for ((k = 1; ; k += every)); do
        rm -rf "$scratch/log" "$scratch/work"
        cp -r "$scratch/old" "$scratch/work"
        play_failing "$scratch/work" "$k"
        status=$?
        if [ "$kind" = loop ]; then
            [ "$(cat "$scratch/log")" = L ] || fault "allocates in a loop, or has none"
            failures=$((failures + 1))
            break
        fi
        [ -f "$scratch/log" ] || break # there are not so many calls
        failures=$((failures + 1))
        check_end $status
        check_files "$scratch/work" $status
    done
done
echo "$failures failing calls ($kind), $faults faults"
[ $faults -eq 0 ] && [ $failures -gt 0 ]
