#!/usr/bin/env bash
# Builds the engine in Release and runs the benchmarks.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/scripts/setup.sh"
cmake -S "$root" -B "$root/build-release" -DCMAKE_BUILD_TYPE=Release -DKEEL_BUILD_BENCH=ON \
  -DKEEL_BUILD_TESTS=OFF >/dev/null
cmake --build "$root/build-release" --target keel_bench -j "$(nproc 2>/dev/null || echo 2)" >/dev/null
"$root/build-release/bench/keel_bench" "$@"
