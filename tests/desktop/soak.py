"""Many dictations in a row, with whatever can go wrong. Nothing may be stuck, lost or left behind.

usage: soak.py TAVRIK TAVRIK-BACKEND PORT [COUNT [SEED]]

Memory is judged in runs of 100 and more; a short one has not warmed up.
"""

import base64
import collections
import contextlib
import json
import os
import pathlib
import random
import subprocess
import sys
import tempfile
import time

import Xlib.X
import Xlib.display
import Xlib.error
import Xlib.ext.res

import desk

CHAT = "/api/v1/chat/completions"
VDESK = pathlib.Path(__file__).with_name("vdesk")
# How much more there may be at the end than once warmed up: room for what
# comes and goes (a tooltip has 7 X resources) or is first needed late.
LIMITS = {"memory": 2048, "descriptors": 3, "threads": 3, "x_resources": 10}
FILES = {"history.json", "preferences.json", ".preferences.lock"}
PROCESSING = 1.5  # seconds that a reply takes during which something else is to happen


def completion(text):
    return json.dumps({"choices": [{"message": {"content": text}}]}, ensure_ascii=False)


class Replies:
    """What the service may do. Each is a script for the mock server and the text that must arrive, if any."""

    def __init__(self, rng):
        self._rng = rng

    def text(self, number):
        words = ["fluent", "naïve", "„quoted“", "a — b", "😀", "tab\there", "line\nbreak", "x" * 40]
        length = self._rng.choice([1, 3, 10, 30, 30, 300])
        return f"[{number}] " + " ".join(self._rng.choices(words, k=length)) + "."

    def make(self, number):
        text = self.text(number)
        whole = {"status": 200, "body": completion(text)}
        cut = self._rng.randrange(1, 20)
        kinds = [
            (10, whole, text),
            (6, whole | {"delayMs": int(PROCESSING * 1000)}, text),
            (2, whole | {"delayMs": self._rng.randrange(1, 500)}, text),
            (2, whole | {"chunked": True}, text),
            (1, {"status": 200, "body": completion(f"[{number}] dribble"), "byteIntervalMs": 5}, f"[{number}] dribble"),
            (1, {"status": 429, "body": '{"error":{"message":"<b>Slow</b> down"}}'}, None),
            (1, {"status": 500, "body": "<html>" + "oops " * 1000}, None),
            (1, {"status": 200, "body": completion(" \n ")}, None),
            (1, {"status": 200, "bodyBase64": base64.b64encode(self._rng.randbytes(500)).decode()}, None),
            (1, {"status": 200, "bodySize": 1 << 20}, None),
            (1, whole | {"afterReplyBytes": cut, "ending": "close"}, None),
            (1, whole | {"afterReplyBytes": cut, "ending": "reset"}, None),
            (1, {"ending": "reset"}, None),
            (1, {"ending": "close"}, None),
            (1, {"ending": "reset", "afterRequestBytes": 100}, None),
        ]
        _, script, text = self._rng.choices(kinds, [weight for weight, *_ in kinds])[0]
        return {"path": CHAT, **script}, text


class Figures:
    """What the program holds at one moment."""

    def __init__(self, program, memory):
        pid = program.process.pid
        self.memory = memory
        process = pathlib.Path(f"/proc/{pid}")
        self.descriptors = len(list((process / "fd").iterdir()))
        self.threads = len(list((process / "task").iterdir()))
        self.x_kinds = self._x_kinds(pid)
        self.x_resources = self.x_kinds.total()

    @staticmethod
    def _x_kinds(pid):
        """How many of each kind the X server keeps for the program, over all of its connections."""
        server = Xlib.display.Display()
        counts = collections.Counter()
        wanted = [{"client": 0, "mask": Xlib.ext.res.LocalClientPIDMask}]
        for client in server.res_query_client_ids(wanted).ids:
            if client.value != [pid]:
                continue
            for kind in server.res_query_client_resources(client.spec.client).types:
                counts[server.get_atom_name(kind.resource_type)] += kind.count
        server.close()
        return counts

    def __str__(self):
        return f"{self.memory} kB private dirty, {self.descriptors} descriptors, {self.threads} threads, " \
            f"{self.x_resources} X resources"

    def grown(self, before, names):
        """What there is too much of, in comparison with an earlier moment."""
        found = []
        for name in names:
            old, new = getattr(before, name), getattr(self, name)
            if new - old > LIMITS[name]:
                found.append(f"{name} grew from {old} to {new}")
                if name == "x_resources":
                    found[-1] += f" by {dict(self.x_kinds - before.x_kinds)}"
        return found


