#!/usr/bin/env python3
"""A private headless X11 desktop with the accessibility bus, for the end-to-end tests.

Command: desktop_session.py [--app] -- CMD ARGS...  starts the session (with --app also the GTK test
application, focused; its pid in TEXTPORT_TEST_APP_PID, its control socket in TEXTPORT_TEST_APP_SOCKET),
runs CMD in it, stops every process started in it and exits with CMD's status, or with 77 (skip) when
a program it needs is missing. Module: `with Session(app=True) as session`, which inside a running
session joins it instead.
"""
import contextlib, ctypes, json, os, select, shutil, signal, socket, subprocess, sys, tempfile, time, warnings

HERE = os.path.dirname(os.path.abspath(__file__))
SKIP = 77
LAUNCHERS = ("/usr/libexec/at-spi-bus-launcher", "/usr/lib/at-spi2-core/at-spi-bus-launcher")
GI_CHECK = "import gi; gi.require_version('Gtk', '3.0'); gi.require_version('Atspi', '2.0')"
_libc = ctypes.CDLL(None)


def _dies_with_us():
    _libc.prctl(1, signal.SIGTERM)  # PR_SET_PDEATHSIG: a killed session leaves nothing running


def wait_for(condition, what, timeout=10.0):
    """Polls condition until it returns something true; fails after timeout seconds."""
    deadline = time.monotonic() + timeout
    while not (result := condition()):
        if time.monotonic() > deadline:
            raise TimeoutError(f"timed out after {timeout} s waiting for {what}")
        time.sleep(0.01)
    return result


def gi_python():
    """An interpreter with the GTK 3 and AT-SPI bindings (the system's, when a venv has none)."""
    for exe in dict.fromkeys([sys.executable, "/usr/bin/python3"]):
        if not os.environ.get("TEXTPORT_TEST_PYTHON") and os.path.exists(exe) and \
                subprocess.run([exe, "-c", GI_CHECK], capture_output=True).returncode == 0:
            os.environ["TEXTPORT_TEST_PYTHON"] = exe  # looked for once per session
    return os.environ.get("TEXTPORT_TEST_PYTHON")


def missing():
    """The packages to install before a session can start, or None."""
    need = [pkg for prog, pkg in (("Xvfb", "xvfb"), ("setxkbmap", "x11-xkb-utils"), ("dbus-daemon", "dbus-daemon"),
                                  ("gdbus", "libglib2.0-bin"))
            if not shutil.which(prog)] + ([] if any(map(os.path.exists, LAUNCHERS)) else ["at-spi2-core"])
    return " ".join(need + ([] if gi_python() else ["python3-gi gir1.2-gtk-3.0 gir1.2-atspi-2.0"])) or None


def _stat(pid):
    """[state, parent pid, ...] of a process, or None when there is none."""
    with contextlib.suppress(OSError, IndexError), open(f"/proc/{pid}/stat") as stat:
        return stat.read().rsplit(")", 1)[1].split()


def descendants(root):
    parents = {int(pid): int(stat[1]) for pid in os.listdir("/proc") if pid.isdigit() and (stat := _stat(pid))}
    found, todo = [], [root]
    while todo:
        parent = todo.pop()
        children = [pid for pid, ppid in parents.items() if ppid == parent]
        found, todo = found + children, todo + children
    return found


def alive(pid):
    try:  # a child is gone once reaped (a multi-threaded one shows Z before it can be)
        return os.waitpid(pid, os.WNOHANG)[0] == 0
    except ChildProcessError:  # not ours: its parent reaps it
        return (_stat(pid) or ["Z"])[0] != "Z"


