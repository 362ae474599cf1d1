# Shared by test and .ci/run: stages with their times, and runs of tests with their reports. Sourced after setup.sh.

# Labels of tests that run other programs for real.
OTHER_PROGRAMS='^(slurm|blender)$'

STAGES=()
FAILED_STAGES=()

# stage NAME COMMAND...: runs the command in a shell of its own and notes how long it took. Its code is the command's.
stage() {
  local name=$1 start=$SECONDS code=0
  shift
  printf '== %s\n' "$name"
  ("$@") || code=$?
  STAGES+=("$(printf '%6d s  %s%s' "$((SECONDS - start))" "$name" "$([[ $code == 0 ]] || echo ' (failed)')")")
  [[ $code == 0 ]] || FAILED_STAGES+=("$name")
  return "$code"
}

# bounded_stage NAME SECONDS COMMAND...: a stage that is ended when its time is over. The list of stages then names it as not
# finished; it does not count as failed. Neither does a failure on trial (TRIAL=1), which is listed.
bounded_stage() {
  local name=$1 limit=$2 start=$SECONDS code=0 running watch
  shift 2
  printf '== %s (at most %d s)\n' "$name" "$limit"
  if [[ $limit -gt 0 ]]; then
    set -m # a process group of its own, so that all of it can be ended
    ("$@") &
    running=$!
    (sleep "$limit" && kill -TERM -- -"$running") &
    watch=$!
    set +m
    wait "$running" || code=$?
    kill -TERM -- -"$watch" 2>/dev/null || true
    wait "$watch" 2>/dev/null || true
  fi
  if [[ $((SECONDS - start)) -ge $limit ]]; then
    STAGES+=("$(printf '%6d s  %s (NOT FINISHED: out of time)' "$((SECONDS - start))" "$name")")
    return 1
  fi
  local verdict=''
  if [[ $code != 0 && ${TRIAL:-0} == 1 ]]; then
    verdict=' (FAILED ON TRIAL: not counted)'
  elif [[ $code != 0 ]]; then
    verdict=' (failed)'
    FAILED_STAGES+=("$name")
  fi
  STAGES+=("$(printf '%6d s  %s%s' "$((SECONDS - start))" "$name" "$verdict")")
  return "$code"
}

print_stages() {
  printf '\nStages:\n'
  printf '%s\n' "${STAGES[@]}"
}

# run_tests PRESET [CTEST ARGUMENTS]: runs tests and keeps ctest's output in test.log. One process more than JOBS runs: scenarios of
# the real program wait more than they compute.
run_tests() {
  local build="$ROOT/build/$1"
  shift
  set -o pipefail
  rm -rf "$build/tests/shards" "$build/test.log"
  ctest --test-dir "$build" -j "$((JOBS + 1))" --output-on-failure --no-tests=error "$@" </dev/null 2>&1 | tee "$build/test.log" ||
    again_alone "$build"
}

# again_alone BUILD: a scenario steers real windows, and a busy machine can make it miss a deadline. When scenarios alone have failed,
# they run once more, one after the other, and their names are printed: each is a defect to look at, in the scenario or the program.
again_alone() {
  local failed
  failed=$(cut -d: -f2 "$1/Testing/Temporary/LastTestsFailed.log" 2>/dev/null) || return 1
  ! grep -qv '^studio[.]' <<<"$failed" || return 1
  printf 'Failed beside other tests, now run alone: %s\n' "${failed//$'\n'/ }" | tee -a "$1/test.log"
  ctest --test-dir "$1" --rerun-failed --output-on-failure </dev/null 2>&1 | tee -a "$1/test.log"
}

# test_report PRESET: counts the cases of the last run and lists its slowest tests. Fails when no test ran.
test_report() {
  "$ROOT/tools/test_report.py" "$ROOT/build/$1/test.log" "$ROOT/build/$1/tests/shards"
}

# closing_summary PRESET: the summary of the last run of ctest, and the names of scenarios that had to run alone.
closing_summary() {
  awk '/^Failed beside other tests/ { again = $0 }
    /^[0-9]*% tests passed/ { text = ""; on = 1 }
    on { text = text $0 "\n" }
    END { printf "%s", text; if (again) print again }' "$ROOT/build/$1/test.log"
}
