"""Accounts with the installed program: the browser's callback, the keyring, the backend.

usage: test_accounts.py TAVRIK TAVRIK-MOCK-SERVER PORT PUBLIC-KEY Keyring|NoKeyring [THE MOCK SERVER'S OPTIONS...]
"""

import json
import subprocess
import sys
import time
import urllib.request

import desk

PUBLIC_KEY, CASES, *OPTIONS = sys.argv[4:]
REFERENCE_DATE = 978307200
OWN_KEY = [(desk.CHAT, "Bearer sk-mine")]


def callback(session):
    return "tavrik://auth-callback#access_token={access_token}&expires_in={expires_in}" \
        "&refresh_token={refresh_token}&token_type=bearer".format(**session)


class Accounts(desk.Suite):
    def open(self, *options):
        """The mock server with these options, and somebody's session there."""
        super().open(*OPTIONS, *options)
        self.session = self.ask("auth/v1/signup", email="someone@example.org", password="correct horse")

    def ask(self, path, **body):
        request = urllib.request.Request(f"{self.backend.url}/{path}", data=json.dumps(body).encode(),
                                         headers={"apikey": PUBLIC_KEY, "Content-Type": "application/json"})
        with desk.opener.open(request) as reply:
            return json.load(reply)

    def forward(self, *arguments):
        subprocess.run([self.program, *arguments], check=True, timeout=10)
        # It takes the focus, later.
        desk.wait_for("the window in front", lambda: desk.front() == "Tavrik")

    def dictated(self):
        """Where one dictation went, and as whom."""
        return [(request["path"], request["headers"]["authorization"]) for request in self.dictate()]


class Keyring(Accounts):
    def setUp(self):
        desk.forget_session()

    def refreshed_from(self, token):
        return desk.wait_for("a new session in the keyring", lambda: (
            (kept := desk.kept_session()) and kept["refreshToken"] != token and kept))

    def test_the_browsers_callback_signs_in_for_good(self):
        self.open()
        program = self.launch()
        self.forward(callback(self.session))
        kept = desk.wait_for("the session in the keyring", desk.kept_session)
        self.assertEqual(kept.pop("email"), "someone@example.org")
        self.assertAlmostEqual(kept.pop("expiresAt"), time.time() - REFERENCE_DATE + 3600, delta=60)
        self.assertEqual(kept, {"accessToken": self.session["access_token"],
                                "refreshToken": self.session["refresh_token"]})
        self.assertEqual(desk.run("secret-tool", "search", "--all", *desk.SLOT).count("[/"), 1)

        bearer = f"Bearer {self.session['access_token']}"
        request, = self.dictate()
        self.assertEqual((request["path"], request["headers"]["authorization"], request["headers"]["apikey"]),
                         (desk.TRANSLATE, bearer, PUBLIC_KEY))

        # Nothing of this is a sign-in, and the session stays.
        for url in ("tavrik://auth-callback#error=access_denied", "tavrik://auth-callback?access_token=a", "mailto:a@b"):
            self.forward(url)
        program.stop()
        self.launch()
        self.assertEqual(self.dictated(), [(desk.TRANSLATE, bearer)])

    def test_a_stale_token_is_refreshed_and_a_refusal_ends_the_session(self):
        self.open("--token-lifetime", "30")
        program = self.launch(callback(self.session))
        desk.wait_for("the session in the keyring", desk.kept_session)

        refresh, translate = self.dictate()
        self.assertEqual((refresh["path"], refresh["query"]), ("/auth/v1/token", "grant_type=refresh_token"))
        self.assertNotIn("authorization", refresh["headers"])
        kept = self.refreshed_from(self.session["refresh_token"])
        self.assertEqual(translate["headers"]["authorization"], f"Bearer {kept['accessToken']}")
        self.assertEqual(kept["email"], "someone@example.org")

        # Somebody else uses the refresh token up.
        self.ask("auth/v1/token?grant_type=refresh_token", refresh_token=kept["refreshToken"])
        self.speak()
        alert = desk.Alert(program)
        self.assertIn("Your session expired — please sign in again.", alert.texts())
        self.assertIsNone(desk.kept_session())
        alert.dismiss()
        self.assertEqual(self.dictated(), OWN_KEY)

    def test_two_launches_at_once_leave_one_program(self):
        self.open()
        for _ in range(5):
            first, second = self.enterContext(desk.Process(self.program)), self.enterContext(
                desk.Process(self.program, callback(self.session)))
            desk.wait_for("one of the two to leave", lambda: first.process.poll() is not None or
                          second.process.poll() is not None)
            left, stayed = (first, second) if first.process.poll() is not None else (second, first)
            self.assertEqual(left.process.returncode, 0)
            desk.wait_for("the session in the keyring", desk.kept_session)
            self.assertIsNone(stayed.process.poll())
            stayed.stop()
            desk.forget_session()


class NoKeyring(Accounts):
    def test_a_session_lasts_as_long_as_the_program(self):
        self.open()
        program = self.launch()
        self.assertEqual(self.dictated(), OWN_KEY)
        self.forward(callback(self.session))
        desk.wait_for("the question who it is", lambda: self.backend.requests("/auth/v1/user"))
        self.assertEqual(self.dictated(), [(desk.TRANSLATE, f"Bearer {self.session['access_token']}")])
        program.stop()
        self.launch()
        self.assertEqual(self.dictated(), OWN_KEY)


desk.main(CASES)