class Soak:
    def __init__(self, program, backend, port, seed):
        self.rng = random.Random(seed)
        self.replies = Replies(self.rng)
        self.happened = collections.Counter()
        self.texts = []
        # In kB after each of the latest dictations. A single one tells how large its reply was: what has just been freed
        # is not always given back at once. The least of them is what is kept.
        self.memory = collections.deque(maxlen=20)
        self.x = Xlib.display.Display()
        desk.set_preference(program, "openrouter_api_key", "sk-rehearsal")
        self.backend = desk.Backend(backend, port)
        self.editor = desk.Editor()
        self.tavrik = desk.Tavrik(program)

    def figures(self):
        desk.wait_for("the history on disk", lambda: len(self.tavrik.history()) == len(self.texts))
        return Figures(self.tavrik, min(self.memory))

    def private_dirty(self):
        rollup = pathlib.Path(f"/proc/{self.tavrik.process.pid}/smaps_rollup").read_text()
        return int(rollup.split("Private_Dirty:")[1].split()[0])

    @staticmethod
    def strange_files():
        """What the program has left and should not have."""
        folders = [pathlib.Path(os.environ[name], "Tavrik") for name in ("XDG_DATA_HOME", "XDG_CONFIG_HOME")]
        found = {file.name for folder in folders for file in folder.iterdir()} - FILES
        return found | set(os.listdir(tempfile.gettempdir()))

    # The desk

    def restart(self, process):
        self.happened[f"{process} restarts"] += 1
        subprocess.run([VDESK, "restart", process], check=True)
        self.editor.focus()

    def property(self, window, name):
        found = window.get_full_property(self.x.get_atom(name), Xlib.X.AnyPropertyType)
        return list(found.value) if found else []

    def alert_is_open(self):
        """Whether the program has a window with a frame: all that it can show here is an alert."""
        for number in self.property(self.x.screen().root, "_NET_CLIENT_LIST"):
            with contextlib.suppress(Xlib.error.BadWindow):
                window = self.x.create_resource_object("window", number)
                if self.property(window, "_NET_WM_PID") == [self.tavrik.process.pid]:
                    return True
        return False

    def asked(self):
        return sum(request["path"] == CHAT for request in self.backend.requests())

    def panel(self):
        """Where the panel is; nothing while it is hidden."""
        for window in self.x.screen().root.query_tree().children:
            with contextlib.suppress(Xlib.error.BadWindow, Xlib.error.BadDrawable):
                attributes, geometry = window.get_attributes(), window.get_geometry()
                size = geometry.width, geometry.height
                if attributes.override_redirect and attributes.map_state and size == (208, 90):
                    return geometry
        return None

    def click_panel(self, side):
        """The cross is on the left (-1), the check mark on the right (1)."""
        panel = desk.wait_for("the panel", lambda: self.panel() or self.alert_is_open())
        if panel is True:
            return  # nothing could be recorded
        desk.run("xdotool", "mousemove", str(panel.x + 104 + side * 62), str(panel.y + 41), "click", "1")

    def state(self):
        """What there is to be seen, when something did not come."""
        alert = desk.Alert(self.tavrik).texts() if self.alert_is_open() else None
        return f"alert {alert}, panel {self.panel()}, takes {self.tavrik.takes()}, asked {self.asked()}, " \
            f"ended {self.tavrik.process.poll()}"

    def is_calm(self):
        return not self.panel() and not self.tavrik.takes()

    # What a person does

    def tap(self):
        self.happened["taps"] += 1
        desk.run("xdotool", "keydown", "Alt_L", "keydown", "space", "keyup", "space", "keyup", "Alt_L")

    def cancel(self):
        self.happened["cancelled"] += 1
        with desk.held(*desk.SHORTCUT):
            self.click_panel(-1)
            desk.wait_for("the end of what was cancelled", self.is_calm)

    def beforehand(self):
        restarts = [lambda: self.restart("03-pulse"), lambda: self.restart("04-openbox")]
        self.rng.choices([lambda: None, self.tap, self.cancel, *restarts], [12, 2, 2, 1, 1])[0]()

    def speak(self):
        finish = self.rng.choices(["release", "check mark", "server dies", "manager dies"], [12, 3, 1, 1])[0]
        with desk.held(*desk.SHORTCUT):
            time.sleep(self.rng.uniform(0.6, 1.2))
            if finish == "check mark":
                self.happened["finished by the check mark"] += 1
                self.click_panel(1)
            elif finish == "server dies" and self.panel():
                self.restart("03-pulse")
            elif finish == "manager dies":
                self.restart("04-openbox")

    def meanwhile(self):
        """Something while the reply is awaited."""
        what = self.rng.choice(["nothing", "tap", "hold", "sound"])
        if what == "tap":
            self.tap()
        elif what == "hold":
            self.happened["held while processing"] += 1
            with desk.held(*desk.SHORTCUT):
                desk.wait_for("the end of processing", self.is_calm)
        elif what == "sound":
            self.restart("03-pulse")

    def at_an_alert(self):
        alert = desk.Alert(self.tavrik)
        what = self.rng.choice(["nothing", "nothing", "tap", "manager"])
        if what == "tap":
            self.tap()
        elif what == "manager":
            self.happened["04-openbox restarts"] += 1
            subprocess.run([VDESK, "restart", "04-openbox"], check=True)
        texts = alert.texts()
        alert.dismiss()
        return texts

    def dictation(self, number):
        script, text = self.replies.make(number)
        self.backend.forget()
        self.backend.script(script)
        self.beforehand()
        while True:
            self.editor.focus()
            self.speak()
            desk.wait_for("a request or an alert", lambda: self.asked() or self.alert_is_open())
            if self.asked():
                break
            # On a busy machine the sound server does not always answer in time; that is told, and tried again.
            self.happened["refused presses"] += 1
            texts = desk.Alert(self.tavrik).texts()
            if not any("Could not start recording" in words for words in texts):
                raise AssertionError(f"unexpected: {texts}")
            self.at_an_alert()
        if script.get("delayMs", 0) >= PROCESSING * 1000:
            self.meanwhile()
        if text:
            self.texts.append(text)
            desk.wait_for(f"{text[:20]!r} in the editor", lambda: text in self.editor.text())
        else:
            self.happened["alerts"] += 1
            self.at_an_alert()
        desk.wait_for("the end of the dictation", self.is_calm)
        self.memory.append(self.private_dirty())
        if self.asked() != 1:
            raise AssertionError(f"{self.asked()} requests for one dictation")

    def check_texts(self):
        kept = [record["text"] for record in self.tavrik.history()]
        if kept != self.texts[::-1]:
            raise AssertionError(f"the history has {len(kept)} texts, expected were {len(self.texts)}: "
                                 f"{set(kept) ^ set(self.texts)}")
        if self.editor.text() != "".join(self.texts):
            raise AssertionError("the editor does not hold every text once, in order")

    def stop(self):
        for program in (self.tavrik, self.editor, self.backend):
            program.stop()


