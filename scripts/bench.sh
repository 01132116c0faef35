#!/usr/bin/env bash
# Measures, prints one table and leaves all figures in build/bench/bench.json. Wants an idle machine.
# With --short everything runs only for a moment, to see that it still runs. Other arguments go to
# the benchmark library, such as --benchmark_filter=command.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh libbenchmark-dev libmodbus-dev
cmake --preset release >/dev/null
cmake --build --preset release --target ndi-bench -- --quiet

mkdir -p build/bench
build/release/bin/ndi-bench "$@" --benchmark_out=build/bench/bench.json \
  --benchmark_out_format=json >build/bench/bench.log 2>&1 || { cat build/bench/bench.log >&2; exit 1; }
scripts/bench_table.py build/bench/bench.json
