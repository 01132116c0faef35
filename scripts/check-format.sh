#!/usr/bin/env bash
# Fails, naming the places, if a source file is not formatted as .clang-format says.
# With --fix it formats them instead.
set -euo pipefail
cd "$(dirname "$0")/.."

mode=(--dry-run -Werror)
[ "${1:-}" = --fix ] && mode=(-i)
git ls-files -z --cached --others --exclude-standard -- '*.cpp' '*.h' '*.c' |
  xargs -0 -r clang-format "${mode[@]}"
