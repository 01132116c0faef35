#!/usr/bin/env bash
# Streams of all three device families for as long as wanted, while things go wrong at random.
#
#   soak.sh [MINUTES [PRESET]]                the streams alone, with faults in the devices' answers
#                                             (default: one minute, asan)
#   soak.sh --unattended [MINUTES [PRESET]]   the host's program as a service would run it, with
#                                             devices killed, frozen, unplugged and restarted
#                                             (default: 60 minutes, release)
#
# SOAK_SEED repeats the faults of an earlier run. Exit status 1 if a frame was lost without a fault, a
# pose was wrong, a stream did not come back, memory, threads or descriptors grew, or a sanitizer
# complained.
set -euo pipefail
cd "$(dirname "$0")/.."

kind=streams minutes=1 preset=asan
if [ "${1:-}" = --unattended ]; then
  kind=unattended minutes=60 preset=release
  shift
fi
minutes=${1:-$minutes}
preset=${2:-$preset}
case $minutes in
  '' | 0* | *[!0-9]*) echo "soak.sh: MINUTES is a whole number from 1 on" >&2; exit 2 ;;
esac

scripts/install-deps.sh
cmake --preset "$preset" >/dev/null
if [ "$kind" = unattended ]; then
  cmake --build --preset "$preset" -j "$(nproc)" --target ndi-simulator morvalin-host MorvalinNDI
  exec python3 soak/unattended.py "$minutes" --bin "build/$preset/bin" \
    ${SOAK_SEED:+--seed "$SOAK_SEED"}
fi
cmake --build --preset "$preset" --target ndi-soak -j "$(nproc)"
# Freed memory that the sanitizer holds back would look like growth.
export ASAN_OPTIONS=detect_leaks=1:strict_string_checks=1:quarantine_size_mb=4
export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
export TSAN_OPTIONS=halt_on_error=1:second_deadlock_stack=1
exec "build/$preset/bin/ndi-soak" $((minutes * 60)) ${SOAK_SEED:+"$SOAK_SEED"}
