#!/usr/bin/env bash
# Builds the engine and runs every test twice: a normal build (including the
# install/consumer test) and an AddressSanitizer + UndefinedBehaviorSanitizer
# build. Exits non-zero on the first failure.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/scripts/setup.sh"

jobs=$(nproc 2>/dev/null || echo 2)

run_pass() {
  local dir=$1; shift
  echo "==> configure $dir $*"
  cmake -S "$root" -B "$root/$dir" -DKEEL_WERROR=ON "$@" >/dev/null
  echo "==> build $dir"
  cmake --build "$root/$dir" -j "$jobs"
  echo "==> test $dir"
  ctest --test-dir "$root/$dir" --output-on-failure -j "$jobs"
}

run_pass build -DCMAKE_BUILD_TYPE=RelWithDebInfo
ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
  run_pass build-sanitize -DCMAKE_BUILD_TYPE=Debug -DKEEL_SANITIZE=ON
echo "==> all tests passed"
