"""What test_wayland.py tests, and the commands and portals of a desktop whose shortcuts users bind themselves.

usage: test_sway.py TAVRIK TAVRIK-MOCK-SERVER PORT sway FOLDER-FOR-PICTURES [TEST...]
"""

import contextlib
import json
import os
import pathlib
import re
import subprocess
import sys
import tempfile
import time
import unittest
import unittest.mock

import desk
import desktops
import test_wayland

F5 = 63
REFUSED = "The desktop was not allowed to assign this shortcut."


class Portal(desk.Process):
    NAME, PATH = "org.freedesktop.portal.Desktop", "/org/freedesktop/portal/desktop"
    GRANT, REFUSE = 0, 1

    def __init__(self, response):
        super().__init__(sys.executable, "-m", "dbusmock", "--session", "-t", pathlib.Path(__file__).with_name("portal.py"),
                         "-p", json.dumps({"response": response}), log=desktops.LOGS / "portal")
        desk.wait_for("the portal", lambda: desktops.dbus.SessionBus().name_has_owner(self.NAME))

    @contextlib.contextmanager
    def held(self):
        mock = desktops.bus_object(self.NAME, self.PATH, "org.freedesktop.DBus.Mock")
        session, ((name, _),), *_ = mock.GetMethodCalls("BindShortcuts")[-1][1]

        def send(signal):
            nothing = desktops.dbus.Dictionary({}, "sv")
            mock.EmitSignal("", signal, "osta{sv}", [session, name, desktops.dbus.UInt64(0), nothing])

        send("Activated")
        yield
        send("Deactivated")


class Sway(test_wayland.Wayland):
    def dictate_once(self, holding=None, meanwhile=lambda: None):
        with test_wayland.WINDOWS["wayland"]() as window:
            self.desktop.picture(test_wayland.PICTURES / "empty.png")
            self.dictate(test_wayland.Case(), window, 0, meanwhile, holding)
            desk.wait_for("the panel to go", lambda: not self.tavrik.panel())

    def hold(self, seconds, then=()):
        with self.desktop.held(*self.desktop.hot_key):
            time.sleep(seconds)
            for key in then:
                with self.desktop.held(key):
                    pass

    @contextlib.contextmanager
    def held_twice(self, seconds, then=()):
        """The first begins the dictation, and the second ends it, long before it ends itself."""
        self.hold(seconds, then)
        yield
        self.hold(2)

    def sees(self, text):
        return desk.find(desk.objects_of(self.tavrik), lambda item: item.get_name() == text)

    def test_lost_release(self):
        """sway forgets the release when another key goes down meanwhile; the next press is taken for it."""
        self.desktop.bind(False)
        self.launch()
        self.dictate_once(self.held_twice(0.1, [F5]))

    def test_toggle(self):
        """Its binding repeats; the first hold does not end what it has begun, the second begins nothing new."""
        desk.run("swaymsg", "bindsym Mod1+space exec tavrik toggle; bindsym --release Mod1+space nop")
        self.launch()
        self.dictate_once(self.held_twice(2), lambda: self.assertTrue(self.sees("Press again to finish")))
        time.sleep(1)
        self.assertFalse(self.tavrik.panel())

    def test_lines_of_the_settings(self):
        self.sign_in()
        self.launch()
        self.press("Copy")
        lines = desk.wait_for("the lines", lambda: [line for line in self.desktop.clipboard().splitlines() if "bindsym" in line])
        self.assertEqual(len(lines), 2)
        desk.run("swaymsg", "; ".join(lines))
        self.addCleanup(desk.run, "swaymsg", "; ".join(f"un{line.split(' exec ')[0]}" for line in lines))
        self.dictate_once()

    @unittest.skipIf(b"Version 22." in subprocess.run(["Xwayland", "-version"], capture_output=True).stderr,
                     "this XWayland does not name its screens as the compositor does")
    def test_typing_screen(self):
        self.desktop.bind(False)
        self.launch()
        desk.run("swaymsg", "create_output")
        self.addCleanup(desk.run, "swaymsg", "output HEADLESS-2 disable")
        desk.run("swaymsg", "output HEADLESS-1 position 0 0; output HEADLESS-2 resolution 1280x800 position 1280 0")
        seen = []

        def look():
            panel, = self.tavrik.panel()
            left = re.search(r"X=(\d+)", desk.run("xdotool", "getwindowgeometry", "--shell", panel))[1]
            seen.append("HEADLESS-1" if int(left) < 1280 else "HEADLESS-2")

        for screen in "HEADLESS-2", "HEADLESS-1":
            desk.run("swaymsg", "focus", "output", screen)
            self.dictate_once(meanwhile=look)
        self.assertEqual(seen, ["HEADLESS-2", "HEADLESS-1"])

    def test_without_a_program(self):
        for command in "press", "release", "toggle":
            done = subprocess.run([self.program, command], capture_output=True, text=True)
            self.assertEqual((done.returncode, done.stderr), (1, "tavrik: Tavrik is not running.\n"))

    def test_portal(self):
        """The user refuses, changes their mind in the settings, and the portal is started again later."""
        self.sign_in()
        with tempfile.TemporaryDirectory() as data, unittest.mock.patch.dict(os.environ, XDG_DATA_HOME=data):
            with Portal(Portal.REFUSE):
                self.start()
                desk.wait_for("the refusal", lambda: REFUSED in self.tavrik.report())
            with Portal(Portal.GRANT) as portal:
                # Not asked by itself.
                time.sleep(2)
                self.assertNotIn("hot key", self.tavrik.working())
                self.press("Ask Again")
                desk.wait_for("the shortcut", lambda: "hot key" in self.tavrik.working())
                self.assertTrue(self.sees("Assigned by your desktop: Press <Alt>space"))
                self.dictate_once(portal.held())
            with Portal(Portal.GRANT) as portal:
                desk.wait_for("the shortcut", lambda: "hot key" in self.tavrik.working())
                self.dictate_once(portal.held())


if __name__ == "__main__":
    test_wayland.main()
