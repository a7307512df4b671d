#!/usr/bin/env bash
# Regenerates the STEP and CUBICSPLINE samples under tests/tools/data with
# @gltf-transform/core from npm, installed into a temporary directory.
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
root=$(cd "$here/../../.." && pwd)
tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT
# ES modules resolve packages beside the script, so it runs from there.
cp "$here/package.json" "$here/generate.mjs" "$tmp/"
(cd "$tmp" && npm install --silent --no-audit --no-fund)
node "$tmp/generate.mjs" "$root/tests/tools/data"
