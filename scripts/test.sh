#!/usr/bin/env bash
# Sets up, builds and runs the whole test suite twice: a plain build, then a
# build with AddressSanitizer and UndefinedBehaviorSanitizer.
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
