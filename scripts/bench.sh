#!/usr/bin/env bash
# Runs all benchmarks beside their peers, five times each, and writes docs/performance.md with its plots. Takes about half
# an hour on a machine that should do nothing else meanwhile.
#
# usage: bench.sh [BENCHMARK...]   these alone, as "entityBenchmark"; the figures of others stay as they were last time
#        bench.sh --smoke          little of everything: only that all run, and that their results (not their times) are
#                                  those of benchmarks/results.txt; "--smoke --accept" writes that file
set -euo pipefail

cd -- "$(dirname -- "${BASH_SOURCE[0]}")/.."

smoke=0
accept=0
names=()
for argument in "$@"; do
    case $argument in
    --smoke) smoke=1 ;;
    --accept) accept=1 ;;
    -*) sed -n '/^# usage/,/^set/s/^# \?//p' "$0" >&2 && exit 2 ;;
    *) names+=("$argument") ;;
    esac
done
if ((${#names[@]} == 0)); then
    for source in benchmarks/*Benchmark.cpp; do
        names+=("$(basename "$source" .cpp)")
    done
fi

cmake --preset release >/dev/null
cmake --build --preset release --target "${names[@]}"

if ((smoke)); then
    out=$(mktemp -d)
    trap 'rm -rf -- "$out"' EXIT
    export BENCH_SMOKE=1
    options=(--benchmark_min_time=0.001)
else
    out=build/release/bench/figures
    mkdir -p "$out"
    options=(--benchmark_repetitions="${BENCH_REPETITIONS:-5}" --benchmark_enable_random_interleaving=true)
fi

for name in "${names[@]}"; do
    echo "$name"
    if ! timeout $((smoke ? 120 : 3600)) "build/release/bench/$name" "${options[@]}" \
        --benchmark_out="$out/$name.json.new" --benchmark_out_format=json >"$out/$name.log" 2>&1; then
        cat "$out/$name.log"
        echo "$name failed, or took too long." >&2
        exit 1
    fi
    mv -- "$out/$name.json.new" "$out/$name.json"
done

if ((smoke)); then
    if ((accept)); then
        scripts/bench-report.py accept "$out"
    else
        scripts/bench-report.py check "$out"
    fi
else
    scripts/bench-report.py write "$out"
fi
