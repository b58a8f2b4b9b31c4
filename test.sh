#!/usr/bin/env bash
# Installs what is missing, builds the tests and runs them all, side by side; further arguments go to
# CTest (./test.sh -R Log). The exit status is the tests'.
set -euo pipefail
cd "$(dirname "$0")"
# shellcheck source=scripts/common.sh
. scripts/common.sh

install_missing_with_companion git=git unzip=unzip zip=zip bsdtar=libarchive-tools nginx=nginx-light \
    python3=python3 ps=procps \
    Xvfb=xvfb xauth=xauth openbox=openbox xdotool=xdotool import=imagemagick xwininfo=x11-utils
processors=$(getconf _NPROCESSORS_ONLN)
# Most of the long tests wait, so that two for each processor leave none idle.
jobs=$((2 * processors))
if [ ! -e build/dev/tests/ui/tst_mainwindow ]; then
    python3 scripts/test_time.py "$jobs" "$processors"
fi
build_preset dev
ctest --preset dev --show-only=json-v1 "$@" | python3 scripts/test_time.py "$jobs"
exec ctest --preset dev --no-tests=error -j "$jobs" "$@"
