#!/usr/bin/env bash
# Builds the engine and runs every test twice: a normal build (including the
# install/consumer test, the replay of the fuzz corpus and the Python
# module's tests) and an AddressSanitizer + UndefinedBehaviorSanitizer build;
# then the threaded-evaluation test under ThreadSanitizer, and a minute of
# fuzzing where clang 16 is installed (KEEL_FUZZ_SECONDS changes the time,
# 0 skips it). The sanitizer
# builds leave the Python module out: an uninstrumented interpreter cannot
# load it. Exits non-zero on the first failure.
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
  run_pass build-sanitize -DCMAKE_BUILD_TYPE=Debug -DKEEL_SANITIZE=ON -DKEEL_BUILD_PYTHON=OFF
# Two threads evaluating disjoint curves, under ThreadSanitizer.
echo "==> configure build-tsan"
cmake -S "$root" -B "$root/build-tsan" -DKEEL_WERROR=ON -DCMAKE_BUILD_TYPE=Debug -DKEEL_TSAN=ON \
  -DKEEL_BUILD_EXAMPLES=OFF -DKEEL_INSTALL_TEST=OFF -DKEEL_BUILD_PYTHON=OFF >/dev/null
cmake --build "$root/build-tsan" --target thread_tests -j "$jobs"
TSAN_OPTIONS=halt_on_error=1 "$root/build-tsan/tests/thread_tests"
# Fuzzing where clang 16 is installed (scripts/fuzz.sh installs it), from a
# fixed seed so that a failing run can be repeated exactly; the saved corpus
# is replayed by the normal pass everywhere.
fuzz_seconds=${KEEL_FUZZ_SECONDS:-60}
if [ "$fuzz_seconds" -gt 0 ] && command -v clang++-16 >/dev/null 2>&1 &&
  compgen -G "/usr/lib/llvm-16/lib/clang/16/lib/linux/libclang_rt.fuzzer-*.a" >/dev/null; then
  KEEL_FUZZ_SEED=${KEEL_FUZZ_SEED:-1} "$root/scripts/fuzz.sh" "$fuzz_seconds"
fi
echo "==> all tests passed"
