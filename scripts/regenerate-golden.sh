#!/usr/bin/env bash
# Rewrites tests/data/museumGolden.txt, the golden values of the museum
# curves, from the engine as it is built from this tree. Run it only for a
# deliberate change of evaluation results (or after adding an exhibit to the
# museum), and review the diff: every later change must reproduce the file
# bit for bit. KEEL_BUILD_DIR picks the build directory (default: build),
# KEEL_JOBS the build's parallel jobs.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${KEEL_BUILD_DIR:-$root/build}
golden=$root/tests/data/museumGolden.txt
trap 'rm -f "$golden.new"' EXIT

cmake -S "$root" -B "$build" >/dev/null
cmake --build "$build" --target golden_dump -j "${KEEL_JOBS:-$(nproc 2>/dev/null || echo 2)}" >/dev/null
"$build/tests/golden_dump" >"$golden.new"
mv "$golden.new" "$golden"
echo "wrote $golden"
git -C "$root" diff --stat -- tests/data/museumGolden.txt 2>/dev/null || true
