"""Whole dictations with the installed program: real keys, a real voice, a real editor.

usage: test_dictation.py TAVRIK TAVRIK-BACKEND PORT
"""

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
        self.arrives("Offline mock server")
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
        self.arrives("Offline mock server")
        self.assertEqual(self.dictations(), requests + 1)
        desk.wait_for("the record", lambda: len(self.tavrik.history()) == before + 1)


desk.main()