def main(program, backend, port, count="500", seed=None):
    count = int(count)
    seed = int(seed) if seed else random.randrange(1 << 30)
    warm = min(50, count // 3)
    print(f"{count} dictations, seed {seed}", flush=True)
    with tempfile.TemporaryDirectory() as folder:
        # The program's temporary files are seen where nobody else has any.
        tempfile.tempdir = os.environ["TMPDIR"] = folder
        soak = Soak(program, backend, port, seed)
        number = 0
        try:
            for number in range(1, count + 1):
                soak.dictation(number)
                if number == warm:
                    before = soak.figures()
                if number == warm or number % 50 == 0 or number == count:
                    now = soak.figures()
                    print(f"after {number}: {now}", flush=True)
            soak.check_texts()
            faults = now.grown(before, [name for name in LIMITS if name != "memory" or count >= 100])
        except BaseException:
            print(f"at dictation {number}; so far: {dict(soak.happened)}; {soak.state()}", flush=True)
            raise
        finally:
            soak.stop()
        faults += [f"left behind: {name}" for name in soak.strange_files()]
    print(f"{len(soak.texts)} texts, {dict(soak.happened)}")
    for fault in faults:
        print(f"FAIL: {fault}")
    print(f"Totals: {0 if faults else 1} passed, {len(faults)} failed, 0 skipped")
    return 1 if faults else 0


sys.exit(main(*sys.argv[1:]))
