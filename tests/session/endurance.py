#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""The program on the simulated market in a tray for a long while: memory must not grow, nothing may be said.

Usage: endurance.py MINUTES BIN_DIR. Prints a line a minute; ends with 1 when something is wrong.
"""
import pathlib
import subprocess
import sys
import time

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent))
import desktop  # noqa: E402  pylint: disable=wrong-import-position
from desktop import Failure, expect, items, wait_for  # noqa: E402  pylint: disable=wrong-import-position

SETTLING = 2  # minutes until everything has been loaded once
GROWTH_LIMIT = 1024  # KiB after that


def numbers_of(file, wanted):
    """Those lines of a status file that begin with a wanted word, as numbers."""
    lines = (line.split() for line in file.read_text(encoding="utf-8").splitlines())
    return {words[0].rstrip(":"): int(words[1]) for words in lines if words and words[0].rstrip(":") in wanted}


def cpu_clock(pid):
    """The kernel's clock of a process, as clock_getcpuclockid names it; the ticks of /proc are too coarse."""
    return (~pid << 3) | 2


def sample(process):
    """Memory in KiB, CPU in ms and context switches of all threads, since the start."""
    folder = pathlib.Path("/proc", str(process.pid))
    found = numbers_of(folder / "smaps_rollup", ("Rss", "Anonymous"))
    found["cpu"] = time.clock_gettime_ns(cpu_clock(process.pid)) // 1_000_000
    found["switches"] = sum(numbers_of(task / "status", ("voluntary_ctxt_switches",))["voluntary_ctxt_switches"]
                            for task in (folder / "task").iterdir())
    return found


def watch(session):
    minutes = int(sys.argv[-2])
    session.start_window_manager()
    session.start_tray()
    session.preset()
    bar = session.start_bar("--demo")
    wait_for(items, "the item shows", 20)
    print("minute  Rss KiB  Anonymous KiB  switches  CPU ms", flush=True)
    before, settled, peak = None, None, 0
    for minute in range(minutes + 1):
        now = sample(bar)
        change = {name: now[name] - before[name] for name in ("switches", "cpu")} if before else {}
        print(f"{minute:6}  {now['Rss']:7}  {now['Anonymous']:13}  {change.get('switches', ''):>8}"
              f"  {change.get('cpu', ''):>6}", flush=True)
        if minute == SETTLING:
            settled = now["Rss"]
        elif settled:
            peak = max(peak, now["Rss"] - settled)
        before = now
        if minute < minutes:
            try:
                raise Failure(f"the program ended with {bar.wait(60)} after {minute} minutes")
            except subprocess.TimeoutExpired:
                pass
    words = (session.folder / "bar.err").read_text(encoding="utf-8", errors="replace")
    expect(words == "", f"standard error is not empty:\n{words}")
    print(f"Grown by {peak} KiB after the first {SETTLING} minutes; the limit is {GROWTH_LIMIT}.")
    expect(peak <= GROWTH_LIMIT, "memory grows")
    session.quit_bar(bar)


if __name__ == "__main__":
    sys.exit(desktop.run(watch, ["xfce4-panel"]))
