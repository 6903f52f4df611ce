#!/usr/bin/env bash
# Fails when a C++ or Objective-C++ file of the repository differs from what clang-format makes
# of it with the repository's .clang-format. Pass --fix to rewrite the files instead.
set -euo pipefail
cd "$(dirname "$0")/.."
mapfile -t files < <(git ls-files '*.cpp' '*.h' '*.mm')
if [[ "${1:-}" == "--fix" ]]; then
  clang-format -i "${files[@]}"
else
  clang-format --dry-run --Werror "${files[@]}"
fi
