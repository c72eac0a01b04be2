#!/usr/bin/env bash
# The rate of "zandb4 import": makes COUNT real JPEG pictures (640 by 480,
# EXIF dates and cameras, an embedded preview) in a temporary folder, makes
# an empty catalogue there with "zandb4 init", then times one
# "zandb4 import" of the folder, start of the process to its end, and prints
# the files added per second. The pictures and the catalogue are made before
# the clock starts and removed at the end.
#
# usage: bench/import_tool_rate.sh [COUNT] [BUILD_FOLDER]
#   COUNT         pictures to import (default 10000)
#   BUILD_FOLDER  a build with the targets zandb4_tool and zandb4_make_pictures
#                 (default: build, beside this script's folder)
set -euo pipefail

count="${1:-10000}"
build="${2:-$(cd "$(dirname "$0")/.." && pwd)/build}"
tool="$build/tools/zandb4"
maker="$build/tests/zandb4_make_pictures"
for program in "$tool" "$maker"; do
  if [ ! -x "$program" ]; then
    echo "import_tool_rate: $program is missing; build it with" >&2
    echo "  cmake --build $build --target zandb4_tool zandb4_make_pictures" >&2
    exit 2
  fi
done
case "$count" in
  '' | *[!0-9]* | 0) echo "import_tool_rate: COUNT must be a positive number, not '$count'" >&2; exit 1 ;;
esac

work="$(mktemp -d "${TMPDIR:-/tmp}/zandb4-import-rate-XXXXXX")"
trap 'rm -rf "$work"' EXIT
pictures="$work/pictures"
root="$work/catalogue"

echo "making $count pictures in $pictures" >&2
"$maker" "$pictures" "$count"
"$tool" init "$root" > /dev/null

begin="$(date +%s%N)"
summary="$("$tool" import "$root" "$pictures" --json 2> /dev/null)"
end="$(date +%s%N)"

# The summary names how many files went in; all of them should have.
added="$(printf '%s\n' "$summary" | sed -n 's/^ *"added": *\([0-9]*\),*$/\1/p')"
if [ "$added" != "$count" ]; then
  echo "import_tool_rate: the import added ${added:-no} files of $count:" >&2
  printf '%s\n' "$summary" >&2
  exit 3
fi
awk -v files="$added" -v nanoseconds="$((end - begin))" 'BEGIN {
  seconds = nanoseconds / 1e9
  printf "zandb4 import: %d files in %.2f s, %.1f files/s\n", files, seconds, files / seconds
}'
