#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Measures every figure of figures.py and prints them in one table; ends with 1 when one is over its limit.

Usage: bench.py [--quick] [--markdown] BIN_DIR [FILTER]. The filter is a regular expression for the figures' names.
"""
import argparse
import json
import os
import pathlib
import re
import subprocess
import sys
import tempfile
import time

HERE = pathlib.Path(__file__).resolve().parent
sys.path.insert(0, str(HERE))
from figures import FIGURES  # noqa: E402  pylint: disable=wrong-import-position

REPETITIONS = 7
SNAPSHOT_RUNS = 12
WAITS = 1.5  # seconds that a snapshot run waits on purpose
UNITS = {"us": 1e-3, "ms": 1e-6}  # of the nanoseconds that the benchmarks tell
HEADING = ["What", "Measured", "Yardstick", "Ratio", "Limit", ""]


def run_benchmarks(bin_dir, chosen):
    """Medians by benchmark, in the unit of the figure that asks for it. CPU time: on an idle machine the same as the
    time on the clock, and on a loaded one still right."""
    names = {key.removesuffix(" switches") for figure in chosen for key in (figure.key, figure.yardstick) if key}
    report = subprocess.run([str(bin_dir / "kestrune-bench"), f"--benchmark_filter=^({'|'.join(sorted(names))})$",
                             f"--benchmark_repetitions={REPETITIONS}", "--benchmark_report_aggregates_only=true",
                             "--benchmark_enable_random_interleaving=true", "--benchmark_min_time=0.2",
                             "--benchmark_format=json"],
                            env=dict(os.environ, QT_QPA_PLATFORM="offscreen"), stdout=subprocess.PIPE, check=True)
    medians = {entry["run_name"]: entry for entry in json.loads(report.stdout)["benchmarks"]
               if entry.get("aggregate_name") == "median" and not entry.get("error_occurred")}
    values = {}
    for figure in chosen:
        for key in (figure.key, figure.yardstick):
            if key in medians:
                values[key] = medians[key]["cpu_time"] * UNITS[figure.unit]
            elif key and key.removesuffix(" switches") in medians:
                values[key] = medians[key.removesuffix(" switches")]["switches"]
    return values


def run_snapshots(bin_dir, _chosen):
    """Time and peak memory of snapshot runs against a market on this machine, in turns with a bare program. The
    quickest of each, which a loaded machine disturbs least."""
    seconds, memory = {}, {}
    with tempfile.TemporaryDirectory() as folder, \
            subprocess.Popen([str(bin_dir / "kestrune-replay"), "--port", "0", "--exit-with-stdin"],
                             stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True) as market:
        address = market.stdout.readline().split()[-1]
        environment = dict(os.environ, XDG_CONFIG_HOME=folder, QT_QPA_PLATFORM="offscreen",
                           DBUS_SESSION_BUS_ADDRESS="unix:path=/nonexistent")
        commands = {"": ["kestrune-bar", "--market-server", address, "--snapshot", folder + "/out", "--symbol", "BTC",
                         "--timeframe", "4H"], "bare ": ["kestrune-bench-bare", "quit"]}
        for name, (program, *arguments) in list(commands.items()) * SNAPSHOT_RUNS:
            started = time.monotonic()
            with subprocess.Popen([str(bin_dir / program), *arguments], env=environment) as process:
                _, status, usage = os.wait4(process.pid, 0)
                process.returncode = os.waitstatus_to_exitcode(status)
            seconds.setdefault(name, []).append(time.monotonic() - started)
            memory.setdefault(name, []).append(usage.ru_maxrss / 1024)
        if not all(pathlib.Path(folder, "out", name).exists() for name in ("data.json", "popover.png")):
            raise RuntimeError("the snapshot run wrote nothing")
        market.stdin.close()
    return {"time": (min(seconds[""]) - WAITS) * 1000, "bare time": min(seconds["bare "]) * 1000,
            "memory": max(memory[""]), "bare memory": max(memory["bare "])}


def run_on_desktop(bin_dir, parts):
    """The figures of the whole program on a display and a bus of their own."""
    with tempfile.TemporaryDirectory() as folder:
        answer = pathlib.Path(folder, "values.json")
        subprocess.run([sys.executable, str(HERE / "desktop" / "desktopfigures.py"), str(bin_dir), str(answer), *parts],
                       stdout=sys.stderr, check=False)
        return json.loads(answer.read_text(encoding="utf-8")) if answer.exists() else {}


def measure(bin_dir, chosen):
    measured, runs = {}, {"benchmarks": run_benchmarks, "snapshot": run_snapshots}
    parts = list(dict.fromkeys(figure.part for figure in chosen))
    for part in [part for part in parts if part in runs]:
        print(f"measuring: {part}", file=sys.stderr)
        try:
            measured[part] = runs[part](bin_dir, [figure for figure in chosen if figure.part == part])
        except (KeyError, OSError, RuntimeError, subprocess.SubprocessError, ValueError) as failure:
            print(f"{part}: {failure}", file=sys.stderr)
    if desktop_parts := [part for part in parts if part not in runs]:
        measured |= run_on_desktop(bin_dir, desktop_parts)
    return measured


def table(rows, markdown):
    if markdown:
        return "\n".join("| " + " | ".join(cells) + " |" for cells in [HEADING, ["---"] * len(HEADING), *rows])
    widths = [max(map(len, column)) for column in zip(HEADING, *rows)]
    return "\n".join("  ".join(map(str.ljust, cells, widths)).rstrip() for cells in [HEADING, *rows])


def machine():
    model = next((line.partition(":")[2].strip() for line in pathlib.Path("/proc/cpuinfo").read_text().splitlines()
                  if line.startswith("model name")), "unknown processor")
    return f"{time.strftime('%Y-%m-%d')}, {os.cpu_count()} cores ({model}), load {os.getloadavg()[0]:.1f} at the start"


def main():
    parser = argparse.ArgumentParser(prog="scripts/bench.sh", description="Measures the program against its limits.")
    parser.add_argument("--quick", action="store_true", help="leave out what takes a minute")
    parser.add_argument("--markdown", action="store_true", help="the table in Markdown")
    parser.add_argument("bin_dir", type=pathlib.Path, help=argparse.SUPPRESS)
    parser.add_argument("filter", nargs="?", default="", help="only figures whose name matches this pattern")
    options = parser.parse_args()
    heading = machine()
    chosen = [figure for figure in FIGURES
              if re.search(options.filter, figure.what) and not (options.quick and figure.part == "minute")]
    if not chosen:
        parser.error("no figure has such a name")
    measured = measure(options.bin_dir.resolve(), chosen)
    results = [figure.result(measured.get(figure.part, {})) for figure in chosen]
    failed = sum(not kept for _, kept in results)
    print(f"Measured on {heading}.\n")
    print(table([cells for cells, _ in results], options.markdown) + "\n")
    if options.quick:
        print("Left out by --quick: everything that is watched for a minute.")
    print(f"{failed} of {len(results)} figures failed." if failed else "All figures keep their limits.")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
