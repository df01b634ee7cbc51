#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# The style and layer checks can fail: each fault, put alone into a small clean tree, must be told.
set -euo pipefail
source_dir=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
tree=$(mktemp -d)
trap 'rm -rf "$tree"' EXIT
cd "$tree"
git init --quiet
mkdir -p tools scripts src/analysis src/state .ci
cp "$source_dir"/tools/check-{style.sh,layers.py} tools/
for script in scripts/{run,test,check,bench}.sh .ci/run; do
    printf '#!/bin/sh\n' >"$script"
    chmod +x "$script"
done
printf '#pragma once\n' >src/analysis/clean.h
printf '#include "analysis/clean.h"\n' >src/state/clean.cpp
wrong=0

# told CHECKER MESSAGE PATH TEXT: a file of this text makes the checker fail with this message.
told() {
    local checker=$1 message=$2 path=$3 said
    printf '%b' "$4" >"$path"
    if said=$("$checker"); then
        echo "$checker passes $path: $4"
        wrong=1
    elif ! grep -qF -- "$message" <<<"$said"; then
        printf '%s does not say "%s" of %s but:\n%s\n' "$checker" "$message" "$path" "$said"
        wrong=1
    fi
    rm "$path"
}

tools/check-style.sh >/dev/null
tools/check-layers.py >/dev/null

style() { told tools/check-style.sh "$@"; }
for thread in 'std::thread t;' 'auto f = std::async(g);' '#include <future>' 'class W : public QThread {};' \
    'QThread worker;' 'new QThread(this);' 'auto *t = QThread::create(f);' 'object.moveToThread(other);' \
    'QThreadPool::globalInstance();' 'QtConcurrent::run(f);'; do
    style "threads:" src/state/bad.cpp "$thread\n"
done
style "blocking waits:" src/state/bad.cpp 'QEventLoop loop;\n'
style "carriage returns:" src/state/bad.cpp 'int a;\r\n'
style "tabs:" src/state/bad.cpp '\tint a;\n'
style "trailing blanks:" src/state/bad.cpp 'int a; \n'
style "unfinished:" src/state/bad.cpp '// TO''DO\n'
style "aggregate includes:" src/state/bad.cpp '#include <QtCore>\n'
style "no include guard:" src/state/bad.h 'int a;\n'
style "601 lines, at most 600" src/state/bad.cpp "$(printf 'int a;\\n%.0s' {1..601})"
chmod -x scripts/run.sh
style "scripts/run.sh is not executable" unused ''
chmod +x scripts/run.sh

layers() { told tools/check-layers.py "$@"; }
layers "this folder must not know that one" src/analysis/bad.h '#include "state/clean.h"\n'
layers "not in this layer" src/state/bad.cpp '#include <QWidget>\n'
layers "not in this layer" src/state/bad.cpp '#include <QNetworkReply>\n'
mkdir src/unheard
layers "src/unheard: not in the table of layers" unused ''
exit "$wrong"
