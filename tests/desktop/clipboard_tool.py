#!/usr/bin/env python3
"""Owns or reads the X11 CLIPBOARD for the desktop tests: the truth from outside textport.

One JSON request a line on standard input, one answer line each; bytes travel in base64.
{"own": {"<target>": "<bytes>", ...}} takes the clipboard with these targets and serves them until
another program takes it over -> {"owned": true}. {"read": true} -> {"targets": {...}}: every data
target the owner lists, with its bytes ({} when nobody owns the clipboard). {"names": true} ->
{"names": [...]}: the data targets listed, none of them read.
"""
import base64, json, sys
import gi
gi.require_version("Gtk", "3.0")
gi.require_version("Gdk", "3.0")
gi.require_version("GdkX11", "3.0")
from gi.repository import Gdk, GdkX11, GLib, Gtk

CLIPBOARD = Gdk.SELECTION_CLIPBOARD
PROTOCOL_TARGETS = {"TARGETS", "MULTIPLE", "TIMESTAMP", "SAVE_TARGETS"}


class ClipboardTool:
    def __init__(self):
        self.items, self.widget = {}, Gtk.Invisible()
        self.widget.realize()
        self.widget.connect("selection-get", lambda _w, data, *_: data.set(
            data.get_target(), 8, self.items[data.get_target().name()]))
        self.clipboard = Gtk.Clipboard.get(CLIPBOARD)

    def own(self, items):
        self.items = {name: base64.b64decode(value) for name, value in items.items()}
        Gtk.selection_clear_targets(self.widget, CLIPBOARD)
        for info, name in enumerate(self.items):
            Gtk.selection_add_target(self.widget, CLIPBOARD, Gdk.Atom.intern(name, False), info)
        now = GdkX11.x11_get_server_time(self.widget.get_window())
        return {"owned": Gtk.selection_owner_set(self.widget, CLIPBOARD, now)}

    def names(self):
        # TARGETS is asked for afresh each time: GTK's cached list can lag behind an owner change.
        listing = self.clipboard.wait_for_contents(Gdk.Atom.intern("TARGETS", False))
        ok, atoms = listing.get_targets() if listing else (False, [])
        return sorted({atom.name() for atom in atoms if ok} - PROTOCOL_TARGETS)

    def read(self):
        targets = {}
        for name in self.names():
            data = self.clipboard.wait_for_contents(Gdk.Atom.intern(name, False))
            if data is not None and data.get_length() >= 0:
                targets[name] = base64.b64encode(data.get_data() or b"").decode()
        return {"targets": targets}

    def handle(self, stdin, _condition):
        if not (line := stdin.readline()):
            Gtk.main_quit()
            return False
        request = json.loads(line)
        answer = (self.own(request["own"]) if "own" in request else
                  {"names": self.names()} if "names" in request else self.read())
        sys.stdout.write(json.dumps(answer) + "\n")
        sys.stdout.flush()
        return True


if __name__ == "__main__":
    GLib.io_add_watch(sys.stdin.buffer, GLib.PRIORITY_DEFAULT, GLib.IO_IN | GLib.IO_HUP, ClipboardTool().handle)
    Gtk.main()
