"""Many dictations in a row, with whatever can go wrong. Nothing may be stuck, lost or left behind.

usage: soak.py TAVRIK TAVRIK-MOCK-SERVER PORT [COUNT [SEED]]

Memory is judged in runs of 100 and more; a short one has not warmed up.
"""

import base64
import collections
import json
import os
import pathlib
import random
import re
import signal
import sys
import tempfile
import time

import Xlib.display
import Xlib.ext.res

import desk

# How much more there may be at the end than once warmed up: room for what comes and goes (a tooltip has 7 X resources) or
# is first needed late.
LIMITS = {"kB private dirty": 2048, "descriptors": 3, "threads": 3, "X resources": 10}
FILES = {"history.json", "preferences.json", ".preferences.lock"}
HISTORY = pathlib.Path(os.environ["XDG_DATA_HOME"], "Tavrik", "history.json")
PROCESSING = 1.5  # seconds that a reply takes during which something else is to happen
# A busy machine's sound server may miss the time that a recording has to start; more than this many in a hundred is a fault.
REFUSED = 2


def translation(text):
    return json.dumps({"text": text}, ensure_ascii=False)


def reply(rng, number):
    """Something that the service may do: a script for the mock server, and the text that must arrive, if any."""
    words = ["fluent", "naïve", "„quoted“", "a — b", "😀", "tab\there", "line\nbreak", "x" * 40]
    text = f"[{number}] " + " ".join(rng.choices(words, k=rng.choice([1, 3, 10, 30, 30, 300]))) + "."
    whole = {"status": 200, "body": translation(text)}
    cut = {"afterReplyBytes": rng.randrange(1, 20)}
    kinds = [
        (10, whole, text),
        (6, whole | {"delayMs": int(PROCESSING * 1000)}, text),
        (2, whole | {"delayMs": rng.randrange(1, 500)}, text),
        (2, whole | {"chunked": True}, text),
        (1, {"status": 200, "body": translation(f"[{number}] dribble"), "byteIntervalMs": 5}, f"[{number}] dribble"),
        (1, {"status": 429, "body": '{"error":{"message":"<b>Slow</b> down"}}'}, None),
        (1, {"status": 500, "body": "<html>" + "oops " * 1000}, None),
        (1, {"status": 200, "body": translation(" \n ")}, None),
        (1, {"status": 200, "bodyBase64": base64.b64encode(rng.randbytes(500)).decode()}, None),
        (1, {"status": 200, "bodySize": 1 << 20}, None),
        (1, whole | cut | {"ending": "close"}, None),
        (1, whole | cut | {"ending": "reset"}, None),
        (1, {"ending": "reset"}, None),
        (1, {"ending": "close"}, None),
        (1, {"ending": "reset", "afterRequestBytes": 100}, None),
    ]
    _, script, text = rng.choices(kinds, [weight for weight, *_ in kinds])[0]
    return script, text


