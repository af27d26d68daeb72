"""A person's way through the main window of the installed program, with real clicks and keys.

usage: test_window.py TAVRIK TAVRIK-BACKEND PORT
"""

import html
import json
import os
import pathlib
import pwd
import re
import shutil
import subprocess
import sys
import unittest
import urllib.request

import desk

PROGRAM, BACKEND, PORT = sys.argv[1:4]
CONFIG, DATA = (pathlib.Path(os.environ[name]) for name in ("XDG_CONFIG_HOME", "XDG_DATA_HOME"))
HISTORY = DATA / "Tavrik" / "history.json"
AUTOSTART = CONFIG / "autostart" / "io.nordvex.tavrik.desktop"
NOTES = pathlib.Path(os.environ["HOME"])
SLOT = ("service", "io.nordvex.tavrik", "account", "supabase-session")
USER = pwd.getpwuid(os.getuid())
GREETING = "Welcome back, " + (USER.pw_gecos.split(",")[0] or USER.pw_name).split()[0]
DICTATE = "/api/v1/chat/completions"
EMAIL, PASSWORD = "sara@example.org", "correct horse"


def install_opener():
    """Makes the test's browser what opens pages and folders, and finds the installed program's own desktop file."""
    os.environ["XDG_DATA_DIRS"] = f"{pathlib.Path(PROGRAM).parents[1]}/share:/usr/local/share:/usr/share"
    browser = pathlib.Path(__file__).with_name("browser")
    (DATA / "applications").mkdir(exist_ok=True)
    (DATA / "applications" / "browser.desktop").write_text(
        f"[Desktop Entry]\nType=Application\nName=Browser\nExec={browser} {NOTES} %u\n")
    (CONFIG / "mimeapps.list").write_text(
        "[Default Applications]\nx-scheme-handler/http=browser.desktop\ninode/directory=browser.desktop\n"
        "x-scheme-handler/tavrik=io.nordvex.tavrik.desktop\n")


def opened():
    """What the browser was asked to open."""
    notes = NOTES / "opened"
    return notes.read_text().split() if notes.exists() else []


def preference(key):
    file = CONFIG / "Tavrik" / "preferences.json"
    return json.loads(file.read_text()).get(key) if file.exists() else None


