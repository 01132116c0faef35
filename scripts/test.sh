#!/usr/bin/env bash
# Installs what is missing, checks the formatting, then builds and tests the presets given as
# arguments (default: release and asan). With asan, streams run under random faults for a minute
# in the end.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh
scripts/check-format.sh

presets=("$@")
[ ${#presets[@]} -gt 0 ] || presets=(release asan)
jobs=$(nproc)
for preset in "${presets[@]}"; do
  echo "== $preset: configure and build"
  cmake --preset "$preset" >/dev/null
  cmake --build --preset "$preset" -j "$jobs"
  echo "== $preset: test"
  ctest --preset "$preset" -j "$((jobs * 2))" -LE waiting
  # These wait for time-outs and hardly compute.
  ctest --preset "$preset" -j "$((jobs * 12))" -L waiting
done

case " ${presets[*]} " in
  *" asan "*)
    echo "== soak: one minute"
    scripts/soak.sh 1 asan
    ;;
esac
