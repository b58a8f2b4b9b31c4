"""Builds the same sources twice, in different folders and on different days by their files' times.

With SOURCE_DATE_EPOCH set, both programs must be the same to the byte, and show that day.
"""

import os
import shutil
import subprocess
import unittest

import builds

EPOCH = "1770249600"  # 5 February 2026
DAY = b"F\0e\0b\0 \0 \0005\0 \0002\0000\0002\0006"  # as the program holds it, in UTF-16


def copy_sources():
    """A copy of all that git lists or does not know yet; the files' times are those of now."""
    copy = builds.fresh_folder("sources")
    listed = subprocess.run(["git", "ls-files", "-z", "-c", "-o", "--exclude-standard"],
                            cwd=builds.SOURCE, capture_output=True, check=True).stdout
    for path in filter(None, listed.decode().split("\0")):
        # The benchmarks use some of what tests share.
        is_left_out = path.startswith(("tests/", "docs/")) and not path.startswith("tests/support/")
        if not is_left_out and (builds.SOURCE / path).is_file():
            (copy / path).parent.mkdir(parents=True, exist_ok=True)
            shutil.copyfile(builds.SOURCE / path, copy / path)
    return copy


def build(sources, name, compiler):
    """The bytes of a release build from its own copy of the sources."""
    folder = builds.fresh_folder(name)
    # Nothing may come from an earlier build.
    environment = {**os.environ, "SOURCE_DATE_EPOCH": EPOCH, "CCACHE_DISABLE": "1"}
    shutil.copytree(sources, folder / "source", copy_function=shutil.copyfile)
    builds.succeed(builds.CMAKE, "--preset", "release", "-B", folder / "build",
                   f"-DCMAKE_CXX_COMPILER={compiler}", cwd=folder / "source", env=environment)
    builds.succeed(builds.CMAKE, "--build", folder / "build", "--target", "quillmere",
                   env=environment)
    return (folder / "build" / "quillmere").read_bytes()


class ReproducibleTest(unittest.TestCase):
    def check(self, compiler):
        sources = copy_sources()
        first = build(sources, "one", compiler)
        second = build(sources, "two-with-a-longer-name", compiler)
        self.assertTrue(DAY in first, "the program shows another day")
        self.assertTrue(first == second, "the two programs differ")

    def test_gcc(self):
        self.check("g++")

    @unittest.skipUnless(builds.clang(), "there is no clang")
    def test_clang(self):
        self.check(builds.clang())


if __name__ == "__main__":
    if not (builds.SOURCE / ".git").exists():
        builds.skip("the sources' list comes from git, and this is no clone")
    builds.main()
