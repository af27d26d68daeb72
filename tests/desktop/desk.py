"""A person at a virtual desktop: their keys, their voice, their eyes. Run inside `vdesk exec`."""

import contextlib
import json
import os
import pathlib
import subprocess
import sys
import tempfile
import time
import unittest
import urllib.request

import gi

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi, GLib  # noqa: E402

SHORTCUT = ("Alt_L", "space")
# Proxies are for the world outside.
opener = urllib.request.build_opener(urllib.request.ProxyHandler({}))


def main(*names):
    """Runs the calling suite's tests, all or those of the names, and ends the program."""
    result = unittest.main(argv=[sys.argv[0], *names], exit=False, verbosity=2).result
    failed = len(result.failures) + len(result.errors)
    print(f"Totals: {max(result.testsRun - failed, 0)} passed, {failed} failed, {len(result.skipped)} skipped")
    sys.exit(1 if failed or not result.testsRun else 0)


def wait_for(what, condition, seconds=10):
    """The first truthy value of condition(), or an error that names what was waited for."""
    end = time.monotonic() + seconds
    while True:
        try:
            value = condition()
        except GLib.GError:
            value = None  # something has left the accessible tree while it was looked at
        if value:
            return value
        if time.monotonic() > end:
            raise TimeoutError(f"waited {seconds} s for {what}")
        time.sleep(0.02)


def run(*command, **options):
    return subprocess.run(command, check=True, text=True, capture_output=True, **options).stdout


def windows(*which):
    """What `xdotool search` finds of the visible windows."""
    found = subprocess.run(["xdotool", "search", "--onlyvisible", *map(str, which)], text=True, capture_output=True)
    return found.stdout.split()


def front():
    """The name of the window in front, if there is one."""
    return subprocess.run(["xdotool", "getactivewindow", "getwindowname"], text=True, capture_output=True).stdout.strip()


def screenshot(path):
    run("import", "-window", "root", str(path))


def press(*keys):
    for key in keys:
        run("xdotool", "keydown", key)


def release(*keys):
    for key in keys:
        run("xdotool", "keyup", key)


@contextlib.contextmanager
def held(*keys):
    press(*keys)
    try:
        yield
    finally:
        release(*reversed(keys))


def voice(text, language="fa"):
    """A spoken text as a file, made beforehand so that speaking starts at once."""
    path = pathlib.Path(tempfile.mkstemp(suffix=".wav")[1])
    run("espeak-ng", "-v", language, "-w", str(path), text)
    return path


def speak(path):
    """Says a voice() file into the virtual microphone and returns when it has been said."""
    run("paplay", "--device=vmic", str(path))


def descendants(accessible):
    for index in range(accessible.get_child_count()):
        child = accessible.get_child_at_index(index)
        if child is not None:
            yield child
            yield from descendants(child)


def has_state(accessible, state):
    return accessible.get_state_set().contains(state)


def is_usable(accessible):
    """A control, and not a disabled one; a label is focusable too."""
    return has_state(accessible, Atspi.StateType.FOCUSABLE) and accessible.get_role() != Atspi.Role.LABEL


def objects_of(program):
    """What assistive technology sees of a program."""
    desktop = Atspi.get_desktop(0)
    for index in range(desktop.get_child_count()):
        application = desktop.get_child_at_index(index)
        if application is not None and application.get_process_id() == program.process.pid:
            yield from descendants(application)


class Process:
    """A program on the desktop, ended with the block that started it."""

    def __init__(self, *command, env=None):
        self.process = subprocess.Popen(command, env={**os.environ, **(env or {})}, stdout=subprocess.PIPE,
                                        stderr=subprocess.STDOUT, text=True)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.stop()

    def stop(self):
        if self.process.poll() is None:
            self.process.terminate()
            try:
                self.process.wait(10)
            except subprocess.TimeoutExpired:
                self.process.kill()
                self.process.wait()
        self.process.stdout.close()
        return self.process.returncode


class Editor(Process):
    """A plain text editor of its own process, whose text is read over the accessibility bus."""

    def __init__(self):
        super().__init__("mousepad", "--disable-server")
        self.window = wait_for("the editor's window", lambda: windows("--name", "Mousepad"))[0]
        self._area = wait_for("the editor's text", self._find)
        self.focus()

    def _find(self):
        return next((item for item in objects_of(self) if item.get_role() == Atspi.Role.TEXT and
                     has_state(item, Atspi.StateType.MULTI_LINE)), None)

    def focus(self):
        run("xdotool", "windowactivate", "--sync", self.window)
        wait_for("the editor's focus", self.has_focus)

    def has_focus(self):
        # Neither can be told while the window manager is away.
        return any(subprocess.run(["xdotool", question], text=True, capture_output=True).stdout.strip() == self.window
                   for question in ("getwindowfocus", "getactivewindow"))

    def text(self):
        return Atspi.Text.get_text(self._area, 0, Atspi.Text.get_character_count(self._area))


