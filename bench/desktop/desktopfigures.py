#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Measures the running program in an X session of its own and writes the values as JSON.

Usage: desktopfigures.py BIN_DIR FILE PART... The parts are functions below.
"""
import json
import pathlib
import shutil
import socket
import statistics
import subprocess
import sys
import threading
import time

HERE = pathlib.Path(__file__).resolve().parent
sys.path.insert(0, str(HERE.parents[1] / "tests" / "session"))
import desktop  # noqa: E402  pylint: disable=wrong-import-position
from desktop import Failure, Session, expect, wait_for  # noqa: E402

STARTS = 15
TICKS, TICK_MS = 25, 300
SETTLING = 15  # seconds: first refreshes, docking
MINUTE = 60
WATCHER = "org.kde.StatusNotifierWatcher"
NOTIFICATIONS = "org.freedesktop.Notifications"
NOTICES = 5
CHARTS = 4
SCREEN = "2560x2000x24"  # room for panel and chart at twice the density


class CountingRelay:
    """Hands on to a market server and counts the requests."""

    def __init__(self, market):
        host, _, port = market.removeprefix("http://").partition(":")
        self.market = host, int(port)
        self.requests = 0
        self.asked = set()  # connections whose next answer is a price
        self.prices = []  # when those answers were handed on
        self.listener = socket.create_server(("127.0.0.1", 0))
        self.address = f"http://127.0.0.1:{self.listener.getsockname()[1]}"
        self.in_background(self.accept)

    @staticmethod
    def in_background(work, *arguments):
        threading.Thread(target=work, args=arguments, daemon=True).start()

    def accept(self):
        while True:
            client, _ = self.listener.accept()
            server = socket.create_connection(self.market)
            for one in (client, server):
                one.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
            self.in_background(self.hand_on, client, server, True)
            self.in_background(self.hand_on, server, client, False)

    def hand_on(self, source, target, counted):
        try:
            while data := source.recv(1 << 20):
                if counted:
                    self.requests += data.count(b"GET /")
                    if b"/usdt/tickers?" in data:
                        self.asked.add(target)
                elif source in self.asked:
                    self.asked.discard(source)
                    self.prices.append(time.monotonic())
                target.sendall(data)
            target.shutdown(socket.SHUT_WR)
        except OSError:
            pass  # one of the two has gone


class Watched:
    """What a process has used so far."""

    def __init__(self, process):
        self.pid = process.pid
        self.clock = (~process.pid << 3) | 2  # the kernel's name for a process's CPU clock, all threads
        self.cpu_before, self.switches_before = self.cpu(), self.switches()

    def cpu(self):
        return time.clock_gettime(self.clock)

    def switches(self):
        return sum(self.number(status, "voluntary_ctxt_switches")
                   for status in pathlib.Path(f"/proc/{self.pid}/task").glob("*/status"))

    def memory(self):
        """Resident, MiB."""
        return self.number(pathlib.Path(f"/proc/{self.pid}/status"), "VmRSS") / 1024

    def own_memory(self):
        """What no other process shares, MiB: without the pixels of windows, which the X server has too."""
        return self.number(pathlib.Path(f"/proc/{self.pid}/smaps_rollup"), "Private_Dirty") / 1024

    @staticmethod
    def number(file, key):
        return next(int(line.split()[1]) for line in file.read_text(encoding="utf-8").splitlines()
                    if line.startswith(key + ":"))

    def cpu_ms(self):
        return (self.cpu() - self.cpu_before) * 1000

    def new_switches(self):
        return self.switches() - self.switches_before


def start_bar(session, name, market, *arguments, **settings):
    """A program with settings of its own, so that several can run beside each other."""
    return start_bar_on("", session, name, market, *arguments, **settings)


def start_bar_on(desktop_name, session, name, market, *arguments, **settings):
    command, config = bar_command(session, name, market, *arguments, **settings)
    return session.start(*command, log=f"{name}.err", XDG_CONFIG_HOME=config, XDG_CURRENT_DESKTOP=desktop_name)


def bar_command(session, name, market, *arguments, **settings):
    config = session.folder / name
    (config / "kestrune-bar").mkdir(parents=True)
    values = {"ks_has_launched_v2": True, **settings}
    (config / "kestrune-bar" / "preferences.json").write_text(json.dumps(values), encoding="utf-8")
    return [str(session.bin / "kestrune-bar"), "--market-server", market, *arguments], str(config)


def start(session):
    """Milliseconds from the start to the first picture, in turns with a bare program."""
    command, config = bar_command(session, "start", session.start_market("--speed", "1"), "--strip")
    environment = dict(session.environment, XDG_CONFIG_HOME=config)
    commands = {"bar": command, "bare": [str(session.bin / "kestrune-bench-bare")]}
    times = {name: [] for name in commands}
    for _ in range(STARTS + 1):
        for name, program in commands.items():
            found = subprocess.run([str(session.bin / "kestrune-bench-firstpicture"), *program], env=environment,
                                   stdout=subprocess.PIPE, text=True, timeout=60, check=True)
            times[name].append(float(found.stdout))
    return {name: statistics.median(values[1:]) for name, values in times.items()}  # the first one warms up


def has_owner(name):
    answer = desktop.output("dbus-send", "--session", "--print-reply", "--dest=org.freedesktop.DBus", "/",
                            "org.freedesktop.DBus.NameHasOwner", "string:" + name)
    return "boolean true" in answer


def has_watcher():
    return has_owner(WATCHER)


def notice(session):
    """Milliseconds from the price that touches an alert to its message on the bus, and for a bare program's call."""
    python = desktop.python_with("Gio", "2.0")
    expect(python, "the GObject bindings for Python are needed")
    service = subprocess.Popen([python, str(HERE / "notices.py")], env=session.environment, stdout=subprocess.PIPE,
                               text=True)
    wait_for(lambda: has_owner(NOTIFICATIONS), "the notification service", 20)
    market = session.start_market("--speed", "1")
    times = {"bar": [], "bare": []}
    for number in range(NOTICES):
        relay = CountingRelay(market)
        alert = {"id": f"0000000{number}-0000-4000-8000-000000000000", "targetPrice": 1, "above": True,
                 "symbol": "ETH", "label": "1", "triggered": False}
        bar = start_bar(session, f"notice{number}", relay.address, "--strip", ks_alerts=[alert])
        came = float(service.stdout.readline())
        times["bar"].append((came - min(relay.prices)) * 1000)
        session.end(bar)
        began = time.monotonic()
        desktop.output("gdbus", "call", "--session", "--dest", NOTIFICATIONS, "--object-path",
                       "/org/freedesktop/Notifications", "--method", NOTIFICATIONS + ".Notify", "", "0", "", "", "",
                       "[]", "{}", "0")
        times["bare"].append((float(service.stdout.readline()) - began) * 1000)
    service.terminate()
    return {name: statistics.median(values) for name, values in times.items()}


