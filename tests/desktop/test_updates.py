"""The check for updates, asked for in the status menu of the installed program and made by itself.

usage: test_updates.py TAVRIK TAVRIK-BACKEND PORT
"""

import json
import os
import pathlib
import sys
import tempfile
import unittest

import desk

PROGRAM, BACKEND, PORT = sys.argv[1:4]
VERSION = desk.run(PROGRAM, "--version").split()[1]
MANIFEST = "/storage/v1/object/public/releases/version.json"
PAGE = "https://example.org/tavrik?from=update&a=b"
NEWER = {"version": "99.1", "url": PAGE}
NOTES = "<b>Faster</b>\nand smaller"

UP_TO_DATE = ["You're up to date", f"Tavrik {VERSION} is the latest version."]
FAILED = ["Could not check for updates", "Check your internet connection and try again."]
AVAILABLE = ["Tavrik 99.1 is available",
             f"You have {VERSION}. Download the new version, then replace the app and reopen it."]
WITH_NOTES = [AVAILABLE[0], f"{AVAILABLE[1]}\n\nWhat's new:\n{NOTES}"]


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
        return [request for request in self.backend.requests() if request["path"] == MANIFEST]

    def windows(self):
        return desk.windows("--pid", self.tavrik.process.pid)

    def ask(self):
        """Check for Updates…, in the status menu."""
        icon, = desk.wait_for("the icon alone", lambda: len(found := self.windows()) == 1 and found)
        desk.run("xdotool", "mousemove", "--window", icon, "8", "8", "click", "3")
        desk.wait_for("the menu", lambda: len(self.windows()) == 2)
        # Away from the icon, so that no tooltip comes up.
        desk.run("xdotool", "mousemove", "300", "700", "key", "Up", "Up")
        desk.run("xdotool", "key", "Return")

    def tells(self, expected):
        alert = desk.Alert(self.tavrik)
        self.assertEqual([text for text in alert.texts() if text], expected)
        return alert

    def answer(self, key):
        desk.wait_for("the alert to be in front", lambda: desk.front() == "Tavrik")
        desk.run("xdotool", "key", key)
        desk.wait_for("the alert to close", lambda: len(self.windows()) == 1)

    def does_not_interrupt(self, alert):
        """The keys still go where the user writes; a Return would have closed the alert."""
        before = self.editor.text()
        desk.run("xdotool", "key", "Return", "y")
        desk.wait_for("the keys in the editor", lambda: self.editor.text() == before + "\ny")
        alert.dismiss()

    def test_asked_for(self):
        self.editor = self.enterContext(desk.Editor())
        self.start({"version": VERSION, "url": PAGE})
        desk.wait_for("the program's own check", lambda: len(self.checks()) == 1)
        self.ask()
        self.does_not_interrupt(self.tells(UP_TO_DATE))

        self.announce({"version": "99.1"})
        self.ask()
        self.does_not_interrupt(self.tells(FAILED))

        self.announce(NEWER | {"notes": NOTES})
        self.ask()
        self.tells(WITH_NOTES)
        self.answer("Escape")
        self.assertEqual(self.visited.read_text(), "")
        self.ask()
        self.tells(WITH_NOTES)
        self.answer("Return")
        self.assertEqual(desk.wait_for("the browser", self.visited.read_text), f"{PAGE}\n")

        self.backend.stop()
        self.ask()
        self.tells(FAILED).dismiss()

    def test_unasked(self):
        self.start(NEWER)
        self.tells(AVAILABLE)
        check, = self.checks()
        self.assertIn("no-cache", check["headers"]["Cache-Control"])
        self.answer("Escape")

    def test_unasked_in_vain(self):
        self.start({"version": "99.1"})
        desk.wait_for("the check", lambda: len(self.checks()) == 1)
        # The next alert is that of the check that is asked for.
        self.announce({"version": VERSION, "url": PAGE})
        self.ask()
        self.tells(UP_TO_DATE).dismiss()
        self.assertEqual(len(self.checks()), 2)


desk.main()
