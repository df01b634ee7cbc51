#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Stands for the desktop's notification service and prints the monotonic time at which each message comes."""
import time

from gi.repository import Gio, GLib

NAME = "org.freedesktop.Notifications"
INTERFACE = f"""<node><interface name="{NAME}">
<method name="GetCapabilities"><arg type="as" direction="out"/></method>
<method name="Notify"><arg type="s" direction="in"/><arg type="u" direction="in"/><arg type="s" direction="in"/>
<arg type="s" direction="in"/><arg type="s" direction="in"/><arg type="as" direction="in"/>
<arg type="a{{sv}}" direction="in"/><arg type="i" direction="in"/><arg type="u" direction="out"/></method>
</interface></node>"""


def call(_connection, _sender, _path, _interface, method, _arguments, invocation):
    if method == "Notify":
        print(time.monotonic(), flush=True)
        invocation.return_value(GLib.Variant("(u)", (1,)))
    else:
        invocation.return_value(GLib.Variant("(as)", (["actions"],)))


def acquired(connection, _name):
    interface = Gio.DBusNodeInfo.new_for_xml(INTERFACE).interfaces[0]
    connection.register_object("/org/freedesktop/Notifications", interface, call, None, None)


Gio.bus_own_name(Gio.BusType.SESSION, NAME, Gio.BusNameOwnerFlags.NONE, acquired, None, None)
GLib.MainLoop().run()
