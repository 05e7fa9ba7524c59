#!/bin/bash
# SPDX-License-Identifier: GPL-3.0-or-later
# seeds.sh FOLDER: the first inputs for fuzzing, made of the sessions of ../dialogue, in a folder for
# each target.
set -eu
out=$1
here=$(realpath "$(dirname "$0")")
dialogue=$here/../dialogue
mkdir -p "$out"/{preferences,formda,track,merge,derive,session}
[ ! -d "$here/corpus" ] || cp -r "$here"/corpus/. "$out"
cp "$dialogue"/functional-intermediate-results/KELPRA.prf "$out/preferences/all-items"
for file in "$here"/../../examples/merging/{old,meadow}Formda.txt \
    "$dialogue"/functional-intermediate-results/expected/files/tinyFormda.txt; do
    for target in formda merge derive; do cp "$file" "$out/$target/$(basename "$file" .txt)"; done
done
cp "$dialogue"/functional-*/expected/files/tinyTrk.txt "$out/track/" 2> /dev/null || true
for folder in "$dialogue"/{functional-i*,functional-w*,derive-*,merge-*,ranking-*,simulation-sa*}; do
    {
        cat "$folder/answers.txt"
        find "$folder" -maxdepth 1 -name '*.*' ! -name answers.txt -type f | sort |
            while read -r file; do printf '\n==%s\n' "${file##*/}"; cat "$file"; done
        if [ -f "$folder/uses" ]; then
            while read -r file; do
                printf '\n==%s\n' "${file##*/}"
                cat "$here/../../$file"
            done < "$folder/uses"
        fi
    } > "$out/session/${folder##*/}"
done
