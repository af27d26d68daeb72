"""Real Wayland desktops without a screen: how each is started, typed on, looked at, and what is particular about it."""

import array
import contextlib
import itertools
import json
import os
import pathlib
import shutil
import socket
import struct
import time

import dbus
import desk

# Of linux/input-event-codes.h.
CONTROL, SHIFT, ALT, SPACE = 29, 42, 56, 57
RUNTIME = pathlib.Path(os.environ.get("XDG_RUNTIME_DIR", "/"))
CONFIG = pathlib.Path(os.environ.get("XDG_CONFIG_HOME", "/"))
LOGS = pathlib.Path(os.environ.get("VDESK", "/"), "log")
WLROOTS = {"WLR_BACKENDS": "headless", "WLR_RENDERER": "pixman", "WLR_LIBINPUT_NO_DEVICES": "1"}


def bus_object(name, path, interface=None):
    return dbus.Interface(dbus.SessionBus().get_object(name, path), interface or name)


class Keyboard:
    """A keyboard of a compositor that offers zwp_virtual_keyboard_manager_v1, spoken to over the wire. One for the whole
    session: the first key of a new one is lost."""

    KEYMAP = (b'xkb_keymap { xkb_keycodes { include "evdev" }; xkb_types { include "complete" }; '
              b'xkb_compat { include "complete" }; xkb_symbols { include "pc+us+ir:2+inet(evdev)" }; };\0')
    MODIFIERS = {SHIFT: 1, CONTROL: 4, ALT: 8}
    DISPLAY = 1

    def __init__(self, display):
        self._socket = socket.socket(socket.AF_UNIX)
        self._socket.connect(str(RUNTIME / display))
        self._ids = itertools.count(2)
        self._unread, self._globals, self._held, self._layout = b"", {}, set(), 0
        self._registry = self._make(self.DISPLAY, 1)
        self._settle()
        seat, manager = map(self._bind, ("wl_seat", "zwp_virtual_keyboard_manager_v1"))
        self._keyboard = self._make(manager, 0, seat)
        keymap = os.memfd_create("keymap")
        os.write(keymap, self.KEYMAP)
        self._send(self._keyboard, 0, 1, len(self.KEYMAP), file=keymap)
        self._settle()

    def _send(self, target, request, *arguments, file=None):
        body = b""
        for argument in arguments:
            if isinstance(argument, str):
                text = argument.encode() + b"\0"
                body += struct.pack("=I", len(text)) + text + bytes(-len(text) % 4)
            else:
                body += struct.pack("=I", argument)
        rights = [] if file is None else [(socket.SOL_SOCKET, socket.SCM_RIGHTS, array.array("i", [file]))]
        self._socket.sendmsg([struct.pack("=II", target, (8 + len(body)) << 16 | request) + body], rights)

    def _make(self, target, request, *arguments):
        made = next(self._ids)
        self._send(target, request, *arguments, made)
        return made

    def _bind(self, interface):
        return self._make(self._registry, 0, self._globals[interface], interface, 1)

    def _settle(self):
        """Until the compositor has done what was sent."""
        done = self._make(self.DISPLAY, 0)
        sender = None
        while sender != done:
            while len(self._unread) < 8 or len(self._unread) < struct.unpack_from("=I", self._unread, 4)[0] >> 16:
                self._unread += self._socket.recv(65536) or exit("The compositor has gone.")
            sender, word = struct.unpack_from("=II", self._unread)
            body, self._unread = self._unread[8:word >> 16], self._unread[word >> 16:]
            if sender == self._registry and not word & 0xffff:
                name, length = struct.unpack_from("=II", body)
                self._globals[body[8:7 + length].decode()] = name
            elif sender == self.DISPLAY and not word & 0xffff:
                raise RuntimeError(f"the compositor complains: {body}")

    def _update_modifiers(self):
        self._send(self._keyboard, 2, sum(self.MODIFIERS.get(code, 0) for code in self._held), 0, 0, self._layout)
        self._settle()

    def press(self, code, down=True):
        (self._held.add if down else self._held.discard)(code)
        self._send(self._keyboard, 1, time.monotonic_ns() // 1_000_000 & 0xffffffff, code, down)
        self._update_modifiers()

    def set_layout(self, index):
        """For the window in front; a compositor may tell it of a change only."""
        for self._layout in 1 - index, index:
            self._update_modifiers()


class MutterKeyboard:
    """The same by an interface that GNOME Shell has for its own."""

    NAME = "org.gnome.Mutter.RemoteDesktop"

    def __init__(self):
        session = bus_object(self.NAME, "/org/gnome/Mutter/RemoteDesktop").CreateSession()
        self._session = bus_object(self.NAME, session, f"{self.NAME}.Session")
        self._session.Start()
        for down in True, False:  # the device comes with its first key
            self.press(SHIFT, down)

    def press(self, code, down=True):
        self._session.NotifyKeyboardKeycode(dbus.UInt32(code), down)


class Desktop(contextlib.ExitStack):
    """A running desktop; what differs from one to another is in its description below."""

    environment = {}
    #: What is held to dictate, and the same in the preferences' terms (there 2048 is Alt, 4096 Control).
    hot_key, modifiers = (ALT, SPACE), 2048
    #: Whether the commands have to be bound in the compositor's configuration.
    has_bindings = False
    #: What portals ask the user: the titles for the shortcut and for pasting.
    dialogs = ()
    keeps_clipboard = False
    #: Between two dictations, in seconds.
    rest = 0.3
    #: The cases that cannot work there, and why.
    lacks = {}

    def __enter__(self):
        super().__enter__()
        self.start()
        server = desk.wait_for("an X server", lambda: min(pathlib.Path("/tmp/.X11-unix").glob("X*"), default=None))
        os.environ["DISPLAY"] = f":{server.name[1:]}"
        return self

    def run(self, name, *command, socket=None, **environment):
        self.enter_context(desk.Process(*command, env=environment, log=LOGS / name))
        if socket:
            desk.wait_for(name, (RUNTIME / socket).exists)

    def run_wlroots(self, *command, socket, **environment):
        self.run(command[0], *command, socket=socket, **WLROOTS, **environment)
        self.keyboard = Keyboard(socket)

    @contextlib.contextmanager
    def held(self, *keys, order=-1, pauses=()):
        """They are let go in the opposite order, or with `order=1` in that in which they went down; the pauses in between."""
        for key in keys:
            self.keyboard.press(key)
        try:
            yield
        finally:
            for key, pause in itertools.zip_longest(keys[::order], pauses[:len(keys)], fillvalue=0):
                self.keyboard.press(key, False)
                time.sleep(pause)

    def dictating(self, modifier_first, pauses):
        """While it lasts the hot key is held."""
        return self.held(*self.hot_key, order=1 if modifier_first else -1, pauses=pauses)

    @staticmethod
    def dialog(title):
        return desk.find(desk.descendants(desk.Atspi.get_desktop(0)), lambda item: (
            item.get_name() == title and item.get_role() in (desk.Atspi.Role.FRAME, desk.Atspi.Role.DIALOG)))

    def set_layout(self, index):
        self.keyboard.set_layout(index)

    def picture(self, path):
        desk.run("grim", path)

    def clipboard(self):
        return desk.run("timeout", "5", "wl-paste", "--no-newline", check=False)


class Gnome(Desktop):
    # The window menu has Alt+Space.
    hot_key, modifiers = (CONTROL, ALT, SPACE), 6144
    environment = {"XDG_CURRENT_DESKTOP": "GNOME", "XDG_SESSION_DESKTOP": "gnome", "WAYLAND_DISPLAY": "wayland-0",
                   "GSETTINGS_BACKEND": "dconf", "DBUS_SYSTEM_BUS_ADDRESS": "unix:path=/tmp/system-bus"}
    dialogs = ("Add Keyboard Shortcuts", "Remote Desktop")
    keeps_clipboard = True

    def start(self):
        # An empty one is enough.
        self.run("system-bus", "dbus-daemon", "--session", "--nofork", "--address=unix:path=/tmp/system-bus",
                 socket="/tmp/system-bus")
        for schema, key, value in (("shell", "welcome-dialog-last-shown-version", "999"),
                                   ("desktop.interface", "enable-animations", "false"),
                                   ("desktop.notifications", "show-banners", "false"),
                                   ("shell", "enabled-extensions", "['ubuntu-appindicators@ubuntu.com']")):
            desk.run("gsettings", "set", f"org.gnome.{schema}", key, value)
        # The unsafe mode is for the tests' own pictures and questions; portals stay as strict as ever.
        self.run("gnome-shell", "gnome-shell", "--headless", "--virtual-monitor", "1280x800", "--wayland-display",
                 "wayland-0", "--unsafe-mode", socket="wayland-0")
        desk.wait_for("the shell", lambda: "GNOME Shell started" in (LOGS / "gnome-shell").read_text())
        os.environ["XAUTHORITY"] = str(max(RUNTIME.glob(".mutter-Xwaylandauth.*"), key=os.path.getmtime))
        # It begins with the overview, where shortcuts of the portal do nothing.
        desk.wait_for("the overview", lambda: self.ask("Main.overview.visible"))
        self.ask("Main.overview.hide()")
        desk.wait_for("the desktop", lambda: not self.ask("Main.overview.visible || Main.overview.animationInProgress"))
        self.keyboard = MutterKeyboard()

    def answer(self, title, button):
        dialog = desk.wait_for(title, lambda: self.dialog(title))
        for name in ("Allow Remote Interaction", button) if button == "Share" else (button,):
            # Rows and labels of the same name have no action of their own, or many.
            control = desk.find(desk.descendants(dialog), lambda item: item.get_name() == name and item.get_action_iface(
                ) and desk.Atspi.Action.get_n_actions(item) == 1)
            desk.Atspi.Action.do_action(control, 0)

    @staticmethod
    def ask(script):
        done, answer = bus_object("org.gnome.Shell", "/org/gnome/Shell").Eval(script)
        if not done:
            raise RuntimeError(answer)
        return json.loads(answer or "null")

    def set_layout(self, index):
        desk.run("gsettings", "set", "org.gnome.desktop.input-sources", "sources", f"[('xkb', '{('us', 'ir')[index]}')]")

    def picture(self, path):
        bus_object("org.gnome.Shell.Screenshot", "/org/gnome/Shell/Screenshot").Screenshot(False, False, str(path))

    def clipboard(self):
        """wl-paste would need the focus."""
        self.ask("global.seen = null; imports.gi.St.Clipboard.get_default().get_text(1, (_, t) => { global.seen = t ?? ''; })")
        return desk.wait_for("the clipboard", lambda: [text for text in [self.ask("global.seen")] if text is not None])[0]


class Kde(Desktop):
    """KWin, with its permission checks on, inside a bare sway, which is its screen and its keyboard: without a graphics card it
    draws no pictures of itself."""

    environment = {"XDG_CURRENT_DESKTOP": "KDE", "KDE_FULL_SESSION": "true", "KDE_SESSION_VERSION": "6",
                   "WAYLAND_DISPLAY": "wayland-0", "QT_QUICK_BACKEND": "software"}

    def start(self):
        # Without a menu it finds no desktop file, and so no program's name or rights.
        (CONFIG / "menus").mkdir()
        (CONFIG / "menus/applications.menu").write_text(
            "<Menu><Name>Applications</Name><DefaultAppDirs/><Include><All/></Include></Menu>")
        (CONFIG / "kxkbrc").write_text("[Layout]\nUse=true\nLayoutList=us,ir\n")
        screen = CONFIG / "screen"
        screen.write_text("output HEADLESS-1 resolution 1280x800\ndefault_border none\nxwayland disable\n")
        self.run_wlroots("sway", "-c", screen, socket="wayland-1")
        # A copy has no file capability, which a session without privileges may not use.
        kwin = shutil.copy("/usr/bin/kwin_wayland", CONFIG)
        self.run("kwin", kwin, "--width", "1280", "--height", "800", "--socket", "wayland-0", "--no-lockscreen", "--xwayland",
                 socket="wayland-0", WAYLAND_DISPLAY="wayland-1")

    def set_layout(self, index):
        bus_object("org.kde.keyboard", "/Layouts", "org.kde.KeyboardLayouts").setLayout(dbus.UInt32(index))

    def picture(self, path):
        desk.run("env", "WAYLAND_DISPLAY=wayland-1", "grim", path)


class OldKde(Kde):
    environment = Kde.environment | {"KDE_SESSION_VERSION": "5"}
    lacks = {"terminal": "foot 1.13 divides by zero on a screen without a size in millimetres",
             "modifier_still_down": "KWin 5.27 tells nobody whether a modifier is down",
             "modifier_still_down_x11": "KWin 5.27 tells nobody whether a modifier is down"}


class Sway(Desktop):
    environment = {"XDG_CURRENT_DESKTOP": "sway", "WAYLAND_DISPLAY": "wayland-1"}
    has_bindings = True

    def start(self):
        os.environ["SWAYSOCK"] = str(RUNTIME / "sway")
        config = CONFIG / "sway.conf"
        config.write_text("output HEADLESS-1 resolution 1280x800\nseat seat0 fallback true\ndefault_border none\n")
        self.run_wlroots("sway", "-c", config, socket="wayland-1")

    def bind(self, repeats):
        for options, command in ("" if repeats else "--no-repeat", "press"), ("--release", "release"):
            desk.run("swaymsg", f"bindsym {options} Mod1+space exec tavrik {command}")


class Labwc(Desktop):
    # Sooner it would be the key repeating.
    rest = 0.9
    environment = {"XDG_CURRENT_DESKTOP": "labwc:wlroots", "WAYLAND_DISPLAY": "wayland-0"}

    def start(self):
        (CONFIG / "labwc").mkdir()
        (CONFIG / "labwc/rc.xml").write_text(
            '<labwc_config><keyboard><keybind key="A-space"><action name="Execute" command="tavrik toggle"/></keybind>'
            '</keyboard></labwc_config>')
        self.run_wlroots("labwc", socket="wayland-0")

    @contextlib.contextmanager
    def dictating(self, modifier_first, pauses):
        """One press begins, another one ends it."""
        order = 1 if modifier_first else -1
        with self.held(*self.hot_key, order=order):
            pass
        yield
        with self.held(*self.hot_key, order=order, pauses=pauses):
            pass


ALL = {"gnome": Gnome, "kde": Kde, "kde-5.27": OldKde, "sway": Sway, "labwc": Labwc}
