#!/usr/bin/env bash
# Builds the request fuzzer with the fuzz preset and runs it on the seed corpus for a bounded
# time. Exits non-zero on any finding (the crashing input is left in build/fuzz/findings/).
#
#   fuzz/run.sh [SECONDS] [extra libFuzzer flags...]     default: 120 seconds
set -euo pipefail
cd "$(dirname "$0")/.."

seconds="${1:-120}"
shift || true
build=build/fuzz
cmake --preset fuzz -B "$build" >/dev/null
cmake --build "$build" -j2 --target request_fuzzer

# New inputs go to a scratch directory; the committed seeds stay as they are.
work="$build/corpus"
findings="$build/findings"
mkdir -p "$work" "$findings"
"$build/fuzz/request_fuzzer" "$work" fuzz/corpus \
  -dict=fuzz/textport.dict -max_total_time="$seconds" -max_len=4096 -timeout=10 \
  -rss_limit_mb=2048 -artifact_prefix="$findings/" -print_final_stats=1 "$@"
