#!/usr/bin/env bash
# Soak: one million mixed requests (captures, deliveries, copies, self tests, permissions,
# invalid and unknown requests) to one `textport-sim --daemon` process over the editor world.
# Prints the resident memory after the first 20,000 requests and after the last one; the
# growth must stay under 1 MiB.
#
#   bench/soak.sh [BUILD_DIR] [REQUESTS]      defaults: build/rel, 1000000
set -euo pipefail
cd "$(dirname "$0")/.."
build="${1:-build/rel}"
requests="${2:-1000000}"
cmake --build "$build" -j2 --target textport-sim >/dev/null

python3 - "$build/textport-sim" "$requests" <<'PY'
import os, subprocess, sys, time

sim, total = sys.argv[1], int(sys.argv[2])
warmup = 20000
description = ('{"bundle":"com.apple.TextEdit","captureToken":"%s","identifier":"First Text View",'
               '"length":5,"name":"TextEdit","offset":6,"pid":501,"role":"AXTextArea",'
               '"selection":"brave","selection_source":"accessibility","target_mode":"focused",'
               '"window":42}')

def requests():
    token = 0
    cycle = ['{"action":"target","selection":true}', None, '{"action":"copy","text":"soak \\/ 文本"}',
             '{"action":"self_test"}', '{"action":"permissions"}', 'not json', '{"action":"nope"}',
             '{"action":"target"}', '{"action":"deliver","target":{"pid":501}}', '[1,2,3]']
    n = 0
    while True:
        for line in cycle:
            if line is None:
                # Delivers empty text for the capture just made, so the field never grows.
                line = ('{"action":"deliver","text":"","target":%s}'
                        % (description % ("00000000-0000-4000-8000-%012X" % token)))
            elif line.startswith('{"action":"target"'):
                token += 1
            yield line + "\n"
            n += 1
            if n == total:
                return

def rss_kib(pid):
    with open(f"/proc/{pid}/status") as status:
        for row in status:
            if row.startswith("VmRSS:"):
                return int(row.split()[1])

out_path = "/tmp/textport-soak-%d.out" % os.getpid()
with open(out_path, "wb") as out:
    proc = subprocess.Popen([sim, "--world", "examples/editor.json", "--daemon"],
                            stdin=subprocess.PIPE, stdout=out, stderr=subprocess.PIPE)

    def wait_for(count):
        # Answers come in order, so the count of lines says how far the process is.
        while True:
            with open(out_path, "rb") as f:
                if sum(chunk.count(b"\n") for chunk in iter(lambda: f.read(1 << 20), b"")) >= count:
                    return
            time.sleep(0.05)

    gen = requests()
    start = time.time()
    batch = []
    sent = 0
    for line in gen:
        batch.append(line)
        sent += 1
        if sent == warmup:
            proc.stdin.write("".join(batch).encode()); proc.stdin.flush(); batch = []
            wait_for(warmup)
            rss_start = rss_kib(proc.pid)
        elif len(batch) == 50000:
            proc.stdin.write("".join(batch).encode()); batch = []
    proc.stdin.write("".join(batch).encode()); proc.stdin.flush()
    wait_for(total)
    rss_end = rss_kib(proc.pid)
    proc.stdin.close()
    err = proc.stderr.read()
    status = proc.wait()
    seconds = time.time() - start
os.unlink(out_path)
growth = rss_end - rss_start
print(f"requests: {total}  time: {seconds:.1f} s  exit status: {status}  stderr bytes: {len(err)}")
print(f"resident memory after {warmup} requests: {rss_start} KiB; at the end: {rss_end} KiB; "
      f"growth: {growth} KiB")
ok = growth < 1024 and status == 0 and not err
print("PASS" if ok else "FAIL: growth must stay under 1 MiB, exit status 0, nothing on stderr")
sys.exit(0 if ok else 1)
PY
