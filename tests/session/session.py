#!/usr/bin/env python3
"""Runs the program in a real X session and looks at it from outside.

Usage: session.py SCENARIO BIN_DIR. Ends with 77 when something that the scenario needs is not installed.
"""
import pathlib
import shutil
import subprocess
import sys
import time

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent))
import desktop  # noqa: E402  pylint: disable=wrong-import-position
from desktop import (  # noqa: E402
    Failure, Session, click, drag, expect, item, items, keys, panel, picture, pixels, wait_for, wait_until_it_stays,
    windows)

SIMULATED = {"ks_coin": "DOGE"}  # four decimals: every tick changes the text


def has_accessibility():
    return desktop.python_with("Atspi", "2.0")


def has_bus_bindings():
    return desktop.python_with("Gio", "2.0")


def is_tray_item(window):
    return window.depth >= 2 and window.y < 60  # a window manager's frame is one level


def tray_item():
    window = item()
    return window if window and is_tray_item(window) else None


def strip():
    window = item()
    return window if window and not is_tray_item(window) else None


def open_by_strip():
    """Clicks the strip once it stands still: it is as wide as its text."""
    window = wait_until_it_stays(strip, "the strip shows", 12)
    click(window.x + 10, window.y + 10)


def configure_panel(key, kind, value):
    desktop.output("xfconf-query", "-c", "xfce4-panel", "-p", key, "-n", "-t", kind, "-s", str(value))


