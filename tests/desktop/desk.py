"""A person at a virtual desktop: their keys, their voice, their eyes. Run inside `vdesk exec`."""

import contextlib
import json
import os
import pathlib
import subprocess
import tempfile
import time
import urllib.request

import gi

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi, GLib  # noqa: E402

SHORTCUT = ("Alt_L", "space")


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
        desktop = Atspi.get_desktop(0)
        for index in range(desktop.get_child_count()):
            application = desktop.get_child_at_index(index)
            if application is None or application.get_process_id() != self.process.pid:
                continue
            for item in descendants(application):
                if item.get_role() == Atspi.Role.TEXT and item.get_state_set().contains(Atspi.StateType.MULTI_LINE):
                    return item
        return None

    def focus(self):
        run("xdotool", "windowactivate", "--sync", self.window)
        wait_for("the editor's focus", self.has_focus)

    def has_focus(self):
        return run("xdotool", "getwindowfocus").strip() == self.window or \
            run("xdotool", "getactivewindow").strip() == self.window

    def text(self):
        return Atspi.Text.get_text(self._area, 0, Atspi.Text.get_character_count(self._area))


class Backend(Process):
    """The stand-in for both services."""

    def __init__(self, program, port, *options):
        super().__init__(program, "--port", str(port), "--control", *options)
        self.url = self.process.stdout.readline().strip()
        if not self.url.startswith("http://"):
            raise RuntimeError(f"the backend said {self.url!r}")

    def _control(self, path, body=None, method=None):
        data = None if body is None else json.dumps(body).encode()
        request = urllib.request.Request(f"{self.url}/control/{path}", data=data, method=method)
        with urllib.request.urlopen(request) as reply:
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
        desktop = Atspi.get_desktop(0)
        for index in range(desktop.get_child_count()):
            application = desktop.get_child_at_index(index)
            if application is None or application.get_process_id() != self._program.process.pid:
                continue
            for item in descendants(application):
                if item.get_role() in (Atspi.Role.ALERT, Atspi.Role.DIALOG) and \
                        item.get_state_set().contains(Atspi.StateType.SHOWING):
                    return item
        return None

    def texts(self):
        return [item.get_name() for item in descendants(self._dialog)
                if item.get_role() in (Atspi.Role.LABEL, Atspi.Role.TEXT)]

    def dismiss(self):
        for item in descendants(self._dialog):
            if item.get_role() == Atspi.Role.PUSH_BUTTON:
                Atspi.Action.do_action(item, 0)
                break
        wait_for("the alert to close", lambda: self._find() is None)
