#!/usr/bin/env bash
# Runs clang-tidy over the project's sources (needs the clang-tidy package).
set -euo pipefail
cd "$(dirname "$0")/.."

cmake --preset release >/dev/null
cmake --build --preset release -j "$(nproc)"
git ls-files -z -- '*.cpp' ':!tests/' |
  xargs -0 -n 4 -P "$(nproc)" clang-tidy -p build/release --quiet
