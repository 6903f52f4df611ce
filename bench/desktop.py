#!/usr/bin/env python3
"""textport on a real X11 desktop: how long capture, the Copy route and delivery take.

Usage: bench/desktop.py TEXTPORT [RUNS]. Starts its own headless session with the GTK test
application (tests/desktop/), drives one warm `textport --daemon` and prints the median and the
95th percentile of each request's round trip, as seen by the parent application.
"""
import os, signal, statistics, sys, time

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "tests", "desktop"))
import desktop_session as ds  # noqa: E402
from test_end_to_end import USER, Clipboard, LinePipe  # noqa: E402


def timed(textport, request, timeout=10):
    started = time.monotonic()
    answer = textport.ask(request, timeout)
    return time.monotonic() - started, answer


def report(name, seconds):
    seconds = sorted(seconds)
    p95 = seconds[min(len(seconds) - 1, int(0.95 * len(seconds)))]
    print(f"{name:<34} median {statistics.median(seconds) * 1e3:8.1f} ms   p95 {p95 * 1e3:8.1f} ms"
          f"   ({len(seconds)} runs)")


def main(binary, runs):
    with ds.Session(app=True) as session:
        app, user = session.app, Clipboard(session.python)
        user.own(USER)
        textport = LinePipe([binary, "--daemon"])
        try:
            figures = {"capture (accessibility)": [], "capture (Edit > Copy)": [], "deliver": [],
                       "deliver, restore after read": [], "target, application stopped": []}
            app.call("set", widget="entry", text="Hello brave new world", selection=[6, 11])
            app.focus("entry")
            timed(textport, {"action": "target", "selection": True})  # warm: first contact with the app
            for _ in range(runs):
                app.call("set", widget="entry", text="Hello brave new world", selection=[6, 11])
                seconds, target = timed(textport, {"action": "target", "selection": True})
                figures["capture (accessibility)"].append(seconds)
                seconds, answer = timed(textport, {"action": "deliver", "target": target, "text": "bold"})
                assert answer == {"status": "paste_sent"}, answer
                figures["deliver"].append(seconds)
                app.call("set", widget="entry", text="Hello brave new world", selection=[6, 11])
                target = timed(textport, {"action": "target", "selection": True})[1]
                seconds, answer = timed(textport, {"action": "deliver", "target": target, "text": "bold",
                                                   "restore_after_read": True, "transient": True})
                assert answer == {"read": True, "status": "paste_sent"}, answer
                figures["deliver, restore after read"].append(seconds)
            app.focus("list")
            for _ in range(runs):
                seconds, answer = timed(textport, {"action": "target", "selection": True})
                assert answer.get("selection_source") == "copy", answer
                figures["capture (Edit > Copy)"].append(seconds)
            for _ in range(max(3, runs // 10)):
                os.kill(app.pid, signal.SIGSTOP)
                try:
                    figures["target, application stopped"].append(
                        timed(textport, {"action": "target", "selection": True}, 20)[0])
                finally:
                    os.kill(app.pid, signal.SIGCONT)
            for name, seconds in figures.items():
                report(name, seconds)
        finally:
            textport.close()
            user.close()


if __name__ == "__main__":
    ds.run_with_gi_python()
    if len(sys.argv) < 2:
        sys.exit(__doc__)
    main(sys.argv[1], int(sys.argv[2]) if len(sys.argv) > 2 else 30)