def ticks(session):
    """What a price tick costs as a notifier item, with hosts of different habits."""
    session.start_window_manager()
    python = desktop.python_with("Gio", "2.0")
    expect(python, "the GObject bindings for Python are needed")
    hosts = {"all": ([python, str(HERE / "host.py"), "all"], "wide"),
             "each": ([python, str(HERE / "host.py"), "each"], "label")}
    if shutil.which("xfce4-panel"):
        hosts["xfce"] = (["xfce4-panel", "--disable-wm-check"], "dot")
    values = {}
    for name, (command, kind) in hosts.items():
        host = session.start(*command)
        wait_for(has_watcher, "a host of notifier items", 20)
        found = subprocess.run([str(session.bin / "kestrune-bench-notifier"), str(TICKS), str(TICK_MS), kind],
                               env=session.environment, stdout=subprocess.PIPE, text=True, timeout=120, check=True)
        values[name] = float(found.stdout)
        session.end(host)
        wait_for(lambda: not has_watcher(), "the host goes", 20)
    return values


def chart(session):
    """MiB that the chart takes at twice the density with all its lines, the first time aside: fonts stay."""
    session.start_window_manager()
    session.environment["QT_SCALE_FACTOR"] = "2"
    bar = Watched(start_bar(session, "chart", session.start_market("--speed", "1"), "--strip", ks_coin="BTC",
                            ks_chart_lines="ema50 ema200 vegas vwap"))
    desktop.click(wait_for(desktop.strip, "a strip", 20))
    time.sleep(SETTLING)
    closed, opened = [], []
    for _ in range(CHARTS):
        for values, key, shown in ((opened, "c", True), (closed, "Escape", False)):
            desktop.keys(key)
            wait_for(lambda: any(w.width >= 1000 for w in desktop.windows()) == shown, "the chart", 20)  # noqa: B023
            time.sleep(1)
            values.append(bar.own_memory())
    return {"open": max(opened[1:]) - closed[0], "closed": max(closed[1:]) - closed[0]}


