"""Whole dictations with the installed program on a real Wayland desktop.

usage: test_wayland.py TAVRIK TAVRIK-MOCK-SERVER PORT gnome|kde|kde-5.27|sway|labwc FOLDER-FOR-PICTURES [TEST...]
"""

import dataclasses
import json
import os
import pathlib
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import time
import unittest.mock

import desk
import desktops

HERE = pathlib.Path(__file__).parent
PICTURES = pathlib.Path(sys.argv[5])
NEEDED = {"hot key", "microphone", "clipboard", "paste", "panel"}
DESKTOP = desktops.ALL[sys.argv[4]]
if "VDESK" not in os.environ:
    os.environ |= {"VDESK_SCREEN": "none", "DISPLAY": ":0", "XDG_SESSION_TYPE": "wayland", **DESKTOP.environment}
    os.execv(HERE.parent / "on-desktop", ["on-desktop", sys.executable, *sys.argv])


class Window(desk.Process):
    """One that gets the focus when it is made. What it receives stands in FILE, what happens to its focus in FILE.focus."""

    def __init__(self, *command, **environment):
        self._file = pathlib.Path(tempfile.mkdtemp(), "text")
        super().__init__(*command, self._file, env=environment, log=f"{self._file}.log")
        desk.wait_for("the window", self._is_ready)

    def _is_ready(self):
        return self._file.exists() and pathlib.Path(f"{self._file}.focus").read_text() == "in\n"

    def text(self):
        return self._file.read_text()

    def lost_focus(self):
        return not self._is_ready()


class Terminal(Window):
    """It writes about the focus in between: of its loss always, of its gain if that comes late enough."""

    IN, OUT = "\x1b[I", "\x1b[O"

    def __init__(self):
        super().__init__("foot", "sh", "-c", r"stty raw -echo; printf '\033[?1004h'; exec cat >$0")

    def _is_ready(self):
        return self._file.exists()

    def text(self):
        return super().text().replace(self.IN, "")

    def lost_focus(self):
        return self.OUT in super().text()


WINDOWS = {
    "wayland": lambda: Window(sys.executable, HERE / "editor.py", GDK_BACKEND="wayland"),
    "x11": lambda: Window(sys.executable, HERE / "editor.py", GDK_BACKEND="x11"),
    "terminal": Terminal,
}


class Tavrik(desk.Tavrik):
    """The installed program; it need not have an icon here."""

    def __init__(self, program):
        desk.Process.__init__(self, program, log=desktops.LOGS / "tavrik")
        self.icon = None
        bus = desktops.dbus.SessionBus()
        desk.wait_for("the program on the bus", lambda: bus.name_has_owner("io.nordvex.tavrik"))

    def report(self):
        return subprocess.run([self.process.args[0], "status"], capture_output=True, text=True).stdout

    def working(self):
        """The services that work."""
        return set(re.findall(r"^([\w ]+): +works", self.report(), re.MULTILINE))


@dataclasses.dataclass
class Case:
    """A dictation: into which window, under which keyboard layout, for how long, and how its keys are let go."""

    window: str = "wayland"
    text: str = "Good morning."
    layout: int = 0
    seconds: float = 0
    times: int = 1
    #: The modifier first, or as one mostly does.
    modifier_first: bool = False
    #: Between the release of one key and that of the next.
    pauses: tuple = ()
    repeats: bool = False


CASES = {
    "native_editor_twice": Case(times=2),
    "x11_editor_twice": Case("x11", times=2),
    "terminal": Case("terminal"),
    "persian_layout": Case(layout=1),
    "persian_layout_x11": Case("x11", layout=1),
    "right_to_left": Case(text="سلام، امروز هوا «خیلی» خوب است ۱۲۳ و ما به پارک می‌رویم."),
    "long_text": Case(text="".join(f"{number:04} و " for number in range(571)) + "end"),
    "modifier_still_down": Case(pauses=(0.8,)),
    "modifier_still_down_x11": Case("x11", pauses=(0.8,)),
    "modifier_first": Case(modifier_first=True, pauses=(0.1,)),
    "slow_fingers": Case(pauses=(0.05, 0.15)),
    "slow_fingers_modifier_first": Case(modifier_first=True, pauses=(0.15, 0.2)),
    "long_hold": Case(seconds=5),
    "long_hold_repeating": Case(seconds=5, repeats=True),
}


