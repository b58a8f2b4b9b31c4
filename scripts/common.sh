# shellcheck shell=bash
# What run.sh and test.sh share; they source it from the project's folder. Works with bash 3.2, as
# macOS has it.

# What the build needs, as "package" or as "command=package" where the command is enough: however
# it came onto the machine, nothing is installed then.
BUILD_PACKAGES="c++=g++ cmake=cmake ninja=ninja-build qt6-base-dev fonts-dejavu-core"
BUILD_FORMULAS="cmake ninja qtbase"
# What the publisher's companion needs besides; without it the companion is left out.
COMPANION_PACKAGES="libzip-dev libarchive-dev liblzma-dev libplist-dev 7z=7zip"
COMPANION_FORMULAS="libzip libarchive xz libplist sevenzip"

say() {
    printf '%s\n' "$*"
}

# Ends the script: what went wrong, and what to do.
fail() {
    printf '%s: %s\n' "${0##*/}" "$*" >&2
    exit 1
}

on_mac() {
    [ "$(uname)" = Darwin ]
}

# Those of the wanted packages that the machine lacks.
missing_packages() {
    local want package
    for want in "$@"; do
        package=${want#*=}
        if [ "$want" != "$package" ] && command -v "${want%%=*}" >/dev/null; then
            continue
        fi
        if command -v dpkg-query >/dev/null; then
            dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null | grep -qx installed \
                || printf '%s ' "$package"
        elif [ "$want" != "$package" ]; then
            printf '%s ' "$package"
        fi
    done
}

# Runs apt-get as root, its output into build/install.log.
apt_get() {
    local as_root=""
    [ "$(id -u)" = 0 ] || as_root=sudo
    $as_root env DEBIAN_FRONTEND=noninteractive apt-get -q -y "$@" >>build/install.log 2>&1
}

# Installs what is missing of the given packages (Debian); nothing runs when nothing is.
install_packages() {
    local missing
    missing=$(missing_packages "$@")
    missing=${missing% }
    [ -n "$missing" ] || return 0
    command -v apt-get >/dev/null \
        || fail "missing: $missing (Debian's names); install them by this system's own means"
    [ "$(id -u)" = 0 ] || command -v sudo >/dev/null \
        || fail "missing: $missing; as root run: apt-get install $missing"

    say "Installing $missing (a few minutes; output in build/install.log)"
    mkdir -p build
    : >build/install.log
    # shellcheck disable=SC2086 # a list of names
    if ! apt_get update || ! apt_get install --no-install-recommends $missing; then
        grep '^E:' build/install.log >&2 || tail -n 5 build/install.log >&2
        fail "apt-get could not install $missing; see build/install.log, check network and sources"
    fi
}

# Installs what is missing of the given Homebrew formulas (macOS).
install_formulas() {
    local formula
    xcode-select -p >/dev/null 2>&1 || fail "no compiler; run: xcode-select --install"
    command -v brew >/dev/null || fail "Homebrew is missing; install it, then start again"
    for formula in "$@"; do
        if ! brew list --formula "$formula" >/dev/null 2>&1; then
            say "Installing $formula"
            brew install "$formula" || fail "brew could not install $formula; its reason is above"
        fi
    done
    # Where CMake finds Qt; what the user has set comes first.
    CMAKE_PREFIX_PATH=${CMAKE_PREFIX_PATH:+$CMAKE_PREFIX_PATH:}$(brew --prefix)
    export CMAKE_PREFIX_PATH
}

# Installs what the build needs and the further packages named, which macOS has already.
install_missing() {
    if on_mac; then
        # shellcheck disable=SC2086 # a list of names
        install_formulas $BUILD_FORMULAS
    else
        # shellcheck disable=SC2086 # a list of names
        install_packages $BUILD_PACKAGES "$@"
    fi
}

# The same, and what the publisher's companion needs.
install_missing_with_companion() {
    if on_mac; then
        # shellcheck disable=SC2086 # a list of names
        install_formulas $BUILD_FORMULAS $COMPANION_FORMULAS
    else
        # shellcheck disable=SC2086 # a list of names
        install_packages $BUILD_PACKAGES $COMPANION_PACKAGES "$@"
    fi
}

# Where the preset release puts the program.
release_program() {
    if on_mac; then
        printf 'build/release/Quillmere.app/Contents/MacOS/Quillmere'
    else
        printf 'build/release/quillmere'
    fi
}

# Whether the build folder of that preset was configured since the presets last changed, and holds
# with warnings as the environment says.
is_configured() {
    [ "build/$1/build.ninja" -nt CMakePresets.json ] \
        && grep -qx "QUILLMERE_WARNINGS_AS_ERRORS:BOOL=${QUILLMERE_WARNINGS_AS_ERRORS-}" \
            "build/$1/CMakeCache.txt"
}

# build_preset PRESET [TARGET]: configures where that is due, and builds what is out of date;
# without TARGET, all that the preset names. A compiler's warning ends the build only where
# QUILLMERE_WARNINGS_AS_ERRORS is ON in the environment, as our own checks have it.
build_preset() {
    local preset=$1 target=${2-}
    if ! is_configured "$preset"; then
        cmake --preset "$preset" \
            || fail "cmake could not configure the build; correct what it names above"
    fi
    cmake --build --preset "$preset" ${target:+--target "$target"} \
        || fail "preset '$preset' does not build; correct what the compiler names above"
}
