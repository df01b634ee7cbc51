#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""A stand-in for the desktop's settings portal: colour scheme from the command line, dark and light in turn at
each SIGUSR1."""
import signal
import sys

from gi.repository import Gio, GLib

INTERFACE = """<node><interface name="org.freedesktop.portal.Settings">
<method name="Read"><arg type="s" direction="in"/><arg type="s" direction="in"/><arg type="v" direction="out"/></method>
<signal name="SettingChanged"><arg type="s"/><arg type="s"/><arg type="v"/></signal>
</interface></node>"""
PATH = "/org/freedesktop/portal/desktop"
GROUP, KEY = "org.freedesktop.appearance", "color-scheme"


class Portal:
    def __init__(self, scheme):
        self.scheme = scheme
        self.connection = None

    def acquired(self, connection, _name):
        self.connection = connection
        interface = Gio.DBusNodeInfo.new_for_xml(INTERFACE).interfaces[0]
        connection.register_object(PATH, interface, self.call, None, None)

    def call(self, _connection, _sender, _path, _interface, _method, arguments, invocation):
        if arguments.unpack() != (GROUP, KEY):
            invocation.return_dbus_error("org.freedesktop.portal.Error.NotFound", "no such setting")
            return
        # Wrapped twice, as the real one does.
        value = GLib.Variant("v", GLib.Variant("u", self.scheme))
        invocation.return_value(GLib.Variant("(v)", (value,)))

    def toggle(self):
        self.scheme = 2 if self.scheme == 1 else 1
        change = GLib.Variant("(ssv)", (GROUP, KEY, GLib.Variant("u", self.scheme)))
        self.connection.emit_signal(None, PATH, "org.freedesktop.portal.Settings", "SettingChanged", change)
        return True


def main():
    portal = Portal(int(sys.argv[1]))
    loop = GLib.MainLoop()
    Gio.bus_own_name(Gio.BusType.SESSION, "org.freedesktop.portal.Desktop", 0, portal.acquired, None,
                     lambda *_: loop.quit())
    GLib.unix_signal_add(GLib.PRIORITY_DEFAULT, signal.SIGUSR1, portal.toggle)
    GLib.unix_signal_add(GLib.PRIORITY_DEFAULT, signal.SIGTERM, loop.quit)
    loop.run()


if __name__ == "__main__":
    main()
