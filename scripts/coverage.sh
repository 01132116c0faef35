#!/usr/bin/env bash
# Runs the tests of protocol/ and streams/ and prints how many of their lines were reached, then
# those that were not. What exists for Windows only is left out.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh gcovr
build=build/coverage
cmake --preset coverage >/dev/null
cmake --build --preset coverage -j "$(nproc)" \
  --target protocol-test protocol-fake-test streams_test streams_allocation_test
find "$build" -name '*.gcda' -delete # the counts of earlier runs
for program in protocol-test protocol-fake-test streams_test streams_allocation_test; do
  "$build/bin/$program" --gtest_brief=1 || echo "$program failed: the lines below are incomplete" >&2
done

gcovr --root . --filter protocol/ --filter streams/ "$build/protocol" "$build/streams"
