#!/usr/bin/env bash
# Whole-process figures, each measured side by side with its baseline in one run:
#  1. one-shot "permissions" (start, read, answer, exit) against a program that reads standard
#     input and prints one line; the aim is at most 1.5 times its time;
#  2. daemon "self_test" throughput against a line-echo loop; the aim is at least a quarter of
#     its rate, and at least 200,000 requests per second.
#
#   bench/process.sh [BUILD_DIR] [RUNS] [LINES]     defaults: build/rel, 400, 1000000
set -euo pipefail
cd "$(dirname "$0")/.."
build="${1:-build/rel}"
runs="${2:-400}"
lines="${3:-1000000}"
cmake --build "$build" -j2 --target textport-sim bench_read_print_one bench_line_echo >/dev/null
sim="$build/textport-sim"
one="$build/bench/bench_read_print_one"
echo_loop="$build/bench/bench_line_echo"

now() { date +%s%N; }

# Alternating the two programs run by run spreads any load of the machine over both.
request=/tmp/textport-bench-permissions.$$
input=/tmp/textport-bench-self-test.$$
trap 'rm -f "$request" "$input"' EXIT
printf '{"action":"permissions"}' >"$request"
sim_ns=0
base_ns=0
for ((i = 0; i < runs; i++)); do
  t0=$(now); "$sim" <"$request" >/dev/null; t1=$(now)
  "$one" <"$request" >/dev/null; t2=$(now)
  sim_ns=$((sim_ns + t1 - t0))
  base_ns=$((base_ns + t2 - t1))
done
awk -v s="$sim_ns" -v b="$base_ns" -v n="$runs" 'BEGIN {
  printf "one-shot permissions: %.0f us per process; read-and-print baseline: %.0f us; ratio %.2fx (aim <= 1.5x)\n",
         s / n / 1000, b / n / 1000, s / b }'

awk -v n="$lines" 'BEGIN { for (i = 0; i < n; i++) print "{\"action\":\"self_test\"}" }' >"$input"
best_sim=0
best_echo=0
for round in 1 2 3; do
  t0=$(now); "$sim" --daemon <"$input" >/dev/null; t1=$(now)
  "$echo_loop" <"$input" >/dev/null; t2=$(now)
  if ((best_sim == 0 || t1 - t0 < best_sim)); then best_sim=$((t1 - t0)); fi
  if ((best_echo == 0 || t2 - t1 < best_echo)); then best_echo=$((t2 - t1)); fi
done
awk -v s="$best_sim" -v e="$best_echo" -v n="$lines" 'BEGIN {
  rs = n / (s / 1e9); re = n / (e / 1e9)
  printf "daemon self_test: %.0f requests/s; line echo: %.0f lines/s; ratio %.2f (aim >= 0.25 and >= 200000 requests/s)\n",
         rs, re, rs / re }'
