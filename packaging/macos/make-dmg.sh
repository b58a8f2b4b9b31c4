#!/usr/bin/env bash
# Builds Quillmere for both kinds of Mac and makes the disk image that people install it from.
set -euo pipefail
cd "$(dirname "$0")/../.."
# shellcheck source=scripts/common.sh
. scripts/common.sh

usage() {
    cat <<'END'
Usage: packaging/macos/make-dmg.sh [--dry-run] [--build-only | --image-only] [-DNAME=VALUE...]

Makes build/dmg/Quillmere-VERSION.dmg and its .sha256, on a Mac with Xcode's command-line tools,
CMake, Ninja and an official Qt 6.8 or later for macOS, which QT_ROOT_DIR names (its folder
"macos"). Homebrew's Qt does not do: it is made for one kind of processor.

  --dry-run      print every step and do none; works everywhere
  --build-only   build, test and install into build/dmg/image, and stop there
  --image-only   take build/dmg/image as it stands: sign, make the image, notarize. So whoever
                 holds the secrets need not run what was built.
  -DNAME=VALUE   handed to CMake: the deployer's values, see docs/deploying.md. Each of them is
                 taken from the environment's variable of its name too.

Without these variables the application is signed ad hoc: other Macs open it only after their user
has allowed it. With the first it is signed for distribution, with both notarized too; then it must
not have the reserved values of QUILLMERE_BASE_URL and QUILLMERE_BUNDLE_IDENTIFIER.

  QUILLMERE_SIGN_IDENTITY    "Developer ID Application: ..." in the keychain
  QUILLMERE_NOTARY_PROFILE   profile that `xcrun notarytool store-credentials` has saved
END
}

dry_run=no
stages="build image"
cmake_options=()
for name in BASE_URL AUTHOR MAIL WEBSITE BUNDLE_IDENTIFIER QUARANTINE_DOWNLOADS; do
    variable=QUILLMERE_$name
    [ -z "${!variable-}" ] || cmake_options+=("-D$variable=${!variable}")
done
for argument in "$@"; do
    case $argument in
        --dry-run) dry_run=yes ;;
        --build-only) stages=build ;;
        --image-only) stages=image ;;
        -D?*) cmake_options+=("$argument") ;; # the later one counts
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
image_tries=5

# Prints a command and, but for a dry run, runs it.
run() {
    printf '+'
    printf ' %q' "$@"
    printf '\n'
    [ "$dry_run" = yes ] || "$@"
}

does() {
    [[ " $stages " == *" $1 "* ]]
}

check_machine() {
    [ "$dry_run" = no ] || return 0
    on_mac || fail "this needs a Mac; --dry-run prints the steps"
    if does build; then
        [ -x "${QT_ROOT_DIR-}/bin/macdeployqt" ] \
            || fail "QT_ROOT_DIR must name an official Qt's folder for macOS, the one that has bin/macdeployqt"
    else
        [ -d "$app" ] || fail "there is no $app; --build-only makes it"
    fi
}

refuse_reserved() {
    fail "$1 has its reserved value, which belongs to nobody: what is signed for distribution needs yours, see docs/deploying.md"
}

# Before the build, which takes long.
check_options() {
    does build && [ -n "$identity" ] || return 0
    local name
    for name in QUILLMERE_BASE_URL QUILLMERE_BUNDLE_IDENTIFIER; do
        [[ " ${cmake_options[*]-}" == *" -D$name="* || " ${cmake_options[*]-}" == *" -D$name:"* ]] \
            || refuse_reserved "$name"
    done
}

# What was built, whoever built it: its settings stand in the program as plain text.
check_application() {
    [ "$dry_run" = no ] && [ -n "$identity" ] || return 0
    ! LC_ALL=C grep -aqF "<baseURL>https://catalogue.quillmere.example.org/" "$app/Contents/MacOS/Quillmere" \
        || refuse_reserved QUILLMERE_BASE_URL
    ! grep -qF "<string>org.example.quillmere</string>" "$app/Contents/Info.plist" \
        || refuse_reserved QUILLMERE_BUNDLE_IDENTIFIER
}

# The program shows its commit's day, however late it is built.
set_date() {
    [ -z "${SOURCE_DATE_EPOCH-}" ] || return 0
    SOURCE_DATE_EPOCH=$(git log -1 --format=%ct 2>/dev/null) || [ "$dry_run" = yes ] \
        || fail "git tells no commit's time; set SOURCE_DATE_EPOCH to the build's, in seconds since 1970"
    export SOURCE_DATE_EPOCH
    say "SOURCE_DATE_EPOCH=$SOURCE_DATE_EPOCH"
}

build_and_test() {
    say "== Build for both processors, and test =="
    run rm -rf build/dmg
    run cmake --preset release -B "$build" "-DCMAKE_PREFIX_PATH=${QT_ROOT_DIR-\$QT_ROOT_DIR}" \
        "-DCMAKE_OSX_ARCHITECTURES=arm64;x86_64" \
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
    run mkdir -p "$folder/Licences"
    run cp LICENSE packaging/licences/Qt.txt packaging/licences/LGPL-3.txt \
        packaging/licences/GPL-3.txt "$folder/Licences"
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

# hdiutil says "Resource busy" now and then, while something else still looks at the new volume.
create_image() {
    local try said=build/dmg/hdiutil.txt
    for ((try = 1; ; ++try)); do
        if run hdiutil create -volname "Quillmere $version" -srcfolder "$folder" -fs HFS+ \
            -format UDZO -ov "$image" 2>&1 | keep_as "$said"; then
            return
        fi
        grep -qF "Resource busy" "$said" || fail "hdiutil could not make $image; its reason is above"
        [ "$try" -lt "$image_tries" ] || fail "hdiutil found the volume busy $image_tries times"
        sleep 10
    done
}

# Copies its input to a file too, unless nothing is to be done.
keep_as() {
    if [ "$dry_run" = yes ]; then cat; else tee "$1"; fi
}

make_image() {
    say "== Disk image =="
    run ln -sfn /Applications "$folder/Applications"
    create_image
    if [ -n "$identity" ]; then
        run codesign --force --timestamp --sign "$identity" "$image"
    fi
    run hdiutil verify "$image"
}

# notary_value NAME: what the notary's answer says under that name.
notary_value() {
    sed -n 's/.*"'"$1"'" *: *"\([^"]*\)".*/\1/p' build/dmg/notary.json | head -n 1
}

# notarytool ends well whatever the notary decided; its answer is the status.
notarize() {
    if [ -z "$profile" ]; then
        say "== Not notarized: QUILLMERE_NOTARY_PROFILE is not set =="
        return
    fi
    say "== Notarize =="
    run xcrun notarytool submit "$image" --keychain-profile "$profile" --wait --output-format json \
        | keep_as build/dmg/notary.json
    if [ "$dry_run" = no ] && [ "$(notary_value status)" != Accepted ]; then
        run xcrun notarytool log "$(notary_value id)" --keychain-profile "$profile" || true
        fail "the notary answered \"$(notary_value status)\"; its log is above"
    fi
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

check_options
check_machine
if does build; then
    set_date
    build_and_test
    install_application
fi
if does image; then
    check_application
    sign_application
    make_image
    notarize
    write_checksum
    say "$image"
fi
