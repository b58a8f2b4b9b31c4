#!/usr/bin/env bash
# bench/run.sh [OPTION...] [CASE...]: installs what is missing, builds the benchmarks and runs them;
# --help lists the options. The exit status tells whether every bound holds; with other work on the
# machine it says little.
set -euo pipefail
cd "$(dirname "$0")/.."
# shellcheck source=scripts/common.sh
. scripts/common.sh

install_missing_with_companion nginx=nginx-light curl=curl python3=python3 unzip=unzip \
    taskset=util-linux
build_preset release quillmere_bench
QT_QPA_PLATFORM=offscreen exec build/release/quillmere_bench "$@"
