#!/usr/bin/env bash
# bench/ir.sh [WORKLOAD...]: what one more row, line or file costs in instructions, counted by
# callgrind at two sizes. The figures repeat on a busy machine, where timings do not. The exit
# status tells whether every bound holds.
set -euo pipefail
cd "$(dirname "$0")/.."
# shellcheck source=scripts/common.sh
. scripts/common.sh

install_missing_with_companion nginx=nginx-light valgrind=valgrind
build_preset release quillmere_bench

# Workload, its smaller and its larger size, and the most instructions that one more may cost; 0
# where there is no bound.
WORKLOADS="
table 100 300 1300000
paint 1000 2000 0
refresh 200 600 0
catalogue 2000 6000 0
matching 500 1500 0
scan 200 600 0
plists 100 300 0
log 1000 3000 22000
"

# Instructions of a workload in a size, its preparation not counted.
instructions() {
    local out
    out=$(QT_QPA_PLATFORM=offscreen valgrind --tool=callgrind --collect-atstart=no \
        --toggle-collect='secondsOf*' --callgrind-out-file=/dev/null \
        build/release/quillmere_bench --workload "$1" "$2" 2>&1) || fail "$out"
    printf '%s\n' "$out" | sed -n 's/.*Collected : //p'
}

missed=0
while read -r workload small large bound; do
    if [ -z "$workload" ] || { [ $# -gt 0 ] && [[ " $* " != *" $workload "* ]]; }; then
        continue
    fi
    few=$(instructions "$workload" "$small")
    many=$(instructions "$workload" "$large")
    each=$(((many - few) / (large - small)))
    verdict=
    if [ "$bound" -gt 0 ]; then
        verdict="bound $bound, holds"
        if [ "$each" -gt "$bound" ]; then
            verdict="bound $bound, MISSED"
            missed=1
        fi
    fi
    printf '%-10s %9d instructions each, from %d to %d  %s\n' \
        "$workload" "$each" "$small" "$large" "$verdict"
done <<<"$WORKLOADS"
exit "$missed"
