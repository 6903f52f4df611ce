#!/usr/bin/env python3
"""textport --daemon on a real X11 desktop, judged by the test application's own state and by a
separate clipboard process, never by textport's answers alone.

Usage: test_end_to_end.py TEXTPORT [unittest arguments], or TEXTPORT_BINARY in the environment.
Inside `desktop_session.py --app -- ...` it joins that session; alone it starts its own.
"""
import base64, contextlib, ctypes, hashlib, json, os, select, signal, subprocess, sys, tempfile, time, unittest

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, HERE)
import desktop_session as ds  # noqa: E402

APP_CHANGED = "当前应用已变化，结果已保留 / Active application changed"
FIELD_CHANGED = "输入控件已变化，请复制结果 / Input field changed"
TARGET_CHANGED = "目标或光标已变化，结果已保留，请复制 / Target changed; copy the result"
LIST_COPY_TEXT = "Zeile β – row two"  # what the test application's Edit > Copy copies from its list
TEXT, SELECTED, PASTE, RESULT = "Hello brave new world", (6, 11), "bold 🦊", "Hello bold 🦊 new world"
USER_TEXT = "the user’s clipboard ✓".encode()
USER = {"text/plain;charset=utf-8": USER_TEXT, "UTF8_STRING": USER_TEXT,
        "image/png": b"\x89PNG\r\n\x1a\n\x00\x00\x00\rIHDR" + bytes(range(256)),
        "application/x-textport-test": b"\x00\x01\x00\xfe\xff textport\x00"}
BIG = dict(USER, **{"application/x-textport-test": bytes(range(256)) * 4096})  # 1 MiB, NULs included
NEWER = {"UTF8_STRING": b"written during the wait"}
BINARY = os.environ.get("TEXTPORT_BINARY")


def utf16(text):
    return len(text.encode("utf-16-le")) // 2


def digest(items):
    """Clipboard contents in a form whose differences print briefly."""
    return {name: (len(data), data[:24], hashlib.sha256(data).hexdigest()[:12]) for name, data in items.items()}


def set_keyboard(layout, variant, group):
    """The session's keyboard layouts, and the group in use (as a layout switch key would lock it)."""
    subprocess.run(["setxkbmap", "-layout", layout, "-variant", variant], check=True, timeout=10)
    x11 = ctypes.cdll.LoadLibrary("libX11.so.6")
    x11.XOpenDisplay.restype = ctypes.c_void_p
    display = x11.XOpenDisplay(None)
    assert display, "no display"
    x11.XkbLockGroup(ctypes.c_void_p(display), 0x100, group)  # XkbUseCoreKbd
    x11.XSync(ctypes.c_void_p(display), 0)
    x11.XCloseDisplay(ctypes.c_void_p(display))


class LinePipe:
    """A child process spoken to one JSON line at a time; every answer has a deadline."""

    def __init__(self, argv, **kwargs):
        self.proc, self.pending = subprocess.Popen(argv, stdin=subprocess.PIPE, stdout=subprocess.PIPE, **kwargs), b""

    def send(self, request):
        self.proc.stdin.write(json.dumps(request, ensure_ascii=False).encode() + b"\n")
        self.proc.stdin.flush()

    def receive(self, timeout=10):
        deadline, fd = time.monotonic() + timeout, self.proc.stdout.fileno()
        while b"\n" not in self.pending:
            left = deadline - time.monotonic()
            if not (chunk := os.read(fd, 1 << 20) if left > 0 and select.select([fd], [], [], left)[0] else b""):
                self.proc.kill()  # a late answer must not pass for the next request's
                raise AssertionError(f"{self.proc.args[0]}: no answer within {timeout} s")
            self.pending += chunk
        line, self.pending = self.pending.split(b"\n", 1)
        return json.loads(line)

    def ask(self, request, timeout=10):
        self.send(request)
        return self.receive(timeout)

    def close(self):
        with contextlib.suppress(OSError):  # it may have ended already
            self.proc.stdin.close()
        with contextlib.suppress(subprocess.TimeoutExpired):
            self.proc.wait(timeout=10)
        self.proc.kill()
        self.proc.wait()
        self.proc.stdout.close()


class Clipboard(LinePipe):
    def __init__(self, python):
        super().__init__([python, os.path.join(HERE, "clipboard_tool.py")], env=dict(os.environ, NO_AT_BRIDGE="1"))

    def own(self, items):
        assert self.ask({"own": {name: base64.b64encode(data).decode() for name, data in items.items()}})["owned"]

    def read(self):
        return {name: base64.b64decode(data) for name, data in self.ask({"read": True}, 30)["targets"].items()}

    def names(self):
        """The targets listed, none of them read (a read of staged text would count as the target's)."""
        return self.ask({"names": True})["names"]


