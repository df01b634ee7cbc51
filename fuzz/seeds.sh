#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# seeds.sh PROGRAM: every target of the program gets its first inputs, without a fuzzer.
set -euo pipefail
seeds=$(mktemp -d)
trap 'rm -rf "$seeds"' EXIT
python3 "$(dirname "${BASH_SOURCE[0]}")/make-seeds.py" "$seeds"
targets=$("$1" --targets)
for target in $targets; do
    KESTRUNE_FUZZ_TARGET=$target "$1" "$seeds/$target"/* || { echo "$target fails"; exit 1; }
done
