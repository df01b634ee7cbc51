# SPDX-License-Identifier: MIT
"""How the item shows in the bars and trays that there are, and without any."""
import os
import signal
import time

import desktop
from desktop import (SIMULATED, click, drag, expect, items, keys, panel, picture, strip, tray_item, wait_for,
                     wait_until_it_stays, windows)
from gate import Gate

def configure_panel(key, kind, value):
    desktop.output("xfconf-query", "-c", "xfce4-panel", "-p", key, "-n", "-t", kind, "-s", str(value))


def tray(session):
    """In the tray at full width, redrawn with the price; back and forth when the tray ends and returns."""
    session.start_window_manager()
    bar_host = session.start_tray()
    session.preset(demo=False, **SIMULATED)
    bar = session.start_bar("--market-server", session.start_market("--speed", "600"))
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


def stop_tray(bar_host, number):
    """Halts the process that takes items into the tray, or lets it go on."""
    for process in (bar_host.pid, *(int(text) for text in desktop.output("pgrep", "-P", str(bar_host.pid)).split())):
        os.kill(process, number)


def squeezed(session):
    """A tray too busy to answer is waited for beside a strip; one that makes everything square is left for it."""
    session.start_window_manager()
    bar_host = session.start_tray()
    session.wait_for_name("org.kde.StatusNotifierWatcher")  # the tray for windows is there by then
    session.preset(**SIMULATED)
    stop_tray(bar_host, signal.SIGSTOP)
    try:
        bar = session.start_bar("--demo")
        wait_until_it_stays(strip, "beside a tray that does not answer the strip shows", 20)
    finally:
        stop_tray(bar_host, signal.SIGCONT)
    wait_until_it_stays(tray_item, "it answers in the end", 20)
    expect(len(items()) == 1, f"the strip is gone then: {items()}")
    configure_panel("/plugins/plugin-2/square-icons", "bool", "true")
    window = wait_until_it_stays(strip, "squeezed, the item becomes a strip", 20)
    expect(window.width > 80, f"the strip shows the text: {window}")
    session.quit_bar(bar)


def strip_alone(session):
    """The strip stands at the top right, can be moved, remembers its place and opens the panel."""
    session.start_window_manager()
    session.preset(**SIMULATED)
    bar = session.start_bar("--demo", "--strip")
    first = wait_until_it_stays(strip, "the strip shows", 12)
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


def waits_for_host(session):
    """At log-in the strip gives hosts five seconds."""
    session.preset(**SIMULATED)
    started = time.monotonic()
    bar = session.start_bar("--demo")
    wait_for(strip, "the strip shows in the end", 12)
    waited = time.monotonic() - started
    expect(waited >= 5, f"the strip shows after {waited:.1f} s already")
    session.quit_bar(bar)


def shows_in(bar_host, gate):
    """The item in a bar that keeps wide pictures: its texts, and a signal for what has changed only."""
    wait_for(lambda: len(bar_host.ask("items")) == 1, "the item registers", 15)
    wait_for(lambda: bar_host.ask("property", "IconPixmap")[0][0] > 160, "the wide picture holds the text", 15)
    pictures = bar_host.ask("property", "IconPixmap")
    expect(len(pictures) == 1 and pictures[0][1] == 44 and len(pictures[0][2]) == pictures[0][0] * 176,
           "one wide picture is offered")
    _, _, argb = pictures[0]
    brightest = max(max(argb[i + 1:i + 4]) for i in range(0, len(argb), 4) if argb[i] == 255)
    expect(brightest > 204, "the text is made for a dark bar, as no portal asks for a light one")
    title, tip = bar_host.ask("property", "Title"), bar_host.ask("property", "ToolTip")
    expect(title.startswith("DOGE  ") and " · " in title, f"the title tells name, price and verdict: {title}")
    expect(tip[2] and tip[3] and title == f"{tip[2]} · {tip[3]}", f"so does the tool tip: {tip}")

    gate.still = True
    time.sleep(1)  # what was under way arrives
    bar_host.ask("news")
    before = len(gate.paths)
    wait_for(lambda: len(gate.paths) > before, "a tick", 12)
    time.sleep(0.5)
    news = bar_host.ask("news")
    expect(news == [], f"a tick that changes nothing tells the bar {news}")
    gate.still = False
    told = set()
    wait_for(lambda: told.update(name for name, *_ in bar_host.ask("news")) or
             told >= {"NewIcon", "NewTitle", "NewToolTip"}, "a new price is told", 12)


def opens_from(bar_host, entries):
    """The panel opens by a click that the bar passes on, and from the menu that the bar draws."""
    desktop.move_pointer(1100, 4)
    bar_host.ask("click", 1100, 2)
    opened = wait_until_it_stays(panel, "a click of the bar opens the panel")
    expect(opened.x < 1100 < opened.right and opened.y < 40, f"panel {opened} does not hang under the click")
    keys("Escape")
    wait_for(lambda: not panel(), "Escape closes the panel")
    bar_host.ask("choose", entries["显示面板"])
    wait_for(panel, "the menu opens the panel")
    keys("Escape")
    wait_for(lambda: not panel(), "Escape closes the panel")


def notifier(session):
    """As a status notifier item: known to every bar that comes, wide or a dot, with menu and texts."""
    session.start_window_manager()
    session.preset(demo=False, **SIMULATED)
    wide = session.start_bar_of("waybar")
    with Gate(session.start_market("--speed", "600")) as gate:
        bar = session.start_bar("--market-server", gate.address)
        shows_in(wide, gate)
        entries = {properties.get("label"): number for number, properties in wide.ask("menu")}
        opens_from(wide, entries)
        expect(not items(), f"beside the wide picture nothing else shows: {items()}")

        session.end(wide.process)
        wait_for(strip, "without a bar the strip shows", 8)
        dot = session.start_bar_of("some-other-bar")
        wait_for(lambda: len(dot.ask("items")) == 1, "the item registers with the new bar")
        sizes = [pixmap[:2] for pixmap in dot.ask("property", "IconPixmap")]
        expect(sizes == [[22, 22], [44, 44]], f"it is a dot in two sizes, not {sizes}")
        wait_until_it_stays(strip, "the strip stays beside a dot")
        session.end(dot.process)
        wide = session.start_bar_of("waybar")
        wait_for(lambda: len(wide.ask("items")) == 1, "the item registers with the third bar")
        wait_for(lambda: not items(), "the strip is gone again")
        session.quit_bar(bar, by=lambda: wide.ask("choose", entries["退出 Kestrune Bar"]))
