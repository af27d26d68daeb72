"""One whole dictation on a virtual desktop, told step by step.

usage: rehearse.py TAVRIK TAVRIK-BACKEND PORT FOLDER-FOR-SCREENSHOTS [THE BACKEND'S OPTIONS...]
"""

import pathlib
import sys
import threading
import time

import desk


def main(program, backend, port, folder, *options):
    pictures = pathlib.Path(folder)
    pictures.mkdir(parents=True, exist_ok=True)
    began = time.monotonic()

    def tell(step):
        print(f"{time.monotonic() - began:6.2f} s  {step}", flush=True)

    def picture(name):
        desk.screenshot(pictures / name)
        tell(f"         screenshot: {pictures / name}")

    sentence = desk.voice("سلام، امروز هوا خیلی خوب است و ما به پارک می‌رویم")
    desk.set_preference(program, "openrouter_api_key", "sk-rehearsal")
    with desk.Backend(backend, port, *options) as service, desk.Editor() as editor, desk.Tavrik(program) as tavrik:
        tell(f"the mock server for the services listens on {service.url}")
        tell("an editor has the keyboard focus; Tavrik is in the tray")
        picture("1-ready.png")

        tell("Alt+Space goes down; somebody speaks Persian")
        with desk.held(*desk.SHORTCUT):
            speaking = threading.Thread(target=desk.speak, args=(sentence,))
            speaking.start()
            time.sleep(1.2)
            picture("2-recording.png")
            speaking.join()
        tell("Alt+Space is let go")
        desk.wait_for("the text", editor.text, 20)
        tell(f"the editor now reads: {editor.text()}")
        record = desk.wait_for("the history", tavrik.history)[0]
        tell(f"the history's first record: {record}")
        picture("3-pasted.png")
        if record["text"] != editor.text() or tavrik.takes():
            raise SystemExit("the rehearsal failed: the history or the temporary files are not as they should be")
    tell("done")


main(*sys.argv[1:])
