"""A desktop portal with nothing but global shortcuts, for python-dbusmock.

Its parameter "response" is what the user's answer comes to, half a second after the question: 0 grants it.
"""

import dbus
from gi.repository import GLib

BUS_NAME = "org.freedesktop.portal.Desktop"
MAIN_OBJ = "/org/freedesktop/portal/desktop"
MAIN_IFACE = "org.freedesktop.portal.GlobalShortcuts"
SYSTEM_BUS = False


def load(mock, parameters):
    mock.response = parameters["response"]
    mock.AddProperty(MAIN_IFACE, "version", dbus.UInt32(1))


def handle(kind, sender, token):
    return f"{MAIN_OBJ}/{kind}/{sender[1:].replace('.', '_')}/{token}"


def respond(mock, sender, options, code, results, delay=0):
    request = handle("request", sender, options["handle_token"])
    GLib.timeout_add(delay, mock.EmitSignalDetailed, "org.freedesktop.portal.Request", "Response", "ua{sv}", [code, results],
                     {"path": request})
    return request


@dbus.service.method(MAIN_IFACE, "a{sv}", "o", sender_keyword="sender")
def CreateSession(self, options, sender):
    self.session = handle("session", sender, options["session_handle_token"])
    return respond(self, sender, options, 0, {"session_handle": self.session})


@dbus.service.method(MAIN_IFACE, "oa{sv}", "o", sender_keyword="sender")
def ListShortcuts(self, _, options, sender):
    return respond(self, sender, options, 0, {"shortcuts": dbus.Array([], "(sa{sv})")})


@dbus.service.method(MAIN_IFACE, "oa(sa{sv})sa{sv}", "o", sender_keyword="sender")
def BindShortcuts(self, _, shortcuts, parent, options, sender):
    assigned = [(name, {"trigger_description": "Press <Alt>space"}) for name, _ in shortcuts]
    results = {} if self.response else {"shortcuts": dbus.Array(assigned, "(sa{sv})")}
    return respond(self, sender, options, self.response, results, 500)
