"""A person's way through the main window of the installed program, with real clicks and keys.

usage: test_window.py TAVRIK TAVRIK-MOCK-SERVER PORT
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
import time
import urllib.request

import dbus

import desk

PROGRAM = sys.argv[1]
CONFIG, DATA = (pathlib.Path(os.environ[name]) for name in ("XDG_CONFIG_HOME", "XDG_DATA_HOME"))
HISTORY = DATA / "Tavrik" / "history.json"
AUTOSTART = CONFIG / "autostart" / "io.nordvex.tavrik.desktop"
NOTES = pathlib.Path(os.environ["HOME"])
USER = pwd.getpwuid(os.getuid())
GREETING = "Welcome back, " + (USER.pw_gecos.split(",")[0] or USER.pw_name).split()[0]
TOKEN = "/auth/v1/token"
EMAIL, PASSWORD = "sara@example.org", "correct horse"
RECORDING, DEFAULT_SHORTCUT = "Shortcut: Press keys…", "Shortcut: ⌥ Space"
SOUNDS = "Recording and notification sounds"


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


class MainWindow(desk.Suite):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        install_opener()

    def setUp(self):
        desk.forget_session()
        for folder in (CONFIG / "Tavrik", DATA / "Tavrik", CONFIG / "autostart"):
            shutil.rmtree(folder, ignore_errors=True)

    def start(self, *options):
        """The program for the first time, and somewhere to write."""
        self.open(*options)
        self.window = desk.Window(self.launch())
        self.window.sees("Welcome to Tavrik")

    def start_signed_in(self):
        self.start()
        self.sign_up()
        self.window.sees(GREETING)

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
        self.backend.script({"path": desk.TRANSLATE, "status": 200, "body": json.dumps({"text": text})})
        return super().dictate(text, *shortcut)

    def is_dark(self, dark=True):
        """Waits for the window's lower left corner, which the settings dim."""
        corner = ("convert", f"x:{self.window.id}", "-format", "%[fx:p{4,600}.lightness]", "info:")
        desk.wait_for("the night" if dark else "the day", lambda: (float(desk.run(*corner)) < 0.4) == dark)

    def test_from_a_new_account_to_a_kept_history(self):
        reader = desk.ScreenReader()
        self.start("--confirm-email")
        window = self.window
        window.fill("Email", EMAIL)
        window.fill("Password", "short")
        self.assertFalse(window.can_use("Sign in"))
        window.type("er")
        window.key("Return")
        window.sees("Invalid login credentials")
        reader.speaks("Invalid login credentials")

        self.sign_up()
        window.sees("Check your inbox and confirm your email, then sign in.", "Welcome to Tavrik")
        window.click("Sign in")
        window.sees("Email not confirmed")
        with urllib.request.urlopen(self.backend.url + "/mail") as mail:
            link = html.unescape(re.search(r'href="([^"]*)"', mail.read().decode())[1])
        urllib.request.urlopen(self.backend.url + link).close()
        window.key("Return")
        window.sees(GREETING, "0 total words", "Nothing yet today. Hold ⌥ Space, speak Persian, release — the English text "
                    "lands here.")

        before = list(reader.spoken())
        self.editor.focus()
        self.backend.script({"path": desk.TRANSLATE, "status": 200, "body": json.dumps({"text": "The bus leaves at nine."})})
        with desk.held(*desk.SHORTCUT):
            desk.speak(self.sentence)
            # The microphone would hear it.
            self.assertEqual(reader.spoken(), before)
        reader.speaks("Translating…")
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
        reader.speaks("Copied")
        window.misses("Copied")

        window.click("History")
        window.sees("Today")
        window.click("Search")
        window.type("bush")
        window.sees("No matches for “bush”.")
        window.choose(lambda: window.key("Menu"), "Up", "Return")
        window.type("bus")
        window.lists("The bus leaves at nine.")
        window.key("Escape")
        window.lists("Straße and مدرسه", "The bus leaves at nine.")
        row = window.middle("Straße and مدرسه")
        window.choose(lambda: desk.run("xdotool", "mousemove", *row, "click", "3"), "Down", "Return")
        desk.wait_for("the copy", lambda: desk.run("xclip", "-o", "-selection", "clipboard") == "Straße and مدرسه")
        # Somebody tidies up under the running program: what it knows is written again.
        HISTORY.unlink()
        # The second click of a double click lands on what has moved up, and was not meant for it.
        window.click("Delete", window.rows()[0], times=2)
        desk.wait_for("the file", lambda: [record["text"] for record in self.tavrik.history()] == ["The bus leaves at nine."])
        window.lists("The bus leaves at nine.")

        self.close()
        self.open_again()
        self.window.misses(GREETING)
        self.window.lists("The bus leaves at nine.")
        desk.run("xdotool", "windowminimize", "--sync", self.window.id)
        self.open_again()
        self.window.click("Collapse sidebar")
        desk.wait_for("the preference", lambda: preference("sidebar_collapsed"))
        self.tavrik.stop()
        self.launch()
        time.sleep(1)
        self.assertEqual(desk.named(), [], "a window that nobody asked for")
        self.open_again()
        desk.wait_for("a narrow sidebar", lambda: desk.place(self.window.find("History")).width == 36)
        self.window.click("Home")
        self.window.sees(GREETING)
        self.window.lists("The bus leaves at nine.")

    def close(self):
        """By the button in the window's frame."""
        frame = desk.run("xwininfo", "-id", self.window.id)
        x, y, width = (int(re.search(rf"{key}: *(\d+)", frame)[1]) for key in ("left X", "left Y", "Width"))
        desk.run("xdotool", "mousemove", str(x + width - 11), str(y - 11), "click", "1")
        desk.wait_for("the window to close", lambda: not desk.named())
        self.assertIsNone(self.tavrik.process.poll())

    def test_the_browser_signs_in(self):
        self.start()
        window = self.window
        window.click("Copy: Or with an OpenRouter key of your own")
        self.assertEqual(desk.run("xclip", "-o", "-selection", "clipboard"), f"{PROGRAM} preferences set openrouter_api_key -")
        desk.set_preference(PROGRAM, "openrouter_api_key", "sk-mine")
        window.sees("Dictation works with your own key, without an account.")

        (NOTES / "answer").write_text("cancel")
        window.click("Continue with Google")
        window.sees("The user denied access")
        (NOTES / "answer").write_text("continue")
        window.click("Continue with Google")
        window.sees(GREETING)
        window.click("Account")
        window.sees("somebody@example.com", "Sign out")
        desk.wait_for("the session", desk.kept_session)

    def test_cards_and_settings(self):
        self.start_signed_in()
        window = self.window
        window.click("Notifications")
        window.sees("Nothing here yet.")
        window.click("Account")
        window.sees(EMAIL)
        window.misses("Nothing here yet.")
        # Beside its controls: it stays open.
        window.click(EMAIL)
        window.sees("Sign out")
        # Outside, by any button: this closes the card and does nothing else.
        desk.run("xdotool", "mousemove", *window.middle("History"), "click", "3")
        window.misses(EMAIL)
        window.sees(GREETING)
        window.click("Account", times=2)
        window.misses(EMAIL)
        window.click("History")
        window.sees("No transcriptions yet.")

        window.click("Settings")
        window.sees("How Tavrik looks.")
        # The dimmed window beside the sheet.
        desk.run("xdotool", "mousemove", "--window", window.id, "30", "300", "click", "1")
        window.misses("How Tavrik looks.")
        window.click("Settings")
        window.click("Italian")
        window.sees("Persian → Italian")
        window.click("Dark")
        self.is_dark()
        window.click("Light")
        self.is_dark(False)
        self.assertEqual((preference("target_language"), preference("appearance")), ("Italian", "light"))

        window.click("System")
        launch = "Launch app at login"
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
        window.click(SOUNDS)
        desk.wait_for("silence", lambda: preference("sounds_enabled") is False)
        self.assertFalse(window.is_on(launch))
        AUTOSTART.parent.unlink()

        window.click("Account")
        folder = f"file://{DATA}/Tavrik"
        with desk.MockService("org.freedesktop.FileManager1", "/org/freedesktop/FileManager1",
                              ShowItems=("ass", "", "")) as manager:
            window.click("Show in File Manager")
            desk.wait_for("the folder in the file manager", lambda: manager.calls("ShowItems"))
            self.assertEqual(manager.calls("ShowItems")[0][0], [folder])
        window.click("Show in File Manager")
        desk.wait_for("the folder in what opens folders", lambda: opened()[-1:] in ([folder], [f"{DATA}/Tavrik"]))

        window.click("Close")
        window.misses("Persian → Italian")
        self.dictate("Ciao.")
        window.activate()
        window.lists("Ciao.")
        window.click("Account")
        window.click("Sign out")
        window.sees("Welcome to Tavrik")
        self.assertIsNone(desk.kept_session())

    def test_the_shortcut(self):
        self.start_signed_in()
        window = self.window
        # Escape, and what has no modifier of its own, leaves it as it is.
        window.click("Settings")
        window.click(DEFAULT_SHORTCUT)
        window.sees(RECORDING)
        window.key("a", "shift+a", "Control_L", "Escape")
        window.sees(DEFAULT_SHORTCUT)
        # So does the present shortcut, which starts nothing now.
        window.click(DEFAULT_SHORTCUT)
        window.sees(RECORDING)
        with desk.held(*desk.SHORTCUT):
            window.sees(DEFAULT_SHORTCUT)
            self.assertEqual(self.tavrik.takes(), [])
        self.assertEqual((preference("hotkey_keycode"), preference("hotkey_modifiers")), (49, 2048))

        # Whatever ends the recording gives the hot key back.
        for leave, come_back in ((lambda: window.click("Account"), lambda: window.click("General")),
                                 (lambda: window.click("Close"), lambda: window.click("Settings")),
                                 (lambda: (self.editor.focus(), window.sees(DEFAULT_SHORTCUT)), window.activate),
                                 (self.close, self.open_again)):
            window.click(DEFAULT_SHORTCUT)
            window.sees(RECORDING)
            leave()
            with desk.held(*desk.SHORTCUT):
                desk.wait_for("a take", self.tavrik.takes)
            desk.wait_for("the end of the tap", lambda: not self.tavrik.takes())
            come_back()

        # A shortcut of another program is recorded all the same, and the settings warn of it.
        window = self.window
        with desk.taken("F6"):
            window.click(DEFAULT_SHORTCUT)
            window.sees(RECORDING)
            window.key("ctrl+shift+F6")
            window.sees("Shortcut: ⌃⇧ F6", "Another program holds this shortcut. Choose another one.")
        subprocess.run([PROGRAM], check=True, timeout=10)
        window.misses("Another program holds this shortcut. Choose another one.")
        self.dictate("The new shortcut works.", "Control_L", "Shift_L", "F6")
        before = len(self.backend.requests(desk.TRANSLATE))
        self.speak()
        self.assertEqual((self.tavrik.takes(), len(self.backend.requests(desk.TRANSLATE))), ([], before))

    def walk(self):
        """Once round by the keyboard, which reaches whatever can be used; each of those has a name and does something."""
        stops = self.window.tab_round()
        for control in self.window.controls():
            name, role = desk.describe(control)
            self.assertTrue(name, role)
            self.assertTrue(desk.is_field(control) or desk.Atspi.Action.get_n_actions(control), name)
            # A picker is one stop, from which the arrows go on.
            if desk.is_usable(control) and (role != "radio button" or desk.has_state(control, desk.Atspi.StateType.CHECKED)):
                self.assertIn((name, role), stops)

    def test_the_keyboard_alone(self):
        self.start()
        window = self.window
        self.walk()
        self.sign_up()
        window.sees(GREETING)
        self.dictate("Once.")
        window.activate()
        for page in "History", "Home":
            window.tab_to(page)
            window.key("Return")
            self.walk()
        window.tab_to("Account")
        window.key("space")
        window.sees(EMAIL)
        self.assertTrue(window.is_on("Account"))
        self.assertEqual(window.tab(), "Sign out")
        window.key("Escape")
        window.misses(EMAIL)
        self.assertEqual((window.focused(), window.is_on("Account")), ("Account", False))

        window.tab_to("Settings")
        window.key("space")
        window.sees("How Tavrik looks.")
        self.assertEqual((window.focused(), window.find("History")), ("Settings", None))
        for page in "General", "Account", "System":
            window.tab_to(page)
            window.key("Return")
            desk.wait_for(page, lambda page=page: window.heading(page))
            self.walk()
        window.tab_to(SOUNDS)
        for key, on in ("space", False), ("Return", True), ("space", False):
            window.key(key)
            desk.wait_for(f"sounds {on}", lambda on=on: preference("sounds_enabled") is on and window.is_on(SOUNDS) == on)
        window.tab_to("General")
        window.key("Return")
        window.tab_to("English")
        window.key("Right", "Down")
        desk.wait_for("the language", lambda: preference("target_language") == "Italian")
        window.key("Escape")
        window.misses("How Tavrik looks.")
        self.assertEqual(window.focused(), "Settings")
        self.assertTrue(window.can_use("History"))

    def test_foreign_text_is_drawn_as_it_stands(self):
        self.start()
        window = self.window
        foreign = "<font color='#00ff00'>████</font>"
        message = foreign * 100
        self.backend.script({"path": TOKEN, "status": 400, "delayMs": 500, "body": json.dumps({"msg": message})},
                            {"path": TOKEN, "status": 200, "body": json.dumps(
                                {"access_token": "a", "refresh_token": "r", "user": {"email": foreign}})})
        window.fill("Email", EMAIL)
        window.fill("Password", PASSWORD)
        window.key("Return", "Return")
        window.sees(message)
        self.assertEqual(len(self.backend.requests(TOKEN)), 1)
        self.shows_no_green()
        # However much a service says, there is room for the button.
        window.click("Sign in")
        window.sees(GREETING)
        self.dictate(foreign)
        window.activate()
        window.click("Account")
        window.sees(foreign)
        self.shows_no_green()

    def shows_no_green(self):
        green = desk.run("convert", f"x:{self.window.id}", "-color-matrix", "-1 1 0 0 0 0 0 0 0", "-format",
                         "%[fx:maxima.r]", "info:")
        self.assertLess(float(green), 0.4)

    def test_the_desktops_colours(self):
        scheme = ("org.freedesktop.appearance", "color-scheme")
        with desk.MockService("org.freedesktop.portal.Desktop", "/org/freedesktop/portal/desktop",
                              "org.freedesktop.portal.Settings",
                              Read=("ss", "v", "ret = dbus.UInt32(1, variant_level=2)")) as portal:
            self.start()
            self.is_dark()
            portal.emit("SettingChanged", "ssv", scheme[0], "accent-color", dbus.UInt32(2, variant_level=1))
            time.sleep(0.3)
            self.is_dark()
            portal.emit("SettingChanged", "ssv", *scheme, dbus.UInt32(2, variant_level=1))
            self.is_dark(False)


desk.main(*sys.argv[4:])
