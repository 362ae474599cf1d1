#!/usr/bin/env bash
# run_bounded.sh PROGRAM CORPUS RUNS SECONDS: the whole corpus, then mutations of it until either bound is met.
# Fails on a crash, a hang of one input, or too much memory in use (asking for memory that stays untouched is no fault);
# the input that did it is kept and named.
set -euo pipefail
program=$1 corpus=$2 runs=$3 seconds=$4
if [[ ! -x $program ]]; then
  echo "$program is not built; ./test builds it, or: cmake --preset fuzz && cmake --build build/fuzz"
  exit 77
fi
found=$(dirname "$program")/../found
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir -p "$found" "$corpus"
cd "$work"
mkdir new
ASAN_OPTIONS=allocator_may_return_null=1:detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1 \
  "$program" -seed=1 -print_funcs=0 -runs="$runs" -max_total_time="$seconds" -timeout=20 -rss_limit_mb=3000 -malloc_limit_mb=64000 \
  -artifact_prefix="$(realpath "$found")/" -print_final_stats=1 new "$corpus"
