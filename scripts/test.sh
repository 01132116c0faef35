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

# Tests that wait for time-outs and hardly compute run beside whatever comes next.
waiting=()
trap 'for pid in "${waiting[@]}"; do kill "$pid" 2>/dev/null || true; done' EXIT

for preset in "${presets[@]}"; do
  echo "== $preset: configure and build"
  cmake --preset "$preset" >/dev/null
  cmake --build --preset "$preset" -j "$jobs"
  echo "== $preset: test"
  ctest --preset "$preset" -j "$((jobs * 2))" -LE waiting
  ctest --preset "$preset" -j "$((jobs * 12))" -L waiting >"build/$preset/waiting.log" 2>&1 &
  waiting+=($!)
done

case " ${presets[*]} " in
  *" asan "*)
    echo "== soak: one minute"
    scripts/soak.sh 1 asan
    ;;
esac

failed=0
for i in "${!presets[@]}"; do
  echo "== ${presets[i]}: tests that wait for time-outs"
  if wait "${waiting[i]}"; then
    tail -n 6 "build/${presets[i]}/waiting.log"
  else
    cat "build/${presets[i]}/waiting.log"
    failed=1
  fi
done
waiting=()
exit "$failed"
