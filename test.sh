#!/usr/bin/env bash
# test.sh [STAGE...]: installs what is missing and runs the named stages, without a name all of them:
#
#   format   the code's format and its layers
#   release  everything built with g++, warnings as errors, and all tests
#   asan     the same with the address and undefined-behaviour sanitizers
#   tsan     the same with the thread sanitizer
#   package  the Debian packages made and tried; builds release first
#   clang    everything built with clang, warnings as errors
#   bench    the benchmarks built
#
# Each stage prints the time that it took.  The first one that fails ends the run.  The last line counts the tests.
set -eu
cd "$(dirname "$0")"

all=(format release asan tsan package clang bench)
[ $# -gt 0 ] || set -- "${all[@]}"
for stage in "$@"; do
    [[ " ${all[*]} " == *" $stage "* ]] || { echo "test.sh: no stage '$stage'; there are: ${all[*]}" >&2; exit 2; }
done

build() {
    cmake --preset "$1" >/dev/null
    cmake --build --preset "$1" -- --quiet
}

results=$(mktemp -d)
build_and_test() {
    build "$1"
    ctest --preset "$1" -j 4 --output-junit "$results/$1.xml"
}

run_format() {
    git ls-files '*.h' '*.cpp' | xargs clang-format --dry-run --Werror
    scripts/check-layering.sh
}
run_release() { build_and_test release; }
run_asan() { build_and_test asan; }
run_tsan() { build_and_test tsan; }
run_package() { build release && scripts/check-package.sh build/release; }
run_clang() { build fuzz; }
run_bench() { build bench; }

sum_of() { cat "$results"/*.xml 2>/dev/null | awk -F '"' -v name="$1=" '$1 ~ name "$" { n += $2 } END { print n + 0 }'; }
print_counts() {
    local failed skipped
    failed=$(sum_of failures) skipped=$(sum_of skipped)
    echo "$(($(sum_of tests) - failed - skipped)) passed, $failed failed, $skipped skipped"
    rm -rf "$results"
}
trap print_counts EXIT

scripts/install-packages.sh g++ clang libclang-rt-14-dev clang-format cmake ninja-build ccache libgtest-dev \
    libbenchmark-dev libcli11-dev libpcap-dev nlohmann-json3-dev dpkg-dev file iproute2

for stage in "$@"; do
    echo "== $stage"
    SECONDS=0
    "run_$stage"
    echo "== $stage took $SECONDS s"
done
