#!/usr/bin/env python3
"""The GTK 3 application the desktop tests type into: a menu bar (File: New Window; Edit: Cut, Copy,
Paste, with their Ctrl accelerators), an entry, a text view, a password entry, a list whose Edit >
Copy copies LIST_COPY_TEXT, and a second window with an entry.

Usage: gtk_test_app.py SOCKET. One JSON request a line on the UNIX socket: {"cmd": "state"},
{"cmd": "focus", "widget": W}, {"cmd": "set", "widget": W, "text": T, "selection": [start, end]}
(in characters), {"cmd": "quit"}. Each is answered with the state as GTK holds it: {"active": window,
"focus": widget, "fields": {W: {"text": T, "selection": [start, end]}}}, W one of WIDGETS.
"""
import json, socket, sys
import gi
gi.require_version("Gtk", "3.0")
gi.require_version("Gdk", "3.0")
from gi.repository import Gdk, GLib, Gtk

LIST_COPY_TEXT = "Zeile β – row two"
WIDGETS = ("entry", "view", "password", "list", "second")


class TestApp:
    def __init__(self, socket_path):
        Gtk.Settings.get_default().set_property("gtk-entry-select-on-focus", False)
        self.main, self.second = Gtk.Window(title="textport test"), Gtk.Window(title="textport second")
        self.second.connect("delete-event", lambda window, _: window.hide_on_delete())
        self.main.connect("destroy", Gtk.main_quit)
        accel, bar = Gtk.AccelGroup(), Gtk.MenuBar()
        self.main.add_accel_group(accel)
        for title, items in (("_File", (("_New Window", "n"),)),
                             ("_Edit", (("Cu_t", "x"), ("_Copy", "c"), ("_Paste", "v")))):
            top, menu = Gtk.MenuItem.new_with_mnemonic(title), Gtk.Menu()
            top.set_submenu(menu)
            bar.append(top)
            for label, key in items:
                item = Gtk.MenuItem.new_with_mnemonic(label)
                item.add_accelerator("activate", accel, ord(key), Gdk.ModifierType.CONTROL_MASK,
                                     Gtk.AccelFlags.VISIBLE)
                item.connect("activate", self.menu_item, key)
                menu.append(item)
        self.list = Gtk.ListBox()
        for label in ("row one", LIST_COPY_TEXT):
            self.list.add(Gtk.Label(label=label))
        self.widgets = dict(zip(WIDGETS, (Gtk.Entry(), Gtk.TextView(), Gtk.Entry(visibility=False),
                                          self.list.get_row_at_index(1), Gtk.Entry())))
        box = Gtk.Box(orientation=Gtk.Orientation.VERTICAL)
        for widget in (bar, *(self.widgets[name] for name in WIDGETS[:3]), self.list):
            box.pack_start(widget, widget is self.widgets["view"], True, 0)
        self.main.add(box)
        self.second.add(self.widgets["second"])
        self.main.show_all()
        self.server = socket.socket(socket.AF_UNIX)
        self.server.bind(socket_path)
        self.server.listen()
        GLib.io_add_watch(self.server, GLib.PRIORITY_DEFAULT, GLib.IO_IN, self.accept)

    def menu_item(self, _item, key):
        """What a real application's menu does: the focused widget cuts, copies or pastes."""
        widget = self.main.get_focus()
        if key == "n":
            self.focus("second")
        elif isinstance(widget, (Gtk.Entry, Gtk.TextView)):
            widget.emit({"x": "cut", "c": "copy", "v": "paste"}[key] + "-clipboard")
        elif widget is self.widgets["list"] and key == "c":
            Gtk.Clipboard.get(Gdk.SELECTION_CLIPBOARD).set_text(LIST_COPY_TEXT, -1)

    def focus(self, name):
        widget = self.widgets[name]
        widget.get_toplevel().show_all()
        # What a window manager would do: raise it and give it the input focus, as of now (present()
        # would use the time of this application's last input event, which a later focus change beats).
        widget.get_toplevel().get_window().focus(Gdk.CURRENT_TIME)
        if name == "list":
            self.list.select_row(widget)
        widget.get_toplevel().set_focus(widget)

    def set(self, name, text, selection):
        widget = self.widgets[name]
        if isinstance(widget, Gtk.Entry):
            widget.set_text(text)
            widget.select_region(*selection)
        else:
            widget.get_buffer().set_text(text)
            widget.get_buffer().select_range(*(widget.get_buffer().get_iter_at_offset(i) for i in selection[::-1]))

    def state(self):
        fields = {}
        for name, widget in self.widgets.items():
            if isinstance(widget, Gtk.Entry):
                bounds = widget.get_selection_bounds() or (widget.get_position(),) * 2
                fields[name] = {"text": widget.get_text(), "selection": list(bounds)}
            elif isinstance(widget, Gtk.TextView):
                buffer = widget.get_buffer()
                bounds = buffer.get_selection_bounds() or (buffer.get_iter_at_mark(buffer.get_insert()),) * 2
                fields[name] = {"text": buffer.get_text(*buffer.get_bounds(), True),
                                "selection": [bound.get_offset() for bound in bounds]}
        active = next((window for window in (self.main, self.second) if window.is_active()), None)
        focus = active.get_focus() if active else None
        return {"active": active and active.get_title(), "fields": fields,
                "focus": next((name for name, widget in self.widgets.items() if widget is focus), None)}

    def accept(self, *_):
        client = self.server.accept()[0]
        GLib.io_add_watch(client, GLib.PRIORITY_DEFAULT, GLib.IO_IN | GLib.IO_HUP, self.serve, client.makefile("rwb"))
        return True

    def serve(self, client, _condition, connection):
        line = connection.readline()  # the tests wait for each answer, so one line at a time
        if not line:
            connection.close()
            client.close()
            return False
        request = json.loads(line)
        if request["cmd"] == "focus":
            self.focus(request["widget"])
        elif request["cmd"] == "set":
            self.set(request["widget"], request["text"], request.get("selection", [0, 0]))
        elif request["cmd"] == "quit":
            Gtk.main_quit()
        connection.write(json.dumps(self.state()).encode() + b"\n")
        connection.flush()
        return True


if __name__ == "__main__":
    app = TestApp(sys.argv[1])
    Gtk.main()
