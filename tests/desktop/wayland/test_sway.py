"""What test_wayland.py tests, and the commands and portals of a desktop whose shortcuts users bind themselves.

usage: test_sway.py TAVRIK TAVRIK-MOCK-SERVER PORT sway FOLDER-FOR-PICTURES [TEST...]
"""

import contextlib
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import time
import unittest.mock

import desk
import desktops
import test_wayland

F5 = 63
REFUSED = "The desktop was not allowed to assign this shortcut."


class Portal(desk.Process):
    NAME, PATH = "org.freedesktop.portal.Desktop", "/org/freedesktop/portal/desktop"

    def __init__(self, answer):
        super().__init__(sys.executable, pathlib.Path(__file__).with_name("portal.py"), answer, log=desktops.LOGS / "portal")
        desk.wait_for("the portal", lambda: desktops.dbus.SessionBus().name_has_owner(self.NAME))

    @contextlib.contextmanager
    def held(self):
        press = desktops.bus_object(self.NAME, self.PATH, "io.nordvex.tavrik.TestPortal").Press
        press(True)
        try:
            yield
        finally:
            press(False)


class Sway(test_wayland.Wayland):
    @contextlib.contextmanager
    def dictation(self, *holds):
        """Somebody speaks into an editor while the block runs. What `holds` names is held at its beginning and at its end."""
        self.backend.script(
            {"path": "/functions/v1/translate", "status": 200, "body": '{"text": "Good morning."}'},
            {"path": desk.CHAT, "status": 200, "body": '{"choices": [{"message": {"content": "Good morning."}}]}'})
        with test_wayland.WINDOWS["wayland"]() as window:
            begin, end = holds
            begin()
            desk.wait_for("the panel", self.tavrik.panel)
            desk.speak(self.sentence)
            yield
            end()
            desk.wait_for("the text", lambda: window.text() == "Good morning.")
            desk.wait_for("the panel to go", lambda: not self.tavrik.panel())
            self.assertFalse(window.lost_focus())

    def hold(self, seconds=0.1, then=()):
        with self.desktop.held(*self.desktop.hot_key):
            time.sleep(seconds)
            for key in then:
                with self.desktop.held(key):
                    pass

    def sees(self, text):
        return desk.find(desk.objects_of(self.tavrik), lambda item: item.get_name() == text)

    def test_lost_release(self):
        """sway forgets the release when another key goes down meanwhile; the next press is taken for it."""
        self.desktop.bind(False)
        self.launch()
        with self.dictation(lambda: self.hold(then=[F5]), self.hold):
            self.assertTrue(self.tavrik.panel())

    def test_toggle(self):
        """Its binding repeats; the first hold does not end what it has begun, the second begins nothing new."""
        desk.run("swaymsg", "bindsym Mod1+space exec tavrik toggle; bindsym --release Mod1+space nop")
        self.launch()
        with self.dictation(lambda: self.hold(2), lambda: self.hold(2)):
            self.assertTrue(self.tavrik.panel())
            self.assertTrue(self.sees("Press again to finish"))
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
        with self.desktop.held(*self.desktop.hot_key), self.dictation(lambda: None, lambda: self.desktop.keyboard.press(
                desktops.SPACE, False)):
            pass

    def test_without_a_program(self):
        for command in "press", "release", "toggle":
            done = subprocess.run([self.program, command], capture_output=True, text=True)
            self.assertEqual((done.returncode, done.stderr), (1, "tavrik: Tavrik is not running.\n"))

    def test_portal(self):
        """The user refuses, changes their mind in the settings, and the portal is started again later."""
        self.sign_in()
        with tempfile.TemporaryDirectory() as data, unittest.mock.patch.dict(os.environ, XDG_DATA_HOME=data):
            with Portal("refuse"):
                self.start()
                desk.wait_for("the refusal", lambda: REFUSED in self.tavrik.report())
            with Portal("grant") as portal:
                # Not asked by itself.
                time.sleep(2)
                self.assertNotIn("hot key", self.tavrik.working())
                self.press("Ask Again")
                desk.wait_for("the shortcut", lambda: "hot key" in self.tavrik.working())
                self.assertTrue(self.sees("Assigned by your desktop: Press <Alt>space"))
                self.dictate_by(portal)
            with Portal("grant") as portal:
                desk.wait_for("the shortcut", lambda: "hot key" in self.tavrik.working())
                self.dictate_by(portal)

    def dictate_by(self, portal):
        with contextlib.ExitStack() as held, self.dictation(lambda: held.enter_context(portal.held()), held.close):
            pass


if __name__ == "__main__":
    try:
        desk.main(*sys.argv[6:])
    finally:
        shutil.copytree(desktops.LOGS, test_wayland.PICTURES / "log", dirs_exist_ok=True)
