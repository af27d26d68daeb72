"""The check for updates, asked for in the status menu of the installed program and made by itself.

usage: test_updates.py TAVRIK TAVRIK-MOCK-SERVER PORT
"""

import json
import os
import pathlib
import sys
import tempfile
import time

import desk

VERSION = desk.run(sys.argv[1], "--version").split()[1]
MANIFEST = "/storage/v1/object/public/releases/version.json"
PAGE = "https://example.org/tavrik?from=update&a=b"
NEWER = {"version": "99.1", "url": PAGE}
NOTES = "<b>Faster</b>\nand smaller"

UP_TO_DATE = ["You're up to date", f"Tavrik {VERSION} is the latest version."]
FAILED = ["Could not check for updates", "Check your internet connection and try again."]
AVAILABLE = ["Tavrik 99.1 is available",
             f"You have {VERSION}. Download the new version, then replace the app and reopen it."]
WITH_NOTES = [AVAILABLE[0], f"{AVAILABLE[1]}\n\nWhat's new:\n{NOTES}"]


class Updates(desk.Suite):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
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
        self.open("--data", str(self.folder))
        self.launch()

    def announce(self, manifest):
        (self.folder / "releases" / "version.json").write_text(json.dumps(manifest))

    def ask(self):
        self.tavrik.choose(desk.CHECK_FOR_UPDATES)

    def tells(self, expected):
        alert = desk.Alert(self.tavrik)
        self.assertEqual([text for text in alert.texts() if text], expected)
        return alert

    def answer(self, key):
        desk.wait_for("the alert to be in front", lambda: desk.front() == "Tavrik")
        time.sleep(0.6)  # before that it takes keys for those of somebody who types
        desk.run("xdotool", "key", key)
        desk.wait_for("the alert to close", lambda: not self.tavrik.alerts())

    def does_not_interrupt(self, alert):
        """The keys still go where the user writes; a Return would have closed the alert."""
        before = self.editor.text()
        desk.run("xdotool", "key", "Return", "y")
        desk.wait_for("the keys in the editor", lambda: self.editor.text() == before + "\ny")
        alert.dismiss()

    def test_asked_for(self):
        self.start({"version": VERSION, "url": PAGE})
        desk.wait_for("the program's own check", lambda: self.backend.requests(MANIFEST))
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
        """While the user dictates: the alert waits for the text, and is not answered by keys meant for the editor."""
        self.start(NEWER)
        with desk.held(*desk.SHORTCUT):
            check, = desk.wait_for("the check", lambda: self.backend.requests(MANIFEST))
            desk.speak(self.sentence)
            self.assertEqual(self.tavrik.alerts(), [])
        self.assertIn("no-cache", check["headers"]["cache-control"])
        desk.wait_for("the text", lambda: "Offline mock server" in self.editor.text())
        self.tells(AVAILABLE)
        desk.wait_for("the alert to be in front", lambda: desk.front() == "Tavrik")
        for _ in range(3):
            desk.run("xdotool", "key", "Return")
            time.sleep(0.3)
        self.tells(AVAILABLE)
        self.answer("Escape")
        self.assertEqual(self.visited.read_text(), "")

    def test_unasked_in_vain(self):
        self.start({"version": "99.1"})
        desk.wait_for("the check", lambda: self.backend.requests(MANIFEST))
        # The next alert is that of the check that is asked for.
        self.announce({"version": VERSION, "url": PAGE})
        self.ask()
        self.tells(UP_TO_DATE).dismiss()
        self.assertEqual(len(self.backend.requests(MANIFEST)), 2)


desk.main()
