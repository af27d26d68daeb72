"""A status bar for tests, as a template of dbusmock, which prints the calls."""

import dbus

BUS_NAME = MAIN_IFACE = "org.kde.StatusNotifierWatcher"
MAIN_OBJ = "/StatusNotifierWatcher"
SYSTEM_BUS = False


def load(mock, _parameters):
    mock.AddProperties(MAIN_IFACE, {"IsStatusNotifierHostRegistered": True, "ProtocolVersion": dbus.Int32(0)})
    mock.AddMethod(MAIN_IFACE, "RegisterStatusNotifierItem", "s", "", "")