def tray(session):
    """In the tray at full width, redrawn with the price; back and forth when the tray ends and returns."""
    session.start_window_manager()
    bar_host = session.start_tray()
    session.preset(demo=False, **SIMULATED)
    bar = session.start_bar("--market-server", session.start_market(600))
    window = wait_until_it_stays(tray_item, "the item docks", 20)
    expect(window.width > 80, f"the item shows its text at full width, not {window}")

    def shown():
        return (window := tray_item()) and picture(window)

    before = shown()
    wait_for(lambda: shown() not in (before, None, b""), "a tick redraws the item", 20)

    window = wait_until_it_stays(tray_item, "the item is there")
    click(window.x + window.width // 2, window.y + window.height // 2)
    opened = wait_for(panel, "a click opens the panel")
    expect(window.bottom - 4 <= opened.y <= window.bottom + 8, f"panel {opened} does not hang under item {window}")
    expect(opened.right <= 1280 and opened.bottom <= 1000, f"panel {opened} leaves the screen")
    click(window.x + window.width // 2, window.y + window.height // 2)
    wait_for(lambda: not panel(), "a second click closes the panel")
    time.sleep(1)
    expect(not panel(), "the closing click opened the panel again")
    click(window.x + window.width // 2, window.y + window.height // 2)
    wait_for(panel, "a third click opens it")
    click(100, 700)
    wait_for(lambda: not panel(), "a click on the bare desktop closes the panel")

    session.end(bar_host)
    wait_for(strip, "without a tray the strip shows", 8)
    session.start_tray()
    wait_until_it_stays(tray_item, "with the tray back the item is in it again", 20)
    expect(len(items()) == 1, f"the strip is gone: {items()}")
    session.quit_bar(bar)


def strip_alone(session):
    """The strip stands at the top right, can be moved, remembers its place and opens the panel."""
    session.start_window_manager()
    session.preset(**SIMULATED)
    bar = session.start_bar("--demo", "--strip")
    first = wait_until_it_stays(strip, "the strip shows at once, without waiting for hosts", 4.5)
    expect(first.right == 1272 and first.y == 0, f"the strip is at {first}")
    drag(first.x + 20, first.y + 10, 700, 400)
    moved = wait_for(lambda: strip() if strip().y > 300 else None, "the strip follows the pointer")
    expect(not panel(), "dragging opened the panel")
    wait_for(lambda: session.settings().get("ks_strip_pos"), "the place is stored")
    session.quit_bar(bar)
    bar = session.start_bar("--demo", "--strip")
    again = wait_until_it_stays(strip, "the strip shows again", 12)
    expect(abs(again.right - moved.right) <= 1 and again.y == moved.y, f"left at {moved}, found at {again}")
    click(again.x + 20, again.y + 10)
    opened = wait_for(panel, "a click opens the panel")
    expect(opened.y == again.bottom or opened.bottom == again.y, f"panel {opened} is not at strip {again}")
    keys("Escape")
    wait_for(lambda: not panel(), "Escape closes the panel")
    session.quit_bar(bar)


def scaled(session):
    """At other scale factors item and panel stay together and on the screen, in bars low and high."""
    session.start_window_manager()
    session.start_tray()
    session.preset(**SIMULATED)
    widths = {}
    for scale, bar_height in (("1", 26), ("1.25", 26), ("1.5", 40), ("2", 52)):
        factor = float(scale)
        configure_panel("/panels/panel-1/size", "int", bar_height)
        if factor >= 2:  # as a panel does that follows the scale itself
            configure_panel("/plugins/plugin-2/icon-size", "int", 44)
        bar = session.start_bar("--demo", QT_SCALE_FACTOR=scale)
        wait_for(tray_item, f"the item docks at scale {scale}", 15)
        time.sleep(3)  # as long as item and tray may take to agree
        window = tray_item()
        expect(window, f"the tray lost the item at scale {scale}")
        widths[factor] = window.width
        expect(abs(window.width - widths[1] * factor) <= 0.1 * window.width, f"widths by scale: {widths}")
        click(window.x + window.width // 2, window.y + window.height // 2)
        opened = wait_for(lambda wanted=round(320 * factor): next((w for w in windows() if w.width == wanted), None),
                          f"the panel opens at scale {scale}")
        expect(abs(opened.y - window.bottom) <= 16, f"panel {opened} does not hang under item {window}")
        # Scaled, places and sizes are rounded apart.
        expect(opened.right <= 1280 + factor and opened.bottom <= 1000 + factor, f"panel {opened} leaves the screen")
        keys("Escape")
        wait_for(lambda: len(windows()) == 1, "Escape closes the panel")
        session.quit_bar(bar)


def squeezed(session):
    """A tray that makes everything square is left again for the strip."""
    session.start_window_manager()
    session.start_tray()
    configure_panel("/plugins/plugin-2/square-icons", "bool", "true")
    session.preset(**SIMULATED)
    bar = session.start_bar("--demo")
    # It may come and go before: while the tray is still on its way.
    window = wait_until_it_stays(strip, "the strip shows in the end and stays", 25, still=2)
    expect(window.width > 80, f"the strip shows the text: {window}")
    session.quit_bar(bar)


def waits_for_host(session):
    """At log-in the strip gives hosts five seconds."""
    session.preset(**SIMULATED)
    started = time.monotonic()
    bar = session.start_bar("--demo")
    wait_for(strip, "the strip shows in the end", 12)
    waited = time.monotonic() - started
    expect(waited >= 4.9, f"the strip shows after {waited:.1f} s already")
    session.quit_bar(bar)


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
    portal = session.start(has_bus_bindings(), str(pathlib.Path(__file__).parent / "portal.py"), "2")
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


def typing(session):
    """Text fields of the panel take typed and pasted text; shortcuts work; Ctrl+Q quits."""
    session.start_window_manager()
    session.preset(**SIMULATED)
    bar = session.start_bar("--demo", "--strip")
    open_by_strip()
    wait_for(panel, "the panel opens")
    interpreter = has_accessibility()
    reader = pathlib.Path(__file__).parent / "field.py"

    def field(action):
        return desktop.output(interpreter, str(reader), "kestrune-bar", "目标价", action).strip()

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
    keys("Return")
    wait_for(lambda: "0.4321" in str(session.settings().get("ks_alerts", "")), "Return adds the alert")
    maps = pathlib.Path("/proc", str(bar.pid), "maps").read_text(encoding="utf-8")
    expect("Multimedia" not in maps and "libpulse" not in maps, "an audio library is loaded before the first alert")
    keys("ctrl+q")
    session.running.remove(bar)
    expect(bar.wait(10) == 0, "Ctrl+Q does not end the program with 0")


SCENARIOS = {
    "tray": (tray, ["openbox"], lambda: shutil.which("xfce4-panel") or shutil.which("trayer")),
    "scaled": (scaled, ["openbox", "xfce4-panel", "xfconf-query"], None),
    "squeezed": (squeezed, ["openbox", "xfce4-panel", "xfconf-query"], None),
    "strip": (strip_alone, ["openbox"], None),
    "wait": (waits_for_host, [], None),
    "instance": (one_instance, ["openbox"], None),
    "theme": (theme, ["openbox"], has_bus_bindings),
    "typing": (typing, ["openbox", "xclip"], has_accessibility),
}


def main():
    inside = sys.argv[1] == "--inside"
    name, bin_dir = sys.argv[-2:]
    scenario, tools, more = SCENARIOS[name]
    if not inside:
        lacking = desktop.missing(["Xvfb", "dbus-run-session", "xdotool", "xwininfo", "xprop", "import",
                                   "pgrep", *tools])
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
