#!/usr/bin/env python3
"""Compiles every file as on a Mac, without making objects; scripts/check_darwin.sh runs it.

    compile_darwin.py COMPILE_COMMANDS TOOLCHAIN HEADERS

Takes the compiler's command lines from the database COMPILE_COMMANDS, and gives them to the clang
of the folder TOOLCHAIN, with Apple's C headers and libc++ from there, once for each kind of
processor. HEADERS holds those of other libraries that are the same on every system. What Apple has
had only since a later macOS is rejected like what it does not have at all.

The files are compiled by the dozen, see umbrella.py, and one by one where a dozen does not compile.
Those that users run are compiled one by one for the first kind of processor anyway, so that each must
include what it needs of libc++.
"""

import os
import subprocess
import sys
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

from umbrella import PROJECT, Umbrella, gathered, units_of

DARWIN = PROJECT / "build/darwin/files"
PROCESSORS = ("arm64", "x86_64")
OLDEST_MACOS = "12"
FOLDERS = ("src", "tools", "tests", "bench", "build")  # the last for what Qt's tools make
ALONE = ("src", "tools")
# What Qt's tools make for a target that has nothing for them.
EMPTY = "enum some_compilers"
# Built on Linux alone, by its CMakeLists.txt, since it reads /proc.
LINUX_ALONE = PROJECT / "tests/soak"

# What must be rejected, and why: each run sees first that it can fail.
PLANTED = (("#include <endian.h>\n", "'endian.h' file not found"),
           ('#include <format>\nauto text = std::format("{}", 1);\n', "introduced in macOS 13"))


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


def check(compiler, umbrella):
    """What clang says against the files; empty when they compile."""
    options = [word.replace("/mkspecs/linux-g++", "/mkspecs/macx-clang")
               for word in umbrella.options()]
    result = subprocess.run([*compiler, *options, str(umbrella.path)], cwd=PROJECT,
                            capture_output=True, text=True, check=False)
    if result.returncode == 0:
        return ""
    if len(umbrella.units) > 1:
        alone = written([Umbrella([unit]) for unit in umbrella.units], umbrella.path.stem)
        return "\n".join(filter(None, (check(compiler, one) for one in alone)))
    return f"{umbrella.title()}:\n{umbrella.told(result.stderr) or result.returncode}"


def written(umbrellas, name):
    for number, umbrella in enumerate(umbrellas):
        umbrella.write(DARWIN / f"{name}-{number}.cpp")
    return umbrellas


def is_rejected(compiler, text, reason):
    result = subprocess.run([*compiler, "-std=gnu++20", "-x", "c++", "-"], input=text,
                            capture_output=True, text=True, check=False)
    return result.returncode != 0 and reason in result.stderr


def main():
    if len(sys.argv) != 4:
        sys.exit(__doc__)
    commands, toolchain, headers = (Path(path).resolve() for path in sys.argv[1:])
    units = [unit for unit in units_of([commands], FOLDERS)
             if not unit.path.is_relative_to(LINUX_ALONE)
             and not any(EMPTY in line for line in unit.lines)]
    alone = [unit for unit in units if unit.top() in ALONE]
    compilers = [clang(toolchain, headers, processor) for processor in PROCESSORS]
    for text, reason in PLANTED:
        if not all(is_rejected(compiler, text, reason) for compiler in compilers):
            sys.exit(f"Not rejected for \"{reason}\", so this check proves nothing:\n{text}")
    DARWIN.mkdir(parents=True, exist_ok=True)
    runs = [(compiler, umbrella) for umbrella in written(gathered(units), "together")
            for compiler in compilers if compiler != compilers[0] or umbrella.units[0] not in alone]
    runs += [(compilers[0], umbrella)
             for umbrella in written([Umbrella([unit]) for unit in alone], "alone")]
    with ThreadPoolExecutor(os.cpu_count()) as pool:
        failures = [text for text in pool.map(lambda run: check(*run), runs) if text]
    for text in failures:
        print(text, file=sys.stderr)
    if failures:
        sys.exit(f"{len(failures)} compilations for a Mac failed.")
    print(f"{len({unit.path for unit in units})} files compile for macOS {OLDEST_MACOS}, "
          f"{' and '.join(PROCESSORS)}.")


if __name__ == "__main__":
    main()
