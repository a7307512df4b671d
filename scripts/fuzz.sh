#!/usr/bin/env bash
# Fuzzes the engine for the given seconds (default 300) with libFuzzer under
# AddressSanitizer and UndefinedBehaviorSanitizer, starting from the saved
# corpus in fuzz/corpus/. New inputs go to build-fuzz/corpus/ and any crash
# to build-fuzz/artifacts/; a crash input, once its bug is fixed, belongs in
# fuzz/corpus/ under a name that says what broke. Installs clang 16 when it
# is missing. Prints libFuzzer's final statistics (executions, speed,
# coverage) and exits non-zero on a crash. KEEL_FUZZ_SEED fixes libFuzzer's
# seed (a run from the same seed and corpus repeats exactly);
# KEEL_FUZZ_EACH_CALL=1 also checks every call's undo and redo alone.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
seconds=${1:-300}
KEEL_FUZZ=ON "$root/scripts/setup.sh"

CXX=clang++-16 cmake -S "$root" -B "$root/build-fuzz" -DKEEL_FUZZ=ON -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DKEEL_BUILD_TOOLS=OFF -DKEEL_BUILD_EXAMPLES=OFF -DKEEL_INSTALL_TEST=OFF -DKEEL_BUILD_PYTHON=OFF >/dev/null
cmake --build "$root/build-fuzz" --target keel_fuzzer -j "$(nproc 2>/dev/null || echo 2)"

mkdir -p "$root/build-fuzz/corpus" "$root/build-fuzz/artifacts"
echo "==> fuzzing for ${seconds} s"
# -entropic=0: libFuzzer's entropic scheduler spent more than half of the
# time updating its feature frequencies on this target.
seed=()
if [ -n "${KEEL_FUZZ_SEED:-}" ]; then
  seed=(-seed="$KEEL_FUZZ_SEED")
fi
"$root/build-fuzz/fuzz/keel_fuzzer" "${seed[@]}" -max_total_time="$seconds" -max_len=1024 -timeout=30 -entropic=0 \
  -print_final_stats=1 \
  -artifact_prefix="$root/build-fuzz/artifacts/" "$root/build-fuzz/corpus" "$root/fuzz/corpus" 2>&1 |
  grep -E '^(stat::|#[0-9]+ +DONE|INFO: Seed|==[0-9]+==|SUMMARY|invariant broken)' || true
# grep ends the pipe's own status; a crash leaves an artifact behind.
if compgen -G "$root/build-fuzz/artifacts/*" >/dev/null; then
  echo "==> the fuzzer found a crash: $(ls "$root/build-fuzz/artifacts/")"
  exit 1
fi
echo "==> no crash"
