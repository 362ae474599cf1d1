#!/usr/bin/env bash
# run_shard.sh PROGRAM INDEX COUNT SECONDS: one of COUNT shards of a GoogleTest program, in one process with a home of its own, ended
# after SECONDS. Prints the output of failed tests and one closing line. The whole output and the time of each test go to
# shards/<name>.<index>.log and .json beside the program. GTEST_FILTER chooses among the tests.
set -euo pipefail
program=$1 index=$2 count=$3 seconds=$4
name=$(basename "$program" _tests)
folder="$(dirname "$program")/shards"
home="$folder/home.$name.$index" log="$folder/$name.$index.log" report="$folder/$name.$index.json"
rm -rf "$home" "$log" "$report"
mkdir -p "$home"
[[ -x $program ]] || { printf 'error: %s is not built\n' "$program"; exit 1; }

code=0
GTEST_SHARD_INDEX=$((index - 1)) GTEST_TOTAL_SHARDS=$count LUMENARA_HOME=$home \
  timeout --kill-after=20 "$seconds" "$program" --gtest_output="json:$report" >"$log" 2>&1 </dev/null || code=$?

# The output of tests that passed is left out, unless a sanitizer reported something meanwhile.
if [[ $code != 0 ]]; then
  awk '
    /^\[ RUN      \]/ { held = $0; test = 1; next }
    /^\[       OK \]/ || /^\[  SKIPPED \]/ { if (held ~ /Sanitizer|runtime error:/) print held "\n" $0; held = ""; test = 0; next }
    /^\[  FAILED  \]/ && test { print held "\n" $0; held = ""; test = 0; next }
    test { held = held "\n" $0; next }
    NF && !/^\[-+\]/ { print }
    END { if (held != "") print held }' "$log" | head -c 200000
fi
tests=$(sed -nE 's/^\[=+\] ([0-9]+) tests? from .* ran\..*/\1/p' "$log" | tail -n 1)
case $code in
  0) printf '%s.%s: %s tests\n' "$name" "$index" "${tests:-0}" ;;
  124 | 137) printf '%s.%s: ended after %s s\n' "$name" "$index" "$seconds" ;;
  *) printf '%s.%s: exit code %s\n' "$name" "$index" "$code" ;;
esac
exit "$code"
