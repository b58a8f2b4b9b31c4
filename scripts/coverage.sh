#!/usr/bin/env bash
# Runs the tests that are not slow under AddressSanitizer, LeakSanitizer and
# UndefinedBehaviorSanitizer and prints how much of each file of src/ they reach. Fails when a test
# does, and when a line is not reached that docs/testing.md does not name.
set -euo pipefail
cd "$(dirname "$0")/.."
# shellcheck source=scripts/common.sh
. scripts/common.sh

build=build/coverage
install_missing_with_companion gcovr=gcovr unzip=unzip zip=zip bsdtar=libarchive-tools nginx=nginx-light python3=python3 ps=procps \
    Xvfb=xvfb xauth=xauth openbox=openbox xdotool=xdotool import=imagemagick xwininfo=x11-utils
build_preset coverage
find $build -name '*.gcda' -delete
ctest --preset coverage --no-tests=error "$@"
# The one slow row that reaches lines which no other test does: the limit of a request.
QT_QPA_PLATFORM=offscreen LSAN_OPTIONS=suppressions=tests/lsan.supp:print_suppressions=0 \
    $build/tests/faults/tst_catalogueserver_slow endlessTransferEndsAfterTwoAttempts:silent

gcovr --root . --filter 'src/' --exclude '.*(moc_|ui_|qrc_|_autogen).*' \
    --exclude-throw-branches --exclude-unreachable-branches \
    --txt $build/coverage.txt --json $build/coverage.json --json-pretty $build
cat $build/coverage.txt
python3 scripts/uncovered.py $build/coverage.json docs/testing.md
