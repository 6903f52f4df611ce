#!/usr/bin/env bash
# The layout rules must catch what they forbid: each fault is planted in a copy of src/ on its
# own, and the check has to fail on it.
set -u
source_dir=${1:?usage: layout_rules_catch_faults.sh SOURCE_DIR}
rules="$source_dir/tests/lint/layout_rules.sh"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
status=0

# file to plant in | line planted
faults=(
  'src/capture/target_store.h|#include "request/dispatch.h"'              # upward
  'src/delivery/copy_action.cpp|#include "diagnostics/diagnostics.h"'     # sideways
  'src/clipboard/pasteboard_snapshot.cpp|#include "accessibility/tree_walk.h"'  # upward
  'src/capture/target_comparison.cpp|#include "platform/sim/sim_desktop.h"'     # a backend
  'src/platform/sim/sim_clock.h|#include "json/json_value.h"'             # a backend calls up
  'src/json/json_value.cpp|#include <thread>'                             # a real wait
)
if ! bash "$rules" "$source_dir" >/dev/null; then
  echo "the tree itself breaks the layout rules, so planted faults prove nothing"
  exit 1
fi
for fault in "${faults[@]}"; do
  file=${fault%%|*}
  line=${fault#*|}
  rm -rf "$work/src" && cp -r "$source_dir/src" "$work/src"
  printf '%s\n' "$line" >>"$work/$file"
  if bash "$rules" "$work" >/dev/null; then
    printf 'not caught: %s in %s\n' "$line" "$file"
    status=1
  fi
done
exit $status
