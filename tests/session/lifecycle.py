# SPDX-License-Identifier: MIT
"""How the program ends with its session, and goes on after a sleep."""
import pathlib
import signal

import desktop
from desktop import (FOLDER, SIMULATED, expect, has_bus_bindings, output, strip, wait_for, wait_until_it_stays,
                     windows)
from gate import Gate


def wakes(session):
    """After a sleep, and when the network is back, all data are fetched at once."""
    session.start_window_manager()
    daemon = session.start_talking("dbus-daemon", "--session", "--nofork", "--print-address")
    system_bus = {"DBUS_SYSTEM_BUS_ADDRESS": daemon.stdout.readline().strip()}
    services = session.start(has_bus_bindings(), str(FOLDER / "systembus.py"), **system_bus)
    for name in ("org.freedesktop.login1", "org.freedesktop.NetworkManager"):
        session.wait_for_name(name, bus=system_bus["DBUS_SYSTEM_BUS_ADDRESS"])
    session.preset(demo=False, **SIMULATED)
    with Gate(session.start_market()) as gate:
        bar = session.start_bar("--strip", "--market-server", gate.address, **system_bus)
        wait_until_it_stays(strip, "the strip shows", 12)

        def answers_to(numbers, what):
            before = wait_until_it_stays(gate.candle_requests, "it is quiet")
            for number in numbers:
                expect(gate.candle_requests() == before, f"{what}: too early")
                services.send_signal(number)
                desktop.time.sleep(0.5)
            wait_for(lambda: gate.candle_requests() > before, what, 5)

        answers_to([signal.SIGUSR1], "after a sleep all data are fetched")
        answers_to([signal.SIGUSR2, signal.SIGUSR2], "with the network back all data are fetched")
        session.quit_bar(bar)


def is_gone(pid):
    return not pathlib.Path("/proc", str(pid)).exists()


def endings(session):
    """Each way in which a session ends a program: nothing hangs, nothing is left, settings stay."""
    session.start_window_manager()
    session.preset(**SIMULATED)
    bars = {number: session.start_bar("--demo", "--strip", log=f"{number.name}.err")
            for number in (signal.SIGTERM, signal.SIGINT, signal.SIGHUP)}
    wait_for(lambda: len(windows()) == len(bars), "all strips show", 20)
    children = [child for bar in bars.values() for child in output("pgrep", "-P", str(bar.pid)).split()]
    expect(len(children) == len(bars), f"each has its market: {children}")
    for number, bar in bars.items():
        expect(session.end(bar, number) == 0, f"{number.name} does not end the program with 0")
        words = (session.folder / f"{number.name}.err").read_text(encoding="utf-8")
        expect(words == "", f"at {number.name} the program says:\n{words}")

    with desktop.display() as name:
        alone = session.start_bar("--demo", "--strip", log="alone.err", DISPLAY=name)
        wait_for(lambda: desktop.TITLE in output("xwininfo", "-display", name, "-root", "-tree"), "a strip there", 20)
        children += output("pgrep", "-P", str(alone.pid)).split()
    wait_for(lambda: alone.poll() is not None, "the program ends with its display")
    wait_for(lambda: all(is_gone(child) for child in children), f"the markets end too: {children}")
    expect(session.settings().items() >= SIMULATED.items(), f"settings are now {session.settings()}")