class EndToEnd(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.started, cls.session = time.monotonic(), ds.Session(app=True).__enter__()
        cls.app, cls.other = cls.session.app, cls.session.start_app("other")
        cls.user, cls.reader = Clipboard(cls.session.python), Clipboard(cls.session.python)
        cls.errors, cls.textport = tempfile.TemporaryFile(), None

    @classmethod
    def tearDownClass(cls):
        for pipe in filter(None, (cls.textport, cls.user, cls.reader)):
            pipe.close()
        cls.session.__exit__()
        print(f"\nend-to-end module: {time.monotonic() - cls.started:.2f} s", file=sys.stderr)
        cls.errors.seek(0)
        ending = (cls.textport and cls.textport.proc.returncode, cls.errors.read().decode(errors="replace"))
        cls.errors.close()
        assert ending in ((0, ""), (None, "")), f"textport --daemon ended with (status, stderr) {ending}"

    def setUp(self):
        if not self.textport or self.textport.proc.poll() is not None:  # the first case, or after a crash
            type(self).textport = LinePipe([BINARY, "--daemon"], stderr=self.errors)
        for app, widgets in ((self.app, ("entry", "view", "second")), (self.other, ("entry",))):
            for widget in widgets:
                app.call("set", widget=widget, text="")
        self.app.focus("entry")
        self.user.own(USER)

    def tearDown(self):
        self.errors.seek(0)
        self.assertEqual(self.errors.read().decode(errors="replace"), "", "textport wrote to standard error")

    def capture(self, widget, text=TEXT, selection=SELECTED, app=None):
        (app or self.app).call("set", widget=widget, text=text, selection=list(selection))
        (app or self.app).focus(widget)
        return self.textport.ask({"action": "target", "selection": True})

    def deliver(self, target, text=PASTE, **keys):
        return self.textport.ask(dict({"action": "deliver", "target": target, "text": text}, **keys))

    def assert_clipboard(self, items):
        """Every target of items is on the clipboard with exactly its bytes."""
        clipboard = self.reader.read()
        self.assertEqual(digest({name: clipboard.get(name, b"") for name in items}), digest(items))

    def assert_text(self, widget, expected):
        """The widget's text becomes expected (a paste lands a few milliseconds after the keystroke)."""
        try:
            ds.wait_for(lambda: self.app.fields()[widget]["text"] == expected, "the paste", timeout=3)
        except TimeoutError:
            self.assertEqual(self.app.fields()[widget]["text"], expected)

    def test_capture_reports_the_selection_in_utf16_units(self):
        for widget, text, (start, end), role in (("entry", "Grüße, 😀 Welt", (7, 13), "AXTextField"),
                                                  ("view", "first line\nzweite 🦊 Zeile\n", (6, 19), "AXTextArea")):
            with self.subTest(widget):
                answer = self.capture(widget, text, (start, end))
                self.assertEqual(len(answer.get("captureToken", "")), 36, answer)
                expected = {"pid": self.app.pid, "target_mode": "focused", "role": role, "selection": text[start:end],
                            "selection_source": "accessibility", "offset": utf16(text[:start]),
                            "length": utf16(text[start:end])}
                self.assertEqual({key: answer.get(key) for key in expected}, expected)
                self.assertEqual(self.app.fields()[widget], {"text": text, "selection": [start, end]})
                self.assert_clipboard(USER)

    def test_password_text_is_never_reported(self):
        answer = self.capture("password", "hunter2 secret", (0, 14))
        self.assertNotIn("secret", json.dumps(answer, ensure_ascii=False))
        self.assert_clipboard(USER)

    def test_widget_without_text_is_read_through_edit_copy(self):
        self.app.focus("list")
        answer = self.textport.ask({"action": "target", "selection": True})
        self.assertEqual((answer.get("selection"), answer.get("selection_source")), (LIST_COPY_TEXT, "copy"), answer)
        self.assert_clipboard(USER)

    def test_delivery_pastes_and_puts_every_clipboard_type_back(self):
        for widget, clipboard in (("entry", USER), ("view", BIG)):
            with self.subTest(widget, clipboard_bytes=sum(map(len, clipboard.values()))):
                self.user.own(clipboard)
                self.assertEqual(self.deliver(self.capture(widget)), {"status": "paste_sent"})
                self.assert_text(widget, RESULT)
                self.assert_clipboard(clipboard)

    def test_opted_in_delivery_restores_once_the_application_has_read(self):
        for widget, clipboard in (("entry", USER), ("view", BIG)):
            with self.subTest(widget):
                self.user.own(clipboard)
                answer = self.deliver(self.capture(widget), restore_after_read=True, transient=True)
                self.assertEqual(answer, {"read": True, "status": "paste_sent"})
                self.assert_text(widget, RESULT)
                self.assert_clipboard(clipboard)

    def test_opted_in_delivery_to_a_widget_that_never_reads_ends_at_the_bound_or_a_newer_write(self):
        for newer in (None, NEWER):
            with self.subTest(newer_writer=bool(newer)):
                self.setUp()
                self.app.focus("list")
                target = self.textport.ask({"action": "target", "selection": True})
                self.textport.send({"action": "deliver", "target": target, "text": PASTE,
                                    "restore_after_read": True, "transient": True})
                # Staged: the clipboard lists the history hint (listing reads no text).
                ds.wait_for(lambda: "x-kde-passwordManagerHint" in self.reader.names(), "the staged text")
                if newer:
                    self.user.own(newer)
                self.assertEqual(self.textport.receive(), {"read": False, "status": "paste_sent"})
                self.assertEqual(digest(self.reader.read()), digest(newer or USER))

    def test_transient_probe_marker_carries_the_history_hint(self):
        probe = LinePipe([BINARY, "--daemon", "--verify-selection"], stderr=self.errors)
        try:
            self.assertEqual(probe.ask({"action": "probe_clipboard", "mode": "begin", "transient": True}), {"ok": True})
            self.assertEqual(self.reader.read().get("x-kde-passwordManagerHint"), b"secret")
            self.assertEqual(probe.ask({"action": "probe_clipboard", "mode": "restore"}), {"ok": True})
        finally:
            probe.close()
        self.assert_clipboard(USER)

    def test_paste_lands_on_other_keyboard_layouts(self):
        # Dvorak moves "v" to another key; with a second group active, the key of "v" in the first
        # group types "k" there, so the keystroke must use the key of the group in use.
        for layout, variant, group in (("us", "dvorak", 0), ("us,us", ",dvorak", 1)):
            with self.subTest(layout=layout, variant=variant, group=group):
                try:
                    set_keyboard(layout, variant, group)
                    self.assertEqual(self.deliver(self.capture("entry")), {"status": "paste_sent"})
                    self.assert_text("entry", RESULT)
                    self.assert_clipboard(USER)
                finally:
                    set_keyboard("us", "", 0)

    def test_refusals_paste_nothing_and_keep_the_clipboard(self):
        def quit_and_return(app):
            app.quit()
            self.app.focus("entry")
        for name, new_app, act, message in (
                ("caret moved", None, lambda app: app.call("set", widget="entry", text=TEXT), TARGET_CHANGED),
                ("field switched", None, lambda app: app.focus("view"), FIELD_CHANGED),
                ("window switched", None, lambda app: app.focus("second"), FIELD_CHANGED),
                ("application switched", None, lambda app: self.other.focus("entry"), APP_CHANGED),
                ("application quit", "quitting", quit_and_return, APP_CHANGED)):
            with self.subTest(name):
                self.setUp()
                app = self.session.start_app(new_app) if new_app else self.app
                answer = self.capture("entry", app=app)
                act(app)
                before = [self.app.fields(), self.other.fields()]
                self.assertEqual(self.deliver(answer), {"error": message})
                self.assert_clipboard(USER)  # its round trips also give a stray paste the time to land
                self.assertEqual([self.app.fields(), self.other.fields()], before)

    def test_newer_clipboard_writer_during_the_wait_keeps_its_content(self):
        self.textport.send({"action": "deliver", "target": self.capture("entry"), "text": PASTE})
        self.assert_text("entry", RESULT)  # pasted: textport now waits before it restores
        self.user.own(NEWER)
        self.assertEqual(self.textport.receive(), {"status": "paste_sent"})
        self.assertEqual(digest(self.reader.read()), digest(NEWER))

    def test_frozen_application_still_gets_an_answer(self):
        os.kill(self.app.pid, signal.SIGSTOP)
        try:
            started = time.monotonic()
            answer = self.textport.ask({"action": "target", "selection": True}, timeout=20)
            print(f"target while the application is stopped: {time.monotonic() - started:.2f} s", file=sys.stderr)
        finally:
            os.kill(self.app.pid, signal.SIGCONT)
        self.assertIsInstance(answer, dict)

    def test_one_shot_copy_outlives_the_process(self):
        text = "kopiert ✓ 🦊"
        done = subprocess.run([BINARY], input=json.dumps({"action": "copy", "text": text}).encode(),
                              capture_output=True, timeout=10)  # times out if a child keeps stdout open
        self.assertEqual((done.returncode, done.stdout, done.stderr), (0, b'{"status":"copied"}\n', b""))
        self.assertEqual(self.reader.read().get("UTF8_STRING"), text.encode())
        self.user.own(USER)  # whatever kept the copy on the clipboard has no more reason to run
        ours = {proc.pid for proc in self.session.procs + [self.user.proc, self.reader.proc, self.textport.proc]}
        ds.wait_for(lambda: not [pid for pid in ds.descendants(os.getpid()) if pid not in ours and ds.alive(pid)],
                    "the process that kept the copy to end", timeout=5)


if __name__ == "__main__":
    ds.run_with_gi_python()
    BINARY = sys.argv.pop(1) if sys.argv[1:] and not sys.argv[1].startswith("-") else BINARY
    if not BINARY or ("TEXTPORT_TEST_APP_SOCKET" not in os.environ and ds.missing()):
        print("desktop tests skipped: " + (f"install {ds.missing()}" if BINARY else "no textport binary given"))
        sys.exit(ds.SKIP)
    unittest.main(verbosity=2)