def atspi_focused_role(pid):
    """The role of the element AT-SPI reports FOCUSED in the application with this pid, or None."""
    with warnings.catch_warnings():  # gi's importer trips an ImportWarning under unittest
        warnings.simplefilter("ignore", ImportWarning)
        import gi
        gi.require_version("Atspi", "2.0")
        from gi.repository import Atspi
    Atspi.set_timeout(1000, 2000)

    def search(node, depth=0):
        if node.get_state_set().contains(Atspi.StateType.FOCUSED):
            return node.get_role_name()
        children = (node.get_child_at_index(i) for i in range(node.get_child_count() if depth < 12 else 0))
        return next(filter(None, (search(child, depth + 1) for child in children if child)), None)

    def in_app(index):
        with contextlib.suppress(Exception):  # an application that is going away answers with errors
            app = desktop.get_child_at_index(index)
            return search(app) if app and app.get_process_id() == pid else None
    desktop = Atspi.get_desktop(0)
    return next(filter(None, map(in_app, range(desktop.get_child_count()))), None)


class App:
    """A running gtk_test_app.py and its control channel (one JSON line each way)."""

    def __init__(self, socket_path, pid):
        self.pid, self.sock = pid, socket.socket(socket.AF_UNIX)
        self.sock.settimeout(10)
        wait_for(lambda: self.sock.connect_ex(socket_path) == 0, f"the test application {pid} to listen")
        self.reader = self.sock.makefile("rb")

    def call(self, cmd, **args):
        self.sock.sendall(json.dumps(dict(args, cmd=cmd)).encode() + b"\n")
        return json.loads(self.reader.readline() or b'{"error": "the test application closed its socket"}')

    def fields(self):
        return self.call("state")["fields"]

    def focus(self, widget="entry"):
        """Gives the widget's window the X input focus; waits until GTK and AT-SPI both see it."""
        def focused():
            state = self.call("focus", widget=widget)
            return state["active"] and state["focus"] == widget and atspi_focused_role(self.pid)
        return wait_for(focused, f"{widget} to have the focus")

    def quit(self):
        self.call("quit")
        wait_for(lambda: not alive(self.pid), "the test application to quit")


