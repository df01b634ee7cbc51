# SPDX-License-Identifier: MIT
"""What a user does with item, menu and panel."""
import json
import pathlib
import subprocess
import time

import desktop
from desktop import (FOLDER, SIMULATED, accessible, chord, click, expect, has_accessibility, has_bus_bindings, item,
                     keys, menu, open_by_strip, panel, picture, pixels, strip, tray_item, wait_for,
                     wait_until_it_stays, windows)
from gate import Gate

def one_instance(session):
    """A second start opens the first one's panel; runs on another market stand alone."""
    session.start_window_manager()
    session.preset(demo=False)
    first = session.start_bar("--strip")
    wait_for(strip, "the first instance shows", 6)
    second = session.start_bar(log="second.err")
    expect(second.wait(10) == 0, "the second start did not end with 0")
    wait_for(panel, "the second start opens the first one's panel")
    expect(first.poll() is None, "the first instance ended")
    keys("Escape")
    wait_for(lambda: not panel(), "Escape closes the panel")
    demo = session.start_bar("--demo", "--strip", log="demo.err")
    wait_for(lambda: len(windows()) == 2, "a demo run is an instance of its own")
    expect(session.end(demo) == 0, "the demo run ends with 0")
    session.quit_bar(first)
    alone = session.start_bar("--strip", DBUS_SESSION_BUS_ADDRESS="unix:path=/nowhere")
    wait_for(strip, "without a session bus it starts too", 6)
    expect(session.end(alone) == 0, "it ends with 0 there too")


def theme(session):
    """The portal's colour scheme is followed, also by an open panel."""
    portal = session.start(has_bus_bindings(), str(FOLDER / "portal.py"), "2")
    # Signalled before it is ready, the portal would end.
    session.wait_for_name("org.freedesktop.portal.Desktop")
    session.start_window_manager()
    session.preset(**SIMULATED)
    bar = session.start_bar("--demo", "--strip")
    open_by_strip()
    opened = wait_until_it_stays(panel, "the panel opens")

    def ground_is(dark):
        window = strip()  # as wide as its text, which changes
        strip_corner = pixels(window.x + 2, window.y + 2, 1, 1)
        panel_corner = pixels(opened.x + 3, opened.y + 3, 1, 1)
        return all((max(corner) < 90) == dark and (min(corner) > 165) != dark for corner in (strip_corner, panel_corner))

    wait_for(lambda: ground_is(False), "both are light")
    for dark in (True, False):
        portal.send_signal(desktop.signal.SIGUSR1)
        wait_for(lambda wanted=dark: ground_is(wanted), "both follow the switch", 5)
    keys("Escape")
    session.quit_bar(bar)


def with_another_layout(field):
    """The editing keys lie where they always lay when the layout has no Latin letters at all."""
    key_a, key_x, key_c, key_v = 38, 53, 54, 55
    subprocess.run(["setxkbmap", "ru"], check=True, timeout=10)
    try:
        chord(key_a)
        chord(key_x)
        wait_for(lambda: field("text") == "", "text cut with Cyrillic letters on the keys is gone")
        chord(key_v)
        wait_for(lambda: field("text") == "0.4321", "and comes back by pasting")
        subprocess.run(["xclip", "-selection", "clipboard"], input=b"other", check=True, timeout=10)
        chord(key_a)
        chord(key_c)
        wait_for(lambda: desktop.output("xclip", "-selection", "clipboard", "-o") == "0.4321", "copied text is outside")
    finally:
        subprocess.run(["setxkbmap", "us"], check=True, timeout=10)


def typing(session):
    """Text fields of the panel take typed and pasted text; shortcuts work; Ctrl+Q quits."""
    session.start_window_manager()
    session.preset(**SIMULATED)
    bar = session.start_bar("--demo", "--strip")
    open_by_strip()
    wait_for(panel, "the panel opens")
    interpreter = has_accessibility()

    def field(action):
        return accessible(interpreter, "目标价", action)

    wait_for(lambda: field("focus") == "focused", "the field takes the focus")
    keys("1", "2", "period", "5")
    wait_for(lambda: field("text") == "12.5", "typed text is in the field")
    subprocess.run(["xclip", "-selection", "clipboard"], input=b"0.4321", check=True, timeout=10)
    keys("ctrl+a", "ctrl+v")
    wait_for(lambda: field("text") == "0.4321", "pasted text replaces it")
    keys("ctrl+a", "ctrl+x")
    wait_for(lambda: field("text") == "", "cut text is gone")
    keys("ctrl+z")
    wait_for(lambda: field("text") == "0.4321", "and comes back by undo")
    with_another_layout(field)
    keys("Return")
    wait_for(lambda: "0.4321" in str(session.settings().get("ks_alerts", "")), "Return adds the alert")
    maps = pathlib.Path("/proc", str(bar.pid), "maps").read_text(encoding="utf-8")
    expect("Multimedia" not in maps and "libpulse" not in maps, "an audio library is loaded before the first alert")
    session.quit_bar(bar, by=lambda: keys("ctrl+q"))


