#!/usr/bin/env bash
# Sets up, builds, and runs the zandb4 tool on a sample catalogue root:
# "init" makes the catalogue, "import" adds a folder of sample pictures
# (real JPEGs with EXIF, made here: dates, cameras, a GPS position, embedded
# previews, one in a subfolder), "info" lists the catalogue without changing
# anything, "ls" lists its files, "ls --where" searches them, and "thumb"
# writes the thumbnail taken from the first picture's embedded preview.
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/install-deps.sh
cmake --preset default > /dev/null
cmake --build --preset default -j "$(nproc)" --target zandb4_tool zandb4_make_pictures

sample="${1:-${TMPDIR:-/tmp}/zandb4-sample}"
pictures="${sample}-pictures"
rm -rf "$pictures"
./build/tests/zandb4_make_pictures "$pictures"
./build/tools/zandb4 init "$sample" > /dev/null
echo "importing ${pictures}:"
./build/tools/zandb4 import "$sample" "$pictures" --recursive
echo "a second import adds nothing:"
./build/tools/zandb4 import "$sample" "$pictures" --recursive
./build/tools/zandb4 info "$sample"
echo "the files of the catalogue:"
./build/tools/zandb4 ls "$sample"
echo "files shot in 2024:"
./build/tools/zandb4 ls "$sample" --where date=2024-01-01..2024-12-31
# The first picture of 2024 has an embedded preview, now its thumbnail (awk
# reads the whole listing, so the tool never writes into a closed pipe).
first="$(./build/tools/zandb4 ls "$sample" --where date=2024-01-01..2024-12-31 | awk -F '\t' 'NR == 1 { print $1 }')"
echo "the thumbnail of file ${first}, into ${sample}-thumb-${first}.jpg:"
./build/tools/zandb4 thumb "$sample" "$first" -o "${sample}-thumb-${first}.jpg" || echo "(exit code $?)"
