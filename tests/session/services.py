#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Stand-ins for services of a desktop: services.py NAME... owns these names on the session bus.

A bar that shows notifier items is taken for the one whose name this program is started under. Each line of standard
input is a JSON list and is answered with a line of JSON:
["items"]            the items that have registered, in order
["property", NAME]   a property of the last one
["click", X, Y]      a left click on it, said to be at this place
["menu"]             its menu's entries: numbers and properties
["choose", NUMBER]   an entry of it is clicked
["scheme", NUMBER]   the portal's colour scheme: 1 dark, 2 light
["sleep"]            the machine sleeps and wakes
["network", THERE]   the network goes or comes back
"""
import json
import sys

from gi.repository import Gio, GLib

WATCHER, ITEM, MENU = "org.kde.StatusNotifierWatcher", "org.kde.StatusNotifierItem", "com.canonical.dbusmenu"
SETTINGS = "org.freedesktop.portal.Settings"
PROPERTIES = "org.freedesktop.DBus.Properties"
PATHS = {WATCHER: "/StatusNotifierWatcher", SETTINGS: "/org/freedesktop/portal/desktop"}
INTERFACES = f"""<node><interface name="{WATCHER}">
<method name="RegisterStatusNotifierItem"><arg type="s" direction="in"/></method>
<property name="IsStatusNotifierHostRegistered" type="b" access="read"/>
</interface><interface name="{SETTINGS}">
<method name="Read"><arg type="s" direction="in"/><arg type="s" direction="in"/><arg type="v" direction="out"/></method>
<signal name="SettingChanged"><arg type="s"/><arg type="s"/><arg type="v"/></signal>
</interface></node>"""


class Services:
    def __init__(self):
        self.bus = Gio.bus_get_sync(Gio.BusType.SESSION)
        self.items = []
        self.scheme = 2
        for interface in Gio.DBusNodeInfo.new_for_xml(INTERFACES).interfaces:
            self.bus.register_object(PATHS[interface.name], interface, self.called, self.asked, None)
        for name in sys.argv[1:]:
            Gio.bus_own_name_on_connection(self.bus, name, Gio.BusNameOwnerFlags.NONE, None, None)

    def called(self, _connection, _sender, _path, _interface, method, arguments, invocation):
        if method == "Read":  # wrapped twice, as the real one does
            value = GLib.Variant("v", GLib.Variant("u", self.scheme))
            invocation.return_value(GLib.Variant("(v)", (value,)))
        else:
            self.items.append(arguments.unpack()[0])
            invocation.return_value(None)
            self.announce(PATHS[WATCHER], WATCHER, "StatusNotifierItemRegistered", "(s)", self.items[-1])

    def asked(self, _connection, _sender, _path, _interface, _name):
        return GLib.Variant("b", True)

    def of_item(self, path, interface, method, kind, *arguments):
        return self.bus.call_sync(self.items[-1], path, interface, method, GLib.Variant(kind, arguments), None,
                                  Gio.DBusCallFlags.NONE, 3000).unpack()

    def of_menu(self, method, kind, *arguments):
        return self.of_item("/StatusNotifierItem/Menu", MENU, method, kind, *arguments)

    def announce(self, path, interface, signal, kind, *arguments):
        self.bus.emit_signal(None, path, interface, signal, GLib.Variant(kind, arguments))

    def answer(self, request, *rest):
        if request == "property":
            return self.of_item("/StatusNotifierItem", PROPERTIES, "Get", "(ss)", ITEM, *rest)[0]
        if request == "click":
            return self.of_item("/StatusNotifierItem", ITEM, "Activate", "(ii)", *rest)
        if request == "menu":
            _, (_, _, entries) = self.of_menu("GetLayout", "(iias)", 0, -1, [])
            return [[number, properties] for number, properties, _ in entries]
        if request == "choose":
            return self.of_menu("Event", "(isvu)", *rest, "clicked", GLib.Variant("i", 0), 0)
        if request == "scheme":
            self.scheme, = rest
            self.announce(PATHS[SETTINGS], SETTINGS, "SettingChanged", "(ssv)", "org.freedesktop.appearance",
                          "color-scheme", GLib.Variant("u", self.scheme))
        if request == "sleep":
            for begins in (True, False):
                self.announce("/org/freedesktop/login1", "org.freedesktop.login1.Manager", "PrepareForSleep", "(b)",
                              begins)
        if request == "network":
            values = {"State": GLib.Variant("u", 70 if rest[0] else 20)}
            self.announce("/org/freedesktop/NetworkManager", PROPERTIES, "PropertiesChanged", "(sa{sv}as)",
                          "org.freedesktop.NetworkManager", values, [])
        return self.items


def main():
    services = Services()
    loop = GLib.MainLoop()

    def served(source, _condition):
        line = source.readline()
        if line:
            print(json.dumps(services.answer(*json.loads(line))), flush=True)
        else:
            loop.quit()
        return bool(line)

    GLib.io_add_watch(sys.stdin, GLib.PRIORITY_DEFAULT, GLib.IO_IN | GLib.IO_HUP, served)
    loop.run()


if __name__ == "__main__":
    main()
