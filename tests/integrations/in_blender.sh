#!/usr/bin/env bash
# in_blender.sh SCRIPT: runs a script of tests inside Blender in the background. Without Blender it says so and is skipped (77).
set -euo pipefail
if ! command -v blender >/dev/null; then
  echo "skipped: Blender is not installed (the packages of the section [blender] in cmake/packages.txt)"
  exit 77
fi
# Settings and add-ons of the user stay out of it.
home=$(mktemp -d)
trap 'rm -rf "$home"' EXIT
export BLENDER_USER_CONFIG=$home/config BLENDER_USER_SCRIPTS=$home/scripts BLENDER_USER_DATAFILES=$home/data
mkdir -p "$home/config" "$home/scripts/addons" "$home/data"
blender --background --factory-startup --python-exit-code 1 --python "$1"
