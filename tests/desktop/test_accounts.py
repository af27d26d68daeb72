"""Accounts with the installed program: the browser's callback, the keyring, the backend.

usage: test_accounts.py TAVRIK TAVRIK-BACKEND PORT PUBLIC-KEY Keyring|NoKeyring [THE BACKEND'S OPTIONS...]
"""

import json
import subprocess
import sys
import time
import unittest
import urllib.request

import desk

PROGRAM, BACKEND, PORT, PUBLIC_KEY, CASES, *OPTIONS = sys.argv[1:]
SLOT = ("service", "io.nordvex.tavrik", "account", "supabase-session")
REFERENCE_DATE = 978307200
TRANSLATE = "/functions/v1/translate"
COMPLETIONS = "/api/v1/chat/completions"


def kept_session():
    """What the keyring holds for the program."""
    found = subprocess.run(["secret-tool", "lookup", *SLOT], text=True, capture_output=True)
    return json.loads(found.stdout) if found.returncode == 0 else None


def forget_session():
    subprocess.run(["secret-tool", "clear", *SLOT])
    assert kept_session() is None


def callback(session):
    return "tavrik://auth-callback#access_token={access_token}&expires_in={expires_in}" \
        "&refresh_token={refresh_token}&token_type=bearer".format(**session)


class Desk(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.sentence = desk.voice("سلام، امروز هوا خیلی خوب است")
        desk.set_preference(PROGRAM, "openrouter_api_key", "sk-mine")

    def open(self, *options):
        """The mock server with these options, and somebody's session there."""
        self.backend = self.enterContext(desk.Backend(BACKEND, PORT, *OPTIONS, *options))
        self.editor = self.enterContext(desk.Editor())
        self.session = self.ask("auth/v1/signup", email="someone@example.org", password="correct horse")

    def launch(self, *arguments):
        return self.enterContext(desk.Tavrik(PROGRAM, *arguments))

    def ask(self, path, **body):
        request = urllib.request.Request(f"{self.backend.url}/{path}", data=json.dumps(body).encode(),
                                         headers={"apikey": PUBLIC_KEY, "Content-Type": "application/json"})
        with urllib.request.urlopen(request) as reply:
            return json.load(reply)

    def forward(self, *arguments):
        subprocess.run([PROGRAM, *arguments], check=True, timeout=10)
        # It takes the focus, later.
        desk.wait_for("the window in front", lambda: desk.front() == "Tavrik")

    def email_is_asked_for(self):
        desk.wait_for("the question who it is", lambda: any(
            request["path"] == "/auth/v1/user" for request in self.backend.requests()))

    def dictation(self, text="Offline mock server"):
        """The requests that one dictation makes."""
        before = len(self.backend.requests())
        pasted = self.editor.text().count(text)
        self.editor.focus()
        with desk.held(*desk.SHORTCUT):
            desk.speak(self.sentence)
        desk.wait_for(f"{text!r} in the editor", lambda: self.editor.text().count(text) == pasted + 1)
        # The check for updates may fall into it.
        return [request for request in self.backend.requests()[before:] if request["method"] == "POST"]


class Keyring(Desk):
    def setUp(self):
        forget_session()

    def refreshed_from(self, token):
        return desk.wait_for("a new session in the keyring", lambda: (
            (kept := kept_session()) and kept["refreshToken"] != token and kept))

    def test_the_browsers_callback_signs_in_for_good(self):
        self.open()
        program = self.launch()
        self.forward(callback(self.session))
        kept = desk.wait_for("the session in the keyring", kept_session)
        self.assertEqual(kept.pop("email"), "someone@example.org")
        self.assertAlmostEqual(kept.pop("expiresAt"), time.time() - REFERENCE_DATE + 3600, delta=60)
        self.assertEqual(kept, {"accessToken": self.session["access_token"],
                                "refreshToken": self.session["refresh_token"]})
        self.assertEqual(desk.run("secret-tool", "search", "--all", *SLOT).count("[/"), 1)

        bearer = f"Bearer {self.session['access_token']}"
        for request in self.dictation():
            self.assertEqual((request["path"], request["headers"]["Authorization"], request["headers"]["apikey"]),
                             (TRANSLATE, bearer, PUBLIC_KEY))

        # Nothing of this is a sign-in, and the session stays.
        for url in ("tavrik://auth-callback#error=access_denied", "tavrik://auth-callback?access_token=a", "mailto:a@b"):
            self.forward(url)
        program.stop()
        program = self.launch()
        requests = self.dictation()
        self.assertEqual([(request["path"], request["headers"]["Authorization"]) for request in requests],
                         [(TRANSLATE, bearer)])

    def test_a_stale_token_is_refreshed_and_a_refusal_ends_the_session(self):
        self.open("--token-lifetime", "30")
        program = self.launch()
        self.forward(callback(self.session))
        desk.wait_for("the session in the keyring", kept_session)

        refresh, translate = self.dictation()
        self.assertEqual((refresh["path"], refresh["query"]), ("/auth/v1/token", "grant_type=refresh_token"))
        self.assertNotIn("Authorization", refresh["headers"])
        kept = self.refreshed_from(self.session["refresh_token"])
        self.assertEqual(translate["headers"]["Authorization"], f"Bearer {kept['accessToken']}")
        self.assertEqual(kept["email"], "someone@example.org")

        # Somebody else uses the refresh token up.
        self.ask("auth/v1/token?grant_type=refresh_token", refresh_token=kept["refreshToken"])
        self.editor.focus()
        with desk.held(*desk.SHORTCUT):
            desk.speak(self.sentence)
        alert = desk.Alert(program)
        self.assertIn("Your session expired — please sign in again.", alert.texts())
        self.assertIsNone(kept_session())
        alert.dismiss()
        self.assertEqual([request["path"] for request in self.dictation()], [COMPLETIONS])

    def test_a_callback_starts_the_program(self):
        self.open()
        self.launch(callback(self.session))
        kept = desk.wait_for("the session in the keyring", kept_session)
        self.assertEqual(kept["accessToken"], self.session["access_token"])
        self.assertEqual([request["path"] for request in self.dictation()], [TRANSLATE])

    def test_two_launches_at_once_leave_one_program(self):
        self.open()
        for _ in range(5):
            first, second = self.enterContext(desk.Process(PROGRAM)), self.enterContext(
                desk.Process(PROGRAM, callback(self.session)))
            desk.wait_for("one of the two to leave", lambda: first.process.poll() is not None or
                          second.process.poll() is not None)
            left, stayed = (first, second) if first.process.poll() is not None else (second, first)
            self.assertEqual(left.process.returncode, 0)
            desk.wait_for("the session in the keyring", kept_session)
            self.assertIsNone(stayed.process.poll())
            stayed.stop()
            forget_session()


class NoKeyring(Desk):
    def test_a_session_lasts_as_long_as_the_program(self):
        self.open()
        program = self.launch()
        self.assertEqual([request["path"] for request in self.dictation()], [COMPLETIONS])
        self.forward(callback(self.session))
        self.email_is_asked_for()
        self.assertEqual([request["path"] for request in self.dictation()], [TRANSLATE])
        program.stop()
        self.launch()
        self.assertEqual([request["path"] for request in self.dictation()], [COMPLETIONS])


desk.main(CASES)