class MainWindow(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.sentence = desk.voice("سلام، امروز هوا خیلی خوب است")
        install_opener()

    def setUp(self):
        subprocess.run(["secret-tool", "clear", *SLOT])
        for folder in (CONFIG / "Tavrik", DATA / "Tavrik", CONFIG / "autostart"):
            shutil.rmtree(folder, ignore_errors=True)

    def start(self, *options):
        """The program for the first time, and somewhere to write."""
        self.backend = self.enterContext(desk.Backend(BACKEND, PORT, *options))
        self.editor = self.enterContext(desk.Editor())
        self.tavrik = self.enterContext(desk.Tavrik(PROGRAM))
        self.window = desk.Window(self.tavrik)
        self.window.sees("Welcome to Tavrik")

    def sign_up(self):
        self.window.click("New here? Create an account")
        self.window.fill("Email", EMAIL)
        self.window.fill("Password", PASSWORD)
        self.window.click("Create account")

    def open_again(self):
        subprocess.run([PROGRAM], check=True, timeout=10)
        self.window = desk.Window(self.tavrik)

    def dictate(self, text, *shortcut):
        """Says something that comes out as `text`."""
        self.backend.script({"path": "/functions/v1/translate", "status": 200, "body": json.dumps({"text": text})})
        self.editor.focus()
        with desk.held(*(shortcut or desk.SHORTCUT)):
            desk.speak(self.sentence)
        desk.wait_for(f"{text!r} in the editor", lambda: text in self.editor.text())

    def dictations(self):
        return sum(request["path"].endswith("/translate") for request in self.backend.requests())

    def test_from_a_new_account_to_a_kept_history(self):
        self.start("--confirm-email")
        window = self.window
        window.fill("Email", EMAIL)
        window.fill("Password", "short")
        self.assertFalse(window.can_use("Sign in"))
        window.type("er")
        window.key("Return")
        window.sees("Invalid login credentials")

        self.sign_up()
        window.sees("Check your inbox and confirm your email, then sign in.", "Welcome to Tavrik")
        window.click("Sign in")
        window.sees("Email not confirmed")
        with urllib.request.urlopen(self.backend.url + "/mail") as mail:
            link = html.unescape(re.search(r'href="([^"]*)"', mail.read().decode())[1])
        urllib.request.urlopen(self.backend.url + link).close()
        window.key("Return")
        window.sees(GREETING, "0 total words")

        self.dictate("The bus leaves at nine.")
        self.dictate("Straße and مدرسه")
        window.activate()
        window.lists("Straße and مدرسه", "The bus leaves at nine.")
        window.sees("8 total words", "1 day")
        window.click("Search")
        window.type("STRASSE")
        window.lists("Straße and مدرسه")
        window.type("x")
        window.sees("No matches.")
        window.click("Close search")
        window.click("Copy", window.rows()[1])
        desk.wait_for("the copy", lambda: desk.run(
            "xclip", "-o", "-selection", "clipboard") == "The bus leaves at nine.")
        window.sees("Copied")
        window.misses("Copied")

        window.click("History")
        window.sees("Today")
        window.click("Search")
        window.type("bus")
        window.lists("The bus leaves at nine.")
        # Somebody tidies up under the running program: what it knows is written again.
        HISTORY.unlink()
        window.click("Delete", window.rows()[0], times=2)
        window.sees("No matches for “bus”.")
        desk.wait_for("the file", lambda: [record["text"] for record in self.tavrik.history()] == ["Straße and مدرسه"])
        window.key("Escape")
        window.lists("Straße and مدرسه")

        self.close()
        self.open_again()
        self.window.misses(GREETING)
        self.window.lists("Straße and مدرسه")
        self.tavrik.stop()
        self.tavrik = self.enterContext(desk.Tavrik(PROGRAM))
        self.open_again()
        self.window.sees(GREETING)
        self.window.lists("Straße and مدرسه")

    def close(self):
        """By the button in the window's frame."""
        frame = desk.run("xwininfo", "-id", self.window.id)
        x, y, width = (int(re.search(rf"{key}: *(\d+)", frame)[1]) for key in ("left X", "left Y", "Width"))
        desk.run("xdotool", "mousemove", str(x + width - 11), str(y - 11), "click", "1")
        desk.wait_for("the window to close", lambda: not desk.windows("--name", "^Tavrik$"))
        self.assertIsNone(self.tavrik.process.poll())

    def test_the_browser_signs_in(self):
        self.start()
        window = self.window
        (NOTES / "answer").write_text("cancel")
        window.click("Continue with Google")
        window.sees("The user denied access")
        (NOTES / "answer").write_text("continue")
        window.click("Continue with Google")
        window.sees(GREETING)
        window.click("Account")
        window.sees("somebody@example.com", "Sign out")
        desk.wait_for("the session", lambda: subprocess.run(["secret-tool", "lookup", *SLOT],
                                                            capture_output=True).returncode == 0)

    def test_cards_and_settings(self):
        self.start()
        window = self.window
        self.sign_up()
        window.sees(GREETING)

        window.click("Notifications")
        window.sees("Nothing here yet.")
        window.click("Account")
        window.sees(EMAIL)
        window.misses("Nothing here yet.")
        # Beside its controls: it stays open.
        window.click(EMAIL)
        window.sees("Sign out")
        # Outside: this closes the card and does nothing else.
        window.click("History")
        window.misses(EMAIL)
        window.sees(GREETING)
        window.click("Account", times=2)
        window.misses(EMAIL)

        window.click("Collapse sidebar")
        desk.wait_for("a narrow sidebar", lambda: desk.place(window.find("History")).width == 36)
        self.assertIs(preference("sidebar_collapsed"), True)
        window.click("Settings")
        window.sees("How Tavrik looks.")
        self.assertFalse(window.can_use("History"))
        # The dimmed window beside the sheet.
        desk.run("xdotool", "mousemove", "--window", window.id, "30", "300", "click", "1")
        window.misses("How Tavrik looks.")
        window.click("Settings")
        window.click("Italian")
        window.sees("Persian → Italian")
        window.click("Dark")
        desk.wait_for("the night", lambda: self.ground() < 20)
        window.click("Light")
        desk.wait_for("the day", lambda: self.ground() > 60)
        self.assertEqual((preference("target_language"), preference("appearance")), ("Italian", "light"))

        window.click("Shortcut: ⌥ Space")
        window.sees("Shortcut: Press keys…")
        window.key("a", "Escape")
        window.sees("Shortcut: ⌥ Space")
        window.click("Shortcut: ⌥ Space")
        window.sees("Shortcut: Press keys…")
        # The present shortcut starts nothing now.
        with desk.held(*desk.SHORTCUT):
            window.sees("Shortcut: ⌥ Space")
            self.assertEqual(self.tavrik.takes(), [])
        self.assertEqual((preference("hotkey_keycode"), preference("hotkey_modifiers")), (49, 2048))
        window.click("Shortcut: ⌥ Space")
        window.sees("Shortcut: Press keys…")
        window.key("ctrl+shift+F6")
        window.sees("Shortcut: ⌃⇧ F6", "Appearance")

        window.click("System")
        launch, sounds = "Launch app at login", "Recording and notification sounds"
        window.click(launch)
        desk.wait_for("the autostart entry", AUTOSTART.exists)
        self.assertIn(str(pathlib.Path(PROGRAM).name), AUTOSTART.read_text())
        desk.wait_for("the switch to be on", lambda: window.is_on(launch))
        window.click(launch)
        desk.wait_for("no autostart entry", lambda: not AUTOSTART.exists())
        # A desktop that cannot take it.
        AUTOSTART.parent.rmdir()
        AUTOSTART.parent.touch()
        window.click(launch)
        # What is clicked next is answered after it.
        window.click(sounds)
        desk.wait_for("silence", lambda: preference("sounds_enabled") is False)
        self.assertFalse(window.is_on(launch))
        AUTOSTART.parent.unlink()

        window.click("Account")
        folder = f"file://{DATA}/Tavrik"
        with desk.MockService("org.freedesktop.FileManager1", "/org/freedesktop/FileManager1", ShowItems="ass") as manager:
            window.click("Show in File Manager")
            desk.wait_for("the folder in the file manager", lambda: manager.calls("ShowItems"))
            self.assertEqual(manager.calls("ShowItems")[0][0], [folder])
        window.click("Show in File Manager")
        desk.wait_for("the folder in what opens folders", lambda: opened()[-1:] in ([folder], [f"{DATA}/Tavrik"]))

        window.click("Close")
        window.misses("Persian → Italian")
        self.dictate("The new shortcut works.", "Control_L", "Shift_L", "F6")
        before = self.dictations()
        with desk.held(*desk.SHORTCUT):
            desk.speak(self.sentence)
        self.assertEqual((self.tavrik.takes(), self.dictations()), ([], before))
        window.activate()
        window.lists("The new shortcut works.")
        window.click("Account")
        window.click("Sign out")
        window.sees("Welcome to Tavrik")
        self.assertNotEqual(subprocess.run(["secret-tool", "lookup", *SLOT], capture_output=True).returncode, 0)

    def ground(self):
        """How light the window's lower left corner is, in per cent; the sheet dims it."""
        return float(desk.run("convert", f"x:{self.window.id}", "-format", "%[fx:100*p{4,600}.lightness]", "info:"))


desk.main()
