#!/usr/bin/env bash
# Builds and runs the demo: the engine's main job on a built-in example, with
# an SVG plot of its curves written beside the build (its path is printed).
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/scripts/setup.sh"
cmake -S "$root" -B "$root/build" >/dev/null
cmake --build "$root/build" --target keel_demo -j "$(nproc 2>/dev/null || echo 2)" >/dev/null
"$root/build/examples/keel_demo" "$root/build/examples/keel_demo_curves.svg"
