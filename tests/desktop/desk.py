"""A person at a virtual desktop: their keys, their voice, their eyes. Run inside `vdesk exec`."""

import contextlib
import json
import os
import pathlib
import re
import subprocess
import sys
import tempfile
import time
import unittest
import urllib.request

import dbus
import gi
import Xlib.display
import Xlib.ext.xtest
import Xlib.X
import Xlib.XK

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi, GLib  # noqa: E402

SHORTCUT = ("Alt_L", "space")
CHAT, TRANSLATE = "/api/v1/chat/completions", "/functions/v1/translate"
JSON = {"Content-Type": "application/json"}
# The panel's buttons, and how far above the lower edge of the status menu its items are.
CANCEL, CONFIRM = "Cancel", "Finish and paste"
QUIT, CHECK_FOR_UPDATES = 13, 42
SHOWING = Atspi.StateType.SHOWING
PASSIVE = (Atspi.Role.FRAME, Atspi.Role.PANEL, Atspi.Role.LABEL, Atspi.Role.HEADING, Atspi.Role.DIALOG, Atspi.Role.LIST,
           Atspi.Role.LIST_ITEM)
# Where the keyring holds the session.
SLOT = ("service", "io.nordvex.tavrik", "account", "supabase-session")
# Proxies are for the world outside.
opener = urllib.request.build_opener(urllib.request.ProxyHandler({}))


def main(*names):
    """Runs the calling suite's tests, all or those of the names, and ends the program."""
    result = unittest.main(argv=[sys.argv[0], *names], exit=False, verbosity=2).result
    failed = len(result.failures) + len(result.errors)
    skipped = len(result.skipped)
    print(f"Totals: {max(result.testsRun - failed - skipped, 0)} passed, {failed} failed, {skipped} skipped")
    sys.exit(1 if failed or not result.testsRun else 0)


def wait_for(what, condition, seconds=10):
    """The first truthy value of condition(), or an error that names what was waited for."""
    end = time.monotonic() + seconds
    while True:
        # Something may leave the accessible tree while it is looked at.
        with contextlib.suppress(GLib.GError):
            if value := condition():
                return value
        if time.monotonic() > end:
            raise TimeoutError(f"waited {seconds} s for {what}")
        time.sleep(0.02)


def run(*command, check=True):
    return subprocess.run([str(word) for word in command], check=check, text=True, capture_output=True).stdout


def windows(*which):
    """What `xdotool search` finds of the visible windows."""
    return run("xdotool", "search", "--onlyvisible", *which, check=False).split()


def named(*which):
    """The program's windows and alerts; not its icon, which has the same name."""
    return [window for window in windows(*which, "--name", "^Tavrik$")
            if "22x22" not in run("xdotool", "getwindowgeometry", window, check=False)]


def front():
    """The name of the window in front, if there is one."""
    return run("xdotool", "getactivewindow", "getwindowname", check=False).strip()


def screenshot(path):
    run("import", "-window", "root", path)


@contextlib.contextmanager
def held(*keys):
    """Keys that are down while the block runs; nothing is started for it, so that the moments are exact."""
    server = Xlib.display.Display()
    codes = [server.keysym_to_keycode(Xlib.XK.string_to_keysym(key)) for key in keys]

    def send(event, codes):
        for code in codes:
            Xlib.ext.xtest.fake_input(server, event, code)
        server.sync()

    send(Xlib.X.KeyPress, codes)
    try:
        yield
    finally:
        send(Xlib.X.KeyRelease, reversed(codes))
        server.close()


def voice(text, language="fa"):
    """A spoken text as a file, made beforehand so that speaking starts at once."""
    path = tempfile.mkstemp(suffix=".wav")[1]
    run("espeak-ng", "-v", language, "-w", path, text)
    return path


def speak(path):
    """Says a voice() file into the virtual microphone and returns when it has been said."""
    run("paplay", "--device=vmic", path)


def children(accessible):
    return filter(None, map(accessible.get_child_at_index, range(accessible.get_child_count())))


def descendants(accessible):
    for child in children(accessible):
        yield child
        yield from descendants(child)


def has_state(accessible, state):
    return accessible.get_state_set().contains(state)


def is_usable(accessible):
    """A control, and not a disabled one; labels and headings are focusable too."""
    return has_state(accessible, Atspi.StateType.FOCUSABLE) and accessible.get_role() not in (Atspi.Role.LABEL, Atspi.Role.HEADING)


