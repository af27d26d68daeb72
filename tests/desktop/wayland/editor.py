"""A plain text window of Wayland or X11, as GDK_BACKEND says.

usage: editor.py FILE    FILE always holds the whole text, FILE.focus a line for each time the window gains or loses the focus
"""

import pathlib
import sys

import gi

gi.require_version("Gtk", "3.0")
from gi.repository import Gtk  # noqa: E402

path = pathlib.Path(sys.argv[1])
focus = open(f"{path}.focus", "w", buffering=1)
part = path.with_suffix(".part")


def save(buffer):
    part.write_text(buffer.get_text(*buffer.get_bounds(), True))
    part.replace(path)  # readers never see half a text


area = Gtk.TextView(wrap_mode=Gtk.WrapMode.WORD_CHAR)
area.get_buffer().connect("changed", save)
save(area.get_buffer())
window = Gtk.Window(title="Editor", default_width=500, default_height=300)
window.connect("notify::is-active", lambda *_: print("in" if window.is_active() else "out", file=focus))
window.connect("destroy", Gtk.main_quit)
window.add(area)
window.show_all()
Gtk.main()
