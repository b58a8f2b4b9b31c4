"""What compile_darwin.py and lint.py both ask of the compiler's command lines."""

import subprocess
from pathlib import Path

PROJECT = Path(__file__).resolve().parent.parent


def unlisted(folders, known):
    """The project's source files below these folders that are not among the known paths."""
    listed = subprocess.run(["git", "ls-files", "-z", *(f"{name}/*.cpp" for name in folders)],
                            cwd=PROJECT, capture_output=True, text=True, check=True).stdout
    paths = [PROJECT / path for path in filter(None, listed.split("\0"))]
    return [str(path) for path in paths if path.exists() and path not in known]
