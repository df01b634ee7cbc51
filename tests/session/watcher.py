#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""A stand-in for a desktop's bar that shows status notifier items, told what to do line by line.

Which bar it is taken for depends on the name under which this file is started. It reads JSON lists from standard
input and answers each with a line of JSON:
["items"]            the services that have registered, in order
["property", NAME]   a property of the last one
["click", X, Y]      a left click on it, told to be at this place
["menu"]             its menu's entries, numbers and properties
["choose", NUMBER]   an entry of it is clicked
["news"]             names and arguments of its signals since the last time
"""
import json
import sys

from gi.repository import Gio, GLib

INTERFACE = """<node><interface name="org.kde.StatusNotifierWatcher">
<method name="RegisterStatusNotifierItem"><arg type="s" direction="in"/></method>
<property name="IsStatusNotifierHostRegistered" type="b" access="read"/>
</interface></node>"""
NAME = "org.kde.StatusNotifierWatcher"
ITEM = "org.kde.StatusNotifierItem"
PATH = "/StatusNotifierItem"
MENU_PATH, MENU = "/StatusNotifierItem/Menu", "com.canonical.dbusmenu"
PROPERTIES = "org.freedesktop.DBus.Properties"
LIMIT_MS = 3000


class Watcher:
    def __init__(self):
        self.connection = Gio.bus_get_sync(Gio.BusType.SESSION)
        self.items = []
        self.news = []

    def start(self):
        interface = Gio.DBusNodeInfo.new_for_xml(INTERFACE).interfaces[0]
        self.connection.register_object("/StatusNotifierWatcher", interface, self.registered,
                                        lambda *_: GLib.Variant("b", True), None)
        self.connection.signal_subscribe(None, ITEM, None, PATH, None, Gio.DBusSignalFlags.NONE, self.heard)
        Gio.bus_own_name_on_connection(self.connection, NAME, Gio.BusNameOwnerFlags.NONE, None, None)

    def registered(self, _connection, _sender, _path, _interface, _method, arguments, invocation):
        self.items.append(arguments.unpack()[0])
        invocation.return_value(None)

    def heard(self, _connection, _sender, _path, _interface, signal, arguments):
        self.news.append([signal, *arguments.unpack()])

    def remote(self, path, interface, method, arguments):
        reply = self.connection.call_sync(self.items[-1], path, interface, method, arguments, None,
                                          Gio.DBusCallFlags.NONE, LIMIT_MS)
        return reply.unpack()

    def property(self, name):
        return self.remote(PATH, PROPERTIES, "Get", GLib.Variant("(ss)", (ITEM, name)))[0]

    def answer(self, request):
        kind, *rest = request
        if kind == "items":
            return self.items
        if kind == "property":
            return self.property(rest[0])
        if kind == "click":
            return self.remote(PATH, ITEM, "Activate", GLib.Variant("(ii)", rest))
        if kind == "menu":
            _, (_, _, entries) = self.remote(MENU_PATH, MENU, "GetLayout", GLib.Variant("(iias)", (0, -1, [])))
            return [[number, properties] for number, properties, _ in entries]
        if kind == "choose":
            event = GLib.Variant("(isvu)", (rest[0], "clicked", GLib.Variant("i", 0), 0))
            return self.remote(MENU_PATH, MENU, "Event", event)
        if kind == "news":
            news, self.news = self.news, []
            return news
        raise ValueError(kind)


def main():
    watcher = Watcher()
    watcher.start()
    loop = GLib.MainLoop()

    def served(source, _condition):
        line = source.readline()
        if not line:
            loop.quit()
            return False
        print(json.dumps(watcher.answer(json.loads(line))), flush=True)
        return True

    GLib.io_add_watch(sys.stdin, GLib.PRIORITY_DEFAULT, GLib.IO_IN | GLib.IO_HUP, served)
    loop.run()


if __name__ == "__main__":
    main()
