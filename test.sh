#!/usr/bin/env bash
# Installs what is missing, builds with and without sanitizers, and runs every test. A stage that fails stops no other one;
# the last lines name the stages that failed, or are ctest's summary of the release tests when none did.
set -uo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")" || exit
jobs=$(nproc)
mkdir -p build
failed=()

# Sets cpu: user and system time, in milliseconds, of all processes that this script has started and that have ended.
read_cpu() {
    times >build/times  # no pipe: a subshell has children of its own
    cpu=$(awk 'NR == 2 {
        for (i = 1; i <= 2; ++i) { split($i, part, /[ms]/); sum += part[1] * 60000 + part[2] * 1000 }
        printf "%d", sum }' build/times)
}

# stage NAME COMMAND...: runs it and says what it cost. A stage well below 60 % waits, and wants more workers.
stage() {
    local name=$1 cpu start_cpu start=${EPOCHREALTIME/[.,]/} status wall
    shift
    printf '\n== %s\n' "$name"
    read_cpu
    start_cpu=$cpu
    (
        set -e
        "$@"
    )
    status=$?
    read_cpu
    wall=$(((${EPOCHREALTIME/[.,]/} - start) / 1000 + 1))
    printf '== %s: %d s, CPU %d s, %d %% of %d processors%s\n' "$name" $((wall / 1000)) $(((cpu - start_cpu) / 1000)) \
        $(((cpu - start_cpu) * 100 / wall / jobs)) "$jobs" "$([[ $status -eq 0 ]] || echo ", FAILED")"
    [[ $status -eq 0 ]] || failed+=("$name")
}

# build TREE [argument of cmake ...]
build() {
    cmake --preset "$@" --log-level=WARNING
    cmake --build "build/$1" --parallel "$jobs" -- -k 0
}

# run_tests TREE [command that runs a command]. Most tests wait most of the time: three workers for each processor. Tests
# that compute take two.
run_tests() {
    "${@:2}" ctest --test-dir "build/$1" --parallel $((3 * jobs)) --output-on-failure --output-log "$PWD/build/$1/tests.log"
}

# The thread sanitizer of clang 14 needs its own place in memory, which a kernel that spreads addresses widely may take.
run_tests_in_fixed_places() {
    if setarch --addr-no-randomize true 2>/dev/null; then
        run_tests tsan setarch --addr-no-randomize
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

stage "packages" tools/packages.sh build test
stage "build asan" build asan
# What clang 14 writes down of the dynamic thread storage of loaded libraries is wrong with this C library, and its search
# for leaks fell over it.
stage "test asan" run_tests asan env ASAN_OPTIONS=intercept_tls_get_addr=0
stage "fuzz" fuzz
stage "build tsan" build tsan
stage "test tsan" run_tests_in_fixed_places
stage "build release" build release
stage "README commands" tests/readme_commands.sh build/release
stage "test release" run_tests release
printf '\n== %d s\n' $SECONDS
if [[ ${#failed[@]} -gt 0 ]]; then
    printf '== failed: %s\n' "${failed[@]}"
    exit 1
fi
sed -n '/ tests passed, /,$p' build/release/tests.log