def is_field(accessible):
    return accessible.get_role() in (Atspi.Role.TEXT, Atspi.Role.ENTRY, Atspi.Role.PASSWORD_TEXT)


def label(accessible):
    """The name; a password field has none, but a description."""
    return accessible.get_name() or accessible.get_description()


def describe(accessible):
    return label(accessible), accessible.get_role_name()


def place(accessible):
    return Atspi.Component.get_extents(accessible, Atspi.CoordType.SCREEN)


def middle(accessible):
    where = place(accessible)
    return where.x + where.width // 2, where.y + where.height // 2


def objects_of(program):
    """What assistive technology sees of a program."""
    for application in children(Atspi.get_desktop(0)):
        if application.get_process_id() == program.process.pid:
            yield from descendants(application)


def find(objects, suits):
    """The first object that suits; None if there is none."""
    return next((item for item in objects if suits(item)), None)


class Process(contextlib.AbstractContextManager):
    """A program on the desktop, ended with the block that started it."""

    def __init__(self, *command, env=None, log=None):
        """`log` is a file for what it prints, without which there is a pipe."""
        with open(log, "w") if log else contextlib.nullcontext(subprocess.PIPE) as output:
            self.process = subprocess.Popen(command, env={**os.environ, **(env or {})}, stdout=output,
                                            stderr=subprocess.STDOUT, text=True)

    def __exit__(self, *_):
        self.stop()

    def stop(self):
        self.process.terminate()
        try:
            return self.process.wait(10)
        finally:
            self.process.kill()
            if self.process.stdout:
                self.process.stdout.close()


class Editor(Process):
    """A plain text editor of its own process, whose text is read over the accessibility bus."""

    def __init__(self):
        super().__init__("mousepad", "--disable-server")
        self.window = wait_for("the editor's window", lambda: windows("--name", "Mousepad"))[0]
        self._area = wait_for("the editor's text", lambda: find(objects_of(self), lambda item: item.get_role(
            ) == Atspi.Role.TEXT and has_state(item, Atspi.StateType.MULTI_LINE)))
        self.focus()

    def focus(self):
        run("xdotool", "windowactivate", "--sync", self.window)
        wait_for("the editor's focus", self.has_focus)

    def has_focus(self):
        # Neither can be told while the window manager is away.
        return any(run("xdotool", question, check=False).strip() == self.window
                   for question in ("getwindowfocus", "getactivewindow"))

    def text(self):
        return Atspi.Text.get_text(self._area, 0, Atspi.Text.get_character_count(self._area))


class Backend(Process):
    """The mock server for both services."""

    def __init__(self, program, port, *options, env=None):
        super().__init__(program, "--port", str(port), "--control", *options, env=env)
        self.url = self.process.stdout.readline().strip()

    def _control(self, path, body=None, method=None):
        data = None if body is None else json.dumps(body).encode()
        request = urllib.request.Request(f"{self.url}/control/{path}", data, JSON, method=method)
        with opener.open(request) as reply:
            return json.loads(reply.read() or "null")

    def script(self, *replies):
        self._control("replies", list(replies))

    def requests(self, path=""):
        """Those to a path, or all. Their headers' names, whose case means nothing, are in lower case."""
        found = [request for request in self._control("requests")["requests"] if path in (request["path"], "")]
        for request in found:
            request["headers"] = {name.lower(): value for name, value in request["headers"].items()}
        return found

    def forget(self):
        self._control("requests", method="DELETE")


class Tavrik(Process):
    """The installed program."""

    def __init__(self, program, *arguments):
        super().__init__(program, *arguments)
        # It stands on the bus before its hot key is registered, in the bar only afterwards.
        self.icon = wait_for("the program's icon in the bar", self._find_icon)

    def _find_icon(self):
        if self.process.poll() is not None:
            raise RuntimeError(f"the program ended with {self.process.returncode}: {self.process.stdout.read()}")
        return next((window for window in self.windows() if "22x22" in run("xdotool", "getwindowgeometry", window)), None)

    def windows(self):
        return windows("--pid", self.process.pid)

    def alerts(self):
        return named("--all", "--pid", self.process.pid)

    def panel(self):
        """Whether the panel shows, while neither a menu nor the main window does."""
        return set(self.windows()) - {self.icon, *self.alerts()}

    def click_panel(self, button):
        found = wait_for(button, lambda: find(objects_of(self), lambda item: item.get_name() == button))
        run("xdotool", "mousemove", *middle(found), "click", "1")

    def open_menu(self, button):
        """The window of the status menu, which any mouse button opens."""
        before = set(self.windows())
        run("xdotool", "mousemove", "--window", self.icon, "8", "8", "click", button)
        return wait_for("the menu", lambda: set(self.windows()) - before).pop()

    def choose(self, item):
        """An item of the status menu, with the mouse alone."""
        menu = self.open_menu(3)
        height = int(re.search(r"HEIGHT=(\d+)", run("xdotool", "getwindowgeometry", "--shell", menu))[1])
        run("xdotool", "mousemove", "--window", menu, "40", height - item, "click", "1")

    @staticmethod
    def history():
        file = pathlib.Path(os.environ["XDG_DATA_HOME"], "Tavrik", "history.json")
        return json.loads(file.read_text()) if file.exists() else []

    @staticmethod
    def takes():
        return sorted(pathlib.Path(tempfile.gettempdir()).glob("tavrik-*.wav"))


