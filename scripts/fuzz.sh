#!/usr/bin/env bash
# fuzz.sh [seconds [target...]]: feeds every fuzz target, or those that are named, with bytes for so long, two at a
# time, under the address and undefined-behaviour sanitizers. What it finds stays in build/fuzz/found, a corpus that
# grows from run to run in build/fuzz/corpus.
set -euo pipefail
scripts=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
seconds=${1:-60}
shift || true

"$scripts/setup.sh" --ci
"$scripts/build.sh" fuzz
cd "$scripts/.."
mkdir -p build/fuzz/found
[ $# -gt 0 ] || set -- $(cd fuzz && printf '%s\n' fuzz_*.cpp | sed 's/\.cpp$//')

run_target() {
    mkdir -p "build/fuzz/corpus/$1"
    # Inputs of 64 KiB hold whole nested files; anything that takes 25 seconds on one is a hang.
    if ! "build/fuzz/fuzz/$1" -max_total_time="$2" -max_len=65536 -timeout=25 -rss_limit_mb=2048 \
        -artifact_prefix="build/fuzz/found/$1-" -print_final_stats=1 \
        "build/fuzz/corpus/$1" "fuzz/corpus/$1" > "build/fuzz/$1.log" 2>&1; then
        tail -n 60 "build/fuzz/$1.log"
        echo "$1 failed"
        return 1
    fi
    coverage=$(grep -o 'cov: [0-9]* ft: [0-9]*' "build/fuzz/$1.log" | tail -n 1)
    echo "$1: $(grep number_of_executed_units "build/fuzz/$1.log" | grep -o '[0-9]*') executions, $coverage"
}
export -f run_target
printf '%s\n' "$@" | xargs -P 2 -I{} bash -c "run_target {} $seconds"
