#!/usr/bin/env bash
# Builds the tests of the protocol library, the streams and the host's streams with the thread
# sanitizer and runs those in which threads meet. For all tests: scripts/test.sh tsan.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh
cmake --preset tsan >/dev/null
cmake --build --preset tsan -j "$(nproc)" --target protocol-test host_stream_test session_test streams_test
ctest --preset tsan -j "$(($(nproc) * 4))" \
  -R '^(ThreadMode|LogLines|Signals|StreamThreads|StreamStates|StreamWorker|TrackingStream|Concurrency|Tracing|Streaming|Ports)\.' \
  -E 'TakenFor|FailedExchange'