class Backend(Process):
    """The mock server for both services."""

    def __init__(self, program, port, *options, env=None):
        super().__init__(program, "--port", str(port), "--control", *options, env=env)
        self.url = self.process.stdout.readline().strip()
        if not self.url.startswith("http"):
            raise RuntimeError(f"the backend said {self.url!r}")

    def _control(self, path, body=None, method=None):
        data = None if body is None else json.dumps(body).encode()
        request = urllib.request.Request(f"{self.url}/control/{path}", data=data, method=method)
        with opener.open(request) as reply:
            text = reply.read()
        return json.loads(text) if text else None

    def script(self, *replies):
        self._control("replies", list(replies))

    def requests(self):
        return self._control("requests")["requests"]

    def forget(self):
        self._control("requests", method="DELETE")


class Tavrik(Process):
    """The installed program."""

    def __init__(self, program, *arguments):
        self.program = program
        super().__init__(program, *arguments)
        wait_for("the program's icon in the bar", self._is_up)

    def _is_up(self):
        """It stands on the bus before its hot key is registered, in the bar only afterwards."""
        if self.process.poll() is not None:
            raise RuntimeError(f"the program ended with {self.process.returncode}: {self.process.stdout.read()}")
        return windows("--pid", self.process.pid)

    @staticmethod
    def history():
        file = pathlib.Path(os.environ["XDG_DATA_HOME"], "Tavrik", "history.json")
        try:
            return json.loads(file.read_text())
        except FileNotFoundError:
            return []

    @staticmethod
    def takes():
        return sorted(pathlib.Path(tempfile.gettempdir()).glob("tavrik-*.wav"))


def set_preference(program, key, value):
    subprocess.run([program, "preferences", "set", key, "-"], input=value, text=True, check=True)


class Alert:
    """An alert of the program, as assistive technology sees it."""

    def __init__(self, program):
        self._program = program
        self._dialog = wait_for("an alert", self._find)

    def _find(self):
        return next((item for item in objects_of(self._program) if item.get_role() in (
            Atspi.Role.ALERT, Atspi.Role.DIALOG) and has_state(item, Atspi.StateType.SHOWING)), None)

    def texts(self):
        return [item.get_name() for item in descendants(self._dialog)
                if item.get_role() in (Atspi.Role.LABEL, Atspi.Role.TEXT)]

    def dismiss(self):
        for item in descendants(self._dialog):
            if item.get_role() == Atspi.Role.PUSH_BUTTON:
                Atspi.Action.do_action(item, 0)
                break
        wait_for("the alert to close", lambda: self._find() is None)


class Window:
    """The program's main window: what of it is showing, by its name or description, and a hand at mouse and keyboard."""

    def __init__(self, program):
        self._program = program
        self.id = wait_for("the window", lambda: windows("--name", "^Tavrik$"))[0]
        self.activate()

    def activate(self):
        # Fails while the window manager has not taken notice of it.
        wait_for("the window in front", lambda: subprocess.run(
            ["xdotool", "windowactivate", "--sync", self.id], capture_output=True).returncode == 0)

    def _showing(self):
        return [item for item in objects_of(self._program) if has_state(item, Atspi.StateType.SHOWING)]

    def find(self, name, within=None):
        """A control that can be used rather than anything else of that name; None if there is none."""
        found = [item for item in (descendants(within) if within else self._showing())
                 if name in (item.get_name(), item.get_description())]
        return max(found, key=is_usable, default=None)

    def sees(self, *names):
        for name in names:
            wait_for(f"{name!r} to show", lambda name=name: self.find(name))

    def misses(self, *names):
        for name in names:
            wait_for(f"{name!r} to go", lambda name=name: not self.find(name))

    def rows(self):
        rows = [item for item in self._showing() if item.get_role() == Atspi.Role.LIST_ITEM]
        return sorted(rows, key=lambda row: Atspi.Component.get_extents(row, Atspi.CoordType.SCREEN).y)

    def lists(self, *texts):
        wait_for(f"the rows {texts}", lambda: tuple(row.get_name() for row in self.rows()) == texts)

    def is_on(self, name):
        item = self.find(name)
        return bool(item) and has_state(item, Atspi.StateType.CHECKED)

    def can_use(self, name):
        item = self.find(name)
        return bool(item) and is_usable(item)

    def middle(self, name, within=None):
        """Where it has come to rest on the screen."""
        place = None

        def rests():
            nonlocal place
            item = self.find(name, within)
            before, place = place, item and Atspi.Component.get_extents(item, Atspi.CoordType.SCREEN)
            return place and before and (before.x, before.y, before.width) == (place.x, place.y, place.width)

        wait_for(f"{name!r} to rest", rests)
        return place.x + place.width // 2, place.y + place.height // 2

    def click(self, name, within=None, times=1):
        x, y = self.middle(name, within)
        run("xdotool", "mousemove", str(x), str(y), "click", "--repeat", str(times), "--delay", "30", "1")

    def fill(self, name, text):
        self.click(name)
        self.key("ctrl+a")
        self.type(text)

    @staticmethod
    def type(text):
        run("xdotool", "type", "--delay", "5", text)

    @staticmethod
    def key(*keys):
        run("xdotool", "key", *keys)
