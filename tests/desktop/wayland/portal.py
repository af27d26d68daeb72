"""A desktop portal with nothing but global shortcuts.

usage: portal.py grant|refuse    how the user answers, half a second after being asked
"""

import sys

import dbus
import dbus.lowlevel
import dbus.mainloop.glib
import dbus.service
from gi.repository import GLib

PATH = "/org/freedesktop/portal/desktop"
SHORTCUTS = "org.freedesktop.portal.GlobalShortcuts"


class Portal(dbus.service.Object):
    def __init__(self, bus):
        super().__init__(bus, PATH)
        self._bus, self._session, self._bound = bus, "", []

    def _signal(self, path, interface, name, signature, *arguments):
        message = dbus.lowlevel.SignalMessage(path, interface, name)
        message.append(*arguments, signature=signature)
        self._bus.send_message(message)

    def _respond(self, sender, options, code, results, delay=0):
        request = f"{PATH}/request/{sender[1:].replace('.', '_')}/{options['handle_token']}"
        GLib.timeout_add(delay, self._signal, request, "org.freedesktop.portal.Request", "Response", "ua{sv}", code, results)
        return request

    @dbus.service.method(dbus.PROPERTIES_IFACE, "ss", "v")
    def Get(self, interface, _):
        if interface != SHORTCUTS:
            raise dbus.DBusException("no such interface", name="org.freedesktop.DBus.Error.InvalidArgs")
        return dbus.UInt32(1)

    @dbus.service.method(SHORTCUTS, "a{sv}", "o", sender_keyword="sender")
    def CreateSession(self, options, sender):
        self._session = f"{PATH}/session/{sender[1:].replace('.', '_')}/{options['session_handle_token']}"
        return self._respond(sender, options, 0, {"session_handle": self._session})

    @dbus.service.method(SHORTCUTS, "oa{sv}", "o", sender_keyword="sender")
    def ListShortcuts(self, _, options, sender):
        return self._respond(sender, options, 0, {"shortcuts": dbus.Array([], "(sa{sv})")})

    @dbus.service.method(SHORTCUTS, "oa(sa{sv})sa{sv}", "o", sender_keyword="sender")
    def BindShortcuts(self, _, shortcuts, parent, options, sender):
        if sys.argv[1] != "grant":
            return self._respond(sender, options, 1, {}, 500)
        self._bound = [str(name) for name, _ in shortcuts]
        assigned = [(name, {"trigger_description": "Press <Alt>space"}) for name in self._bound]
        return self._respond(sender, options, 0, {"shortcuts": dbus.Array(assigned, "(sa{sv})")}, 500)

    @dbus.service.method("io.nordvex.tavrik.TestPortal", "b")
    def Press(self, down):
        for name in self._bound:
            self._signal(PATH, SHORTCUTS, "Activated" if down else "Deactivated", "osta{sv}", self._session, name, 0, {})


dbus.mainloop.glib.DBusGMainLoop(set_as_default=True)
portal = Portal(dbus.SessionBus())
name = dbus.service.BusName("org.freedesktop.portal.Desktop", portal.connection)
GLib.MainLoop().run()
