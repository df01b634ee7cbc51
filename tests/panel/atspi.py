#!/usr/bin/python3
# SPDX-License-Identifier: MIT
"""Reads the whole panel over the accessibility bus and presses every button of it.

Runs the program given as the only argument. Ends with 77 (skipped) where the bus cannot be used."""
import signal
import subprocess
import sys
import time
import warnings

warnings.simplefilter("ignore")
try:
    import gi

    gi.require_version("Atspi", "2.0")
    from gi.repository import Atspi, GLib
except (ImportError, ValueError) as error:
    print(f"skipped: python3-gi with Atspi is missing ({error})")
    sys.exit(77)

READABLE = [
    "ETH/USDT · 永续", "3,457", "▲ 2.35%", "接近支撑区 · 偏买入", "多周期同步偏多 · 短中长一致", "1H 偏多", "阻力",
    "阻力 3,528 +2.07%", "现价", "支撑", "支撑 3,418 -1.12%", "趋势", "RSI(14)", "61.2 中性", "MACD", "ATR(14) 止损参考",
    "VWAP", "价格提醒", "手动 3,400", "市场", "距买点 1.12% · 距卖点 2.07%", "保证金模式", "演示行情",
    "仅供学习参考，不构成投资建议。", "已扣 0.15% 手续费成本", "黄金位", "多指标确认",
]
FIELDS = ["目标价", "买卖预警阈值 (%)", "账户总额", "单笔最多亏 (%)", "开单杠杆 (x)", "显示范围 ±(%)", "每侧最多(个)"]
# Name, and what the program says when the press has arrived; None where only something on the screen changes.
PRESSES = [
    ("设置该价位提醒", "field alerts"), ("取消该价位提醒", "field alerts"), ("支撑 3,418 -1.12%", "field selectedZonePrice"),
    ("恢复现价开单助手", "field selectedZonePrice"), ("在 TradingView 打开 BINANCE:ETHUSDT.P", "opened "),
    ("设提醒", "field alerts"), ("市场背景", "field marketContextExpanded"), ("收到", "field alerts"),
    ("删除该提醒", "field alerts"), ("添加目标价提醒：价格涨/跌触及即触发", None),
    ("极简模式（状态栏只显示价格数字）", "field miniMode"), ("买卖预警阈值 (%) 减小", "field signalThreshold"),
    ("买卖预警阈值 (%) 增大", "field signalThreshold"), ("全仓", "field marginMode"), ("逐仓", "field marginMode"),
    ("显示范围 ±(%) 减小", "field displayRangePct"), ("显示范围 ±(%) 增大", "field displayRangePct"),
    ("每侧最多(个) 减小", "field maxPerSide"), ("每侧最多(个) 增大", "field maxPerSide"), ("打开网页版", "opened "),
    ("赚翻了：状态栏多标的霓虹灯效", "field blingMode"), ("停止炫彩", "field blingMode"), ("使用说明", None), ("关闭", None),
    ("4H", "field timeframe"), ("BTC", "field coinSymbol"), ("刷新数据", "field isLoading"), ("A股", "field market"),
    ("港股", "field market"), ("设置", None),
]


def walk(node):
    yield node
    for index in range(node.get_child_count()):
        child = node.get_child_at_index(index)
        if child:
            yield from walk(child)


def application():
    for _ in range(120):
        desktop = Atspi.get_desktop(0)
        desktop.clear_cache()  # else an answer from before the program came is kept
        for index in range(desktop.get_child_count()):
            node = desktop.get_child_at_index(index)
            if node and node.get_name() == "panelwindow":
                node.clear_cache()
                if node.get_child_count() > 0:
                    return node
        time.sleep(0.25)
    sys.exit("the program is not on the accessibility bus, or its popup is not listed")


def showing(node):
    return node.get_state_set().contains(Atspi.StateType.SHOWING)


def find(root, name):
    """The pressable node of this name; a label may bear the name of a button."""
    for node in walk(root):
        try:
            if node.get_name() == name and node.get_action_iface() and showing(node):
                return node
        except GLib.Error:
            continue  # it went away while we looked
    return None


def press(root, name):
    for _ in range(20):
        node = find(root, name)
        if node:
            break
        time.sleep(0.1)
    else:
        return False
    action = node.get_action_iface()
    names = [Atspi.Action.get_action_name(action, index) for index in range(Atspi.Action.get_n_actions(action))]
    wanted = next((names.index(n) for n in ("Toggle", "Press") if n in names), None)
    if wanted is None:
        return False
    Atspi.Action.do_action(action, wanted)
    time.sleep(0.3)  # an animated press counts once in 100 ms
    return True


def main():
    Atspi.get_desktop(0)  # the bus and its registry are there before the program looks for them
    with open("panelwindow.log", "w+", encoding="utf-8") as log:
        program = subprocess.Popen([sys.argv[1]], stdout=log, stderr=subprocess.STDOUT)
        faults = []
        try:
            root = application()
            nodes = [(node.get_role_name(), node.get_name()) for node in walk(root)]
            names = {name for _, name in nodes}
            faults += [f"not readable: {text}" for text in READABLE + FIELDS if text not in names]
            faults += [f"nameless {role}" for role, name in nodes
                       if not name and role in ("push button", "check box", "text", "toggle button")]
            entry = next(n for n in walk(root) if n.get_name() == "目标价" and n.get_editable_text_iface())
            Atspi.EditableText.set_text_contents(entry.get_editable_text_iface(), "3500")
            for name, effect in PRESSES:
                log.flush()
                before = open(log.name, encoding="utf-8").read()
                if not press(root, name):
                    faults.append(f"not pressable: {name}")
                elif effect and effect not in open(log.name, encoding="utf-8").read()[len(before):]:
                    faults.append(f"pressed without effect: {name}")
                if program.poll() is not None:
                    faults.append(f"the program ended after: {name}")
                    break
            print(f"{len(nodes)} nodes read, {len(PRESSES)} presses")
        finally:
            program.terminate()
            program.wait(10)
    print("\n".join(faults))
    if program.returncode not in (0, -signal.SIGTERM):
        print(f"ended with {program.returncode}:", open("panelwindow.log", encoding="utf-8").read()[-4000:])
    return 1 if faults else 0


sys.exit(main())
