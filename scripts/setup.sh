#!/usr/bin/env bash
# Installs what building and testing the engine needs, when it is missing:
# a C++20 compiler, CMake, GoogleTest (and Google Benchmark for bench/),
# unless KEEL_BUILD_TOOLS=OFF what the keelcurve tool and its tests use, and
# unless KEEL_BUILD_PYTHON=OFF what the Python module and its tests use (for
# Debian's /usr/bin/python3, which these packages serve).
set -euo pipefail

missing=()
command -v cmake >/dev/null 2>&1 || missing+=(cmake)
command -v g++ >/dev/null 2>&1 || missing+=(g++)
[ -f /usr/include/gtest/gtest.h ] || missing+=(libgtest-dev)
[ -f /usr/include/gmock/gmock.h ] || missing+=(libgmock-dev)
[ -f /usr/include/benchmark/benchmark.h ] || missing+=(libbenchmark-dev)
if [ "${KEEL_BUILD_TOOLS:-ON}" != "OFF" ]; then
  command -v pkg-config >/dev/null 2>&1 || missing+=(pkg-config)
  [ -f /usr/include/CLI/CLI.hpp ] || missing+=(libcli11-dev)
  [ -f /usr/include/nlohmann/json.hpp ] || missing+=(nlohmann-json3-dev)
  [ -f /usr/include/tiny_gltf.h ] || missing+=(libtinygltf-dev)
  [ -f /usr/include/cairo/cairo.h ] || missing+=(libcairo2-dev)
  # The tool's tests check plots as XML with expat.
  [ -f /usr/include/expat.h ] || missing+=(libexpat1-dev)
  # Real glTF 2.0 animation that the tool's tests import.
  [ -d /usr/share/assimp/models/glTF2 ] || missing+=(assimp-testmodels)
fi
if [ "${KEEL_BUILD_PYTHON:-ON}" != "OFF" ]; then
  [ -x /usr/bin/python3 ] || missing+=(python3)
  [ -f /usr/include/pybind11/pybind11.h ] || missing+=(pybind11-dev)
  /usr/bin/python3 -c 'import pybind11' >/dev/null 2>&1 || missing+=(python3-pybind11)
  /usr/bin/python3 -c 'import numpy' >/dev/null 2>&1 || missing+=(python3-numpy)
  /usr/bin/python3 -c 'import pytest' >/dev/null 2>&1 || missing+=(python3-pytest)
  # The module's headers and the interpreter's library to build against.
  /usr/bin/python3 -c 'import sysconfig, os, sys; sys.exit(not os.path.exists(os.path.join(sysconfig.get_paths()["include"], "Python.h")))' \
    >/dev/null 2>&1 || missing+=(python3-dev)
fi

# The fuzzer (scripts/fuzz.sh) is built with clang 16 and its runtime.
if [ "${KEEL_FUZZ:-OFF}" = "ON" ]; then
  command -v clang++-16 >/dev/null 2>&1 || missing+=(clang-16)
  compgen -G "/usr/lib/llvm-16/lib/clang/16/lib/linux/libclang_rt.fuzzer-*.a" >/dev/null || missing+=(libclang-rt-16-dev)
fi

if [ ${#missing[@]} -gt 0 ]; then
  echo "==> installing ${missing[*]}"
  sudo_cmd=""
  [ "$(id -u)" -eq 0 ] || sudo_cmd="sudo"
  $sudo_cmd apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $sudo_cmd apt-get install -y -qq "${missing[@]}"
fi
