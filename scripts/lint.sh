#!/usr/bin/env bash
# clang-tidy, with the checks of .clang-tidy, and clazy, with those of its level 1, over every file
# of src, tools, tests, bench and fuzz.
set -euo pipefail
cd "$(dirname "$0")/.."
# shellcheck source=scripts/common.sh
. scripts/common.sh

install_missing python3=python3 clang-tidy-14 clang-14 clazy-standalone=clazy
# For the files that Qt's tools make.
build_preset dev
build_preset dev quillmere_bench
# For the commands of fuzz, which preset dev leaves out.
if ! is_configured fuzz; then
    cmake --preset fuzz
fi
python3 scripts/lint.py build/dev/compile_commands.json build/fuzz/compile_commands.json
