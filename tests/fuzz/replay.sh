#!/bin/bash
# SPDX-License-Identifier: GPL-3.0-or-later
# replay.sh REPLAY_BINARY MUTANTS: plays all seeds, and so many mutants of each.
set -eu
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
bash "$(dirname "$0")/seeds.sh" "$scratch"
TMPDIR=$scratch OMP_WAIT_POLICY=passive "$1" "$2" "$scratch"/*/*
