#!/usr/bin/env bash
# Rules of the code's shape that no compiler checks:
# - only src/platform/<backend>/ talks to a platform (Apple, X11, AT-SPI headers);
# - the seam itself includes only standard headers;
# - the core waits only through the platform's clock (no threads, no real clocks);
# - the program writes nothing to standard error.
set -u
cd "${1:?usage: layout_rules.sh SOURCE_DIR}" || exit 2
status=0
fail() { printf '%s\n' "$*"; status=1; }

core_files=$(find src -name '*.cpp' -o -name '*.h' | grep -v '^src/platform/')
platform_headers='#include *<(ApplicationServices|AppKit|Foundation|CoreFoundation|CoreGraphics|Carbon|X11|atspi|objc)/'
hits=$(grep -nE "$platform_headers" $core_files)
[ -z "$hits" ] || fail "platform headers outside src/platform/:" "$hits"

hits=$(grep -nE '#include' src/platform/platform.h | grep -vE '#include <[a-z_]+>')
[ -z "$hits" ] || fail "the seam includes more than standard headers:" "$hits"

hits=$(grep -nE '#include *<(thread|chrono|ctime)>|sleep_for|usleep|nanosleep|steady_clock|system_clock' $core_files)
[ -z "$hits" ] || fail "waits or clocks that bypass the platform:" "$hits"

hits=$(grep -rnE 'std::cerr|std::clog|stderr|perror' src)
[ -z "$hits" ] || fail "writes to standard error:" "$hits"

exit $status