class Soak:
    def __init__(self, program, server, port, seed):
        self.rng = random.Random(seed)
        self.happened = collections.Counter()
        self.texts = []
        # In kB after each of the latest dictations. A single one tells how large its reply was: what has just been freed
        # is not always given back at once. The least of them is what is kept.
        self.memory = collections.deque(maxlen=20)
        # Otherwise the window would open, as at the first launch, while the keyring is locked.
        desk.set_preference(program, "openrouter_api_key", "sk-rehearsal")
        desk.keep_session()
        self.program, self.service = program, (server, port)
        self.backend = desk.Backend(*self.service)
        self.sing()
        self.editor = desk.Editor()
        self.start()

    def figures(self):
        """What the program holds; its X resources are those of all its connections."""
        desk.wait_for("the history on disk", lambda: len(self.tavrik.history()) == len(self.texts))
        x = Xlib.display.Display()
        clients = x.res_query_client_ids([{"client": 0, "mask": Xlib.ext.res.LocalClientPIDMask}]).ids
        resources = [kind.count for client in clients if client.value == [self.tavrik.process.pid]
                     for kind in x.res_query_client_resources(client.spec.client).types]
        x.close()
        return {"kB private dirty": min(self.memory), "descriptors": len(list((self.process / "fd").iterdir())),
                "threads": len(list((self.process / "task").iterdir())), "X resources": sum(resources)}

    def start(self):
        self.tavrik = desk.Tavrik(self.program)
        self.process = pathlib.Path(f"/proc/{self.tavrik.process.pid}")
        self.memory.clear()

    def end(self):
        number = self.rng.choice([signal.SIGTERM, signal.SIGINT, signal.SIGHUP])
        self.happened[number.name] += 1
        self.tavrik.process.send_signal(number)
        assert (self.tavrik.process.wait(10), self.tavrik.takes()) == (0, []), "not ended in order"

    def asked(self):
        return len(self.backend.requests(desk.TRANSLATE))

    def is_calm(self):
        return not self.tavrik.panel() and not self.tavrik.takes()

    def sing(self):
        """Into the microphone, since silence is not sent."""
        desk.run("pactl", "load-module", "module-sine", "sink=vmic")

    def restart(self, process):
        self.happened[f"{process} restarts"] += 1
        desk.run("vdesk", "restart", process)
        if process == "03-pulse":
            self.sing()

    def restart_service(self):
        """All its connections are cut."""
        self.happened["service restarts"] += 1
        self.backend.stop()
        self.backend = desk.Backend(*self.service)

    def restart_program(self):
        self.end()
        self.start()

    def lock(self):
        """The next start has to ask for the keyring's password."""
        self.happened["keyring locks"] += 1
        desk.run("gdbus", "call", "--session", "-d", "org.freedesktop.secrets", "-o", "/org/freedesktop/secrets",
                 "-m", "org.freedesktop.Secret.Service.Lock", "['/org/freedesktop/secrets/collection/login']")
        self.restart_program()
        question = ("--name", "^Unlock Login Keyring$")
        desk.wait_for("the question", lambda: desk.windows(*question))
        desk.run("xdotool", "search", "--onlyvisible", *question, "windowfocus", "--sync", "key", *"test", "Return")
        desk.wait_for("the session", lambda: re.search("keyring: +works", desk.run(self.program, "status", check=False)))

    def edit(self):
        """Somebody writes the same history down in another form."""
        self.happened["outside edits"] += 1
        desk.wait_for("the history on disk", lambda: len(self.tavrik.history()) == len(self.texts))
        HISTORY.write_text(json.dumps(self.tavrik.history()))

    # What a person does

    def tap(self):
        self.happened["taps"] += 1
        with desk.held(*desk.SHORTCUT):
            pass

    def cancel(self):
        self.happened["cancelled"] += 1
        with desk.held(*desk.SHORTCUT):
            desk.wait_for("the panel", lambda: self.tavrik.panel() or self.tavrik.alerts())
            if self.tavrik.panel():
                self.tavrik.click_panel(desk.CANCEL)
                desk.wait_for("the end of what was cancelled", self.is_calm)
                return
        self.refused()

    def beforehand(self):
        acts = [lambda: None, self.tap, self.cancel, lambda: self.restart("03-pulse"), lambda: self.restart("04-openbox"),
                self.restart_service, self.edit if self.texts else self.tap, self.restart_program, self.lock]
        self.rng.choices(acts, [12, 2, 2, 1, 1, 1, 1, self.signals, self.signals])[0]()

    def speak(self):
        """Whether it was recorded. If not, the alert that says so is there."""
        finish = self.rng.choices(["release", "check mark", "03-pulse", "04-openbox", "service", "signal"],
                                  [12, 3, 1, 1, 1, self.signals])[0]
        self.editor.focus()
        with desk.held(*desk.SHORTCUT):
            desk.wait_for("the panel", lambda: self.tavrik.panel() or self.tavrik.alerts())
            time.sleep(self.rng.uniform(0.6, 1.2))
            if not self.tavrik.takes():
                return False
            desk.wait_for("the panel", self.tavrik.panel)
            if finish == "service":
                self.restart_service()
            if finish == "signal":
                self.end()
            else:
                self.backend.script({"path": desk.TRANSLATE, **self.script})
            if finish == "check mark":
                self.happened["finished by the check mark"] += 1
                self.tavrik.click_panel(desk.CONFIRM)
            elif finish in ("03-pulse", "04-openbox"):
                self.restart(finish)
                # A window manager that has just started takes its time to say who has the keyboard.
                desk.wait_for("the focus", lambda: desk.run("xdotool", "getwindowfocus", check=False).strip() == self.editor.window)
        if finish == "signal":
            self.start()
            return self.speak()
        return True

    def meanwhile(self):
        """Something while the reply is awaited; whether that is given up."""
        what = self.rng.choices(["nothing", "tap", "hold", "sound", "signal"], [2, 2, 2, 2, self.signals])[0]
        if what == "tap":
            self.tap()
        elif what == "hold":
            self.happened["held while processing"] += 1
            with desk.held(*desk.SHORTCUT):
                desk.wait_for("the end of processing", self.is_calm)
        elif what == "sound":
            self.restart("03-pulse")
        elif what == "signal":
            self.restart_program()
        return what == "signal"

    def refused(self):
        self.happened["refused"] += 1
        words = self.at_an_alert()
        assert any("Could not start recording" in word for word in words), words

    def at_an_alert(self):
        self.happened["alerts"] += 1
        alert = desk.Alert(self.tavrik)
        self.rng.choice([lambda: None, lambda: None, self.tap, lambda: self.restart("04-openbox")])()
        texts = alert.texts()
        alert.dismiss()
        # Its window goes a moment later, and would be taken for the next one.
        desk.wait_for("the alert to go", lambda: not self.tavrik.alerts())
        return texts

    def dictation(self, number):
        self.script, text = reply(self.rng, number)
        self.backend.forget()
        self.beforehand()
        if not self.speak():
            self.refused()
            assert self.speak(), "nothing can be recorded"
        desk.wait_for("the request", self.asked)
        given_up = self.script.get("delayMs", 0) >= PROCESSING * 1000 and self.meanwhile()
        if given_up:
            self.happened["given up"] += 1
        elif text:
            self.texts.append(text)
            desk.wait_for(f"{text[:20]!r} in the editor", lambda: text in self.editor.text())
            if self.signals and self.rng.random() < 0.1:
                self.restart_program()
        else:
            words = self.at_an_alert()
            assert self.script.get("status") != 429 or "<b>Slow</b> down" in words, words
        desk.wait_for("the end of the dictation", self.is_calm)
        rollup = (self.process / "smaps_rollup").read_text()
        self.memory.append(int(rollup.split("Private_Dirty:")[1].split()[0]))
        assert given_up or self.asked() == 1, "one dictation, several requests"

    def run(self, count):
        """What was wrong."""
        warm = count // 3 + min(50, count // 3)
        for number in range(1, count + 1):
            # What grows is seen in a program that then goes on to the end.
            self.signals = 1 if number <= count // 3 else 0
            self.dictation(number)
            if number == warm or number % 50 == 0 or number == count:
                now = self.figures()
                before = now if number == warm else before if number > warm else None
                print(f"after {number}: {now}", flush=True)
        faults = [f"{name}: from {before[name]} to {now[name]}" for name, limit in LIMITS.items()
                  if now[name] - before[name] > limit and (count >= 100 or name != "kB private dirty")]
        if self.happened["refused"] > 1 + count * REFUSED // 100:
            faults.append(f"{self.happened['refused']} recordings were refused")
        if [record["text"] for record in self.tavrik.history()] != self.texts[::-1]:
            faults.append("the history does not hold every text once, in order")
        if self.editor.text() != "".join(self.texts):
            faults.append("the editor does not hold every text once, in order")
        return faults

    def left_behind(self):
        folders = [pathlib.Path(os.environ[name], "Tavrik") for name in ("XDG_DATA_HOME", "XDG_CONFIG_HOME")]
        found = {file.name for folder in folders for file in folder.iterdir()} - FILES
        kept = {name for name in found if name.startswith("history (changed elsewhere ")}
        if len(kept) > 3:
            yield f"{len(kept)} copies of the edited history"
        for name in found - kept | set(os.listdir(tempfile.gettempdir())):
            yield f"left behind: {name}"


def main(program, server, port, count="500", seed=None):
    seed = int(seed) if seed else random.randrange(1 << 30)
    print(f"{count} dictations, seed {seed}", flush=True)
    with tempfile.TemporaryDirectory() as folder:
        # glibc would keep up to twice the largest block that each thread has freed, megabytes after a large reply.
        os.environ["MALLOC_MMAP_THRESHOLD_"] = str(128 * 1024)
        # The program's temporary files are seen where nobody else has any.
        tempfile.tempdir = os.environ["TMPDIR"] = folder
        soak = Soak(program, server, port, seed)
        try:
            faults = soak.run(int(count))
        finally:
            print(f"{len(soak.texts)} texts, {dict(soak.happened)}; panel {soak.tavrik.panel()}, "
                  f"alerts {soak.tavrik.alerts()}, takes {soak.tavrik.takes()}, ended {soak.tavrik.process.poll()}")
            for part in (soak.tavrik, soak.editor, soak.backend):
                part.stop()
        faults += soak.left_behind()
    for fault in faults:
        print(f"FAIL: {fault}")
    print(f"Totals: {0 if faults else 1} passed, {len(faults)} failed, 0 skipped")
    return 1 if faults else 0


sys.exit(main(*sys.argv[1:]))
