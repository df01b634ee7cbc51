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
sys.path[:0] = [str(HERE), str(HERE.parent / "tests" / "session")]
import figures  # noqa: E402  pylint: disable=wrong-import-position

REPETITIONS = 7
UNITS = {"us": {"ns": 1e-3, "us": 1, "ms": 1e3}, "ms": {"ns": 1e-6, "us": 1e-3, "ms": 1}}


def run_benchmarks(bin_dir, chosen):
    """Medians by benchmark, in the unit of the figure that asks for it. CPU time: on an idle machine the same as the
    time on the clock, and on a loaded one still right."""
    names = {name.removesuffix(" switches").removesuffix(" difference")
             for figure in chosen for name in (figure.key, figure.plain) if name}
    pattern = "^(" + "|".join(sorted(names)) + ")$"  # no name holds a special character
    report = subprocess.run([str(bin_dir / "kestrune-bench"), f"--benchmark_filter={pattern}",
                             f"--benchmark_repetitions={REPETITIONS}", "--benchmark_report_aggregates_only=true",
                             "--benchmark_enable_random_interleaving=true", "--benchmark_min_time=0.2",
                             "--benchmark_format=json"],
                            env=dict(os.environ, QT_QPA_PLATFORM="offscreen"), stdout=subprocess.PIPE, check=True)
    medians = {entry["run_name"]: entry for entry in json.loads(report.stdout)["benchmarks"]
               if entry.get("aggregate_name") == "median" and not entry.get("error_occurred")}
    values = {}
    for figure in chosen:
        for key in filter(None, (figure.key, figure.plain)):
            name, _, counter = key.partition(" ") if key not in medians else (key, "", "")
            entry = medians.get(name)
            if entry and counter:
                values[key] = entry.get(counter)
            elif entry:
                values[key] = entry["cpu_time"] * UNITS[figure.unit][entry["time_unit"]]
    return values


def run_allocations(bin_dir):
    command = [str(bin_dir / "kestrune-bench-allocations")]
    report = subprocess.run(command, stdout=subprocess.PIPE, text=True, check=True)
    return {name: int(count) for name, count in (line.split() for line in report.stdout.splitlines())}


def run_snapshots(bin_dir):
    """Wall time and peak memory of snapshot runs against a market on this machine."""
    seconds, memory = [], []
    with tempfile.TemporaryDirectory() as folder, \
            subprocess.Popen([str(bin_dir / "kestrune-replay"), "--port", "0", "--exit-with-stdin"],
                             stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True) as market:
        address = market.stdout.readline().split()[-1]
        environment = dict(os.environ, XDG_CONFIG_HOME=folder)
        command = [str(bin_dir / "kestrune-bar"), "--market-server", address, "--snapshot", folder + "/out",
                   "--symbol", "BTC", "--timeframe", "4H"]
        for _ in range(REPETITIONS + 1):
            started = time.monotonic()
            process = subprocess.Popen(command, env=environment)
            _, status, usage = os.wait4(process.pid, 0)
            seconds.append(time.monotonic() - started)
            memory.append(usage.ru_maxrss / 1024)
            process.returncode = os.waitstatus_to_exitcode(status)
            pictures = pathlib.Path(folder, "out")
            if not all((pictures / name).exists() for name in ("data.json", "popover.png")):
                raise RuntimeError("the snapshot run wrote nothing")
        market.stdin.close()
    return {"seconds": figures.median(seconds[1:]), "memory": figures.median(memory[1:])}  # the first one warms up


def run_on_desktop(bin_dir, parts):
    """The figures of the whole program on a display and a bus of their own."""
    with tempfile.TemporaryDirectory() as folder:
        answer = pathlib.Path(folder, "values.json")
        subprocess.run([sys.executable, str(HERE / "desktop" / "desktopfigures.py"), str(bin_dir), str(answer), *parts],
                       stdout=sys.stderr, check=False)
        return json.loads(answer.read_text(encoding="utf-8")) if answer.exists() else {}


def measure(bin_dir, chosen):
    measured = {}
    for part in figures.PARTS[:3]:
        own = [figure for figure in chosen if figure.part == part]
        if not own:
            continue
        print(f"measuring: {part}", file=sys.stderr)
        run = {"benchmarks": lambda: run_benchmarks(bin_dir, own), "allocations": lambda: run_allocations(bin_dir),
               "snapshot": lambda: run_snapshots(bin_dir)}[part]
        try:
            measured[part] = run()
        except (KeyError, OSError, RuntimeError, subprocess.SubprocessError, ValueError) as failure:
            print(f"{part}: {failure}", file=sys.stderr)
    desktop_parts = [part for part in figures.PARTS[3:] if any(figure.part == part for figure in chosen)]
    if desktop_parts:
        measured.update(run_on_desktop(bin_dir, desktop_parts))
    return measured


def without_absent_libraries(chosen, measured):
    """The figures without those of libraries that this build does not know, and a line for each of these."""
    left_out, lines = set(), []
    for key, name in figures.OPTIONAL.items():
        own = {figure for figure in chosen if figure.plain == key or figure.key.startswith(key)}
        if own and key not in measured.get("benchmarks", {}):
            left_out |= own
            lines.append(f"Comparison with {name}: skipped, not installed.")
    return [figure for figure in chosen if figure not in left_out], lines


def machine():
    model = next((line.partition(":")[2].strip() for line in pathlib.Path("/proc/cpuinfo").read_text().splitlines()
                  if line.startswith("model name")), "unknown processor")
    return f"{time.strftime('%Y-%m-%d')}, {os.cpu_count()} cores ({model}), load {os.getloadavg()[0]:.1f} at the start"


def main():
    parser = argparse.ArgumentParser(prog="scripts/bench.sh", description="Measures the program against its limits.")
    parser.add_argument("--quick", action="store_true", help="leave out what takes a minute")
    parser.add_argument("--markdown", action="store_true", help="the table as the README shows it")
    parser.add_argument("bin_dir", type=pathlib.Path, help=argparse.SUPPRESS)
    parser.add_argument("filter", nargs="?", default="", help="only figures whose name matches this pattern")
    options = parser.parse_args()
    bin_dir = options.bin_dir.resolve()
    heading = machine()
    chosen = [figure for figure in figures.FIGURES if re.search(options.filter, figure.what)]
    if not chosen:
        parser.error("no figure has such a name")
    lines = []
    if options.quick and any(figure.part == "minute" for figure in chosen):
        chosen = [figure for figure in chosen if figure.part != "minute"]
        lines.append("Left out by --quick: everything that is watched for a minute.")
    measured = measure(bin_dir, chosen)
    chosen, more = without_absent_libraries(chosen, measured)
    results = figures.results(chosen, measured)
    print(f"Measured on {heading}.\n")
    print(figures.table([figures.row(result) for result in results], options.markdown))
    failed = [result for result in results if result.passed is False]
    lines += [*more, f"{len(failed)} of {len(results)} figures failed." if failed else "All figures keep their limits."]
    print("\n" + "\n".join(lines))
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
