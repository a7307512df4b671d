#!/usr/bin/env bash
# Builds the engine in Release and prints one table: each benchmark case of
# the engine against the reference evaluator (or its fixed target), ending
# with "within target: N of M". Extra arguments go to Google Benchmark
# (for example --benchmark_filter=hermite). scripts/bench.sh --all also runs
# the engine's own benchmark suite. When the Python module was built, a
# second table follows: 10,000 curves x 240 frames baked from Python against
# the same bake in C++ (python/bench/bake_bench.py).
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/scripts/setup.sh"
cmake -S "$root" -B "$root/build-release" -DCMAKE_BUILD_TYPE=Release -DKEEL_BUILD_BENCH=ON \
  -DKEEL_BUILD_TESTS=OFF >/dev/null
cmake --build "$root/build-release" -j "$(nproc 2>/dev/null || echo 2)" >/dev/null
if [ "${1:-}" = "--all" ]; then
  shift
  "$root/build-release/bench/keel_bench" "$@"
fi
"$root/build-release/bench/keel_bench_table" "$@" 2>/dev/null | sed -n '/^| case/,$p'
python=$(sed -n 's/^KEEL_PYTHON_EXECUTABLE:FILEPATH=//p' "$root/build-release/CMakeCache.txt")
if [ -d "$root/build-release/python/keelanim" ] && [ -n "$python" ]; then
  PYTHONPATH="$root/build-release/python" "$python" "$root/python/bench/bake_bench.py" \
    --cpp "$root/build-release/bench/keel_bake_timing"
fi
