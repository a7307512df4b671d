#!/usr/bin/env bash
# The undo property at length: 1,000,000 random edit sequences (or the count
# given) over every edit kind, each undone, redone and undone again and
# checked exact, in a Release build. Prints sequences per second and, on a
# failure, the seed and sequence that replay it. Not part of CI: a few
# minutes.
#
#   scripts/soak.sh [sequences] [seed]
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/scripts/setup.sh"
cmake -S "$root" -B "$root/build-release" -DCMAKE_BUILD_TYPE=Release -DKEEL_BUILD_TESTS=ON >/dev/null
cmake --build "$root/build-release" --target undo_soak -j "$(nproc 2>/dev/null || echo 2)"
"$root/build-release/tests/undo_soak" "${1:-1000000}" "${2:-2026}"
