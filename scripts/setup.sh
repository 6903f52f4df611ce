#!/usr/bin/env bash
# Installs what textport needs to build and test: a C++20 compiler, CMake and Ninja, the JSON
# parser, Unicode normalisation, GoogleTest and Google Benchmark (clang, lld and llvm for the
# fuzz preset, clang-format for the format check, python3 for the demo). Debian 12 / Ubuntu
# 24.04 or newer (CMake 3.25+); on macOS it names the Homebrew packages instead.
set -euo pipefail

packages=(cmake ninja-build g++ nlohmann-json3-dev libutf8proc-dev libgtest-dev
          libbenchmark-dev clang lld llvm clang-format python3)

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
