#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Stands for the bar of a desktop that shows notifier items.

Usage: host.py all|each. Bars differ in how they follow an item: "all" waits a moment after a signal and reads all
properties at once, "each" reads at every signal just the properties that it names.
"""
import sys

from gi.repository import Gio, GLib

WATCHER = "org.kde.StatusNotifierWatcher"
ITEM = "org.kde.StatusNotifierItem"
ITEM_PATH = "/StatusNotifierItem"
INTERFACE = f"""<node><interface name="{WATCHER}">
<method name="RegisterStatusNotifierItem"><arg type="s" direction="in"/></method>
<property name="IsStatusNotifierHostRegistered" type="b" access="read"/>
</interface></node>"""
READ_AT = {"NewTitle": ["Title"], "NewIcon": ["IconName", "IconPixmap"], "NewToolTip": ["ToolTip"],
           "NewStatus": ["Status"], "NewAttentionIcon": ["AttentionIconName", "AttentionIconPixmap"]}
FOLDING_MS = 20


class Host:
    def __init__(self, reads_all):
        self.reads_all = reads_all
        self.waiting = False
        self.connection = None

    def acquired(self, connection, _name):
        self.connection = connection
        interface = Gio.DBusNodeInfo.new_for_xml(INTERFACE).interfaces[0]
        connection.register_object("/StatusNotifierWatcher", interface, self.call, lambda *_: GLib.Variant("b", True),
                                   None)
        connection.signal_subscribe(None, ITEM, None, ITEM_PATH, None, Gio.DBusSignalFlags.NONE, self.heard)

    def call(self, _connection, sender, _path, _interface, _method, _arguments, invocation):
        invocation.return_value(None)
        self.read(sender, "GetAll", "(s)", ITEM)

    def read(self, sender, method, kind, *arguments):
        self.connection.call(sender, ITEM_PATH, "org.freedesktop.DBus.Properties", method,
                             GLib.Variant(kind, arguments), None, Gio.DBusCallFlags.NONE, 1000, None, None)

    def heard(self, _connection, sender, _path, _interface, signal, _arguments):
        if not self.reads_all:
            for name in READ_AT.get(signal, []):
                self.read(sender, "Get", "(ss)", ITEM, name)
        elif not self.waiting:
            self.waiting = True
            GLib.timeout_add(FOLDING_MS, self.read_all, sender)

    def read_all(self, sender):
        self.waiting = False
        self.read(sender, "GetAll", "(s)", ITEM)
        return False


def main():
    host = Host(sys.argv[1] == "all")
    loop = GLib.MainLoop()
    Gio.bus_own_name(Gio.BusType.SESSION, WATCHER, 0, host.acquired, None, lambda *_: loop.quit())
    loop.run()


if __name__ == "__main__":
    main()
