#!/usr/bin/env python3
"""Runs conversations with textport-sim and checks them: the answer lines byte for byte, and the
parts of the final desktop that each file lists. Copy it into your own CI.

Usage: check.py TEXTPORT_SIM FILE.json...   (exit status 1 when any file does not hold)

Each file has "world" (a world file, relative to the file), "requests" (objects, sent one per
line), "answers" (the exact lines) and optionally "timeline" (the user's actions, added to the
world's) and "state" (what the final desktop must hold: objects match on the keys they list,
lists element by element).
"""
import json, os, subprocess, sys, tempfile


def holds(expected, actual):
    if isinstance(expected, dict):
        return isinstance(actual, dict) and all(k in actual and holds(v, actual[k]) for k, v in expected.items())
    if isinstance(expected, list):
        return isinstance(actual, list) and len(expected) == len(actual) and all(map(holds, expected, actual))
    return expected == actual


def check(sim, path):
    case = json.load(open(path, encoding="utf-8"))
    world = json.load(open(os.path.join(os.path.dirname(path), case["world"]), encoding="utf-8"))
    world["timeline"] = world.get("timeline", []) + case.get("timeline", [])
    with tempfile.TemporaryDirectory() as scratch:
        world_file, state_file = os.path.join(scratch, "world.json"), os.path.join(scratch, "state.json")
        json.dump(world, open(world_file, "w", encoding="utf-8"))
        lines = "".join(json.dumps(r, ensure_ascii=False) + "\n" for r in case["requests"])
        run = subprocess.run([sim, "--world", world_file, "--state-out", state_file, "--daemon"],
                             input=lines.encode(), capture_output=True, timeout=60)
        answers = run.stdout.decode().splitlines()
        problems = [] if run.returncode == 0 and not run.stderr else [f"exit {run.returncode}: {run.stderr!r}"]
        if answers != case["answers"]:
            problems.append("answers:\n  expected " + "\n           ".join(case["answers"]) +
                            "\n  got      " + "\n           ".join(answers))
        if "state" in case and not holds(case["state"], json.load(open(state_file, encoding="utf-8"))):
            problems.append("the final desktop differs from " + json.dumps(case["state"], ensure_ascii=False))
    for problem in problems:
        print(f"{path}: {problem}")
    return not problems


if __name__ == "__main__":
    if len(sys.argv) < 3:
        sys.exit(__doc__)
    results = [check(sys.argv[1], path) for path in sys.argv[2:]]
    print(f"{sum(results)} of {len(results)} conversations hold")
    sys.exit(0 if all(results) else 1)
