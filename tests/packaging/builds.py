"""What the tests of this folder share: builds in folders of their own.

CTest names the project's folder, the folder to work in, CMake, the compiler launcher, the program
and Qt's version in the environment (CMakeLists.txt).
"""

import os
import shutil
import subprocess
import sys
import unittest
from pathlib import Path

SOURCE = Path(os.environ["QUILLMERE_SOURCE"])
SCRATCH = Path(os.environ["QUILLMERE_SCRATCH"])
CMAKE = os.environ["QUILLMERE_CMAKE"]
SKIPPED = 77  # the exit status that CTest takes for "skipped"


def run(*command, **options):
    """Runs a command to its end; its output, both streams together, is text."""
    return subprocess.run([str(word) for word in command], text=True, check=False,
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT, **options)


def succeed(*command, **options):
    """The output of a command that must succeed."""
    result = run(*command, **options)
    if result.returncode != 0:
        raise AssertionError(f"{command} ended with {result.returncode}:\n{result.stdout}")
    return result.stdout


def fresh_folder(name):
    folder = SCRATCH / name
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir(parents=True)
    return folder


def launcher():
    """The option that lets the outer build's compiler cache serve this one too."""
    name = os.environ["QUILLMERE_LAUNCHER"]
    return [f"-DCMAKE_CXX_COMPILER_LAUNCHER={name}"] if name else []


def clang():
    """The first clang++ there is, or None."""
    return next(filter(None, map(shutil.which, ("clang++-14", "clang++"))), None)


def skip(reason):
    print("Skipped:", reason)
    sys.exit(SKIPPED)


def main():
    unittest.main(module="__main__", verbosity=2)