class MockService(Process):
    """A D-Bus service of the session. Its methods are given as (arguments' signature, answer's signature, code)."""

    def __init__(self, name, path, interface=None, **methods):
        self._interface = interface or name
        super().__init__("/usr/bin/python3", "-m", "dbusmock", "--session", name, path, self._interface)
        bus = dbus.SessionBus()
        wait_for(name, lambda: bus.name_has_owner(name))
        self._mock = dbus.Interface(bus.get_object(name, path), "org.freedesktop.DBus.Mock")
        for method, definition in methods.items():
            self._mock.AddMethod(self._interface, method, *definition)

    def calls(self, method):
        """The arguments of each call so far."""
        return [list(arguments) for _, arguments in self._mock.GetMethodCalls(method)]

    def add_property(self, name, value):
        self._mock.AddProperty(self._interface, name, value)

    def emit(self, signal, signature, *arguments):
        self._mock.EmitSignal(self._interface, signal, signature, arguments)


@contextlib.contextmanager
def taken(key):
    """Another program's shortcut, with whatever modifiers."""
    other = Xlib.display.Display()
    code = other.keysym_to_keycode(Xlib.XK.string_to_keysym(key))
    other.screen().root.grab_key(code, Xlib.X.AnyModifier, True, Xlib.X.GrabModeAsync, Xlib.X.GrabModeAsync)
    other.sync()
    try:
        yield
    finally:
        other.close()


def set_preference(program, key, value):
    subprocess.run([program, "preferences", "set", key, "-"], input=value, text=True, check=True)


def kept_session():
    """What the keyring holds for the program."""
    found = subprocess.run(["secret-tool", "lookup", *SLOT], text=True, capture_output=True)
    return json.loads(found.stdout) if found.returncode == 0 else None


def keep_session():
    """Somebody is signed in, and stays so."""
    session = {"accessToken": "a", "refreshToken": "r", "expiresAt": 4e9, "email": "someone@example.org"}
    subprocess.run(["secret-tool", "store", "--label=Tavrik", *SLOT], input=json.dumps(session), text=True, check=True)


def forget_session():
    subprocess.run(["secret-tool", "clear", *SLOT])
    assert kept_session() is None


class Alert:
    """An alert of the program, as assistive technology sees it."""

    def __init__(self, program):
        self._program = program
        self._dialog = wait_for("an alert", self._find)

    def _find(self):
        return find(objects_of(self._program), lambda item: item.get_role() in (
            Atspi.Role.ALERT, Atspi.Role.DIALOG) and has_state(item, SHOWING))

    def texts(self):
        return [item.get_name() for item in descendants(self._dialog)
                if item.get_role() in (Atspi.Role.LABEL, Atspi.Role.TEXT)]

    def dismiss(self):
        Atspi.Action.do_action(find(descendants(self._dialog), lambda item: item.get_role() == Atspi.Role.PUSH_BUTTON), 0)
        wait_for("the alert to close", lambda: not self._find())


