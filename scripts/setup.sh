#!/usr/bin/env bash
# Installs what textport needs to build and test: a C++20 compiler, CMake and Ninja, the JSON
# parser, Unicode normalisation, GoogleTest and Google Benchmark (clang, lld and llvm for the
# fuzz preset, clang-format for the format check, python3 for the demo), the AT-SPI2 and X11
# libraries of the Linux backend and the headless desktop its end-to-end tests start.
# Debian 12 / Ubuntu 24.04 or newer (CMake 3.25+); on macOS it names the Homebrew packages.
set -euo pipefail

packages=(cmake ninja-build g++ pkg-config nlohmann-json3-dev libutf8proc-dev libgtest-dev
          libbenchmark-dev clang lld llvm clang-format python3
          # the Linux backend: AT-SPI2 and X11
          libatspi2.0-dev libx11-dev libxtst-dev libxfixes-dev libxi-dev
          # its end-to-end tests: a headless X server, buses and a GTK3 test application
          xvfb x11-xkb-utils dbus-daemon libglib2.0-bin at-spi2-core python3-gi gir1.2-gtk-3.0 gir1.2-atspi-2.0)

if [[ "$(uname -s)" == "Darwin" ]]; then
  echo "On macOS, install the dependencies with Homebrew (and Xcode's command line tools):"
  echo "  brew install cmake ninja nlohmann-json utf8proc googletest google-benchmark llvm"
  echo "Then see docs/building-macos.md."
  exit 0
fi

if ! command -v apt-get >/dev/null 2>&1; then
  echo "This script uses apt-get; install these packages with your package manager:"
  echo "  ${packages[*]}"
  exit 1
fi

sudo=()
if [[ "$(id -u)" -ne 0 ]]; then sudo=(sudo); fi

"${sudo[@]}" apt-get update
"${sudo[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y --no-install-recommends \
  "${packages[@]}"
