#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Runs the program in a real X session and looks at it from outside.

Usage: session.py SCENARIO BIN_DIR. Ends with 77 when something that the scenario needs is not installed.
"""
import pathlib
import shutil
import subprocess
import sys

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent))
import desktop  # noqa: E402  pylint: disable=wrong-import-position
import everyday  # noqa: E402  pylint: disable=wrong-import-position
import lifecycle  # noqa: E402  pylint: disable=wrong-import-position
import presentations  # noqa: E402  pylint: disable=wrong-import-position
from desktop import Failure, Session, has_accessibility, has_bus_bindings  # noqa: E402

# The run, the programs that it needs, and what else must be there.
SCENARIOS = {
    "tray": (presentations.tray, ["openbox"], lambda: shutil.which("xfce4-panel") or shutil.which("trayer")),
    "scaled": (presentations.scaled, ["openbox", "xfce4-panel", "xfconf-query"], None),
    "squeezed": (presentations.squeezed, ["openbox", "xfce4-panel", "xfconf-query"], None),
    "strip": (presentations.strip_alone, ["openbox"], None),
    "wait": (presentations.waits_for_host, [], None),
    "notifier": (presentations.notifier, ["openbox"], has_bus_bindings),
    "instance": (everyday.one_instance, ["openbox"], None),
    "theme": (everyday.theme, ["openbox"], has_bus_bindings),
    "typing": (everyday.typing, ["openbox", "xclip", "setxkbmap"], has_accessibility),
    "menu": (everyday.context_menu, ["openbox"], lambda: shutil.which("xfce4-panel") or shutil.which("trayer")),
    "alert": (everyday.alert, ["openbox"], has_accessibility),
    "wake": (lifecycle.wakes, ["openbox", "dbus-daemon"], has_bus_bindings),
    "ending": (lifecycle.endings, ["openbox"], None),
}


def main():
    inside = sys.argv[1] == "--inside"
    name, bin_dir = sys.argv[-2:]
    scenario, tools, more = SCENARIOS[name]
    if not inside:
        lacking = desktop.missing(["Xvfb", "dbus-run-session", "xdotool", "xwininfo", "xprop", "import",
                                   "pgrep", "dbus-send", *tools])
        if lacking or (more and not more()):
            print(f"SKIP: {name} needs {', '.join(lacking) or 'a tray or the GObject bindings'}")
            return desktop.SKIPPED
        return desktop.inside_session([name, bin_dir])
    evidence = pathlib.Path(bin_dir).resolve().parent / "session-evidence" / name
    try:
        with Session(bin_dir) as session:
            try:
                scenario(session)
            except (Failure, subprocess.SubprocessError):
                session.keep_evidence(evidence)
                raise
    except (Failure, subprocess.SubprocessError) as failure:
        print(f"FAIL: {name}: {failure} (what was seen is in {evidence})")
        return 1
    print(f"PASS: {name}")
    return 0


if __name__ == "__main__":
    sys.exit(main())
