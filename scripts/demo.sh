#!/usr/bin/env bash
# Shows what textport is for, on the simulated editor of examples/editor.json: the assistant
# captures where the user is typing together with the selection, and later pastes its result into
# exactly that place with Command-V, leaving the user's clipboard as it was. One textport-sim
# process answers both requests; the deliver request sends back the target answer line unchanged.
set -euo pipefail
cd "$(dirname "$0")/.."

sim="${TEXTPORT_SIM:-build/release/textport-sim}"
state="${STATE_OUT:-/tmp/state.json}"
world=examples/editor.json
text="courageous"
if [[ ! -x "$sim" ]]; then
  echo "No $sim yet: run 'cmake --preset release && cmake --build --preset release' first."
  exit 1
fi
if ! command -v python3 >/dev/null 2>&1; then
  echo "The demo prints the simulated desktop with python3; install it first (scripts/setup.sh)."
  exit 1
fi

# Prints the focused field and the clipboard: `show field WORLD` before (from the world file),
# `show after WORLD STATE` afterwards (from the state file that textport-sim wrote at the end).
show() {
  python3 - "$@" <<'PY'
import base64, json, sys

def focused_field(world):
    app = next(a for a in world["apps"] if a["pid"] == world["frontmost"])
    stack = [app["tree"]]
    while stack:
        element = stack.pop()
        if element.get("id") == app["focused"]:
            return app, element
        stack.extend(element.get("children", []))

def marked(field):
    # The text with the selection in [brackets], or the caret as |; ranges count UTF-16 units.
    units = field["value"].encode("utf-16-le")
    start, length = field.get("selected_range", [len(units) // 2, 0])
    part = lambda a, b: units[2 * a:2 * b].decode("utf-16-le")
    middle = f"[{part(start, start + length)}]" if length else "|"
    return part(0, start) + middle + part(start + length, len(units) // 2)

def clipboard(items):
    lines = []
    for item in items:
        for rep in item:
            if "text" in rep:
                data = rep["text"].encode()
            else:
                data = base64.b64decode(rep["base64"]) if "base64" in rep else bytes.fromhex(rep["hex"])
            shown = json.dumps(rep["text"], ensure_ascii=False) if "text" in rep else \
                f"{len(data)} bytes: {data.hex(' ')}"
            lines.append((rep["type"], data, shown))
    return lines

world = json.load(open(sys.argv[2]))
app, field = focused_field(world)
if sys.argv[1] == "field":
    print(f'   {app["name"]}, field "{field["id"]}": {marked(field)}')
    sys.exit()

state = json.load(open(sys.argv[3]))
events = state["posted_events"]
if [(e.get("key_code"), e.get("flags")) for e in events] == [(9, 1 << 20)] * 2:
    print("4. The editor pasted on the Command-V that textport posted"
          f' (key down and up at {events[0]["time"]:.3f} s):')
else:
    print(f"4. Textport posted {json.dumps(events)}; the field afterwards:")
print(f'   {app["name"]}, field "{field["id"]}": {marked(state["fields"][field["id"]])}')
print("\n5. The user's clipboard: textport put the text there for the paste, then put back"
      f' what was there before\n   (the clipboard\'s change count went from'
      f' {world.get("pasteboard_change_count", 0)} to {state["pasteboard_change_count"]}):')
before, after = clipboard(world["pasteboard"]), clipboard(state["pasteboard"])
for title, lines in (("before", before), ("after", after)):
    width = max(len(type_) for type_, _, _ in before + after)
    for i, (type_, _, shown) in enumerate(lines):
        print(f'   {title if i == 0 else "":7} {type_:{width}}  {shown}')
same = [(t, d) for t, d, _ in before] == [(t, d) for t, d, _ in after]
print(f"   {'the same' if same else 'NOT the same'}: {len(after)} types, byte for byte")
PY
}

echo "textport on the simulated desktop of $world (times are its clock's)"
echo
echo "1. The user has selected a word in the editor:"
show field "$world"

coproc SIM { "$sim" --world "$world" --state-out "$state" --daemon; }
to_sim=${SIM[1]}
from_sim=${SIM[0]}

echo
echo "2. The writing assistant asks where the user is typing, and for the selection:"
target='{"action":"target","selection":true}'
echo "   → $target"
echo "$target" >&"$to_sim"
IFS= read -r -t 10 answer <&"$from_sim" || answer=""
echo "   ← $answer"
selection='"selection":("([^"\\]|\\.)*")'
if [[ ! $answer =~ \"captureToken\":\"([^\"]+)\" ]]; then
  echo "   no captureToken in the answer: nothing to deliver to."
  exit 1
fi
token=${BASH_REMATCH[1]}
[[ $answer =~ $selection ]]
echo "   the selection is ${BASH_REMATCH[1]}; the target is kept under captureToken $token"

echo
echo "3. Later it pastes its rewrite there, sending the target answer back unchanged:"
deliver=$(printf '{"action":"deliver","text":"%s","target":%s}' "$text" "$answer")
echo "   → $deliver"
echo "$deliver" >&"$to_sim"
IFS= read -r -t 10 delivered <&"$from_sim" || delivered=""
echo "   ← $delivered"

# End of input: the tool plays out what is still pending and writes the final state.
exec {to_sim}>&-
wait "$SIM_PID"

echo
show after "$world" "$state"
echo
echo "The whole final state is in $state."
