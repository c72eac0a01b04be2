#!/usr/bin/env bash
# Runs one libFuzzer target for a while, with a working corpus that outlives
# the run and never lies in the source tree.
set -euo pipefail
cd "$(dirname "$0")/.."

targets=(query_tree_fuzzer open_root_fuzzer record_fuzzer)

usage() {
  cat <<USAGE
usage: scripts/fuzz.sh TARGET SECONDS [LIBFUZZER_OPTION...]

Builds the "fuzz" preset if needed and runs TARGET for SECONDS.
Targets: ${targets[*]}

The working corpus is \$ZANDB4_FUZZ_WORK/TARGET/corpus (default
ZANDB4_FUZZ_WORK=/tmp/zandb4-fuzz), seeded from fuzz/corpus/TARGET on the
first run and kept between runs. Crash inputs go to
\$ZANDB4_FUZZ_WORK/TARGET/crashes/. Further arguments go to libFuzzer, e.g.
-jobs=2 or -max_len=65536.
USAGE
}

if [ $# -ge 1 ] && { [ "$1" = "--help" ] || [ "$1" = "-h" ]; }; then
  usage
  exit 0
fi
if [ $# -lt 2 ]; then
  usage >&2
  exit 2
fi
target="$1" seconds="$2"
shift 2
known=0
for candidate in "${targets[@]}"; do
  if [ "$candidate" = "$target" ]; then known=1; fi
done
if [ "$known" -ne 1 ]; then
  echo "error: unknown fuzz target '$target' (known: ${targets[*]})" >&2
  exit 2
fi
if ! [[ "$seconds" =~ ^[0-9]+$ ]] || [ "$seconds" -eq 0 ]; then
  echo "error: SECONDS must be a positive whole number, got '$seconds'" >&2
  exit 2
fi

cmake --preset fuzz > /dev/null
cmake --build --preset fuzz --target "$target"

work="${ZANDB4_FUZZ_WORK:-/tmp/zandb4-fuzz}/$target"
mkdir -p "$work/corpus" "$work/crashes"
if [ -z "$(ls -A "$work/corpus")" ]; then
  cp fuzz/corpus/"$target"/* "$work/corpus/"
fi
echo "corpus:  $work/corpus"
echo "crashes: $work/crashes/"

# The regression inputs are read too, so a fixed defect that comes back
# stops the run at once.
inputs=("$work/corpus")
if [ -d fuzz/regressions/"$target" ]; then inputs+=(fuzz/regressions/"$target"); fi
exec build-fuzz/fuzz/"$target" -max_total_time="$seconds" -print_final_stats=1 \
  -artifact_prefix="$work/crashes/" "$@" "${inputs[@]}"
