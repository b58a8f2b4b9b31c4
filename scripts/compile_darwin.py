#!/usr/bin/env python3
"""Compiles every file as on a Mac, without making objects; scripts/check_darwin.sh runs it.

    compile_darwin.py COMPILE_COMMANDS TOOLCHAIN HEADERS

Takes the compiler's command lines from the database COMPILE_COMMANDS, and gives them to the clang
of the folder TOOLCHAIN, with Apple's C headers and libc++ from there, once for each kind of
processor. HEADERS holds those of other libraries that are the same on every system. What Apple has
had only since a later macOS is rejected like what it does not have at all.
"""

import json
import os
import shlex
import subprocess
import sys
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

from compilecommands import unlisted

PROCESSORS = ("arm64", "x86_64")
OLDEST_MACOS = "12"
FOLDERS = ("src", "tools", "tests", "bench")
# Built on Linux alone, by its CMakeLists.txt, since it reads /proc.
LINUX_ALONE = "/tests/soak/"

# What must be rejected, and why: each run sees first that it can fail.
PLANTED = (("#include <endian.h>\n", "'endian.h' file not found"),
           ('#include <format>\nauto text = std::format("{}", 1);\n', "introduced in macOS 13"))

DROPPED_WITH_VALUE = {"-o", "-MT", "-MF"}
DROPPED = {"-MD", "-c", "-Werror"}  # what newer compilers warn of is another check


def clang(toolchain, others, processor):
    """The compiler for that processor, with Apple's standard library configured as Apple does."""
    lib = toolchain / "lib"
    headers = (lib / "libcxx/include", lib / "libcxxabi/include", lib / "include",
               lib / "libc/include/any-macos-any", others)
    return [toolchain / "zig", "clang", "--driver-mode=g++", "-fsyntax-only",
            f"--target={processor}-apple-macos{OLDEST_MACOS}", "-nostdinc++", "-nostdlibinc",
            "-D_LIBCPP_ABI_VERSION=1", "-D_LIBCPP_ABI_NAMESPACE=__1",
            "-D_LIBCPP_HARDENING_MODE_DEFAULT=_LIBCPP_HARDENING_MODE_NONE",
            "-D_LIBCPP_PSTL_BACKEND_SERIAL",
            *(f"-isystem{folder}" for folder in headers)]


def options(command):
    """What the file's own command says, without its compiler, output and system."""
    words = shlex.split(command)
    while os.path.basename(words[0]) == "ccache":
        words = words[1:]
    rest = iter(words[1:])
    for word in rest:
        if word in DROPPED_WITH_VALUE:
            next(rest)
        elif word not in DROPPED:
            yield word.replace("/mkspecs/linux-g++", "/mkspecs/macx-clang")


def check(compiler, entry):
    """What clang says against the file; empty when it compiles."""
    result = subprocess.run([*compiler, *options(entry["command"])], cwd=entry["directory"],
                            capture_output=True, text=True, check=False)
    if result.returncode == 0:
        return ""
    return f"{entry['file']}:\n{result.stderr or result.returncode}"


def is_rejected(compiler, text, reason):
    result = subprocess.run([*compiler, "-std=gnu++20", "-x", "c++", "-"], input=text,
                            capture_output=True, text=True, check=False)
    return result.returncode != 0 and reason in result.stderr


def main():
    if len(sys.argv) != 4:
        sys.exit(__doc__)
    commands, toolchain, headers = (Path(path).resolve() for path in sys.argv[1:])
    entries = json.loads(commands.read_text(encoding="utf-8"))
    missing = unlisted(FOLDERS, {Path(entry["file"]).resolve() for entry in entries})
    if missing or not entries:
        sys.exit(f"No command in {commands} compiles: {' '.join(missing)}")
    entries = [entry for entry in entries if LINUX_ALONE not in entry["file"]]
    compilers = [clang(toolchain, headers, processor) for processor in PROCESSORS]
    for text, reason in PLANTED:
        if not all(is_rejected(compiler, text, reason) for compiler in compilers):
            sys.exit(f"Not rejected for \"{reason}\", so this check proves nothing:\n{text}")
    runs = [(compiler, entry) for compiler in compilers for entry in entries]
    with ThreadPoolExecutor(os.cpu_count()) as pool:
        failures = [text for text in pool.map(lambda run: check(*run), runs) if text]
    for text in failures:
        print(text, file=sys.stderr)
    if failures:
        sys.exit(f"{len(failures)} of {len(runs)} compilations for a Mac failed.")
    print(f"{len(entries)} files compile for macOS {OLDEST_MACOS}, {' and '.join(PROCESSORS)}.")


if __name__ == "__main__":
    main()
