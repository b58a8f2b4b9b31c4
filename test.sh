#!/usr/bin/env bash
# Installs what is missing, builds the tests and runs them all; further arguments go to CTest
# (./test.sh -R Log). The exit status is the tests'.
set -euo pipefail
cd "$(dirname "$0")"
# shellcheck source=scripts/common.sh
. scripts/common.sh

install_missing unzip=unzip zip=zip nginx=nginx-light python3=python3 ps=procps \
    Xvfb=xvfb xauth=xauth openbox=openbox xdotool=xdotool import=imagemagick xwininfo=x11-utils
build_preset dev
exec ctest --preset dev --no-tests=error "$@"
