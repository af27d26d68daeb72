"""The check for updates, asked for in the status menu of the installed program and made by itself.

usage: test_updates.py TAVRIK TAVRIK-BACKEND PORT [FOLDER-FOR-SCREENSHOTS]
"""

import json
import os
import pathlib
import sys
import tempfile
import unittest

import desk
from desk import Atspi

PROGRAM, BACKEND, PORT = sys.argv[1:4]
pictures = pathlib.Path(sys.argv[4]) if len(sys.argv) > 4 else None
VERSION = desk.run(PROGRAM, "--version").split()[1]
MANIFEST = "/storage/v1/object/public/releases/version.json"
PAGE = "https://example.org/tavrik?from=update&a=b"
NEWER = {"version": "99.1", "url": PAGE, "notes": "<b>Faster</b>\nand smaller"}

UP_TO_DATE = ["You're up to date", f"Tavrik {VERSION} is the latest version."]
FAILED = ["Could not check for updates", "Check your internet connection and try again."]
AVAILABLE = ["Tavrik 99.1 is available", f"You have {VERSION}. Download the new version, then replace the app and "
             "reopen it.\n\nWhat's new:\n<b>Faster</b>\nand smaller"]


def click(accessible, button="1"):
    place = Atspi.Component.get_extents(accessible, Atspi.CoordType.SCREEN)
    desk.run("xdotool", "mousemove", str(place.x + place.width // 2), str(place.y + place.height // 2), "click", button)


class Updates(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        desk.set_preference(PROGRAM, "openrouter_api_key", "sk-mine")
        cls.folder = pathlib.Path(tempfile.mkdtemp())
        # The browser: it notes where it is led.
        cls.visited = cls.folder / "visited"
        browser = cls.folder / "xdg-open"
        browser.write_text(f'#!/bin/sh\nprintf "%s\\n" "$@" >>{cls.visited}\n')
        browser.chmod(0o755)
        os.environ["PATH"] = f"{cls.folder}:{os.environ['PATH']}"

    def start(self, manifest):
        (self.folder / "releases").mkdir(exist_ok=True)
        self.announce(manifest)
        self.visited.write_text("")
        self.backend = self.enterContext(desk.Backend(BACKEND, PORT, "--data", str(self.folder)))
        self.tavrik = self.enterContext(desk.Tavrik(PROGRAM))

    def announce(self, manifest):
        (self.folder / "releases" / "version.json").write_text(json.dumps(manifest))

    def checks(self):
        return sum(request["path"] == MANIFEST for request in self.backend.requests())

    def found(self, role, name):
        """What shows under this name in the program."""
        desktop = Atspi.get_desktop(0)
        for index in range(desktop.get_child_count()):
            application = desktop.get_child_at_index(index)
            if application is None or application.get_process_id() != self.tavrik.process.pid:
                continue
            for item in desk.descendants(application):
                if item.get_role() == role and item.get_name() == name and \
                        item.get_state_set().contains(Atspi.StateType.SHOWING):
                    return item
        return None

    @staticmethod
    def windows():
        return desk.run("sh", "-c", "xdotool search --onlyvisible --class '^tavrik$' || true").split()

    def ask(self):
        """Check for Updates…, in the status menu."""
        icon, = desk.wait_for("the icon alone in the tray", lambda: len(found := self.windows()) == 1 and found)
        desk.run("xdotool", "mousemove", "--window", icon, "8", "8", "click", "3")
        desk.wait_for("the menu", lambda: len(self.windows()) == 2)
        desk.run("xdotool", "key", "Up", "Up")
        if pictures:
            desk.screenshot(pictures / "update-menu.png")
        desk.run("xdotool", "key", "Return")

    def tells(self, expected, picture="alert"):
        alert = desk.Alert(self.tavrik)
        self.assertEqual([text for text in alert.texts() if text], expected)
        if pictures:
            desk.screenshot(pictures / f"update-{picture}.png")
        return alert

    def answer(self, button):
        click(desk.wait_for(button, lambda: self.found(Atspi.Role.PUSH_BUTTON, button)))
        desk.wait_for("the alert to close", lambda: not self.found(Atspi.Role.PUSH_BUTTON, button))

    def test_asked_for(self):
        self.start({"version": VERSION, "url": PAGE})
        desk.wait_for("the program's own check", lambda: self.checks() == 1)
        self.ask()
        self.tells(UP_TO_DATE, "up-to-date").dismiss()

        self.announce({"version": "99.1"})
        self.ask()
        self.tells(FAILED, "failed").dismiss()

        self.announce(NEWER)
        self.ask()
        self.tells(AVAILABLE, "available")
        self.answer("Later")
        self.assertEqual(self.visited.read_text(), "")
        self.ask()
        self.tells(AVAILABLE)
        self.answer("Download")
        self.assertEqual(desk.wait_for("the browser", self.visited.read_text), f"{PAGE}\n")

        self.backend.stop()
        self.ask()
        self.tells(FAILED).dismiss()

    def test_unasked(self):
        self.start(NEWER)
        self.tells(AVAILABLE)
        self.assertEqual(self.checks(), 1)
        self.answer("Later")

    def test_unasked_in_vain(self):
        self.start({"version": "99.1"})
        desk.wait_for("the check", lambda: self.checks() == 1)
        # The next alert is that of the check that is asked for.
        self.announce({"version": VERSION, "url": PAGE})
        self.ask()
        self.tells(UP_TO_DATE).dismiss()
        self.assertEqual(self.checks(), 2)


if __name__ == "__main__":
    result = unittest.main(argv=sys.argv[:1], exit=False, verbosity=2).result
    failed = len(result.failures) + len(result.errors)
    print(f"Totals: {result.testsRun - failed} passed, {failed} failed, {len(result.skipped)} skipped")
    sys.exit(1 if failed or not result.testsRun else 0)
