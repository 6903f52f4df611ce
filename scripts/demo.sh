#!/usr/bin/env bash
# Runs the release build's textport-sim on the example editor world with a few requests that
# need no captured target, prints each request and its answer line, then shows the pasteboard
# that the simulated desktop was left with.
set -euo pipefail
cd "$(dirname "$0")/.."

sim="${TEXTPORT_SIM:-build/release/textport-sim}"
state="${STATE_OUT:-/tmp/state.json}"
if [[ ! -x "$sim" ]]; then
  echo "No $sim yet: run 'cmake --preset release && cmake --build --preset release' first."
  exit 1
fi

requests=(
  '{"action":"permissions"}'
  '{"action":"copy","text":"Grüße aus textport\nzweite Zeile / second line"}'
  '{"action":"self_test"}'
  '{"action":"Copy"}'
)

answers=()
mapfile -t answers < <(printf '%s\n' "${requests[@]}" |
  "$sim" --world examples/editor.json --state-out "$state" --daemon)

for i in "${!requests[@]}"; do
  echo "→ ${requests[$i]}"
  echo "← ${answers[$i]:-}"
done

# The world's pasteboard held text, an image and a private type; copy leaves one text item.
echo
if command -v python3 >/dev/null 2>&1; then
  python3 - examples/editor.json "$state" <<'PY'
import json, sys
for title, path in (("before (the world file)", sys.argv[1]), ("afterwards (the state file)", sys.argv[2])):
    print(f"Pasteboard {title}:")
    print(json.dumps(json.load(open(path)).get("pasteboard"), ensure_ascii=False, indent=2))
PY
else
  echo "Final state ($state):"
  cat "$state"
fi
