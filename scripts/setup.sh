#!/usr/bin/env bash
# Installs what building and testing the engine needs, when it is missing:
# a C++20 compiler, CMake, GoogleTest (and Google Benchmark for bench/).
set -euo pipefail

missing=()
command -v cmake >/dev/null 2>&1 || missing+=(cmake)
command -v g++ >/dev/null 2>&1 || missing+=(g++)
[ -f /usr/include/gtest/gtest.h ] || missing+=(libgtest-dev)
[ -f /usr/include/gmock/gmock.h ] || missing+=(libgmock-dev)
[ -f /usr/include/benchmark/benchmark.h ] || missing+=(libbenchmark-dev)

if [ ${#missing[@]} -gt 0 ]; then
  echo "==> installing ${missing[*]}"
  sudo_cmd=""
  [ "$(id -u)" -eq 0 ] || sudo_cmd="sudo"
  $sudo_cmd apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $sudo_cmd apt-get install -y -qq "${missing[@]}"
fi
