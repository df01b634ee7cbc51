#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Runs the program in a real X session and looks at it from outside: session.py SCENARIO BIN_DIR

Ends with 77 when something that the scenario needs is not installed.
"""
import json
import os
import pathlib
import signal
import sys
import time

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent))
import desktop  # noqa: E402  pylint: disable=wrong-import-position
from desktop import (  # noqa: E402  pylint: disable=wrong-import-position
    FOLDER, Gate, act, click, close_panel, expect, items, keys, menu, move_pointer, output, panel, picture, strip,
    tray_item, wait_for, wait_until_it_stays, windows)

ALERT_LINE = r"\[Kestrune\] playAlertSound: .*\n"


def configure_panel(key, kind, value):
    output("xfconf-query", "-c", "xfce4-panel", "-p", key, "-n", "-t", kind, "-s", str(value))


def accessible(name, action):
    """Asks something of a named control of the program over the accessibility bus."""
    return output(desktop.python_with("Atspi", "2.0"), str(FOLDER / "field.py"), name, action).strip()


def libraries(bar):
    return pathlib.Path("/proc", str(bar.pid), "maps").read_text(encoding="utf-8")


def tray(session):
    """In the tray at full width with panel and menu; back and forth when the tray ends and returns."""
    session.start_window_manager()
    host = session.start_tray()
    session.preset()
    gate = Gate(session.start_market("--speed", "600"))
    bar = session.start_bar("--market-server", gate.address)
    window = wait_until_it_stays(tray_item, "the item docks", 20)
    expect(window.width > 80, f"the item shows its text at full width, not {window}")
    before = picture(window)
    wait_for(lambda: (now := tray_item()) and picture(now) not in (before, b""), "a tick redraws the item", 20)

    def toggle():
        click(wait_for(tray_item, "the item is there"))

    toggle()
    opened = wait_for(panel, "a click opens the panel")
    expect(window.bottom - 4 <= opened.y <= window.bottom + 8, f"panel {opened} does not hang under item {window}")
    expect(opened.right <= 1280 and opened.bottom <= 1000, f"panel {opened} leaves the screen")
    toggle()
    wait_until_it_stays(lambda: not panel(), "a second click closes the panel and does not open it again")
    def choose(*names):
        place = wait_for(tray_item, "the item is there")
        click(place, 3)
        shown = wait_until_it_stays(menu, "a right click opens the menu", still=0.1)
        expect(shown.x <= place.x + 21 <= shown.right and abs(shown.y - place.bottom) < 30,
               f"menu {shown} is not at item {place}")
        keys(*names)
        wait_for(lambda: not menu(), f"the menu closes after {names}")

    entry_of_autostart = session.config / "autostart" / "org.kestrune.bar.desktop"
    requests = gate.candle_requests
    choose("Down", "Down", "Return")
    wait_for(lambda: gate.candle_requests > requests, "refreshing asks for all data", 5)
    choose("Down", "Down", "Down", "Return")
    wait_for(entry_of_autostart.exists, "the start at log-in is on")
    choose("Down", "Down", "Down", "Return")
    wait_for(lambda: not entry_of_autostart.exists(), "and off again")
    choose("Down", "Return")
    wait_for(panel, "the first entry opens the panel")
    move_pointer(100, 700)
    act("xdotool", "click", 1)
    wait_for(lambda: not panel(), "a click on the bare desktop closes the panel")

    session.end(host)
    wait_for(strip, "without a tray the strip shows", 8)
    session.start_tray()
    wait_until_it_stays(tray_item, "with the tray back the item is in it again", 20)
    wait_for(lambda: len(items()) == 1, "the strip is gone")
    session.quit_bar(bar, by=lambda: choose("Up", "Return"))


def scaled(session):
    """At other scale factors item and panel stay together and on the screen, in bars low and high."""
    session.start_window_manager()
    session.start_tray()
    session.preset()
    market = session.start_market("--clock", "2026-03-03T10:20:30Z")
    widths = {}
    for factor, height in ((1.25, 26), (2.0, 52)):
        configure_panel("/panels/panel-1/size", "int", height)
        if factor == 2:  # as a panel does that follows the scale itself
            configure_panel("/plugins/plugin-2/icon-size", "int", 44)
        bar = session.start_bar("--market-server", market, QT_SCALE_FACTOR=str(factor))
        window = wait_until_it_stays(tray_item, f"the item docks at scale {factor}", 15, still=1.5)
        widths[factor] = window.width / factor
        click(window)
        opened = wait_for(lambda wanted=factor: panel(wanted), f"the panel opens at scale {factor}")
        expect(abs(opened.y - window.bottom) <= 16, f"panel {opened} does not hang under item {window}")
        # Scaled, places and sizes are rounded apart.
        expect(opened.right <= 1280 + factor and opened.bottom <= 1000 + factor, f"panel {opened} leaves the screen")
        keys("Escape")
        wait_for(lambda: len(windows()) == 1, "Escape closes the panel")
        session.quit_bar(bar)
    expect(80 < min(widths.values()) > 0.9 * max(widths.values()), f"widths by scale: {widths}")


def squeezed(session):
    """A tray too busy to answer is waited for beside a strip; one that makes everything square is left for it."""
    session.start_window_manager()
    host = session.start_tray()
    session.wait_for_name("org.kde.StatusNotifierWatcher")  # the tray for windows is there by then
    session.preset()
    tray_processes = [host.pid, *(int(text) for text in output("pgrep", "-P", str(host.pid)).split())]
    for process in tray_processes:
        os.kill(process, signal.SIGSTOP)
    try:
        bar = session.start_bar("--demo")
        wait_for(strip, "beside a tray that does not answer the strip shows", 20)
    finally:
        for process in tray_processes:
            os.kill(process, signal.SIGCONT)
    wait_until_it_stays(tray_item, "it answers in the end", 20)
    wait_for(lambda: len(items()) == 1, "the strip is gone then")
    configure_panel("/plugins/plugin-2/square-icons", "bool", "true")
    window = wait_until_it_stays(strip, "squeezed, the item becomes a strip", 20)
    expect(window.width > 80, f"the strip shows the text: {window}")
    session.quit_bar(bar)


def strip_alone(session):
    """The strip at the top right opens the panel; colours follow the portal; text fields take what is typed."""
    portal = session.start_services("org.freedesktop.portal.Desktop")
    session.start_window_manager()
    session.preset()
    bar = session.start_bar("--strip", "--market-server", session.start_market())
    window = wait_until_it_stays(strip, "the strip shows", 12)
    expect(window.right == 1272 and window.y == 0, f"the strip is at {window}")
    desktop.misplace(window)
    click(window)
    opened = wait_for(panel, "a click opens the panel")
    expect(opened.y == window.bottom and opened.right > window.x, f"panel {opened} is not at strip {window}")
    expect("SKIP_TASKBAR" in output("xprop", "-id", window.id, "_NET_WM_STATE"), "the strip is listed as a task")
    click(window, 3)
    wait_for(menu, "a right click on the strip opens the menu beside the open panel")
    wait_for(lambda: not panel(), "the panel closes for it")
    keys("Escape")
    wait_for(lambda: not menu(), "Escape closes the menu")
    time.sleep(0.4)  # a click right after the panel has closed is the one that closed it
    click(window)
    wait_for(panel, "and the strip opens the panel again")

    def ground_is(dark):
        shown = strip(), panel()
        corners = [picture(one)[3 * (2 * one.width + 2):][:3] for one in shown if one]
        return len(corners) == 2 and all(max(corner) < 90 if dark else min(corner) > 165 for corner in corners)

    wait_for(lambda: ground_is(False), "both are light")
    for scheme in (1, 2):
        portal.ask("scheme", scheme)
        wait_for(lambda wanted=scheme == 1: ground_is(wanted), "both follow the switch", 5)

    wait_for(lambda: accessible("目标价", "focus") == "True", "the field takes the focus")
    keys("1", "2")
    act("setxkbmap", "ru")  # no Latin letters at all: the editing keys lie where they always lay
    for code in (38, 53):  # A, X
        act("xdotool", "keydown", "Control_L", "key", code, "keyup", "Control_L")
    wait_for(lambda: accessible("目标价", "text") == "", "typed text is cut with Cyrillic letters on the keys")
    act("setxkbmap", "us")
    keys("0", "period", "4", "3", "2", "1", "Return", "Return")  # far from the price: it asks
    wait_for(lambda: "0.4321" in str(session.settings().get("ks_alerts", "")), "Return adds the alert")
    expect("Multimedia" not in libraries(bar), "an audio library is loaded before the first alert")
    session.quit_bar(bar, by=lambda: keys("ctrl+q"))


def alert(session):
    """An alert that fires blinks until it is acknowledged, and needs no sound server."""
    session.start_window_manager()
    reached = {"id": "1", "targetPrice": 0.0001, "above": True, "symbol": "DOGE", "label": "DOGE", "triggered": False}
    session.preset(ks_alerts={"utf8": json.dumps([reached])})
    standing = session.start_market("--clock", "2026-03-03T10:20:30Z")  # nothing but the alert changes the picture
    bar = session.start_bar("--strip", "--market-server", standing, PULSE_SERVER="unix:/nowhere")

    def is_orange():
        shot = picture(window) if (window := strip()) else b""
        return any(red > 140 and 0.3 * red < green < 0.75 * red and blue < 0.3 * red
                   for red, green, blue in zip(shot[0::3], shot[1::3], shot[2::3]))

    for wanted in (True, False, True):
        wait_for(lambda orange=wanted: strip() and is_orange() == orange, "the item blinks", 12)
    wait_for(lambda: "kestrune-sound" in libraries(bar), "the sound module is loaded now")
    click(wait_until_it_stays(strip, "the strip is there"))
    wait_for(panel, "the panel opens")
    wait_for(lambda: accessible("收到", "press") == "True", "the alert can be acknowledged")
    close_panel()
    wait_until_it_stays(lambda: not is_orange(), "the item blinks no more", still=1.2)
    session.quit_bar(bar, allowed=ALERT_LINE)


def copying(session):
    """A tray that copies from an unseen square container counts as none."""
    session.start_window_manager()
    session.preset()
    session.start("lxqt-panel", XDG_CONFIG_DIRS="/etc/xdg:/usr/share")
    session.wait_for_name("org.kde.StatusNotifierWatcher")
    bar = session.start_bar("--demo")
    wait_until_it_stays(lambda: (shown := strip()) and shown.x > 640 and shown,  # the container is at the left
                        "the strip shows", 20, still=3)
    session.quit_bar(bar)


def notifier(session):
    """As a notifier item with a wide picture, for a bar that is known by its process; and with the bar's menu."""
    session.start_window_manager()
    session.preset()
    host = session.start_services("org.kde.StatusNotifierWatcher", known_as="waybar")
    os.kill(host.process.pid, signal.SIGSTOP)
    bar = session.start_bar("--market-server", session.start_market())
    wait_for(strip, "beside a bar that hangs the strip shows", 20)
    os.kill(host.process.pid, signal.SIGCONT)
    wait_for(lambda: not items(), "it is gone when the bar has taken the item", 15)
    wait_for(lambda: len(host.ask("items")) == 1, "the item registers", 15)
    wait_for(lambda: host.ask("property", "IconPixmap")[0][0] > 160, "the wide picture holds the text", 15)
    argb = host.ask("property", "IconPixmap")[0][2]
    brightest = max(max(argb[i + 1:i + 4]) for i in range(0, len(argb), 4) if argb[i] == 255)
    expect(brightest > 204, "the text is made for a dark bar, as no portal asks for a light one")
    move_pointer(1100, 4)
    host.ask("click", 1100, 2)
    opened = wait_until_it_stays(panel, "a click of the bar opens the panel")
    expect(opened.x < 1100 < opened.right and opened.y < 40, f"panel {opened} does not hang under the click")
    close_panel()
    expect(not items(), f"beside the wide picture nothing else shows: {items()}")
    ended = time.monotonic()
    session.end(host.process)
    wait_for(strip, "without a bar the strip shows", 8)
    expect(time.monotonic() - ended >= 1, "a bar that is restarted has no time to come back")
    host = session.start_services("org.kde.StatusNotifierWatcher", known_as="some-other-bar")
    wait_for(lambda: len(host.ask("items")) == 1, "the item registers with the new bar")
    wait_until_it_stays(strip, "the strip stays beside a dot")
    entries = {properties.get("label"): number for number, properties in host.ask("menu")}
    session.quit_bar(bar, by=lambda: host.ask("choose", entries["退出 Kestrune Bar"]))


