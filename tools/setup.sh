# Shared by run, test and .ci/run: installs missing packages, configures and builds a preset. Sourced by bash.
# It reads no input and works from any current folder.

ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
JOBS=${LUMENARA_JOBS:-$(nproc)}

fail() {
  printf 'error: %s\n' "$*" >&2
  exit 1
}

# The packages of the sections of cmake/packages.txt that are named.
packages_of() {
  local section="" line
  while IFS= read -r line; do
    line=${line%%#*}
    line=${line//[[:space:]]/}
    case $line in
      '') ;;
      '['*']') section=${line:1:-1} ;;
      *) [[ " $* " == *" $section "* ]] && printf '%s\n' "$line" ;;
    esac
  done <"$ROOT/cmake/packages.txt"
  return 0
}

# Installs what is missing of the named sections. With nothing missing no package manager is started.
ensure_packages() {
  local wanted installed missing
  wanted=$(packages_of "$@" | sort -u)
  command -v dpkg-query >/dev/null ||
    fail "this is not a Debian system; install the equivalents of the packages in cmake/packages.txt and build with 'cmake --preset release'"
  # shellcheck disable=SC2086  # one word a package
  installed=$(dpkg-query -W -f '${db:Status-Status} ${Package}\n' $wanted 2>/dev/null |
    sed -n 's/^installed //p' | sort -u || true)
  missing=$(comm -23 <(printf '%s\n' "$wanted") <(printf '%s\n' "$installed") | tr '\n' ' ')
  missing=${missing% }
  [[ -z $missing ]] && return 0

  local as_root=()
  if [[ $(id -u) != 0 ]]; then
    command -v sudo >/dev/null || fail "these packages are missing and neither root nor sudo is at hand: $missing"
    as_root=(sudo)
  fi
  printf 'Installing missing packages (this can take some minutes): %s\n' "$missing"
  local log
  log=$(mktemp)
  # shellcheck disable=SC2086
  if ! { "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get update -q &&
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -q --no-install-recommends $missing; } \
    </dev/null >"$log" 2>&1; then
    tail -n 15 "$log" >&2
    fail "the packages could not be installed: $missing (log: $log)"
  fi
  rm -f "$log"
}

# build_preset PRESET [TARGET...]: configures once, then builds what changed.
build_preset() {
  local preset=$1
  shift
  local folder="$ROOT/build/$preset" targets=()
  [[ $# -gt 0 ]] && targets=(--target "$@")
  if [[ ! -f $folder/build.ninja ]]; then
    mkdir -p "$folder"
    (cd "$ROOT" && cmake --preset "$preset" </dev/null) >"$folder/configure.log" 2>&1 || {
      tail -n 25 "$folder/configure.log" >&2
      fail "the preset $preset could not be configured (log: $folder/configure.log)"
    }
  fi
  cmake --build "$folder" -j "$JOBS" "${targets[@]}" </dev/null || fail "the build in $folder failed"
}
