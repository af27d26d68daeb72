"""How the installed program starts, or says why not, on every kind of desktop, and how it ends: test_start.py TAVRIK"""

import fcntl
import os
import pathlib
import re
import signal
import subprocess
import sys
import time
import unittest

import dbus
import desk

PROGRAM = sys.argv[1]
DESKTOP = pathlib.Path(os.environ["VDESK"])
# What each desktop adds to the whole one; None takes a variable away.
NO_DISPLAY = {"DISPLAY": None, "WAYLAND_DISPLAY": None}
NO_BUS = {"DBUS_SESSION_BUS_ADDRESS": "unix:path=/nonexistent"}
STARTS = {
    "X": {},
    "X, another platform exported": {"QT_QPA_PLATFORM": "wayland"},
    "offscreen without a display": {"QT_QPA_PLATFORM": "offscreen", **NO_DISPLAY},
    "no session bus": NO_BUS,
    "no sound server": {"PULSE_SERVER": "unix:/nonexistent"},
    "bare": {"QT_QPA_PLATFORM": "offscreen", "PULSE_SERVER": "unix:/nonexistent", **NO_DISPLAY, **NO_BUS},
}
REFUSES = {
    "no display": NO_DISPLAY,
    "a dead X server": {"DISPLAY": ":99999", "WAYLAND_DISPLAY": None},
    "a dead compositor": {"DISPLAY": None, "WAYLAND_DISPLAY": "wayland-99"},
}


def environment(changes):
    return {name: value for name, value in {**os.environ, **changes}.items() if value is not None}


def run(changes, *arguments):
    return subprocess.run([PROGRAM, *arguments], env=environment(changes), text=True, capture_output=True, timeout=30)


