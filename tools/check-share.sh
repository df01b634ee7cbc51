#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Prints what share of all lines of C++, Python and shell are tests; fails above a third.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
most=33 # percent

lines() { # FOLDER/...: of all tracked sources below
    git ls-files -z -- "${@/%/*.cpp}" "${@/%/*.h}" "${@/%/*.py}" "${@/%/*.sh}" | { xargs -0 cat 2>/dev/null || true; } | wc -l
}
tests=$(lines tests/ fuzz/)
all=$(lines '')
printf 'tests are %d of %d lines, %d.%d %%, at most %d %%\n' "$tests" "$all" $((tests * 100 / all)) \
    $((tests * 1000 / all % 10)) "$most"
[ $((tests * 100)) -le $((all * most)) ]
