#!/usr/bin/env bash
# run_shard.sh BUILD COUNT FOLDER INDEX: shard INDEX of COUNT of a folder's test binary, in one process. One line says how it
# went; a failure comes with the end of its output.
set -euo pipefail
build=$1 count=$2 folder=$3 index=$4
home="$build/tests/shards/home.$folder.$index" log="$build/tests/shards/$folder.$index.log"
mkdir -p "$home"

code=0
start=$SECONDS
GTEST_SHARD_INDEX=$index GTEST_TOTAL_SHARDS=$count LUMENARA_HOME=$home \
  timeout --kill-after=20 1800 "$build/tests/${folder}_tests" --gtest_brief=1 >"$log" 2>&1 </dev/null || code=$?

tests=$(grep -Eo '^\[  PASSED  \] [0-9]+ tests?' "$log" | tail -n 1 | grep -Eo '[0-9]+' || true)
if [[ $code == 0 ]]; then
  printf '%s %s of %s: %s tests passed, %s s\n' "$folder" "$((index + 1))" "$count" "${tests:-0}" "$((SECONDS - start))"
else
  printf '%s\n%s %s of %s: failed with code %s after %s s (all of it: %s)\n' "$(tail -n 200 "$log")" \
    "$folder" "$((index + 1))" "$count" "$code" "$((SECONDS - start))" "$log"
fi
exit "$code"
