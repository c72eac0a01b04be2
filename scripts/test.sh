#!/usr/bin/env bash
# Sets up, builds and runs the whole test suite twice: a plain build, then a
# build with AddressSanitizer and UndefinedBehaviorSanitizer. Then the fuzz
# targets (clang, libFuzzer) replay their seeds and regression inputs and run
# a bounded number of new inputs each (label "fuzz"). Last, the tests that
# race threads on shared objects (label "threads") run once more under
# ThreadSanitizer.
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/install-deps.sh
jobs="$(nproc)"

for preset in default sanitize; do
  echo "=== $preset build ==="
  cmake --preset "$preset" > /dev/null
  cmake --build --preset "$preset" -j "$jobs"
  ctest --preset "$preset" -j "$jobs"
done

echo "=== fuzz build (bounded fuzz runs) ==="
cmake --preset fuzz > /dev/null
cmake --build --preset fuzz -j "$jobs"
ctest --preset fuzz -L fuzz

echo "=== tsan build (threads) ==="
cmake --preset tsan > /dev/null
cmake --build --preset tsan -j "$jobs" --target zandb4_thread_tests zandb4_shard_thread_tests
ctest --preset tsan -j "$jobs" -L threads
