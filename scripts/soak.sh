#!/usr/bin/env bash
# Lets streams of all three device families run under random faults: soak.sh [MINUTES [PRESET]]
# (default: one minute, asan). SOAK_SEED repeats the faults of an earlier run. Exit status 1 if a
# frame was lost without a fault, memory or descriptors grew, or a sanitizer complained.
set -euo pipefail
cd "$(dirname "$0")/.."

minutes=${1:-1}
preset=${2:-asan}
case $minutes in
  '' | 0* | *[!0-9]*) echo "soak.sh: MINUTES is a whole number from 1 on" >&2; exit 2 ;;
esac

scripts/install-deps.sh
cmake --preset "$preset" >/dev/null
cmake --build --preset "$preset" --target ndi-soak -j "$(nproc)"
# Freed memory that the sanitizer holds back would look like growth.
export ASAN_OPTIONS=detect_leaks=1:strict_string_checks=1:quarantine_size_mb=4
export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
export TSAN_OPTIONS=halt_on_error=1:second_deadlock_stack=1
exec "build/$preset/bin/ndi-soak" $((minutes * 60)) ${SOAK_SEED:+"$SOAK_SEED"}
