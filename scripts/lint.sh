#!/usr/bin/env bash
# Runs clang-tidy over the sources that the debug preset builds; installs what is missing.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh clang-tidy libbenchmark-dev libmodbus-dev
cmake --preset debug >/dev/null
cmake --build --preset debug -j "$(nproc)"
git ls-files -z -- '*.cpp' ':!tests/' ':!fuzz/' ':!soak/' ':!*/platform/windows/*' |
  xargs -0 -n 4 -P "$(nproc)" clang-tidy -p build/debug --quiet
