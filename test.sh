#!/usr/bin/env bash
# Installs what is missing, builds with and without sanitizers, and runs every test.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")"
jobs=$(nproc)

stage() {
    local name=$1 start=$SECONDS
    shift
    printf '\n== %s\n' "$name"
    "$@"
    printf '== %s: %d s\n' "$name" $((SECONDS - start))
}

build() {
    cmake --preset "$1" --log-level=WARNING
    cmake --build "build/$1" --parallel "$jobs"
}

run_tests() { ctest --test-dir "build/$1" --parallel "$jobs" --output-on-failure; }

# The thread sanitizer of clang 14 needs its own place in memory, which a kernel that spreads addresses widely may take.
run_tests_in_fixed_places() {
    if setarch --addr-no-randomize true 2>/dev/null; then
        setarch --addr-no-randomize ctest --test-dir build/tsan --parallel "$jobs" --output-on-failure
    else
        run_tests tsan
    fi
}

# A few seconds for each fuzz target; what it finds stays in build/fuzz.
fuzz() {
    rm -rf build/fuzz
    mkdir -p build/fuzz
    for target in build/asan/bin/*_fuzz; do echo "$target"; done | xargs -P "$jobs" -I{} bash -c '
        name=$(basename {})
        mkdir build/fuzz/$name
        {} -max_total_time=10 -artifact_prefix=build/fuzz/$name- build/fuzz/$name >build/fuzz/$name.log 2>&1 ||
            { tail -n 60 build/fuzz/$name.log; exit 255; }
        grep "^Done" build/fuzz/$name.log | sed "s/^/$name: /"'
}

stage "packages" tools/packages.sh build test bench
stage "build asan" build asan
stage "test asan" run_tests asan
stage "fuzz" fuzz
stage "build tsan" build tsan
stage "test tsan" run_tests_in_fixed_places
stage "build release" build release
stage "README commands" tests/readme_commands.sh build/release
printf '\n== test release, after %d s\n' $SECONDS
run_tests release
