#!/usr/bin/env bash
# Builds and runs every benchmark in a short form. The counters named ratio compare with the limit measured beside it:
# 1.00 is at the limit, 0.50 takes twice as long.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")"

tools/packages.sh build test bench
cmake --preset release -DVEXCAP_BENCHES=ON --log-level=WARNING
cmake --build build/release --parallel "$(nproc)"
for program in build/release/bin/*_bench; do
    printf '\n== %s\n' "$(basename "$program")"
    "$program" --benchmark_min_time=0.05 --benchmark_counters_tabular=true "$@"
done
