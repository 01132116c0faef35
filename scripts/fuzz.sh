#!/usr/bin/env bash
# Builds the fuzz targets and runs each of them for its share of the given minutes (default 14), or
# for ten seconds with --short. One line a target; fails, naming the input, if one was found that
# crashes, hangs, leaks or breaks what must hold. What was learned stays in build/fuzz/corpus.
set -euo pipefail
cd "$(dirname "$0")/.."

targets=(replies receive late_answers set_up tool_files workspaces properties command_line)
case ${1:-14} in
  --short) seconds=10 ;;
  *[!0-9]* | 0*) echo "usage: scripts/fuzz.sh [MINUTES | --short]" >&2 && exit 2 ;;
  *) seconds=$((${1:-14} * 60 / ${#targets[@]})) ;;
esac

scripts/install-deps.sh clang libclang-rt-dev llvm
cmake --preset fuzz >/dev/null
cmake --build --preset fuzz -j "$(nproc)" --target fuzz

build=build/fuzz
export ASAN_OPTIONS=detect_leaks=1:strict_string_checks=1:detect_stack_use_after_return=1
export UBSAN_OPTIONS=print_stacktrace=1
rm -rf "$build/seeds"
"$build/bin/make_corpus" "$build/seeds"
mkdir -p "$build/findings"

# statistic NAME FILE: the last value of a number that the fuzzer prints.
statistic() {
  sed -n "s/.*$1:* *\([0-9]*\).*/\1/p" "$2" | tail -n 1
}

failed=0
for target in "${targets[@]}"; do
  corpus=$build/corpus/$target
  log=$build/$target.log
  dictionary=()
  [ -f "fuzz/dictionaries/$target.dict" ] && dictionary=("-dict=fuzz/dictionaries/$target.dict")
  mkdir -p "$corpus" "$build/seeds/$target"
  verdict="no finding"
  "$build/bin/fuzz_$target" "$corpus" "$build/seeds/$target" "${dictionary[@]}" \
    -max_total_time="$seconds" -max_len=4096 -timeout=20 -rss_limit_mb=2048 -print_final_stats=1 \
    -artifact_prefix="$build/findings/$target-" >"$log" 2>&1 || verdict="FAILED"
  printf '%-13s %9d runs  %5d edges  %5d inputs  %s\n' "$target" \
    "$(statistic number_of_executed_units "$log")" "$(statistic ' cov' "$log")" \
    "$(find "$corpus" -type f | wc -l)" "$verdict"
  [ "$verdict" = FAILED ] || continue
  failed=1
  grep -E '^(FAILED|SUMMARY|==[0-9]+==ERROR)|written to' "$log" | sed 's/^/    /' || tail "$log"
done
exit "$failed"