class Window:
    """The program's main window: what of it is showing, by its name or description, and a hand at mouse and keyboard."""

    def __init__(self, program):
        self._program = program
        self.id = wait_for("the window", named)[0]
        self.activate()

    def activate(self):
        # Fails while the window manager has not taken notice of it.
        wait_for("the window in front", lambda: subprocess.run(
            ["xdotool", "windowactivate", "--sync", self.id], capture_output=True).returncode == 0)

    def _showing(self):
        return [item for item in objects_of(self._program) if has_state(item, SHOWING)]

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
        return sorted(rows, key=lambda row: place(row).y)

    def lists(self, *texts):
        wait_for(f"the rows {texts}", lambda: tuple(row.get_name() for row in self.rows()) == texts)

    def is_on(self, name):
        return bool(item := self.find(name)) and has_state(item, Atspi.StateType.CHECKED)

    def can_use(self, name):
        return bool(item := self.find(name)) and is_usable(item)

    def focused(self):
        """The name of what the keyboard acts on."""
        return (item := self._focused_item()) and label(item)

    def _focused_item(self):
        return find(self._showing(), lambda item: has_state(item, Atspi.StateType.FOCUSED) and is_usable(item))

    def tab(self):
        """Moves the focus on by one stop; the name of that stop."""
        before = self.focused()
        self.key("Tab")
        return wait_for(f"another focus than {before!r}", lambda: (now := self.focused()) != before and now)

    def tab_round(self):
        """The names and roles of all stops."""
        stops = []
        while self.tab() and (stop := describe(self._focused_item())) not in stops:
            stops.append(stop)
        return stops

    def controls(self):
        """Whatever shows and is more than text, or a place for something else."""
        return [item for item in self._showing() if item.get_role() not in PASSIVE]

    def heading(self, name):
        return find(self._showing(), lambda item: item.get_role() == Atspi.Role.HEADING and item.get_name() == name)

    def tab_to(self, name):
        wait_for(f"the focus on {name!r}", lambda: self.tab() == name)

    def middle(self, name, within=None):
        """Where it has come to rest on the screen."""
        seen = []

        def rests():
            item = self.find(name, within)
            seen.append(item and middle(item))
            return item and seen[-1:] == seen[-2:-1] and seen[-1]

        return wait_for(f"{name!r} to rest", rests)

    def click(self, name, within=None, times=1):
        # The buttons of a row must be seen before they can be pressed.
        look = ("sleep", "0.2") if within else ()
        run("xdotool", "mousemove", *self.middle(name, within), *look, "click", "--repeat", times, "--delay", "30", "1")

    def choose(self, opens_menu, *keys):
        """With these keys, of the context menu that a call opens. It is not in the accessible tree."""
        before = set(self._program.windows())
        opens_menu()
        wait_for("the menu", lambda: set(self._program.windows()) - before)
        self.key(*keys)

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


class ScreenReader:
    """What one speaks without being asked: notifications that appear."""

    def __init__(self):
        self._spoken = []
        self._listener = Atspi.EventListener.new(self._appeared)
        self._listener.register("object:state-changed:showing")

    def _appeared(self, event):
        # It may be gone by now.
        with contextlib.suppress(GLib.GError):
            if event.detail1 and event.source.get_role() == Atspi.Role.NOTIFICATION:
                self._spoken.append(event.source.get_name())

    def spoken(self):
        while GLib.MainContext.default().iteration(False):
            pass
        return self._spoken

    def speaks(self, text):
        wait_for(f"{text!r} to be spoken", lambda: text in self.spoken())


class Suite(unittest.TestCase):
    """Somebody dictates into an editor. The suite's arguments begin with TAVRIK TAVRIK-MOCK-SERVER PORT."""

    @classmethod
    def setUpClass(cls):
        cls.program = sys.argv[1]
        cls.sentence = voice("سلام، امروز هوا خیلی خوب است و ما به پارک می‌رویم")
        set_preference(cls.program, "openrouter_api_key", "sk-mine")

    def open(self, *options):
        self.backend = self.enterContext(Backend(*sys.argv[2:4], *options))
        self.editor = self.enterContext(Editor())

    def launch(self, *arguments):
        self.tavrik = self.enterContext(Tavrik(self.program, *arguments))
        return self.tavrik

    def tearDown(self):
        self.assertEqual(Tavrik.takes(), [], "a recording was left behind")

    def speak(self, *shortcut):
        self.editor.focus()
        with held(*(shortcut or SHORTCUT)):
            speak(self.sentence)

    def dictate(self, text="Offline mock server", *shortcut):
        """Until it arrives; the requests that it made. The check for updates may fall into it."""
        before = len(self.backend.requests())
        pasted = self.editor.text().count(text)
        self.speak(*shortcut)
        wait_for(f"{text!r} in the editor", lambda: self.editor.text().count(text) == pasted + 1)
        return [request for request in self.backend.requests()[before:] if request["method"] == "POST"]
