"""Whole dictations with the installed program: real keys, a real voice, a real editor.

usage: test_dictation.py TAVRIK TAVRIK-MOCK-SERVER PORT
"""

import array
import os
import pathlib
import shutil
import sys
import tempfile
import time
import wave

import desk

RATE = 16000


def click(samples):
    """Where the one loud click is."""
    return max(range(len(samples)), key=lambda index: abs(samples[index]))


class Dictation(desk.Suite):
    def setUp(self):
        self.open()
        self.launch()

    def dictations(self):
        """How many the service was asked for; it is also asked for releases."""
        return len(self.backend.requests(desk.CHAT))

    def test_speech_becomes_text_in_the_editor(self):
        before = len(self.tavrik.history())
        self.dictate()
        text = self.editor.text()
        self.assertRegex(text, r"[2-9]\.\d seconds")
        self.assertTrue(self.editor.has_focus())
        self.assertEqual(desk.run("xclip", "-o", "-selection", "clipboard"), text)
        history = desk.wait_for("the record", lambda: self.tavrik.history()[before:] and self.tavrik.history())
        self.assertEqual(history[0]["text"], text)

    def test_the_first_and_the_last_syllable_are_recorded(self):
        """Beside another recorder on the same microphone, which was there before and stays longer."""
        folder = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory()))
        noise, heard = folder / "noise.wav", folder / "heard"
        desk.run("sox", "-n", "-r", "48000", "-c", "2", "-b", "16", noise, "synth", "6", "whitenoise", "vol", "0.1")
        desk.run("sox", "-n", "-r", "48000", "-c", "2", "-b", "16", folder / "click.wav", "synth", "0.002", "square", "500")
        self.backend.script({"path": desk.CHAT, "status": 500, "delayMs": 3000})
        self.enterContext(desk.Process("parec", "--raw", "--device=mic", f"--rate={RATE}", "--channels=1",
                                       "--format=s16le", "--latency-msec=5", heard))
        self.enterContext(desk.Process("paplay", "--device=vmic", noise))
        desk.wait_for("the noise", lambda: heard.exists() and heard.stat().st_size > RATE)

        pressed = heard.stat().st_size // 2
        with desk.held(*desk.SHORTCUT):
            time.sleep(0.5)
            desk.speak(folder / "click.wav")
            time.sleep(0.5)
            released = heard.stat().st_size // 2
        desk.wait_for("the request", self.dictations)
        # It lies there until the reply.
        with wave.open(str(self.tavrik.takes()[0])) as take:
            take = array.array("h", take.readframes(take.getnframes()))
        reference = array.array("h", heard.read_bytes()[:2 * (released + RATE)][: heard.stat().st_size // 2 * 2])
        start = click(reference) - click(take)
        self.assertLess((start - pressed) / RATE, 0.1, "the first syllable")
        self.assertLess((released - start - len(take)) / RATE, 0.01, "the last syllable")
        desk.Alert(self.tavrik).dismiss()

    def test_a_service_that_never_answers(self):
        self.backend.script({"path": desk.CHAT, "ending": "stall"})
        self.speak()
        desk.wait_for("the request", self.dictations)
        asked = time.monotonic()
        self.speak()
        alert = desk.wait_for("the end of the wait", self.tavrik.alerts, 90) and desk.Alert(self.tavrik)
        self.assertAlmostEqual(time.monotonic() - asked, 60, delta=5)
        self.assertEqual(self.dictations(), 1, "two dictations at once")
        alert.dismiss()
        self.dictate()

    def test_takes_with_something_wrong(self):
        desk.run("pactl", "set-source-mute", "mic", "1")
        self.speak()
        desk.run("pactl", "set-source-mute", "mic", "0")
        self.assertEqual((self.tavrik.takes(), self.tavrik.alerts(), self.dictations()), ([], [], 0))
        self.editor.focus()
        with desk.held(*desk.SHORTCUT):
            desk.speak(self.sentence)
            desk.run("vdesk", "restart", "03-pulse")
        desk.wait_for("the note", lambda: self.editor.text() and desk.find(
            desk.objects_of(self.tavrik), lambda item: item.get_name() == "The recording ended early"))
        self.assertTrue(self.tavrik.panel() and self.editor.has_focus())
        desk.wait_for("the panel to go", lambda: not self.tavrik.panel())
        self.dictate()

    def test_views_that_cannot_be_loaded(self):
        """Replaced while it runs, and damaged."""
        self.tavrik.stop()
        installed = pathlib.Path(self.program).parents[1]
        copy = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory(dir=installed.parent)))
        shutil.copytree(installed, copy, copy_function=os.link, dirs_exist_ok=True)
        self.program = copy / pathlib.Path(self.program).relative_to(installed)
        self.launch()
        views, = copy.glob("**/libtavrik-views-*")
        views.unlink()
        views.touch()
        for reason in r"Tavrik was updated\. Quit it and start it again\.", r"Tavrik cannot show its windows\. .+\(.+\)":
            self.dictate()
            self.assertRegex(desk.run(self.program, "status"), rf"panel: +not working [^\n]*: {reason}\n")
            desk.run(self.program, "tavrik:")
            self.assertRegex("\n".join(desk.Alert(self.tavrik).texts()), reason)
            self.tavrik.stop()
            self.launch()

    def test_the_icon(self):
        def is_lit():
            bar = ("convert", "x:root", "-crop", "1280x30+0+0", "-unique-colors", "txt:")
            return "srgb(242,163,60)" in desk.run(*bar)

        self.assertFalse(is_lit())
        with desk.held(*desk.SHORTCUT):
            desk.wait_for("the icon of a recording", is_lit)
        desk.wait_for("the idle icon", lambda: not is_lit())
        # A label does nothing; a click on it leaves the menu open.
        menu = self.tavrik.open_menu(1)
        desk.run("xdotool", "mousemove", "--window", menu, "40", "13", "click", "1", "key", "ctrl+o")
        desk.Window(self.tavrik).sees("Welcome to Tavrik")

    def test_quitting_by_the_menu(self):
        """A recording is given up."""
        with desk.held(*desk.SHORTCUT):
            desk.wait_for("the panel", self.tavrik.panel)
            self.tavrik.choose(desk.QUIT)
            self.assertEqual(self.tavrik.process.wait(5), 0, self.tavrik.process.stdout.read())


desk.main(*sys.argv[4:])
