#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Checks that every folder includes only what it may, the direction of knowledge as data, and has its tests."""
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent

# Folder: (own folders it may include, Qt and library headers it must never include)
GUI = r"Q(?:Gui|Widget|Image|Pixmap|Painter|Color|Font|Icon|Window|Screen|Application)\b|QtWidgets|QtGui"
NETWORK = r"Q(?:Network|Tcp|Ssl|Udp|Local(?:Server|Socket))\w*|QtNetwork"
JSON_LIBRARY = r"simdjson"
LAYERS = {
    "analysis": ({"analysis"}, [GUI, NETWORK, r"QCoro", JSON_LIBRARY]),
    "platform": ({"platform"}, [GUI, JSON_LIBRARY]),
    "market": ({"market", "platform", "analysis"}, [GUI, NETWORK]),
    "state": ({"state", "market", "platform", "analysis"}, [GUI, NETWORK, JSON_LIBRARY]),
    "viewmodel": ({"viewmodel", "state", "market/marketsegment.h", "analysis", "platform/clock.h"},
                  [GUI, NETWORK, JSON_LIBRARY, r"QCoro"]),
    "ui": ({"ui"}, [NETWORK, JSON_LIBRARY, r"QCoro"]),
    "chart": ({"chart", "ui", "viewmodel", "state", "analysis"}, [NETWORK, JSON_LIBRARY, r"QCoro"]),
    "panel": ({"panel", "chart", "ui", "viewmodel", "state", "market/marketsegment.h", "market/instrumentsearch.h", "analysis", "platform/clock.h",
                "platform/async.h"},
              [NETWORK, JSON_LIBRARY]),
    "line": ({"line", "snapshot/commandline.h", "snapshot/selection.h", "snapshot/snapshotdata.h", "viewmodel", "state",
              "market/marketsegment.h", "analysis", "platform"}, [GUI, NETWORK, JSON_LIBRARY]),
    "statusbar": ({"statusbar", "line", "panel", "ui", "viewmodel", "state", "sound/alertsound.h", "market/marketsegment.h", "market/marketservice.h", "analysis",
                   "platform"},
                  [JSON_LIBRARY, r"QMediaDevices|QSoundEffect|QtMultimedia"]),
    "snapshot": ({"snapshot", "panel", "chart", "ui", "viewmodel", "state", "market", "platform", "analysis"}, [NETWORK, JSON_LIBRARY]),
    "sound": ({"sound"}, [NETWORK, JSON_LIBRARY]),
}
REPLAY = ({"replay", "analysis"}, [GUI, JSON_LIBRARY])
TESTED_IN = {"viewmodel": "panel"}  # below tests/, where that is not the folder's own name
INCLUDE = re.compile(r'^\s*#\s*include\s+(?:"([^"]+)"|<([^>]+)>)')


def allowed(target: str, own: set[str]) -> bool:
    return target in own or target.split("/")[0] in own


def check(path: pathlib.Path, own: set[str], banned: list[str]) -> list[str]:
    faults = []
    for number, line in enumerate(path.read_text(encoding="utf-8").splitlines(), 1):
        match = INCLUDE.match(line)
        if not match:
            continue
        target = match.group(1) or match.group(2)
        where = f"{path.relative_to(ROOT)}:{number}: {target}"
        if match.group(1) and "/" in target and not allowed(target, own):
            faults.append(f"{where}: this folder must not know that one")
        if any(re.match(pattern, target) for pattern in banned):
            # simdjson is the market's own affair, inside its sources.
            faults.append(f"{where}: not in this layer")
        if target == "simdjson.h" and path.suffix == ".h":
            faults.append(f"{where}: only inside sources")
    return faults


def main() -> int:
    faults = []
    seen = 0
    for path in sorted((ROOT / "src").rglob("*")):
        if path.name.lower() != path.name and path.name != "CMakeLists.txt":
            faults.append(f"{path.relative_to(ROOT)}: names are lower-case")
    for folder in [path for path in sorted((ROOT / "src").iterdir()) if path.is_dir()]:
        if folder.name not in LAYERS:
            faults.append(f"src/{folder.name}: not in the table of layers")
            continue
        if not (ROOT / "tests" / TESTED_IN.get(folder.name, folder.name)).is_dir():
            faults.append(f"src/{folder.name}: no folder of tests")
        for path in sorted(folder.rglob("*.cpp")) + sorted(folder.rglob("*.h")):
            seen += 1
            faults += check(path, *LAYERS[folder.name])
    for path in sorted((ROOT / "replay").glob("*.cpp")) + sorted((ROOT / "replay").glob("*.h")):
        seen += 1
        faults += check(path, *REPLAY)
    if seen == 0:
        faults.append("no sources found")
    print("\n".join(faults) if faults else f"{seen} files, layers in order")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
