#!/usr/bin/env bash
# Rules of the code's shape that no compiler checks:
# - calls go down only: a folder of src/ includes only its own headers and those of the layers
#   below it (table below); nothing includes upward or sideways, so there is no folder cycle;
# - the core never knows which backend runs it: outside src/platform/ only the seam
#   (platform/platform.h) and the host factory (platform/host_platform.h, for main.cpp) are
#   included; a backend includes the seam, the backends' shared helpers (platform/utf16.h,
#   platform/paste_key.h) and its own folder only;
# - only src/platform/<backend>/ talks to a platform (Apple, X11, AT-SPI headers), and the seam
#   itself includes only standard headers;
# - the core waits only through the platform's clock (no threads, no real clocks);
# - the program writes nothing to standard error.
set -u
cd "${1:?usage: layout_rules.sh SOURCE_DIR}" || exit 2
status=0
fail() { printf '%s\n' "$*"; status=1; }

# The layers, top to bottom. A folder may include folders of a lower layer only.
layers='main.cpp=8 request=7 delivery=6 diagnostics=6 session=5 capture=4 accessibility=3
        clipboard=2 json=1 platform=1'

hits=$(grep -rnE '^[[:space:]]*#[[:space:]]*include[[:space:]]*"' src | awk -v layers="$layers" '
  BEGIN { n = split(layers, pairs, /[ \n]+/)
          for (i = 1; i <= n; i++) if (split(pairs[i], kv, "=") == 2) rank[kv[1]] = kv[2] }
  {
    split($0, parts, ":"); file = parts[1]; line = parts[2]
    included = $0; sub(/^[^"]*"/, "", included); sub(/".*$/, "", included)
    split(file, path, "/"); from = path[2]
    split(included, target, "/"); to = target[1]
    where = file ":" line ": includes \"" included "\""
    if (from == "platform") {
      if (included != "platform/platform.h" && included != "platform/host_platform.h" &&
          included != "platform/utf16.h" && included != "platform/paste_key.h" &&
          index(included, "platform/" path[3] "/") != 1)
        print where ": a backend includes the seam, the shared helpers and its own folder"
    } else if (to == "platform") {
      if (included != "platform/platform.h" &&
          !(from == "main.cpp" && included == "platform/host_platform.h"))
        print where ": outside the backends only the seam is included"
    } else if (!(to in rank)) {
      print where ": unknown folder " to
    } else if (from != to && rank[to] + 0 >= rank[from] + 0) {
      print where ": " from " may include only the layers below it"
    }
  }')
[ -z "$hits" ] || fail "includes against the layers:" "$hits"

core_files=$(find src -name '*.cpp' -o -name '*.h' | grep -v '^src/platform/')
platform_headers='#include *<(ApplicationServices|AppKit|Foundation|CoreFoundation|CoreGraphics|Carbon|X11|atspi|objc|glib|gio)/'
hits=$(grep -nE "$platform_headers" $core_files)
[ -z "$hits" ] || fail "platform headers outside src/platform/:" "$hits"

hits=$(grep -nE '#include' src/platform/platform.h | grep -vE '#include <[a-z_]+>')
[ -z "$hits" ] || fail "the seam includes more than standard headers:" "$hits"

hits=$(grep -nE '#include *<(thread|chrono|ctime)>|sleep_for|usleep|nanosleep|steady_clock|system_clock' $core_files)
[ -z "$hits" ] || fail "waits or clocks that bypass the platform:" "$hits"

hits=$(grep -rnE 'std::cerr|std::clog|stderr|perror' src)
[ -z "$hits" ] || fail "writes to standard error:" "$hits"

exit $status
