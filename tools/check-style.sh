#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# One-line checks that once caught something, or would have.
set -uo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.." || exit 1
faults=0
fault() {
    printf '%s\n' "$@"
    faults=1
}
files=$(git ls-files --cached --others --exclude-standard)
texts=$(grep -E '\.(cpp|h|py|sh|cmake|txt|md|json|qrc|svg|xml|desktop)$' <<<"$files")

hits=$(tr '\n' '\0' <<<"$texts" | xargs -0 grep -lI $'\r' 2>/dev/null); [ -n "$hits" ] && fault "carriage returns:" "$hits"
hits=$(grep -E '\.(cpp|h|py|sh|cmake)$' <<<"$files" | tr '\n' '\0' | xargs -0 grep -nI $'\t'); [ -n "$hits" ] && fault "tabs:" "$hits"
hits=$(tr '\n' '\0' <<<"$texts" | xargs -0 grep -nIE '[[:space:]]+$'); [ -n "$hits" ] && fault "trailing blanks:" "$hits"
hits=$(grep -E '\.(cpp|h)$' <<<"$files" | tr '\n' '\0' | xargs -0 grep -nE '\b(TODO|FIXME|XXX)\b'); [ -n "$hits" ] && fault "unfinished:" "$hits"
# Own code starts no threads; whatever waits does so on the event loop. QThread may name the current thread and pause.
hits=$(grep -E '^(src|replay)/.*\.(cpp|h)$' <<<"$files" | tr '\n' '\0' |
    xargs -0 grep -nE 'std::(jthread|thread|async)\b|<(thread|future)>|\bQThread\b[^:>]|QThread::create|QThreadPool|QRunnable|QtConcurrent|moveToThread|pthread_create'); [ -n "$hits" ] && fault "threads:" "$hits"
hits=$(grep -E '^src/.*\.(cpp|h)$' <<<"$files" | tr '\n' '\0' |
    xargs -0 grep -nE 'QCoro::waitFor|QEventLoop|processEvents|\bsleep_for\b'); [ -n "$hits" ] && fault "blocking waits:" "$hits"
hits=$(grep -E '\.(cpp|h)$' <<<"$files" | tr '\n' '\0' | xargs -0 grep -nE '#include <(QtCore|QtGui|QtWidgets|QtNetwork)>'); [ -n "$hits" ] && fault "aggregate includes:" "$hits"
hits=$(grep -E '\.h$' <<<"$files" | tr '\n' '\0' | xargs -0 grep -L '#pragma once'); [ -n "$hits" ] && fault "no include guard:" "$hits"

while read -r file; do
    [ -f "$file" ] || continue
    lines=$(wc -l <"$file")
    case $file in
    src/*.h | replay/*.h) limit=350 ;;
    src/*.cpp | replay/*.cpp) limit=600 ;;
    *) continue ;;
    esac
    [ "$lines" -le "$limit" ] || fault "$file: $lines lines, at most $limit"
done <<<"$files"

for script in scripts/run.sh scripts/test.sh scripts/check.sh scripts/bench.sh tools/check-style.sh .ci/run; do
    [ -x "$script" ] || fault "$script is not executable"
done
[ "$faults" -eq 0 ] && echo "style is fine"
exit "$faults"
