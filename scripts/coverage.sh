#!/usr/bin/env bash
# Runs the tests that are not slow and prints how much of each file of src/ they reach. Fails when
# a line is not reached that docs/testing.md does not name.
set -euo pipefail
cd "$(dirname "$0")/.."
# shellcheck source=scripts/common.sh
. scripts/common.sh

build=build/coverage
install_missing gcovr=gcovr unzip=unzip zip=zip nginx=nginx-light python3=python3 ps=procps \
    Xvfb=xvfb xauth=xauth openbox=openbox xdotool=xdotool import=imagemagick xwininfo=x11-utils
build_preset coverage
find $build -name '*.gcda' -delete
ctest --preset coverage --no-tests=error "$@"

gcovr --root . --filter 'src/' --exclude '.*(moc_|ui_|qrc_|_autogen).*' \
    --exclude-throw-branches --exclude-unreachable-branches \
    --txt $build/coverage.txt --json $build/coverage.json --json-pretty $build
cat $build/coverage.txt
python3 scripts/uncovered.py $build/coverage.json docs/testing.md