def one_instance(session):
    """A second start opens the first one's panel; runs on another market stand alone."""
    session.start_window_manager()
    session.preset()
    first = session.start_bar("--strip")
    wait_for(strip, "the first instance shows", 6)
    second = session.start_bar(log="second.err")
    expect(second.wait(10) == 0, "the second start did not end with 0")
    wait_for(panel, "the second start opens the first one's panel")
    expect(first.poll() is None, "the first instance ended")
    close_panel()
    demo = session.start_bar("--demo", "--strip", log="demo.err")
    wait_for(lambda: len(windows()) == 2, "a demo run is an instance of its own")
    expect(session.end(demo) == 0, "the demo run ends with 0")
    session.quit_bar(first)
    alone = session.start_bar("--strip", DBUS_SESSION_BUS_ADDRESS="unix:path=/nowhere")
    wait_for(strip, "without a session bus it starts too", 6)
    expect(session.end(alone) == 0, "it ends with 0 there too")


def wakes(session):
    """After a sleep, and when the network is back, all data are fetched at once. Hosts have five seconds to come."""
    session.start_window_manager()
    session.environment["DBUS_SYSTEM_BUS_ADDRESS"] = session.environment["DBUS_SESSION_BUS_ADDRESS"]
    services = session.start_services("org.freedesktop.login1", "org.freedesktop.NetworkManager")
    session.preset()
    gate = Gate(session.start_market())
    started = time.monotonic()
    bar = session.start_bar("--market-server", gate.address)
    wait_until_it_stays(lambda: gate.candle_requests, "the first data are there", still=1.5)
    for acts, what in (([("sleep",)], "after a sleep all data are fetched"),
                       ([("network", False), ("network", True)], "with the network back all data are fetched")):
        before = wait_until_it_stays(lambda: gate.candle_requests, "it is quiet", still=2.5)
        for request in acts:
            expect(gate.candle_requests == before, f"{what}: too early")
            services.ask(*request)
            time.sleep(0.2)
        wait_for(lambda seen=before: gate.candle_requests > seen, what, 5)
    wait_for(strip, "the strip shows in the end", 12)
    expect(time.monotonic() - started >= 5, "the strip does not give hosts their time")
    session.quit_bar(bar)


def endings(session):
    """Each way in which a session ends a program: nothing hangs, nothing is left, settings stay."""
    session.start_window_manager()
    session.preset()
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
    wait_for(lambda: not any(pathlib.Path("/proc", child).exists() for child in children),
             f"the markets end too: {children}")
    expect(session.settings()["ks_coin"] == "DOGE", f"settings are now {session.settings()}")


A_TRAY = ["xfce4-panel", "xfconf-query"]
GIO, ATSPI = {"Gio": "2.0"}, {"Atspi": "2.0"}
SCENARIOS = {  # the programs and bindings beside those that each run needs
    "tray": (tray, A_TRAY, {}),
    "scaled": (scaled, A_TRAY, {}),
    "squeezed": (squeezed, A_TRAY, {}),
    "strip": (strip_alone, ["setxkbmap"], GIO | ATSPI),
    "alert": (alert, [], ATSPI),
    "copying": (copying, ["lxqt-panel"], {}),
    "notifier": (notifier, [], GIO),
    "instance": (one_instance, [], {}),
    "wake": (wakes, [], GIO),
    "ending": (endings, [], {}),
}

if __name__ == "__main__":
    sys.exit(desktop.run(*SCENARIOS[sys.argv[-2]]))
