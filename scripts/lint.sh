#!/usr/bin/env bash
# Formatting and static checks: clang-format (checked, not applied) and
# clang-tidy over the engine's sources.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
cd "$root"
cmake -S . -B build-lint -DCMAKE_EXPORT_COMPILE_COMMANDS=ON -DKEEL_BUILD_TESTS=OFF >/dev/null
files=$(git ls-files '*.cpp' '*.h' | grep -v '^tests/install/')
clang-format --dry-run --Werror $files
git ls-files 'base/*.cpp' 'keys/*.cpp' 'curve/*.cpp' 'segments/*.cpp' 'editing/*.cpp' 'undo/*.cpp' \
  'clipboard/*.cpp' 'rotation/*.cpp' 'prefs/*.cpp' | xargs -r clang-tidy -p build-lint --quiet
