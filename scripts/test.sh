#!/usr/bin/env bash
# Installs what is missing, checks the formatting, then builds and tests the presets given as
# arguments (default: release and asan). With release, the program also streams for a minute from
# devices that come and go; with asan, streams run under random faults for a minute, and the tests
# in which threads meet are built and run with the thread sanitizer.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh
scripts/check-format.sh

presets=("$@")
[ ${#presets[@]} -gt 0 ] || presets=(release asan)
jobs=$(nproc)

waiting=()
logs=()
trap 'for pid in "${waiting[@]}"; do kill "$pid" 2>/dev/null || true; done' EXIT

# beside LOG COMMAND...: runs what waits for time-outs, and hardly computes, beside what comes next.
beside() {
  "${@:2}" >"$1" 2>&1 &
  waiting+=($!)
  logs+=("$1")
}

for preset in "${presets[@]}"; do
  echo "== $preset: configure and build"
  cmake --preset "$preset" >/dev/null
  cmake --build --preset "$preset" -j "$jobs"
  echo "== $preset: test"
  # A busy machine fails what waits for an answer in time; what fails twice has failed.
  ctest --preset "$preset" -j "$((jobs * 2))" -LE waiting --repeat until-pass:2
  beside "build/$preset/waiting.log" ctest --preset "$preset" -j "$((jobs * 12))" -L waiting \
    --repeat until-pass:2
  case $preset in
    release) beside build/release/unattended.log python3 soak/unattended.py 1 --bin build/release/bin ;;
    asan)
      echo "== asan: soak" && scripts/soak.sh 1 asan
      echo "== tsan: tests in which threads meet" && scripts/threads.sh
      ;;
  esac
done

failed=0
for i in "${!waiting[@]}"; do
  echo "== ${logs[i]}"
  if wait "${waiting[i]}"; then
    tail -n 6 "${logs[i]}"
  else
    cat "${logs[i]}"
    failed=1
  fi
done
waiting=()
exit "$failed"
