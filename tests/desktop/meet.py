"""What a desktop does with an installed Tavrik: finds it for its URLs, starts it over the bus, shows its window.

usage: meet.py FOLDER-FOR-SCREENSHOTS [--no-backend]
"""

import pathlib
import sys

import desk

ID = "io.nordvex.tavrik"
CALL = ("gdbus", "call", "--session", "--dest", ID, "--object-path", "/io/nordvex/tavrik", "--method")

pictures = pathlib.Path(sys.argv[1])
pictures.mkdir(parents=True, exist_ok=True)
if (handler := desk.run("xdg-mime", "query", "default", "x-scheme-handler/tavrik").strip()) != f"{ID}.desktop":
    raise SystemExit(f"tavrik: URLs go to {handler!r}")
desk.run(*CALL, "org.freedesktop.Application.Activate", "{}")
desk.wait_for("the window", lambda: desk.windows("^Tavrik$"), 20)
desk.run(*CALL, "org.freedesktop.DBus.Peer.Ping")
if "--no-backend" in sys.argv:
    text = "This build of Tavrik has no server to sign in to."
    desk.wait_for(text, lambda: any(item.get_name() == text for item in desk.descendants(desk.Atspi.get_desktop(0))))
desk.screenshot(pictures / "activated.png")
print("the bus started it, and its window is there", flush=True)
