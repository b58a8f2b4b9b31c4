#!/usr/bin/env bash
# Tries the project on bare Debians; see --help.
set -euo pipefail
cd "$(dirname "$0")/.."
# shellcheck source=scripts/common.sh
. scripts/common.sh

usage() {
    cat <<'END'
Usage: scripts/check_suites.sh SUITE... | --here [STEP...] | --help

For each suite of Debian (bookworm, trixie, sid): makes a bare system of it in build/suites/ and a
copy of the project inside, and does there what a newcomer does, as root and without a display:

  test    ./test.sh -j 4, with g++
  run     ./run.sh, on the sample organisation
  clang   builds everything with the suite's own clang, where a warning is an error

The bare system and its packages are kept for the next time; the rest is made anew.
--here does it, or the steps named, on the system and in the folder at hand. Needs root, to make
such a system and to mount into it.
END
}

suites=build/suites
mirror=http://deb.debian.org/debian

stage() {
    say
    say "== $* ($((SECONDS / 60)) min) =="
}

# ---- On the system at hand ----

versions() {
    # shellcheck disable=SC2016 # dpkg's own variables
    dpkg-query -W -f '${Package} ${Version}\n' g++ clang cmake qt6-base-dev libzip-dev libarchive-dev liblzma-dev libplist-dev 2>/dev/null || true
}

step_test() {
    ./test.sh -j 4
}

step_run() {
    env -u DISPLAY -u WAYLAND_DISPLAY ./run.sh
}

step_clang() {
    install_missing clang++=clang
    cmake --preset dev -B build/clang -DCMAKE_CXX_COMPILER=clang++ -DQUILLMERE_WARNINGS_AS_ERRORS=ON
    cmake --build build/clang --target all quillmere_bench
}

here() {
    local step
    for step in "$@"; do
        stage "$step"
        "step_$step"
    done
    stage "passed: $*"
    versions
}

# ---- On a system of its own ----

# Makes the bare system of a suite, where that was not done yet.
make_bare() {
    local bare=$suites/$1/bare
    [ ! -d "$bare" ] || return 0
    mkdir -p "$suites/archives"
    debootstrap --variant=minbase --cache-dir="$PWD/$suites/archives" "$1" "$bare.part" "$mirror" \
        >"$suites/$1.log" 2>&1 || fail "debootstrap could not make $1; see $suites/$1.log"
    # A mirror may be behind, and what it says of an unstable suite then counts as outdated.
    echo 'Acquire::Check-Valid-Until "false";' >"$bare.part/etc/apt/apt.conf.d/mirror"
    mv "$bare.part" "$bare"
}

# In a mount namespace of its own, which ends with the script: enters the system and runs there.
enter() {
    local root=$1
    shift
    mount --make-rprivate /
    mount -t proc proc "$root/proc"
    mount -t sysfs sysfs "$root/sys"
    mount --rbind /dev "$root/dev"
    mkdir -p "$suites/archives" "$root/var/cache/apt/archives"
    mount --bind "$suites/archives" "$root/var/cache/apt/archives"
    exec chroot "$root" /usr/bin/env -i HOME=/root LANG=C.UTF-8 \
        PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin \
        /quillmere/scripts/check_suites.sh --here "$@"
}

check_suite() {
    local suite=$1 root=$suites/$1/root
    stage "$suite"
    make_bare "$suite"
    rm -rf "$root"
    cp -a "$suites/$suite/bare" "$root"
    cp -L /etc/resolv.conf "$root/etc/resolv.conf"
    mkdir "$root/quillmere"
    git ls-files -z --cached --others --exclude-standard | tar --null -T - -c | tar -xC "$root/quillmere"
    unshare --mount --pid --fork --kill-child scripts/check_suites.sh --enter "$root" test run clang
}

case "${1-}" in
    "" | --help | -h) usage ;;
    --here)
        shift
        [ $# -gt 0 ] || set -- test run clang
        here "$@"
        ;;
    --enter)
        shift
        enter "$@"
        ;;
    *)
        [ "$(id -u)" = 0 ] || fail "needs root"
        install_packages debootstrap=debootstrap
        for suite in "$@"; do
            check_suite "$suite"
        done
        ;;
esac