def context_menu(session):
    """A right click on the item in the tray opens the menu, and each of its entries works."""
    session.start_window_manager()
    session.start_tray()
    session.preset(demo=False, **SIMULATED)
    with Gate(session.start_market()) as gate:
        bar = session.start_bar("--market-server", gate.address)
        wait_until_it_stays(tray_item, "the item docks", 20)
        entry_of_autostart = session.config / "autostart" / "org.kestrune.bar.desktop"

        def choose(*names):
            window = wait_until_it_stays(tray_item, "the item is there")
            click(window.x + 20, window.y + window.height // 2, 3)
            shown = wait_until_it_stays(menu, "a right click opens the menu", still=0.2)
            expect(shown.x <= window.x + 21 <= shown.right and abs(shown.y - window.bottom) < 30,
                   f"menu {shown} is not at item {window}")
            keys(*names)
            wait_for(lambda: not menu(), f"the menu closes after {names}")

        choose("Escape")
        expect(not panel() and bar.poll() is None, "closing the menu does nothing else")
        before = wait_until_it_stays(gate.candle_requests, "the first data are there")
        choose("Down", "Down", "Return")
        wait_for(lambda: gate.candle_requests() > before, "refreshing asks for all data", 5)
        choose("Down", "Down", "Down", "Return")
        wait_for(entry_of_autostart.exists, "the start at log-in is on")
        expect("kestrune-bar" in entry_of_autostart.read_text(encoding="utf-8"), "its entry names the program")
        choose("Down", "Down", "Down", "Return")
        wait_for(lambda: not entry_of_autostart.exists(), "and off again")
        choose("Down", "Return")
        wait_for(panel, "the first entry opens the panel")
        keys("Escape")
        wait_for(lambda: not panel(), "Escape closes the panel")
        session.quit_bar(bar, by=lambda: choose("Up", "Return"))


def is_orange(shot):
    """Whether a picture holds pixels of the alert's orange, on a dark ground or a light one."""
    return any(red > 140 and 0.3 * red < green < 0.75 * red and blue < 0.3 * red
               for red, green, blue in zip(shot[0::3], shot[1::3], shot[2::3]))


def alert(session):
    """An alert that fires blinks until it is acknowledged, and needs no sound server."""
    session.start_window_manager()
    reached = {"id": "1", "targetPrice": 0.0001, "above": True, "symbol": "DOGE", "label": "DOGE", "triggered": False}
    session.preset(demo=False, **SIMULATED, ks_alerts={"utf8": json.dumps([reached])})
    standing = session.start_market("--clock", "2026-03-03T10:20:30Z")  # nothing but the alert changes the picture
    bar = session.start_bar("--strip", "--market-server", standing, PULSE_SERVER="unix:/nowhere")
    wait_until_it_stays(strip, "the strip shows", 12)

    def blinks():
        """Whether the picture turns orange, back, and orange again within three seconds."""
        end, turns, last = time.monotonic() + 3, 0, False
        while time.monotonic() < end and turns < 3:
            orange = is_orange(picture(item()))
            turns += orange != last
            last = orange
        return turns == 3

    wait_for(blinks, "the item blinks", 10)
    maps = pathlib.Path("/proc", str(bar.pid), "maps").read_text(encoding="utf-8")
    expect("kestrune-sound" in maps, "the sound module is loaded now")
    open_by_strip()
    wait_for(panel, "the panel opens")
    interpreter = has_accessibility()
    wait_for(lambda: accessible(interpreter, "收到", "press") == "pressed", "the alert can be acknowledged")
    keys("Escape")
    wait_for(lambda: not panel(), "Escape closes the panel")
    expect(not blinks(), "the item still blinks")
    session.quit_bar(bar, allowed=r"\[Kestrune\] playAlertSound: .*\n")
