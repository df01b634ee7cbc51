#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""Reads the panel over a real accessibility bus and presses one of each kind: atspi.py TST_PANEL

On a display and a session bus of its own. Ends with 77 (skipped) where the bus cannot be used."""
import os
import shutil
import subprocess
import sys
import tempfile
import time

# Name, and what the program says when the press has arrived; nothing where only the screen changes.
PRESSES = [
    ("设置该价位提醒", "field alerts"), ("支撑 3,418 -1.12%", "field selectedZonePrice"), ("设提醒", "field alerts"),
    ("恢复现价开单助手", "field selectedZonePrice"), ("在 TradingView 打开 BINANCE:ETHUSDT.P", "opened "),
    ("市场背景", "field marketContextExpanded"), ("收到", "field alerts"), ("使用说明", ""), ("关闭", ""),
    ("添加目标价提醒：价格涨/跌触及即触发", "field alerts"), ("极简模式（状态栏只显示价格数字）", "field miniMode"),
    ("买卖预警阈值 (%) 减小", "field signalThreshold"), ("全仓", "field marginMode"), ("4H", "field timeframe"),
    ("BTC", "field coinSymbol"), ("A股", "field market"),
]

SHOW = [sys.argv[1], "--class", "PanelWindowTest", "itIsReadAndPressedOverTheBus"]


def start_again():
    """The same in surroundings of its own."""
    for tool in ("Xvfb", "xvfb-run", "dbus-run-session", "/usr/libexec/at-spi-bus-launcher"):
        if not shutil.which(tool):
            print(f"skipped: {tool} is missing")
            return 77
    with tempfile.TemporaryDirectory() as home:
        own = dict(os.environ, QT_QPA_PLATFORM="xcb", QT_LINUX_ACCESSIBILITY_ALWAYS_ON="1", XDG_RUNTIME_DIR=home, HOME=home)
        command = ["timeout", "100", "xvfb-run", "-a", "-s", "-screen 0 1280x1000x24", "dbus-run-session", "--"]
        here = ["/usr/bin/python3", "-W", "ignore", os.path.abspath(__file__), os.path.abspath(sys.argv[1]), "inside"]
        return subprocess.run(command + here, env=own, cwd=home, check=False).returncode


def soon(look):
    for _ in range(120):
        found = look()
        if found:
            return found
        time.sleep(0.25)
    return None


def walk(node):
    yield node
    for child in [node.get_child_at_index(index) for index in range(node.get_child_count())]:
        if child:
            yield from walk(child)


def main():
    try:
        import gi
        gi.require_version("Atspi", "2.0")
        from gi.repository import Atspi, GLib
    except (ImportError, ValueError) as error:
        print(f"skipped: python3-gi with Atspi is missing ({error})")
        return 77

    def application():
        desktop = Atspi.get_desktop(0)
        desktop.clear_cache()  # else an answer from before the program came is kept
        nodes = [node for node in walk(desktop) if node.get_name() == "tst_panel"]
        return nodes[0] if nodes and nodes[0].get_child_count() else None

    def press(name):
        """Presses the shown node of this name; a label may bear the name of a button."""
        for node in walk(root):
            try:
                shows = node.get_name() == name and node.get_state_set().contains(Atspi.StateType.SHOWING)
                actions = node.get_action_iface() if shows else None
                if actions and Atspi.Action.get_action_name(actions, 0) in ("Toggle", "Press"):
                    return Atspi.Action.do_action(actions, 0)
            except GLib.Error:
                continue  # it went away while we looked
        return False

    def said():
        return open("log", encoding="utf-8").read()

    Atspi.get_desktop(0)  # the bus and its registry are there before the program looks for them
    with open("log", "w", encoding="utf-8") as log, subprocess.Popen(SHOW, stdout=log) as program:
        try:
            root = soon(application)
            if not root:
                return "the program is not on the accessibility bus, or its popup is not listed"
            names = {node.get_name() for node in walk(root)}
            shown = [line[6:] for line in said().splitlines() if line.startswith("shows ")]
            faults = [f"not readable: {text}" for text in shown if text not in names]
            entry = next(n for n in walk(root) if n.get_name() == "目标价" and n.get_editable_text_iface())
            Atspi.EditableText.set_text_contents(entry.get_editable_text_iface(), "3500")
            for name, effect in PRESSES:
                before = len(said())
                if not soon(lambda: press(name)) or not soon(lambda: effect in said()[before:]):
                    faults.append(f"cannot be pressed, or without effect: {name}")
            print(f"{len(names)} names, {len(shown)} shown, {len(PRESSES)} presses")
            if program.poll() is not None or len(shown) < 80:
                faults.append(f"the program has ended or showed little:\n{said()[-4000:]}")
            return "\n".join(faults) or 0
        finally:
            program.kill()


sys.exit(main() if sys.argv[2:] else start_again())
