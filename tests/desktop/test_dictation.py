"""Whole dictations with the installed program: real keys, a real voice, a real editor.

usage: test_dictation.py TAVRIK TAVRIK-BACKEND PORT
"""

import pathlib
import subprocess
import sys
import unittest

import desk

PROGRAM, BACKEND, PORT = sys.argv[1:4]
CHAT = "/api/v1/chat/completions"


class Dictation(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.sentence = desk.voice("سلام، امروز هوا خیلی خوب است و ما به پارک می‌رویم")
        desk.set_preference(PROGRAM, "openrouter_api_key", "sk-rehearsal")

    def setUp(self):
        self.backend = self.enterContext(desk.Backend(BACKEND, PORT))
        self.editor = self.enterContext(desk.Editor())
        self.tavrik = self.enterContext(desk.Tavrik(PROGRAM))

    def tearDown(self):
        self.assertEqual(self.tavrik.takes(), [], "a recording was left behind")

    def dictate(self):
        with desk.held(*desk.SHORTCUT):
            desk.speak(self.sentence)

    def dictations(self):
        """How many the service was asked for; it is also asked for releases."""
        return sum(request["path"] == CHAT for request in self.backend.requests())

    def arrives(self, text):
        desk.wait_for(f"{text!r} in the editor", lambda: text in self.editor.text())

    def test_speech_becomes_text_in_the_editor(self):
        before = len(self.tavrik.history())
        self.dictate()
        self.arrives("Offline stand-in")
        text = self.editor.text()
        self.assertRegex(text, r"[2-9]\.\d seconds")
        self.assertIn("English", text)
        self.assertTrue(self.editor.has_focus())
        self.assertFalse(text.startswith(" "), "the hot key typed a space")
        self.assertEqual(desk.run("xclip", "-o", "-selection", "clipboard"), text)
        history = desk.wait_for("the record", lambda: self.tavrik.history()[before:] and self.tavrik.history())
        self.assertEqual(history[0]["text"], text)
        self.assertGreater(history[0]["duration"], 2)

        self.backend.script({"path": CHAT, "status": 200, "body": '{"choices":[{"message":{"content":" Second. "}}]}'})
        self.dictate()
        self.arrives("Second.")
        desk.wait_for("the second record", lambda: len(self.tavrik.history()) == before + 2)
        self.assertEqual(self.tavrik.history()[0]["text"], "Second.")

    def test_a_failure_is_told_and_the_next_dictation_works(self):
        self.backend.script({"path": CHAT, "status": 429, "body": '{"error":{"message":"<b>Slow</b> down"}}'})
        before = len(self.tavrik.history())
        self.dictate()
        alert = desk.Alert(self.tavrik)
        self.assertIn("<b>Slow</b> down", alert.texts())
        # While it is open nothing starts; what was pressed then is delivered afterwards, too short to count.
        requests = self.dictations()
        self.dictate()
        self.assertEqual(self.tavrik.takes(), [])
        alert.dismiss()
        self.editor.focus()
        self.dictate()
        self.arrives("Offline stand-in")
        self.assertEqual(self.dictations(), requests + 1)
        desk.wait_for("the record", lambda: len(self.tavrik.history()) == before + 1)

    def test_a_tap_vanishes(self):
        with desk.held(*desk.SHORTCUT):
            pass
        self.dictate()
        self.arrives("Offline stand-in")
        self.assertEqual(self.dictations(), 1)

    def test_a_history_that_cannot_be_read_is_kept_aside(self):
        self.tavrik.stop()
        folder = pathlib.Path(desk.os.environ["XDG_DATA_HOME"], "Tavrik")
        folder.mkdir(mode=0o700, exist_ok=True)
        file = folder / "history.json"
        whole = file.read_text() if file.exists() else None
        file.write_text('[{"text": "lost?"}]')
        try:
            self.tavrik = self.enterContext(desk.Tavrik(PROGRAM))
            self.dictate()
            self.arrives("Offline stand-in")
            desk.wait_for("the new history", lambda: "duration" in file.read_text())
            self.assertEqual(len(self.tavrik.history()), 1)
            kept = [path for path in folder.iterdir() if path != file]
            self.assertEqual([path.read_text() for path in kept], ['[{"text": "lost?"}]'])
            self.assertEqual(kept[0].stat().st_mode & 0o777, 0o600)
        finally:
            for path in folder.iterdir():
                path.unlink()
            if whole is not None:
                file.write_text(whole)

    def test_a_second_launch_leaves_to_the_first(self):
        self.assertEqual(subprocess.run([PROGRAM], timeout=5).returncode, 0)
        self.assertIsNone(self.tavrik.process.poll())


if __name__ == "__main__":
    result = unittest.main(argv=sys.argv[:1], exit=False, verbosity=2).result
    failed = len(result.failures) + len(result.errors)
    print(f"Totals: {result.testsRun - failed} passed, {failed} failed, {len(result.skipped)} skipped")
    sys.exit(1 if failed or not result.testsRun else 0)
