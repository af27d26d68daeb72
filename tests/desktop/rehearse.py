"""One whole dictation on a virtual desktop, told step by step.

usage: rehearse.py TAVRIK TAVRIK-MOCK-SERVER PORT FOLDER-FOR-SCREENSHOTS [THE MOCK SERVER'S OPTIONS...]
"""

import pathlib
import subprocess
import sys
import time

import desk

began = time.monotonic()


def tell(step, picture=None):
    print(f"{time.monotonic() - began:6.2f} s  {step}", flush=True)
    if picture:
        desk.screenshot(pictures / picture)
        print(f"          screenshot: {pictures / picture}", flush=True)


program, server, port, folder, *options = sys.argv[1:]
pictures = pathlib.Path(folder)
pictures.mkdir(parents=True, exist_ok=True)
sentence = desk.voice("سلام، امروز هوا خیلی خوب است و ما به پارک می‌رویم")
desk.set_preference(program, "openrouter_api_key", "sk-rehearsal")
with desk.Backend(server, port, *options) as service, desk.Editor() as editor, desk.Tavrik(program) as tavrik:
    tell(f"the mock server for the services listens on {service.url}")
    tell("an editor has the keyboard focus; Tavrik is in the tray", "1-ready.png")
    tell("Alt+Space goes down; somebody speaks Persian")
    with desk.held(*desk.SHORTCUT):
        speaking = subprocess.Popen(["paplay", "--device=vmic", sentence])
        time.sleep(1.2)
        tell("the panel listens", "2-recording.png")
        speaking.wait()
    tell("Alt+Space is let go")
    text = desk.wait_for("the text", editor.text, 20)
    tell(f"the editor now reads: {text}", "3-pasted.png")
    record = desk.wait_for("the history", tavrik.history)[0]
    tell(f"the history's first record: {record}")
    if record["text"] != text or tavrik.takes():
        raise SystemExit("the rehearsal failed: the history or the temporary files are not as they should be")
