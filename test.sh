#!/usr/bin/env bash
# Installs what is missing, checks the format, builds everything with g++ and clang, warnings as errors, runs all tests
# three times (as they are, with the address and undefined-behaviour sanitizers, with the thread sanitizer), makes the
# packages and tries them, and builds the benchmarks.
set -eu
cd "$(dirname "$0")"

scripts/install-packages.sh g++ clang libclang-rt-14-dev clang-format cmake ninja-build ccache libgtest-dev \
    libbenchmark-dev libcli11-dev libpcap-dev nlohmann-json3-dev dpkg-dev file iproute2

echo "== format"
git ls-files '*.h' '*.cpp' | xargs clang-format --dry-run --Werror
scripts/check-layering.sh

for preset in release asan tsan; do
    echo "== $preset"
    cmake --preset "$preset" >/dev/null
    cmake --build --preset "$preset" -- --quiet
    ctest --preset "$preset" -j 4
done

echo "== package"
scripts/check-package.sh build/release

echo "== clang"
cmake --preset fuzz >/dev/null
cmake --build --preset fuzz -- --quiet

echo "== bench"
cmake --preset bench >/dev/null
cmake --build --preset bench -- --quiet