def xfce(session):
    """Memory on a desktop whose look Qt takes from GTK, and of the same program on one without a name."""
    session.start_window_manager()
    session.start_tray()
    session.start("xfsettingsd", "--no-daemon", "--disable-wm-check", log="xfsettingsd.err")
    market = session.start_market("--speed", "1")
    programs = {name: start_bar_on(name, session, name or "bare", market) for name in ("XFCE", "")}
    time.sleep(SETTLING)
    for process in programs.values():
        maps = pathlib.Path(f"/proc/{process.pid}/maps").read_text(encoding="utf-8")
        expect("libgtk" not in maps, "the program has loaded GTK")
    return {name or "bare": Watched(process).memory() for name, process in programs.items()}


def minute(session):
    """What the program uses while nobody touches it."""
    session.start_window_manager()
    session.start_tray()
    market = session.start_market("--speed", "1")
    relay = CountingRelay(market)
    started = time.monotonic()

    def wait_until(second):
        time.sleep(max(0.0, started + second - time.monotonic()))

    bare = str(session.bin / "kestrune-bench-bare")
    ticker = market + "/api/v4/futures/usdt/tickers?contract=ETH_USDT"
    programs = {
        # As often as the bar asks for the price, and as often as its neon signs change.
        "bare": session.start(bare, "5000", "ETH 3,45", ticker),
        "bare neon": session.start(bare, "150", "BTC ETH SOL BNB XRP DOGE ADA LINK " * 2),
        "seams": session.start(str(session.bin / "kestrune-bench-seams")),
        "tray": start_bar(session, "tray", market),
        "strip": start_bar(session, "strip", market, "--strip"),
        # Counting costs a program some switches more, so it is done beside one that is not measured.
        "counted": start_bar(session, "counted", relay.address, "--strip"),
        "neon": start_bar(session, "neon", market, "--strip", ks_bling=True),
    }
    wait_until(SETTLING)
    expect(len(desktop.windows()) == 4, f"four status items are expected: {desktop.windows()}")
    before = relay.requests
    watched = {name: Watched(process) for name, process in programs.items()}
    wait_until(MINUTE)
    values = {f"{name} memory": watched[name].memory() for name in ("strip", "bare")}
    wait_until(SETTLING + MINUTE)
    values["requests"] = relay.requests - before
    expect(values["requests"] >= MINUTE / 5 - 1, "the program does not refresh")
    for name, process in programs.items():
        values[f"{name} cpu"] = watched[name].cpu_ms()
        values[f"{name} switches"] = watched[name].new_switches()
        expect(process.poll() is None, f"the {name} program has ended")
    return values


def measure(bin_dir, file, parts):
    known = {"start": start, "ticks": ticks, "notice": notice, "chart": chart, "xfce": xfce,
             "minute": minute}
    measured = {}
    for part in parts:
        print(f"measuring: {part}", flush=True)
        try:
            with Session(bin_dir) as session:
                # No screen reader, and no desktop's name: it would load another toolkit into every program, and
                # beside that no difference to the bare program would be seen.
                for name in ("QT_LINUX_ACCESSIBILITY_ALWAYS_ON", "XDG_CURRENT_DESKTOP", "QT_QPA_PLATFORMTHEME"):
                    session.environment.pop(name, None)
                measured[part] = known[part](session)
        except (Failure, OSError, ValueError, subprocess.SubprocessError) as failure:
            print(f"{part}: {failure}", flush=True)
        pathlib.Path(file).write_text(json.dumps(measured), encoding="utf-8")
    return 0


def main():
    inside = sys.argv[1] == "--inside"
    bin_dir, file, *parts = sys.argv[2:] if inside else sys.argv[1:]
    if inside:
        return measure(bin_dir, file, parts)
    lacking = desktop.missing(["Xvfb", "dbus-run-session", "dbus-send", "xwininfo", "xprop", "xdotool", "openbox"])
    if lacking:
        print(f"desktop figures need {', '.join(lacking)}")
        return 1
    return desktop.inside_session([bin_dir, file, *parts], SCREEN)


if __name__ == "__main__":
    sys.exit(main())
