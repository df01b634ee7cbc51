#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Makes the documentation's pictures of the panel and of the item in real bars.

Usage: pictures.py TARGET_FOLDER BIN_DIR. Says what it could not make, and why.
"""
import json
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import time
import urllib.request

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "tests" / "session"))
import desktop  # noqa: E402  pylint: disable=wrong-import-position
from desktop import (  # noqa: E402  pylint: disable=wrong-import-position
    act, click, close_panel, items, keys, menu, output, panel, strip, tray_item, wait_for, wait_until_it_stays)

WALLPAPER = "#4a6a86"
WIDTH = 480  # of the crops, from the right edge of the screen
NOBODY = 65534

SWAY = """output HEADLESS-1 resolution 1280x200 position 0 0 scale 1
output * bg {wallpaper} solid_color
default_border none
exec {script}
"""
WAYBAR = """{{ "layer": "top", "position": "top", "height": 28, "modules-right": ["tray", "clock"],
  "tray": {{ "icon-size": 22, "spacing": 6 }} }}"""
WAYBAR_STYLE = """* { font-family: "Noto Sans"; font-size: 13px; }
window#waybar { background: #303030; color: #fff; } #clock { padding: 0 10px; }"""
INSIDE_SWAY = """#!/bin/sh
waybar -c {folder}/waybar.json -s {folder}/style.css >/dev/null 2>&1 &
sleep 3
{bin_dir}/kestrune-bar --market-server {market} >/dev/null 2>&1 &
sleep 10
grim {folder}/screen.png
kill $!
swaymsg exit
"""


def shot(target, width, height):
    """The screen's right upper corner."""
    act("import", "-silent", "-window", "root", "-crop", f"{width}x{height}+{1280 - width}+0", "+repage", "-strip",
        target)


def set_dark(session, dark):
    """The panel says once, at its start, in which colour it writes."""
    output("xfconf-query", "-c", "xfce4-panel", "-p", "/panels/dark-mode", "-n", "-t", "bool", "-s",
                   str(dark).lower())
    tray = session.start_tray()
    session.wait_for_name("org.kde.StatusNotifierWatcher")
    return tray


def tray_pictures(session, folder, market):
    """The item in a dark panel and a light one, the eight neon signs, its menu, and the panel under it."""
    parts = {}
    for name, dark, neon in (("light", False, False), ("dark", True, False), ("neon", True, True)):
        tray = set_dark(session, dark)
        session.preset(ks_coin="ETH", ks_bling=neon)
        bar = session.start_bar("--market-server", market, log=f"{name}.err")
        wait_until_it_stays(tray_item, f"the item docks in the {name} panel", 20, still=2)
        time.sleep(6 if neon else 1)  # the signs' prices come one after the other
        parts[name] = session.folder / f"{name}.png"
        shot(parts[name], 720, 26)
        if name == "dark":
            opened_pictures(folder)
        session.quit_bar(bar, log=f"{name}.err")
        session.end(tray)
        wait_for(lambda: not items(), "the tray is gone")
    act("convert", parts["dark"], parts["light"], parts["neon"], "-append", "-strip", folder / "tray.png")


def opened_pictures(folder):
    window = tray_item()
    click(window, 3)
    wait_until_it_stays(menu, "the menu opens", still=0.5)
    shot(folder / "menu.png", WIDTH, 150)
    keys("Escape")
    wait_for(lambda: not menu(), "the menu closes")
    click(window)
    wait_until_it_stays(panel, "the panel opens", still=2)
    shot(folder / "opened.png", WIDTH, 400)
    close_panel()


def strip_picture(session, folder, market):
    session.preset(ks_coin="ETH")
    bar = session.start_bar("--strip", "--market-server", market, log="strip.err")
    wait_until_it_stays(strip, "the strip shows", 12, still=2)
    shot(folder / "strip.png", WIDTH, 60)
    session.quit_bar(bar, log="strip.err")


def panel_pictures(session, folder, market):
    """The panel in both looks, and the neon signs."""
    portal = session.start_services("org.freedesktop.portal.Desktop")
    session.preset(ks_coin="BTC", ks_tf="4H")
    bar = session.start_bar("--strip", "--market-server", market, log="panel.err")
    click(wait_until_it_stays(strip, "the strip shows", 12, still=2))
    wait_until_it_stays(panel, "the panel opens", still=8)
    for scheme, name in ((2, "light"), (1, "dark")):
        portal.ask("scheme", scheme)
        time.sleep(2)
        act("import", "-silent", "-window", panel().id, "-strip", folder / f"panel-{name}.png")
    close_panel()
    session.quit_bar(bar, log="panel.err")
    session.preset(ks_bling=True)
    bar = session.start_bar("--strip", "--market-server", market, log="neon.err")
    window = wait_until_it_stays(strip, "the signs show", 12, still=8)  # their prices come one after the other
    act("import", "-silent", "-window", window.id, "-strip", folder / "neon.png")
    session.quit_bar(bar, log="neon.err")


