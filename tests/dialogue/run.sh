#!/bin/bash
# SPDX-License-Identifier: GPL-3.0-or-later
# Plays one scripted session in a folder of its own and compares all that comes out of it.
#
#   run.sh KELPRA_BINARY CASE_DIRECTORY
#
# A case directory holds
#   answers.txt         what the user types; a link to the file of an example that this is
#   changes             optional: a sed script, in which answers the case departs from the example
#   uses                optional: input files to copy in, one a line, relative to the project's root
#   seconds             optional: time allowed (DIALOGUE_SECONDS of the environment, or 20)
#   anything else       input files, copied in
#   expected/screen.txt, expected/errors.txt
#                       standard output and standard error
#   expected/status     exit status, or "timeout" for a session that must never end
#   expected/files/     the files that the session writes or changes
#   expected/unchecked  optional: names of files that it writes too and that are not compared
#
# Compared byte by byte. Masked are the date and time of a run, elapsed times and the place of the
# documents of an installed program; progress lines are left out of the screen. A report of a sanitizer fails the case. With KEEP set, the scratch folder
# stays for a look.
set -u
export LC_ALL=C

binary=$(realpath "$1")
case=$(realpath "$2")
root=$(realpath "$(dirname "$0")/../..")
scratch=$(mktemp -d)
if [ -n "${KEEP:-}" ]; then echo "scratch folder: $scratch"; else trap 'rm -rf "$scratch"' EXIT; fi
work=$scratch/work
mkdir "$work"

faults=0
fault() {
    echo "FAULT: $*"
    faults=$((faults + 1))
}

if [ ! -x "$binary" ] || [ ! -f "$case/answers.txt" ]; then
    echo "no program $1, or no answers in $2"
    exit 1
fi

# Time stamps and elapsed times differ from run to run, nothing else may.
mask() {
    perl -0777 -pe '
        s/\b(Mon|Tue|Wed|Thu|Fri|Sat|Sun)
          \ (Jan|Feb|Mar|Apr|May|Jun|Jul|Aug|Sep|Oct|Nov|Dec)\ [ 0-9]\d
          \ \d\d:\d\d:\d\d\ \d{4}/<date and time>/gx;
        s/(Elapsed time[^\n:]*: )[-+.0-9e]+/$1<seconds>/g;
        s{: /.*/(docs/(guide|statistics)\.md)$}{: $1}gm' "$1"
}

# How often progress is shown depends on the speed of the machine. A progress line is a text
# right-aligned in 40 columns and 40 blanks; two line ends follow the last one. A prompt that
# retries for ever gives as many BELs as the time allows.
mask_screen() {
    mask "$1" | perl -0777 -pe 's/[^\n]{40} {40}(\n[^\n]{40} {40})*(\n\n)?//g' |
        if [ "$status" = timeout ]; then tr -s '\a'; else cat; fi
}

compare() { # name, masking, expected, found
    local difference
    if [ ! -f "$3" ]; then
        fault "$1: nothing to compare with"
    elif ! difference=$(diff -a <("$2" "$3") <("$2" "$4")); then
        fault "$1 (<: expected, >: found)"
        printf '%s\n' "$difference" | head -n 60 | cat -v
    fi
}

for item in "$case"/*; do
    case $(basename "$item") in
    answers.txt | changes | uses | seconds | expected) ;;
    *) cp -r "$item" "$work" ;;
    esac
done
if [ -f "$case/uses" ]; then
    while read -r path; do cp "$root/$path" "$work" || fault "no input $path"; done < "$case/uses"
fi
inputs=$(ls -A "$work")
changes=$case/changes
[ -f "$changes" ] || changes=/dev/null
sed -f "$changes" "$case/answers.txt" > "$scratch/answers"

seconds=${DIALOGUE_SECONDS:-20}
[ -f "$case/seconds" ] && seconds=$(cat "$case/seconds")
(cd "$work" && exec timeout "$seconds" "$binary") \
    < "$scratch/answers" > "$scratch/screen" 2> "$scratch/errors"
status=$?
[ $status -eq 124 ] && status=timeout

expected=$case/expected
[ "$status" = "$(cat "$expected/status")" ] || fault "status $status, not $(cat "$expected/status")"
if grep -aqE 'Sanitizer|runtime error:' "$scratch/errors"; then
    fault "the sanitizer reports"
    head -n 60 "$scratch/errors"
else
    compare "standard error" mask "$expected/errors.txt" "$scratch/errors"
fi
compare screen mask_screen "$expected/screen.txt" "$scratch/screen"

written=$( [ -d "$expected/files" ] && ls -A "$expected/files" )
for name in $written; do
    if [ -f "$work/$name" ]; then
        compare "$name" mask "$expected/files/$name" "$work/$name"
    else
        fault "$name was not written"
    fi
done
unchecked=$( [ -f "$expected/unchecked" ] && cat "$expected/unchecked" )
for name in $(ls -A "$work"); do
    grep -qxF -e "$name" <<< "$inputs
$written
$unchecked" || fault "$name was written and is not expected"
done

[ $faults -eq 0 ]
