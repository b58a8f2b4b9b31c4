#!/usr/bin/env bash
# Builds Quillmere for both kinds of Mac and makes the disk image that people install it from.
set -euo pipefail
cd "$(dirname "$0")/../.."
# shellcheck source=scripts/common.sh
. scripts/common.sh

usage() {
    cat <<'END'
Usage: packaging/macos/make-dmg.sh [--dry-run] [-DNAME=VALUE...]

Makes build/dmg/Quillmere-VERSION.dmg and its .sha256, on a Mac with Xcode's command-line tools,
CMake, Ninja and an official Qt 6.8 for macOS, which QT_ROOT_DIR names (its folder "macos").
Homebrew's Qt does not do: it is made for one kind of processor.

  --dry-run      print every step and do none; works everywhere
  -DNAME=VALUE   handed to CMake: the deployer's values, see docs/deploying.md

Without these variables the application is signed ad hoc: other Macs open it only after their user
has allowed it. With the first it is signed for distribution, with both notarized too.

  QUILLMERE_SIGN_IDENTITY    "Developer ID Application: ..." in the keychain
  QUILLMERE_NOTARY_PROFILE   profile that `xcrun notarytool store-credentials` has saved
END
}

dry_run=no
cmake_options=()
for argument in "$@"; do
    case $argument in
        --dry-run) dry_run=yes ;;
        -D?*) cmake_options+=("$argument") ;;
        --help | -h) usage; exit 0 ;;
        *) fail "unknown argument: $argument; --help says what there is" ;;
    esac
done

version=$(sed -n 's/^project(Quillmere VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
[ -n "$version" ] || fail "CMakeLists.txt names no version"
identity=${QUILLMERE_SIGN_IDENTITY-}
profile=${QUILLMERE_NOTARY_PROFILE-}
[ -n "$identity" ] || [ -z "$profile" ] \
    || fail "QUILLMERE_NOTARY_PROFILE is set, but QUILLMERE_SIGN_IDENTITY is not: only what it signs can be notarized"

build=build/dmg/build
folder=build/dmg/image # what the image holds
app=$folder/Quillmere.app
image=build/dmg/Quillmere-$version.dmg

# Prints a command and, but for a dry run, runs it.
run() {
    printf '+'
    printf ' %q' "$@"
    printf '\n'
    [ "$dry_run" = yes ] || "$@"
}

check_machine() {
    [ "$dry_run" = no ] || return 0
    on_mac || fail "this needs a Mac; --dry-run prints the steps"
    [ -x "${QT_ROOT_DIR-}/bin/macdeployqt" ] \
        || fail "QT_ROOT_DIR must name an official Qt's folder for macOS, the one that has bin/macdeployqt"
}

build_and_test() {
    say "== Build for both processors, and test =="
    run rm -rf build/dmg
    run cmake --preset release -B "$build" "-DCMAKE_PREFIX_PATH=${QT_ROOT_DIR-\$QT_ROOT_DIR}" \
        "-DCMAKE_OSX_ARCHITECTURES=arm64;x86_64" -DCMAKE_OSX_DEPLOYMENT_TARGET=12.0 \
        -DQUILLMERE_BUILD_CATALOGUE=OFF -DQUILLMERE_BUILD_TESTS=ON ${cmake_options[@]+"${cmake_options[@]}"}
    run cmake --build "$build"
    run ctest --test-dir "$build" --output-on-failure --no-tests=error
}

# Frameworks and plug-ins come from Qt's deploy tool, which does not tell what it left out.
install_application() {
    say "== Install, with Qt =="
    run cmake --install "$build" --prefix "$folder"
    run test -d "$app/Contents/Frameworks/QtWidgets.framework"
    run test -f "$app/Contents/PlugIns/platforms/libqcocoa.dylib"
    run test -f "$app/Contents/PlugIns/tls/libqsecuretransportbackend.dylib"
    run test -f "$app/Contents/PlugIns/imageformats/libqgif.dylib"
    run lipo "$app/Contents/MacOS/Quillmere" -verify_arch arm64 x86_64
    run plutil -lint "$app/Contents/Info.plist"
}

# For distribution with the hardened runtime, which would refuse libraries that are signed ad hoc.
sign() {
    if [ -n "$identity" ]; then
        run codesign --force --timestamp --options runtime --sign "$identity" "$1"
    else
        run codesign --force --sign - "$1"
    fi
}

# sign_found FIND-ARGUMENTS...: each of what find lists in the application.
sign_found() {
    if [ "$dry_run" = yes ]; then
        say "# for each that this lists: find $app/Contents $* -print"
        sign "{}"
        return
    fi
    local path
    find "$app/Contents" "$@" -print | while IFS= read -r path; do
        sign "$path"
    done
}

# From the inside to the outside: a signature seals what lies within.
sign_application() {
    say "== Sign: ${identity:-ad hoc} =="
    sign_found -type f -name '*.dylib'
    sign_found -type d -name '*.framework' -prune
    sign "$app"
    run codesign --verify --deep --strict --verbose=2 "$app"
}

make_image() {
    say "== Disk image =="
    run ln -s /Applications "$folder/Applications"
    run hdiutil create -volname "Quillmere $version" -srcfolder "$folder" -fs HFS+ -format UDZO \
        -ov "$image"
    if [ -n "$identity" ]; then
        run codesign --force --timestamp --sign "$identity" "$image"
    fi
    run hdiutil verify "$image"
}

notarize() {
    if [ -z "$profile" ]; then
        say "== Not notarized: QUILLMERE_NOTARY_PROFILE is not set =="
        return
    fi
    say "== Notarize =="
    run xcrun notarytool submit "$image" --keychain-profile "$profile" --wait
    run xcrun stapler staple "$image"
    run xcrun stapler validate "$image"
    run spctl --assess --type open --context context:primary-signature --verbose=2 "$image"
}

# In the image's own folder, so that the sum's file names no path.
write_checksum() {
    say "== Checksum =="
    # shellcheck disable=SC2016 # its own parameters
    run sh -c 'cd "$1" && shasum -a 256 "$2" >"$2.sha256" && cat "$2.sha256"' sh \
        "$(dirname "$image")" "$(basename "$image")"
}

check_machine
build_and_test
install_application
sign_application
make_image
notarize
write_checksum
say "$image"