def alert_of(coin, label, price, above):
    return {"id": coin, "targetPrice": price, "above": above, "symbol": coin, "label": f"{label} {price:,g}",
            "triggered": False}


def alerts_picture(session, folder, market):
    """What rang, above the chips of the panel."""

    def near(coin, factor, digits):
        address = f"{market}/api/v4/futures/usdt/tickers?contract={coin}_USDT"
        with urllib.request.urlopen(address, timeout=10) as answer:
            return round(float(json.load(answer)[0]["last"]) * factor, digits)

    session.preset(ks_coin="ETH", ks_notify=False, ks_alerts=[
        alert_of("ETH", "阻力", near("ETH", 0.995, 1), True), alert_of("BTC", "手动", near("BTC", 0.99, 0), True),
        alert_of("SOL", "跟随 支撑1 ·", near("SOL", 1.01, 2), False)])
    bar = session.start_bar("--strip", "--market-server", market, log="alerts.err")
    click(wait_until_it_stays(strip, "the strip shows", 12, still=2))
    window = wait_until_it_stays(panel, "the panel opens", 40, still=20)  # other instruments take their turn
    act("import", "-silent", "-window", "root", "-crop", f"320x380+{window.x}+{window.y}", "+repage", "-strip",
        folder / "alerts.png")
    close_panel()
    session.end(bar)


def waybar_picture(bin_dir, folder):
    """Through sway without a screen, which does not run as root."""
    lacking = desktop.missing(["sway", "waybar", "grim", "swaymsg", "setpriv", "Xwayland"])
    if lacking:
        print(f"waybar.png is not made: {', '.join(lacking)} not installed")
        return
    home = pathlib.Path(tempfile.mkdtemp(prefix="kestrune-sway-"))
    market = subprocess.Popen([f"{bin_dir}/kestrune-replay"], stdout=subprocess.PIPE, text=True)
    try:
        values = {"folder": home, "bin_dir": bin_dir, "wallpaper": WALLPAPER, "script": home / "inside.sh",
                  "market": market.stdout.readline().split()[-1]}
        for name, text in (("sway.conf", SWAY.format(**values)), ("waybar.json", WAYBAR.format()),
                           ("style.css", WAYBAR_STYLE), ("inside.sh", INSIDE_SWAY.format(**values))):
            (home / name).write_text(text, encoding="utf-8")
        (home / "inside.sh").chmod(0o755)
        environment = dict(os.environ, HOME=str(home), XDG_RUNTIME_DIR=str(home), XDG_CONFIG_HOME=str(home),
                           WLR_BACKENDS="headless", WLR_RENDERER="pixman", WLR_LIBINPUT_NO_DEVICES="1",
                           XDG_CURRENT_DESKTOP="sway", LC_ALL="C.UTF-8", no_proxy="127.0.0.1")
        for name in ("DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM", "DBUS_SESSION_BUS_ADDRESS"):
            environment.pop(name, None)
        as_somebody = []
        if os.geteuid() == 0:
            as_somebody = ["setpriv", f"--reuid={NOBODY}", f"--regid={NOBODY}", "--clear-groups"]
            for file in (home, *home.iterdir()):
                os.chown(file, NOBODY, NOBODY)
        subprocess.run([*as_somebody, "dbus-run-session", "--", "sway", "-c", str(home / "sway.conf")],
                       env=environment, timeout=60, check=False, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        screen = home / "screen.png"
        if not screen.exists():
            print("waybar.png is not made: sway did not start")
            return
        act("convert", screen, "-gravity", "NorthEast", "-crop", f"{WIDTH}x28+0+0", "+repage", "-strip",
            folder / "waybar.png")
    finally:
        market.terminate()
        market.wait()
        shutil.rmtree(home, ignore_errors=True)


def all_pictures(session):
    folder = pathlib.Path(sys.argv[-2]).resolve()
    waybar_picture(session.bin, folder)
    session.start_window_manager()
    act("xsetroot", "-solid", WALLPAPER)
    market = session.start_market()
    strip_picture(session, folder, market)
    alerts_picture(session, folder, market)
    tray_pictures(session, folder, market)
    panel_pictures(session, folder, market)  # last: its portal stays


if __name__ == "__main__":
    sys.exit(desktop.run(all_pictures, ["xfce4-panel", "xfconf-query", "xsetroot", "convert"]))
