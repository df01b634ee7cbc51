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

# look WHAT FILES GREP-ARGUMENTS...: what grep finds in the files whose names match is a fault.
look() {
    local what=$1 names=$2 hits
    shift 2
    hits=$(grep -E "$names" <<<"$files" | tr '\n' '\0' | xargs -0 -r grep -I "$@" 2>/dev/null)
    [ -z "$hits" ] || fault "$what:" "$hits"
}
texts='\.(cpp|h|py|sh|cmake|txt|md|json|qrc|svg|xml|desktop)$'
code='\.(cpp|h|py|sh)$'
cpp='\.(cpp|h)$'
look "carriage returns" "$texts" -l $'\r'
look "tabs" '\.(cpp|h|py|sh|cmake)$' -n $'\t'
look "trailing blanks" "$texts" -nE '[[:space:]]+$'
look "unfinished" "$cpp" -nE '\b(TODO|FIXME|XXX)\b'
look "aggregate includes" "$cpp" -nE '#include <(QtCore|QtGui|QtWidgets|QtNetwork)>'
look "no include guard" '\.h$' -L '#pragma once'
look "no licence line" "$code" -L 'SPDX-License-Identifier: MIT'
# Own code starts no threads; whatever waits does so on the event loop. QThread may name the current thread and pause.
look "threads" "^(src|replay)/.*$cpp" -nE \
    'std::(jthread|thread|async)\b|<(thread|future)>|\bQThread\b[^:>]|QThread::create|QThreadPool|QRunnable|QtConcurrent|moveToThread|pthread_create'
look "blocking waits" "^src/.*$cpp" -nE 'QCoro::waitFor|QEventLoop|processEvents|\bsleep_for\b'

while read -r file; do
    case $file in *.h) limit=350 ;; *) limit=600 ;; esac
    [ -f "$file" ] || continue
    lines=$(wc -l <"$file")
    [ "$lines" -le "$limit" ] || fault "$file: $lines lines, at most $limit"
done < <(grep -E "^(src|replay)/.*$cpp" <<<"$files")
while read -r script; do
    [ ! -f "$script" ] || [ -x "$script" ] || fault "$script is not executable"
done < <(grep -E '^(scripts/.*\.sh|tools/.*\.(sh|py)|\.ci/run|\.githooks/.*)$' <<<"$files" |
    grep -vE '/(packages\.sh|mutants\.py)$')
[ "$faults" -eq 0 ] && echo "style is fine"
exit "$faults"
