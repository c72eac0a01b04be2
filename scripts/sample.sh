#!/usr/bin/env bash
# Sets up, builds, and runs the zandb4 tool on a sample catalogue root:
# "init" makes the catalogue, "info" lists it without changing anything,
# "ls" lists its files (none in a new catalogue) through a search, and
# "thumb" looks for a thumbnail (none in a new catalogue, which it reports
# with exit code 1).
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/install-deps.sh
cmake --preset default > /dev/null
cmake --build --preset default -j "$(nproc)" --target zandb4_tool

sample="${1:-${TMPDIR:-/tmp}/zandb4-sample}"
./build/tools/zandb4 init "$sample"
./build/tools/zandb4 info "$sample"
echo "files shot in 2024 that are favourites:"
./build/tools/zandb4 ls "$sample" --where date=2024-01-01..2024-12-31 --where favorite=yes
echo "the thumbnail of file 1, into ${sample}-thumb-1.jpg:"
./build/tools/zandb4 thumb "$sample" 1 -o "${sample}-thumb-1.jpg" || echo "(exit code $?)"
