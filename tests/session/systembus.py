#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""A stand-in for the services of a laptop's system bus: sleeps and wakes at SIGUSR1, loses the network at SIGUSR2 and
has it back at the next one."""
import signal

from gi.repository import Gio, GLib

LOGIN = "org.freedesktop.login1"
NETWORK = "org.freedesktop.NetworkManager"
NETWORK_PATH = "/org/freedesktop/NetworkManager"
INTERFACE = f"""<node><interface name="{NETWORK}">
<property name="State" type="u" access="read"/>
<property name="Connectivity" type="u" access="read"/>
<property name="Metered" type="u" access="read"/>
<signal name="PropertiesChanged"><arg type="a{{sv}}"/></signal>
</interface></node>"""
CONNECTED = {"State": 70, "Connectivity": 4, "Metered": 4}
DISCONNECTED = {"State": 20, "Connectivity": 1, "Metered": 4}


class SystemServices:
    def __init__(self):
        self.connection = Gio.bus_get_sync(Gio.BusType.SYSTEM)
        self.network = CONNECTED

    def start(self):
        interface = Gio.DBusNodeInfo.new_for_xml(INTERFACE).interfaces[0]
        self.connection.register_object(NETWORK_PATH, interface, None,
                                        lambda *arguments: GLib.Variant("u", self.network[arguments[4]]), None)
        for name in (LOGIN, NETWORK):
            Gio.bus_own_name_on_connection(self.connection, name, Gio.BusNameOwnerFlags.NONE, None, None)

    def sleep(self):
        for begins in (True, False):
            self.connection.emit_signal(None, "/org/freedesktop/login1", f"{LOGIN}.Manager", "PrepareForSleep",
                                        GLib.Variant("(b)", (begins,)))
        return True

    def change_network(self):
        self.network = DISCONNECTED if self.network is CONNECTED else CONNECTED
        values = {name: GLib.Variant("u", value) for name, value in self.network.items()}
        for interface, arguments in ((NETWORK, GLib.Variant("(a{sv})", (values,))),
                                     ("org.freedesktop.DBus.Properties",
                                      GLib.Variant("(sa{sv}as)", (NETWORK, values, [])))):
            self.connection.emit_signal(None, NETWORK_PATH, interface, "PropertiesChanged", arguments)
        return True


def main():
    services = SystemServices()
    services.start()
    loop = GLib.MainLoop()
    GLib.unix_signal_add(GLib.PRIORITY_DEFAULT, signal.SIGUSR1, services.sleep)
    GLib.unix_signal_add(GLib.PRIORITY_DEFAULT, signal.SIGUSR2, services.change_network)
    GLib.unix_signal_add(GLib.PRIORITY_DEFAULT, signal.SIGTERM, loop.quit)
    loop.run()


if __name__ == "__main__":
    main()