class Session:
    def __init__(self, app=False):
        self.with_app, self.app, self.apps, self.procs = app, None, [], []

    def spawn(self, argv, **kwargs):
        """Starts a process of the session; its output goes to the session log, never to ours."""
        self.procs.append(subprocess.Popen(argv, stdin=subprocess.DEVNULL, stdout=self.log, stderr=self.log,
                                           preexec_fn=_dies_with_us, **kwargs))
        return self.procs[-1]

    def _ready_line(self, argv, what):
        """Starts a program that writes a line to the descriptor put in place of {} once it is ready."""
        read_end, write_end = os.pipe()
        self.spawn([arg.format(write_end) for arg in argv], pass_fds=(write_end,))
        os.close(write_end)
        with os.fdopen(read_end, "rb") as pipe:  # read to the line feed: closing early kills Xvfb
            if not (line := pipe.readline() if select.select([pipe], [], [], 15)[0] else b"").endswith(b"\n"):
                raise RuntimeError(f"{what} did not start")
        return line.decode().strip()

    def __enter__(self):
        started = time.monotonic()
        _libc.prctl(36, 1)  # PR_SET_CHILD_SUBREAPER: daemons started in the session stay our descendants
        self.python, self.tmp = gi_python(), tempfile.mkdtemp(prefix="textport-desktop-")
        self.log = open(os.path.join(self.tmp, "session.log"), "wb")
        if "TEXTPORT_TEST_APP_SOCKET" in os.environ:
            self.app = App(os.environ["TEXTPORT_TEST_APP_SOCKET"], int(os.environ["TEXTPORT_TEST_APP_PID"]))
            self.apps.append(self.app)
            return self
        try:
            xdg, bus = os.path.join(self.tmp, "xdg"), "unix:path=" + os.path.join(self.tmp, "bus")
            os.mkdir(xdg, 0o700)
            display = self._ready_line(["Xvfb", "-displayfd", "{}", "-screen", "0", "1280x1024x24", "-nolisten",
                                        "tcp", "-noreset"], "Xvfb")
            self._ready_line(["dbus-daemon", "--session", "--nofork", "--address=" + bus, "--print-pid={}"],
                             "dbus-daemon")
            for name in ("NO_AT_BRIDGE", "WAYLAND_DISPLAY", "AT_SPI_BUS_ADDRESS"):
                os.environ.pop(name, None)
            os.environ.update(DISPLAY=":" + display, XDG_RUNTIME_DIR=xdg, GDK_BACKEND="x11", GSETTINGS_BACKEND="memory",
                              DBUS_SESSION_BUS_ADDRESS=bus)
            self.spawn([next(filter(os.path.exists, LAUNCHERS)), "--launch-immediately", "--a11y=1"])
            def gdbus(dest, path, method, *args):
                return subprocess.run(["gdbus", "call", "--session", "--timeout", "5", "--dest", dest, "--object-path",
                                       path, "--method", method, *args], capture_output=True, timeout=10).stdout
            wait_for(lambda: b"true" in gdbus("org.freedesktop.DBus", "/org/freedesktop/DBus",
                                              "org.freedesktop.DBus.NameHasOwner", "org.a11y.Bus"), "the a11y bus")
            gdbus("org.a11y.Bus", "/org/a11y/bus", "org.freedesktop.DBus.Properties.Set", "org.a11y.Status",
                  "IsEnabled", "<true>")
            if self.with_app:
                self.app = self.start_app("app")
                os.environ.update(TEXTPORT_TEST_APP_PID=str(self.app.pid),
                                  TEXTPORT_TEST_APP_SOCKET=os.path.join(self.tmp, "app.sock"))
        except BaseException:
            sys.stderr.write(open(self.log.name, errors="replace").read()[-3000:])
            self.__exit__()
            raise
        print(f"desktop session up in {time.monotonic() - started:.2f} s", file=sys.stderr)
        return self

    def start_app(self, name):
        """Starts a test application and waits until its entry has the focus."""
        socket_path = os.path.join(self.tmp, name + ".sock")
        self.apps.append(App(socket_path, self.spawn([self.python, os.path.join(HERE, "gtk_test_app.py"),
                                                      socket_path]).pid))
        self.apps[-1].focus("entry")
        return self.apps[-1]

    def __exit__(self, *_):
        """Stops every process started in the session, by process id: SIGTERM, then SIGKILL."""
        for app in self.apps:
            app.reader.close()
            app.sock.close()
        pids = descendants(os.getpid())
        for sig in (signal.SIGTERM, signal.SIGKILL):
            for pid in pids:
                with contextlib.suppress(ProcessLookupError):
                    os.kill(pid, sig)
            deadline = time.monotonic() + 5
            while (pids := [pid for pid in pids if alive(pid)]) and time.monotonic() < deadline:
                time.sleep(0.01)
        for proc in self.procs:
            proc.poll()  # reaped above: this records it
        with contextlib.suppress(ChildProcessError):  # orphans that ended after their parents are ours to reap
            while os.waitpid(-1, os.WNOHANG)[0]:
                pass
        self.log.close()
        shutil.rmtree(self.tmp, ignore_errors=True)


def run_with_gi_python():
    """Runs this script again under the interpreter with the GTK bindings when this one has none."""
    if gi_python() and os.path.realpath(gi_python()) != os.path.realpath(sys.executable):
        os.execv(gi_python(), [gi_python()] + sys.argv)


def main(argv):
    if "--" not in argv[:-1]:
        sys.exit("usage: desktop_session.py [--app] -- CMD ARGS...")
    if need := missing():
        print(f"desktop tests skipped: install {need}")
        return SKIP
    run_with_gi_python()
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(143))
    with Session(app="--app" in argv[:argv.index("--")]) as session:
        status = subprocess.run(argv[argv.index("--") + 1:], preexec_fn=_dies_with_us).returncode
        if status != 0:
            sys.stderr.write(open(session.log.name, errors="replace").read()[-4000:])
    return status if status >= 0 else 128 - status


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