class Wayland(desk.Suite):
    granted = False

    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.sentence = desk.voice("one two three", "en")
        desk.set_preference(cls.program, "hotkey_modifiers", str(DESKTOP.modifiers))
        cls.desktop = cls.enterClassContext(DESKTOP())

    def setUp(self):
        self.backend = self.enterContext(desk.Backend(*sys.argv[2:4]))

    def start(self, *answers):
        """The program, on which the user presses these buttons when the desktop asks about the shortcut and about pasting."""
        self.tavrik = self.enterContext(Tavrik(self.program))
        for title, button in zip(DESKTOP.dialogs, answers):
            self.desktop.answer(title, button)

    def launch(self):
        """The program in good order; at its first launch the user grants all."""
        self.start(*(() if type(self).granted else ("Add", "Share")))
        desk.wait_for("all services", lambda: self.tavrik.working() >= NEEDED)
        type(self).granted = True

    def sign_in(self):
        """Only then are there settings."""
        desk.keep_session()
        self.addCleanup(desk.forget_session)

    def press(self, name):
        """A button of the settings."""
        desk.run(self.program)
        for wanted in "Settings", name:
            button = desk.wait_for(wanted, lambda wanted=wanted: desk.find(
                desk.objects_of(self.tavrik), lambda item: item.get_name() == wanted and desk.is_usable(item)))
            desk.Atspi.Action.do_action(button, 0)

    def dictate(self, case, window, before, meanwhile=lambda: None, holding=None):
        """Once; the text is to be in the window `before` + 1 times. The hot key is held as the case says, or by `holding`."""
        self.backend.script({"path": desk.CHAT, "status": 200,
                             "body": json.dumps({"choices": [{"message": {"content": case.text}}]})},
                            {"path": desk.TRANSLATE, "status": 200, "body": json.dumps({"text": case.text})})
        records = len(self.tavrik.history())
        pressed = time.monotonic()
        with holding or self.desktop.dictating(case.modifier_first, case.pauses):
            panel = desk.wait_for("the panel", self.tavrik.panel).pop()
            shown = time.monotonic()
            with desk.Process("paplay", "--device=vmic", self.sentence) as speaking:
                self.assert_on_screen(panel)
                speaking.process.wait(10)
            meanwhile()
            time.sleep(max(case.seconds + pressed - time.monotonic(), 0))
            released = time.monotonic()
        desk.wait_for("the text", lambda: window.text() == case.text * (before + 1))
        self.assertEqual(self.desktop.clipboard(), case.text)
        record = desk.wait_for("the record", lambda: len(self.tavrik.history()) == records + 1 and self.tavrik.history()[0])
        self.assertEqual(record["text"], case.text)
        self.assertGreater(record["duration"], released - shown - 0.1)
        self.assertLess(record["duration"], released - pressed + 1)
        self.assertFalse(window.lost_focus())

    def assert_on_screen(self, panel):
        """The compositor shows something where there was nothing, and it moves."""
        place = dict(re.findall(r"(\w+)=(-?\d+)", desk.run("xdotool", "getwindowgeometry", "--shell", panel)))
        crop = "{WIDTH}x{HEIGHT}+{X}+{Y}".format(**place)
        seen = [PICTURES / "empty.png", PICTURES / "recording.png", PICTURES / "speaking.png"]

        def differs(before, after, pixels):
            time.sleep(0.2)
            self.desktop.picture(after)
            return float(desk.run("convert", before, after, "-crop", crop, "-metric", "AE", "-compare", "-format",
                                  "%[distortion]", "info:")) > pixels

        desk.wait_for("the panel on the screen", lambda: differs(*seen[:2], 5000), 2)
        desk.wait_for("moving bars", lambda: differs(*seen[1:], 50), 2)

    def check(self, case):
        if self.desktop.has_bindings:
            self.desktop.bind(case.repeats)
        self.launch()
        with WINDOWS[case.window]() as window:
            self.desktop.set_layout(case.layout)
            self.desktop.picture(PICTURES / "empty.png")
            try:
                for before in range(case.times):
                    self.dictate(case, window, before)
                    time.sleep(DESKTOP.rest)
            except Exception:
                self.desktop.picture(PICTURES / f"failed-{self._testMethodName}.png")
                print(f"The window's text: {window.text()[:200]!r}", self.tavrik.report(), sep="\n")
                raise
        self.assertEqual(len(self.backend.requests(desk.CHAT)), case.times)

    def test_quitting_leaves_the_clipboard(self):
        self.launch()
        with WINDOWS["wayland"]() as window:
            self.dictate(Case(), window, 0)
            self.assertEqual(self.tavrik.stop(), 0)
            if DESKTOP.keeps_clipboard:
                self.assertEqual(self.desktop.clipboard(), Case.text)

    @unittest.skipUnless(DESKTOP.dialogs, "no portal is asked for permission there")
    def test_crashes_of_the_portals(self):
        """Before a dictation, and during one."""
        self.launch()
        bus = desktops.bus_object("org.freedesktop.DBus", "/")

        def crash(portal):
            os.kill(bus.GetConnectionUnixProcessID(f"org.freedesktop.{portal}"), signal.SIGKILL)
            desk.wait_for("the loss", lambda: not self.tavrik.working() >= NEEDED)
            desk.wait_for("all services", lambda: self.tavrik.working() >= NEEDED)

        with WINDOWS["wayland"]() as window:
            self.desktop.picture(PICTURES / "empty.png")
            for before, portal in (0, "portal.Desktop"), (2, "impl.portal.desktop.gnome"):
                crash(portal)
                self.dictate(Case(), window, before)
                time.sleep(DESKTOP.rest)
                self.dictate(Case(seconds=5), window, before + 1, lambda portal=portal: crash(portal))
                time.sleep(DESKTOP.rest)

    @unittest.skipUnless(DESKTOP.dialogs, "no portal is asked for permission there")
    def test_next_session(self):
        """What was granted is kept on disk, by the desktop and by the program."""
        self.launch()
        self.tavrik.stop()
        self.desktop.close()
        bus = desktops.bus_object("org.freedesktop.DBus", "/")
        for portal in "portal.Desktop", "impl.portal.desktop.gnome", "impl.portal.PermissionStore":
            if bus.NameHasOwner(f"org.freedesktop.{portal}"):
                os.kill(bus.GetConnectionUnixProcessID(f"org.freedesktop.{portal}"), signal.SIGKILL)
        self.enterClassContext(self.desktop)
        self.check(Case())

    @unittest.skipUnless(DESKTOP.dialogs, "no portal is asked for permission there")
    def test_forgotten_permission(self):
        """The desktop no longer knows that pasting is allowed, and asks again when the user wants it to."""
        self.launch()
        self.tavrik.stop()
        store = desktops.bus_object("org.freedesktop.impl.portal.PermissionStore", "/org/freedesktop/impl/portal/PermissionStore")
        for token in store.List("remote-desktop"):
            store.Delete("remote-desktop", token)
        self.sign_in()
        self.start()
        desk.wait_for("the loss", lambda: NEEDED - self.tavrik.working() == {"paste"})
        self.press("Ask Again")
        self.desktop.answer(DESKTOP.dialogs[1], "Share")
        desk.wait_for("all services", lambda: self.tavrik.working() >= NEEDED)
        self.tavrik.stop()
        desk.forget_session()
        self.check(Case())

    def test_asking_the_user(self):
        with tempfile.TemporaryDirectory() as data, unittest.mock.patch.dict(os.environ, XDG_DATA_HOME=data):
            for answers in ("Cancel", "Cancel"), ():
                self.start(*answers)
                # Nothing more may come, at this launch or at the next one.
                time.sleep(3)
                self.assertFalse(any(map(self.desktop.dialog, DESKTOP.dialogs)))
                self.assertEqual(NEEDED - self.tavrik.working(), {"hot key", "paste"} if DESKTOP.dialogs else set())
                self.tavrik.stop()
        for _ in range(2):
            self.launch()
            self.tavrik.stop()


for name, case in CASES.items():
    test = unittest.skipIf(name in DESKTOP.lacks, DESKTOP.lacks.get(name))(lambda self, case=case: self.check(case))
    setattr(Wayland, f"test_{name}", test)


def main():
    try:
        desk.main(*sys.argv[6:])
    finally:
        shutil.copytree(desktops.LOGS, PICTURES / "log", dirs_exist_ok=True)


if __name__ == "__main__":
    main()
