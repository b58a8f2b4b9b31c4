#!/usr/bin/env bash
# Fuzzes each target, or the targets named, for SECONDS (30):
#
#     fuzz/run.sh [SECONDS [TARGET...]]
#
# Installs what is missing and builds preset "fuzz". Inputs that reach new code are kept in
# build/fuzz/corpus for the next run, findings in build/fuzz/findings; the exit status is 1 when
# there is one. A finding runs again by
#
#     build/fuzz/fuzz/fuzz_TARGET FINDING
#
# All night: fuzz/run.sh 4000
set -euo pipefail
cd "$(dirname "$0")/.."
# shellcheck source=scripts/common.sh
. scripts/common.sh

seconds=${1:-30}
[ $# -eq 0 ] || shift
case $seconds in *[!0-9]* | "") fail "usage: fuzz/run.sh [SECONDS [TARGET...]]" ;; esac

targets=$*
[ -n "$targets" ] || targets=$(ls fuzz/corpus)

# shellcheck disable=SC2086 # a list of names
on_mac || install_packages clang++=clang libclang-rt-dev llvm-symbolizer=llvm cmake=cmake \
    ninja=ninja-build qt6-base-dev $COMPANION_PACKAGES
build_preset fuzz quillmere_fuzzers

corpus=build/fuzz/corpus
findings=build/fuzz/findings
mkdir -p "$findings"
# The targets write files and trees: in memory where there is such a folder.
memory=/dev/shm
[ -d "$memory" ] && [ -w "$memory" ] || memory=${TMPDIR:-/tmp}
TMPDIR=$(mktemp -d "$memory/quillmere-fuzz-XXXXXX")
export TMPDIR
trap 'rm -rf "$TMPDIR"' EXIT
# A stack of each allocation, and much freed memory kept, would cost nearly as much as all the rest.
# Who runs a finding again has both.
asan=malloc_context_size=0:quarantine_size_mb=4:thread_local_quarantine_size_kb=64
export ASAN_OPTIONS=${ASAN_OPTIONS:-$asan}

fuzz() { # TARGET: one line on standard output, and more of a finding
    local target=$1 log=$findings/$1.log dictionary=()
    touch "$TMPDIR/failed-$target" # until it has ended well
    mkdir -p "$corpus/$target"
    case $target in bundlelist | configuration | packageparts | propertylist) dictionary=(-dict=fuzz/xml.dict) ;; esac
    if "build/fuzz/fuzz/fuzz_$target" ${dictionary[@]+"${dictionary[@]}"} -max_len=512 -timeout=20 \
        -rss_limit_mb=1024 -max_total_time="$seconds" -print_final_stats=1 \
        -artifact_prefix="$findings/$target-" "$corpus/$target" "fuzz/corpus/$target" \
        >"$log" 2>&1; then
        rm "$TMPDIR/failed-$target"
        say "$target: $(sed -n 's/^stat::number_of_executed_units: *//p' "$log") inputs"
    else
        say "$target: a finding"
        grep -E -A 2 "BROKEN RULE|ERROR:|SUMMARY:|Test unit written" "$log" || tail -n 20 "$log"
    fi
}

# As many at a time as there are processors.
running=0
for target in $targets; do
    if [ $((++running)) -gt "$(nproc)" ]; then
        wait -n
    fi
    fuzz "$target" &
done
wait
failed=$(find "$TMPDIR" -name 'failed-*' -printf ' %f')
[ -z "$failed" ] || fail "findings in${failed//failed-/}; see $findings"
