#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Which of the small faults in mutants.py do the tests catch?

    run.py apply CLONE              writes all faults, switched off, into the sources of a private clone
    run.py run BUILD OUT.jsonl      after building that clone: each fault against its layer's tests
    run.py report OUT.jsonl [OLD]   caught, survived; with OLD also what was caught then and is missed now

Never in a working tree that is to be committed. `apply` names the lines that fit no longer; with MUTANT unset the
patched tree passes all its tests. A run can be broken off and goes on where it was. Faults that change nothing by
design are listed in EQUIVALENT with the reason.
"""
import json
import os
import pathlib
import subprocess
import sys
import time

sys.dont_write_bytecode = True
HERE = pathlib.Path(__file__).resolve().parent
sys.path.insert(0, str(HERE))
from mutants import MUTANTS  # noqa: E402

# Tests (as ctest knows them) that a fault in a folder of src/ should meet. Edit as tests are renamed.
TESTS = {
    "analysis": "tst_(analysis|state|appstate)",
    "market": "tst_(market|appstate)",
    "state": "tst_(state|appstate|snapshot|panel)",
    "platform": "tst_(platform|appstate)",
    "chart": "tst_(chart|panel)",
    "panel": "tst_(panel|snapshot|statusbar)",
    "ui": "tst_(ui|panel)",
    "viewmodel": "tst_(panel|snapshot|statusbar)",
    "statusbar": "tst_statusbar",
    "snapshot": "tst_snapshot",
    "line": "tst_(line|statusbar)",
}
EQUIVALENT = {"planselection.cpp: tie of equally near zones": "equally near zones of one side have one middle"}


def apply(clone):
    sources = pathlib.Path(clone) / "src"
    texts, misfits = {}, 0
    for number, (path, old, new, note) in enumerate(MUTANTS, 1):
        file = sources / path
        text = texts.get(path) or (file.read_text() if file.exists() else "")
        if text.count(old) != 1:
            print(f"{number}: {path}: occurs {text.count(old)} times: {note}")
            misfits += 1
            continue
        texts[path] = text.replace(old, new.replace("@", f"mutant({number})"))
    for path, text in texts.items():
        (sources / path).write_text(f'#include "{HERE}/mutants.h"\n' + text)
    print(f"{len(MUTANTS) - misfits} of {len(MUTANTS)} faults in {len(texts)} files")
    return 1 if misfits else 0


def run(build, out):
    done = {json.loads(line)["number"] for line in open(out)} if os.path.exists(out) else set()
    with open(out, "a") as results:
        for number, (path, _, _, note) in enumerate(MUTANTS, 1):
            tests = TESTS.get(path.split("/")[0])
            if number in done or not tests:
                continue
            begin = time.monotonic()
            ended = subprocess.run(
                ["ctest", "--test-dir", build, "-R", tests, "--stop-on-failure", "-j2", "--timeout", "180"],
                env=dict(os.environ, MUTANT=str(number)), capture_output=True, text=True)
            failed = [line.split(" - ")[1].split()[0] for line in ended.stdout.splitlines()
                      if " - " in line and "(" in line and line.strip()[:1].isdigit()]
            if "No tests were found" in ended.stdout + ended.stderr:
                sys.exit(f"no test matches {tests}")
            row = dict(number=number, path=path, note=note, caught=ended.returncode != 0, by=failed,
                       seconds=round(time.monotonic() - begin, 1))
            results.write(json.dumps(row, ensure_ascii=False) + "\n")
            results.flush()
            print("caught  " if row["caught"] else "SURVIVED", number, path, note, flush=True)


def report(out, before=None):
    rows = [json.loads(line) for line in open(out)]
    survivors = [row for row in rows if not row["caught"]]
    print(f"{len(rows) - len(survivors)} of {len(rows)} caught")
    for row in survivors:
        print("survived:", row["path"], row["note"])
    if not before:
        return 0
    caught = {(row["path"].split("/")[-1], row["note"]) for row in map(json.loads, open(before)) if row["caught"]}
    lost = [row for row in survivors if (row["path"].split("/")[-1], row["note"]) in caught]
    for row in lost:
        print("LOST:", row["path"], row["note"])
    return 1 if lost else 0


if __name__ == "__main__":
    commands = {"apply": apply, "run": run, "report": report}
    if len(sys.argv) < 3 or sys.argv[1] not in commands:
        sys.exit(__doc__)
    sys.exit(commands[sys.argv[1]](*sys.argv[2:]))