class Start(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        desk.set_preference(PROGRAM, "openrouter_api_key", "sk-mine")

    def start(self, changes=None, arguments=()):
        program = subprocess.Popen([PROGRAM, *arguments], env=environment(changes or {}), text=True, stdout=subprocess.PIPE,
                                   stderr=subprocess.STDOUT)
        self.addCleanup(lambda: (program.kill(), program.communicate()))
        # From then on it can be asked to end.
        status = pathlib.Path(f"/proc/{program.pid}/status")
        desk.wait_for("the program", lambda: int(re.search(r"SigCgt:\s+(\w+)", status.read_text())[1], 16) >> 14 & 1)
        time.sleep(1)
        self.assertIsNone(program.poll())
        return program

    def record(self):
        """The program, with a take on disk."""
        program = self.start()
        for key in desk.SHORTCUT:
            desk.run("xdotool", "keydown", key)
            self.addCleanup(desk.run, "xdotool", "keyup", key, check=False)
        desk.wait_for("a take", desk.Tavrik.takes)
        return program

    def remove_bar(self):
        bar = DESKTOP / "pid/06-tint2"
        if bar.exists():
            os.kill(int(bar.read_text()), signal.SIGTERM)
            bar.unlink()

    def ends(self, program, status):
        self.assertEqual(program.wait(10), status)
        self.assertEqual(desk.Tavrik.takes(), [])

    def test_starts(self):
        for name, changes in STARTS.items():
            with self.subTest(name):
                program = self.start(changes)
                if "DBUS_SESSION_BUS_ADDRESS" not in changes:
                    status = run(changes, "status")
                    self.assertNotIn("probed", status.stdout)
                    self.assertEqual(status.returncode, 0 if name.startswith("X") else 1, status.stdout)
                program.terminate()
                self.ends(program, 0)
                self.assertEqual(program.stdout.read(), "")

    def test_refuses(self):
        for name, changes in REFUSES.items():
            with self.subTest(name):
                result = run(changes)
                self.assertEqual((result.returncode, result.stdout), (1, ""))
                self.assertRegex(result.stderr, r"\Atavrik: [^\n]+\.\n\Z")

    def test_wrong_usage(self):
        for argument in "--frobnicate", "record", "./a:b", "":
            self.assertEqual(run({}, argument).returncode, 2, argument)

    def test_probes(self):
        status = run({}, "status")
        self.assertEqual((status.returncode, "probed" in status.stdout), (0, True), status.stdout)
        for changes, service in ({"PULSE_SERVER": "unix:/nonexistent"}, "microphone"), (NO_DISPLAY, "panel"):
            status = run(changes, "status")
            self.assertRegex(status.stdout, rf"{service}: +not working .*\.\n")
            self.assertEqual(status.returncode, 1)

    def test_signals(self):
        for number in signal.SIGTERM, signal.SIGINT, signal.SIGHUP:
            program = self.record()
            program.send_signal(number)
            self.ends(program, 0)
            self.doCleanups()

    def test_after_a_crash(self):
        """The next start deletes the take; not one that another program holds, nor anything else of such a name."""
        program = self.record()
        program.kill()
        program.wait()
        take, = desk.Tavrik.takes()
        held, link, pipe = (take.with_name(f"{take.stem[:-1]}{digit}.wav")
                            for digit in sorted(set("0123") - {take.stem[-1]})[:3])
        with open(held, "w") as other:
            fcntl.flock(other, fcntl.LOCK_EX)
            link.symlink_to(held)
            os.mkfifo(pipe)
            self.start()
            desk.wait_for("the take to go", lambda: not take.exists())
            time.sleep(0.2)
            self.assertTrue(held.exists() and link.is_symlink() and pipe.exists())
        for path in held, link, pipe:
            path.unlink()

    def test_tokens(self):
        program = self.start(arguments=["tavrik://callback#access_token=SECRET"])
        self.assertNotIn(b"SECRET", pathlib.Path(f"/proc/{program.pid}/cmdline").read_bytes())

    def test_from_the_menu(self):
        """The bus starts the program for a call: the icon in the tray is enough, until the user asks again."""
        self.start({"DBUS_STARTER_BUS_TYPE": "session"})
        activate = ("gdbus", "call", "--session", "-d", "io.nordvex.tavrik", "-o", "/io/nordvex/tavrik",
                    "-m", "org.freedesktop.Application.Activate", "{}")
        desk.run(*activate)
        time.sleep(1.5)
        self.assertEqual(desk.named(), [])
        desk.run(*activate)
        desk.wait_for("the window", desk.named)
        # Without an icon they would see nothing at all.
        self.doCleanups()
        self.remove_bar()
        program = self.start({"DBUS_STARTER_BUS_TYPE": "session"})
        desk.run(*activate)
        desk.wait_for("the window", desk.named)
        # The icon comes with the bar.
        self.assertRegex(run({}, "status").stdout, "tray: +not working")
        self.enterContext(desk.Process("tint2", "-c", DESKTOP / "cfg/tint2/tint2rc", log=os.devnull))
        desk.wait_for("the icon and its name", lambda: set(desk.windows("--all", "--pid", program.pid, "--name", "^Tavrik$"))
                      - set(desk.named()))

    def test_status_notifiers(self):
        """Their bar begins to show icons after the program's start."""
        self.remove_bar()
        with desk.taken("space"), desk.MockService("org.kde.StatusNotifierWatcher", "/StatusNotifierWatcher",
                                                   RegisterStatusNotifierItem=("s", "", "")) as bar:
            self.start()
            self.assertRegex(run({}, "status").stdout, "tray: +not working")
            bar.add_property("IsStatusNotifierHostRegistered", True)
            bar.emit("StatusNotifierHostRegistered", "")
            (service,), = desk.wait_for("the icon", lambda: bar.calls("RegisterStatusNotifierItem"))
            item = dbus.SessionBus().get_object(service, "/StatusNotifierItem").GetAll(
                "org.kde.StatusNotifierItem", dbus_interface=dbus.PROPERTIES_IFACE)
            self.assertEqual(item["Status"], "Active")
            self.assertIn("Another program holds this shortcut.", str(item["ToolTip"]))
            self.assertTrue(item["Menu"].startswith("/"))

    def test_hung(self):
        program = self.start()
        program.send_signal(signal.SIGSTOP)
        began = time.monotonic()
        self.assertEqual(run({}, "tavrik:").returncode, 1)
        self.assertLess(time.monotonic() - began, 2)
        program.send_signal(signal.SIGCONT)

    def test_when_its_display_dies(self):
        program = self.record()
        os.kill(int((DESKTOP / "pid/00-xvfb").read_text()), signal.SIGKILL)
        self.ends(program, 1)


desk.main()
