# Shared by test and .ci/run: stages with their times, shards of test binaries, and the ends of their reports. Sourced after
# setup.sh.

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

# bounded_stage NAME SECONDS COMMAND...: a stage that is ended when its time is over. It then counts as unfinished, not as failed:
# the list of stages says so. A failure on trial (TRIAL=1) is listed and does not count either: it is for what was never seen whole
# and green yet.
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

# run_shards PRESET FOLDER...: the folders' test binaries in four shards each, JOBS processes at a time. Tests share a process:
# with the sanitizers a start costs more than most tests.
run_shards() {
  local build="$ROOT/build/$1" folder index
  shift
  rm -rf "$build/tests/shards"
  for folder in "$@"; do
    for index in 0 1 2 3; do printf '%s %s\n' "$folder" "$index"; done
  done | xargs -P "$JOBS" -L 1 "$ROOT/tools/run_shard.sh" "$build" 4
}

# The twenty slowest tests in ctest's output.
slowest_tests() {
  printf '\nSlowest tests (s):\n'
  sed -nE 's/^ *[0-9]+\/[0-9]+ Test +#[0-9]+: ([^ ]+) .* ([0-9]+\.[0-9]+) sec.*$/\2 \1/p' "$1" | sort -rn | sed -n 1,20p
}

# ctest's closing summary once more, so that it stands last.
closing_summary() {
  sed -n '/^[0-9]*% tests passed/,$p' "$1"
}
