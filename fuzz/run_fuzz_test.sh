#!/usr/bin/env bash
# Runs one fuzz target as a test: the seed corpus and the regression inputs
# first, then RUNS new inputs from a fixed seed (stopping after MAX_SECONDS
# at the latest). New corpus entries and any crash input go to a temporary
# folder, which is removed after a pass and kept, with its path printed,
# after a failure.
# Usage: run_fuzz_test.sh FUZZER SEED_CORPUS REGRESSIONS RUNS MAX_SECONDS
set -euo pipefail
fuzzer="$1" seeds="$2" regressions="$3" runs="$4" max_seconds="$5"

work="$(mktemp -d "${TMPDIR:-/tmp}/zandb4-fuzz-test.XXXXXX")"
mkdir -p "$work/corpus" "$work/crashes"

inputs=("$work/corpus")
for folder in "$seeds" "$regressions"; do
  if [ -d "$folder" ]; then inputs+=("$folder"); fi
done

status=0
"$fuzzer" -seed=1 -runs="$runs" -max_total_time="$max_seconds" -print_final_stats=1 \
  -artifact_prefix="$work/crashes/" "${inputs[@]}" || status=$?
if [ "$status" -ne 0 ]; then
  echo "fuzz test failed (exit $status); inputs and crashes kept in $work" >&2
  exit "$status"
fi
rm -rf "$work"
