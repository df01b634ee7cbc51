#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# The style and layer checks can fail: each fault, put alone into a small tree, is found.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/../.."
tree=$(mktemp -d)
trap 'rm -rf "$tree"' EXIT
mkdir -p "$tree"/{tools,{src,tests}/{analysis,state}}
cp tools/check-{style.sh,layers.py} "$tree/tools"
cd "$tree"
git init --quiet
while IFS='|' read -r checker message path text; do
    printf '%b' "$text" >"$path"
    if said=$("tools/check-$checker") || ! grep -qF -- "$message" <<<"$said"; then
        echo "check-$checker says of $path, $text: $said"
        exit 1
    fi
    rm "$path"
done <<'FAULTS'
style.sh|threads:|src/state/bad.cpp|class W : public QThread {};
style.sh|trailing blanks:|src/state/bad.cpp|int a;\040
style.sh|no licence line:|src/state/bad.cpp|int a;
style.sh|not executable|tools/bad.py|import sys
layers.py|this folder must not know that one|src/analysis/bad.h|#include "state/clean.h"
layers.py|not in this layer|src/state/bad.cpp|#include <QNetworkReply>
layers.py|names are lower-case|src/state/Bad.cpp|
FAULTS
